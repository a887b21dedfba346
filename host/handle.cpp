#include "host/handle.hpp"

#include <atomic>
#include <ferrowcore/async.h>

namespace ferrow {
namespace {

std::atomic<int> live{0};

} // namespace

int liveObjects() {
    return live.load(std::memory_order_acquire);
}

Object::Object(void* handle) : handle_(handle), claims_(std::make_shared<Claims>()) {
    live.fetch_add(1, std::memory_order_acq_rel);
    try {
        bind(asyncObject_bindDeleted, [claims = claims_](int) {
            for (const auto& giveBack : *claims)
                giveBack();
            claims->clear();
            live.fetch_sub(1, std::memory_order_acq_rel);
        });
    } catch (...) {
        live.fetch_sub(1, std::memory_order_acq_rel);
        asyncObject_release(handle_);
        throw;
    }
}

void Object::reset() {
    if (handle_)
        asyncObject_release(std::exchange(handle_, nullptr));
    claims_.reset();
}

} // namespace ferrow
