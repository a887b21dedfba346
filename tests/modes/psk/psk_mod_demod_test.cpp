#include "modes/psk_mod_demod.hpp"

#include "tests/modes/psk/psk_bank.hpp"
#include "tests/modes/psk/psk_trials.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

namespace ferrow {
namespace {

using test::detectorTexts;
using test::primaryText;
using test::Samples;
using test::sentText;

constexpr long long kCentre = 14070000;

std::vector<int> txFrequencies, rxFrequencies, primaries, pttNotices;

class Psk : public test::TrxTest {
protected:
    std::shared_ptr<PskModDemod> mode;
    std::shared_ptr<vtrx> t;

    void SetUp() override {
        for (auto* notices : {&txFrequencies, &rxFrequencies, &primaries, &pttNotices})
            notices->clear();
        radio->addReceiver(kCentre, 48000);
        on(*radio, [&] { radio->canTransmit.set(true); });
        mode = std::make_shared<PskModDemod>(rootSyncTask);
        t = listen(kCentre, mode);
        test::bindAll(*mode);
    }

    // As the host writes it, on the mode's context.
    template <class Property, class Value>
    void write(Property& property, Value value) {
        on(*mode, [&] { property.setFromHost(value); });
    }
    void queue(const std::string& text) {
        on(*mode, [&] { mode->QueueText(text, 0); });
    }
    void press(bool down) {
        on(*t, [&] { t->ptt.setFromHost(down); });
        test::settle(radio->context());
    }

    // Pulls for `seconds`, or until the radio is unkeyed; returns the samples that it got.
    std::vector<std::complex<float>> pull(double seconds) {
        std::vector<std::complex<float>> all;
        for (double done = 0; done < seconds && radio->ptt.value(); done += 200 * 126 / 48000.0) {
            on(*radio, [&] { radio->sent.clear(); });
            on(*t, [&] {
                for (int n = 0; n < 200; ++n)
                    t->produceTxChunk();
            });
            test::settle(radio->context());
            test::settle(t->context());
            test::settle(radio->context());
            for (const Samples& block : radio->sent)
                all.insert(all.end(), block.begin(), block.end());
            pumpUpdates();
        }
        return all;
    }

    static std::vector<double> heard(const std::vector<std::complex<float>>& sent) {
        std::vector<double> out;
        for (std::size_t n = 0; n < sent.size(); n += 6)
            out.push_back(sent[n].real());
        return out;
    }

