// Which hardware receiver serves which transceiver on which ADC.

#include "trx/hertz.hpp"
#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <algorithm>
#include <cstdlib>

namespace ferrow {

namespace {

constexpr int kAdcs = 4;

bool inMask(int mask, int adc) {
    return (mask >> adc & 1) != 0;
}

} // namespace

void Radio::updateEdgeMargin() {
    const int rate = hwReceivers[0].rate;
    edgeMargin = static_cast<int>((rate - rate * bandwidthRatio()) / 2);
}

long long Radio::usableWidth(const HwReceiver& receiver) const {
    return receiver.rate - 2LL * edgeMargin;
}

long long Radio::hardwareHertz(long long frequency) const {
    return boundedHertz(frequency) - boundedHertz(TransceiverOffset.value());
}

void Radio::setRxFrequency(long long frequency, vtrx& transceiver, int adcMask) {
    if (hwReceivers.empty() || !holds(transceiver))
        return;
    updateEdgeMargin();
    const long long centre = std::max(0LL, hardwareHertz(frequency));
    if (disableVirtualReceivers.value()) {
        allocateOwnReceiver(transceiver, centre);
        return;
    }
    const Wanted wanted{centre, centre + transceiver.filterLow - filterGuard,
                        centre + transceiver.filterHigh + filterGuard};
    for (int adc = 0; adc < kAdcs; ++adc) {
        if (!inMask(adcMask, adc)) {
            transceiver.hwReceiverOfAdc[adc] = -1;
            continue;
        }
        const int chosen = allocate(transceiver, adc, adcMask, wanted);
        transceiver.hwReceiverOfAdc[adc] = chosen;
        if (chosen < 0)
            continue;
        HwReceiver& receiver = hwReceivers[static_cast<std::size_t>(chosen)];
        if (avoidDcSpike && wanted.low < receiver.frequency && receiver.frequency < wanted.high)
            receiver.frequency = wanted.high;
    }
    frequenciesChanged();
}

void Radio::allocateOwnReceiver(vtrx& transceiver, long long wanted) {
    const auto place = std::find_if(vtrxs.begin(), vtrxs.end(),
                                    [&](const auto& entry) { return entry.get() == &transceiver; });
    const auto index = static_cast<std::size_t>(place - vtrxs.begin());
    if (place == vtrxs.end() || static_cast<int>(index) >= maxHwReceivers.value()) {
        frequenciesChanged();
        return;
    }
    if (transceiver.hwReceiverOfAdc[0] != static_cast<int>(index)) {
        while (hwReceivers.size() <= index) {
            const std::size_t before = hwReceivers.size();
            addHwReceiver(wanted);
            if (hwReceivers.size() == before) // the backend has no more
                return;
        }
        transceiver.hwReceiverOfAdc[0] = static_cast<int>(index);
    }
    hwReceivers[index].frequency = wanted;
    frequenciesChanged();
}

int Radio::allocate(vtrx& transceiver, int adc, int adcMask, const Wanted& wanted) {
    const int current = transceiver.hwReceiverOfAdc[adc];
    if (current >= 0 && covers(hwReceivers[static_cast<std::size_t>(current)], wanted)) {
        HwReceiver& receiver = hwReceivers[static_cast<std::size_t>(current)];
        if (alone(transceiver, adc, current) &&
            receiver.rate / 16 < std::llabs(wanted.frequency - receiver.frequency))
            receiver.frequency = wanted.frequency;
        return current;
    }
    const std::size_t count = hwReceivers.size();
    for (std::size_t i = 0; i < count; ++i)
        if (hwReceivers[i].adc == adc && covers(hwReceivers[i], wanted))
            return static_cast<int>(i);
    for (std::size_t i = 0; i < count; ++i) {
        if (needCount(transceiver, hwReceivers[i], adc, adcMask) != 0)
            continue;
        hwReceivers[i].frequency = wanted.frequency;
        hwReceivers[i].adc = adc;
        return static_cast<int>(i);
    }
    for (std::size_t i = 0; i < count; ++i)
        if (hwReceivers[i].adc == adc && retuneShared(transceiver, adc, i, wanted))
            return static_cast<int>(i);
    if (static_cast<int>(count) < maxHwReceivers.value()) {
        addHwReceiver(wanted.frequency);
        if (hwReceivers.size() > count) {
            hwReceivers[count].adc = adc;
            for (std::size_t i = 0; i <= count; ++i)
                hwReceivers[i].fill = 0;
            return static_cast<int>(count);
        }
    }
    return current;
}

bool Radio::covers(const HwReceiver& receiver, const Wanted& wanted) const {
    const long long half = receiver.rate / 2;
    return edgeMargin - half < wanted.low - receiver.frequency &&
           wanted.high - receiver.frequency < half - edgeMargin;
}

bool Radio::alone(const vtrx& transceiver, int adc, int index) const {
    return std::none_of(vtrxs.begin(), vtrxs.end(), [&](const auto& other) {
        return other.get() != &transceiver && other->hwReceiverOfAdc[adc] == index;
    });
}

// How much keeps a receiver from being taken over whole: every other transceiver, and this one's own other
// ADCs.
int Radio::needCount(const vtrx& transceiver, const HwReceiver& receiver, int adc, int adcMask) const {
    int count = static_cast<int>(std::count_if(
        vtrxs.begin(), vtrxs.end(), [&](const auto& other) { return other.get() != &transceiver; }));
    const int its = receiver.adc;
    if (its != adc && inMask(adcMask, its))
        ++count;
    if (its != adc && !adcSwapAllowed)
        ++count;
    return count;
}

bool Radio::retuneShared(const vtrx& transceiver, int adc, std::size_t index, const Wanted& wanted) {
    long long low = wanted.frequency, high = wanted.frequency;
    for (const auto& other : vtrxs) {
        if (other.get() == &transceiver || other->hwReceiverOfAdc[adc] != static_cast<int>(index))
            continue;
        const long long centre = std::max(0LL, hardwareHertz(other->vfo.value()));
        low = std::min(low, centre + other->filterLow - filterGuard);
        high = std::max(high, centre + other->filterHigh + filterGuard);
    }
    HwReceiver& receiver = hwReceivers[index];
    if (high - low >= usableWidth(receiver))
        return false;
    receiver.frequency = (low + high) / 2;
    return true;
}

void Radio::repack() {
    if (hwReceivers.empty())
        return;
    updateEdgeMargin();
    for (int adc = 0; adc < kAdcs; ++adc)
        repack(adc);
    frequenciesChanged();
}

void Radio::repack(int adc) {
    // Taken once: the transceivers may be retuned meanwhile.
    struct Entry {
        vtrx* transceiver;
        long long low, high; // edges of the filter with guards, hardware Hz
    };
    std::vector<Entry> list;
    for (const auto& transceiver : vtrxs) {
        if (transceiver->hwReceiverOfAdc[adc] == -1)
            continue;
        const long long centre = hardwareHertz(transceiver->vfo.value());
        list.push_back({transceiver.get(), centre + transceiver->filterLow - filterGuard,
                        centre + transceiver->filterHigh + filterGuard});
    }
    std::sort(list.begin(), list.end(), [](const Entry& a, const Entry& b) { return a.low < b.low; });
    auto next = list.begin();
    for (std::size_t i = 0; i < hwReceivers.size() && next != list.end(); ++i) {
        HwReceiver& receiver = hwReceivers[i];
        if (receiver.adc != adc)
            continue;
        const long long low = next->low;
        long long high = next->high;
        do {
            high = std::max(high, next->high);
            (next++)->transceiver->hwReceiverOfAdc[adc] = static_cast<int>(i);
        } while (next != list.end() && next->high <= low + usableWidth(receiver));
        receiver.frequency = (low + high) / 2;
    }
}

} // namespace ferrow
