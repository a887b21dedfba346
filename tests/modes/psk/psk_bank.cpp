#include "tests/modes/psk/psk_bank.hpp"

#include "core/tasks/runtime.hpp"
#include "tests/modes/psk/psk_signal.hpp"
#include "tests/support/edit_distance.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ferrow::test {

std::array<std::string, PskModDemod::kDetectors> detectorTexts;
std::array<int, PskModDemod::kDetectors> detectorResets;
std::string primaryText, sentText;

namespace {

template <std::size_t... N>
void bindDetectors(PskModDemod& mode, std::index_sequence<N...>) {
    const auto bind = [&](PskDetector& detector, void (*text)(const char*), void (*reset)()) {
        detector.newChars.bind(text, &detector);
        detector.reset.bind(reset, &detector);
    };
    (bind(
         *mode.dets.items()[N], [](const char* text) { detectorTexts[N] += text; },
         [] { ++detectorResets[N]; }),
     ...);
}

// The sent text as the best part of what a detector wrote, which may have garbage around it.
bool contains(const std::string& received, const std::string& sent) {
    for (std::size_t from = 0; from + sent.size() <= received.size() + 6; ++from) {
        if (from > received.size())
            break;
        if (characterErrors(sent, std::string_view(received).substr(from, sent.size())) <= 0.1)
            return true;
    }
    return false;
}

} // namespace

void bindAll(PskModDemod& mode) {
    detectorTexts.fill({});
    detectorResets.fill(0);
    primaryText.clear();
    sentText.clear();
    bindDetectors(mode, std::make_index_sequence<PskModDemod::kDetectors>());
    mode.newChars.bind([](const char* text) { primaryText += text; }, &mode);
    mode.sentChars.bind([](const char* text) { sentText += text; }, &mode);
}

void feedAudio(PskModDemod& mode, const std::vector<double>& samples, double level) {
    const std::size_t total = 6 * samples.size();
    for (std::size_t n = 0; n < total; n += 512) {
        buff<std::complex<float>> block(std::min<std::size_t>(512, total - n));
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = {static_cast<float>(level * samples[(n + i) / 6]), 0};
        mode.demodulate(block);
        pumpUpdates();
    }
}

std::vector<BankSignal> copyBank(int count, std::uint64_t seed, bool onHundreds) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> anywhere(-30, 30);
    std::vector<BankSignal> signals;
    for (int k = 0; k < count; ++k)
        signals.push_back({0, 3 + 17.0 * k / std::max(count - 1, 1),
                           pskText(40, seed * 100 + static_cast<std::uint64_t>(k))});
    std::shuffle(signals.begin(), signals.end(), random);
    const double first = onHundreds ? 600 : 560 + anywhere(random);
    std::vector<double> sum;
    for (int k = 0; k < count; ++k) {
        BankSignal& signal = signals[static_cast<std::size_t>(k)];
        signal.hz = first + 100 * k;
        // Each starts at its own time, idles for four seconds and ends in idling.
        const std::vector<double> one =
            pskSignal(signal.text, kPsk31, signal.hz, 8000, 125 + static_cast<int>(random() % 30));
        const double gain = std::sqrt(std::pow(10, signal.snr / 10) / meanPower(one));
        sum.resize(std::max(sum.size(), one.size()), 0.0);
        for (std::size_t n = 0; n < one.size(); ++n)
            sum[n] += gain * one[n];
    }
    addNoise(sum, 1, 0, 8000, random);
    const auto mode = std::make_shared<PskModDemod>(rootSyncTask);
    bindAll(*mode);
    feedAudio(*mode, sum, 0.01);
    for (BankSignal& signal : signals)
        for (int place = 0; place < PskModDemod::kBank; ++place)
            signal.copied =
                signal.copied || contains(detectorTexts[static_cast<std::size_t>(place)], signal.text);
    return signals;
}

} // namespace ferrow::test
