// Rig control over TCP: by rigctl itself, and by connections that misbehave.
#include "host/failure.hpp"
#include "host/neighbours/rig_server.hpp"
#include "tests/host/neighbours/fake_rig.hpp"
#include "tests/host/neighbours/raw_client.hpp"
#include "tests/host/neighbours/rigctl.hpp"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <future>
#include <gtest/gtest.h>
#include <thread>

using namespace ferrow;
using namespace ferrow::test;

namespace {

constexpr const char* kAddress = "127.78.1.1";

class RigServerOver : public testing::Test {
protected:
    RigServerOver() : server_(std::make_unique<RigServer>(io_, rig_, Endpoint{kAddress, 0})) {
        at_ = server_->endpoint();
        thread_ = std::jthread([this] { io_.run(); });
    }
    ~RigServerOver() override {
        onThread([this] { server_.reset(); });
        io_.stop();
    }

    // Where the radio is called.
    void onThread(const std::function<void()>& what) {
        std::promise<void> done;
        boost::asio::post(io_, [&] {
            what();
            done.set_value();
        });
        done.get_future().wait();
    }
    std::unique_ptr<RawClient> client() const { return std::make_unique<RawClient>(kAddress, at_.port); }
    std::size_t clients() {
        std::size_t count = 0;
        onThread([&] { count = server_->clients(); });
        return count;
    }
    RigctlOutcome rigctl(const std::string& commands, const std::string& options = "") const {
        return test::rigctl(at_.text(), commands, options);
    }

    boost::asio::io_context io_;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> busy_{io_.get_executor()};
    FakeRig rig_;
    std::unique_ptr<RigServer> server_;
    Endpoint at_;
    std::jthread thread_;
};

// The same with rigctl at the other end.
class Rigctl : public RigServerOver {
protected:
    void SetUp() override {
        if (!hasRigctl())
            GTEST_SKIP() << "rigctl is not installed";
    }
    void expect(const std::string& commands, const std::string& output, const std::string& options = "") {
        const RigctlOutcome outcome = rigctl(commands, options);
        EXPECT_EQ(outcome.output, output) << commands;
        EXPECT_EQ(outcome.code, 0) << commands;
    }
};

} // namespace

TEST_F(Rigctl, GetsAndSetsFrequencyAndMode) {
    expect("f", "14074000\n");
    expect("F 7074000 f", "7074000\n");
    expect("m", "USB\n2400\n");
    expect("M LSB 1800 m", "LSB\n1800\n");
    expect("M CW 0", "");
    expect("m", "CW\n500\n");
    expect("M PKTUSB 3000 m", "PKTUSB\n3000\n");
    onThread([this] {
        EXPECT_EQ(rig_.frequency(Vfo::A), 7'074'000);
        EXPECT_EQ(rig_.mode(Vfo::A), (RigMode{"PKTUSB", 3000}));
    });
}

TEST_F(Rigctl, PressesAndReleasesTheKey) {
    expect("t", "0\n");
    expect("T 1", "");
    onThread([this] { EXPECT_TRUE(rig_.ptt()); });
    expect("t", "1\n");
    expect("T 0 t", "0\n");
    onThread([this] { EXPECT_FALSE(rig_.ptt()); });
}

TEST_F(Rigctl, IsToldWhatIsRefused) {
    onThread([this] { rig_.answer = RigAnswer::NotAllowed; });
    const RigctlOutcome refused = rigctl("T 1");
    EXPECT_NE(refused.output.find("Command rejected by the rig"), std::string::npos) << refused.output;
    onThread([this] { EXPECT_FALSE(rig_.ptt()); });
    onThread([this] { rig_.answer = RigAnswer::Done; });
    const RigctlOutcome outOfRange = rigctl("F 99000000");
    EXPECT_NE(outOfRange.output.find("Invalid parameter"), std::string::npos) << outOfRange.output;
}

TEST_F(Rigctl, ExchangesVfos) {
    expect("v", "VFOA\n");
    expect("V VFOB v f", "VFOB\n7030000\n");
    expect("f m", "7030000\nCW\n500\n");
    expect("V VFOA f", "14074000\n");
}

TEST_F(Rigctl, SetsSplit) {
    expect("s", "0\nVFOA\n");
    expect("S 1 VFOB s", "1\nVFOB\n");
    // The frequency is asked for where VFOs are named, below: else rigctl sends a plain f.
    expect("I 14079000 X PKTUSB 3000 x", "PKTUSB\n3000\n");
    expect("f", "14074000\n");
    onThread([this] {
        EXPECT_EQ(rig_.vfo(), Vfo::A);
        EXPECT_EQ(rig_.frequency(Vfo::B), 14'079'000);
        EXPECT_EQ(rig_.mode(Vfo::B).name, "PKTUSB");
    });
    expect("S 0 VFOA s", "0\nVFOA\n");
}

TEST_F(Rigctl, ReadsTheMeterAndTheState) {
    expect("l STRENGTH", "-23\n");
    expect("\\get_powerstat", "1\n");
    const RigctlOutcome info = rigctl("_");
    EXPECT_NE(info.output.find("a radio in memory"), std::string::npos) << info.output;
}

TEST_F(Rigctl, NamesVfosWhereTheOptionIsOn) {
    onThread([this] {
        server_.reset();
        server_ = std::make_unique<RigServer>(io_, rig_, at_, true);
    });
    expect("f VFOB m VFOB t VFOA s VFOA l VFOA STRENGTH", "7030000\nCW\n500\n0\n0\nVFOA\n-23\n", "-o");
    expect("F VFOB 7031000 f VFOB", "7031000\n", "-o");
    expect("S VFOA 1 VFOB I VFOA 14079000", "", "-o");
    expect("s VFOA i VFOA f VFOA", "1\nVFOB\n14079000\n14074000\n", "-o");
}

