// One call of every exported function, with objects and arguments for them: the whole life of one object of
// every class. The rows are made from the public headers by tools/make_interface_calls.py.
#pragma once

#include <ferrowcore/ferrowcore.h>

#include <map>
#include <string>

namespace ferrow::test {

enum class Phase { Start, Create, Bind, Set, Verb, Reset, Release };

// What the calls work on: a handle for each class and array class, and places for what other functions want.
struct Objects {
    void*& operator[](const char* owner) { return handles[owner]; }

    std::map<std::string, void*> handles;
    const char* log = "";
    const char* recording = "";
    void* memory = nullptr;
    void* spectrumIn = nullptr; // doubleArrays
    void* spectrumOut = nullptr;
    ferrow_ft8_result results[FERROW_FT8_MAX_RESULTS] = {};
    int records = 0;
    unsigned char bytes[2] = {0, 0};
    int crc = -1;
    bool crcRight = false;
};

struct Call {
    const char* name;
    const char* owner; // its class; empty outside of the classes
    Phase phase;
    const char* label; // of the task that it posts, or null
    void (*run)(Objects&);
};

// Callbacks of every shape; they give back what they are given.
inline int callbacksRun = 0;

struct IgnoreScalars {
    template <class... Args>
    using Function = void (*)(Args...);
    template <class... Args>
    operator Function<Args...>() const {
        return [](Args...) { ++callbacksRun; };
    }
};
inline constexpr IgnoreScalars ignore;

inline void onItem(unsigned long long, unsigned long long, void* item) {
    ++callbacksRun;
    asyncObject_release(item);
}

template <void (*Give)(void*)>
struct TakeHandles {
    template <class... Args>
    using Function = void (*)(Args...);
    template <class... Args>
    operator Function<Args...>() const {
        return [](Args... args) {
            ++callbacksRun;
            (giveBack(args), ...);
        };
    }

private:
    static void giveBack(void* handle) { Give(handle); }
    template <class Number>
    static void giveBack(Number) {}
};
inline constexpr TakeHandles<asyncObject_release> takeObject;
inline constexpr TakeHandles<floatArray_delete> takeFloatArray;
inline constexpr TakeHandles<complexArray_delete> takeComplexArray;

inline constexpr Call kCalls[] = {
#include "tests/api/interface_calls.inc"
};

// Runs all calls of a phase in the order of the headers; returns how many.
inline int runPhase(Phase phase, Objects& objects) {
    int count = 0;
    for (const Call& call : kCalls)
        if (call.phase == phase) {
            call.run(objects);
            ++count;
        }
    return count;
}

} // namespace ferrow::test
