#include "host/serve/slot_desk.hpp"

#include <filesystem>

namespace ferrow::serve {
namespace {

constexpr std::size_t kKept = 8; // periods of a channel
constexpr auto kForgotten = std::chrono::minutes(10);

} // namespace

void SlotDesk::add(SlotMode mode, long long dial, const NewFile& file, Take take) {
    std::error_code ignored;
    const SlotTime time = slotTimeOf(file.path);
    if (file.sent()) { // there is nothing to decode
        std::filesystem::remove(file.path, ignored);
        take({dial, time, {}, true, {}});
        return;
    }
    Channel& channel = channels_.try_emplace({mode, dial}, mode).first->second;
    channel.used = Clock::now();
    if (const auto done = channel.done.find(time.iso); done != channel.done.end()) {
        std::filesystem::remove(file.path, ignored);
        take(done->second);
        return;
    }
    auto& waiting = channel.waiting[time.iso];
    if (waiting.empty())
        channel.decoder.add(file.path, dial);
    else
        std::filesystem::remove(file.path, ignored);
    waiting.push_back(std::move(take));
}

void SlotDesk::poll() {
    for (auto& [place, channel] : channels_) {
        while (auto slot = channel.decoder.take()) {
            if (onDecoded && slot->error.empty())
                onDecoded(place.first, *slot);
            for (const Take& take : channel.waiting[slot->time.iso])
                take(*slot);
            channel.waiting.erase(slot->time.iso);
            channel.done[slot->time.iso] = std::move(*slot);
            if (channel.done.size() > kKept)
                channel.done.erase(channel.done.begin());
        }
    }
    std::erase_if(channels_, [](const auto& one) {
        return one.second.waiting.empty() && Clock::now() - one.second.used > kForgotten;
    });
}

} // namespace ferrow::serve
