// The allocator's and the mutex's entry points of the whole program lead through here, and system calls
// through the kernel's user dispatch, which a byte of this thread switches on and off.

#include "tests/guard/sample_path_guard.hpp"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/prctl.h>

#ifndef PR_SET_SYSCALL_USER_DISPATCH
#define PR_SET_SYSCALL_USER_DISPATCH 59
#endif

extern "C" {
void* __libc_malloc(std::size_t);
void __libc_free(void*);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}

namespace {

constexpr char kAllow = 0, kBlock = 1;

thread_local volatile char selector = kAllow;
thread_local bool counting = false;
thread_local ferrow::test::GuardCounts counts;

void noteHeap() {
    if (counting)
        ++counts.heapCalls;
}

// The call that raised this is not made; it is only counted, once, and the rest of the block runs freely.
void onSystemCall(int, siginfo_t*, void*) {
    selector = kAllow;
    ++counts.systemCalls;
}

using MutexCall = int (*)(pthread_mutex_t*);

MutexCall realLock() {
    static const auto call = reinterpret_cast<MutexCall>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    return call;
}

} // namespace

extern "C" {

void* malloc(std::size_t size) {
    noteHeap();
    return __libc_malloc(size);
}
void free(void* block) {
    if (block != nullptr)
        noteHeap();
    __libc_free(block);
}
void* calloc(std::size_t count, std::size_t size) {
    noteHeap();
    return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
    noteHeap();
    return __libc_realloc(block, size);
}
void* memalign(std::size_t alignment, std::size_t size) {
    noteHeap();
    return __libc_memalign(alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    noteHeap();
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    noteHeap();
    *block = __libc_memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    if (counting)
        ++counts.locks;
    return realLock()(mutex);
}

} // extern "C"

namespace ferrow::test {

void guardBegin() {
    realLock();
    struct sigaction action {};
    action.sa_sigaction = onSystemCall;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSYS, &action, nullptr);
    counts = {};
    counts.systemCallsSeen =
        prctl(PR_SET_SYSCALL_USER_DISPATCH, 1 /* on */, 0, 0, const_cast<char*>(&selector)) == 0;
    counting = true;
    selector = kBlock;
}

GuardCounts guardEnd() {
    selector = kAllow;
    counting = false;
    const GuardCounts result = counts;
    if (result.systemCallsSeen)
        prctl(PR_SET_SYSCALL_USER_DISPATCH, 0 /* off */, 0, 0, 0);
    return result;
}

} // namespace ferrow::test
