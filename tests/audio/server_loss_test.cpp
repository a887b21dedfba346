// The sound server goes away, and comes back.
#include "core/audio/audio_input.hpp"
#include "tests/audio/sound_fixture.hpp"

#include <cstdio>

namespace ferrow {
namespace {

using namespace test;

class ServerLossTest : public SoundTest {
protected:
    static std::complex<float> tone(std::size_t n) {
        return std::polar(0.25f,
                          -2 * std::numbers::pi_v<float> * 1000 * static_cast<float>(n % 48000) / 48000);
    }
    static float loudest(const std::vector<float>& samples, std::size_t from = 0) {
        float top = 0;
        for (std::size_t i = from; i < samples.size(); ++i)
            top = std::max(top, std::abs(samples[i]));
        return top;
    }
    void mute(vtrx& receiver, bool muted) {
        on(receiver, [&] { receiver.muted.setFromHost(muted); });
    }
};

TEST_F(ServerLossTest, MutingClosesAndUnmutingOpensAgain) {
    auto mode = std::make_shared<RealPartMode>(rootSyncTask);
    auto receiver = transceiver(mode, sinkNumber(), AudioProvider::instance().defaultInput);
    EXPECT_TRUE(receiver->output().isOpen());
    EXPECT_EQ(receiver->microphone().id(), AudioProvider::instance().defaultInput);
    for (int i = 0; i < 25; ++i) {
        mute(*receiver, true);
        ASSERT_FALSE(receiver->output().isOpen());
        ASSERT_EQ(receiver->microphone().id(), 0);
        mute(*receiver, false);
        ASSERT_TRUE(receiver->output().isOpen());
        if (i % 4 == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(i));
    }
    MonitorRecorder recorder(*server);
    Feed(*receiver).run(1.5, tone);
    EXPECT_GT(loudest(recorder.finish().left), 0.2f);
    EXPECT_FALSE(runtime->logged("failed"));
}

TEST_F(ServerLossTest, ReceptionRunsOnWithoutTheServerAndPlaysAgainAfterItsReturn) {
    auto mode = std::make_shared<RealPartMode>(rootSyncTask);
    auto receiver = transceiver(mode, sinkNumber(), AudioProvider::instance().defaultInput);
    const AudioProvider& devices = AudioProvider::instance();
    const auto& captured = *devices.inputDeviceList[static_cast<std::size_t>(devices.defaultInput)];
    ASSERT_TRUE(waitFor([&] { return captured.started(); }));
    Feed feed(*receiver);
    feed.run(0.8, tone);
    server->kill();
    feed.run(1.2, tone);
    EXPECT_GE(mode->blocks, 180) << "of 187";
    const int blocks = mode->blocks;

    const auto before = std::chrono::steady_clock::now();
    mute(*receiver, true);
    mute(*receiver, false);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - before;
    std::printf("closed and tried again in %.0f ms\n", 1000 * taken.count());
    EXPECT_LT(taken.count(), 3.0);
    EXPECT_FALSE(receiver->output().isOpen());
    EXPECT_TRUE(runtime->logged("[error] pa_openstream failed -")) << "for the output";
    EXPECT_TRUE(runtime->logged("[error] pa_openstream failed default ")) << "for the microphone";
    feed.run(0.5, tone);
    EXPECT_GT(mode->blocks, blocks + 40);

    server->restart();
    MonitorRecorder recorder(*server);
    mute(*receiver, true);
    mute(*receiver, false);
    EXPECT_TRUE(receiver->output().isOpen());
    Feed(*receiver).run(3, tone);
    EXPECT_GT(loudest(recorder.finish().left), 0.2f);
}

TEST_F(ServerLossTest, ObjectsDieWhileTheServerIsAway) {
    auto mode = std::make_shared<RealPartMode>(rootSyncTask);
    auto receiver = transceiver(mode, sinkNumber(), AudioProvider::instance().defaultInput);
    Feed(*receiver).run(0.3, tone);
    server->kill();
    receiver.reset();
    auto second = transceiver(mode, sinkNumber());
    EXPECT_FALSE(second->output().isOpen());
}

} // namespace
} // namespace ferrow
