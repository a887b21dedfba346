#include "modes/text_sender.hpp"

#include "core/tasks/log.hpp"

#include <algorithm>

namespace ferrow {

void TextSender::queue(std::string_view text) {
    const std::size_t written = written_.load(std::memory_order_relaxed);
    const std::size_t room = capacity_ - (written - read_.load(std::memory_order_acquire));
    const std::size_t taken = std::min(room, text.size());
    for (std::size_t i = 0; i < taken; ++i)
        ring_[(written + i) % capacity_] = static_cast<unsigned char>(text[i]);
    written_.store(written + taken, std::memory_order_release);
    if (taken < text.size())
        logError("{} text queue is full, {} bytes lost", owner_, text.size() - taken);
}

int TextSender::next(asyncEvent<std::string>& sentChars) {
    const std::size_t read = read_.load(std::memory_order_relaxed);
    if (read == written_.load(std::memory_order_acquire))
        return kNone;
    const unsigned char byte = ring_[read % capacity_];
    read_.store(read + 1, std::memory_order_release);
    sentChars.send(std::string(1, static_cast<char>(byte)));
    return byte;
}

} // namespace ferrow
