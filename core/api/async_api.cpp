#include "core/api/bridge.hpp"

#include <ferrowcore/async.h>

using namespace ferrow;
using namespace ferrow::api;

extern "C" {

void* asyncObject_create(void) { return create<asyncObject>(); }

void asyncObject_bindDeleted(void* handle, void (*callback)(int)) {
    if (auto self = objectOf<asyncObject>(handle, "bind"))
        self->Deleted.store(callback, std::memory_order_release);
}

void asyncObject_bindEcho(void* handle, void (*callback)(int)) {
    if (auto self = objectOf<asyncObject>(handle, "bind"))
        self->Echo.store(callback, std::memory_order_release);
}

void asyncObject_Ping(void* handle, int value) { post<&asyncObject::Ping, asyncObject>(handle, "asyncObject.Ping()", value); }

} // extern "C"
