#include "core/fft/fft.hpp"
#include "core/tasks/runtime.hpp"

#include <ferrowcore/runtime.h>

extern "C" {

void init(const char* path, int mode) { ferrow::initRuntime(path, mode); }
void getUpdates(void) { ferrow::pumpUpdates(); }
void getRenderUpdates(void) { ferrow::pumpRenderUpdates(); }

} // extern "C"
