#include "modes/jt_mod_demod.hpp"

#include "core/tasks/log.hpp"
#include "core/tasks/thread_pool.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace ferrow {

namespace {

constexpr std::int64_t kTicksPerMs = 10000;
constexpr int kHalfSecondMs = 500;
constexpr int kMostSamples = 1 << 25;           // 46 minutes at 12000 a second
constexpr double kMixStep = 25.132741228718345; // whole turns
constexpr double kTurn = 6.283185307179586;

std::int64_t systemClock() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100;
}

} // namespace

JTModDemod::JTModDemod(const std::shared_ptr<syncTask>& context)
    : modDemod(context), clock_(systemClock),
      saver_(std::make_shared<asyncObject>(std::make_shared<syncTask>(context->pool()))) {
    Enabled.changed = [this] {
        if (Enabled.value())
            return;
        capturing_ = false;
        periodOpen_ = false;
        endTransmission();
    };
}

JTModDemod::~JTModDemod() {
    delete incoming_.load(std::memory_order_acquire);
    delete outgoing_.load(std::memory_order_acquire);
}

void JTModDemod::queueMsg(buff<float> tones, int marker, int startMs) {
    delete incoming_.exchange(new Queued{std::move(tones), marker, startMs}, std::memory_order_acq_rel);
}

buff<float> JTModDemod::demodulate(buff<std::complex<float>> block) {
    if (Enabled.value()) {
        if (!capturing_)
            beginPeriod();
        if (capturing_)
            capture(block);
        startTransmission();
    }
    handOver();
    return realPart(block);
}

int JTModDemod::periodMs() const {
    return std::max(period.value(), kHalfSecondMs);
}

int JTModDemod::blockLength() const {
    const int wanted = samplesPerBlock.value();
    if (wanted > kMostSamples)
        logError("JTModDemod.samplesPerBlock {} counts as {}", wanted, kMostSamples);
    return std::clamp(wanted, 0, kMostSamples);
}

void JTModDemod::beginPeriod() {
    const std::int64_t ticks = clock_();
    const std::int64_t msOfHour = ticks / kTicksPerMs % 3600000;
    const auto halves = static_cast<int>(msOfHour / kHalfSecondMs);
    const int length = periodMs();
    const int unit = length / kHalfSecondMs;
    if (halves % unit != 0)
        return;
    periodStartMs_ = halves / unit * length;
    periodOpen_ = true;
    captureCount_ = 0;
    peak_ = 0;
    absSum_ = absCount_ = 0;
    block_ = buff<float>(static_cast<std::size_t>(blockLength()));
    const auto format = SaveMode.value() == 1 ? PeriodFormat::C2 : PeriodFormat::Wav;
    filePath_ = periodFileName(saveDirectory.copy(), ticks / (1000 * kTicksPerMs), period.value(), format);
    capturing_ = true;
}

void JTModDemod::capture(const buff<std::complex<float>>& block) {
    const auto step = static_cast<std::size_t>(std::max(Decimation.value(), 1));
    const auto limit =
        std::min<std::int64_t>(samplesPerBlock.value(), static_cast<std::int64_t>(block_.size()));
    const bool complexValues = SaveMode.value() == 1;
    const auto room =
        static_cast<std::size_t>(std::max<std::int64_t>(limit - captureCount_, 0)) / (complexValues ? 2 : 1);
    const std::size_t n = std::min(block.size() / step, room);
    auto* to = block_.data() + captureCount_;
    for (std::size_t i = 0; i < n; ++i) {
        const std::complex<float> sample = block[i * step];
        const float magnitude = std::abs(sample.real());
        peak_ = std::max(peak_, magnitude);
        absSum_ += magnitude;
        if (!complexValues) {
            *to++ = sample.real();
            continue;
        }
        mixPhase_ -= kMixStep;
        const auto c = static_cast<float>(std::cos(mixPhase_));
        const auto s = static_cast<float>(std::sin(mixPhase_));
        *to++ = sample.real() * c - sample.imag() * s;
        *to++ = sample.imag() * c + sample.real() * s;
    }
    captureCount_ += static_cast<std::int64_t>(complexValues ? 2 * n : n);
    absCount_ += static_cast<double>(n);
    while (mixPhase_ > kTurn)
        mixPhase_ -= kTurn;
    while (mixPhase_ < 0)
        mixPhase_ += kTurn;
    // A complex pair that no longer fits ends the block too.
    if (captureCount_ >= limit - endPadding.value() || (complexValues && limit - captureCount_ < 2))
        finishPeriod();
}

void JTModDemod::finishPeriod() {
    std::fill(block_.begin() +
                  std::min<std::ptrdiff_t>(captureCount_, static_cast<std::ptrdiff_t>(block_.size())),
              block_.end(), 0.0f);
    capturing_ = false;
    doneMarker_ = txMarker_;
    txMarker_ = kNoMarker;
    PeriodRecording recording;
    recording.block = std::move(block_);
    block_ = {};
    recording.peak = peak_;
    recording.average = absSum_ / absCount_;
    recording.path = filePath_;
    recording.format = SaveMode.value() == 1 ? PeriodFormat::C2 : PeriodFormat::Wav;
    if (const auto link = vtrxLink())
        recording.dialMHz = static_cast<double>(link->vfo.value()) / 1e6;
    auto task = std::make_shared<std::packaged_task<std::string()>>(
        [recording = std::move(recording)] { return savePeriod(recording); });
    saveFuture_ = task->get_future();
    saver_->queueSeqItem(seqTask("JTModDemod.save", [task] { (*task)(); }));
}

void JTModDemod::handOver() {
    if (!saveFuture_.valid() || saveFuture_.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        return;
    const std::string name = saveFuture_.get();
    newFile.send(name + std::to_string(doneMarker_));
    doneMarker_ = kNoMarker;
}

} // namespace ferrow
