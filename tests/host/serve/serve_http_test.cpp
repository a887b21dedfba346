// What the server of the page does with requests and connections, good and bad.
#include "host/serve/page.hpp"
#include "tests/host/serve/serve_client.hpp"

using namespace ferrow::test;
using namespace std::chrono_literals;

namespace {

const char* const kEmptyScene = R"({"noise_floor": -140, "stations": []})";

std::string upgrade(const Serving& serving, const std::string& target, const std::string& more = "") {
    return "GET " + target + " HTTP/1.1\r\nHost: " + serving.place() +
           "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
           more + "\r\n";
}

bool within(std::chrono::seconds longest, const std::function<bool()>& done) {
    const auto end = Clock::now() + longest;
    while (!done()) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

} // namespace

TEST(ServeHttp, ServesThePageAndTheNumbers) {
    ServedRadio radio("127.63.1.1", kEmptyScene);
    Serving serving(radio.address());
    for (const ferrow::serve::PageFile& file : ferrow::serve::pageFiles()) {
        const auto answer = serving.get(std::string(file.path));
        EXPECT_EQ(answer.status, 200) << file.path;
        EXPECT_EQ(answer.body, file.content) << file.path;
        EXPECT_EQ(answer.field("Content-Type"), file.type);
        EXPECT_EQ(answer.field("X-Content-Type-Options"), "nosniff");
        EXPECT_TRUE(answer.field("Content-Security-Policy").starts_with("default-src 'self'"));
    }
    EXPECT_EQ(serving.get("/").body, serving.get("/index.html").body);
    const auto head = serving.ask("HEAD", "/");
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.body, "");
    EXPECT_EQ(head.field("Content-Length"), std::to_string(serving.get("/").body.size()));

    const json status = serving.status();
    EXPECT_EQ(status.at("program"), "ferrow");
    EXPECT_EQ(status.at("radio").at("url"), "hpsdr://127.63.1.1");
    EXPECT_EQ(status.at("radio").at("ok"), true);
    EXPECT_EQ(status.at("transmit").at("allowed"), false);
    EXPECT_TRUE(status.at("listeners").empty());
    ServeListener listener(serving);
    const int id = listener.add(14074000, "ft8");
    EXPECT_TRUE(within(10s, [&] {
        const json now = serving.status();
        return now.at("listeners").size() == 1 && now.at("listeners")[0].at("transceivers").size() == 1;
    }));
    const json one = serving.status().at("listeners")[0].at("transceivers")[0];
    EXPECT_EQ(one.at("id"), id);
    EXPECT_EQ(one.at("frequency"), 14074000);
    EXPECT_EQ(one.at("mode"), "ft8");
    EXPECT_EQ(serving.metric("ferrow_radio_up"), 1);
    EXPECT_TRUE(serving.waitMetric("ferrow_listeners", 1));
    EXPECT_TRUE(serving.waitMetric("ferrow_transceivers", 1));
    EXPECT_EQ(serving.metric("ferrow_sequence_errors_total"), 0);
    EXPECT_GT(serving.metric("ferrow_cpu_seconds_total"), 0);
    EXPECT_TRUE(within(10s, [&] { return serving.metric("ferrow_sent_messages_total{kind=\"text\"}") > 1; }));
    // Each metric has its help and type, as Prometheus wants it.
    std::istringstream lines(serving.get("/metrics").body);
    std::string named;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("# TYPE ")) {
            named = line.substr(7, line.find(' ', 7) - 7);
        } else if (!line.starts_with("#")) {
            EXPECT_EQ(line.substr(0, line.find_first_of(" {")), named) << line;
        }
    }
}

