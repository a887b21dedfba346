// The station's other programs at the same radio as its listeners: rigctl, a logger, the log.
#include "tests/host/neighbours/rigctl.hpp"
#include "tests/host/on_air.hpp"
#include "tests/host/serve/serve_client.hpp"

#include <arpa/inet.h>

using namespace ferrow::test;
using namespace std::chrono_literals;

namespace {

const char* const kScene = R"({"noise_floor": -140, "stations": [
  {"kind": "carrier", "name": "a", "frequency": 14201000, "level": -60},
  {"kind": "ft8", "frequency": 14074000, "offset": 1234, "level": -50, "message": "CQ K1ABC FN42"}]})";

// Where rig control is, as the program says on stderr.
std::string rigctlPlace(Serving& serving) {
    const std::string words = "rig control at ";
    const std::string& output = serving.process().output();
    const auto at = output.find(words);
    if (at == std::string::npos)
        return "";
    const auto begin = at + words.size();
    return output.substr(begin, output.find('\n', begin) - begin);
}

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// Reads a logger's datagrams, knowing no more of them than their published layout.
class Logger {
public:
    struct Message {
        std::uint32_t type = 0;
        std::string id;
        std::vector<std::uint8_t> rest;
        std::size_t at = 0;

        std::uint64_t number(int bytes) {
            std::uint64_t value = 0;
            for (int i = 0; i < bytes; ++i)
                value = value << 8 | (at < rest.size() ? rest[at] : 0xEEU), ++at;
            return value;
        }
        std::string text() {
            const std::uint64_t length = number(4);
            if (length == 0xFFFFFFFFU || at + length > rest.size())
                return "";
            at += length;
            return {rest.begin() + static_cast<std::ptrdiff_t>(at - length),
                    rest.begin() + static_cast<std::ptrdiff_t>(at)};
        }
    };

    Logger() : socket_(::socket(AF_INET, SOCK_DGRAM, 0)) {
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&own), sizeof own), 0);
        socklen_t length = sizeof own;
        getsockname(socket_, reinterpret_cast<sockaddr*>(&own), &length);
        port_ = ntohs(own.sin_port);
    }
    ~Logger() { close(socket_); }
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    std::string place() const { return "127.0.0.1:" + std::to_string(port_); }

    // The next message of a type that fits.
    std::optional<Message> next(std::uint32_t type, const std::function<bool(Message)>& fits,
                                std::chrono::seconds longest = 20s) {
        const auto end = Clock::now() + longest;
        while (Clock::now() < end) {
            pollfd waiting{socket_, POLLIN, 0};
            if (::poll(&waiting, 1, 200) <= 0)
                continue;
            std::vector<std::uint8_t> bytes(4096);
            sockaddr_in from{};
            socklen_t length = sizeof from;
            const ssize_t n =
                recvfrom(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&from), &length);
            if (n < 12)
                continue;
            sender_ = from;
            bytes.resize(static_cast<std::size_t>(n));
            Message message;
            message.rest = bytes;
            if (message.number(4) != 0xADBCCBDAU)
                ADD_FAILURE() << "a datagram of another kind";
            const auto schema = message.number(4);
            EXPECT_TRUE(schema == 2 || schema == 3) << schema;
            message.type = static_cast<std::uint32_t>(message.number(4));
            message.id = message.text();
            if (message.type == type && fits(message))
                return message;
        }
        return std::nullopt;
    }

    // Halt Tx, to the one who sent last.
    void halt() {
        std::vector<std::uint8_t> bytes = {0xAD, 0xBC, 0xCB, 0xDA, 0,   0,   0,   2,   0,   0,   0, 8,
                                           0,    0,    0,    6,    'f', 'e', 'r', 'r', 'o', 'w', 0};
        sendto(socket_, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&sender_), sizeof sender_);
    }

private:
    int socket_;
    std::uint16_t port_ = 0;
    sockaddr_in sender_{};
};

} // namespace

