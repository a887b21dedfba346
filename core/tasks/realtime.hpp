// What stands for a real-time multimedia class on this platform: SCHED_RR where the limits allow it.
#pragma once

namespace ferrow {

enum class RealtimeLevel {
    Worker, // pool workers: sample blocks
    Comms,  // network threads: one step above the workers that they feed
};

// Puts the calling thread into SCHED_RR. Returns 0, or the system's error number, in which case the thread
// goes on at normal priority. The environment variable FERROW_REALTIME=0 keeps every thread at normal
// priority and counts as success.
int enterRealtimeClass(RealtimeLevel level) noexcept;

// What the system's tools show as the calling thread's name; the first 15 characters count.
void nameThread(const char* name) noexcept;

// With FERROW_CPU_LATENCY=N in the environment, N in microseconds from 0 to 1 000 000: asks the system for
// the life of the process to let no processor fall into a sleep that it needs longer than that to wake from,
// and logs an error if that is refused or N is something else. Without it nothing is asked for: it costs
// power.
void holdCpuLatency();

} // namespace ferrow
