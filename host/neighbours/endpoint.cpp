#include "host/neighbours/endpoint.hpp"

#include "host/failure.hpp"

#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <fmt/format.h>

namespace ferrow {

bool Endpoint::loopback() const {
    return boost::asio::ip::make_address(address).is_loopback();
}

std::string Endpoint::text() const {
    const bool six = address.find(':') != std::string::npos;
    return six ? fmt::format("[{}]:{}", address, port) : fmt::format("{}:{}", address, port);
}

Endpoint parseEndpoint(std::string_view text, const Endpoint& usual, std::string_view option) {
    Endpoint found = usual;
    if (text.empty())
        return found;
    std::string_view address, port;
    if (text.front() == '[') {
        const std::size_t end = text.find(']');
        address = text.substr(1, end == std::string_view::npos ? 0 : end - 1);
        port = end == std::string_view::npos ? "?" : text.substr(end + 1);
        if (port.starts_with(':') && port.size() > 1 && !address.empty())
            port.remove_prefix(1);
        else if (!port.empty() || address.empty())
            port = "?"; // something else than a port
    } else if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
        address = text.substr(0, colon);
        port = text.substr(colon + 1);
    } else if (text.find_first_not_of("0123456789") == std::string_view::npos) {
        port = text;
    } else {
        address = text;
    }
    const auto wrong = [&](std::string_view why) {
        return UsageError(fmt::format("{} {}: {}", option, text, why));
    };
    if (!address.empty()) {
        boost::system::error_code error;
        const auto numbers =
            boost::asio::ip::make_address(address == "localhost" ? "127.0.0.1" : std::string(address), error);
        if (error)
            throw wrong("the address is written in numbers, such as 127.0.0.1:4532");
        found.address = numbers.to_string();
    }
    if (!port.empty()) {
        const auto [stop, error] = std::from_chars(port.data(), port.data() + port.size(), found.port);
        if (error != std::errc() || stop != port.data() + port.size())
            throw wrong("a port is a number up to 65535");
    }
    return found;
}

} // namespace ferrow
