// Text on its way from the host to a modulator.
#pragma once

#include "core/async/async_event.hpp"

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace ferrow {

// A ring of bytes with one writer, the mode's context, and one reader, the transmit thread; neither waits.
class TextSender {
public:
    static constexpr int kNone = -1;

    // `owner`, a static string, names the mode in the log.
    TextSender(std::size_t capacity, const char* owner)
        : ring_(std::make_unique<unsigned char[]>(capacity)), capacity_(capacity), owner_(owner) {}

    // The writer. What does not fit is lost, the newest bytes first to go, and logged.
    void queue(std::string_view text);

    // The reader: the next byte, 0 to 255, told to the host through `sentChars`; kNone when there is none.
    int next(asyncEvent<std::string>& sentChars);

    // Any thread.
    bool empty() const noexcept {
        return read_.load(std::memory_order_acquire) == written_.load(std::memory_order_acquire);
    }
    std::size_t sentCount() const noexcept { return read_.load(std::memory_order_acquire); }

private:
    std::unique_ptr<unsigned char[]> ring_;
    std::size_t capacity_;
    const char* owner_;
    std::atomic<std::size_t> written_{0}, read_{0}; // bytes ever
};

} // namespace ferrow
