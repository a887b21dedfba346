#include "host/interrupt.hpp"

#include <atomic>
#include <csignal>

namespace ferrow {
namespace {

std::atomic<bool> noted{false};

void note(int) {
    noted.store(true, std::memory_order_release);
}

} // namespace

void watchInterrupts() {
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool interrupted() {
    return noted.load(std::memory_order_acquire);
}

} // namespace ferrow
