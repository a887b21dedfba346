// The head of a request to the server of the web page: read as the server reads it, then judged with and
// without a token.
#include "fuzz/fuzz.hpp"
#include "host/serve/request_head.hpp"

#include <cstdlib>

using namespace ferrow::serve;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    RequestParser parser;
    parser.header_limit(static_cast<std::uint32_t>(kMostHead));
    parser.eager(true);
    boost::beast::error_code error;
    // In two pieces, as a connection may bring it.
    const std::size_t first = size / 2;
    std::size_t used = parser.put(boost::asio::buffer(data, first), error);
    if (!parser.is_done() && (!error || error == boost::beast::http::error::need_more)) {
        error = {};
        parser.put(boost::asio::buffer(data + used, size - used), error);
    }
    if (error || !parser.is_header_done())
        return 0;
    const RequestHead head = headOf(parser.get());
    const Decision open = decide(head, {"", 8073, {"radio.example"}});
    const Decision locked = decide(head, {"0123456789abcdef", 8073, {}});
    // Nothing is given away without the token, and no page from elsewhere gets anything.
    if (locked.status == 200 && head.target.find("0123456789abcdef") == std::string::npos &&
        head.cookie.find("0123456789abcdef") == std::string::npos)
        std::abort();
    for (const Decision& one : {open, locked})
        if (one.status == 200 && head.hasOrigin && head.origin.find(':') == std::string::npos)
            std::abort();
    return 0;
}
