// The noise reduction's place in the receive chain, through exported functions: a host switches it, on a
// radio of the test's own that delivers samples.
#include "tests/trx/trx_fixture.hpp"

#include <ferrowcore/ferrowcore.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace ferrow {
namespace {

using test::Samples;

constexpr long long kCentre = 14095600;
constexpr std::size_t kBlock = 512;

void* transceiver = nullptr;
void* gain = nullptr;
std::vector<float> heard;
double lastSquelch = 0;
bool lastSwitch = false;

class NoiseReduction : public ::testing::Test {
protected:
    void SetUp() override {
        transceiver = gain = nullptr;
        heard.clear();
        fake->addReceiver(kCentre, 48000);
        Radio_bindvtrxAdded(radio, [](void* handle, long long, int, int) { transceiver = handle; });
        Radio_setcanTransmit(radio, true);
        Radio_addVtrx(radio, kCentre, 0, 0);
        ASSERT_TRUE(pumpFor([] { return transceiver != nullptr; }));
        vtrx_bindrxagc(transceiver, [](void* handle) { gain = handle; });
        ASSERT_TRUE(pumpFor([] { return gain != nullptr; }));
        vtrx_setmuted(transceiver, true);
        vtrx_bindnewAudio(transceiver, [](void* array) {
            heard.insert(heard.end(), floatArray_data(array),
                         floatArray_data(array) + floatArray_size(array));
            floatArray_delete(array);
        });
        vtrx_setSendAudio(transceiver, true);
        vtrx_setModulation(transceiver, mode);
        vtrx_setRxFilter(transceiver, 100, 4000);
        agc_setEnabled(gain, false);
        agc_setManualGain(gain, 0); // gain 1
        vtrx_start(transceiver);
    }
    void TearDown() override {
        vtrx_remove(transceiver);
        asyncObject_release(mode);
        agc_release(gain);
        asyncObject_release(transceiver);
        asyncObject_release(radio);
        const std::weak_ptr<FakeRadio> left = fake;
        fake.reset();
        EXPECT_TRUE(pumpFor([&] { return left.expired(); }));
    }

    using FakeRadio = test::FakeRadio;

    static bool pumpFor(const std::function<bool()>& done) {
        return test::waitFor([&] {
            getUpdates();
            return done();
        });
    }

    // Waits until everything that the host set is in force.
    static void settled() {
        test::settle(rootSyncTask);
        test::settle((*static_cast<Handle*>(transceiver))->context());
    }

    void reduce(bool on, double percent = 80) {
        modDemod_setrnnoise(mode, on);
        modDemod_setrnnoiseSquelch(mode, percent);
        settled();
    }

    // Blocks from `next` through the receiver; the sound of them.
    std::vector<float> run(std::size_t blocks, const std::function<std::complex<float>()>& next) {
        settled();
        const std::size_t before = heard.size();
        for (std::size_t i = 0; i < blocks; ++i) {
            fake->deliverSamples([&](std::complex<float>* to,
                                     std::size_t count) { std::generate_n(to, count, std::ref(next)); },
                                 kBlock, 0);
            EXPECT_TRUE(pumpFor([&] { return heard.size() >= before + (i + 1) * kBlock; }));
        }
        return {heard.begin() + static_cast<std::ptrdiff_t>(before), heard.end()};
    }

    // A tone of 1500 Hz above vfo.
    static std::function<std::complex<float>()> tone(double amplitude) {
        return [n = 0L, amplitude]() mutable {
            const double phase = -2 * std::numbers::pi * static_cast<double>(n++ % 32) / 32;
            return std::complex<float>(std::polar(amplitude, phase));
        };
    }
    static std::function<std::complex<float>()> hiss(float amplitude, unsigned seed = 1) {
        return
            [random = std::mt19937(seed), normal = std::normal_distribution<float>(0, amplitude)]() mutable {
                return std::complex<float>(normal(random), normal(random));
            };
    }

    static std::vector<float> end(const std::vector<float>& x, std::size_t blocks) {
        return {x.end() - static_cast<std::ptrdiff_t>(blocks * kBlock), x.end()};
    }
    static double level(const std::vector<float>& x) {
        const double sum = std::inner_product(x.begin(), x.end(), x.begin(), 0.0);
        return 10 * std::log10(sum / static_cast<double>(x.size()) + 1e-30);
    }
    static double amplitude(const std::vector<float>& x) { return test::toneAmplitude(x, 1500, 48000); }

