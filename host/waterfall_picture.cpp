#include "host/waterfall_picture.hpp"

#include "host/bitmap_font.hpp"
#include "host/frequency.hpp"
#include "host/level_range.hpp"
#include "host/terminal_waterfall.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {
namespace {

constexpr Colour kBackground{18, 20, 28}, kInk{232, 234, 240}, kFaint{110, 116, 130}, kLine{255, 214, 92};

constexpr int kBorder = 12;
constexpr int kLineHeight = kGlyphHeight + 4;
constexpr int kAxisHeight = 20;
constexpr int kTitleScale = 2;
constexpr int kTitleHeight = kGlyphHeight * kTitleScale + 8;
constexpr int kPixelsPerTick = 90;
constexpr double kSpan = 55, kBelow = 10; // dB of the colours, and of them under the noise

// Puts each label on the lowest line where it does not touch another one; `ends` says for each line, where
// its last label ends.
int lineFor(std::vector<int>& ends, int from, int to) {
    for (std::size_t i = 0; i < ends.size(); ++i) {
        if (from > ends[i] + kGlyphWidth) {
            ends[i] = to;
            return static_cast<int>(i);
        }
    }
    ends.push_back(to);
    return static_cast<int>(ends.size()) - 1;
}

struct Label {
    PlacedLabel placed;
    int x = 0, line = 0;
};

std::vector<Label> layOut(const WaterfallPanel::Snapshot& panel, int left, int width, int& lines) {
    auto marks = panel.marks;
    std::sort(marks.begin(), marks.end(),
              [](const Mark& a, const Mark& b) { return a.frequency < b.frequency; });
    std::vector<Label> labels;
    std::vector<int> ends;
    for (const Mark& mark : marks) {
        const int column = panel.columnOf(mark.frequency);
        if (column < 0 || column >= panel.columns())
            continue;
        const int textWidth = Image::textWidth(mark.label);
        const int x = std::clamp(left + column - textWidth / 2, 0, std::max(0, width - textWidth));
        labels.push_back({{mark.label, mark.frequency, column}, x, lineFor(ends, x, x + textWidth)});
    }
    lines = static_cast<int>(ends.size());
    return labels;
}

void drawAxis(Image& image, const WaterfallPanel::Snapshot& panel, int left, int top) {
    image.fill(left, top, panel.columns(), 1, kFaint);
    const double step = tickStep(kPixelsPerTick * panel.perPixel);
    const double last = panel.first + panel.perPixel * panel.columns();
    for (double f = std::ceil(panel.first / (step / 5)) * (step / 5); f < last; f += step / 5) {
        const int x = left + panel.columnOf(f);
        const bool major = std::abs(std::remainder(f, step)) < step / 100;
        image.column(x, top + 1, top + (major ? 6 : 3), kFaint);
        if (!major)
            continue;
        const std::string text = showMegahertz(std::round(f));
        const int at = x - Image::textWidth(text) / 2;
        if (at >= 0 && at + Image::textWidth(text) <= image.width())
            image.text(at, top + 9, text, kInk);
    }
}

void drawRows(Image& image, const WaterfallPanel::Snapshot& panel, int left, int top) {
    LevelRange range(kSpan, kBelow);
    for (const auto& row : panel.rows)
        range.follow(row, kNoSpectrum);
    int y = top;
    for (const auto& row : panel.rows) {
        int x = left;
        for (const float value : row)
            image.set(x++, y, waterfallColour(range.level(value)));
        ++y;
    }
}

} // namespace

WaterfallPanel::WaterfallPanel(std::string title, double low, double high, std::chrono::milliseconds rowTime)
    : title_(std::move(title)), low_(low), high_(high), rowTime_(rowTime) {}

void WaterfallPanel::setMarks(std::vector<Mark> marks) {
    const std::lock_guard lock(mutex_);
    marks_ = std::move(marks);
}

