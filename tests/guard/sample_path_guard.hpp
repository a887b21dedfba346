// Counts what a thread may not do in the sample path: heap calls, mutexes, system calls.
#pragma once

namespace ferrow::test {

struct GuardCounts {
    int heapCalls = 0;
    int locks = 0;
    int systemCalls = 0;
    bool systemCallsSeen = false; // whether this system can show them
};

// Starts counting on this thread; nothing is counted outside of a guard, nor on other threads.
void guardBegin();
GuardCounts guardEnd();

} // namespace ferrow::test
