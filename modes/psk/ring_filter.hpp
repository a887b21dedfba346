// The detector's filters: rings of complex samples under symmetric taps.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace ferrow {

// A sample of the mixed-down signal.
struct Iq {
    double i = 0;
    double q = 0;
};

// Each of the published filters by its first half and centre.
extern const std::array<double, 18> kPskDecimatorTaps; // 35 taps
extern const std::array<double, 33> kPskFrequencyTaps; // 65 taps, for level and frequency
extern const std::array<double, 33> kPskBitTaps;       // 65 taps, for timing and decisions

// Taps laid out twice over, each for both components, so that a ring can be met from any of its places
// without a test for its end.
class RingTaps {
public:
    // `half`: the taps from the first to the centre.
    template <std::size_t Half>
    explicit RingTaps(const std::array<double, Half>& half) : RingTaps(half.data(), Half) {}

    std::size_t count() const noexcept { return count_; }

    // The taps for a ring whose newest sample stands at `newest`: for its place p the tap of its age.
    const double* from(std::size_t newest) const noexcept { return table_.data() + 2 * (count_ - newest); }

private:
    RingTaps(const double* half, std::size_t halfCount);

    std::size_t count_;
    std::vector<double> table_;
};

// A ring of N samples that fills from the top down, with room to be read by whole vectors.
template <std::size_t N>
class SampleRing {
public:
    void clear() noexcept { *this = SampleRing(); }

    void push(Iq sample) noexcept {
        newest_ = newest_ == 0 ? N - 1 : newest_ - 1;
        samples_[2 * newest_] = sample.i;
        samples_[2 * newest_ + 1] = sample.q;
    }

    const double* data() const noexcept { return samples_.data(); }
    std::size_t newest() const noexcept { return newest_; }

    static constexpr std::size_t kDoubles = (2 * N + 3) / 4 * 4;

private:
    std::array<double, kDoubles> samples_{}; // the components in turn; zeros behind the end
    std::size_t newest_ = 0;                 // the next one goes to the top
};

// Sum of `samples` times `taps` for both components; `doubles` values, a multiple of 4. The plain form adds
// in one order; the others differ by rounding only.
Iq filterRing_ref(const double* samples, const double* taps, std::size_t doubles);
Iq filterRing(const double* samples, const double* taps, std::size_t doubles);

// Two filters over one ring.
struct IqPair {
    Iq first, second;
};
IqPair filterRingTwice(const double* samples, const double* firstTaps, const double* secondTaps,
                       std::size_t doubles);

} // namespace ferrow
