// Process-wide objects that `init` makes and nothing ever replaces.
#pragma once

#include <memory>

namespace ferrow {

class sothreadpool;
class syncTask;

// The worker pool; null before `init`.
extern sothreadpool* threadPool;

// Context of every object that the host creates and that has none of its own; null before `init`.
extern std::shared_ptr<syncTask> rootSyncTask;

// The work of the exported `init`: log on `path` (level info if `mode` is 1, else err), crash note beside it,
// pool and root context; each worker calls `onWorkerStart` first. Failures leave as exceptions.
void initRuntime(const char* path, int mode, void (*onWorkerStart)() = nullptr);

// Runs every waiting update (or display update) on the calling thread; exceptions of a callback are logged.
void pumpUpdates();
void pumpRenderUpdates();

} // namespace ferrow
