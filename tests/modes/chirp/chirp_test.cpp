#include "modes/chirp/chirp_log.hpp"
#include "modes/chirp_mod_demod.hpp"
#include "tests/modes/mode_fixture.hpp"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <limits>
#include <set>

namespace ferrow {
namespace {

using test::Signal;

// Bits of a polynomial division, the long way: the remainder of word * x^0 by 110001110101.
std::uint32_t remainderOf(std::uint32_t word) {
    for (int bit = 22; bit >= 11; --bit)
        if (word >> bit & 1)
            word ^= 0xC75u << (bit - 11);
    return word;
}

TEST(Golay, EveryPatternOfUpToThreeErrorsHasASyndromeOfItsOwn) {
    std::set<std::uint32_t> syndromes{0};
    int patterns = 0;
    for (std::uint32_t pattern = 1; pattern < 1u << 23; ++pattern) {
        if (std::popcount(pattern) > 3)
            continue;
        ++patterns;
        ASSERT_EQ(GolayCode::syndrome(pattern), remainderOf(pattern));
        syndromes.insert(GolayCode::syndrome(pattern));
    }
    EXPECT_EQ(patterns, 23 + 253 + 1771);
    EXPECT_EQ(syndromes.size(), 2048u);
}

TEST(Golay, CodeWordsDifferInSevenBits) {
    int least = 23;
    for (std::uint32_t data = 1; data < 4096; ++data)
        least = std::min(least, std::popcount(GolayCode::encode(data)));
    EXPECT_EQ(least, 7);
}

TEST(Golay, UpToThreeErrorsAreCorrected) {
    const GolayCode code;
    std::mt19937 random(3);
    for (std::uint32_t data = 0; data < 4096; ++data) {
        const std::uint32_t word = GolayCode::encode(data);
        EXPECT_EQ(word >> 11, data);
        EXPECT_EQ(remainderOf(word), 0u);
        for (int errors = 0; errors <= 3; ++errors) {
            std::uint32_t bad = word;
            while (std::popcount(bad ^ word) < errors)
                bad ^= 1u << random() % 23;
            const int wrong = std::popcount(bad ^ word);
            const auto decoded = code.decode(bad);
            EXPECT_EQ(decoded.data, data);
            EXPECT_EQ(decoded.corrected, wrong);
        }
    }
}

TEST(ChirpFrame, SurvivesTwelveErrorsInARow) {
    const GolayCode code;
    for (const std::string call : {"Q9ZZZ", "A", "0", "M0ABCD", "ZZZZZZ", "9A1A"}) {
        const ChirpFrame frame = ChirpFrame::of(call);
        for (std::size_t burst = 0; burst + 12 <= ChirpFrame::kPayload; burst += 4) {
            std::array<bool, ChirpFrame::kPayload> rises;
            std::copy(frame.rises.begin() + ChirpFrame::kSync, frame.rises.end(), rises.begin());
            for (std::size_t i = 0; i < 12; ++i)
                rises[burst + i] = !rises[burst + i];
            const auto message = readChirps(code, rises);
            ASSERT_TRUE(message) << call << burst;
            EXPECT_EQ(message->callsign, call);
            EXPECT_EQ(message->corrected, 12);
        }
    }
}

TEST(ChirpFrame, NoiseDoesNotPassTheCheck) {
    const GolayCode code;
    std::mt19937 random(1);
    int passed = 0;
    for (int i = 0; i < 20000; ++i) {
        std::array<bool, ChirpFrame::kPayload> rises;
        for (bool& bit : rises)
            bit = random() & 1;
        passed += readChirps(code, rises).has_value();
    }
    EXPECT_LE(passed, 3); // one in 65536 at most
}

Signal frames(double seconds, double centre = ChirpWave::kCentre) {
    ChirpTransmitter transmitter("Q9ZZZ");
    Signal out(static_cast<std::size_t>(seconds * 48000) / 512 * 512);
    transmitter.process(out, centre);
    return out;
}

std::vector<ChirpReport> receive(const Signal& signal, double centre = ChirpWave::kCentre) {
    ChirpReceiver receiver;
    std::vector<ChirpReport> reports;
    for (std::size_t at = 0; at + 512 <= signal.size(); at += 512)
        if (auto report = receiver.process({signal.data() + at, 512}, centre))
            reports.push_back(*report);
    return reports;
}

// Noise for an SNR in 2500 Hz, against the power of the chirps while they sound.
void addNoiseAt(Signal& signal, double snr, std::uint64_t seed) {
    double sum = 0, count = 0;
    for (const auto& sample : signal)
        if (std::norm(sample) > 0) {
            sum += std::norm(sample);
            ++count;
        }
    test::addNoise(signal, sum / count * std::pow(10, -snr / 10) * 48000 / 2500, seed);
}

TEST(Chirp, TheWaveSweepsAsItSays) {
    const Signal signal = frames(12);
    const ChirpFrame frame = ChirpFrame::of("Q9ZZZ");
    for (std::size_t symbol = 0; symbol < ChirpFrame::kSymbols; ++symbol)
        for (const std::size_t at : {600u, 2400u, 4200u}) {
            const std::size_t n = (ChirpWave::kLead + symbol) * 4800 + at;
            const std::complex<double> turn =
                std::complex<double>(signal[n + 1]) * std::conj(std::complex<double>(signal[n]));
            const double share = (static_cast<double>(at) + 0.5) / 4800;
            const double expected = frame.rises[symbol] ? 1000 + 1000 * share : 2000 - 1000 * share;
            ASSERT_NEAR(-std::arg(turn) * 48000 / (2 * std::numbers::pi), expected, 0.1)
                << symbol << " " << at;
        }
    for (std::size_t i = 0; i < 9600; ++i)
        ASSERT_EQ(signal[i], std::complex<float>());
}

TEST(Chirp, FramesRepeatEveryTwelveSeconds) {
    const auto reports = receive(frames(40));
    ASSERT_EQ(reports.size(), 3u);
    for (const auto& report : reports) {
        EXPECT_EQ(report.callsign, "Q9ZZZ");
        EXPECT_EQ(report.corrected, 0);
        EXPECT_NEAR(report.offset, 0, 3);
    }
}

TEST(Chirp, DecodesAtMinus15Db) { // in 2500 Hz; the curve is in docs/chirp.md
    int decoded = 0;
    for (std::uint64_t trial = 0; trial < 4; ++trial) {
        Signal signal(static_cast<std::size_t>(1000 + 617 * trial));
        const Signal sent = frames(11.5);
        signal.insert(signal.end(), sent.begin(), sent.end());
        addNoiseAt(signal, -15, trial + 1);
        const auto reports = receive(signal);
        if (reports.size() != 1)
            continue;
        ++decoded;
        EXPECT_EQ(reports[0].callsign, "Q9ZZZ");
        EXPECT_NEAR(reports[0].snr, -15, 1.5);
        EXPECT_NEAR(reports[0].offset, 0, 3);
    }
    EXPECT_EQ(decoded, 4);
}

TEST(Chirp, SurvivesAHundredHertzOfOffset) {
    for (const double offset : {-100.0, 100.0, 43.0}) {
        Signal signal = frames(11.5, ChirpWave::kCentre + offset);
        addNoiseAt(signal, -15, 77);
        const auto reports = receive(signal);
        ASSERT_EQ(reports.size(), 1u) << offset;
        EXPECT_EQ(reports[0].callsign, "Q9ZZZ");
        EXPECT_NEAR(reports[0].offset, offset, 3);
    }
}

TEST(Chirp, NoiseAloneAndBadSamplesAreNotHeard) {
    Signal noise(48000 * 30);
    test::addNoise(noise, 1, 5);
    EXPECT_TRUE(receive(noise).empty());
    Signal bad(48000, {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()});
    const Signal sent = frames(11.5);
    bad.insert(bad.end(), sent.begin(), sent.end());
    EXPECT_EQ(receive(bad).size(), 1u);
    EXPECT_TRUE(receive(Signal(48000 * 12)).empty());
}

class ChirpMode : public test::ModeTest {
protected:
    std::string csv;
    std::shared_ptr<chirpyModDemod> mode;

