#include "host/serve/access.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <charconv>
#include <fmt/format.h>
#include <netinet/in.h>
#include <random>

namespace ferrow::serve {
namespace {

// In a time that does not tell how much of it was right.
bool sameToken(std::string_view given, std::string_view wanted) {
    unsigned difference = given.size() == wanted.size() ? 0 : 1;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        difference |= static_cast<unsigned char>(i < given.size() ? given[i] : '\0') ^
                      static_cast<unsigned char>(wanted[i]);
    return difference == 0;
}

// The value of `key` among parts divided by `divider`, each KEY=VALUE; empty if there is none.
std::string_view valueOf(std::string_view parts, char divider, std::string_view key) {
    while (!parts.empty()) {
        const std::size_t end = std::min(parts.find(divider), parts.size());
        std::string_view part = parts.substr(0, end);
        parts.remove_prefix(std::min(end + 1, parts.size()));
        part.remove_prefix(std::min(part.find_first_not_of(' '), part.size()));
        if (part.size() > key.size() && part.starts_with(key) && part[key.size()] == '=')
            return part.substr(key.size() + 1);
    }
    return {};
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

// Without its port.
std::string hostName(std::string_view host) {
    const std::size_t bracket = host.starts_with('[') ? host.find(']') : std::string_view::npos;
    if (bracket != std::string_view::npos)
        return lowerCase(host.substr(1, bracket - 1));
    return lowerCase(host.substr(0, host.rfind(':')));
}

bool isLoopback(const std::string& address) {
    in_addr v4{};
    in6_addr v6{};
    if (inet_pton(AF_INET, address.c_str(), &v4) == 1)
        return ntohl(v4.s_addr) >> 24 == 127;
    return inet_pton(AF_INET6, address.c_str(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

// A page elsewhere whose name has been made to point here sends its own name along: such names have no
// business with a server that asks for no token.
bool knownHost(std::string_view host, const AccessRules& rules) {
    const std::string name = hostName(host);
    return name == "localhost" || isLoopback(name) ||
           std::ranges::find(rules.names, name) != rules.names.end();
}

bool sameOrigin(std::string_view origin, std::string_view host) {
    for (const std::string_view scheme : {"http://", "https://"})
        if (origin.starts_with(scheme))
            return lowerCase(origin.substr(scheme.size())) == lowerCase(host);
    return false;
}

std::string cookieName(const AccessRules& rules) {
    return fmt::format("ferrow_{}", rules.port);
}

} // namespace

Decision decide(const RequestHead& head, const AccessRules& rules) {
    const std::string_view target = head.target;
    const std::size_t mark = std::min(target.find('?'), target.size());
    const std::string_view path = target.substr(0, mark), query = target.substr(std::min(mark + 1, target.size()));
    if (head.hasOrigin && !sameOrigin(head.origin, head.host))
        return {403, Resource::None, {}, "a page from elsewhere may not use this server", {}};
    Decision decision;
    if (rules.token.empty()) {
        if (!knownHost(head.host, rules))
            return {403, Resource::None, {}, "this server does not go by that name", {}};
    } else {
        const bool byQuery = sameToken(valueOf(query, '&', "token"), rules.token);
        if (!byQuery && !sameToken(valueOf(head.cookie, ';', cookieName(rules)), rules.token))
            return {401, Resource::None, {}, "a token is needed: /?token=...", {}};
        if (byQuery)
            decision.setCookie = fmt::format("{}={}; Path=/; HttpOnly; SameSite=Strict", cookieName(rules),
                                             rules.token);
    }
    if (head.method != "GET" && head.method != "HEAD")
        return {405, Resource::None, {}, "only GET is served", {}};
    decision.path = path;
    if (path == "/ws") {
        decision.resource = Resource::Socket;
        if (!head.upgrade)
            return {426, Resource::None, {}, "this is a websocket", {}};
    } else if (path == "/status.json") {
        decision.resource = Resource::Status;
    } else if (path == "/metrics") {
        decision.resource = Resource::Metrics;
    } else {
        decision.resource = Resource::Page;
    }
    return decision;
}

std::string makeToken() {
    std::random_device random;
    std::string token;
    for (int i = 0; i < 4; ++i)
        token += fmt::format("{:08x}", static_cast<std::uint32_t>(random()));
    return token;
}

bool ListenAddress::loopback() const {
    return isLoopback(address);
}

std::string ListenAddress::hostText() const {
    return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

ListenAddress parseListenAddress(std::string_view text) {
    ListenAddress listen;
    const std::size_t colon = text.rfind(':');
    const bool bracketed = text.starts_with('[');
    const auto refuse = [&] {
        throw UsageError(fmt::format("--listen {}: it is ADDRESS:PORT, [ADDRESS]:PORT or :PORT, the address "
                                     "a numeric one",
                                     text));
    };
    if (colon == std::string_view::npos || (bracketed && (colon == 0 || text[colon - 1] != ']')))
        refuse();
    std::string_view host = text.substr(0, colon), port = text.substr(colon + 1);
    if (bracketed)
        host = host.substr(1, host.size() - 2);
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), listen.port);
    if (error != std::errc() || end != port.data() + port.size() || listen.port < 0 || listen.port > 65535)
        refuse();
    if (!host.empty())
        listen.address = host;
    in_addr v4{};
    in6_addr v6{};
    const int family = bracketed ? AF_INET6 : AF_INET;
    void* const place = bracketed ? static_cast<void*>(&v6) : &v4;
    if (inet_pton(family, listen.address.c_str(), place) != 1)
        refuse();
    return listen;
}

} // namespace ferrow::serve
