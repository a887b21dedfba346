#include "radios/hpsdr/receive_frame.hpp"

#include "radios/hpsdr/frequency_word.hpp"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace ferrow {
namespace {

using Complex = std::complex<float>;

TEST(ReceiveFrame, RecordsByReceiverCount) {
    const int expected[][2] = {{1, 63}, {2, 36}, {3, 25}, {4, 19}, {5, 15}, {6, 13}, {7, 11},
                               {8, 10}, {9, 9},  {10, 8}, {11, 7}, {12, 6}, {84, 0}};
    for (const auto& [receivers, records] : expected) {
        const FrameLayout layout = layoutFor(receivers);
        EXPECT_EQ(layout.records, records) << receivers;
        EXPECT_EQ(layout.recordBytes, 6 * receivers + 2);
        EXPECT_LE(layout.records * layout.recordBytes, 504);
    }
}

TEST(ReceiveFrame, TheThirdSyncByteMaySayFewerReceivers) {
    for (int n = 1; n <= 130; ++n)
        for (int b = 0; b < 256; ++b) {
            const int expected = b != 0x7F && b < n ? b + 1 : n;
            ASSERT_EQ(frameLayout(static_cast<std::uint8_t>(b), n).receivers, expected) << n << " " << b;
        }
}

TEST(ReceiveFrame, ScaleUndoesGainAndAdcWidth) {
    EXPECT_FLOAT_EQ(sampleScale(1.0, 1.0, 32768), std::ldexp(1.0f, -31));
    EXPECT_FLOAT_EQ(sampleScale(1.0, 1.0, 2048), std::ldexp(1.0f, -27)) << "32768 / 2048 is 16";
    EXPECT_FLOAT_EQ(sampleScale(0.1, 2.5, 32768), std::ldexp(0.25f, -31));
    EXPECT_FLOAT_EQ(sampleScale(1.0, 1.0, 30000), std::ldexp(1.0f, -31)) << "the division is one of integers";
    EXPECT_EQ(sampleScale(1.0, 1.0, 40000), 0.0f);
    EXPECT_TRUE(std::isfinite(sampleScale(1.0, 1.0, 0)));
    EXPECT_TRUE(std::isfinite(sampleScale(1.0, 1.0, -7)));
}

// A frame built sample by sample, from values of 24 bits.
struct Frame {
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(512, 0xEE);

