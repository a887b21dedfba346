#include "modes/ft8/bit_metrics.hpp"

#include <algorithm>
#include <cmath>

namespace ferrow {
namespace {

constexpr float kOverBits = 0.0057471264f; // 1/174
constexpr float kWantedVariance = 16.0f;

void tribitMetrics(const float* s, float* metric) {
    metric[0] = std::max({s[4], s[5], s[6], s[7]}) - std::max({s[0], s[1], s[2], s[3]});
    metric[1] = std::max({s[2], s[3], s[6], s[7]}) - std::max({s[0], s[1], s[4], s[5]});
    metric[2] = std::max({s[1], s[3], s[5], s[7]}) - std::max({s[0], s[2], s[4], s[6]});
}

void dibitMetrics(const float* s, float* metric) {
    metric[0] = std::max(s[2], s[3]) - std::max(s[0], s[1]);
    metric[1] = std::max(s[1], s[3]) - std::max(s[0], s[2]);
}

void normalise(BitMetrics& metrics) {
    float sum = 0.0f;
    float sum2 = 0.0f;
    for (const float metric : metrics) {
        sum += metric;
        sum2 += metric * metric;
    }
    const float variance = (sum2 - sum * sum * kOverBits) * kOverBits;
    const float factor = std::sqrt(kWantedVariance / variance);
    for (float& metric : metrics)
        metric *= factor;
}

} // namespace

void extractBitMetrics(const Waterfall& grid, const Ft8Variant& variant, SyncCandidate& candidate,
                       BitMetrics& metrics) {
    const std::uint8_t* base = grid.mag +
                               grid.rowIndex(candidate.timeOffset + dataSymbolPosition(variant, 0),
                                             candidate.timeSub, candidate.freqSub) +
                               candidate.freqOffset;
    std::int32_t level = 0;
    for (int d = 0; d < variant.dataSymbols; ++d) {
        const std::ptrdiff_t symbols = dataSymbolPosition(variant, d) - dataSymbolPosition(variant, 0);
        const std::uint8_t* tones = base + symbols * grid.stride();
        level += tones[0];
        float s[kFt8MaxTones];
        for (int j = 0; j < variant.tones; ++j)
            s[j] = tones[variant.gray[static_cast<std::size_t>(j)]];
        float* metric = metrics.data() + d * variant.bitsPerSymbol;
        if (variant.bitsPerSymbol == 3)
            tribitMetrics(s, metric);
        else
            dibitMetrics(s, metric);
    }
    candidate.level = level / variant.dataSymbols;
    normalise(metrics);
}

} // namespace ferrow
