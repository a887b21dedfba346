// A labelled picture of what was received: one or more waterfalls above one another.
#pragma once

#include "host/image.hpp"
#include "host/spectrum.hpp"

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

namespace ferrow {

struct Mark {
    double frequency = 0; // Hz
    std::string label;
};

// One waterfall, one pixel a bin, gathered while frames come in. add() and the rest may be called on
// different threads.
class WaterfallPanel {
public:
    // Shows `low` to `high` Hz, as far as the frames reach; a row is the mean power of `rowTime`.
    WaterfallPanel(std::string title, double low, double high, std::chrono::milliseconds rowTime);

    void add(const Spectrum& spectrum);
    void setMarks(std::vector<Mark> marks);

    struct Snapshot {
        std::string title;
        std::vector<Mark> marks;
        double first = 0;                     // frequency of the middle of column 0, Hz
        double perPixel = 1;                  // Hz
        std::vector<std::vector<float>> rows; // dB, oldest first

        int columns() const { return rows.empty() ? 0 : static_cast<int>(rows.front().size()); }
        // The column whose middle is nearest.
        int columnOf(double frequency) const;
        // Mean power of all rows, dB.
        std::vector<float> mean() const;
    };
    Snapshot snapshot() const;

private:
    void finishRow();

    mutable std::mutex mutex_; // guards all below
    std::string title_;
    double low_, high_;
    std::chrono::milliseconds rowTime_;
    std::vector<Mark> marks_;
    double first_ = 0, perPixel_ = 0;
    std::size_t firstBin_ = 0;
    std::vector<double> sum_; // power
    int summed_ = 0;
    std::chrono::steady_clock::time_point rowStart_;
    std::vector<std::vector<float>> rows_;
};

// Where a label of a panel came to stand.
struct PlacedLabel {
    std::string label;
    double frequency = 0;
    int column = 0; // of its line, counted from the panel's left edge
};

struct PicturePanel {
    Image image;
    int left = 0; // column of the image where the waterfall begins
    std::vector<PlacedLabel> labels;
};

// Title, labels with a line down to their frequency, axis and waterfall.
PicturePanel drawPanel(const WaterfallPanel::Snapshot& panel);

// Panels one below the other.
Image drawPicture(const std::string& title, const std::vector<PicturePanel>& panels);

} // namespace ferrow
