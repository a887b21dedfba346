// Function pointers for callbacks that carry no context: each is one of a fixed set of functions, every one
// of which looks up its own std::function.
#pragma once

#include "host/failure.hpp"

#include <array>
#include <cstddef>
#include <functional>
#include <mutex>
#include <type_traits>
#include <utility>

namespace ferrow {

inline constexpr std::size_t kThunksPerSignature = 256;

// How many functions a signature has. Every object has a Deleted, and a bank of PSK 66 detectors with five
// callbacks each: these signatures have room for 128 transceivers and 8 banks.
template <typename... Args>
struct ThunkCount : std::integral_constant<std::size_t, kThunksPerSignature> {};
template <>
struct ThunkCount<int> : std::integral_constant<std::size_t, 2048> {};
template <>
struct ThunkCount<const char*> : std::integral_constant<std::size_t, 1536> {};
template <>
struct ThunkCount<> : std::integral_constant<std::size_t, 768> {};
template <>
struct ThunkCount<void*> : std::integral_constant<std::size_t, 512> {};
template <>
struct ThunkCount<double> : std::integral_constant<std::size_t, 512> {};
template <>
struct ThunkCount<bool> : std::integral_constant<std::size_t, 512> {};

// The set of functions of the signature void(Args...). Taking and giving back may happen on any thread; a
// slot may be given back once nothing calls it any more, which for an object's callbacks is when Deleted
// comes.
template <typename... Args>
class Thunks {
public:
    using Pointer = void (*)(Args...);
    static constexpr std::size_t kCount = ThunkCount<Args...>::value;

    // Throws Failure when all are taken.
    static Pointer take(std::function<void(Args...)> function);
    // Null and pointers of other origin are ignored.
    static void giveBack(Pointer pointer);
    static std::size_t taken();

private:
    static void run(std::size_t index, Args... args);
    template <std::size_t Index>
    static void call(Args... args) {
        run(Index, args...);
    }
    static Pointer pointerAt(std::size_t index);

    static std::array<std::function<void(Args...)>, kCount> functions;
    static std::mutex mutex;
};

template <typename... Args>
std::array<std::function<void(Args...)>, Thunks<Args...>::kCount> Thunks<Args...>::functions;
template <typename... Args>
std::mutex Thunks<Args...>::mutex;

template <typename... Args>
typename Thunks<Args...>::Pointer Thunks<Args...>::take(std::function<void(Args...)> function) {
    const std::lock_guard lock(mutex);
    for (std::size_t i = 0; i < kCount; ++i) {
        if (!functions[i]) {
            functions[i] = std::move(function);
            return pointerAt(i);
        }
    }
    throw Failure("too many objects: no callback is left");
}

template <typename... Args>
void Thunks<Args...>::giveBack(Pointer pointer) {
    std::function<void(Args...)> last; // destroyed after unlocking, since it may own much
    const std::lock_guard lock(mutex);
    for (std::size_t i = 0; i < kCount; ++i)
        if (pointerAt(i) == pointer)
            last.swap(functions[i]);
}

template <typename... Args>
std::size_t Thunks<Args...>::taken() {
    const std::lock_guard lock(mutex);
    std::size_t n = 0;
    for (const auto& function : functions)
        n += function ? 1 : 0;
    return n;
}

template <typename... Args>
void Thunks<Args...>::run(std::size_t index, Args... args) {
    const auto function = functions[index]; // a copy: the call may give the slot back
    function(args...);
}

template <typename... Args>
typename Thunks<Args...>::Pointer Thunks<Args...>::pointerAt(std::size_t index) {
    static constexpr auto pointers = []<std::size_t... Indices>(std::index_sequence<Indices...>) {
        return std::array<Pointer, kCount>{&Thunks::template call<Indices>...};
    }
    (std::make_index_sequence<kCount>());
    return pointers[index];
}

// The large sets are compiled once, in thunk.cpp: thousands of functions in each source would take minutes.
extern template class Thunks<int>;
extern template class Thunks<const char*>;
extern template class Thunks<>;
extern template class Thunks<void*>;
extern template class Thunks<double>;
extern template class Thunks<bool>;

} // namespace ferrow
