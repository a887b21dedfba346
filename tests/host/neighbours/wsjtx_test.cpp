// What a logger sees of the WSJT-X protocol, read by the published order of fields, and what it may ask for.
#include "host/neighbours/wsjtx_link.hpp"

#include <arpa/inet.h>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace ferrow;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kLong = 20s;

// The stream's types, read one after another.
class Fields {
public:
    explicit Fields(std::vector<unsigned char> bytes) : bytes_(std::move(bytes)) {}

    unsigned long long whole(int bytes) {
        unsigned long long value = 0;
        for (int i = 0; i < bytes; ++i)
            value = value * 256 + next();
        return value;
    }
    unsigned u32() { return static_cast<unsigned>(whole(4)); }
    int i32() { return static_cast<int>(u32()); }
    bool flag() {
        const auto value = next();
        EXPECT_LE(value, 1);
        return value == 1;
    }
    double real() {
        const unsigned long long bits = whole(8);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    std::string text() {
        const unsigned length = u32();
        std::string value;
        for (unsigned i = 0; i < length && at_ < bytes_.size(); ++i)
            value += static_cast<char>(next());
        EXPECT_EQ(value.size(), length);
        return value;
    }
    // Magic number, schema, kind and sender.
    unsigned head(unsigned schema = 2) {
        EXPECT_EQ(u32(), 0xadbccbdaU);
        EXPECT_EQ(u32(), schema);
        const unsigned kind = u32();
        EXPECT_EQ(text(), "ferrow");
        return kind;
    }
    bool ended() const { return at_ == bytes_.size(); }

private:
    unsigned char next() {
        EXPECT_LT(at_, bytes_.size()) << "cut short";
        return at_ < bytes_.size() ? bytes_[at_++] : 0;
    }
    std::vector<unsigned char> bytes_;
    std::size_t at_ = 0;
};

// What a logger sends.
class Answer {
public:
    explicit Answer(unsigned kind, const std::string& id = "ferrow", unsigned schema = 2) {
        u32(0xadbccbda).u32(schema).u32(kind).text(id);
    }
    Answer& u8(unsigned value) {
        bytes_ += static_cast<char>(value);
        return *this;
    }
    Answer& u32(unsigned value) { return u8(value >> 24).u8(value >> 16).u8(value >> 8).u8(value); }
    Answer& real(double value) {
        unsigned long long bits;
        std::memcpy(&bits, &value, sizeof bits);
        return u32(static_cast<unsigned>(bits >> 32)).u32(static_cast<unsigned>(bits));
    }
    Answer& text(const std::string& value) {
        u32(static_cast<unsigned>(value.size()));
        bytes_ += value;
        return *this;
    }
    const std::string& bytes() const { return bytes_; }

private:
    std::string bytes_;
};

class Peer {
public:
    explicit Peer(const char* address)
        : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        sockaddr_in here{};
        here.sin_family = AF_INET;
        inet_pton(AF_INET, address, &here.sin_addr);
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&here), sizeof here), 0);
        socklen_t length = sizeof here;
        getsockname(socket_, reinterpret_cast<sockaddr*>(&here), &length);
        port = ntohs(here.sin_port);
    }
    ~Peer() { close(socket_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    std::optional<std::vector<unsigned char>> take() {
        std::vector<unsigned char> bytes(65536);
        socklen_t length = sizeof from;
        const ssize_t n =
            recvfrom(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
        if (n < 0)
            return std::nullopt;
        bytes.resize(static_cast<std::size_t>(n));
        return bytes;
    }
    void send(const std::string& bytes, const sockaddr_in& to) const {
        EXPECT_EQ(
            sendto(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
            static_cast<ssize_t>(bytes.size()));
    }

    std::uint16_t port = 0;
    sockaddr_in from{}; // of what was taken last

private:
    int socket_;
};

class WsjtxOver : public testing::Test {
protected:
    void start(std::chrono::milliseconds pause = WsjtxLink::kHeartbeatPause) {
        link_ = std::make_unique<WsjtxLink>(io_, Endpoint{kAddress, logger_.port}, "ferrow", pause);
        link_->onReply = [this](const WsjtxReply& reply) {
            heard_ += "reply to " + reply.decode.message + (reply.modifiers != 0 ? " with a key held;" : ";");
        };
        link_->onHaltTx = [this](const WsjtxHaltTx& halt) {
            heard_ += halt.autoOnly ? "halt later;" : "halt;";
        };
        link_->onFreeText = [this](const WsjtxFreeText& text) {
            heard_ += "text " + text.text + (text.send ? ", send;" : ";");
        };
        link_->onClear = [this] { heard_ += "clear;"; };
        link_->onClose = [this] { heard_ += "close;"; };
        EXPECT_EQ(next().head(), 0U);
    }
    Fields next() {
        const auto end = Clock::now() + kLong;
        do {
            io_.poll();
            if (auto bytes = logger_.take())
                return Fields(std::move(*bytes));
            std::this_thread::sleep_for(1ms);
        } while (Clock::now() < end);
        ADD_FAILURE() << "no datagram";
        return Fields({});
    }
    void send(const Answer& answer) { logger_.send(answer.bytes(), logger_.from); }
    // What the program has been told once all that was sent before has arrived.
    std::string heard() {
        logger_.send(Answer(9).text("mark").u8(0).bytes(), logger_.from);
        const auto end = Clock::now() + kLong;
        while (!heard_.ends_with("text mark;") && Clock::now() < end) {
            io_.poll();
            std::this_thread::sleep_for(1ms);
        }
        EXPECT_TRUE(heard_.ends_with("text mark;"));
        std::string all = std::exchange(heard_, "");
        all.erase(all.size() - std::min<std::size_t>(all.size(), std::strlen("text mark;")));
        return all;
    }

    static constexpr const char* kAddress = "127.78.2.1";
    boost::asio::io_context io_;
    Peer logger_{kAddress};
    std::unique_ptr<WsjtxLink> link_;
    std::string heard_;
};

WsjtxDecode someDecode(const char* message = "CQ K1ABC FN42") {
    WsjtxDecode decode;
    decode.time = 73'545'000;
    decode.snr = -13;
    decode.deltaTime = 0.25;
    decode.offset = 1497;
    decode.mode = wsjtxModeSign("FT8");
    decode.message = message;
    return decode;
}

void expectDecode(Fields fields, bool isNew, const char* message, unsigned schema = 2) {
    EXPECT_EQ(fields.head(schema), 2U);
    EXPECT_EQ(fields.flag(), isNew);
    EXPECT_EQ(fields.u32(), 73'545'000U);
    EXPECT_EQ(fields.i32(), -13);
    EXPECT_EQ(fields.real(), 0.25);
    EXPECT_EQ(fields.u32(), 1497U);
    EXPECT_EQ(fields.text(), "~");
    EXPECT_EQ(fields.text(), message);
    EXPECT_FALSE(fields.flag());
    EXPECT_FALSE(fields.flag());
    EXPECT_TRUE(fields.ended());
}

Answer replyTo(const char* message, unsigned offset = 1497) {
    return Answer(4)
        .u32(73'545'000)
        .u32(static_cast<unsigned>(-13))
        .real(0.25)
        .u32(offset)
        .text("~")
        .text(message);
}

} // namespace

TEST_F(WsjtxOver, HeartbeatsComeWithTheStatus) {
    link_ = std::make_unique<WsjtxLink>(io_, Endpoint{kAddress, logger_.port}, "ferrow", 30ms);
    for (int i = 0; i < 3; ++i) {
        Fields beat = next();
        EXPECT_EQ(beat.head(), 0U);
        EXPECT_EQ(beat.u32(), 3U);
        EXPECT_FALSE(beat.text().empty()) << "version";
        EXPECT_EQ(beat.text(), "") << "revision";
        EXPECT_TRUE(beat.ended());
    }
    WsjtxStatus status;
    status.mode = "FT8";
    link_->setStatus(status);
    EXPECT_EQ(next().head(), 1U);
    EXPECT_EQ(next().head(), 0U);
    EXPECT_EQ(next().head(), 1U) << "for who has come late";
}

TEST_F(WsjtxOver, StatusHasAllItsFieldsAndGoesOutOnceAChange) {
    start();
    WsjtxStatus status;
    status.dialFrequency = 14'074'000;
    status.mode = status.txMode = "FT8";
    status.dxCall = "G4ABC";
    status.report = "-08";
    status.txEnabled = status.decoding = true;
    status.rxOffset = 1497;
    status.txOffset = 1600;
    status.deCall = "K1ABC";
    status.deGrid = "FN42";
    status.dxGrid = "IO91";
    status.txWatchdog = true;
    status.period = 15;
    status.txMessage = "G4ABC K1ABC FN42";
    link_->setStatus(status);
    link_->setStatus(status);
    status.transmitting = true;
    link_->setStatus(status);
    for (const bool transmitting : {false, true}) {
        Fields fields = next();
        EXPECT_EQ(fields.head(), 1U);
        EXPECT_EQ(fields.whole(8), 14'074'000U);
        for (const char* text : {"FT8", "G4ABC", "-08", "FT8"})
            EXPECT_EQ(fields.text(), text);
        EXPECT_TRUE(fields.flag()) << "enabled";
        EXPECT_EQ(fields.flag(), transmitting);
        EXPECT_TRUE(fields.flag()) << "decoding";
        EXPECT_EQ(fields.u32(), 1497U);
        EXPECT_EQ(fields.u32(), 1600U);
        for (const char* text : {"K1ABC", "FN42", "IO91"})
            EXPECT_EQ(fields.text(), text);
        EXPECT_TRUE(fields.flag()) << "watchdog";
        EXPECT_EQ(fields.text(), "") << "submode";
        EXPECT_FALSE(fields.flag()) << "fast";
        EXPECT_EQ(fields.whole(1), 0U) << "special operation";
        EXPECT_EQ(fields.u32(), 0xFFFFFFFFU) << "tolerance";
        EXPECT_EQ(fields.u32(), 15U) << "period";
        EXPECT_EQ(fields.text(), "Default");
        EXPECT_EQ(fields.text(), "G4ABC K1ABC FN42");
        EXPECT_TRUE(fields.ended());
    }
    link_->clear();
    Fields cleared = next(); // nothing came between
    EXPECT_EQ(cleared.head(), 3U);
    EXPECT_TRUE(cleared.ended());
}

TEST_F(WsjtxOver, ADecodeByteForByte) {
    start();
    link_->decoded(someDecode());
    auto end = Clock::now() + kLong;
    std::optional<std::vector<unsigned char>> bytes;
    while (!bytes && Clock::now() < end)
        bytes = logger_.take();
    ASSERT_TRUE(bytes);
    const std::string expected("\xad\xbc\xcb\xda" // magic
                               "\0\0\0\x02"       // schema
                               "\0\0\0\x02"       // Decode
                               "\0\0\0\x06"
                               "ferrow"
                               "\x01"                 // new
                               "\x04\x62\x35\x28"     // 20:25:45
                               "\xff\xff\xff\xf3"     // -13 dB
                               "\x3f\xd0\0\0\0\0\0\0" // 0.25 s
                               "\0\0\x05\xd9"         // 1497 Hz
                               "\0\0\0\x01"
                               "~"
                               "\0\0\0\x0d"
                               "CQ K1ABC FN42"
                               "\0\0",
                               4 * 3 + 10 + 1 + 4 + 4 + 8 + 4 + 5 + 17 + 2);
    EXPECT_EQ(std::string(bytes->begin(), bytes->end()), expected);
}

TEST_F(WsjtxOver, AContactIsLoggedTwice) {
    start();
    Contact contact;
    contact.call = "G4ABC";
    contact.grid = "IO91";
    contact.mode = "FT4";
    contact.frequency = 14'081'497;
    contact.timeOn = std::chrono::sys_days{std::chrono::year{2024} / 2 / 29} + 23h + 58min + 30s;
    contact.timeOff = contact.timeOn + 2min;
    contact.reportSent = "-08";
    contact.reportReceived = "+03";
    contact.myCall = "K1ABC";
    contact.myGrid = "FN42";
    contact.power = "5";
    contact.name = "J\xc3\xb6rg";
    contact.comment = "first";
    link_->logged(contact);
    Fields fields = next();
    EXPECT_EQ(fields.head(), 5U);
    const auto moment = [&](unsigned long long day, unsigned time) {
        EXPECT_EQ(fields.whole(8), day);
        EXPECT_EQ(fields.u32(), time);
        EXPECT_EQ(fields.whole(1), 1U) << "UTC";
    };
    moment(2'460'371, 30'000); // 1 March 2024
    EXPECT_EQ(fields.text(), "G4ABC");
    EXPECT_EQ(fields.text(), "IO91");
    EXPECT_EQ(fields.whole(8), 14'081'497U);
    for (const char* text : {"FT4", "-08", "+03", "5", "first", "J\xc3\xb6rg"})
        EXPECT_EQ(fields.text(), text);
    moment(2'460'370, 86'310'000); // 29 February
    for (const char* text : {"K1ABC", "K1ABC", "FN42", "", "", ""})
        EXPECT_EQ(fields.text(), text);
    EXPECT_TRUE(fields.ended());

    Fields adif = next();
    EXPECT_EQ(adif.head(), 12U);
    const std::string text = adif.text();
    EXPECT_TRUE(adif.ended());
    EXPECT_NE(text.find("<EOH>"), std::string::npos);
    EXPECT_NE(text.find("<CALL:5>G4ABC "), std::string::npos);
    EXPECT_NE(text.find("<SUBMODE:3>FT4 "), std::string::npos);
    EXPECT_TRUE(text.ends_with("<EOR>\n")) << text;
}

TEST_F(WsjtxOver, GoodbyeIsSaid) {
    start();
    link_.reset();
    Fields fields = next();
    EXPECT_EQ(fields.head(), 6U);
    EXPECT_TRUE(fields.ended());
    io_.run(); // nothing is left to do, so this ends
}

TEST_F(WsjtxOver, RequestsAreObeyed) {
    start();
    link_->decoded(someDecode());
    expectDecode(next(), true, "CQ K1ABC FN42");
    send(replyTo("CQ K1ABC FN42").u8(0).u8(0));
    EXPECT_EQ(heard(), "reply to CQ K1ABC FN42;");
    send(replyTo("CQ K1ABC FN42").u8(0).u8(2));
    EXPECT_EQ(heard(), "reply to CQ K1ABC FN42 with a key held;");
    send(replyTo("CQ K1ABC FN42"));
    EXPECT_EQ(heard(), "reply to CQ K1ABC FN42;") << "from an older peer";
    send(Answer(8).u8(0));
    EXPECT_EQ(heard(), "halt;");
    send(Answer(8).u8(1));
    EXPECT_EQ(heard(), "halt later;");
    send(Answer(9).text("TNX 73").u8(1));
    EXPECT_EQ(heard(), "text TNX 73, send;");
    send(Answer(9).u32(0xffffffff).u8(1));
    EXPECT_EQ(heard(), "text , send;") << "a null text";
    send(Answer(6));
    EXPECT_EQ(heard(), "close;");
}

TEST_F(WsjtxOver, OnlyWhatWasDecodedIsAnswered) {
    start();
    link_->decoded(someDecode());
    expectDecode(next(), true, "CQ K1ABC FN42");
    send(replyTo("CQ W9XYZ EN37").u8(0).u8(0));
    send(replyTo("CQ K1ABC FN42", 1500).u8(0).u8(0));
    EXPECT_EQ(heard(), "");
    send(Answer(3).u8(1)); // the other window
    send(replyTo("CQ K1ABC FN42").u8(0).u8(0));
    EXPECT_EQ(heard(), "reply to CQ K1ABC FN42;");
    send(Answer(3));
    send(replyTo("CQ K1ABC FN42").u8(0).u8(0));
    EXPECT_EQ(heard(), "clear;");
}

TEST_F(WsjtxOver, DecodesAreSentAgainOnRequest) {
    start();
    link_->decoded(someDecode("CQ K1ABC FN42"));
    link_->decoded(someDecode("CQ G4ABC IO91"));
    expectDecode(next(), true, "CQ K1ABC FN42");
    expectDecode(next(), true, "CQ G4ABC IO91");
    send(Answer(7));
    expectDecode(next(), false, "CQ K1ABC FN42");
    expectDecode(next(), false, "CQ G4ABC IO91");
    link_->clear();
    EXPECT_EQ(next().head(), 3U);
    send(Answer(7));
    EXPECT_EQ(heard(), "");
    EXPECT_FALSE(logger_.take()) << "forgotten";
}

TEST_F(WsjtxOver, NoMoreAreKeptThanASocketTakes) {
    start();
    for (std::size_t i = 0; i < WsjtxLink::kMostKept + 5; ++i) {
        link_->decoded(someDecode(std::to_string(i).c_str()));
        next();
    }
    send(Answer(7));
    for (std::size_t i = 5; i < WsjtxLink::kMostKept + 5; ++i)
        expectDecode(next(), false, std::to_string(i).c_str());
}

TEST_F(WsjtxOver, TheSchemaIsThePeers) {
    start();
    send(Answer(0, "ferrow", 3).u32(3).text("1.0").text(""));
    heard();
    link_->decoded(someDecode());
    expectDecode(next(), true, "CQ K1ABC FN42", 3);
    send(Answer(0, "ferrow", 2).u32(2));
    heard();
    link_->decoded(someDecode());
    expectDecode(next(), true, "CQ K1ABC FN42", 2);
    send(Answer(0, "ferrow", 3).u32(77));
    heard();
    link_->decoded(someDecode());
    expectDecode(next(), true, "CQ K1ABC FN42", 3);
}

TEST_F(WsjtxOver, WhatIsMeantForOthersOrIsMalformedIsIgnored) {
    start();
    link_->decoded(someDecode());
    next();
    send(Answer(8, "other").u8(0));
    send(Answer(8, "").u8(0));
    send(Answer(8, "ferrow", 1).u8(0));
    send(Answer(8, "ferrow", 4).u8(0));
    send(Answer(8));                       // no flag
    send(Answer(9).text("half"));          // no flag
    send(Answer(9).u32(1000).u8(1));       // a text longer than the datagram
    send(Answer(9).u32(0xfffffffe).u8(1)); // the same, as long as can be
    send(Answer(4).u32(86'400'000).u32(0).real(0).u32(0).text("~").text("x"));
    for (const unsigned kind : {1U, 2U, 5U, 10U, 11U, 12U, 13U, 14U, 15U, 99U, 0xffffffffU})
        send(Answer(kind).u8(0).u8(0));
    const std::string good = replyTo("CQ K1ABC FN42").bytes();
    for (std::size_t length = 0; length < good.size(); ++length)
        logger_.send(good.substr(0, length), logger_.from);
    std::string wrong = good;
    wrong[0] = '\0';
    logger_.send(wrong, logger_.from);
    EXPECT_EQ(heard(), "");
}

TEST_F(WsjtxOver, OnlyThePeersAddressIsHeard) {
    start();
    Peer stranger("127.78.2.2");
    stranger.send(Answer(8).u8(0).bytes(), logger_.from);
    EXPECT_EQ(heard(), "");
    Peer sameAddress(kAddress);
    sameAddress.send(Answer(8).u8(0).bytes(), logger_.from);
    EXPECT_EQ(heard(), "halt;");
}

TEST_F(WsjtxOver, NobodyThereIsNoError) {
    boost::asio::io_context io;
    std::uint16_t port;
    {
        const Peer gone("127.78.2.3");
        port = gone.port;
    }
    WsjtxLink link(io, {"127.78.2.3", port}, "ferrow", 5ms);
    for (int i = 0; i < 20; ++i) {
        link.decoded(someDecode());
        io.run_for(2ms);
    }
}
