#include "core/fft/fft.hpp"
#include "core/tasks/runtime.hpp"

#include <ferrowcore/runtime.h>

namespace {

// The transforms of the PSK bank's search, the filters and the spectrum: a chunk then never waits for the planner.
void prepareWorker() {
    ferrow::fft::prepare(512);
    ferrow::fft::prepare(1024);
    ferrow::fft::prepare(2048);
}

} // namespace

extern "C" {

void init(const char* path, int mode) { ferrow::initRuntime(path, mode, prepareWorker); }
void getUpdates(void) { ferrow::pumpUpdates(); }
void getRenderUpdates(void) { ferrow::pumpRenderUpdates(); }

} // extern "C"
