#include "host/radio_address.hpp"

#include "host/failure.hpp"

#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <fmt/format.h>

namespace ferrow {
namespace {

constexpr int kHpsdrRates[] = {48, 96, 192, 384};
constexpr int kHpsdrNpRates[] = {48, 96, 192, 384, 768, 1536};
constexpr int kSdrPlayRates[] = {768, 1536, 2000, 6144, 8000, 10000};
constexpr int kWsProxyRates[] = {48};

constexpr RadioTraits kTraits[] = {
    {"hpsdr://", "a radio of the first HPSDR protocol", kHpsdrRates, 192, true, true},
    {"hpsdr2://", "a radio of the second HPSDR protocol", kHpsdrNpRates, 192, false, true},
    {"sdrplay://", "an SDRplay receiver", kSdrPlayRates, 768, false, true},
    {"ws://", "a receiver behind a websocket", kWsProxyRates, 48, false, false},
};

constexpr std::size_t kLongestSerial = 63;
constexpr int kUsualPort = 80;

// A whole decimal number within bounds, or -1.
int numberIn(std::string_view text, int low, int high) {
    int value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && value >= low && value <= high ? value : -1;
}

[[noreturn]] void refuse(std::string_view text, std::string_view why) {
    throw UsageError(fmt::format("--radio {}: {}", text, why));
}

std::string networkPlace(std::string_view whole, std::string_view rest, bool bare) {
    std::string place(rest);
    in_addr address{};
    if (inet_pton(AF_INET, place.c_str(), &address) == 1)
        return place;
    if (bare)
        throw UsageError(fmt::format("\"{}\" is no IPv4 address such as 192.168.1.20, nor a URL such as "
                                     "hpsdr://, hpsdr2://, sdrplay:// or ws://",
                                     whole));
    refuse(whole, fmt::format("\"{}\" is no IPv4 address such as 192.168.1.20", rest));
}

std::string serialPlace(std::string_view whole, std::string_view rest) {
    if (rest.size() > kLongestSerial || rest.find_first_of("/?#: ") != std::string_view::npos)
        refuse(whole, "what follows sdrplay:// is a serial number, or nothing for the first device");
    return std::string(rest);
}

int readQuery(std::string_view whole, std::string_view query) {
    if (query.empty())
        return 0;
    constexpr std::string_view kKey = "id=";
    const int id = query.starts_with(kKey) ? numberIn(query.substr(kKey.size()), 0, 1 << 30) : -1;
    if (id < 0)
        refuse(whole, "what follows the question mark is id=N, the number of the receiver at the server");
    return id;
}

RadioAddress wsAddress(std::string_view whole, std::string_view rest) {
    RadioAddress address{RadioKind::WsProxy, {}, 0};
    if (const auto mark = rest.find('?'); mark != std::string_view::npos) {
        address.remoteId = readQuery(whole, rest.substr(mark + 1));
        rest = rest.substr(0, mark);
    }
    const auto slash = std::min(rest.find('/'), rest.size());
    const std::string_view path = slash < rest.size() ? rest.substr(slash) : "/";
    const std::string_view server = rest.substr(0, slash);
    const auto colon = std::min(server.find(':'), server.size());
    const std::string_view host = server.substr(0, colon);
    const int port = colon < server.size() ? numberIn(server.substr(colon + 1), 1, 65535) : kUsualPort;
    if (host.empty() || host.find_first_of("[]@ ") != std::string_view::npos || port < 0 ||
        path.find_first_of(" #") != std::string_view::npos)
        refuse(whole, "it is not of the form ws://host:port/path, host a name or an IPv4 address");
    address.place = fmt::format("ws://{}:{}{}", host, port, path);
    return address;
}

} // namespace

const RadioTraits& traitsOf(RadioKind kind) {
    return kTraits[static_cast<std::size_t>(kind)];
}

std::string RadioAddress::url() const {
    if (kind == RadioKind::WsProxy)
        return remoteId == 0 ? place : fmt::format("{}?id={}", place, remoteId);
    return traitsOf(kind).scheme + place;
}

RadioAddress parseRadioAddress(std::string_view text) {
    const auto mark = text.find("://");
    if (mark == std::string_view::npos)
        return {RadioKind::Hpsdr, networkPlace(text, text, true), 0};
    const std::string_view scheme = text.substr(0, mark + 3), rest = text.substr(mark + 3);
    for (const RadioKind kind :
         {RadioKind::Hpsdr, RadioKind::HpsdrNp, RadioKind::SdrPlay, RadioKind::WsProxy}) {
        if (scheme != traitsOf(kind).scheme)
            continue;
        switch (kind) {
        case RadioKind::SdrPlay:
            return {kind, serialPlace(text, rest), 0};
        case RadioKind::WsProxy:
            return wsAddress(text, rest);
        default:
            return {kind, networkPlace(text, rest, false), 0};
        }
    }
    if (scheme == "wss://")
        refuse(text, "secure websockets are not supported, only ws://");
    refuse(text, "it begins with none of hpsdr://, hpsdr2://, sdrplay:// and ws://");
}

} // namespace ferrow