void WaterfallPanel::add(const Spectrum& spectrum) {
    const std::lock_guard lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (rows_.empty() && summed_ == 0) {
        const auto bins = static_cast<double>(spectrum.decibel.size());
        const double from = std::clamp(std::round(spectrum.binOf(low_)), 0.0, bins - 1);
        const double to = std::clamp(std::round(spectrum.binOf(high_)), from, bins - 1);
        firstBin_ = static_cast<std::size_t>(from);
        first_ = spectrum.frequencyOf(from);
        perPixel_ = spectrum.binWidth();
        sum_.assign(static_cast<std::size_t>(to - from) + 1, 0.0);
        rowStart_ = now;
    }
    // A display that has moved would put signals at the wrong place.
    if (std::abs(spectrum.frequencyOf(static_cast<double>(firstBin_)) - first_) > 0.25 * perPixel_ ||
        std::abs(spectrum.binWidth() - perPixel_) > 1e-6 * perPixel_)
        return;
    for (std::size_t i = 0; i < sum_.size(); ++i)
        sum_[i] += std::pow(10.0, static_cast<double>(spectrum.decibel[firstBin_ + i]) / 10);
    ++summed_;
    if (now - rowStart_ >= rowTime_) {
        finishRow();
        rowStart_ = now;
    }
}

void WaterfallPanel::finishRow() {
    std::vector<float> row(sum_.size());
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = static_cast<float>(10 * std::log10(sum_[i] / summed_ + 1e-38));
    rows_.push_back(std::move(row));
    std::fill(sum_.begin(), sum_.end(), 0.0);
    summed_ = 0;
}

WaterfallPanel::Snapshot WaterfallPanel::snapshot() const {
    const std::lock_guard lock(mutex_);
    return {title_, marks_, first_, perPixel_, rows_};
}

int WaterfallPanel::Snapshot::columnOf(double frequency) const {
    return static_cast<int>(std::lround((frequency - first) / perPixel));
}

std::vector<float> WaterfallPanel::Snapshot::mean() const {
    std::vector<double> sum(static_cast<std::size_t>(columns()));
    for (const auto& row : rows)
        for (std::size_t i = 0; i < sum.size(); ++i)
            sum[i] += std::pow(10.0, static_cast<double>(row[i]) / 10);
    std::vector<float> mean(sum.size());
    for (std::size_t i = 0; i < sum.size(); ++i)
        mean[i] = static_cast<float>(10 * std::log10(sum[i] / static_cast<double>(rows.size()) + 1e-38));
    return mean;
}

PicturePanel drawPanel(const WaterfallPanel::Snapshot& panel) {
    const int left = kBorder;
    const int width = panel.columns() + 2 * kBorder;
    int lines = 0;
    const auto labels = layOut(panel, left, width, lines);
    const int labelsTop = kTitleHeight;
    const int rowsTop = labelsTop + lines * kLineHeight + 4;
    const int height = rowsTop + static_cast<int>(panel.rows.size()) + kAxisHeight;
    PicturePanel result{Image(width, height, kBackground), left, {}};
    result.image.text(left, 4, panel.title, kInk, kTitleScale);
    drawRows(result.image, panel, left, rowsTop);
    // Line 0 is the lowest, so that lines cross as few labels as can be.
    for (const Label& label : labels) {
        const int y = labelsTop + (lines - 1 - label.line) * kLineHeight;
        result.image.column(left + label.placed.column, y + kGlyphHeight + 1, rowsTop + 3, kLine);
    }
    for (const Label& label : labels) {
        const int y = labelsTop + (lines - 1 - label.line) * kLineHeight;
        result.image.fill(label.x - 1, y - 1, Image::textWidth(label.placed.label) + 2, kGlyphHeight + 2,
                          kBackground);
        result.image.text(label.x, y, label.placed.label, kLine);
        result.labels.push_back(label.placed);
    }
    drawAxis(result.image, panel, left, height - kAxisHeight);
    return result;
}

Image drawPicture(const std::string& title, const std::vector<PicturePanel>& panels) {
    int width = Image::textWidth(title, kTitleScale) + 2 * kBorder;
    int height = title.empty() ? 0 : kTitleHeight + kBorder;
    for (const PicturePanel& panel : panels) {
        width = std::max(width, panel.image.width());
        height += panel.image.height() + kBorder;
    }
    Image picture(width, height, kBackground);
    int top = 0;
    if (!title.empty()) {
        picture.text(kBorder, kBorder, title, kInk, kTitleScale);
        top = kTitleHeight + kBorder;
    }
    for (const PicturePanel& panel : panels) {
        for (int y = 0; y < panel.image.height(); ++y)
            for (int x = 0; x < panel.image.width(); ++x)
                picture.set(x, top + y, panel.image.at(x, y));
        top += panel.image.height() + kBorder;
    }
    return picture;
}

} // namespace ferrow
