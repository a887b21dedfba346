#include "fuzz/fuzz.hpp"

#include "core/async/async_object.hpp"
#include "core/tasks/runtime.hpp"

#include <future>
#include <malloc.h>
#include <memory>
#include <mutex>

namespace ferrow::fuzz {

void startLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        // A radio's tables of some megabytes come and go with each input; the heap keeps their pages.
        constexpr int kKept = 256 << 20;
        mallopt(M_TRIM_THRESHOLD, kKept);
        mallopt(M_MMAP_THRESHOLD, kKept);
        initRuntime("/dev/null", 0);
    });
}

void pumpLibrary() {
    pumpUpdates();
    pumpRenderUpdates();
}

void settle(asyncObject& object) {
    const auto done = std::make_shared<std::promise<void>>();
    object.queueSeqItem(seqTask("fuzz.settle", [done] { done->set_value(); }));
    done->get_future().wait();
}

} // namespace ferrow::fuzz