TEST(ServeNeighbours, RigctlHasTheTransceiverThatWasSetLast) {
    if (!hasRigctl())
        GTEST_SKIP() << "rigctl is not installed";
    ServedRadio radio("127.63.4.1", kScene);
    Serving serving("127.63.4.1", {"--rigctl", "127.0.0.1:0", "--rate", "192", "--s9", "-70"});
    const std::string rig = rigctlPlace(serving);
    ASSERT_FALSE(rig.empty()) << serving.process().output();
    // Nobody listens: the station has a transceiver of its own for it.
    EXPECT_EQ(rigctl(rig, "F 14200000 f").output, "14200000\n");
    EXPECT_EQ(rigctl(rig, "M LSB 1800 m").output, "LSB\n1800\n");
    EXPECT_EQ(rigctl(rig, "M USB 0").code, 0); // for one that asks at once Hamlib makes the answer up
    EXPECT_EQ(rigctl(rig, "m").output, "USB\n2600\n");
    const auto strength = [&] { return std::atoi(rigctl(rig, "l STRENGTH").output.c_str()); };
    int level = -999;
    for (int i = 0; i < 50 && (level < 8 || level > 12); ++i)
        level = strength();
    EXPECT_NEAR(level, 10, 2) << "a carrier of -60 dB, 10 above S9";

    ServeListener listener(serving);
    const int first = listener.add(14100000, "usb"), second = listener.add(14150000, "am");
    EXPECT_EQ(firstLine(rigctl(rig, "f").output), "14150000");
    EXPECT_EQ(rigctl(rig, "F 14160000").code, 0);
    EXPECT_TRUE(
        listener
            .next("transceiver",
                  [&](const json& t) { return t.at("id") == second && t.at("frequency") == 14160000; })
            .is_object());
    listener.send({{"do", "set"}, {"id", first}, {"volume", 0.4}});
    EXPECT_TRUE(listener.next("transceiver", [&](const json& t) { return t.at("id") == first; }).is_object());
    EXPECT_EQ(rigctl(rig, "f m").output, "14100000\nUSB\n2600\n");
    EXPECT_EQ(rigctl(rig, "M LSB 2400").code, 0);
    const json told = listener.next("transceiver", [&](const json& t) { return t.at("mode") == "lsb"; });
    ASSERT_TRUE(told.is_object());
    EXPECT_EQ(told.at("id"), first);
    EXPECT_EQ(told.at("high").get<int>() - told.at("low").get<int>(), 2400);
    // Rig control speaks of the signal, the page of the dial below it.
    EXPECT_EQ(rigctl(rig, "M CW 0").code, 0);
    const json cw = listener.next("transceiver", [&](const json& t) { return t.at("mode") == "cw"; });
    ASSERT_TRUE(cw.is_object());
    const long long signal = cw.at("frequency").get<long long>() + cw.at("marker").get<long long>();
    EXPECT_EQ(firstLine(rigctl(rig, "f").output), std::to_string(signal));
    EXPECT_NE(rigctl(rig, "T 1").output, "") << "it does not transmit, and says so";
    EXPECT_EQ(firstLine(rigctl(rig, "t").output), "0");
    listener.cut();
    EXPECT_EQ(serving.end().code, 0);
}

TEST(ServeNeighbours, RigctlKeysAndTheLoggerEndsIt) {
    if (!hasRigctl())
        GTEST_SKIP() << "rigctl is not installed";
    RecordingRadio radio("127.63.4.2");
    Logger logger;
    Serving serving("127.63.4.2",
                    {"--rigctl", "127.0.0.1:0", "--rate", "48", "--transmit", "--wsjtx", logger.place()});
    const std::string rig = rigctlPlace(serving);
    ServeListener listener(serving);
    ASSERT_GT(listener.add(14200000, "usb"), 0);
    const auto keyed = [&](bool on) {
        return listener.next("transmit", [on](const json& t) { return t.at("keyed") == on; }).is_object();
    };
    EXPECT_EQ(rigctl(rig, "T 1").code, 0);
    EXPECT_TRUE(keyed(true));
    EXPECT_EQ(firstLine(rigctl(rig, "t").output), "1") << "the key outlives the connection that pressed it";
    listener.send({{"do", "tune"}, {"id", 1}, {"on", true}});
    EXPECT_TRUE(listener.next("error", [](const json& e) { return e.at("about") == "tune"; }).is_object())
        << "one has the key";
    EXPECT_EQ(rigctl(rig, "T 0").code, 0);
    EXPECT_TRUE(keyed(false));
    EXPECT_EQ(firstLine(rigctl(rig, "t").output), "0");
    EXPECT_EQ(rigctl(rig, "T 1").code, 0);
    EXPECT_TRUE(keyed(true));
    ASSERT_TRUE(logger.next(1, [](Logger::Message) { return true; }));
    logger.halt();
    EXPECT_TRUE(keyed(false)) << "Halt Tx";
    // A listener that goes takes the transceiver with it, and what is keyed on it.
    EXPECT_EQ(rigctl(rig, "T 1").code, 0);
    EXPECT_TRUE(keyed(true));
    listener.cut();
    EXPECT_TRUE(serving.waitMetric("ferrow_listeners", 0));
    EXPECT_EQ(firstLine(rigctl(rig, "t").output), "0");
    EXPECT_EQ(serving.end().code, 0);
    radio.finish();
}

