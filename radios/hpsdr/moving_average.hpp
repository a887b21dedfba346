// Mean of the last `capacity` values, with a running sum.
#pragma once

#include <cstddef>
#include <vector>

namespace ferrow {

class MovingAverage {
public:
    explicit MovingAverage(std::size_t capacity) : values(capacity) { feed(1.0); }

    void feed(double value) {
        if (filled < values.size()) {
            total += value;
            ++filled;
        } else {
            total += value - values[position];
        }
        values[position] = value;
        position = position + 1 == values.size() ? 0 : position + 1;
    }

    void clear() {
        filled = 0;
        total = 0.0;
    }

    bool full() const { return filled == values.size(); }
    std::size_t count() const { return filled; }
    double sum() const { return total; }
    double mean() const { return total / static_cast<double>(filled); }

private:
    std::vector<double> values;
    std::size_t filled = 0;
    std::size_t position = 0;
    double total = 0.0;
};

} // namespace ferrow
