#include "modes/fixed_band_voice.hpp"

#include "core/audio/wireless.hpp"
#include "modes/bounded_number.hpp"
#include "trx/dsp/bandpass_design.hpp"
#include "trx/dsp/weighted_bandpass.hpp"

namespace ferrow {

namespace {

constexpr float kScale = 0.97f;
constexpr float kHigh = 3000; // Hz, upper edge of all filters
constexpr double kCurveFrom = 300;

bool same(const std::weak_ptr<Wireless>& a, const std::weak_ptr<Wireless>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

VoiceChain::Samples bandTaps(float low) {
    return designBandpass(low, kHigh, VoiceChain::kRate, VoiceChain::kCleanTaps, VoiceChain::kCleanTaps);
}

} // namespace

fixedBandVoice::fixedBandVoice(std::shared_ptr<syncTask> context, float low, Emphasis emphasis,
                               const char* curveLabel)
    : modDemod(std::move(context)), low_(low), emphasis_(emphasis), curveLabel_(curveLabel), chain_(kScale),
      shapeFilter_(bandTaps(low)) {
    chain_.loadClean(bandTaps(low));
    followCurve();
}

void fixedBandVoice::init() {
    followCurve();
}

void fixedBandVoice::setPtt(bool on) {
    if (on)
        followCurve();
}

VoiceChain::Samples fixedBandVoice::equaliserTaps(const buff<float>& curve) const {
    constexpr std::size_t n = VoiceChain::kEqTaps;
    return weightedBandpass(low_, kHigh, VoiceChain::kRate, n, [&](std::size_t bin, double frequency) {
        if (frequency < kCurveFrom || frequency >= kHigh)
            return 1.0;
        return emphasis_(frequency) * boundedNumber(curve[n - 1 - bin], VoiceChain::kMaxGain);
    });
}

void fixedBandVoice::followCurve() {
    const std::lock_guard lock(designing_);
    asked_.store(false, std::memory_order_release); // a change from here on asks again
    const auto application = Wireless::current();
    const std::uint64_t generation = application ? application->micEqGeneration() : 0;
    if (designed_ && same(source_, application) && generation_ == generation)
        return;
    designed_ = true;
    source_ = application;
    generation_ = generation;
    Equaliser& next = equaliser_.draft();
    next = {equaliserTaps(application ? application->microphoneEq() : buff<float>(Wireless::kEqPoints, 1.0f)),
            source_, generation};
    equaliser_.publish();
}

bool fixedBandVoice::curveChanged() const {
    const auto source = equaliser_.current().source.lock();
    return source && source->micEqGeneration() != equaliser_.current().generation;
}

const VoiceChain::Samples& fixedBandVoice::shape(const VoiceChain::Samples& in, double compression) {
    if (equaliser_.take())
        chain_.loadEq(equaliser_.current().taps);
    if (curveChanged() && !asked_.exchange(true, std::memory_order_acq_rel))
        queueSeqItem(seqTask(curveLabel_, [self = std::static_pointer_cast<fixedBandVoice>(
                                               shared_from_this())] { self->followCurve(); }));
    chain_.process(in, compression, shapeFilter_.input);
    shapeFilter_.run();
    return shapeFilter_.output;
}

} // namespace ferrow
