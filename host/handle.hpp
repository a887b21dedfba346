// A library object as the host holds it: its handle, and the callbacks that it may still call.
#pragma once

#include "host/thunk.hpp"

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace ferrow {

// Objects made or received, and not yet told as Deleted.
int liveObjects();

// Owns a handle. Release happens in the destructor; the callbacks bound through this class stay usable until
// the library has called Deleted, and go back to their set then. All members are for the thread that pumps
// getUpdates.
class Object {
public:
    Object() = default;
    // Takes over a handle that the host owns: from a _create, or from a callback. Where no callback is left
    // for it, gives it back at once and throws Failure.
    explicit Object(void* handle);
    ~Object() { reset(); }
    Object(Object&& other) noexcept
        : handle_(std::exchange(other.handle_, nullptr)), claims_(std::move(other.claims_)) {}
    Object& operator=(Object&& other) noexcept {
        if (this != &other) {
            reset();
            handle_ = std::exchange(other.handle_, nullptr);
            claims_ = std::move(other.claims_);
        }
        return *this;
    }

    void* get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    // Gives the handle back to the library.
    void reset();

    // Expires when the library has deleted the object: from then on none of its callbacks runs any more.
    std::weak_ptr<const void> life() const { return claims_; }

    // Binds a function to one of the object's slots: object.bind(vtrx_bindvfo, [](long long hertz) { ... }).
    template <typename... Args, typename Function>
    void bind(void (*binder)(void*, void (*)(Args...)), Function&& function) {
        auto pointer = Thunks<Args...>::take(std::forward<Function>(function));
        claims_->push_back([pointer] { Thunks<Args...>::giveBack(pointer); });
        binder(handle_, pointer);
    }

private:
    using Claims = std::vector<std::function<void()>>;

    void* handle_ = nullptr;
    std::shared_ptr<Claims> claims_; // shared with the callback of Deleted
};

} // namespace ferrow