TEST(ServeHttp, RefusesWhatItHasNot) {
    ServedRadio radio("127.63.1.2", kEmptyScene);
    Serving serving(radio.address());
    for (const char* target : {"/nothing", "/../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/..%2f..%2fetc/passwd",
                               "//etc/passwd", "/index.html/", "/./index.html", "/status.json/", "/\\..\\etc"})
        EXPECT_EQ(serving.get(target).status, 404) << target;
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "PATCH"})
        EXPECT_EQ(serving.ask(method, "/").status, 405) << method;
    EXPECT_EQ(serving.get("/ws").status, 426);
    EXPECT_EQ(serving.ask("POST", "/", "Content-Length: 5\r\n").status, 413);
    EXPECT_EQ(serving.get("/", "X: " + std::string(9000, 'x') + "\r\n").status, 431);
    EXPECT_TRUE(serving.raw("nonsense\r\n\r\n").starts_with("HTTP/1.1 400"));
    EXPECT_TRUE(serving.raw("GET / HTTP/9.9\r\n\r\n").starts_with("HTTP/1.1 400"));
    EXPECT_TRUE(serving.raw(std::string(100, '\0') + "\r\n\r\n").starts_with("HTTP/1.1 400"));
    EXPECT_EQ(serving.get("/").status, 200) << "and goes on";
}

TEST(ServeHttp, PagesFromElsewhereAreTurnedAway) {
    ServedRadio radio("127.63.1.3", kEmptyScene);
    Serving serving(radio.address());
    for (const char* target : {"/", "/status.json", "/metrics"}) {
        EXPECT_EQ(serving.get(target, "Origin: http://evil.example\r\n").status, 403) << target;
        EXPECT_EQ(serving.get(target, "Origin: http://" + serving.place() + "\r\n").status, 200) << target;
    }
    EXPECT_TRUE(serving.raw(upgrade(serving, "/ws", "Origin: http://evil.example\r\n")).starts_with("HTTP/1.1 403"));
    EXPECT_TRUE(serving.raw(upgrade(serving, "/ws", "Origin: null\r\n")).starts_with("HTTP/1.1 403"));
    EXPECT_TRUE(serving.raw(upgrade(serving, "/ws", "Origin: http://" + serving.place() + "\r\n"), 500ms)
                    .starts_with("HTTP/1.1 101"));
    EXPECT_TRUE(serving.raw("GET / HTTP/1.1\r\nHost: evil.example\r\nConnection: close\r\n\r\n")
                    .starts_with("HTTP/1.1 403"));
    EXPECT_TRUE(within(10s, [&] { return serving.metric("ferrow_requests_refused_total") >= 6; }));
}

TEST(ServeHttp, ATokenIsAskedForEverywhere) {
    ServedRadio radio("127.63.1.4", kEmptyScene);
    Serving serving(radio.address(), {"--token", "sesame"});
    EXPECT_NE(serving.url().find("/?token=sesame"), std::string::npos);
    for (const char* target : {"/", "/app.js", "/status.json", "/metrics", "/nothing", "/?token=sesam",
                               "/?token=sesame1", "/?token="})
        EXPECT_EQ(serving.get(target).status, 401) << target;
    EXPECT_TRUE(serving.raw(upgrade(serving, "/ws")).starts_with("HTTP/1.1 401"));
    EXPECT_TRUE(serving.raw(upgrade(serving, "/ws?token=wrong")).starts_with("HTTP/1.1 401"));
    const auto page = serving.get("/?token=sesame");
    EXPECT_EQ(page.status, 200);
    const std::string cookie = page.field("Set-Cookie").substr(0, page.field("Set-Cookie").find(';'));
    EXPECT_EQ(cookie, "ferrow_" + serving.port() + "=sesame");
    EXPECT_NE(page.field("Set-Cookie").find("HttpOnly"), std::string::npos);
    EXPECT_EQ(serving.get("/status.json", "Cookie: " + cookie + "\r\n").status, 200);
    EXPECT_TRUE(serving.raw(upgrade(serving, "/ws", "Cookie: " + cookie + "\r\n"), 500ms).starts_with("HTTP/1.1 101"));
    ServeListener listener(serving, "?token=sesame");
    EXPECT_TRUE(listener.next("hello").is_object());
}

