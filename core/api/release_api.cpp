// One function behind all the _release names.

#include "core/async/async_object.hpp"
#include "core/async/handle.hpp"

#include <ferrowcore/ferrowcore.h>

#define ONE_RELEASE(name) void name(void*) __attribute__((alias("asyncObject_release")));

extern "C" {

void asyncObject_release(void* handle) { ferrow::releaseHandle(handle); }

ONE_RELEASE(ValueLabelItem_release)
ONE_RELEASE(Wireless_release)
ONE_RELEASE(agc_release)
ONE_RELEASE(calibLine_release)
ONE_RELEASE(Radio_release)
ONE_RELEASE(HpsdrRadio_release)
ONE_RELEASE(J16_release)
ONE_RELEASE(J16Filter_release)
ONE_RELEASE(J16FilterBands_release)
ONE_RELEASE(J16FilterRx_release)
ONE_RELEASE(vtrx_release)
ONE_RELEASE(modDemod_release)
ONE_RELEASE(amModDemod_release)
ONE_RELEASE(ssbModDemod_release)
ONE_RELEASE(JTModDemod_release)

} // extern "C"
