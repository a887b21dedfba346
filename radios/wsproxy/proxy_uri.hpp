// Where a proxy server is: protocol://host:port/path?query, of which only the host is needed.
#pragma once

#include <string>
#include <string_view>

namespace ferrow {

struct ProxyUri {
    std::string protocol, host, port;
    std::string path;  // with its slash, without the query
    std::string query; // with its question mark
};

// Never fails: what is absent is empty.
ProxyUri parseUri(std::string_view uri);

} // namespace ferrow
