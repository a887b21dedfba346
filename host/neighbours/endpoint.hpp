// ADDRESS:PORT as neighbours are told on the command line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ferrow {

struct Endpoint {
    std::string address = "127.0.0.1"; // IPv4, or IPv6 without brackets
    std::uint16_t port = 0;
    bool loopback() const;
    std::string text() const; // as it is read
};

// ADDRESS:PORT, [IPv6]:PORT, ADDRESS, PORT or nothing; what is left out is that of `usual`. Addresses are
// numeric, for which "localhost" stands in too. Throws UsageError that names `option`.
Endpoint parseEndpoint(std::string_view text, const Endpoint& usual, std::string_view option);

} // namespace ferrow
