// A mode on a transceiver of a radio without hardware, its blocks fed and pulled by hand.
#pragma once

#include "tests/support/edit_distance.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <atomic>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace ferrow::test {

using Signal = std::vector<std::complex<float>>;

inline std::string sentText, heardText;

class ModeTest : public TrxTest {
protected:
    static constexpr long long kTuned = 14025000;

    std::shared_ptr<vtrx> t;

    template <class Mode>
    std::shared_ptr<Mode> use() {
        sentText.clear();
        heardText.clear();
        radio->addReceiver(kTuned, 48000);
        on(*radio, [&] { radio->canTransmit.set(true); });
        auto mode = std::make_shared<Mode>(rootSyncTask);
        t = listen(kTuned, mode);
        return mode;
    }

    void press(bool down) {
        on(*t, [&] { t->ptt.setFromHost(down); });
    }

    bool onAir() const { return t->ptt.value(); }

    // What the mode sends next, pulled in blocks.
    static Signal pull(modDemod& mode, std::size_t count, std::size_t block = 512) {
        Signal out;
        while (out.size() < count) {
            const std::size_t size = std::min(block, count - out.size());
            const Samples in(size, 0.0f), samples(size, 0.0f);
            mode.modulate(in, samples);
            out.insert(out.end(), samples.begin(), samples.end());
        }
        return out;
    }

    // The audio of a signal, given in blocks of 512 with silence at the end.
    static std::vector<float> hear(modDemod& mode, const Signal& signal) {
        std::vector<float> audio;
        for (std::size_t at = 0; at < signal.size(); at += 512) {
            Samples block(512, 0.0f);
            std::copy_n(signal.begin() + static_cast<std::ptrdiff_t>(at),
                        std::min<std::size_t>(512, signal.size() - at), block.begin());
            const buff<float> out = mode.demodulate(block);
            audio.insert(audio.end(), out.begin(), out.end());
        }
        return audio;
    }

    // Does `change` while the mode sends and receives, each on a thread of its own.
    template <class Change>
    void whileBusy(modDemod& mode, const Signal& received, Change change) {
        std::atomic<bool> done{false};
        std::thread transmitter([&] {
            while (!done)
                pull(mode, 5120, 126);
        });
        std::thread receiver([&] {
            while (!done)
                on(*t, [&] { hear(mode, received); });
        });
        change();
        done = true;
        transmitter.join();
        receiver.join();
    }
};

// Complex white noise of the given power.
inline void addNoise(Signal& signal, double power, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::normal_distribution<float> gauss(0.0f, static_cast<float>(std::sqrt(power / 2)));
    for (auto& sample : signal)
        sample += std::complex<float>(gauss(random), gauss(random));
}

} // namespace ferrow::test
