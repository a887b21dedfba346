#include "modes/ft8/sync_search.hpp"

#include <algorithm>
#include <immintrin.h>
#include <utility>
#include <vector>

namespace ferrow {
namespace {

constexpr int kLanes = 16;

// One sync symbol of a frame at a given time: where its tone lies for frequency offset 1, and which
// neighbours it is compared with.
struct SyncTerm {
    const std::uint8_t* tone;
    bool below;
    bool before;
    bool after;
};

struct SyncTerms {
    std::array<SyncTerm, kFt8MaxSyncGroups * kFt8MaxSyncLength> terms;
    int count = 0;
};

// Symbol 0 is never used, nor the last block.
SyncTerms syncTerms(const Waterfall& grid, const Ft8Variant& variant, int timeOffset, int timeSub,
                    int freqSub) {
    SyncTerms list;
    for (int g = 0; g < variant.syncGroupCount; ++g) {
        const SyncGroup& group = variant.sync[static_cast<std::size_t>(g)];
        for (int k = 0; k < variant.syncLength; ++k) {
            const int symbol = timeOffset + group.start + k;
            if (symbol < 1)
                continue;
            if (symbol >= grid.numBlocks - 1)
                break;
            const int tone = group.tones[static_cast<std::size_t>(k)];
            list.terms[static_cast<std::size_t>(list.count++)] = {
                grid.mag + grid.rowIndex(symbol, timeSub, freqSub) + 1 + tone, tone > 0, k > 0,
                k < variant.syncLength - 1};
        }
    }
    return list;
}

int contrast(const SyncTerm& term, std::ptrdiff_t at, std::ptrdiff_t stride) {
    const std::uint8_t* p = term.tone + at;
    int sum = p[0] - p[1];
    if (term.below)
        sum += p[0] - p[-1];
    if (term.before)
        sum += p[0] - p[-stride];
    if (term.after)
        sum += p[0] - p[stride];
    return sum;
}

__m256i widen(const std::uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

// 21 symbols of at most 4 x 255 each stay well inside 16 bits.
__m256i contrast16(const SyncTerms& list, std::ptrdiff_t at, std::ptrdiff_t stride) {
    __m256i sum = _mm256_setzero_si256();
    for (int i = 0; i < list.count; ++i) {
        const SyncTerm& term = list.terms[static_cast<std::size_t>(i)];
        const std::uint8_t* p = term.tone + at;
        const __m256i own = widen(p);
        sum = _mm256_add_epi16(sum, _mm256_sub_epi16(own, widen(p + 1)));
        if (term.below)
            sum = _mm256_add_epi16(sum, _mm256_sub_epi16(own, widen(p - 1)));
        if (term.before)
            sum = _mm256_add_epi16(sum, _mm256_sub_epi16(own, widen(p - stride)));
        if (term.after)
            sum = _mm256_add_epi16(sum, _mm256_sub_epi16(own, widen(p + stride)));
    }
    return sum;
}

} // namespace

void CandidateHeap::offer(const SyncCandidate& candidate) {
    if (count == kMaxSyncCandidates) {
        if (candidate.score <= heap[0].score)
            return;
        heap[0] = heap[static_cast<std::size_t>(--count)];
        siftDownFromRoot();
    }
    heap[static_cast<std::size_t>(count)] = candidate;
    siftUp(count++);
}

void CandidateHeap::siftUp(int at) {
    while (at > 0) {
        const int parent = (at - 1) / 2;
        SyncCandidate& own = heap[static_cast<std::size_t>(at)];
        SyncCandidate& above = heap[static_cast<std::size_t>(parent)];
        if (own.score >= above.score)
            return;
        std::swap(own, above);
        at = parent;
    }
}

void CandidateHeap::siftDownFromRoot() {
    for (int at = 0;;) {
        int smallest = at;
        for (const int child : {2 * at + 1, 2 * at + 2})
            if (child < count &&
                heap[static_cast<std::size_t>(child)].score < heap[static_cast<std::size_t>(smallest)].score)
                smallest = child;
        if (smallest == at)
            return;
        std::swap(heap[static_cast<std::size_t>(at)], heap[static_cast<std::size_t>(smallest)]);
        at = smallest;
    }
}

SyncScore syncScore_ref(const Waterfall& grid, const Ft8Variant& variant, const SyncCandidate& position) {
    const SyncTerms list = syncTerms(grid, variant, position.timeOffset, position.timeSub, position.freqSub);
    SyncScore score{0, list.count};
    for (int i = 0; i < list.count; ++i)
        score.sum +=
            contrast(list.terms[static_cast<std::size_t>(i)], position.freqOffset - 1, grid.stride());
    return score;
}

int syncScoreRow(const Waterfall& grid, const Ft8Variant& variant, int timeOffset, int timeSub, int freqSub,
                 std::span<std::int16_t> sums) {
    const SyncTerms list = syncTerms(grid, variant, timeOffset, timeSub, freqSub);
    const std::ptrdiff_t stride = grid.stride();
    const auto width = static_cast<std::ptrdiff_t>(sums.size());
    if (width < kLanes) {
        for (std::ptrdiff_t at = 0; at < width; ++at) {
            int sum = 0;
            for (int i = 0; i < list.count; ++i)
                sum += contrast(list.terms[static_cast<std::size_t>(i)], at, stride);
            sums[static_cast<std::size_t>(at)] = static_cast<std::int16_t>(sum);
        }
        return list.count;
    }
    // The last step goes back over offsets already done rather than past the row's end.
    for (std::ptrdiff_t at = 0; at < width; at += kLanes) {
        const std::ptrdiff_t from = std::min(at, width - kLanes);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums.data() + from), contrast16(list, from, stride));
    }
    return list.count;
}

bool hasSearchPositions(const Waterfall& grid, const Ft8Variant& variant) {
    return grid.numBlocks - variant.timeMargin > variant.firstTimeOffset &&
           grid.numBins - variant.binMargin >= 1;
}

int findSyncCandidates(const Waterfall& grid, const Ft8Variant& variant, CandidateHeap& heap) {
    heap.clear();
    if (!hasSearchPositions(grid, variant))
        return 0;
    std::vector<std::int16_t> sums(static_cast<std::size_t>(grid.numBins - variant.binMargin));
    const int lastTimeOffset = grid.numBlocks - variant.timeMargin - 1;
    for (int timeSub = 0; timeSub < grid.timeOsr; ++timeSub) {
        for (int freqSub = 0; freqSub < grid.freqOsr; ++freqSub) {
            for (int timeOffset = variant.firstTimeOffset; timeOffset <= lastTimeOffset; ++timeOffset) {
                const int count = syncScoreRow(grid, variant, timeOffset, timeSub, freqSub, sums);
                const int least = kMinSyncScore * count;
                for (std::size_t i = 0; i < sums.size(); ++i) {
                    if (sums[i] < least || count == 0)
                        continue;
                    heap.offer({static_cast<std::int16_t>(sums[i] / count),
                                static_cast<std::int16_t>(timeOffset), static_cast<std::int16_t>(i + 1),
                                static_cast<std::uint8_t>(timeSub), static_cast<std::uint8_t>(freqSub), 0});
                }
            }
        }
    }
    return heap.size();
}

} // namespace ferrow