TEST_F(Rigctl, SeveralAtOnce) {
    std::vector<std::future<RigctlOutcome>> all;
    for (int i = 0; i < 4; ++i)
        all.push_back(std::async(std::launch::async, [this] { return rigctl("f m t v s l STRENGTH"); }));
    for (auto& one : all)
        EXPECT_EQ(one.get().output, "14074000\nUSB\n2400\n0\nVFOA\n0\nVFOA\n-23\n");
}

TEST_F(RigServerOver, AnswersLinesHoweverTheyCome) {
    const auto one = client();
    for (const char c : std::string("\\get_freq\n"))
        one->send({&c, 1});
    EXPECT_EQ(one->readTo(), "14074000\n");
    one->send("F 7000000\nf\r\nm\n\n# a comment\n+t\nf");
    EXPECT_EQ(one->readTo("PTT: 0\nRPRT 0\n"), "RPRT 0\n7000000\nUSB\n2400\nget_ptt:\nPTT: 0\nRPRT 0\n");
    one->send("\n");
    EXPECT_EQ(one->readTo(), "7000000\n");
}

TEST_F(RigServerOver, AnswersWhoStopsSendingAndThenCloses) {
    const auto one = client();
    one->send("f\nm\n");
    one->shutdownWrite();
    EXPECT_EQ(one->readTo("2400\n"), "14074000\nUSB\n2400\n");
    EXPECT_TRUE(one->closes());
}

TEST_F(RigServerOver, RefusesLinesThatAreTooLongAndGoesOn) {
    const auto one = client();
    const std::string longest = "F " + std::string(RigServer::kLongestLine - 10, '0') + "14000000";
    ASSERT_EQ(longest.size(), RigServer::kLongestLine);
    EXPECT_EQ(one->ask(longest), "RPRT 0\n");
    EXPECT_EQ(one->ask("f"), "14000000\n");
    EXPECT_EQ(one->ask("F 0" + longest.substr(2)), "RPRT -1\n");
    one->send(std::string(300'000, 'f'));
    EXPECT_EQ(one->ask(""), "RPRT -1\n") << "one answer to a line of any length";
    EXPECT_EQ(one->ask("f"), "14000000\n");
}

TEST_F(RigServerOver, BearsGarbage) {
    std::uint32_t seed = 1;
    std::string garbage;
    for (int i = 0; i < 20'000; ++i) {
        seed = seed * 1664525 + 1013904223;
        garbage += static_cast<char>(seed >> 24);
    }
    std::erase(garbage, 'q'); // that would be goodbye
    std::erase(garbage, 'Q');
    const auto one = client();
    one->send(garbage + "\n");
    one->send("\\get_vfo_info VFOB\n");
    EXPECT_TRUE(one->readTo("7030000\nCW\n500\n").ends_with("7030000\nCW\n500\n"));
}

TEST_F(RigServerOver, GoodbyeClosesTheConnection) {
    const auto one = client();
    one->send("q\nF 7000000\n");
    EXPECT_EQ(one->readTo(), "RPRT 0\n");
    EXPECT_TRUE(one->closes());
    onThread(
        [this] { EXPECT_EQ(rig_.frequency(Vfo::A), 14'074'000) << "what comes behind it does not count"; });
}

TEST_F(RigServerOver, AWebPageCannotPressTheKey) {
    const auto one = client();
    one->send("POST / HTTP/1.1\r\nHost: localhost:4532\r\nContent-Type: text/plain\r\n\r\nT 1\nF 7000000\n");
    EXPECT_TRUE(one->closes());
    onThread([this] {
        EXPECT_FALSE(rig_.ptt());
        EXPECT_EQ(rig_.frequency(Vfo::A), 14'074'000);
    });
}

TEST_F(RigServerOver, TakesNoMoreThanItsClients) {
    std::vector<std::unique_ptr<RawClient>> all;
    for (std::size_t i = 0; i < RigServer::kMostClients; ++i) {
        all.push_back(client());
        EXPECT_EQ(all.back()->ask("f"), "14074000\n") << i;
    }
    EXPECT_TRUE(client()->closes());
    EXPECT_EQ(all.front()->ask("f"), "14074000\n");
    all.pop_back();
    // The place is free once the server has seen the end.
    for (;;) {
        const auto next = client();
        if (next->ask("f") == "14074000\n")
            break;
    }
    all.clear();
    while (clients() > 0)
        std::this_thread::yield();
}

TEST_F(RigServerOver, AClientThatDoesNotReadKeepsNobodyBack) {
    const auto deaf = client();
    std::string questions;
    for (int i = 0; i < 2000; ++i)
        questions += "\\dump_state\n";
    std::jthread sender([&] { deaf->send(questions); });
    EXPECT_EQ(client()->ask("f"), "14074000\n");
    onThread([this] { server_.reset(); }); // which ends the sender too
    sender.join();
    onThread([this] { server_ = std::make_unique<RigServer>(io_, rig_, at_); });
    EXPECT_EQ(client()->ask("f"), "14074000\n");
}

TEST_F(RigServerOver, AnAddressInUseIsAFailure) {
    try {
        boost::asio::io_context io;
        const RigServer second(io, rig_, at_);
        FAIL() << "two servers at one port";
    } catch (const Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find(at_.text()), std::string::npos) << failure.what();
    }
}

TEST_F(RigServerOver, TheEndClosesConnections) {
    const auto one = client();
    EXPECT_EQ(one->ask("f"), "14074000\n");
    onThread([this] { server_.reset(); });
    EXPECT_TRUE(one->closes());
    EXPECT_FALSE(client()->connected());
}
