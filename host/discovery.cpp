#include "host/discovery.hpp"

#include "host/failure.hpp"
#include "host/interrupt.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <ifaddrs.h>
#include <map>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrow {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kRepeat = 250ms;
constexpr auto kHintTime = 300ms;
constexpr std::size_t kShortestReply = 11, kShortestReply2 = 21;

// Places in the reply.
constexpr std::size_t kStatus = 2, kMac = 3, kFirmware = 9, kBoard = 10, kReceivers = 0x13, kMinor = 0x15;
constexpr std::uint8_t kIdle = 2, kRunning = 3;
// The same in a reply of the second protocol, which begins with a sequence number of 0.
constexpr std::size_t kStatus2 = 4, kMac2 = 5, kBoard2 = 11, kFirmware2 = 13, kReceivers2 = 20;

struct Board {
    int id;
    const char* name;
    int receivers;
};
constexpr Board kBoards[] = {
    {0, "Metis", 4}, {1, "Hermes", 4},      {2, "Griffin", 2},     {4, "Angelia", 7},
    {5, "Orion", 7}, {6, "Hermes-Lite", 4}, {7, "Hermes-Lite", 4}, {10, "Orion 2", 7},
};
// The second protocol counts otherwise.
constexpr Board kBoards2[] = {
    {0, "Atlas", 4}, {1, "Hermes", 4},  {2, "Hermes II", 2},   {3, "Angelia", 7},
    {4, "Orion", 7}, {5, "Orion 2", 7}, {6, "Hermes-Lite", 4}, {10, "Saturn", 10},
};
constexpr int kMostReceivers = 12;

const Board* boardOf(RadioKind kind, int id) {
    const auto boards = kind == RadioKind::HpsdrNp ? std::span<const Board>(kBoards2) : kBoards;
    for (const Board& board : boards)
        if (board.id == id)
            return &board;
    return nullptr;
}

