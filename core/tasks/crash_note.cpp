#include "core/tasks/crash_note.hpp"

#include <cstdio>
#include <mutex>

namespace ferrow {

namespace {

struct DumpFile {
    std::mutex mutex;
    std::string path;
};

// Never destroyed: threads may still write a note while the process leaves.
DumpFile& dumpFile() {
    static auto* file = new DumpFile;
    return *file;
}

} // namespace

void setDumpFile(std::string path) {
    DumpFile& file = dumpFile();
    const std::lock_guard lock(file.mutex);
    file.path = std::move(path);
}

void writeDump(const char* where, const char* what) noexcept {
    DumpFile& file = dumpFile();
    const std::lock_guard lock(file.mutex);
    if (file.path.empty())
        return;
    if (std::FILE* note = std::fopen(file.path.c_str(), "wb")) {
        std::fprintf(note, "%s %s", where, what);
        std::fclose(note);
    }
}

} // namespace ferrow