TEST(ServeNeighbours, ALoggerHearsOfDecodesStatusAndContacts) {
    ServedRadio radio("127.63.4.3", kScene);
    Logger logger;
    const std::string log = radio.file("log.adi");
    Serving serving("127.63.4.3", {"--wsjtx", logger.place(), "--adif", log, "--call", "N0CALL", "--grid",
                                   "JO62", "--rate", "48"});
    ServeListener listener(serving);
    ASSERT_GT(listener.add(14074000, "ft8"), 0);
    auto status = logger.next(1, [](Logger::Message m) { return m.number(8) == 14074000; });
    ASSERT_TRUE(status);
    EXPECT_EQ(status->id, "ferrow");
    status->at += 8;
    EXPECT_EQ(status->text(), "FT8");
    const auto contact = [&] {
        return listener.ask({{"do", "log"},
                             {"call", "K1ABC"},
                             {"grid", "FN42"},
                             {"sent", "-10"},
                             {"received", "-05"},
                             {"mode", "FT8"},
                             {"frequency", 14075234}},
                            "logged");
    };
    EXPECT_EQ(contact().value("call", ""), "K1ABC");
    auto logged = logger.next(5, [](Logger::Message) { return true; });
    ASSERT_TRUE(logged);
    logged->at += 8 + 4 + 1; // the moment
    EXPECT_EQ(logged->text(), "K1ABC");
    EXPECT_EQ(logged->text(), "FN42");
    EXPECT_EQ(logged->number(8), 14075234u);
    EXPECT_EQ(logged->text(), "FT8");
    EXPECT_EQ(logged->text(), "-10");
    EXPECT_EQ(logged->text(), "-05");
    std::ifstream file(log);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (const char* field :
         {"<CALL:5>K1ABC", "<GRIDSQUARE:4>FN42", "<BAND:3>20m", "<STATION_CALLSIGN:6>N0CALL", "<MODE:3>FT8"})
        EXPECT_NE(text.find(field), std::string::npos) << field << " in " << text;
    // A whole period has to pass.
    auto decode = logger.next(
        2, [](Logger::Message) { return true; }, 50s);
    ASSERT_TRUE(decode);
    EXPECT_EQ(decode->number(1), 1u) << "new";
    EXPECT_EQ(decode->number(4) % 15000, 0u) << "a period's beginning";
    const auto snr = static_cast<std::int32_t>(decode->number(4));
    EXPECT_GT(snr, -20);
    decode->number(8); // DT
    EXPECT_NEAR(static_cast<double>(decode->number(4)), 1234, 4);
    EXPECT_EQ(decode->text(), "~");
    EXPECT_EQ(decode->text(), "CQ K1ABC FN42");
    EXPECT_TRUE(listener.next("decodes").is_object());
    listener.cut();
    EXPECT_EQ(serving.end().code, 0);
    EXPECT_TRUE(logger.next(6, [](Logger::Message) { return true; })) << "goodbye";
}

TEST(ServeNeighbours, WithoutALogContactsAreRefused) {
    ServedRadio radio("127.63.4.4", kScene);
    Serving serving("127.63.4.4", {"--rate", "48"});
    ServeListener listener(serving);
    const json error =
        listener.ask({{"do", "log"}, {"call", "K1ABC"}, {"mode", "FT8"}, {"frequency", 14074000}}, "error");
    ASSERT_TRUE(error.is_object());
    EXPECT_EQ(error.at("about"), "log");
}
