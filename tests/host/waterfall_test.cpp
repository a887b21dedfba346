#include "host/level_range.hpp"
#include "host/s_meter.hpp"
#include "host/terminal_waterfall.hpp"
#include "host/waterfall_picture.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <thread>

using namespace ferrow;
using namespace std::chrono_literals;

namespace {

constexpr double kLow = 14'008'000, kHigh = 14'392'000;
constexpr std::size_t kBins = 2048;

// A frame as the library makes it, at -130 dB with a line of -60 dB in the bin nearest to each frequency.
struct Frame {
    explicit Frame(const std::vector<double>& lines, double low = kLow, double high = kHigh)
        : values(kBins, -130.0F) {
        spectrum = {values, low, high, 384000};
        const double width = (high - low) / kBins, centre = (low + high) / 2;
        for (const double f : lines) // the middle bin of the transform is number 1023
            values[static_cast<std::size_t>(1023 + std::lround((f - centre) / width))] = -60;
    }
    std::vector<float> values;
    Spectrum spectrum;
};

const std::vector<double> kLines = {14'030'000, 14'036'500, 14'074'330, 14'100'000,
                                    14'123'456, 14'200'000, 14'250'000};

WaterfallPanel::Snapshot filledPanel(const std::vector<Mark>& marks) {
    WaterfallPanel panel("TEST", 14'020'000, 14'260'000, 0ms);
    panel.setMarks(marks);
    for (int i = 0; i < 30; ++i)
        panel.add(Frame(kLines).spectrum);
    return panel.snapshot();
}

std::vector<Mark> allMarks() {
    std::vector<Mark> marks;
    for (const double f : kLines)
        marks.push_back({f, "STATION"});
    return marks;
}

} // namespace

TEST(SpectrumPlace, BinsAndFrequenciesAreInverse) {
    const Frame frame({});
    EXPECT_DOUBLE_EQ(frame.spectrum.binWidth(), 187.5);
    EXPECT_DOUBLE_EQ(frame.spectrum.frequencyOf(1023), (kLow + kHigh) / 2) << "the display's centre";
    EXPECT_DOUBLE_EQ(frame.spectrum.binOf(frame.spectrum.frequencyOf(17)), 17);
}

TEST(Picture, LabelsStandWithinAPixelOfTheirSignal) {
    const auto snapshot = filledPanel(allMarks());
    const auto mean = snapshot.mean();
    const PicturePanel picture = drawPanel(snapshot);
    ASSERT_EQ(picture.labels.size(), kLines.size());
    for (const PlacedLabel& label : picture.labels) {
        int peak = label.column;
        for (int c = std::max(0, label.column - 5); c <= label.column + 5; ++c)
            if (mean[static_cast<std::size_t>(c)] > mean[static_cast<std::size_t>(peak)])
                peak = c;
        EXPECT_GT(mean[static_cast<std::size_t>(peak)], -70);
        EXPECT_LE(std::abs(peak - label.column), 1) << label.frequency;
    }
}

TEST(Picture, TheSignalIsBrightUnderTheLineOfItsLabel) {
    const PicturePanel picture = drawPanel(filledPanel(allMarks()));
    const int y = picture.image.height() - 40; // in the waterfall
    const auto brightness = [&](int x) {
        const Colour c = picture.image.at(x, y);
        return c.red + c.green + c.blue;
    };
    for (const PlacedLabel& label : picture.labels) {
        const int x = picture.left + label.column;
        EXPECT_GT(std::max({brightness(x - 1), brightness(x), brightness(x + 1)}), brightness(x + 10) + 200);
    }
}

