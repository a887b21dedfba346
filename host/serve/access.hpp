// Who may see what by HTTP: decided from the head of a request alone.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ferrow::serve {

struct AccessRules {
    std::string token;              // empty: none is needed
    int port = 0;                   // that is listened on
    std::vector<std::string> names; // that Host may hold without a token, beside loopback's own
};

struct RequestHead {
    std::string method, target, host, origin, cookie;
    bool hasOrigin = false;
    bool upgrade = false; // to a websocket
};

enum class Resource { Page, Status, Metrics, Socket, None };

struct Decision {
    unsigned status = 200;
    Resource resource = Resource::None;
    std::string path;      // of a page's file, without the query
    std::string reason;    // what to say if status is not 200
    std::string setCookie; // of a page that was asked for with the token: its files come with it
};

Decision decide(const RequestHead& head, const AccessRules& rules);

// Random, for a listen address that needs one: 32 hexadecimal digits.
std::string makeToken();

// Takes "ADDRESS:PORT", "[ADDRESS]:PORT" or ":PORT" apart; throws UsageError.
struct ListenAddress {
    std::string address = "127.0.0.1";
    int port = 8073;
    bool loopback() const;
    std::string hostText() const; // with brackets if need be
};
ListenAddress parseListenAddress(std::string_view text);

} // namespace ferrow::serve