    test::Runtime runtime;
    std::shared_ptr<FakeRadio> fake = std::make_shared<FakeRadio>(rootSyncTask);
    void* radio = makeHandle<asyncObject>(fake);
    void* mode = ssbModDemod_create();
};

TEST_F(NoiseReduction, TheSwitchAndItsPercentageAreTold) {
    modDemod_bindrnnoise(mode, [](bool value) { lastSwitch = value; });
    modDemod_bindrnnoiseSquelch(mode, [](double value) { lastSquelch = value; });
    reduce(true, 55);
    // A host is not told what it has set itself; the values stand all the same.
    auto object = std::dynamic_pointer_cast<modDemod>(*static_cast<Handle*>(mode));
    EXPECT_TRUE(object->rnnoise.value());
    EXPECT_EQ(object->rnnoiseSquelch.value(), 55);
}

TEST_F(NoiseReduction, TakesNoiseAwayByThePercentageOfItsGains) {
    agc_setAttack(gain, 1e9f); // the gain behind stays at its bound: 10 dB
    agc_setDecay(gain, 1e9f);
    const double off = level(end(run(150, hiss(0.02f)), 60));
    std::vector<double> fall;
    for (const double percent : {0.0, 40.0, 80.0, 100.0}) {
        reduce(true, percent);
        fall.push_back(off + 10 - level(end(run(150, hiss(0.02f)), 60)));
    }
    RecordProperty("fall", fmt::format("{:.1f} {:.1f} {:.1f} {:.1f} dB", fall[0], fall[1], fall[2], fall[3]));
    EXPECT_NEAR(fall[0], 0, 0.3);
    EXPECT_NEAR(fall[1], 4.4, 1);
    EXPECT_NEAR(fall[2], 13, 2.5);
    EXPECT_GT(fall[3], 18);
}

TEST_F(NoiseReduction, AtZeroTheBlocksComeOneLaterAndHighPassed) {
    agc_setAttack(gain, 1e9f);
    agc_setDecay(gain, 1e9f);
    vtrx_setRxFilter(transceiver, 20,
                     20000); // beside empty bands the pitch filter's energies take a little away
    const std::vector<float> plain = run(40, hiss(0.02f));
    run(20, [] { return std::complex<float>(); }); // the filter forgets
    reduce(true, 0);
    const std::vector<float> reduced = run(40, hiss(0.02f));
    std::vector<double> passed;
    double m0 = 0, m1 = 0;
    for (const double x : plain) {
        passed.push_back(x + m0);
        m0 = m1 + (-2.0 * x + 1.9959900379180908 * passed.back());
        m1 = x - 0.9959999918937683 * passed.back();
    }
    double error = 0, power = 0;
    for (std::size_t i = 6 * kBlock; i < reduced.size(); ++i) {
        const double e = reduced[i] / std::sqrt(10.0) - passed[i - kBlock];
        error += e * e;
        power += passed[i - kBlock] * passed[i - kBlock];
    }
    EXPECT_LT(10 * std::log10(error / power), -70);
}

TEST_F(NoiseReduction, TheGainBehindBringsBackAtMost10Db) {
    reduce(true, 0);
    EXPECT_NEAR(amplitude(end(run(120, tone(0.01)), 40)), 0.01 * std::sqrt(10.0), 2e-4);
    // A loud one it brings to five sixths of full scale, as rxagc would.
    EXPECT_NEAR(amplitude(end(run(120, tone(0.95)), 40)), 1 / 1.2, 0.01);
}

TEST_F(NoiseReduction, MaxGainOfRxagcDoesNotMatterToTheGainBehind) {
    agc_setMaxGain(gain, 60);
    reduce(true, 0);
    EXPECT_NEAR(amplitude(end(run(120, tone(0.001)), 40)), 0.001 * std::sqrt(10.0), 2e-5);
}

TEST_F(NoiseReduction, VolumeActsOnceAndBehindTheNetwork) {
    reduce(true, 0);
    agc_setVolume(gain, 0.25f);
    EXPECT_NEAR(amplitude(end(run(120, tone(0.01)), 40)), 0.25 * 0.01 * std::sqrt(10.0), 5e-5);
    // Were it applied before, the gain behind would make up for it.
    EXPECT_NEAR(amplitude(end(run(120, tone(0.95)), 40)), 0.25 / 1.2, 0.003);
    agc_setVolume(gain, 0);
    for (const float x : run(10, tone(0.95)))
        ASSERT_EQ(x, 0);
    reduce(false);
    agc_setVolume(gain, 0.5f);
    EXPECT_NEAR(amplitude(end(run(60, tone(0.2)), 20)), 0.1, 1e-3) << "the switch off";
}

TEST_F(NoiseReduction, TimesAreCopiedFromRxagcBeforeEachBlock) {
    reduce(true, 0);
    agc_setHang(gain, 0);
    agc_setDecay(gain, 0.05f);
    run(60, tone(0.95)); // the gain behind falls to 1 / (1.2 * 0.95)
    const double quick = amplitude(end(run(60, tone(0.01)), 10));
    EXPECT_NEAR(quick, 0.01 * std::sqrt(10.0), 5e-4);
    run(60, tone(0.95));
    agc_setDecay(gain, 2000);
    const double slow = amplitude(end(run(60, tone(0.01)), 10));
    EXPECT_LT(slow, 0.7 * quick);
    agc_setDecay(gain, 0.05f);
    agc_setHang(gain, 5);
    run(60, tone(0.95));
    EXPECT_NEAR(amplitude(end(run(100, tone(0.01)), 10)), 0.01 / (1.2 * 0.95), 5e-4) << "it hangs";
}

TEST_F(NoiseReduction, AfterATransmissionItIsSilentFor29BlocksAndTheGainStandsFor21More) {
    reduce(true, 0);
    run(60, tone(0.01)); // the gain behind is at its bound
    vtrx_setptt(transceiver, true);
    settled();
    const std::size_t before = heard.size();
    fake->deliverSamples(
        [next = tone(0.9)](std::complex<float>* to, std::size_t count) mutable {
            std::generate_n(to, count, std::ref(next));
        },
        kBlock, 0);
    settled();
    getUpdates();
    EXPECT_EQ(heard.size(), before) << "while it transmits there is no sound to tell of";
    vtrx_setptt(transceiver, false);
    const std::vector<float> sound = run(90, tone(0.9));
    // One more block, in which the last overlap of before dies away, is the first.
    EXPECT_LT(level({sound.begin() + kBlock, sound.begin() + 29 * kBlock}), -60);
    const std::vector<float> frozen(sound.begin() + 34 * kBlock, sound.begin() + 49 * kBlock);
    EXPECT_EQ(*std::max_element(frozen.begin(), frozen.end()), 1) << "0.9 times the frozen gain is limited";
    EXPECT_NEAR(amplitude(end(sound, 10)), 1 / 1.2, 0.02);
}

TEST_F(NoiseReduction, SwitchedOffItStandsStillAndResumesWithItsMemories) {
    reduce(true, 0);
    run(30, tone(0.5));
    reduce(false);
    // The sound comes straight from the filter again.
    EXPECT_NEAR(amplitude(end(run(30, tone(0.5)), 10)), 0.5, 0.01);
    const auto silence = [] { return std::complex<float>(); };
    for (const float x : end(run(10, silence), 4))
        ASSERT_EQ(x, 0);
    reduce(true, 0);
    EXPECT_GT(level(run(1, silence)), -20) << "the tone's last frame was still to come";
    EXPECT_LT(level(end(run(20, silence), 4)), -60);
}

TEST_F(NoiseReduction, AbsurdPercentagesAreHarmless) {
    for (const double percent : {-1e300, 1e300, std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN(), 1e-320}) {
        reduce(true, percent);
        for (const float x : run(5, hiss(0.1f)))
            ASSERT_LE(std::abs(x), 1) << percent;
    }
    reduce(true, 0);
    EXPECT_GT(level(end(run(20, tone(0.5)), 5)), -10);
}

// Answers with blocks of any size that hold a tone of 1500 Hz going on from block to block.
class OddBlocks : public modDemod {
public:
    OddBlocks(std::shared_ptr<syncTask> context, std::size_t size)
        : modDemod(std::move(context)), size_(size) {}
    buff<float> demodulate(buff<std::complex<float>>) override {
        buff<float> out(size_);
        for (float& x : out)
            x = static_cast<float>(0.01 *
                                   std::sin(2 * std::numbers::pi * static_cast<double>(n_++ % 32) / 32));
        return out;
    }

private:
    std::size_t size_;
    long n_ = 0;
};

class OddSizes : public test::TrxTest, public ::testing::WithParamInterface<std::size_t> {};

// They pass through a block of 512 of their own, so that the stream goes on without a gap.
TEST_P(OddSizes, BlocksOfOtherSizesPassThroughABufferOf512) {
    static std::vector<float> out;
    out.clear();
    radio->addReceiver(kCentre, 48000);
    auto odd = std::make_shared<OddBlocks>(rootSyncTask, GetParam());
    auto t = listen(kCentre, odd);
    on(*t, [&] {
        odd->rnnoise.set(true);
        odd->rnnoiseSquelch.set(0);
        t->rxagc.value()->Enabled.set(false);
        t->rxagc.value()->ManualGain.set(0);
        t->SendAudio.setFromHost(true);
    });
    t->newAudio.bind(
        [](void* array) {
            auto* block = static_cast<buff<float>*>(array);
            out.insert(out.end(), block->begin(), block->end());
            delete block;
        },
        t.get());
    const std::size_t blocks = 40000 / GetParam();
    for (std::size_t i = 0; i < blocks; ++i) {
        feed(*t, Samples(kBlock, 0.0f), kCentre, 48000);
        pumpUpdates();
    }
    ASSERT_EQ(out.size(), blocks * GetParam());
    for (std::size_t i = 0; i < kBlock; ++i)
        ASSERT_EQ(out[i], 0) << "nothing has been through yet";
    const std::vector<float> steady(out.end() - 16384, out.end());
    EXPECT_NEAR(test::toneAmplitude(steady, 1500, 48000), 0.01 * std::sqrt(10.0), 2e-4);
    double power = 0;
    for (const float x : steady)
        power += x * x;
    EXPECT_NEAR(std::sqrt(2 * power / 16384), 0.01 * std::sqrt(10.0), 2e-4) << "nothing but the tone: no gap";
}
INSTANTIATE_TEST_SUITE_P(Sizes, OddSizes, ::testing::Values(100, 511, 513, 1024, 4096));

} // namespace
} // namespace ferrow