// Any address but loopback's own needs a token; nobody else is asked to connect here.
TEST(ServeHttp, TheNetworkNeedsAToken) {
    ServedRadio radio("127.63.1.5", kEmptyScene);
    Running serve({FERROW_PROGRAM, "serve", "--radio", radio.address(), "--listen", "[::ffff:127.0.0.1]:0"});
    ASSERT_TRUE(serve.waitFor("ready http://")) << serve.finish().output;
    ASSERT_TRUE(serve.waitFor("\n"));
    serve.signal(SIGTERM);
    const Outcome outcome = serve.finish();
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.output.find("can be reached from the network"), std::string::npos) << outcome.output;
    const auto at = outcome.output.find("/?token=");
    ASSERT_NE(at, std::string::npos) << outcome.output;
    EXPECT_EQ(outcome.output.substr(at + 8).find('\n'), 32U) << outcome.output;
}

TEST(ServeHttp, BadListenAddressesAreRefused) {
    EXPECT_EQ(runFerrow({"serve", "--radio", "127.63.1.6", "--listen", "somewhere"}).code, 2);
    EXPECT_EQ(runFerrow({"serve", "--radio", "127.63.1.6", "--listeners", "0"}).code, 2);
    EXPECT_EQ(runFerrow({"serve", "--radio", "sdrplay://", "--transmit"}).code, 2);
    EXPECT_EQ(runFerrow({"serve"}).code, 2);
    ServedRadio radio("127.63.1.6", kEmptyScene);
    Serving first(radio.address());
    const Outcome second = runFerrow({"serve", "--radio", radio.address(), "--take-over", "--listen", first.place()});
    EXPECT_EQ(second.code, 1);
    EXPECT_NE(second.output.find("cannot listen"), std::string::npos) << second.output;
}

TEST(ServeHttp, AMessageTooLongEndsItsConnection) {
    ServedRadio radio("127.63.1.7", kEmptyScene);
    Serving serving(radio.address());
    ServeListener listener(serving), other(serving);
    EXPECT_TRUE(listener.sendText(R"({"do":"ping","t":1,"x":")" + std::string(16000, 'x') + "\"}"));
    EXPECT_TRUE(listener.next("pong").is_object());
    listener.sendText(std::string(16385, ' '));
    EXPECT_TRUE(within(10s, [&] { return listener.closed(); }));
    EXPECT_EQ(listener.closeCode(), 1009);
    EXPECT_TRUE(other.ask({{"do", "ping"}, {"t", 1}}, "pong").is_object());
}

TEST(ServeHttp, TooManyMessagesEndTheirConnection) {
    ServedRadio radio("127.63.1.8", kEmptyScene);
    Serving serving(radio.address());
    ServeListener listener(serving), other(serving);
    for (int i = 0; i < 300; ++i)
        listener.send({{"do", "ping"}, {"t", i}});
    EXPECT_TRUE(listener.next("pong", [](const json& pong) { return pong.at("t") == 299; }).is_object())
        << "a burst is taken";
    for (int i = 0; i < 3000 && listener.send({{"do", "ping"}, {"t", i}}); ++i) {
    }
    EXPECT_TRUE(within(10s, [&] { return listener.closed(); }));
    EXPECT_EQ(listener.closeCode(), 1008);
    EXPECT_TRUE(serving.waitMetric("ferrow_listeners_closed_total{reason=\"flood\"}", 1));
    EXPECT_TRUE(other.ask({{"do", "ping"}, {"t", 1}}, "pong").is_object());
}