TEST(Picture, ShowsTheRangeThatWasAskedFor) {
    const auto snapshot = filledPanel({});
    EXPECT_NEAR(snapshot.first, 14'020'000, 187.5);
    EXPECT_NEAR(snapshot.columns(), 240'000 / 187.5, 2);
    EXPECT_EQ(snapshot.rows.size(), 30U);
}

TEST(Picture, StationsOutsideGetNoLabel) {
    const auto picture = drawPanel(filledPanel({{14'010'000, "BELOW"}, {14'300'000, "ABOVE"}}));
    EXPECT_TRUE(picture.labels.empty());
}

TEST(Picture, LabelsDoNotCoverOneAnother) {
    std::vector<Mark> crowd;
    for (int i = 0; i < 40; ++i)
        crowd.push_back({14'100'000.0 + 400 * i, "CROWDED " + std::to_string(i)});
    const auto few = drawPanel(filledPanel({crowd.front()}));
    const auto many = drawPanel(filledPanel(crowd));
    EXPECT_EQ(many.labels.size(), crowd.size());
    EXPECT_GT(many.image.height(), few.image.height() + 10 * 7) << "they take more lines";
}

TEST(Picture, AMovedDisplayDoesNotCount) {
    WaterfallPanel panel("TEST", 14'020'000, 14'260'000, 0ms);
    panel.add(Frame(kLines).spectrum);
    panel.add(Frame(kLines, kLow + 5000, kHigh + 5000).spectrum);
    panel.add(Frame(kLines, kLow, kHigh + 192000).spectrum);
    EXPECT_EQ(panel.snapshot().rows.size(), 1U);
}

TEST(Picture, RowsAreMeansOverTime) {
    WaterfallPanel panel("TEST", 14'020'000, 14'260'000, 50ms);
    for (int i = 0; i < 20; ++i) {
        panel.add(Frame(kLines).spectrum);
        std::this_thread::sleep_for(10ms);
    }
    const auto rows = panel.snapshot().rows.size();
    EXPECT_GE(rows, 1U);
    EXPECT_LE(rows, 5U);
}

TEST(Picture, PanelsStandBelowOneAnother) {
    const auto panel = drawPanel(filledPanel(allMarks()));
    const Image picture = drawPicture("TITLE", {panel, panel});
    EXPECT_EQ(picture.width(), panel.image.width());
    EXPECT_GT(picture.height(), 2 * panel.image.height());
}

TEST(TerminalWaterfall, HasAColumnForEachPlaceAndIsBrightAtASignal) {
    TerminalWaterfall waterfall(96);
    const Frame frame({14'200'000});
    const std::string line = waterfall.line(frame.spectrum);
    EXPECT_EQ(std::count(line.begin(), line.end(), ' '), 96);
    EXPECT_TRUE(line.ends_with("\x1b[0m"));
    // The colours change twice: to the signal's and back.
    std::size_t changes = 0;
    for (std::size_t at = 0; (at = line.find("\x1b[48;5;", at)) != std::string::npos; ++at)
        ++changes;
    EXPECT_EQ(changes, 3U);
    const std::size_t second = line.find("\x1b[48;5;", 1);
    EXPECT_EQ(std::count(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(second), ' '),
              waterfall.columnOf(frame.spectrum, 14'200'000));
}

TEST(TerminalWaterfall, AxisPutsFrequenciesAtTheirColumn) {
    const TerminalWaterfall waterfall(120);
    const Frame frame({});
    const std::string axis = waterfall.axis(frame.spectrum);
    EXPECT_EQ(axis.size(), 120U);
    const std::size_t at = axis.find("|14.2 ");
    ASSERT_NE(at, std::string::npos) << axis;
    EXPECT_EQ(static_cast<int>(at), waterfall.columnOf(frame.spectrum, 14'200'000));
}

TEST(TerminalWaterfall, NarrowTerminalsAndEmptyBinsDoNoHarm) {
    Frame frame({});
    for (float& x : frame.values)
        x = kNoSpectrum;
    for (const int columns : {1, 2, 7, 5000}) {
        TerminalWaterfall waterfall(columns);
        const std::string line = waterfall.line(frame.spectrum);
        EXPECT_EQ(std::count(line.begin(), line.end(), ' '), columns);
        EXPECT_EQ(waterfall.axis(frame.spectrum).size(), static_cast<std::size_t>(columns));
    }
}

TEST(Ticks, AreRound) {
    EXPECT_DOUBLE_EQ(tickStep(1), 1);
    EXPECT_DOUBLE_EQ(tickStep(1.5), 2);
    EXPECT_DOUBLE_EQ(tickStep(3000), 5000);
    EXPECT_DOUBLE_EQ(tickStep(60000), 100000);
}

TEST(Levels, FollowTheNoise) {
    LevelRange range(50, 10);
    std::vector<float> line(1000, -120.0F);
    line[10] = -20; // a strong signal is no noise
    range.follow(line, kNoSpectrum);
    EXPECT_NEAR(range.noise(), -120, 0.1);
    EXPECT_NEAR(range.level(-120), 0.2, 0.01);
    EXPECT_NEAR(range.level(-80), 1, 0.01);
}

TEST(SMeter, CountsInUnitsOfSixDecibels) {
    EXPECT_EQ(sUnits(-73, -73), "S9");
    EXPECT_EQ(sUnits(-79, -73), "S8");
    EXPECT_EQ(sUnits(-121, -73), "S1");
    EXPECT_EQ(sUnits(-1800, -73), "S0");
    EXPECT_EQ(sUnits(-53, -73), "S9+20");
    EXPECT_EQ(meterBar(-200, -73, 10), "..........");
    EXPECT_EQ(meterBar(0, -73, 10), "##########");
    EXPECT_EQ(meterBar(-73, -73, 10).find('.'), 5U);
}
