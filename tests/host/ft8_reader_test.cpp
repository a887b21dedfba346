#include "host/failure.hpp"
#include "host/ft8_reader.hpp"
#include "host/ft8_recorder.hpp"
#include "host/ft8_snr.hpp"
#include "tests/host/temporary.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <cmath>
#include <ctime>
#include <fstream>
#include <nlohmann/json.hpp>

using namespace ferrow;
namespace sig = ferrow::test;
using ferrow::test::TemporaryFolder;

namespace {

constexpr double kSigma = 300;

struct Sent {
    double frequency, start, snr; // start of the first symbol, seconds into the period
};

sig::Mode testMode(SlotMode mode) {
    return mode == SlotMode::Ft8 ? sig::Mode::Ft8 : sig::Mode::Ft4;
}

std::vector<sig::Vector> plainVectors(SlotMode mode) {
    std::vector<sig::Vector> plain;
    for (const auto& vector : sig::readVectors(testMode(mode)))
        if (vector.message == vector.unhashed && vector.message.find('<') == std::string::npos)
            plain.push_back(vector);
    return plain;
}

// A period with the vectors' messages, one after the other.
std::string writePeriod(const TemporaryFolder& folder, SlotMode mode, const std::vector<Sent>& sent,
                        unsigned seed = 11) {
    const auto vectors = plainVectors(mode);
    std::vector<double> audio(static_cast<std::size_t>(sig::periodSamples(testMode(mode))));
    std::mt19937_64 random(seed);
    sig::addNoise(audio, kSigma, random);
    for (std::size_t i = 0; i < sent.size(); ++i)
        sig::addSignal(audio, testMode(mode), vectors[i].tones, sent[i].frequency, sent[i].start,
                       sig::amplitudeFor(sent[i].snr, kSigma));
    const std::string path = folder.file("260301_120015.wav");
    const auto bytes = sig::wavBytes(audio);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path;
}

} // namespace

class SlotReader : public ::testing::TestWithParam<SlotMode> {};

TEST_P(SlotReader, GivesMessageFrequencyTimeAndSnr) {
    const SlotMode mode = GetParam();
    const bool ft8 = mode == SlotMode::Ft8;
    const double ramp = ft8 ? 0 : 0.048; // before the first listed symbol
    const double step = ft8 ? 0.08 : 0.024;
    const TemporaryFolder folder;
    const std::vector<Sent> sent = {{500, 0.5 + ramp, -5}, {800, 0.9 + ramp, 0},    {1100, 0.3 + ramp, 10},
                                    {1400, 1.4 + ramp, 5}, {1700, 0.6 + ramp, -10}, {2000, 0.5 + ramp, 2}};
    const auto vectors = plainVectors(mode);
    Ft8Reader reader(mode);
    const auto lines = reader.read(writePeriod(folder, mode, sent));
    ASSERT_EQ(lines.size(), sent.size());
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(lines[i].message, vectors[i].message);
        EXPECT_NEAR(lines[i].frequency, sent[i].frequency, ft8 ? 3.2 : 10.5);
        EXPECT_NEAR(lines[i].dt, sent[i].start - ramp - 0.5, step) << i;
        EXPECT_NEAR(lines[i].snr, sent[i].snr, 1) << lines[i].message;
    }
    // ft8decode's own figures stay beside them.
    EXPECT_NEAR(lines[0].rawTime, sent[0].start - (ft8 ? 0.08 : 0.424), step);
}

INSTANTIATE_TEST_SUITE_P(Modes, SlotReader, ::testing::Values(SlotMode::Ft8, SlotMode::Ft4),
                         [](const auto& one) { return one.param == SlotMode::Ft8 ? "Ft8" : "Ft4"; });

