// The decoder through its exported function, on signals of the tests' own making.
#include "core/buff/buff.hpp"
#include "modes/ft8/ft8decode.hpp"
#include "modes/ft8/wav_file.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <ferrowcore/ft8.h>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <set>
#include <thread>

namespace {

using namespace ferrow::test;

struct Decodes {
    std::int32_t count = 0;
    std::array<ferrow_ft8_result, FERROW_FT8_MAX_RESULTS> results{};

    std::set<std::string> payloads() const {
        std::set<std::string> found;
        for (std::int32_t i = 0; i < count; ++i)
            found.insert(hex(results[static_cast<std::size_t>(i)].payload, 10));
        return found;
    }
    const ferrow_ft8_result* find(const std::string& payload) const {
        for (std::int32_t i = 0; i < count; ++i)
            if (hex(results[static_cast<std::size_t>(i)].payload, 10) == payload)
                return &results[static_cast<std::size_t>(i)];
        return nullptr;
    }
};

Decodes decodeFile(const std::string& path, Mode mode) {
    Decodes decodes;
    decodes.count = ::ft8decode(path.c_str(), decodes.results.data(), 0, static_cast<int>(mode));
    return decodes;
}

Decodes decode(const std::vector<double>& audio, Mode mode, const std::string& name = "period.wav") {
    return decodeFile(writeFile(name, wavBytes(audio)), mode);
}

std::vector<double> noisyPeriod(Mode mode, double sigma, unsigned seed) {
    std::vector<double> audio(static_cast<std::size_t>(periodSamples(mode)));
    std::mt19937_64 random(seed);
    addNoise(audio, sigma, random);
    return audio;
}

// What the decoder's own first steps make of a file: for tests that need the candidates.
struct Search {
    ferrow::buff<short> samples;
    ferrow::buff<unsigned char> magnitudes;
    ferrow::Waterfall grid{};
    ferrow::CandidateHeap candidates;