// Who sends the head of a request byte by byte is waited for only so long, and keeps nobody else out.
TEST(ServeHttp, SlowRequestsAreGivenUp) {
    ServedRadio radio("127.63.1.9", kEmptyScene);
    Serving serving(radio.address());
    boost::asio::io_context io;
    std::vector<tcp::socket> slow;
    for (int i = 0; i < 20; ++i) {
        slow.push_back(serving.connect(io));
        boost::asio::write(slow.back(), boost::asio::buffer(std::string("GET / HTTP/1.1\r\n")));
    }
    EXPECT_EQ(serving.get("/").status, 200);
    EXPECT_TRUE(within(10s, [&] { return serving.metric("ferrow_connections") >= 20; }));
    const auto began = Clock::now();
    boost::system::error_code error;
    while (!error && Clock::now() - began < 30s) {
        boost::asio::write(slow.front(), boost::asio::buffer(std::string("X: y\r\n")), error);
        std::this_thread::sleep_for(200ms);
    }
    EXPECT_TRUE(error) << "cut off";
    EXPECT_TRUE(within(10s, [&] { return serving.metric("ferrow_connections") <= 2; }));
}

// A listener who reads nothing loses frames, then the connection; the others hear no difference.
TEST(ServeHttp, AListenerWhoDoesNotReadLosesFramesFirst) {
    ServedRadio radio("127.63.1.10", kEmptyScene);
    Serving serving(radio.address());
    ServeListener good(serving);
    const int id = good.add(14200000, "usb");
    good.send({{"do", "audio"}, {"format", "pcm"}});
    boost::asio::io_context io;
    beast::websocket::stream<tcp::socket> deaf(serving.connect(io));
    deaf.next_layer().set_option(boost::asio::socket_base::receive_buffer_size(4096));
    deaf.handshake(serving.place(), "/ws");
    for (int i = 0; i < 4; ++i)
        deaf.write(boost::asio::buffer(json{{"do", "add"}, {"frequency", 14200000}, {"mode", "usb"}}.dump()));
    deaf.write(boost::asio::buffer(std::string(R"({"do":"audio","format":"pcm"})")));
    ASSERT_TRUE(within(60s, [&] {
        return serving.metric("ferrow_dropped_messages_total{kind=\"audio\"}") > 50;
    }));
    EXPECT_EQ(serving.status().at("listeners").size(), 2U) << "still there";
    EXPECT_TRUE(within(60s, [&] { return serving.status().at("listeners").size() == 1; }));
    const auto audio = good.audio(id);
    for (std::size_t i = 1; i < audio.size(); ++i)
        ASSERT_EQ(audio[i].sequence, audio[i - 1].sequence + 1);
}

TEST(ServeHttp, TheNumberOfListenersIsBounded) {
    ServedRadio radio("127.63.1.11", kEmptyScene);
    Serving serving(radio.address(), {"--listeners", "2"});
    {
        ServeListener a(serving), b(serving);
        EXPECT_TRUE(b.next("hello").is_object());
        EXPECT_TRUE(serving.raw(upgrade(serving, "/ws")).starts_with("HTTP/1.1 503"));
        EXPECT_EQ(serving.get("/").status, 200);
    }
    EXPECT_TRUE(within(10s, [&] { return serving.metric("ferrow_listeners") == 0; }));
    ServeListener again(serving);
    EXPECT_TRUE(again.next("hello").is_object());
}

TEST(ServeHttp, ConnectionsAreBounded) {
    ServedRadio radio("127.63.1.12", kEmptyScene);
    Serving serving(radio.address(), {"--listeners", "1"});
    boost::asio::io_context io;
    std::vector<tcp::socket> many;
    for (int i = 0; i < 60; ++i)
        many.push_back(serving.connect(io));
    EXPECT_TRUE(within(10s, [&] {
        int open = 0;
        for (tcp::socket& one : many) {
            char byte;
            const ssize_t n = ::recv(one.native_handle(), &byte, 1, MSG_DONTWAIT);
            open += n < 0 && errno == EAGAIN;
        }
        return open <= 33;
    }));
    many.clear();
    EXPECT_TRUE(within(10s, [&] { return serving.get("/").status == 200; }));
    EXPECT_TRUE(within(10s, [&] { return serving.metric("ferrow_connections_turned_away_total") >= 20; }));
}
