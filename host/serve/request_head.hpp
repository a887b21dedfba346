// The head of a request as Beast reads it, and what access is decided from.
#pragma once

#include "host/serve/access.hpp"

#include <boost/beast/http.hpp>

namespace ferrow::serve {

inline constexpr std::size_t kMostHead = 8192; // bytes of a request

// Set header_limit to kMostHead before use. No request has a body.
using RequestParser = boost::beast::http::request_parser<boost::beast::http::empty_body>;
using Request = boost::beast::http::request<boost::beast::http::empty_body>;

RequestHead headOf(const Request& request);

} // namespace ferrow::serve