class UdpSocket {
public:
    UdpSocket() : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        const int on = 1;
        if (fd_ < 0 || setsockopt(fd_, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0)
            throw Failure(fmt::format("no UDP socket: {}", std::strerror(errno)));
    }
    ~UdpSocket() { close(fd_); }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    // Failures are not told: an interface without a route is nothing that a user could mend.
    void send(in_addr to, std::span<const std::uint8_t> bytes) const {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(kRadioPort);
        address.sin_addr = to;
        [[maybe_unused]] const auto sent = sendto(
            fd_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }

    // The next datagram of the radios' port, or nothing when the time is up.
    std::optional<FoundRadio> receive(std::chrono::milliseconds limit) const {
        pollfd waiting{fd_, POLLIN, 0};
        if (poll(&waiting, 1, static_cast<int>(std::max(limit, 0ms).count())) <= 0)
            return std::nullopt;
        std::array<std::uint8_t, 2048> bytes;
        sockaddr_in from{};
        socklen_t length = sizeof from;
        const auto size =
            recvfrom(fd_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
        if (size < 0 || ntohs(from.sin_port) != kRadioPort)
            return std::nullopt;
        char text[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
        return readDiscoveryReply({bytes.data(), static_cast<std::size_t>(size)}, text);
    }

private:
    int fd_;
};

in_addr parseAddress(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1)
        throw UsageError(fmt::format("\"{}\" is no IPv4 address such as 192.168.1.20", text));
    return address;
}

void addBroadcasts(std::vector<in_addr>& targets) {
    targets.push_back({htonl(INADDR_BROADCAST)});
    targets.push_back({htonl(INADDR_LOOPBACK)});
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return;
    for (const ifaddrs* one = list; one; one = one->ifa_next) {
        if (!one->ifa_addr || one->ifa_addr->sa_family != AF_INET || !(one->ifa_flags & IFF_UP))
            continue;
        if ((one->ifa_flags & IFF_BROADCAST) && one->ifa_broadaddr)
            targets.push_back(reinterpret_cast<const sockaddr_in*>(one->ifa_broadaddr)->sin_addr);
        else if (one->ifa_flags & IFF_LOOPBACK)
            targets.push_back({htonl(0x7FFFFFFF)});
    }
    freeifaddrs(list);
}

} // namespace

std::string FoundRadio::macText() const {
    return fmt::format("{:02x}:{:02x}:{:02x}:{:02x}:{:02x}:{:02x}", mac[0], mac[1], mac[2], mac[3], mac[4],
                       mac[5]);
}

std::string FoundRadio::firmwareText() const {
    return firmwareMinor < 0 ? fmt::format("{}", firmware) : fmt::format("{}.{}", firmware, firmwareMinor);
}

const char* FoundRadio::boardName() const {
    if (kind == RadioKind::SdrPlay)
        return model.empty() ? "unknown" : model.c_str();
    if (kind == RadioKind::WsProxy)
        return "websocket proxy";
    if (hermesLite2())
        return "Hermes-Lite 2";
    const Board* known = boardOf(kind, board);
    return known ? known->name : "unknown";
}

std::array<std::uint8_t, 63> discoveryRequest() {
    return {0xEF, 0xFE, 0x02};
}

std::array<std::uint8_t, 60> discoveryRequest2() {
    std::array<std::uint8_t, 60> request{};
    request[4] = 0x02;
    return request;
}

namespace {

std::optional<FoundRadio> readReply2(std::span<const std::uint8_t> datagram, const std::string& from) {
    if (datagram.size() < kShortestReply2 ||
        std::any_of(datagram.begin(), datagram.begin() + kStatus2, [](auto byte) { return byte != 0; }) ||
        (datagram[kStatus2] != kIdle && datagram[kStatus2] != kRunning))
        return std::nullopt;
    FoundRadio radio;
    radio.kind = RadioKind::HpsdrNp;
    radio.address = from;
    radio.running = datagram[kStatus2] == kRunning;
    std::copy_n(datagram.begin() + kMac2, radio.mac.size(), radio.mac.begin());
    radio.firmware = datagram[kFirmware2];
    radio.board = datagram[kBoard2];
    if (const Board* known = boardOf(radio.kind, radio.board))
        radio.receivers = known->receivers;
    if (datagram[kReceivers2] > 0)
        radio.receivers = std::min<int>(datagram[kReceivers2], kMostReceivers);
    return radio;
}

} // namespace

std::optional<FoundRadio> readDiscoveryReply(std::span<const std::uint8_t> datagram,
                                             const std::string& from) {
    if (!datagram.empty() && datagram[0] == 0)
        return readReply2(datagram, from);
    if (datagram.size() < kShortestReply || datagram[0] != 0xEF || datagram[1] != 0xFE ||
        (datagram[kStatus] != kIdle && datagram[kStatus] != kRunning))
        return std::nullopt;
    FoundRadio radio;
    radio.address = from;
    radio.running = datagram[kStatus] == kRunning;
    std::copy_n(datagram.begin() + kMac, radio.mac.size(), radio.mac.begin());
    radio.firmware = datagram[kFirmware];
    radio.board = datagram[kBoard];
    if (const Board* known = boardOf(radio.kind, radio.board))
        radio.receivers = known->receivers;
    if (radio.hermesLite2() && datagram.size() > kMinor) {
        radio.firmwareMinor = datagram[kMinor];
        if (datagram[kReceivers] > 0)
            radio.receivers = std::min<int>(datagram[kReceivers], kMostReceivers);
    }
    return radio;
}

std::vector<FoundRadio> discoverRadios(const DiscoveryOptions& options) {
    std::vector<in_addr> targets;
    for (const std::string& address : options.addresses)
        targets.push_back(parseAddress(address));
    if (options.broadcast)
        addBroadcasts(targets);
    const UdpSocket socket;
    const auto request = discoveryRequest();
    const auto request2 = discoveryRequest2();
    std::map<std::pair<std::uint32_t, RadioKind>, FoundRadio> found;
    const auto complete = [&] { return !options.broadcast && found.size() >= options.addresses.size(); };
    const auto wanted = [&](RadioKind kind) { return options.only.value_or(kind) == kind; };
    const auto end = Clock::now() + options.timeout;
    for (auto next = Clock::now(); !complete() && !interrupted();) {
        const auto now = Clock::now();
        if (now >= end)
            break;
        if (now >= next) {
            for (const in_addr target : targets) {
                if (wanted(RadioKind::Hpsdr))
                    socket.send(target, request);
                if (wanted(RadioKind::HpsdrNp))
                    socket.send(target, request2);
            }
            next += kRepeat;
        }
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(std::min(next, end) - now);
        if (auto radio = socket.receive(wait); radio && wanted(radio->kind))
            found[{ntohl(parseAddress(radio->address).s_addr), radio->kind}] = *radio;
    }
    std::vector<FoundRadio> list;
    for (auto& [key, radio] : found)
        list.push_back(std::move(radio));
    return list;
}

FoundRadio findRadio(const RadioAddress& address, std::chrono::milliseconds timeout) {
    FoundRadio radio;
    radio.kind = address.kind;
    radio.address = address.place;
    radio.remoteId = address.remoteId;
    if (address.kind != RadioKind::Hpsdr && address.kind != RadioKind::HpsdrNp)
        return radio;
    const auto ask = [&](RadioKind kind, std::chrono::milliseconds limit) {
        auto list = discoverRadios({{address.place}, false, limit, kind});
        std::erase_if(list, [&](const FoundRadio& one) { return one.address != address.place; });
        return list;
    };
    if (const auto list = ask(address.kind, timeout); !list.empty())
        return list.front();
    const auto other = address.kind == RadioKind::Hpsdr ? RadioKind::HpsdrNp : RadioKind::Hpsdr;
    if (const auto list = ask(other, std::min(timeout, std::chrono::milliseconds(kHintTime))); !list.empty())
        throw Failure(fmt::format("the radio at {} is {}: --radio {}", address.place, traitsOf(other).name,
                                  list.front().url()));
    throw Failure(fmt::format("no radio answers at {}: is it on, and is the address right? "
                              "`ferrow discover` lists the radios that answer",
                              address.place));
}

} // namespace ferrow
