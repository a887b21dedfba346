#include "radios/wsproxy/proxy_uri.hpp"

#include <algorithm>

namespace ferrow {

ProxyUri parseUri(std::string_view uri) {
    ProxyUri result;
    const auto upTo = [](std::string_view& text, std::string_view mark) {
        const std::size_t end = std::min(text.find(mark), text.size());
        const std::string_view head = text.substr(0, end);
        text.remove_prefix(end);
        return std::string(head);
    };
    std::string_view rest = uri;
    const std::string beforeQuery = upTo(rest, "?");
    result.query = rest;
    rest = beforeQuery;
    if (const std::size_t colon = rest.find(':');
        colon != std::string_view::npos && rest.substr(colon, 3) == "://") {
        result.protocol = rest.substr(0, colon);
        rest.remove_prefix(colon + 3);
    }
    const std::string beforePath = upTo(rest, "/");
    result.path = rest;
    rest = beforePath;
    result.host = upTo(rest, ":");
    if (!rest.empty())
        result.port = rest.substr(1);
    return result;
}

} // namespace ferrow
