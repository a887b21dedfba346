// Function pointers for callbacks that carry no context: each is one of a fixed set of functions, every one
// of which looks up its own std::function.
#pragma once

#include "host/failure.hpp"

#include <array>
#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>

namespace ferrow {

inline constexpr std::size_t kThunksPerSignature = 256;

// How many functions a signature has. Every object has a Deleted, and a bank of PSK 66 detectors with four
// callbacks each: these signatures have room for 128 transceivers and 16 banks.
template <typename... Args>
inline constexpr std::size_t kThunks = kThunksPerSignature;
template <>
inline constexpr std::size_t kThunks<int> = 4096;
template <>
inline constexpr std::size_t kThunks<const char*> = 4096;
template <>
inline constexpr std::size_t kThunks<> = 2048;
template <>
inline constexpr std::size_t kThunks<void*> = 1024;
template <>
inline constexpr std::size_t kThunks<double> = 1024;
template <>
inline constexpr std::size_t kThunks<bool> = 1024;

// The set of functions of the signature void(Args...). Taking and giving back may happen on any thread; a
// slot may be given back once nothing calls it any more, which for an object's callbacks is when Deleted
// comes.
template <typename... Args>
class Thunks {
public:
    using Pointer = void (*)(Args...);

    // Throws Failure when all are taken.
    static Pointer take(std::function<void(Args...)> function) {
        const std::lock_guard lock(mutex);
        for (std::size_t i = 0; i < kThunks<Args...>; ++i) {
            if (!functions[i]) {
                functions[i] = std::move(function);
                return pointers[i];
            }
        }
        throw Failure("too many objects: no callback is left");
    }

    // Null and pointers of other origin are ignored.
    static void giveBack(Pointer pointer) {
        std::function<void(Args...)> last; // destroyed after unlocking, since it may own much
        const std::lock_guard lock(mutex);
        for (std::size_t i = 0; i < kThunks<Args...>; ++i)
            if (pointers[i] == pointer)
                last.swap(functions[i]);
    }

    static std::size_t taken() {
        const std::lock_guard lock(mutex);
        std::size_t n = 0;
        for (const auto& function : functions)
            n += function ? 1 : 0;
        return n;
    }

private:
    template <std::size_t Index>
    static void call(Args... args) {
        const auto function = functions[Index]; // a copy: the call may give the slot back
        function(args...);
    }
    template <std::size_t... Indices>
    static constexpr std::array<Pointer, sizeof...(Indices)> makePointers(std::index_sequence<Indices...>) {
        return {&Thunks::template call<Indices>...};
    }

    static inline std::array<std::function<void(Args...)>, kThunks<Args...>> functions;
    static inline std::mutex mutex;
    static constexpr std::array<Pointer, kThunksPerSignature> pointers =
        makePointers(std::make_index_sequence<kThunks<Args...>>());
};

} // namespace ferrow
