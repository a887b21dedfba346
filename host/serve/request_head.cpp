#include "host/serve/request_head.hpp"

#include <boost/beast/websocket/rfc6455.hpp>

namespace ferrow::serve {
namespace {

namespace http = boost::beast::http;

std::string_view view(boost::beast::string_view text) {
    return {text.data(), text.size()};
}

} // namespace

RequestHead headOf(const Request& request) {
    RequestHead head;
    head.method = view(request.method_string());
    head.target = view(request.target());
    head.host = view(request[http::field::host]);
    head.origin = view(request[http::field::origin]);
    head.cookie = view(request[http::field::cookie]);
    head.hasOrigin = request.find(http::field::origin) != request.end();
    head.upgrade = boost::beast::websocket::is_upgrade(request);
    return head;
}

} // namespace ferrow::serve
