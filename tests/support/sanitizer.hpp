// What a test must know of the sanitizer that it runs under.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace ferrow::test {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif

inline constexpr bool kSanitized =
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    true;
#else
    false;
#endif

// What this thread allocates from here on may still be held when the process leaves: for hosts that leave
// without releasing their handles.
inline void leaveHandlesBehind() {
#if defined(__SANITIZE_ADDRESS__)
    __lsan_disable();
#endif
}

} // namespace ferrow::test