TEST(SnrMeter, IsRightFromNoiseToStrongSignals) {
    std::printf("   sent  FT8 mean  sigma   FT4 mean  sigma   (dB in 2500 Hz, 10 periods each)\n");
    for (const double snr : {-20.0, -16.0, -10.0, 0.0, 10.0, 20.0, 40.0}) {
        std::printf("%7.0f", snr);
        for (const SlotMode mode : {SlotMode::Ft8, SlotMode::Ft4}) {
            double sum = 0, squares = 0;
            constexpr int kTrials = 10;
            for (unsigned seed = 0; seed < kTrials; ++seed) {
                const TemporaryFolder folder;
                const SnrMeter meter(
                    readWav(writePeriod(folder, mode, {{1200 + 7.0 * seed, 0.5, snr}}, seed)));
                const double measured = meter.measure(1200 + 7.0 * seed, 0.5, formatOf(mode));
                sum += measured;
                squares += measured * measured;
            }
            const double mean = sum / kTrials,
                         sigma = std::sqrt(std::max(0.0, squares / kTrials - mean * mean));
            std::printf("  %8.1f  %5.2f ", mean, sigma);
            const bool weak = snr < (mode == SlotMode::Ft8 ? -16 : -10); // where frames are no more decoded
            EXPECT_NEAR(mean, snr, weak ? 2.5 : 0.8) << formatOf(mode).name;
        }
        std::printf("\n");
    }
}

TEST(SnrMeter, EmptyPlacesAndSilenceAreTheLowest) {
    const TemporaryFolder folder;
    const SnrMeter noise(readWav(writePeriod(folder, SlotMode::Ft8, {})));
    EXPECT_LT(noise.measure(1200, 0.5, formatOf(SlotMode::Ft8)), -19);
    EXPECT_EQ(SnrMeter({12000, {}}).measure(1200, 0.5, formatOf(SlotMode::Ft8)), SnrMeter::kLowest);
    EXPECT_EQ(SnrMeter({12000, std::vector<float>(180000)}).measure(1200, 0.5, formatOf(SlotMode::Ft8)),
              SnrMeter::kLowest);
    EXPECT_EQ(noise.measure(-500, 0.5, formatOf(SlotMode::Ft8)), SnrMeter::kLowest);
    EXPECT_EQ(noise.measure(1200, 14.9, formatOf(SlotMode::Ft8)), SnrMeter::kLowest) << "no window fits";
    EXPECT_NO_FATAL_FAILURE(noise.measure(9000, 0.5, formatOf(SlotMode::Ft8)));
}

TEST(SlotReaderFiles, UnreadableOnesFail) {
    const TemporaryFolder folder;
    Ft8Reader reader(SlotMode::Ft8);
    EXPECT_THROW(reader.read("/no/such/file.wav"), Failure);
    EXPECT_THROW(reader.read(folder.path()), Failure);
    std::ofstream(folder.file("text.wav")) << "this is no sound";
    EXPECT_THROW(reader.read(folder.file("text.wav")), Failure);
    WavWriter(folder.file("long.wav"), 12000).write(std::vector<float>(300000, 0.1F));
    EXPECT_THROW(reader.read(folder.file("long.wav")), Failure);
}

TEST(SlotReaderFiles, SilenceDecodesToNothing) {
    const TemporaryFolder folder;
    WavWriter(folder.file("silence.wav"), 12000).write(std::vector<float>(180000));
    Ft8Reader reader(SlotMode::Ft8);
    EXPECT_TRUE(reader.read(folder.file("silence.wav")).empty());
}

TEST(SlotTimes, ComeFromTheFileName) {
    EXPECT_EQ(slotTimeOf("/tmp/x/260301_120015.wav").clock, "120015");
    EXPECT_EQ(slotTimeOf("/tmp/x/260301_120015.wav").iso, "2026-03-01T12:00:15Z");
    EXPECT_EQ(slotTimeOf("260301_1200.wav").clock, "120000");
    EXPECT_EQ(slotTimeOf("260301_120015_20m.wav").clock, "120015");
    EXPECT_EQ(slotTimeOf("260301-120015.wav").clock, "------");
    EXPECT_EQ(slotTimeOf("260301_.wav").clock, "------");
    EXPECT_EQ(slotTimeOf("260301.wav").clock, "------");
    EXPECT_EQ(slotTimeOf("recording.wav").clock, "------");
    EXPECT_EQ(slotTimeOf("recording.wav").iso, "");
    EXPECT_EQ(slotTimeOf("").clock, "------");
}

