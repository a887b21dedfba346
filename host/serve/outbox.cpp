#include "host/serve/outbox.hpp"

#include <algorithm>

namespace ferrow::serve {

bool Outbox::add(std::string text) {
    text_ += text.size();
    waiting_.push_back({std::move(text), {}});
    return text_ <= limits_.text;
}

std::size_t Outbox::add(OutgoingFrame frame) {
    const bool audio = frame.audio;
    std::size_t& count = audio ? audio_ : spectrum_;
    std::size_t dropped = 0;
    if (count >= (audio ? limits_.audio : limits_.spectrum)) {
        const auto oldest = std::find_if(waiting_.begin(), waiting_.end(), [audio](const Item& item) {
            return !item.text && item.frame.audio == audio;
        });
        waiting_.erase(oldest);
        --count;
        dropped = 1;
    }
    ++count;
    waiting_.push_back({std::nullopt, std::move(frame)});
    return dropped;
}

Outbox::Item Outbox::take() {
    Item item = std::move(waiting_.front());
    waiting_.pop_front();
    if (item.text)
        text_ -= item.text->size();
    else
        --(item.frame.audio ? audio_ : spectrum_);
    return item;
}

} // namespace ferrow::serve