    void SetUp() override {
        csv = runtime.folder() + "/new/chirp.csv";
        setenv("FERROW_CHIRP_CSV", csv.c_str(), 1);
        mode = use<chirpyModDemod>();
    }
};

TEST_F(ChirpMode, ReadsWhatItSendsAndWritesItDown) {
    mode->setPtt(true);
    const Signal signal = pull(*mode, 48000 * 24);
    mode->setPtt(false);
    const auto audio = hear(*mode, signal);
    EXPECT_EQ(audio[20000], signal[20000].real());
    ASSERT_TRUE(test::waitFor([&] {
        const std::string text = test::readFile(csv);
        return std::count(text.begin(), text.end(), '\n') == 3;
    })) << test::readFile(csv);
    const std::string text = test::readFile(csv);
    EXPECT_EQ(text.substr(0, text.find('\n')), "utc, callsign, snr_db, offset_hz, corrected, sync");
    EXPECT_NE(text.find("Z, Q9ZZZ, "), std::string::npos);
    EXPECT_EQ(text.find('\r'), std::string::npos);
}

TEST_F(ChirpMode, HearsNothingWhileItSends) {
    mode->setPtt(true);
    hear(*mode, pull(*mode, 48000 * 12));
    mode->setPtt(false);
    hear(*mode, Signal(4800));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(test::readFile(csv), "");
}

TEST_F(ChirpMode, EachTransmissionBeginsWithAWholeFrame) {
    press(true);
    const Signal first = pull(*mode, 96000);
    press(false);
    press(true);
    const Signal second = pull(*mode, 96000);
    EXPECT_EQ(first, second);
}

TEST_F(ChirpMode, SendsReceivesAndChangesAtOnce) {
    Signal noise(5120);
    test::addNoise(noise, 1, 1);
    whileBusy(*mode, noise, [&] {
        for (int i = 0; i < 200; ++i) {
            on(*mode, [&] {
                mode->rxFreq.setFromHost(i);
                mode->txFreq.setFromHost(-i);
            });
            press(i % 2 == 0);
        }
    });
}

TEST(ChirpLog, ThePathComesFromTheEnvironment) {
    setenv("FERROW_CHIRP_CSV", "/a/b.csv", 1);
    EXPECT_EQ(chirpLogPath(), "/a/b.csv");
    unsetenv("FERROW_CHIRP_CSV");
    setenv("XDG_STATE_HOME", "/state", 1);
    EXPECT_EQ(chirpLogPath(), "/state/ferrowcore/chirp.csv");
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", "/home/op", 1);
    EXPECT_EQ(chirpLogPath(), "/home/op/.local/state/ferrowcore/chirp.csv");
    unsetenv("HOME");
    EXPECT_EQ(chirpLogPath(), "");
}

TEST(ChirpLog, ALineHasItsValuesInOrder) {
    const ChirpReport report{"Q9ZZZ", -14.96, 37.46, 3, 61.24, 10.7};
    const auto now = std::chrono::system_clock::from_time_t(1780000000);
    EXPECT_EQ(chirpLogLine(report, now), "2026-05-28T20:26:29.3Z, Q9ZZZ, -15.0, 37.5, 3, 61.2\n");
}

} // namespace
} // namespace ferrow
