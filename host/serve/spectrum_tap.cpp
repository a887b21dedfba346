#include "host/serve/spectrum_tap.hpp"

#include <algorithm>

namespace ferrow::serve {

void SpectrumTap::take(const Spectrum& spectrum) {
    const double rate = rate_.load(std::memory_order_relaxed);
    const auto bins = static_cast<std::size_t>(bins_.load(std::memory_order_relaxed));
    const auto now = Clock::now();
    if (rate <= 0 || now < due_ || spectrum.decibel.size() < bins)
        return;
    // On average the rate that was asked for, though frames come when they come.
    const auto period =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / rate));
    due_ = std::max(due_ + period, now + period / 2);
    peer_->send(OutgoingFrame{
        false, std::make_shared<const Bytes>(encodeSpectrum(id_, sequence_++, spectrum, bins))});
}

} // namespace ferrow::serve
