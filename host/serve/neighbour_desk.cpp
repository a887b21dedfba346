#include "host/serve/neighbour_desk.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cmath>

namespace ferrow::serve {
namespace {

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

// Milliseconds since midnight of a clock like "120015"; 0 for one that is not known.
std::uint32_t timeOfDay(const std::string& clock) {
    int value = 0;
    const auto [end, error] = std::from_chars(clock.data(), clock.data() + clock.size(), value);
    if (clock.size() != 6 || error != std::errc() || end != clock.data() + clock.size())
        return 0;
    return static_cast<std::uint32_t>((value / 10000 * 3600 + value / 100 % 100 * 60 + value % 100) * 1000);
}

} // namespace

NeighbourDesk::NeighbourDesk(const NeighbourOptions& options, RigSeat seat, std::function<void()> halt)
    : rig_(std::move(seat)), call_(options.call), grid_(options.grid),
      logs_(!options.adif.empty() || options.wsjtx.has_value()), neighbours_(io_, rig_, options) {
    if (WsjtxLink* link = neighbours_.wsjtx())
        link->onHaltTx = [halt = std::move(halt)](const WsjtxHaltTx& request) {
            if (!request.autoOnly)
                halt();
        };
}

void NeighbourDesk::poll() {
    if (polling_) // what is answered may pump
        return;
    polling_ = true;
    io_.poll();
    io_.restart();
    polling_ = false;
}

void NeighbourDesk::logged(const LogOrder& order) {
    Contact contact;
    contact.call = upperCase(order.call);
    contact.grid = order.grid;
    contact.mode = upperCase(order.mode);
    contact.frequency = order.frequency;
    contact.timeOn = contact.timeOff =
        std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    contact.reportSent = order.sent;
    contact.reportReceived = order.received;
    neighbours_.logged(contact);
}

void NeighbourDesk::decoded(SlotMode mode, const DecodedSlot& slot) {
    WsjtxLink* const link = neighbours_.wsjtx();
    if (link == nullptr)
        return;
    for (const Ft8Line& line : slot.lines) {
        WsjtxDecode decode;
        decode.time = timeOfDay(slot.time.clock);
        decode.snr = static_cast<std::int32_t>(std::lround(line.snr));
        decode.deltaTime = line.dt;
        decode.offset = static_cast<std::uint32_t>(std::max(0L, std::lround(line.frequency)));
        decode.mode = wsjtxModeSign(formatOf(mode).name);
        decode.message = line.message;
        link->decoded(decode);
    }
}

void NeighbourDesk::setStatus(const Receiver* receiver, bool transmitting, bool allowed) {
    WsjtxLink* const link = neighbours_.wsjtx();
    if (link == nullptr || receiver == nullptr)
        return;
    WsjtxStatus status;
    status.dialFrequency = static_cast<std::uint64_t>(std::max(0LL, receiver->frequency()));
    status.mode = status.txMode = upperCase(receiver->mode().name);
    status.txEnabled = allowed;
    status.transmitting = transmitting;
    status.rxOffset = status.txOffset = static_cast<std::uint32_t>(std::max(0, receiver->marker()));
    status.deCall = call_;
    status.deGrid = grid_;
    if (receiver->mode().family == Family::Slots)
        status.period = static_cast<std::uint32_t>(formatOf(receiver->mode().slots).periodMs / 1000);
    link->setStatus(status);
}

} // namespace ferrow::serve
