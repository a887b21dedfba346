// How often something may happen.
#pragma once

#include <algorithm>
#include <chrono>

namespace ferrow::serve {

// So many a second on average, and so many at once.
class TokenBucket {
public:
    using Clock = std::chrono::steady_clock;

    TokenBucket(double rate, double burst, Clock::time_point now)
        : rate_(rate), burst_(burst), left_(burst), last_(now) {}

    // False if this one is too many.
    bool take(Clock::time_point now) {
        left_ = std::min(burst_, left_ + rate_ * std::chrono::duration<double>(now - last_).count());
        last_ = now;
        if (left_ < 1)
            return false;
        left_ -= 1;
        return true;
    }

private:
    double rate_, burst_, left_;
    Clock::time_point last_;
};

} // namespace ferrow::serve
