#include "modes/jt_mod_demod.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <cstring>
#include <ctime>
#include <fstream>

namespace ferrow {
namespace {

using test::readFile;
using test::Samples;

std::int64_t now100ns;
std::int64_t fakeClock() {
    return now100ns;
}

// 100 ns ticks of a time of 2026-03-04.
std::int64_t at(int hour, int minute, int second, int ms) {
    std::tm utc{};
    utc.tm_year = 126;
    utc.tm_mon = 2;
    utc.tm_mday = 4;
    utc.tm_hour = hour;
    utc.tm_min = minute;
    utc.tm_sec = second;
    return (static_cast<std::int64_t>(timegm(&utc)) * 1000 + ms) * 10000;
}

std::vector<std::string> files;
void onFile(const char* name) {
    files.emplace_back(name);
}

template <class T>
T field(const std::string& bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

class Jt : public test::TrxTest {
protected:
    std::shared_ptr<JTModDemod> mode;
    std::shared_ptr<vtrx> t;

    void SetUp() override {
        files.clear();
        radio->addReceiver(14074000, 48000);
        mode = std::make_shared<JTModDemod>(rootSyncTask);
        mode->setClock(fakeClock);
        mode->saveDirectory.set(runtime.folder() + "/");
        mode->newFile.bind(onFile, mode.get());
        t = addVtrx(14074000);
        on(*t, [&] { t->setModulation(mode); });
    }

    // One block straight into the mode, at the present time.
    buff<float> block(std::complex<float> value = {0.25f, 0.5f}, std::size_t size = 512) {
        buff<float> out;
        on(*t, [&] { out = mode->demodulate(Samples(size, value)); });
        return out;
    }

    // Waits for the saved file of a finished period.
    std::string nextFile() {
        now100ns += 6000000; // 0.6 s: no new period
        const std::size_t before = files.size();
        EXPECT_TRUE(test::waitFor([&] {
            block();
            pumpUpdates();
            return files.size() > before;
        }));
        return files.empty() ? "" : files.back();
    }

    // A small period: 256 samples of a quarter each.
    void small(int values = 256) {
        mode->samplesPerBlock.set(values);
        mode->Decimation.set(4);
    }
};

TEST_F(Jt, DefaultsAreThoseOfTheTable) {
    JTModDemod fresh(rootSyncTask);
    EXPECT_EQ(fresh.saveDirectory.value(), "");
    EXPECT_EQ(fresh.samplesPerSymbol.value(), 7680);
    EXPECT_EQ(fresh.toneSpacing.value(), 6.25);
    EXPECT_EQ(fresh.samplesPerBlock.value(), 151200);
    EXPECT_EQ(fresh.endPadding.value(), 0);
    EXPECT_EQ(fresh.period.value(), 15000);
    EXPECT_EQ(fresh.Decimation.value(), 4);
    EXPECT_EQ(fresh.SaveMode.value(), 0);
    EXPECT_EQ(fresh.FreqDevTable.value(), 0);
    EXPECT_EQ(fresh.TaperSamples.value(), 0);
    EXPECT_EQ(fresh.StartDelaySamples.value(), 0);
    EXPECT_TRUE(fresh.Enabled.value());
}

TEST_F(Jt, ReceptionReturnsTheRealPart) {
    now100ns = at(12, 0, 7, 0);
    const buff<float> out = block({0.25f, 0.5f});
    ASSERT_EQ(out.size(), 512u);
    for (const float value : out)
        ASSERT_EQ(value, 0.25f);
}

TEST_F(Jt, CaptureStartsInTheFirstHalfSecondOfAPeriodOnly) {
    small();
    struct Case {
        int second, ms;
        bool starts;
    };
    for (const Case c : {Case{15, 0, true},
                         {15, 499, true},
                         {15, 500, false},
                         {16, 0, false},
                         {29, 999, false},
                         {30, 0, true},
                         {45, 250, true},
                         {0, 0, true}}) {
        now100ns = at(12, 0, c.second, c.ms);
        block();
        block(); // 2 x 128 of 256
        const std::size_t before = files.size();
        now100ns = at(12, 0, c.second, 999); // outside of any first half-second
        for (int i = 0; i < 50 && files.size() == before; ++i) {
            block();
            pumpUpdates();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(files.size() > before, c.starts) << c.second << "." << c.ms;
    }
}

TEST_F(Jt, APeriodOf7500HasSixteenthsOfAMinute) {
    small();
    mode->period.set(7500);
    for (const auto& [second, ms, starts] : {std::tuple{0, 0, true},
                                             {7, 499, false},
                                             {7, 500, true},
                                             {7, 999, true},
                                             {8, 0, false},
                                             {15, 0, true},
                                             {22, 500, true}}) {
        now100ns = at(12, 1, second, ms);
        block();
        block();
        const std::size_t before = files.size();
        now100ns = at(12, 1, 11, 0);
        for (int i = 0; i < 50 && files.size() == before; ++i) {
            block();
            pumpUpdates();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(files.size() > before, starts) << second << "." << ms;
    }
}

TEST_F(Jt, APeriodBelow500IsGuarded) {
    small();
    mode->period.set(0);
    now100ns = at(12, 0, 3, 700);
    block();
    block();
    EXPECT_FALSE(nextFile().empty());
}

TEST_F(Jt, TheFileNameHasTheTimeAndTheMarkerBehind) {
    small();
    now100ns = at(12, 34, 45, 100);
    block();
    block();
    EXPECT_EQ(nextFile(), runtime.folder() + "/260304_123445.wav8");
}

TEST_F(Jt, APeriodOfAMinuteOrMoreDropsTheSeconds) {
    small();
    mode->period.set(60000);
    now100ns = at(12, 34, 0, 0);
    block();
    block();
    EXPECT_EQ(nextFile(), runtime.folder() + "/260304_1234.wav8");
}

TEST_F(Jt, TheWavHoldsTheScaledSamples) {
    small(300); // not a multiple of what a block brings
    now100ns = at(12, 0, 0, 0);
    block({0.1f, 0.9f});
    block({-0.4f, 0.9f});
    block({0.2f, 0.9f});
    const std::string name = nextFile();
    const std::string wav = readFile(name.substr(0, name.size() - 1));
    ASSERT_EQ(wav.size(), 44u + 600);
    EXPECT_EQ(wav.substr(0, 4), "RIFF");
    EXPECT_EQ(field<std::uint32_t>(wav, 4), 636u);
    EXPECT_EQ(wav.substr(8, 8), "WAVEfmt ");
    EXPECT_EQ(field<std::uint32_t>(wav, 16), 16u);
    EXPECT_EQ(field<std::uint16_t>(wav, 20), 1);
    EXPECT_EQ(field<std::uint16_t>(wav, 22), 1);
    EXPECT_EQ(field<std::uint32_t>(wav, 24), 12000u);
    EXPECT_EQ(field<std::uint32_t>(wav, 28), 24000u);
    EXPECT_EQ(field<std::uint16_t>(wav, 32), 2);
    EXPECT_EQ(field<std::uint16_t>(wav, 34), 16);
    EXPECT_EQ(wav.substr(36, 4), "data");
    EXPECT_EQ(field<std::uint32_t>(wav, 40), 600u);
    // The peak of 0.4 goes to 32000.
    EXPECT_NEAR(field<std::int16_t>(wav, 44), 8000, 1);
    EXPECT_NEAR(field<std::int16_t>(wav, 44 + 2 * 128), -32000, 1);
    EXPECT_NEAR(field<std::int16_t>(wav, 44 + 2 * 256), 16000, 1);
    EXPECT_NEAR(field<std::int16_t>(wav, 44 + 2 * 299), 16000, 1);
}

TEST_F(Jt, DecimationKeepsOneSampleInThatMany) {
    mode->samplesPerBlock.set(170);
    mode->Decimation.set(3);
    now100ns = at(12, 0, 0, 0);
    Samples ramp(512);
    for (std::size_t i = 0; i < 512; ++i)
        ramp[i] = {static_cast<float>(i) / 507.0f, 0};
    on(*t, [&] { mode->demodulate(ramp); });
    const std::string name = nextFile();
    const std::string wav = readFile(name.substr(0, name.size() - 1));
    ASSERT_EQ(wav.size(), 44u + 340); // 512 / 3
    for (int i = 0; i < 170; i += 13)
        EXPECT_NEAR(field<std::int16_t>(wav, 44 + 2 * static_cast<std::size_t>(i)), 3 * i / 507.0 * 32000,
                    1.01)
            << i;
}

TEST_F(Jt, AClickDoesNotSetTheGain) {
    EXPECT_FALSE(periodGain(1.0f, 0.1).clamped);
    EXPECT_FLOAT_EQ(periodGain(0.5f, 0.1).gain, 64000);
    EXPECT_FALSE(periodGain(1.5f, 0.1000001).clamped);
    const PeriodGain click = periodGain(1.0f, 0.01);
    EXPECT_TRUE(click.clamped);
    EXPECT_NEAR(click.gain, 32000 / 0.15, 0.1);
    EXPECT_EQ(periodGain(0, std::nan("")).gain, 0);
    small();
    now100ns = at(12, 0, 0, 0);
    Samples quiet(512, 0.001f);
    quiet[0] = {-1.0f, 0};
    on(*t, [&] {
        mode->demodulate(quiet);
        mode->demodulate(Samples(512, 0.001f));
    });
    const std::string name = nextFile();
    const std::string wav = readFile(name.substr(0, name.size() - 1));
    EXPECT_EQ(field<std::int16_t>(wav, 44), -32766);
    const double average = (1.0 + 255 * 0.001) / 256;
    EXPECT_NEAR(field<std::int16_t>(wav, 46), 0.001 * 32000 / (15 * average), 1.01);
}

TEST_F(Jt, SilenceIsWrittenAsZeroes) {
    small();
    now100ns = at(12, 0, 0, 0);
    block(0);
    block(0);
    const std::string name = nextFile();
    const std::string wav = readFile(name.substr(0, name.size() - 1));
    EXPECT_EQ(wav.substr(44), std::string(512, '\0'));
}

TEST_F(Jt, EndPaddingIsZeroFilled) {
    small(512);
    mode->endPadding.set(256);
    now100ns = at(12, 0, 0, 0);
    block();
    block(); // 256 of 512: complete
    const std::string name = nextFile();
    const std::string wav = readFile(name.substr(0, name.size() - 1));
    ASSERT_EQ(wav.size(), 44u + 1024);
    EXPECT_EQ(field<std::int16_t>(wav, 44 + 510), 32000);
    EXPECT_EQ(wav.substr(44 + 512), std::string(512, '\0'));
}

TEST_F(Jt, EndPaddingOfTheWholeBlockCompletesAtOnce) {
    small();
    mode->endPadding.set(256);
    now100ns = at(12, 0, 0, 0);
    block();
    const std::string name = nextFile();
    const std::string wav = readFile(name.substr(0, name.size() - 1));
    EXPECT_EQ(wav.size(), 44u + 512);
}

TEST_F(Jt, AC2FileHoldsTheDialFrequencyAndPairs) {
    small(200);
    mode->SaveMode.set(1);
    now100ns = at(12, 34, 15, 0);
    block({0.25f, -0.5f});
    const std::string name = nextFile();
    EXPECT_EQ(name, runtime.folder() + "/260304_1234.c28");
    const std::string c2 = readFile(name.substr(0, name.size() - 1));
    ASSERT_EQ(c2.size(), 26u + 200 * 4);
    EXPECT_EQ(c2.substr(0, 14), std::string(14, '\0'));
    EXPECT_EQ(field<std::int32_t>(c2, 14), 2);
    EXPECT_DOUBLE_EQ(field<double>(c2, 18), 14.074);
    for (std::size_t i = 0; i < 100; ++i) {
        ASSERT_NEAR(field<float>(c2, 26 + 8 * i), 32000, 1) << i;
        ASSERT_NEAR(field<float>(c2, 30 + 8 * i), -64000, 2) << i;
    }
}

TEST_F(Jt, AnOddBlockOfPairsEndsCleanly) {
    small(201);
    mode->SaveMode.set(1);
    now100ns = at(12, 34, 15, 0);
    block();
    const std::string name = nextFile();
    EXPECT_EQ(readFile(name.substr(0, name.size() - 1)).size(), 26u + 201 * 4);
}

TEST_F(Jt, DisablingDropsTheCaptureWithoutAFile) {
    small();
    now100ns = at(12, 0, 0, 0);
    block();
    on(*mode, [&] { mode->Enabled.setFromHost(false); });
    for (int i = 0; i < 20; ++i) {
        block();
        pumpUpdates();
    }
    on(*mode, [&] { mode->Enabled.setFromHost(true); });
    now100ns = at(12, 0, 5, 0);
    for (int i = 0; i < 20; ++i) {
        block();
        pumpUpdates();
    }
    EXPECT_TRUE(files.empty());
}

TEST_F(Jt, AFolderThatIsNotThereStillFiresNewFile) {
    small();
    mode->saveDirectory.set("/nonexistent-folder/");
    now100ns = at(12, 0, 0, 0);
    block();
    block();
    EXPECT_EQ(nextFile(), "/nonexistent-folder/260304_120000.wav8");
}

TEST_F(Jt, PropertyChangesDuringACaptureAreHarmless) {
    small(4096);
    now100ns = at(12, 0, 0, 0);
    block();
    for (const int value : {1 << 30, 1000, -5, 0, 4096}) {
        mode->samplesPerBlock.set(value);
        mode->Decimation.set(value % 7 - 3);
        mode->endPadding.set(value % 11 - 5);
        mode->SaveMode.set(value & 1);
        block();
        pumpUpdates();
    }
}

class JtTransmit : public Jt {
protected:
    buff<float> tones(std::initializer_list<float> values) {
        buff<float> out(values.size());
        std::copy(values.begin(), values.end(), out.begin());
        return out;
    }
    void queue(buff<float> table, int marker, int startMs) {
        on(*mode, [&] { mode->queueMsg(table, marker, startMs); });
    }
    static int msOfHour(int minute, int second) { return (minute * 60 + second) * 1000; }

    // The first blocks of what a mode of its own sends of a table of tones.
    std::vector<std::complex<float>> waveOf(const std::shared_ptr<JTModDemod>& fresh,
                                            std::initializer_list<float> table, int blocks) {
        fresh->setClock(fakeClock);
        fresh->saveDirectory.set(runtime.folder() + "/x");
        now100ns = at(12, 0, 15, 0);
        std::vector<std::complex<float>> out;
        on(*t, [&] {
            t->ptt.set(false);
            t->setModulation(fresh);
        });
        fresh->queueMsg(tones(table), 1, msOfHour(0, 16));
        on(*t, [&] {
            fresh->demodulate(Samples(512, 0.1f));
            for (int i = 0; i < blocks; ++i) {
                Samples chunk(512, 9.0f);
                fresh->modulate(chunk, chunk);
                out.insert(out.end(), chunk.begin(), chunk.end());
            }
        });
        return out;
    }
};

TEST_F(JtTransmit, AMessageOfThisPeriodStartsAndMarksItsFile) {
    small(512);
    now100ns = at(12, 0, 15, 0);
    block();
    queue(tones({0, 1}), 3, msOfHour(0, 20));
    EXPECT_FALSE(t->ptt.value());
    block();
    EXPECT_TRUE(t->ptt.value());
    block();
    block();
    const std::string name = nextFile();
    EXPECT_EQ(name.back(), '3');
}

TEST_F(JtTransmit, AMessageOfThePreviousPeriodIsIgnored) {
    small(512);
    now100ns = at(12, 0, 15, 0);
    block();
    queue(tones({0, 1}), 3, msOfHour(0, 14));
    for (int i = 0; i < 10; ++i)
        block();
    EXPECT_FALSE(t->ptt.value());
}

TEST_F(JtTransmit, AMessageOfTheNextPeriodWaitsForIt) {
    small(512);
    now100ns = at(12, 0, 15, 0);
    block();
    queue(tones({0, 1}), 3, msOfHour(0, 31));
    for (int i = 0; i < 3; ++i)
        block();
    EXPECT_FALSE(t->ptt.value());
    now100ns = at(12, 0, 30, 0);
    block();
    EXPECT_TRUE(t->ptt.value());
}

TEST_F(JtTransmit, AMessageQueuedAtTheLimitNeverStarts) {
    mode->samplesPerBlock.set(180000);
    now100ns = at(12, 0, 15, 0);
    for (int i = 0; i < 656; ++i) // 656 x 128 = 83968 of (15000 / 2000) x 12000 = 84000
        block();
    block(); // 84096
    queue(tones({0, 1}), 3, msOfHour(0, 20));
    block();
    EXPECT_FALSE(t->ptt.value());
    now100ns = at(12, 0, 30, 0);
    for (int i = 0; i < 760; ++i)
        block();
    EXPECT_FALSE(t->ptt.value());
}

TEST_F(JtTransmit, AFreqDevTableOf3GivesTheTableForAProductOf1) {
    const auto wave = [&](int table) {
        auto fresh = std::make_shared<JTModDemod>(rootSyncTask);
        fresh->samplesPerSymbol.set(480);
        fresh->samplesPerBlock.set(1024);
        fresh->FreqDevTable.set(table);
        return waveOf(fresh, {0, 5, 2, 7}, 4);
    };
    const auto one = wave(1), three = wave(3), ten = wave(10);
    EXPECT_EQ(one, three);
    EXPECT_NE(one, ten);
    EXPECT_EQ(one.back(), std::complex<float>()) << "past the table";
}

TEST_F(JtTransmit, TheStepBetweenTonesIsAsShortAsItsBandwidthTimeProductSays) {
    constexpr int kSymbol = 4800;
    for (const int product : {1, 2, 10, 50}) {
        auto fresh = std::make_shared<JTModDemod>(rootSyncTask);
        fresh->samplesPerSymbol.set(kSymbol);
        fresh->samplesPerBlock.set(100000);
        fresh->txFreq.set(0); // the shares of the two tones fall short of one by what a sample makes
        fresh->FreqDevTable.set(product);
        const std::vector<std::complex<float>> out = waveOf(fresh, {0, 4, 4}, 24);
        // A Gaussian is at 10 and 90 % of its integral 1.2816 of its widths from the middle.
        const double width = std::sqrt(std::log(2.0)) / (2 * std::numbers::pi * product);
        int between = 0;
        for (int i = kSymbol / 2; i < kSymbol * 3 / 2; ++i) {
            const auto place = static_cast<std::size_t>(i);
            const std::complex<double> turned =
                std::complex<double>(out[place + 1]) * std::conj(std::complex<double>(out[place]));
            const double tone = std::abs(std::arg(turned)) * 48000 / (2 * std::numbers::pi) / 6.25 / 4;
            between += tone > 0.1 && tone < 0.9 ? 1 : 0;
        }
        const double wanted = 2 * 1.2816 * width * kSymbol;
        EXPECT_NEAR(between, wanted, 2 + 0.03 * wanted) << product;
    }
}

TEST_F(JtTransmit, PlainTonesHaveTheirFrequencyAndLevel) {
    mode->samplesPerSymbol.set(4800);
    mode->samplesPerBlock.set(100000);
    mode->txFreq.set(1500);
    now100ns = at(12, 0, 15, 0);
    mode->queueMsg(tones({0, 7, 3.5f}), 1, msOfHour(0, 16));
    std::vector<std::complex<float>> out;
    on(*t, [&] {
        mode->demodulate(Samples(512, 0.1f));
        ASSERT_TRUE(t->ptt.value());
        for (int i = 0; i < 40; ++i) {
            Samples chunk(512, 9.0f);
            mode->modulate(chunk, chunk);
            out.insert(out.end(), chunk.begin(), chunk.end());
        }
    });
    test::settle(t->context());
    EXPECT_FALSE(t->ptt.value()) << "the table has ended";
    for (int symbol = 0; symbol < 3; ++symbol) {
        const double hz = 1500 + 6.25 * (symbol == 0 ? 0 : symbol == 1 ? 7 : 3.5);
        const auto* z = out.data() + symbol * 4800;
        for (int i = 1; i < 4799; i += 97) {
            ASSERT_NEAR(std::abs(z[i]), 0.98, 1e-5);
            const double turn = std::arg(z[i + 1] * std::conj(z[i]));
            ASSERT_NEAR(turn, -2 * std::numbers::pi * hz / 48000, 1e-4);
        }
    }
    EXPECT_EQ(out[3 * 4800], std::complex<float>());
}

TEST_F(JtTransmit, ALateMessageClearsTheActiveTones) {
    small(4096);
    mode->samplesPerSymbol.set(48000);
    now100ns = at(12, 0, 15, 0);
    block();
    queue(tones({10, 20}), 3, msOfHour(0, 15));
    block();
    ASSERT_TRUE(t->ptt.value());
    Samples chunk(512);
    on(*t, [&] { mode->modulate(chunk, chunk); });
    EXPECT_NE(chunk[100], std::complex<float>());
    on(*t, [&] { t->ptt.setFromHost(false); });
    mode->period.set(1500); // anything is too late now
    queue(tones({10, 20}), 3, msOfHour(0, 15));
    block();
    EXPECT_FALSE(t->ptt.value());
    on(*t, [&] { mode->modulate(chunk, chunk); });
    EXPECT_EQ(chunk[100], std::complex<float>());
}

TEST_F(JtTransmit, AMessageBeforeTheFirstPeriodWaitsForIt) {
    small(512);
    now100ns = at(12, 0, 7, 0);
    queue(tones({0, 1}), 3, msOfHour(0, 3));
    block();
    EXPECT_FALSE(t->ptt.value()) << "the clock is past the start, and no capture tells how far";
    queue(tones({0, 1}), 3, msOfHour(0, 15));
    block();
    EXPECT_FALSE(t->ptt.value());
    now100ns = at(12, 0, 15, 0);
    block();
    EXPECT_TRUE(t->ptt.value());
}

TEST_F(JtTransmit, ADisabledModeNeverKeys) {
    small(512);
    now100ns = at(12, 0, 15, 0);
    block();
    on(*mode, [&] { mode->Enabled.setFromHost(false); });
    queue(tones({0, 1}), 3, msOfHour(0, 20));
    block();
    EXPECT_FALSE(t->ptt.value());
    on(*mode, [&] { mode->Enabled.setFromHost(true); });
    now100ns = at(12, 0, 20, 0);
    block();
    EXPECT_FALSE(t->ptt.value()) << "the rest of this period is not known";
}

TEST_F(JtTransmit, DisablingEndsTheTransmission) {
    small(512);
    now100ns = at(12, 0, 15, 0);
    block();
    queue(tones({0, 1}), 3, msOfHour(0, 20));
    block();
    ASSERT_TRUE(t->ptt.value());
    on(*mode, [&] { mode->Enabled.setFromHost(false); });
    test::settle(t->context());
    EXPECT_FALSE(t->ptt.value());
}

TEST_F(JtTransmit, PttWithNothingToSendEndsByItself) {
    now100ns = at(12, 0, 7, 0);
    on(*t, [&] {
        t->ptt.setFromHost(true);
        Samples chunk(512, 9.0f);
        mode->modulate(chunk, chunk);
        EXPECT_EQ(chunk[0], std::complex<float>());
    });
    test::settle(t->context());
    EXPECT_FALSE(t->ptt.value());
}

TEST_F(JtTransmit, TheEndOfOneTransmissionDoesNotEndTheNext) {
    small(4096);
    mode->samplesPerSymbol.set(100);
    now100ns = at(12, 0, 15, 0);
    block();
    queue(tones({1}), 3, msOfHour(0, 15));
    block();
    ASSERT_TRUE(t->ptt.value());
    mode->queueMsg(tones({1}), 4, msOfHour(0, 15));
    on(*t, [&] {
        Samples chunk(512, 9.0f);
        mode->modulate(chunk, chunk); // its end is now on its way
        t->ptt.setFromHost(false);
        mode->demodulate(Samples(512, 0.1f)); // the next one starts
    });
    test::settle(t->context());
    EXPECT_TRUE(t->ptt.value());
}

TEST_F(JtTransmit, AToneThatIsNoNumberDoesNotSilenceTheNextMessage) {
    small(4096);
    now100ns = at(12, 0, 15, 0);
    block();
    const auto sent = [&](float tone) {
        queue(tones({tone}), 3, msOfHour(0, 15));
        block();
        EXPECT_TRUE(t->ptt.value());
        Samples chunk(512);
        on(*t, [&] {
            mode->modulate(chunk, chunk);
            t->ptt.setFromHost(false);
        });
        return std::abs(chunk[100]);
    };
    EXPECT_TRUE(std::isnan(sent(std::nanf(""))));
    EXPECT_NEAR(sent(5), 0.98, 1e-4);
}

TEST_F(JtTransmit, AbsurdNumbersAreHarmless) {
    constexpr int least = std::numeric_limits<int>::min(), most = std::numeric_limits<int>::max();
    small(4096);
    for (const int absurd : {least, most, -1, 0, 1}) {
        mode->samplesPerSymbol.set(absurd);
        mode->StartDelaySamples.set(absurd == least ? most : -absurd);
        mode->TaperSamples.set(absurd);
        mode->FreqDevTable.set(absurd);
        mode->Decimation.set(absurd);
        mode->endPadding.set(absurd);
        mode->txFreq.set(absurd);
        mode->toneSpacing.set(absurd < 0 ? std::numeric_limits<double>::infinity() : 1e300);
        for (const int period : {least, most, -2000000000, 499, 2000000000, 15000}) {
            mode->period.set(period);
            now100ns = at(12, 59, 59, 0);
            block();
            now100ns = at(12, 0, 0, 0);
            block();
            for (const int start : {0, least, most, msOfHour(0, 0)}) {
                queue(tones({0, std::nanf(""), 1e30f}), absurd, start);
                block();
                Samples chunk(512);
                on(*t, [&] { mode->modulate(chunk, chunk); });
            }
            on(*t, [&] { t->ptt.setFromHost(false); });
        }
        mode->StartDelaySamples.set(least);
    }
}

TEST_F(Jt, AnAbsurdBlockLengthIsLoggedAndBounded) {
    mode->samplesPerBlock.set(std::numeric_limits<int>::max());
    now100ns = at(12, 0, 0, 0);
    block();
    EXPECT_TRUE(runtime.logged("JTModDemod.samplesPerBlock 2147483647 counts as 33554432"));
    mode->samplesPerBlock.set(-1);
    on(*mode, [&] { mode->Enabled.setFromHost(false); });
    on(*mode, [&] { mode->Enabled.setFromHost(true); });
    block();
    EXPECT_FALSE(nextFile().empty());
}

TEST_F(JtTransmit, ASecondMessageReplacesTheFirst) {
    small(512);
    now100ns = at(12, 0, 15, 0);
    block();
    queue(tones({0, 1}), 3, msOfHour(0, 20));
    queue(tones({0, 1}), 5, msOfHour(0, 20));
    block();
    block();
    block();
    EXPECT_EQ(nextFile().back(), '5');
}

} // namespace
} // namespace ferrow