    void settleAll() {
        test::settle(mode->context());
        pumpUpdates();
    }
};

TEST_F(Psk, ListsAndDefaultsAreThoseOfTheTable) {
    const std::vector<std::pair<int, std::string>> modes = {{0, "PSK31"},  {8, "PSK63"},  {16, "PSK125"},
                                                            {1, "QPSK31"}, {9, "QPSK63"}, {17, "QPSK125"}};
    ASSERT_EQ(mode->Modes.items().size(), 6u);
    for (std::size_t n = 0; n < modes.size(); ++n) {
        EXPECT_EQ(mode->Modes.items()[n]->Value.value(), modes[n].first);
        EXPECT_EQ(mode->Modes.items()[n]->Label.value(), modes[n].second);
    }
    const auto& dets = mode->dets.items();
    ASSERT_EQ(dets.size(), 66u);
    for (std::size_t n = 0; n < 60; ++n) {
        EXPECT_EQ(dets[n]->freq.value(), 100 * (static_cast<int>(n) % 30 + 1));
        EXPECT_EQ(dets[n]->Mode.value(), n < 30 ? "PSK31" : "PSK63");
    }
    for (std::size_t n = 60; n < 66; ++n) {
        EXPECT_EQ(dets[n]->freq.value(), 1500);
        EXPECT_EQ(dets[n]->Mode.value(), modes[n - 60].second);
    }
    EXPECT_EQ(mode->mode.value(), 0);
    EXPECT_EQ(mode->primaryDetector.value(), 60);
    EXPECT_EQ(mode->sigLevel.value(), 0);
    EXPECT_EQ(mode->rxFreq.value(), 1500);
    EXPECT_EQ(mode->txFreq.value(), 1500);
}

TEST_F(Psk, ReturnsTheRealPart) {
    const Samples block(512, {0.25f, -0.5f});
    const auto out = mode->demodulate(block);
    ASSERT_EQ(out.size(), 512u);
    for (const float x : out)
        ASSERT_EQ(x, 0.25f);
}

TEST_F(Psk, ThePrimaryReadsInEveryMode) {
    for (const auto& form : test::kPskForms) {
        write(mode->mode, form.modeWord);
        write(mode->rxFreq, 1200);
        primaryText.clear();
        const std::string text = test::pskText(12, 61);
        test::feedAudio(*mode, test::pskSignal(text, form, 1200, 8000, 96));
        EXPECT_NE(primaryText.find(text), std::string::npos) << form.name << ": " << primaryText;
        const auto place = static_cast<std::size_t>(mode->primaryDetector.value());
        EXPECT_NE(detectorTexts[place].find(text), std::string::npos) << form.name;
    }
}

TEST_F(Psk, TheBankReadsSignalsThatNobodyTunedTo) {
    test::feedAudio(*mode, test::pskSignal("CQ de K1ABC", test::kPsk31, 873, 8000, 128));
    test::feedAudio(*mode, test::pskSignal("CQ de DL1ABC", test::kPsk63, 2341, 8000, 192));
    const auto readBy = [](std::size_t from, std::size_t to, const char* text) {
        int count = 0;
        for (std::size_t n = from; n < to; ++n)
            count += detectorTexts[n].find(text) != std::string::npos ? 1 : 0;
        return count;
    };
    EXPECT_GE(readBy(0, 30, "CQ de K1ABC"), 1);
    EXPECT_GE(readBy(30, 60, "CQ de DL1ABC"), 1);
    EXPECT_EQ(primaryText, "");
    EXPECT_GE(test::detectorResets[0], 1);
}

TEST_F(Psk, TwentySignalsHundredHertzApartAreCopied) {
    int copied = 0;
    for (const auto& signal : test::copyBank(20, 1))
        copied += signal.copied ? 1 : 0;
    EXPECT_GE(copied, 18);
}

// Every sixth sample, wherever the blocks are cut.
TEST_F(Psk, BlocksOfAnySizeGiveTheSameText) {
    const auto audio = test::pskSignal("odd blocks", test::kPsk31, 1500, 8000, 96);
    std::size_t n = 0;
    std::mt19937 random(4);
    while (n < 6 * audio.size()) {
        Samples block(std::min<std::size_t>(1 + random() % 700, 6 * audio.size() - n));
        for (std::size_t i = 0; i < block.size(); ++i) // what is not taken is nonsense
            block[i] = {(n + i) % 6 == 0 ? static_cast<float>(0.1 * audio[(n + i) / 6]) : 9.0f, 0};
        mode->demodulate(block);
        n += block.size();
    }
    pumpUpdates();
    EXPECT_NE(primaryText.find("odd blocks"), std::string::npos) << primaryText;
}

TEST_F(Psk, WhileTheTransceiverSendsNothingIsReceivedAndTheDecimationHolds) {
    const auto audio = test::pskSignal("before and after it", test::kPsk31, 1500, 8000, 96);
    std::vector<std::complex<float>> stream(6 * audio.size());
    for (std::size_t n = 0; n < stream.size(); ++n)
        stream[n] = {n % 6 == 0 ? static_cast<float>(0.1 * audio[n / 6]) : 9.0f, 0};
    const auto feed = [&](std::size_t from, std::size_t to) {
        for (std::size_t n = from; n < to; n += 512) {
            Samples block(std::min<std::size_t>(512, to - n));
            std::copy_n(stream.begin() + static_cast<std::ptrdiff_t>(n), block.size(), block.begin());
            mode->demodulate(block);
        }
        pumpUpdates();
    };
    const std::size_t middle = stream.size() / 2 + 5; // not a multiple of six
    feed(0, middle);
    const std::string before = primaryText;
    press(true);
    EXPECT_EQ(mode->demodulate(Samples(100, {0.5f, 0}))[0], 0.5f);
    for (int n = 0; n < 400; ++n)
        mode->demodulate(Samples(511, {0.5f, 0}));
    pumpUpdates();
    EXPECT_EQ(primaryText, before);
    press(false);
    feed(middle, stream.size());
    EXPECT_NE(primaryText.find("before and after it"), std::string::npos) << primaryText;
}

TEST_F(Psk, ThePrimaryIsFollowedByBothFrequencies) {
    mode->rxFreq.bind([](int hz) { rxFrequencies.push_back(hz); }, mode.get());
    mode->txFreq.bind([](int hz) { txFrequencies.push_back(hz); }, mode.get());
    test::feedAudio(*mode, test::pskSignal(test::pskText(16, 62), test::kPsk31, 1506, 8000, 96));
    settleAll();
    EXPECT_NEAR(mode->rxFreq.value(), 1506, 1);
    EXPECT_EQ(mode->txFreq.value(), mode->rxFreq.value());
    ASSERT_GE(rxFrequencies.size(), 2u);
    EXPECT_EQ(rxFrequencies.back(), mode->rxFreq.value());
    EXPECT_EQ(txFrequencies.back(), mode->rxFreq.value());
}

TEST_F(Psk, AHostsFrequencyWinsOverWhatWasTrackedBefore) {
    test::feedAudio(*mode, test::pskSignal("x", test::kPsk31, 1507, 8000, 64));
    write(mode->rxFreq, 900);
    settleAll();
    EXPECT_EQ(mode->rxFreq.value(), 900);
    EXPECT_EQ(mode->txFreq.value(), 900);
    primaryText.clear();
    test::feedAudio(*mode, test::pskSignal("on nine hundred", test::kPsk31, 900, 8000, 96));
    EXPECT_NE(primaryText.find("on nine hundred"), std::string::npos) << primaryText;
}

TEST_F(Psk, AFrequencyTunesAllManualDetectorsAndThePrimary) {
    mode->txFreq.bind([](int hz) { txFrequencies.push_back(hz); }, mode.get());
    write(mode->primaryDetector, 12);
    write(mode->rxFreq, 1777);
    mode->demodulate(Samples(6 * 512, 0.0f)); // wishes are taken with the next block
    for (std::size_t n : {12, 60, 61, 62, 63, 64, 65})
        EXPECT_EQ(mode->dets.items()[n]->trackedFrequency(), 1777) << n;
    EXPECT_NE(mode->dets.items()[13]->trackedFrequency(), 1777);
    EXPECT_EQ(mode->txFreq.value(), 1777);
    pumpUpdates();
    EXPECT_EQ(txFrequencies.back(), 1777);
}

TEST_F(Psk, AModeMovesThePrimaryToItsManualDetector) {
    mode->primaryDetector.bind([](int place) { primaries.push_back(place); }, mode.get());
    const std::vector<std::pair<int, int>> places = {{8, 61}, {16, 62}, {1, 63}, {9, 64}, {17, 65}, {0, 60}};
    for (const auto& [word, place] : places) {
        write(mode->mode, word);
        EXPECT_EQ(mode->primaryDetector.value(), place) << word;
    }
    pumpUpdates();
    EXPECT_EQ(primaries, (std::vector<int>{60, 61, 62, 63, 64, 65, 60}));
}

TEST_F(Psk, APrimaryThatReadsTheModeAlreadyStays) {
    write(mode->primaryDetector, 35); // PSK63
    write(mode->mode, 8);
    EXPECT_EQ(mode->primaryDetector.value(), 35);
    write(mode->mode, 0);
    EXPECT_EQ(mode->primaryDetector.value(), 60);
}

TEST_F(Psk, FrequenciesArePublishedEveryElevenBlocks) {
    std::vector<int> changesAt;
    auto& freq = mode->dets.items()[60]->freq;
    const auto audio = test::pskSignal(test::pskText(25, 63), test::kPsk31, 1508, 8000, 96);
    int last = freq.value();
    for (std::size_t n = 0; n + 512 <= audio.size(); n += 512) {
        test::feedAudio(*mode, {audio.begin() + static_cast<std::ptrdiff_t>(n),
                                audio.begin() + static_cast<std::ptrdiff_t>(n + 512)});
        settleAll();
        if (freq.value() != last)
            changesAt.push_back(static_cast<int>(n / 512));
        last = freq.value();
    }
    ASSERT_GE(changesAt.size(), 2u);
    for (const int block : changesAt)
        EXPECT_EQ(block % 11, 0) << block;
    EXPECT_NEAR(last, 1508, 1);
}

TEST_F(Psk, TextGoesOutAndIsReadAgain) {
    press(true);
    auto sent = pull(3); // preamble and idling
    queue("de K1ABC ok\r\n");
    const auto text = pull(6);
    sent.insert(sent.end(), text.begin(), text.end());
    EXPECT_EQ(sentText, "de K1ABC ok\r\n");
    press(false);
    const auto end = pull(5);
    sent.insert(sent.end(), end.begin(), end.end());
    EXPECT_FALSE(radio->ptt.value());
    CPSKDet detector;
    EXPECT_EQ(test::receive(detector, heard(sent)), "de K1ABC ok\r\n");
}

TEST_F(Psk, ATildeEndsTheTransmissionAndIsNotSent) {
    t->ptt.bind([](bool on) { pttNotices.push_back(on ? 1 : 0); }, t.get());
    press(true);
    auto sent = pull(3);
    queue("all~more");
    const auto rest = pull(20);
    sent.insert(sent.end(), rest.begin(), rest.end());
    EXPECT_FALSE(t->ptt.value());
    EXPECT_FALSE(radio->ptt.value());
    EXPECT_LT(rest.size(), 48000u * 5); // at that point, not when the pulling ended
    pumpUpdates();
    ASSERT_FALSE(pttNotices.empty());
    EXPECT_EQ(pttNotices.back(), 0);
    EXPECT_EQ(sentText, "all~");
    CPSKDet detector;
    EXPECT_EQ(test::receive(detector, heard(sent)), "all");
}

TEST_F(Psk, WhatIsQueuedBehindTheEndWaitsForTheNextPress) {
    press(true);
    pull(2);
    queue("one~two~");
    pull(20);
    EXPECT_EQ(sentText, "one~");
    press(true);
    pull(20);
    EXPECT_EQ(sentText, "one~two~");
    EXPECT_FALSE(t->ptt.value());
}

TEST_F(Psk, AReleasePlaysThePostambleBeforeTheRadioGoesOff) {
    press(true);
    pull(3);
    press(false);
    EXPECT_TRUE(radio->ptt.value());
    const auto sent = pull(10);
    EXPECT_FALSE(radio->ptt.value());
    // A second of steady carrier, and silence before the end.
    std::size_t steady = 0, silent = 0;
    for (const auto& sample : sent) {
        steady += std::abs(std::abs(sample) - 1) < 0.01 ? 1 : 0;
        silent = std::abs(sample) < 1e-4 ? silent + 1 : 0;
    }
    EXPECT_NEAR(static_cast<double>(steady) / 48000, 1.0, 0.1);
    EXPECT_GT(silent, 504u);
    EXPECT_LT(sent.size(), 48000u * 2);
}

TEST_F(Psk, AReleaseInMidTextEndsBehindTheCharacter) {
    press(true);
    pull(2.5);
    queue(std::string(200, 'm'));
    pull(1.5);
    press(false);
    const std::string taken = sentText;
    EXPECT_GT(taken.size(), 2u);
    EXPECT_LT(taken.size(), 20u);
    const auto sent = pull(10);
    EXPECT_FALSE(radio->ptt.value());
    EXPECT_EQ(sentText, taken);
    EXPECT_LT(sent.size(), 48000u * 3);
}

TEST_F(Psk, WithoutTextTheTransmissionIdles) {
    press(true);
    pull(2);
    const auto sent = pull(2);
    CPSKDet detector;
    EXPECT_EQ(test::receive(detector, heard(sent)), "");
    EXPECT_TRUE(detector.squelchOpen());
}

TEST_F(Psk, TheTransmitterStandsOnTheReceiveFrequency) {
    write(mode->rxFreq, 2100);
    write(mode->mode, 3);
    press(true);
    pull(1);
    const auto sent = pull(1);
    for (std::size_t n = 20001; n < 20400; ++n) {
        ASSERT_NEAR(std::arg(sent[n] / sent[n - 1]), -2 * std::numbers::pi * 2100 / 48000, 1e-3);
        ASSERT_NEAR(std::abs(sent[n]), 1, 0.02);
    }
}

TEST_F(Psk, ACarrierIsSentUntilTheRelease) {
    write(mode->mode, 3);
    queue("not now");
    press(true);
    pull(3);
    EXPECT_EQ(sentText, "");
    press(false);
    pull(5);
    EXPECT_FALSE(radio->ptt.value());
}

TEST_F(Psk, TheModeOfTheTransmitterIsThatOfTheProperty) {
    write(mode->mode, 9);
    press(true);
    auto sent = pull(2);
    queue("four phases~");
    const auto rest = pull(20);
    sent.insert(sent.end(), rest.begin(), rest.end());
    CPSKDet detector(9);
    EXPECT_EQ(test::receive(detector, heard(sent)).substr(0, 11), "four phases");
}

TEST_F(Psk, TextBeyondTheRingLosesTheNewestBytesAndIsLoggedOnce) {
    std::string text;
    for (int n = 0; n < 5000; ++n)
        text += static_cast<char>('a' + n % 26);
    queue(text);
    const std::string log = runtime.log();
    const std::string words = "PskModDemod text queue is full, 904 bytes lost";
    ASSERT_NE(log.find(words), std::string::npos);
    EXPECT_EQ(log.find("bytes lost", log.find(words) + words.size()), std::string::npos);
    write(mode->mode, 16);
    press(true);
    while (sentText.size() < 300)
        pull(1);
    EXPECT_EQ(sentText, text.substr(0, sentText.size()));
}

TEST_F(Psk, StrangeValuesOfTheHostDoNoHarm) {
    for (const int value :
         {-1, 66, 1000000, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        write(mode->primaryDetector, value);
        write(mode->mode, value);
        write(mode->rxFreq, value);
        test::feedAudio(*mode, std::vector<double>(2048, 0.1));
        press(true);
        pull(0.3);
        press(false);
        settleAll();
    }
    write(mode->mode, 0);
    write(mode->primaryDetector, 60);
    write(mode->rxFreq, 1500);
    on(*mode, [&] {
        mode->dets.reset();
        mode->Modes.reset();
    });
    primaryText.clear();
    test::feedAudio(*mode, test::pskSignal("still here", test::kPsk31, 1500, 8000, 128));
    EXPECT_NE(primaryText.find("still here"), std::string::npos) << primaryText;
}

TEST_F(Psk, SamplesThatAreNoNumbersDoNoHarm) {
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()})
        mode->demodulate(Samples(6 * 512, {bad, bad}));
    mode->demodulate(Samples(512, {1e5f, 0}));
    mode->demodulate(Samples(120000, 0.0f)); // lets the peak go
    test::feedAudio(*mode, test::pskSignal("still here", test::kPsk31, 1500, 8000, 160));
    EXPECT_NE(primaryText.find("still here"), std::string::npos) << primaryText;
}

// The transmitting thread, the receiving one and the mode's context at once; the thread sanitizer looks on.
TEST_F(Psk, SendingAndReceivingAtOnceWhileTheHostChangesThings) {
    const auto audio = test::pskSignal(test::pskText(20, 64), test::kPsk31, 1500, 8000, 32);
    std::atomic<bool> done{false};
    std::thread sender([&] {
        Samples in(512, 0.0f), out(512, 0.0f);
        while (!done)
            mode->modulate(in, out);
    });
    std::thread receiver([&] {
        for (int round = 0; round < 2; ++round)
            for (std::size_t n = 0; n < 6 * audio.size(); n += 512) {
                Samples block(512);
                for (std::size_t i = 0; i < 512; ++i)
                    block[i] = static_cast<float>(0.1 * audio[std::min((n + i) / 6, audio.size() - 1)]);
                mode->demodulate(block);
            }
        done = true;
    });
    for (int n = 0; !done; ++n) {
        write(mode->mode, std::array{0, 8, 16, 1, 9, 17, 3}[static_cast<std::size_t>(n % 7)]);
        write(mode->rxFreq, 1000 + n % 900);
        write(mode->primaryDetector, n % 66);
        queue("text ~");
        press(n % 2 == 0);
        pumpUpdates();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    receiver.join();
    sender.join();
    settleAll();
}

} // namespace
} // namespace ferrow
