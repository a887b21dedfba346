// Reception asks for no memory, takes no lock and makes no system call; nor does the modulator.
#include "core/fft/fft.hpp"
#include "modes/psk/peak_search.hpp"
#include "modes/psk/psk_mod.hpp"
#include "tests/guard/sample_path_guard.hpp"
#include "tests/modes/psk/psk_trials.hpp"

#include <gtest/gtest.h>

#include <memory>

namespace ferrow {
namespace {

void expectNothing(const test::GuardCounts& counts) {
    EXPECT_EQ(counts.heapCalls, 0);
    EXPECT_EQ(counts.locks, 0);
    EXPECT_EQ(counts.systemCalls, 0);
}

TEST(PskGuard, SixtySixDetectorsAndTheSearchAskForNothing) {
    std::vector<std::unique_ptr<CPSKDet>> bank;
    for (int n = 0; n < 66; ++n) {
        const int words[] = {0, 8, 16, 1, 9, 17};
        bank.push_back(std::make_unique<CPSKDet>(words[n % 6]));
    }
    PskPeakSearch search;
    const auto signal = test::pskSignal("guarded text", test::kPsk31, 1500);
    std::vector<float> block(512);
    int characters = 0;
    const auto work = [&] {
        for (std::size_t n = 0; n + 512 <= signal.size(); n += 512) {
            for (std::size_t i = 0; i < 512; ++i)
                block[i] = static_cast<float>(3000 * signal[n + i]);
            search.add(std::span<const float, 512>(block.data(), 512));
            for (auto& detector : bank) {
                char text[CPSKDet::kMostCharacters];
                characters += detector->processBlock(block.data(), 512, text);
            }
            if (n % (3 * 512) == 0 && !search.search().empty())
                bank[0]->setRxFrequency(1490 + static_cast<int>(n % 20));
            bank[1]->resetDetector();
        }
    };
    fft::prepare(512);
    search.add(std::span<const float, 512>(block.data(), 512));
    test::guardBegin();
    work();
    expectNothing(test::guardEnd());
    EXPECT_GT(characters, 0);
}

TEST(PskGuard, TheModulatorAsksForNothing) {
    CPSKMod modulator;
    modulator.setIdentification("K1ABC");
    std::vector<double> out(1024);
    test::guardBegin();
    modulator.queue("text");
    modulator.start();
    for (int n = 0; n < 100; ++n)
        modulator.generate(out.data(), 512);
    modulator.setMode(9);
    modulator.requestStop();
    for (int n = 0; n < 1000; ++n)
        modulator.generate(out.data(), 512);
    expectNothing(test::guardEnd());
}

} // namespace
} // namespace ferrow
