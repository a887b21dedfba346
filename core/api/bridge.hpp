// The one way from a flat exported function to an object: casts from handle to object, posting, copying of
// strings. The functions themselves are a line each, in one file per class family.
#pragma once

#include "core/async/async_collection.hpp"
#include "core/async/async_event.hpp"
#include "core/async/async_object.hpp"
#include "core/async/async_property.hpp"
#include "core/async/handle.hpp"
#include "core/tasks/log.hpp"
#include "core/tasks/runtime.hpp"

#include <ferrowcore/export.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace ferrow::api {

template <class>
struct MemberOf;
template <class C, class M>
struct MemberOf<M C::*> {
    using Class = C;
    using Member = M;
};
template <auto M>
using ClassOf = typename MemberOf<decltype(M)>::Class;
template <auto M>
using TypeOf = typename MemberOf<decltype(M)>::Member;

// The object behind a handle, or null, logged with `what`, if there is none or it is of another class.
template <class C>
std::shared_ptr<C> objectOf(void* handle, const char* what) {
    if (handle == nullptr) {
        logError("{} null handle", what);
        return nullptr;
    }
    const Handle& object = *static_cast<Handle*>(handle);
    if constexpr (std::is_same_v<C, asyncObject>)
        return object;
    else {
        auto self = std::dynamic_pointer_cast<C>(object);
        if (!self)
            logError("{} handle of another class", what);
        return self;
    }
}

// A new object on the root context; the class may make a context of its own on the same pool.
template <class C>
void* create() {
    return makeHandle(std::make_shared<C>(rootSyncTask));
}

// Stores the callback; a property or list replays its present state.
template <auto M>
void bind(void* handle, typename TypeOf<M>::Callback callback) {
    if (auto self = objectOf<ClassOf<M>>(handle, "bind"))
        (self.get()->*M).bind(callback, self.get());
}

// A scalar property.
template <auto M>
void set(void* handle, typename TypeOf<M>::ValueType value, const char* label) {
    if (auto self = objectOf<ClassOf<M>>(handle, label))
        self->queueSetItem(seqTask(label, [self, value] { (self.get()->*M).setFromHost(value); }));
}

// A string property: the text is copied at once. Null counts as empty.
template <auto M>
void setText(void* handle, const char* value, const char* label) {
    if (auto self = objectOf<ClassOf<M>>(handle, label))
        self->queueSetItem(seqTask(label, [self, text = std::string(value != nullptr ? value : "")] {
            (self.get()->*M).setFromHost(text);
        }));
}

// A contained object, taken from its handle at once; the host keeps owning the handle.
template <auto M>
void setObject(void* handle, void* itemHandle, const char* label) {
    using Item = typename TypeOf<M>::ValueType::element_type;
    auto self = objectOf<ClassOf<M>>(handle, label);
    auto item = objectOf<Item>(itemHandle, label);
    if (self && item)
        self->queueSetItem(seqTask(label, [self, item] { (self.get()->*M).setFromHost(item); }));
}

// A list: `operation` 0 writes at `index`, 3 appends, 4 clears; clearing and unknown operations need no item.
template <auto M>
void setList(void* handle, int operation, int index, void* itemHandle, const char* label) {
    using Item = typename TypeOf<M>::ItemType;
    auto self = objectOf<ClassOf<M>>(handle, label);
    if (!self)
        return;
    const bool takesItem = operation == static_cast<int>(ListOperation::Write) ||
                           operation == static_cast<int>(ListOperation::Append);
    std::shared_ptr<Item> item;
    if (takesItem && !(item = objectOf<Item>(itemHandle, label)))
        return;
    self->queueSetItem(
        seqTask(label, [self, operation, index, item] { (self.get()->*M).set(operation, index, item); }));
}

template <auto M>
void resetList(void* handle, const char* label) {
    if (auto self = objectOf<ClassOf<M>>(handle, label))
        self->queueSetItem(seqTask(label, [self] { (self.get()->*M).reset(); }));
}

// A verb; its arguments travel by value.
template <auto F, class C, class... Args>
void post(void* handle, const char* label, Args... args) {
    if (auto self = objectOf<C>(handle, label))
        self->queueSetItem(seqTask(label, [self, args...] { (self.get()->*F)(args...); }));
}

} // namespace ferrow::api
