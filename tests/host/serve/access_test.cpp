// Who may see what: decided from a request's head.
#include "host/failure.hpp"
#include "host/serve/access.hpp"
#include "host/serve/page.hpp"

#include <gtest/gtest.h>
#include <set>

using namespace ferrow;
using namespace ferrow::serve;

namespace {

const AccessRules kOpen{"", 8073, {"radio.example"}};
const AccessRules kLocked{"0123456789abcdef", 8073, {}};

RequestHead get(const std::string& target, const std::string& host = "127.0.0.1:8073") {
    RequestHead head;
    head.method = "GET";
    head.target = target;
    head.host = host;
    return head;
}

RequestHead from(RequestHead head, const std::string& origin) {
    head.origin = origin;
    head.hasOrigin = true;
    return head;
}

} // namespace

TEST(Access, LoopbackNeedsNoToken) {
    EXPECT_EQ(decide(get("/"), kOpen).resource, Resource::Page);
    EXPECT_EQ(decide(get("/app.js?v=1"), kOpen).path, "/app.js");
    EXPECT_EQ(decide(get("/status.json"), kOpen).resource, Resource::Status);
    EXPECT_EQ(decide(get("/metrics"), kOpen).resource, Resource::Metrics);
    RequestHead socket = get("/ws");
    EXPECT_EQ(decide(socket, kOpen).status, 426U);
    socket.upgrade = true;
    EXPECT_EQ(decide(socket, kOpen).resource, Resource::Socket);
}

// A page elsewhere whose name points to this machine is of the same origin by its own account.
TEST(Access, ForeignNamesAreTurnedAway) {
    for (const char* host : {"127.0.0.1", "localhost:8073", "LOCALHOST", "[::1]:8073", "127.8.9.10:1",
                             "radio.example:80", "Radio.Example"})
        EXPECT_EQ(decide(get("/", host), kOpen).status, 200U) << host;
    for (const char* host : {"", "evil.example:8073", "127.0.0.1.evil.example", "128.0.0.1:8073", "[::2]:8073",
                             "[", "localhost.evil", ":8073"})
        EXPECT_EQ(decide(get("/", host), kOpen).status, 403U) << host;
}

TEST(Access, TheOriginMustBeThisServer) {
    for (const char* path : {"/", "/status.json", "/ws"}) {
        RequestHead head = get(path);
        head.upgrade = true;
        EXPECT_EQ(decide(from(head, "http://127.0.0.1:8073"), kOpen).status, 200U);
        EXPECT_EQ(decide(from(head, "https://127.0.0.1:8073"), kOpen).status, 200U) << "through a proxy";
        for (const char* origin : {"http://127.0.0.1:8074", "http://127.0.0.1", "http://evil.example", "null", "",
                                   "127.0.0.1:8073", "file://127.0.0.1:8073"})
            EXPECT_EQ(decide(from(head, origin), kOpen).status, 403U) << origin;
    }
}

TEST(Access, ATokenOpensEverything) {
    EXPECT_EQ(decide(get("/"), kLocked).status, 401U);
    EXPECT_EQ(decide(get("/metrics?token="), kLocked).status, 401U);
    EXPECT_EQ(decide(get("/metrics?token=0123456789abcde"), kLocked).status, 401U);
    EXPECT_EQ(decide(get("/metrics?token=0123456789abcdef0"), kLocked).status, 401U);
    EXPECT_EQ(decide(get("/metrics?token=0123456789abcdeF"), kLocked).status, 401U);
    EXPECT_EQ(decide(get("/metrics?atoken=0123456789abcdef"), kLocked).status, 401U);
    EXPECT_EQ(decide(get("/metrics?token=0123456789abcdef"), kLocked).status, 200U);
    EXPECT_EQ(decide(get("/?x=1&token=0123456789abcdef&y", "anything.example"), kLocked).status, 200U);
    const Decision page = decide(get("/?token=0123456789abcdef"), kLocked);
    EXPECT_EQ(page.setCookie, "ferrow_8073=0123456789abcdef; Path=/; HttpOnly; SameSite=Strict");
    RequestHead file = get("/app.js");
    file.cookie = "a=b; ferrow_8073=0123456789abcdef";
    EXPECT_EQ(decide(file, kLocked).status, 200U);
    EXPECT_TRUE(decide(file, kLocked).setCookie.empty());
    file.cookie = "ferrow_8074=0123456789abcdef";
    EXPECT_EQ(decide(file, kLocked).status, 401U);
}

TEST(Access, OtherMethodsAreRefused) {
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE", "CONNECT", "x"}) {
        RequestHead head = get("/");
        head.method = method;
        EXPECT_EQ(decide(head, kOpen).status, 405U) << method;
        EXPECT_EQ(decide(head, kLocked).status, 401U) << "no word to who has no token";
    }
}

TEST(Access, PathsAreNamesInATable) {
    EXPECT_NE(findPageFile("/"), nullptr);
    EXPECT_EQ(findPageFile("/"), findPageFile("/index.html"));
    for (const char* path : {"", "index.html", "/..", "/../etc/passwd", "/./index.html", "//index.html",
                             "/%2e%2e/etc/passwd", "/index.html/", "/INDEX.HTML", "/etc/passwd"})
        EXPECT_EQ(findPageFile(path), nullptr) << path;
    for (const PageFile& file : pageFiles()) {
        EXPECT_FALSE(file.content.empty()) << file.path;
        EXPECT_NE(file.type, "application/octet-stream") << file.path;
    }
}

TEST(Access, TokensDiffer) {
    std::set<std::string> tokens;
    for (int i = 0; i < 100; ++i)
        tokens.insert(makeToken());
    EXPECT_EQ(tokens.size(), 100U);
    for (const std::string& token : tokens)
        EXPECT_EQ(token.size(), 32U);
}

TEST(Listen, AddressesAreRead) {
    EXPECT_EQ(parseListenAddress("127.0.0.1:8073").port, 8073);
    EXPECT_TRUE(parseListenAddress("127.9.9.9:0").loopback());
    EXPECT_EQ(parseListenAddress(":80").address, "127.0.0.1");
    EXPECT_TRUE(parseListenAddress("[::1]:80").loopback());
    EXPECT_EQ(parseListenAddress("[::1]:80").hostText(), "[::1]");
    EXPECT_FALSE(parseListenAddress("0.0.0.0:80").loopback());
    EXPECT_FALSE(parseListenAddress("[::]:80").loopback());
    for (const char* text : {"", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:8x",
                             "::1:80", "[127.0.0.1]:80", "name:80", "[::1:80", "]:80", "[]:80"})
        EXPECT_THROW(parseListenAddress(text), UsageError) << text;
}
