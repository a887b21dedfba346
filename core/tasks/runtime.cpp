#include "core/tasks/runtime.hpp"

#include "core/tasks/crash_note.hpp"
#include "core/tasks/log.hpp"
#include "core/tasks/realtime.hpp"
#include "core/tasks/sync_task.hpp"
#include "core/tasks/thread_pool.hpp"

#include <exception>
#include <string>

namespace ferrow {

sothreadpool* threadPool = nullptr;
std::shared_ptr<syncTask> rootSyncTask;

namespace {

// Ends the workers before the process's static objects go; the pool itself is left alone, since other threads
// may still post to it.
struct WorkersAtExit {
    ~WorkersAtExit() { threadPool->stopWorkers(); }
};

template <class Take>
void pump(const char* name, Take take) {
    asTask task;
    while (take(task)) {
        try {
            task.function();
        } catch (const std::exception& error) {
            logError("{} {}", name, error.what());
        } catch (...) {
            logError("{}", name);
        }
        task = asTask{};
    }
}

} // namespace

void initRuntime(const char* path, int mode, void (*onWorkerStart)()) {
    setDumpFile(std::string(path) + ".dump.txt");
    openLog(path);
    setLogLevel(mode == 1 ? LogLevel::Info : LogLevel::Err);
    holdCpuLatency();
    threadPool = new sothreadpool(onWorkerStart);
    rootSyncTask = std::make_shared<syncTask>(threadPool);
    static const WorkersAtExit workersAtExit;
}

void pumpUpdates() {
    pump("getUpdates", [](asTask& task) { return threadPool->takeUpdate(task); });
}

void pumpRenderUpdates() {
    pump("getRenderUpdates", [](asTask& task) { return threadPool->takeRenderUpdate(task); });
}

} // namespace ferrow
