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
ONE_RELEASE(HpsdrNpRadio_release)
ONE_RELEASE(J16_release)
ONE_RELEASE(J16Filter_release)
ONE_RELEASE(J16FilterBands_release)
ONE_RELEASE(J16FilterRx_release)
ONE_RELEASE(SDRPlayController_release)
ONE_RELEASE(SDRPlayRadio_release)
ONE_RELEASE(Controller_release)
ONE_RELEASE(SoapyController_release)
ONE_RELEASE(SoapyRadio_release)
ONE_RELEASE(WsProxyRadio_release)
ONE_RELEASE(vtrx_release)
ONE_RELEASE(modDemod_release)
ONE_RELEASE(amModDemod_release)
ONE_RELEASE(ssbModDemod_release)
ONE_RELEASE(fmModDemod_release)
ONE_RELEASE(sigGenModDemod_release)
ONE_RELEASE(RawIQModDemod_release)
ONE_RELEASE(clientModDemod_release)
ONE_RELEASE(proxyModDemod_release)
ONE_RELEASE(JTModDemod_release)
ONE_RELEASE(cwModDemod_release)
ONE_RELEASE(RTTYModDemod_release)
ONE_RELEASE(fskModDemod_release)
ONE_RELEASE(chirpyModDemod_release)
ONE_RELEASE(hellschreiberModDemod_release)
ONE_RELEASE(MultiPskModDemod_release)
ONE_RELEASE(PskDetector_release)
ONE_RELEASE(PskModDemod_release)

} // extern "C"
