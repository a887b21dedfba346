#include "trx/mod_demod.hpp"

#include "trx/vtrx.hpp"

namespace ferrow {

buff<float> modDemod::demodulate(buff<std::complex<float>>) {
    return {};
}

void modDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>>) {}

void modDemod::setRxFilter(int, int) {}

void modDemod::setTxFilter(int, int) {}

void modDemod::setFrequency(long long) {}

void modDemod::init() {}

void modDemod::setPtt(bool) {}

std::shared_ptr<vtrx> modDemod::vtrxLink() const {
    const std::lock_guard lock(linkMutex_);
    return link_.lock();
}

void modDemod::linkTo(const std::shared_ptr<vtrx>& transceiver) {
    const std::lock_guard lock(linkMutex_);
    link_ = transceiver;
    linked_.store(transceiver.get(), std::memory_order_release);
}

void modDemod::unlinkFrom(const vtrx& transceiver) {
    const std::lock_guard lock(linkMutex_);
    if (!isLinkedTo(transceiver))
        return;
    link_.reset();
    linked_.store(nullptr, std::memory_order_release);
}

buff<float> modDemod::realPart(const buff<std::complex<float>>& block) {
    buff<float> out(block.size());
    for (std::size_t i = 0; i < block.size(); ++i)
        out[i] = block[i].real();
    return out;
}

} // namespace ferrow
