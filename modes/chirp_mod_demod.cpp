#include "modes/chirp_mod_demod.hpp"

#include "modes/chirp/chirp_log.hpp"
#include "trx/vtrx.hpp"

#include <chrono>

namespace ferrow {

namespace {

double centreOf(int frequency) {
    return frequency == 0 ? ChirpWave::kCentre : frequency;
}

} // namespace

chirpyModDemod::chirpyModDemod(const std::shared_ptr<syncTask>& context)
    : modDemod(context), logPath_(chirpLogPath()),
      writer_(std::make_shared<asyncObject>(std::make_shared<syncTask>(context->pool()))) {}

void chirpyModDemod::init() {
    if (const auto link = vtrxLink())
        setPtt(link->ptt.value());
}

void chirpyModDemod::setPtt(bool on) {
    transmitting_.store(on, std::memory_order_release);
    if (on)
        restart_.store(true, std::memory_order_release);
}

buff<float> chirpyModDemod::demodulate(buff<std::complex<float>> block) {
    if (!transmitting_.load(std::memory_order_acquire)) {
        const auto report = receiver_.process(block.span(), centreOf(rxFreq.value()));
        if (report && !logPath_.empty())
            writer_->queueSeqItem(
                seqTask("chirpyModDemod.log",
                        [path = logPath_, line = chirpLogLine(*report, std::chrono::system_clock::now())] {
                            appendChirpLog(path, line);
                        }));
    }
    return realPart(block);
}

void chirpyModDemod::modulate(buff<std::complex<float>>, buff<std::complex<float>> out) {
    if (restart_.exchange(false, std::memory_order_acq_rel))
        transmitter_.restart();
    transmitter_.process(out.span(), centreOf(txFreq.value()));
}

} // namespace ferrow