    void put(std::size_t at, int value) {
        bytes[at] = static_cast<std::uint8_t>((value & 0xFFFFFF) >> 16);
        bytes[at + 1] = static_cast<std::uint8_t>((value & 0xFFFF) >> 8);
        bytes[at + 2] = static_cast<std::uint8_t>(value & 0xFF);
    }
    void fill(int receivers, int records, const std::function<std::pair<int, int>(int, int)>& value) {
        for (int k = 0; k < records; ++k)
            for (int r = 0; r < receivers; ++r) {
                const auto at = static_cast<std::size_t>(8 + k * (6 * receivers + 2) + 6 * r);
                const auto [i, q] = value(r, k);
                put(at, i);
                put(at + 3, q);
            }
    }
};

int ramp(int receiver, int record) {
    return (receiver * 70001 + record * 131071) % 16777216 - 8388608;
}

TEST(ReceiveFrame, EverySampleOfEveryReceiverInRunsOfAnyLength) {
    std::mt19937 random(7);
    for (int receivers = 1; receivers <= 12; ++receivers) {
        const FrameLayout layout = layoutFor(receivers);
        Frame frame;
        frame.fill(receivers, layout.records, [](int r, int k) {
            return std::pair{ramp(r, k), ramp(r + 20, k)};
        });
        for (const bool swapped : {false, true})
            for (int r = 0; r < receivers; ++r) {
                IqReader reader(frame.bytes.data(), layout, r, std::ldexp(1.0f, -31), swapped);
                std::vector<Complex> out(static_cast<std::size_t>(layout.records));
                for (std::size_t done = 0; done < out.size();) {
                    const std::size_t run = std::min<std::size_t>(random() % 9, out.size() - done);
                    reader(out.data() + done, run);
                    done += run;
                }
                for (int k = 0; k < layout.records; ++k) {
                    const double i = ramp(r, k) / 8388608.0;
                    const double q = ramp(r + 20, k) / 8388608.0;
                    const Complex got = out[static_cast<std::size_t>(k)];
                    ASSERT_EQ(got.real(), static_cast<float>(swapped ? q : i))
                        << receivers << " " << r << " " << k;
                    ASSERT_EQ(got.imag(), static_cast<float>(swapped ? i : q));
                }
            }
    }
}

TEST(ReceiveFrame, FullScaleValues) {
    Frame frame;
    const int values[] = {8388607, -8388608, -1, 0, 1, 0x123456, -0x123456, 8388606};
    frame.fill(1, 63, [&](int, int k) { return std::pair{values[k % 8], values[(k + 3) % 8]}; });
    std::vector<Complex> out(63);
    IqReader(frame.bytes.data(), layoutFor(1), 0, std::ldexp(1.0f, -31), false)(out.data(), 63);
    for (std::size_t k = 0; k < 63; ++k) {
        EXPECT_EQ(out[k].real(), static_cast<float>(values[k % 8] / 8388608.0));
        EXPECT_EQ(out[k].imag(), static_cast<float>(values[(k + 3) % 8] / 8388608.0));
    }
}

TEST(ReceiveFrame, At73728000HzAReceiverAt40MHzIsMirrored) {
    EXPECT_EQ(frequencyWord(40000000, 1.0, 73728000), 36864000u - 3136000u);
    const bool swapped = inOddZone(40000000, 73728000);
    EXPECT_TRUE(swapped);
    Frame frame;
    frame.fill(1, 63, [](int, int) { return std::pair{4194304, -2097152}; });
    Complex out;
    IqReader(frame.bytes.data(), layoutFor(1), 0, std::ldexp(1.0f, -31), swapped)(&out, 1);
    EXPECT_EQ(out, Complex(-0.25f, 0.5f));
}

TEST(ReceiveFrame, TheFastDecoderOfPackedPairsEqualsTheReference) {
    std::mt19937 random(12);
    for (std::size_t count = 0; count <= 40; ++count)
        for (const bool swapped : {false, true}) {
            std::vector<std::uint8_t> bytes(6 * count); // exact, for the address sanitizer
            for (auto& byte : bytes)
                byte = static_cast<std::uint8_t>(random());
            std::vector<Complex> fast(count + 1, {9.0f, 9.0f}), slow(count + 1, {9.0f, 9.0f});
            decodeIq(bytes.data(), 6, count, 3.1e-9f, swapped, fast.data());
            decodeIq_ref(bytes.data(), 6, count, 3.1e-9f, swapped, slow.data());
            ASSERT_EQ(fast, slow) << count;
            ASSERT_EQ(fast[count], Complex(9.0f, 9.0f)) << "nothing is written past the end";
        }
}

TEST(ReceiveFrame, TheFastDecoderEqualsTheReference) {
    std::mt19937 random(11);
    // An exact allocation lets the address sanitizer see a read behind the last record.
    for (int receivers = 1; receivers <= 12; ++receivers) {
        const std::size_t stride = 6 * static_cast<std::size_t>(receivers) + 2;
        for (std::size_t count : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 19u, 63u}) {
            for (std::size_t shift = 0; shift < 4; ++shift) {
                std::vector<std::uint8_t> bytes(shift + stride * count);
                for (auto& byte : bytes)
                    byte = static_cast<std::uint8_t>(random());
                for (int r = 0; r < receivers; ++r)
                    for (const bool swapped : {false, true}) {
                        std::vector<Complex> fast(count + 1, {9.0f, 9.0f}), slow(count + 1, {9.0f, 9.0f});
                        const std::uint8_t* at = bytes.data() + shift + (count > 0 ? 6 * r : 0);
                        decodeIq(at, stride, count, 3.1e-9f, swapped, fast.data());
                        decodeIq_ref(at, stride, count, 3.1e-9f, swapped, slow.data());
                        ASSERT_EQ(fast, slow) << receivers << " " << count << " " << shift;
                        ASSERT_EQ(fast[count], Complex(9.0f, 9.0f)) << "nothing is written past the end";
                    }
            }
        }
    }
}

} // namespace
} // namespace ferrow