    Search(const std::string& path, Mode mode) : samples(static_cast<std::size_t>(periodSamples(mode))) {
        const ferrow::Ft8Variant& variant = ferrow::ft8Variant(static_cast<int>(mode));
        std::int32_t count = variant.capacity;
        std::int32_t rate = 0;
        EXPECT_EQ(ferrow::loadWav(samples, count, rate, path.c_str()), 0);
        grid = ferrow::waterfallGrid(rate, count, variant);
        magnitudes = ferrow::buff<unsigned char>(grid.magnitudeCount());
        grid.mag = magnitudes.data();
        ferrow::buildWaterfall(samples.data(), grid);
        ferrow::findSyncCandidates(grid, variant, candidates);
    }
};

// All vectors of a file side by side in one period; each comes back with its payload, near its place.
void expectAllVectors(Mode mode, double snrDb, unsigned seed) {
    const std::vector<Vector> vectors = readVectors(mode);
    const double sigma = 300.0;
    std::vector<double> audio = noisyPeriod(mode, sigma, seed);
    std::mt19937_64 random(seed + 1);
    std::uniform_real_distribution<double> spread(-1.0, 1.0);
    std::map<std::string, std::pair<double, double>> places;
    double frequency = 250.0;
    for (const Vector& vector : vectors) {
        const double start = 0.5 + 0.25 * spread(random);
        const double own = frequency + 10.0 * spread(random);
        addSignal(audio, mode, vector.tones, own, start, amplitudeFor(snrDb, sigma));
        places[vector.payload] = {own, start};
        frequency += 140.0;
    }
    const Decodes decodes = decode(audio, mode);
    ASSERT_EQ(decodes.count, static_cast<std::int32_t>(vectors.size()));
    const double tone = 1.0 / symbolSeconds(mode);
    const double early = 0.5 * symbolSeconds(mode) + (mode == Mode::Ft4 ? 0.4 : 0.0);
    for (const Vector& vector : vectors) {
        const ferrow_ft8_result* result = decodes.find(vector.payload);
        ASSERT_NE(result, nullptr) << vector.message;
        const auto [expectedFrequency, start] = places[vector.payload];
        EXPECT_NEAR(result->frequency, expectedFrequency, 0.55 * tone) << vector.message;
        EXPECT_NEAR(result->time, start - early, 0.55 * symbolSeconds(mode)) << vector.message;
    }
}

TEST(Ft8Decode, AllFt8VectorsComeBackBitForBit) {
    ASSERT_EQ(readVectors(Mode::Ft8).size(), 20u);
    expectAllVectors(Mode::Ft8, 10.0, 1);
    expectAllVectors(Mode::Ft8, -5.0, 2);
}

TEST(Ft8Decode, AllFt4VectorsComeBackBitForBit) {
    ASSERT_EQ(readVectors(Mode::Ft4).size(), 19u);
    expectAllVectors(Mode::Ft4, 10.0, 3);
    expectAllVectors(Mode::Ft4, 0.0, 4);
}

TEST(Ft8Decode, TestEncoderMakesThePublishedCodewords) {
    for (const Vector& vector : readVectors(Mode::Ft8)) {
        const std::vector<int> word = encode(messageBits(vector.payload));
        std::string digits;
        for (const int bit : word)
            digits += static_cast<char>('0' + bit);
        EXPECT_EQ(digits, vector.codeword) << vector.message;
        EXPECT_EQ(ft8Tones(word), vector.tones) << vector.message;
    }
}

TEST(Ft8Decode, AcceptsExactly180000SamplesAndRejectsOneMore) {
    const Vector vector = readVectors(Mode::Ft8)[0];
    std::vector<double> audio = noisyPeriod(Mode::Ft8, 100.0, 5);
    addSignal(audio, Mode::Ft8, vector.tones, 1000.0, 0.5, 1000.0);
    ASSERT_EQ(audio.size(), 180000u);
    EXPECT_EQ(decode(audio, Mode::Ft8).payloads(), std::set{vector.payload});

    audio.push_back(0.0);
    Decodes marked;
    std::memset(marked.results.data(), 0xA5, sizeof marked.results);
    const auto before = marked.results;
    const std::string path = writeFile("long.wav", wavBytes(audio));
    EXPECT_EQ(::ft8decode(path.c_str(), marked.results.data(), 0, 8), -1);
    EXPECT_EQ(std::memcmp(before.data(), marked.results.data(), sizeof before), 0) << "nothing is written";
}

TEST(Ft8Decode, Ft4RejectsMoreThan90000Samples) {
    std::vector<double> audio(90001);
    EXPECT_EQ(decode(audio, Mode::Ft4).count, -1);
    audio.pop_back();
    EXPECT_EQ(decode(audio, Mode::Ft4).count, 0);
}

// 12.64 s of frame end at 13.14 s; 160000 samples last 13.33 s and give 82 blocks.
TEST(Ft8Decode, AShorterFt8FileIsAnalysedWithFewerBlocks) {
    const Vector vector = readVectors(Mode::Ft8)[3];
    std::vector<double> audio = noisyPeriod(Mode::Ft8, 100.0, 6);
    addSignal(audio, Mode::Ft8, vector.tones, 1500.0, 0.5, 1000.0);
    audio.resize(160000);
    const Search search(writeFile("short.wav", wavBytes(audio)), Mode::Ft8);
    EXPECT_EQ(search.grid.numBlocks, (160000 - 3840 + 960) / 1920);
    EXPECT_EQ(search.grid.numBlocks, 81);
    EXPECT_EQ(decode(audio, Mode::Ft8).payloads(), std::set{vector.payload});

    // 6.6 s hold no whole frame: fewer than 66 blocks leave no time offset to search.
    audio.resize(79000);
    EXPECT_EQ(decode(audio, Mode::Ft8).count, 0);
    for (const std::size_t samples : {0u, 1u, 3839u, 3840u, 4800u, 126720u, 126721u}) {
        audio.resize(samples);
        EXPECT_GE(decode(audio, Mode::Ft8).count, 0) << samples;
    }
}

// The file stops right behind the frame. A grid of its own length would end too early to have the frame's
// start among the offsets searched; the full period's has it.
TEST(Ft8Decode, AShorterFt4FileIsAnalysedAs90000SamplesWithASilentTail) {
    const Vector vector = readVectors(Mode::Ft4)[0];
    std::vector<double> audio(90000);
    std::mt19937_64 random(7);
    addNoise(audio, 100.0, random);
    addSignal(audio, Mode::Ft4, vector.tones, 1200.0, 0.6, 1000.0);
    audio.resize(66600); // the frame ends at sample 66528, starts in block 12
    ASSERT_LT((66600 - 1152 + 288) / 576 - 103, 12);
    const Decodes shorter = decode(audio, Mode::Ft4, "short.wav");
    EXPECT_EQ(shorter.payloads(), std::set{vector.payload});

    audio.resize(90000, 0.0);
    const Decodes full = decode(audio, Mode::Ft4, "full.wav");
    ASSERT_EQ(full.count, shorter.count);
    EXPECT_EQ(full.results[0].snr, shorter.results[0].snr);
    EXPECT_EQ(full.results[0].time, shorter.results[0].time);
    EXPECT_EQ(full.results[0].frequency, shorter.results[0].frequency);
}

TEST(Ft8Decode, RejectsStereoAndEightBit) {
    const std::vector<unsigned char> good = wavBytes(std::vector<double>(1000));
    EXPECT_EQ(decodeFile(writeFile("good.wav", good), Mode::Ft8).count, 0);
    std::vector<unsigned char> stereo = good;
    stereo[22] = 2;
    stereo[32] = 4;
    EXPECT_EQ(decodeFile(writeFile("stereo.wav", stereo), Mode::Ft8).count, -1);
    std::vector<unsigned char> eightBit = good;
    eightBit[34] = 8;
    eightBit[32] = 1;
    EXPECT_EQ(decodeFile(writeFile("eight.wav", eightBit), Mode::Ft8).count, -1);
}

TEST(Ft8Decode, IdenticalPayloadsYieldOneRecordThatOfTheFirstInHeapOrder) {
    const Vector vector = readVectors(Mode::Ft8)[0];
    for (unsigned seed = 10; seed < 16; ++seed) {
        std::vector<double> audio = noisyPeriod(Mode::Ft8, 100.0, seed);
        addSignal(audio, Mode::Ft8, vector.tones, 700.0, 0.50, 800.0);
        addSignal(audio, Mode::Ft8, vector.tones, 1900.0, 0.74, 800.0);
        const std::string path = writeFile("twice.wav", wavBytes(audio));
        Search search(path, Mode::Ft8);
        const ferrow::Ft8Variant& variant = ferrow::ft8Variant(8);
        const ferrow::SyncCandidate* first = nullptr;
        std::set<int> places; // which of the two signals decoding candidates belong to
        for (ferrow::SyncCandidate& candidate : search.candidates.entries()) {
            if (!ferrow::decodeCandidate(search.grid, variant, candidate))
                continue;
            if (!first)
                first = &candidate;
            places.insert(candidate.freqOffset / 100);
        }
        ASSERT_NE(first, nullptr);
        EXPECT_GE(places.size(), 2u) << "both copies decode";
        const Decodes decodes = decodeFile(path, Mode::Ft8);
        ASSERT_EQ(decodes.count, 1);
        EXPECT_EQ(decodes.results[0].frequency, 6.25f * (static_cast<float>(first->freqOffset) +
                                                         0.5f * static_cast<float>(first->freqSub)));
        EXPECT_EQ(decodes.results[0].time,
                  (static_cast<float>(first->timeOffset) + 0.5f * static_cast<float>(first->timeSub)) /
                      6.25f);
    }
}

// Sixty frames, each exactly on the grid, so that the best candidate of each is among the 240.
TEST(Ft8Decode, A51stDecodeIsDiscardedAndTheReturnValueStays50) {
    std::mt19937_64 random(20);
    std::vector<double> audio = noisyPeriod(Mode::Ft8, 10.0, 21);
    std::set<std::string> sent;
    for (int i = 0; i < 60; ++i) {
        std::vector<int> message(77);
        for (int& bit : message)
            bit = static_cast<int>(random() & 1);
        std::uint8_t bytes[10] = {};
        for (std::size_t b = 0; b < 77; ++b)
            bytes[b / 8] = static_cast<std::uint8_t>(bytes[b / 8] | message[b] << (7 - b % 8));
        sent.insert(hex(bytes, 10));
        addSignal(audio, Mode::Ft8, ft8Tones(encode(message)), 6.25 * (40 + 14 * i), 0.56, 400.0);
    }
    std::vector<ferrow_ft8_result> results(51);
    std::memset(results.data(), 0x5A, results.size() * sizeof results[0]);
    const std::string path = writeFile("crowd.wav", wavBytes(audio));
    EXPECT_EQ(::ft8decode(path.c_str(), results.data(), 0, 8), 50);
    std::set<std::string> found;
    for (std::size_t i = 0; i < 50; ++i)
        found.insert(hex(results[i].payload, 10));
    EXPECT_EQ(found.size(), 50u);
    EXPECT_TRUE(std::includes(sent.begin(), sent.end(), found.begin(), found.end()));
    const std::vector<unsigned char> untouched(sizeof results[50], 0x5A);
    EXPECT_EQ(std::memcmp(&results[50], untouched.data(), untouched.size()), 0);

    // More than 50 were there to be found.
    Search search(path, Mode::Ft8);
    std::set<ferrow::Ft8Payload> distinct;
    for (ferrow::SyncCandidate& candidate : search.candidates.entries())
        if (const auto payload = ferrow::decodeCandidate(search.grid, ferrow::ft8Variant(8), candidate))
            distinct.insert(*payload);
    EXPECT_GT(distinct.size(), 50u);
}

TEST(Ft8Decode, ACandidateOfAllZeroBitsIsRejectedThoughParityAndCrcHold) {
    std::vector<double> audio = noisyPeriod(Mode::Ft8, 100.0, 22);
    addSignal(audio, Mode::Ft8, ft8Tones(std::vector<int>(174, 0)), 1000.0, 0.56, 1500.0);
    const std::string path = writeFile("zeros.wav", wavBytes(audio));
    Search search(path, Mode::Ft8);
    int zeroWords = 0;
    for (ferrow::SyncCandidate& candidate : search.candidates.entries()) {
        ferrow::BitMetrics metrics;
        ferrow::CodewordBits bits;
        ferrow::extractBitMetrics(search.grid, ferrow::ft8Variant(8), candidate, metrics);
        if (ferrow::beliefPropagate(metrics, bits) == 0 && std::accumulate(bits.begin(), bits.end(), 0) == 0)
            ++zeroWords;
    }
    EXPECT_GT(zeroWords, 0) << "the frame was there, and was a codeword";
    EXPECT_EQ(decodeFile(path, Mode::Ft8).count, 0);
}

TEST(Ft8Decode, BytesBehindThePayloadStayAsTheCallerLeftThem) {
    const Vector vector = readVectors(Mode::Ft8)[0];
    std::vector<double> audio = noisyPeriod(Mode::Ft8, 100.0, 23);
    addSignal(audio, Mode::Ft8, vector.tones, 1000.0, 0.5, 1000.0);
    Decodes decodes;
    std::memset(decodes.results.data(), 0x77, sizeof decodes.results);
    const std::string path = writeFile("one.wav", wavBytes(audio));
    ASSERT_EQ(::ft8decode(path.c_str(), decodes.results.data(), 0x1234567890, 8), 1);
    for (const std::uint8_t byte : decodes.results[0].unused)
        EXPECT_EQ(byte, 0x77);
    EXPECT_EQ(decodes.results[0].payload[9] & 7, 0);
}

TEST(Ft8Decode, AnyVariantButEightIsFt4) {
    const Vector vector = readVectors(Mode::Ft4)[1];
    std::vector<double> audio = noisyPeriod(Mode::Ft4, 100.0, 24);
    addSignal(audio, Mode::Ft4, vector.tones, 1000.0, 0.5, 1000.0);
    const std::string path = writeFile("ft4.wav", wavBytes(audio));
    Decodes decodes;
    for (const int variant : {4, 0, -1, 7, 9, 2147483647}) {
        ASSERT_EQ(::ft8decode(path.c_str(), decodes.results.data(), 0, variant), 1) << variant;
        EXPECT_EQ(hex(decodes.results[0].payload, 10), vector.payload);
    }
    EXPECT_EQ(::ft8decode(path.c_str(), decodes.results.data(), 0, 8), 0);
}

// The reported figure is the mean level of the lowest tone over the noise percentile, both read off the grid
// here.
TEST(Ft8Decode, SnrIsTheMeanLevelOfTheLowestToneOverTheNoisePercentile) {
    for (const Mode mode : {Mode::Ft8, Mode::Ft4}) {
        const Vector vector = readVectors(mode)[0];
        std::vector<double> audio = noisyPeriod(mode, 100.0, 25);
        addSignal(audio, mode, vector.tones, 1000.0, 0.6, 300.0);
        const std::string path = writeFile("snr.wav", wavBytes(audio));
        const Decodes decodes = decodeFile(path, mode);
        ASSERT_EQ(decodes.count, 1);
        const Search search(path, mode);
        const double toneHz = 1.0 / symbolSeconds(mode);
        const int half = static_cast<int>(std::lround(decodes.results[0].frequency / toneHz * 2.0));
        const double seconds = decodes.results[0].time + (mode == Mode::Ft4 ? 0.4 : 0.0);
        const int step = static_cast<int>(std::lround(seconds * toneHz * 2.0));
        const int bins = mode == Mode::Ft8 ? 960 : 288;
        std::vector<int> positions;
        const std::size_t group = mode == Mode::Ft8 ? 7 : 4;
        for (std::size_t s = group; s + group < vector.tones.size(); ++s)
            if (mode == Mode::Ft8 ? (s < 36 || s > 42) : (s % 33 >= 4))
                positions.push_back(static_cast<int>(s));
        ASSERT_EQ(positions.size(), mode == Mode::Ft8 ? 58u : 87u);
        int sum = 0;
        for (const int s : positions) {
            const int row = step + 2 * s; // half symbols
            sum += search.grid.mag[(row * 2 + half % 2) * bins + half / 2];
        }
        const int level = sum / static_cast<int>(positions.size());
        std::vector<std::uint8_t> sorted(search.grid.mag, search.grid.mag + search.grid.magnitudeCount());
        std::sort(sorted.begin(), sorted.end());
        const auto rank = static_cast<std::size_t>(std::ceil(0.3 * static_cast<double>(sorted.size())));
        const int noise = sorted[rank - 1];
        EXPECT_FLOAT_EQ(decodes.results[0].snr,
                        static_cast<float>(level - noise) * 0.5f - (mode == Mode::Ft8 ? 17.0f : 56.0f));
    }
}

TEST(Ft8Decode, NoiseAndSilenceYieldNothing) {
    EXPECT_EQ(decode(std::vector<double>(180000), Mode::Ft8).count, 0);
    EXPECT_EQ(decode(noisyPeriod(Mode::Ft8, 1000.0, 26), Mode::Ft8).count, 0);
    EXPECT_EQ(decode(std::vector<double>(90000), Mode::Ft4).count, 0);
    EXPECT_EQ(decode(noisyPeriod(Mode::Ft4, 1000.0, 27), Mode::Ft4).count, 0);
    std::vector<double> clipped = noisyPeriod(Mode::Ft8, 1e6, 28);
    EXPECT_EQ(decode(clipped, Mode::Ft8).count, 0);
}

TEST(Ft8Decode, SeveralThreadsAtOnceGetTheSameResults) {
    const std::vector<Vector> vectors = readVectors(Mode::Ft8);
    std::vector<double> audio = noisyPeriod(Mode::Ft8, 100.0, 29);
    for (std::size_t i = 0; i < 5; ++i)
        addSignal(audio, Mode::Ft8, vectors[i].tones, 500.0 + 200.0 * static_cast<double>(i), 0.5, 300.0);
    const std::string path = writeFile("shared.wav", wavBytes(audio));
    const Decodes alone = decodeFile(path, Mode::Ft8);
    ASSERT_EQ(alone.count, 5);
    std::array<Decodes, 4> decodes;
    std::vector<std::thread> threads;
    for (Decodes& own : decodes)
        threads.emplace_back([&own, &path] { own = decodeFile(path, Mode::Ft8); });
    for (std::thread& thread : threads)
        thread.join();
    for (const Decodes& own : decodes) {
        ASSERT_EQ(own.count, alone.count);
        EXPECT_EQ(std::memcmp(own.results.data(), alone.results.data(), 5 * sizeof own.results[0]), 0);
    }
}

} // namespace
