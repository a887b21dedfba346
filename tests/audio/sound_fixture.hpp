// A sound server, a started library and transceivers that play what the test makes up.
#pragma once

#include "core/audio/audio_provider.hpp"
#include "core/audio/audio_ring.hpp"
#include "core/tasks/log.hpp"
#include "core/tasks/realtime.hpp"
#include "tests/support/pulse_server.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <optional>
#include <random>
#include <stdexcept>

namespace ferrow::test {

// A band of tones without a period: every stretch of it lies at one lag only.
class ToneNoise {
public:
    explicit ToneNoise(int tones = 24, double low = 400, double high = 2600) {
        std::mt19937 random(11);
        std::uniform_real_distribution<double> frequency(low, high), turn(0, 2 * std::numbers::pi);
        for (int i = 0; i < tones; ++i)
            tones_.push_back({frequency(random), turn(random)});
    }

    // `count` samples at `rate` a second; a signal above the receiver's centre has a negative frequency.
    std::vector<std::complex<float>> render(std::size_t count, double rate) const {
        std::vector<std::complex<float>> out(count);
        const double scale = 0.25 / std::sqrt(static_cast<double>(tones_.size()));
        for (const auto& tone : tones_) {
            std::complex<double> now = std::polar(scale, -tone.phase);
            const auto turn = std::polar(1.0, -2 * std::numbers::pi * tone.frequency / rate);
            for (auto& sample : out) {
                sample += std::complex<float>(now);
                now = {now.real() * turn.real() - now.imag() * turn.imag(),
                       now.real() * turn.imag() + now.imag() * turn.real()};
            }
        }
        return out;
    }

private:
    struct Tone {
        double frequency, phase;
    };
    std::vector<Tone> tones_;
};

// The upper sideband as it stands after the receive filter.
class RealPartMode : public modDemod {
public:
    using modDemod::modDemod;
    buff<float> demodulate(buff<std::complex<float>> block) override {
        ++blocks;
        return realPart(block);
    }
    std::atomic<int> blocks{0};
};

class SoundTest : public ::testing::Test {
protected:
    SoundTest() {
        if (!PulseServer::installed())
            throw std::runtime_error("pulseaudio and pulseaudio-utils are needed: see scripts/packages.txt");
        // The chain from the chunk to the sink as it runs for a user, whatever else the machine does.
        setenv("FERROW_REALTIME", "1", 1);
        server.emplace();
        runtime.emplace();
    }

    // The number of the sink among the library's outputs.
    static int sinkNumber() {
        for (const auto& output : AudioProvider::instance().outputDeviceList)
            if (output.name == "default")
                return output.device;
        throw std::runtime_error("the sound server is not among the devices");
    }

    // Runs `what` on an object's context, and waits.
    static void on(asyncObject& object, const std::function<void()>& what) {
        object.queueSeqItem(seqTask("test", what));
        settle(object.context());
    }

    std::shared_ptr<vtrx> transceiver(const std::shared_ptr<modDemod>& mode, int output, int input = 0) {
        auto made = std::make_shared<vtrx>(std::make_shared<syncTask>(rootSyncTask->pool()));
        on(*made, [&] {
            made->create();
            made->audioOutput.set(output);
            made->audioInput.set(input);
            made->rxagc.value()->Enabled.set(false);
            made->rxagc.value()->ManualGain.set(0);
            made->setModulation(mode);
            made->setRxFilter(200, 2800);
            made->start();
        });
        return made;
    }

    std::optional<PulseServer> server;
    std::optional<Runtime> runtime;
};

// Feeds a transceiver with chunks of 512 samples at 48000 a second, in real time.
class Feed {
public:
    using Clock = std::chrono::steady_clock;

    explicit Feed(vtrx& transceiver) : transceiver_(transceiver) {
        enterRealtimeClass(RealtimeLevel::Comms); // a radio's thread
    }

    // For `seconds`, beginning with sample 0 at its first call.
    void run(double seconds, const std::function<std::complex<float>(std::size_t)>& sample) {
        const auto blocks = static_cast<std::size_t>(seconds * 48000 / 512);
        for (std::size_t b = 0; b < blocks; ++b, ++block_) {
            Samples chunk(512);
            for (std::size_t i = 0; i < 512; ++i)
                chunk[i] = sample(block_ * 512 + i);
            std::this_thread::sleep_until(timeOf((block_ + 1) * 512));
            transceiver_.queueSeqItem(seqTask("test.chunk", [this, chunk] {
                transceiver_.processRxChunk(chunk, transceiver_.vfo.value(), 48000, {}, 0, 0);
            }));
        }
        settle(transceiver_.context());
    }

    // When sample `n` is there.
    Clock::time_point timeOf(std::size_t n) const {
        const std::chrono::duration<double> after(static_cast<double>(n) / 48000);
        return start_ + std::chrono::duration_cast<Clock::duration>(after);
    }

private:
    vtrx& transceiver_;
    Clock::time_point start_ = Clock::now();
    std::size_t block_ = 0;
};

} // namespace ferrow::test