TEST(SlotTimes, TheNextPeriodIsNeverFurtherThanOne) {
    for (const SlotMode mode : {SlotMode::Ft8, SlotMode::Ft4}) {
        const int left = millisecondsToNextSlot(mode);
        EXPECT_GT(left, 0);
        EXPECT_LE(left, formatOf(mode).periodMs);
    }
}

TEST(NewFileText, IsPathAndMarker) {
    EXPECT_EQ(splitNewFile("/tmp/260301_120015.wav8").path, "/tmp/260301_120015.wav");
    EXPECT_EQ(splitNewFile("/tmp/260301_120015.wav8").marker, 8);
    EXPECT_EQ(splitNewFile("/tmp/a.wav123").marker, 123);
    EXPECT_EQ(splitNewFile("/tmp/a.wav").path, "/tmp/a.wav");
    EXPECT_EQ(splitNewFile("").path, "");
}

TEST(SlotLines, HaveRawAndCorrectedFigures) {
    const Ft8Line line{1234.375, 0.123456, -11.6, 0.543, 4.5, "CQ K1ABC FN42"};
    const SlotTime time = slotTimeOf("260301_120015.wav");
    EXPECT_EQ(showLine(time, line), "120015  -12  +0.1  1234  CQ K1ABC FN42");
    const auto json = lineJson(time, line, SlotMode::Ft8);
    EXPECT_EQ(json.at("utc"), "2026-03-01T12:00:15Z");
    EXPECT_EQ(json.at("mode"), "FT8");
    EXPECT_EQ(json.at("snr"), -11.6);
    EXPECT_EQ(json.at("dt"), 0.123);
    EXPECT_EQ(json.at("raw").at("snr"), 4.5);
    EXPECT_EQ(json.at("raw").at("time"), 0.543);
    EXPECT_EQ(json.at("message"), "CQ K1ABC FN42");
}

TEST(SlotDecoding, WorksBesideTheCallerAndRemovesWhatIsDone) {
    const TemporaryFolder folder;
    const std::string path = writePeriod(folder, SlotMode::Ft8, {{1000, 0.5, 0}});
    SlotDecoder decoder(SlotMode::Ft8, true);
    decoder.add(path, 14074000);
    decoder.add("/no/such/file.wav", 7074000);
    std::vector<DecodedSlot> slots;
    for (int i = 0; i < 1000 && slots.size() < 2; ++i) {
        if (auto slot = decoder.take())
            slots.push_back(*slot);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_EQ(slots.size(), 2U);
    EXPECT_EQ(slots[0].dial, 14074000);
    EXPECT_EQ(slots[0].time.clock, "120015");
    EXPECT_EQ(slots[0].lines.size(), 1U);
    EXPECT_TRUE(slots[0].error.empty());
    EXPECT_FALSE(slots[1].error.empty());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(RecordingFolders, TemporaryOnesGo) {
    std::string made;
    {
        const RecordingFolder folder("");
        EXPECT_TRUE(folder.temporary());
        made = folder.subfolder("20m");
        EXPECT_TRUE(made.ends_with("/"));
        EXPECT_TRUE(std::filesystem::is_directory(made));
    }
    EXPECT_FALSE(std::filesystem::exists(made));
    const TemporaryFolder kept;
    { EXPECT_FALSE(RecordingFolder(kept.file("mine")).temporary()); }
    EXPECT_TRUE(std::filesystem::exists(kept.file("mine")));
    EXPECT_THROW(RecordingFolder("/proc/no/such"), Failure);
}
