#include "modes/ft8/ft8decode.hpp"

#include "core/buff/buff.hpp"
#include "modes/ft8/wav_file.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace ferrow {
namespace {

constexpr std::int32_t kDefaultSampleRate = 12000;

// Only payload and figures: the rest of the caller's record stays as it is.
void writeResult(DecodeResult& result, const Waterfall& grid, const Ft8Variant& variant,
                 const SyncCandidate& candidate, const Ft8Payload& payload) {
    result.frequency =
        (static_cast<float>(candidate.freqOffset) + 0.5f * static_cast<float>(candidate.freqSub)) *
        variant.toneHz;
    result.time = (static_cast<float>(candidate.timeOffset) + 0.5f * static_cast<float>(candidate.timeSub)) /
                      variant.toneHz -
                  variant.timeCorrection;
    result.snr = static_cast<float>(candidate.level - grid.noiseLevel) * 0.5f - variant.snrCorrection;
    std::memcpy(result.payload, payload.data(), payload.size());
}

std::int32_t decodeCandidates(const Waterfall& grid, const Ft8Variant& variant, CandidateHeap& candidates,
                              DecodeResult* results) {
    std::array<Ft8Payload, kMaxDecodes> seen;
    int count = 0;
    for (SyncCandidate& candidate : candidates.entries()) {
        if (candidate.score < kMinSyncScore)
            continue;
        const std::optional<Ft8Payload> payload = decodeCandidate(grid, variant, candidate);
        if (!payload || std::find(seen.begin(), seen.begin() + count, *payload) != seen.begin() + count)
            continue;
        if (count == kMaxDecodes)
            continue;
        seen[static_cast<std::size_t>(count)] = *payload;
        writeResult(results[count++], grid, variant, candidate, *payload);
    }
    return count;
}

} // namespace

std::optional<Ft8Payload> decodeCandidate(const Waterfall& grid, const Ft8Variant& variant,
                                          SyncCandidate& candidate) {
    BitMetrics metrics;
    extractBitMetrics(grid, variant, candidate, metrics);
    CodewordBits bits;
    if (beliefPropagate(metrics, bits) != 0)
        return std::nullopt;
    return unpackFrame(bits, variant);
}

std::int32_t ft8decode(const char* path, DecodeResult* results, std::int64_t, std::int32_t variantNumber) {
    const Ft8Variant& variant = ft8Variant(variantNumber);
    buff<short> samples(static_cast<std::size_t>(variant.capacity));
    std::int32_t sampleCount = variant.capacity;
    std::int32_t sampleRate = kDefaultSampleRate;
    if (loadWav(samples, sampleCount, sampleRate, path) < 0)
        return -1;
    if (variant.fixedSampleCount)
        sampleCount = variant.capacity;

    Waterfall grid = waterfallGrid(sampleRate, sampleCount, variant);
    if (!hasSearchPositions(grid, variant))
        return 0;
    buff<unsigned char> magnitudes(grid.magnitudeCount());
    grid.mag = magnitudes.data();
    buildWaterfall(samples.data(), grid);
    CandidateHeap candidates;
    findSyncCandidates(grid, variant, candidates);
    return decodeCandidates(grid, variant, candidates, results);
}

} // namespace ferrow
