#include "modes/fsk_mod_demod.hpp"
#include "modes/hell_font.hpp"
#include "modes/hellschreiber_mod_demod.hpp"
#include "tests/modes/mode_fixture.hpp"

#include <atomic>
#include <limits>

namespace ferrow {
namespace {

using test::sentText;
using test::Signal;

constexpr std::size_t kRow = 1600, kColumn = 8 * kRow;

void onSent(const char* text) {
    sentText += text;
}

class Hell : public test::ModeTest {
protected:
    std::shared_ptr<hellschreiberModDemod> mode;

    void SetUp() override {
        mode = use<hellschreiberModDemod>();
        mode->sentChars.bind(onSent, mode.get());
    }
};

// Level of a tone above the tuned frequency where the pulse of row `row` (from the start) is at its peak.
double level(const Signal& signal, std::size_t row, double hertz, std::size_t length = kRow) {
    std::complex<double> sum = 0;
    double weight = 0;
    for (std::size_t i = 0; i < 2 * length && row * length + i < signal.size(); ++i) {
        const double w =
            0.5 - 0.5 * std::cos(std::numbers::pi * static_cast<double>(i) / static_cast<double>(length));
        const std::size_t n = row * length + i;
        sum += w * std::complex<double>(signal[n]) *
               std::polar(1.0,
                          2 * std::numbers::pi * std::fmod(hertz * static_cast<double>(n), 48000.0) / 48000);
        weight += w * w;
    }
    return std::abs(sum) / weight;
}

// The column bytes that the raster shows, read by its tones.
std::vector<unsigned> columns(const Signal& signal, std::size_t count, double step = 30,
                              std::size_t length = kRow) {
    std::vector<unsigned> out;
    for (std::size_t column = 0; column < count; ++column) {
        unsigned bits = 0;
        for (std::size_t row = 0; row < 8; ++row) // the lowest tone and bit first
            if (level(signal, column * 8 + row, 1300 - static_cast<double>(7 - row) * step, length) > 0.45)
                bits |= 1u << row;
        out.push_back(bits);
    }
    return out;
}

TEST(HellFont, AgreesWithTheEntriesGiven) {
    const std::vector<HellGlyph> given{
        {5, {0x00, 0x00, 0x00, 0x00, 0x00}}, {5, {0xF2, 0x00, 0x00, 0x00, 0x00}},
        {3, {0xE0, 0x00, 0xE0, 0x00, 0x00}}, {5, {0x28, 0xFE, 0x28, 0xFE, 0x28}},
        {5, {0x24, 0x54, 0xFE, 0x54, 0x48}}, {5, {0xC4, 0xC8, 0x10, 0x26, 0x46}},
        {5, {0x6C, 0x92, 0xAA, 0x44, 0x0A}}};
    for (std::size_t i = 0; i < given.size(); ++i) {
        EXPECT_EQ(hellFont[i].width, given[i].width) << i;
        EXPECT_EQ(hellFont[i].columns, given[i].columns) << i;
    }
}

TEST(HellFont, EveryGlyphFitsItsFormAndIsItsOwn) {
    for (std::size_t i = 0; i < hellFont.size(); ++i) {
        EXPECT_GE(hellFont[i].width, 1);
        EXPECT_LE(hellFont[i].width, 5);
        for (std::size_t c = 0; c < 5; ++c) {
            EXPECT_EQ(hellFont[i].columns[c] & 1, 0) << i;
            if (c >= hellFont[i].width) {
                EXPECT_EQ(hellFont[i].columns[c], 0) << i;
            }
        }
        for (std::size_t k = 0; k < i; ++k)
            EXPECT_NE(hellFont[i].columns, hellFont[k].columns) << i << " " << k;
    }
}

TEST_F(Hell, DefaultsAreThoseOfTheTable) {
    EXPECT_EQ(mode->frequencyStep.value(), 30.0);
    EXPECT_EQ(mode->sampleRate(), 48000);
}

// The raster of every character, read back by its tones.
TEST_F(Hell, ThePaintedTextIsTheFont) {
    std::string text;
    for (int c = 32; c < 128; ++c)
        if (c != '~')
            text += static_cast<char>(c);
    mode->QueueText(text, 0);
    std::vector<unsigned> expected;
    for (const char c : text) {
        const HellGlyph& glyph = hellFont[static_cast<std::size_t>(c - 32)];
        expected.push_back(0);
        expected.insert(expected.end(), glyph.columns.begin(), glyph.columns.begin() + glyph.width);
    }
    const Signal signal = pull(*mode, (expected.size() + 1) * kColumn);
    EXPECT_EQ(columns(signal, expected.size()), expected);
    pumpUpdates();
    EXPECT_EQ(sentText.substr(0, text.size()), text);
}

TEST_F(Hell, ARowLastsOneOverTheStep) {
    for (const double step : {30.0, 20.0, 37.0}) {
        auto other = std::make_shared<hellschreiberModDemod>(rootSyncTask);
        other->frequencyStep.set(step);
        const auto length = static_cast<std::size_t>(48000 / step);
        other->QueueText("H", 0);
        const Signal signal = pull(*other, 7 * 8 * length);
        const auto& h = hellFont['H' - 32].columns;
        EXPECT_EQ(columns(signal, 6, step, length), (std::vector<unsigned>{0, h[0], h[1], h[2], h[3], h[4]}))
            << step;
    }
}

TEST_F(Hell, PulsesOverlapWithoutAGap) {
    mode->QueueText("#", 0);
    const Signal signal = pull(*mode, 7 * kColumn);
    // The second drawn column is solid from row 1 to row 7: at every row's start one pulse is at its peak.
    double peak = 0;
    for (std::size_t row = 2 * 8 + 2; row <= 2 * 8 + 8; ++row)
        EXPECT_NEAR(std::abs(signal[row * kRow]), 0.9, 0.01) << row;
    for (const auto& sample : signal)
        peak = std::max(peak, static_cast<double>(std::abs(sample)));
    EXPECT_LE(peak, 0.9001);
    for (std::size_t i = 1; i < signal.size(); ++i) // 0.9 at 1300 Hz turns by 0.154 a sample
        ASSERT_LT(std::abs(signal[i] - signal[i - 1]), 0.16) << i;
    EXPECT_EQ(signal[0], std::complex<float>());
}

TEST_F(Hell, AnEmptyRingSendsSpaces) {
    for (const auto& sample : pull(*mode, 12 * kColumn))
        ASSERT_EQ(sample, std::complex<float>());
    pumpUpdates();
    EXPECT_EQ(sentText, "");
}

TEST_F(Hell, TheTerminatorEndsTheTransmissionAndIsNotSent) {
    press(true);
    mode->QueueText("!~", 0);
    pull(*mode, 6 * kColumn);
    test::settle(t->context());
    EXPECT_TRUE(onAir());
    const Signal behind = pull(*mode, 6 * kColumn);
    test::settle(t->context());
    EXPECT_FALSE(onAir());
    for (std::size_t i = kRow; i < behind.size(); ++i) // the last pulse of "!" may fall yet
        ASSERT_EQ(behind[i], std::complex<float>());
    pumpUpdates();
    EXPECT_EQ(sentText, "!~");
}

TEST_F(Hell, BytesOutsideTheFontAreBlanks) {
    mode->QueueText("\n\xE4\x1F!", 0);
    const auto read = columns(pull(*mode, 25 * kColumn), 24);
    EXPECT_EQ(std::vector<unsigned>(read.begin(), read.begin() + 19), std::vector<unsigned>(19, 0));
    EXPECT_EQ(read[19], 0xF2u);
}

TEST_F(Hell, BadStepsAreHarmless) {
    mode->QueueText(std::string(200, '#'), 0);
    for (const double bad :
         {0.0, -1.0, std::nan(""), 1e300, 1e-300, std::numeric_limits<double>::infinity(), 48000.0}) {
        mode->frequencyStep.set(bad);
        for (const auto& sample : pull(*mode, 20000)) {
            ASSERT_TRUE(std::isfinite(sample.real())) << bad;
            ASSERT_LE(std::abs(sample), 0.91);
        }
    }
}

TEST_F(Hell, ReceptionReturnsTheRealPart) {
    for (const float sample : hear(*mode, Signal(512, {0.25f, 0.5f})))
        ASSERT_EQ(sample, 0.25f);
}

TEST_F(Hell, SendsReceivesAndChangesAtOnce) {
    whileBusy(*mode, Signal(5120), [&] {
        for (int i = 0; i < 200; ++i) {
            on(*mode, [&] {
                mode->QueueText("HELL~", 0);
                mode->frequencyStep.setFromHost(1000.0 + i);
            });
            press(true);
            pumpUpdates();
        }
    });
}

class Fsk : public test::ModeTest {};

TEST_F(Fsk, KeepsItsNumbersAndReceivesSilence) {
    const auto mode = use<fskModDemod>();
    mode->baud.set(45);
    mode->f0.set(2125);
    mode->f1.set(2295);
    EXPECT_EQ(mode->baud.value(), 45);
    EXPECT_EQ(mode->f0.value(), 2125);
    EXPECT_EQ(mode->f1.value(), 2295);
    const auto audio = hear(*mode, Signal(1024, {0.5f, 0.5f}));
    EXPECT_EQ(audio, std::vector<float>(1024, 0.0f));
}

} // namespace
} // namespace ferrow
