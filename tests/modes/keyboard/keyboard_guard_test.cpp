// The decoders and modulators of the keyboard modes ask for no memory, take no lock and make no system call.

#include "core/fft/fft.hpp"
#include "modes/chirp/chirp_receiver.hpp"
#include "modes/chirp/chirp_transmitter.hpp"
#include "modes/cw_decoder.hpp"
#include "modes/hell_painter.hpp"
#include "modes/rtty_decoder.hpp"
#include "modes/rtty_transmitter.hpp"
#include "tests/guard/sample_path_guard.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

namespace ferrow {
namespace {

using Block = std::vector<std::complex<float>>;

// `work` on 2000 blocks of a test pattern, guarded.
void expectNothing(const std::function<void(Block&)>& work) {
    Block block(512);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = std::polar(1.0f, static_cast<float>(i * i % 628) / 100);
    test::guardBegin();
    for (int n = 0; n < 2000; ++n)
        work(block);
    const auto counts = test::guardEnd();
    EXPECT_EQ(counts.heapCalls, 0);
    EXPECT_EQ(counts.locks, 0);
    EXPECT_EQ(counts.systemCalls, 0);
}

TEST(KeyboardGuard, CwDecoder) {
    CwDecoder decoder;
    int characters = 0, n = 0;
    expectNothing([&](Block&) {
        for (int i = 0; i < 16; ++i, ++n)
            decoder.push(n / 60 % 3 == 0 ? 1 : 0.01, [&](char) { ++characters; });
    });
    EXPECT_GT(characters, 0);
}

TEST(KeyboardGuard, RttyDecoder) {
    RttyDecoder decoder;
    std::size_t characters = 0;
    const auto work = [&](Block& block) {
        characters += decoder.process(block, 2125).size();
        decoder.takeDebug();
    };
    Block quiet(512);
    for (int n = 0; n < 1100; ++n) // debug buffers come from the pool once it has them
        work(quiet);
    expectNothing(work);
    EXPECT_GT(characters, 0u);
}

TEST(KeyboardGuard, Transmitters) {
    RttyTransmitter rtty;
    HellPainter hell;
    ChirpTransmitter chirp("Q9ZZZ");
    expectNothing([&](Block& block) {
        rtty.process(block, [] { return 'A'; });
        hell.process(block, 30, [] { return 'A'; });
        chirp.process(block, 1500);
    });
}

TEST(KeyboardGuard, ChirpReceiver) {
    ChirpReceiver receiver;
    fft::prepare(256);
    Block first(512);
    receiver.process(first, 1500);
    expectNothing([&](Block& block) { receiver.process(block, 1500); });
}

} // namespace
} // namespace ferrow
