#include "modes/psk/calc_imd.hpp"

#include <cmath>

namespace ferrow {

namespace {

const std::array<double, 3> kFactors = {2 * std::cos(0.19634954084936218), 2 * std::cos(0.39269908169872436),
                                        2 * std::cos(0.5890486225480865)};

double energyOf(double factor, double last, double before) {
    return last * last + before * before - factor * last * before;
}

} // namespace

void CCalcIMD::process(Iq sample) noexcept {
    for (std::size_t k = 0; k < resonators_.size(); ++k) {
        Resonator& r = resonators_[k];
        const Iq next{sample.i + kFactors[k] * r.last.i - r.before.i,
                      sample.q + kFactors[k] * r.last.q - r.before.q};
        r.before = r.last;
        r.last = next;
    }
    if (++samples_ < kSpan)
        return;
    for (std::size_t k = 0; k < resonators_.size(); ++k) {
        const Resonator& r = resonators_[k];
        energies_[k] =
            energyOf(kFactors[k], r.last.i, r.before.i) + energyOf(kFactors[k], r.last.q, r.before.q);
    }
    clear();
}

void CCalcIMD::clear() noexcept {
    if (samples_ == 0)
        return;
    resonators_ = {};
    samples_ = 0;
}

} // namespace ferrow
