// Finding where frames may start: the contrast of the sync tones at every phase, time and frequency of the
// grid.
#pragma once

#include "modes/ft8/variant.hpp"
#include "modes/ft8/waterfall.hpp"

#include <array>
#include <cstdint>
#include <span>

namespace ferrow {

inline constexpr int kMaxSyncCandidates = 240;
inline constexpr int kMinSyncScore = 30;

struct SyncCandidate {
    std::int16_t score;      // about four times the mean contrast of the sync tones, in half decibels
    std::int16_t timeOffset; // symbols, may be negative
    std::int16_t freqOffset; // bin of the lowest tone
    std::uint8_t timeSub;
    std::uint8_t freqSub;
    std::int32_t level; // mean level of the lowest tone; left to extractBitMetrics
};

// The best candidates so far: a binary heap with the lowest score at the root, in a fixed array. Equal scores
// keep their order of arrival except as sifting moves them.
class CandidateHeap {
public:
    // Takes the candidate in, at the cost of the root when full; a full heap takes only scores above the
    // root's.
    void offer(const SyncCandidate& candidate);
    void clear() { count = 0; }

    int size() const { return count; }
    // In heap order, which is the order of decoding.
    std::span<SyncCandidate> entries() { return {heap.data(), static_cast<std::size_t>(count)}; }

private:
    void siftUp(int at);
    void siftDownFromRoot();

    std::array<SyncCandidate, kMaxSyncCandidates> heap;
    int count = 0;
};

// Sum of contrasts and number of symbols at one position; the score is their truncated quotient.
struct SyncScore {
    int sum;
    int count;
};

// One position, plainly: the oracle of the row search.
SyncScore syncScore_ref(const Waterfall& grid, const Ft8Variant& variant, const SyncCandidate& position);

// All frequency offsets from 1 on of one time offset and phase: sums[i] belongs to offset i + 1. Returns the
// number of symbols, the same for all. sums.size() is at most numBins - binMargin.
int syncScoreRow(const Waterfall& grid, const Ft8Variant& variant, int timeOffset, int timeSub, int freqSub,
                 std::span<std::int16_t> sums);

// Whether the grid has any position to search: a shorter period, or an odd sample rate, may leave none.
bool hasSearchPositions(const Waterfall& grid, const Ft8Variant& variant);

// Empties `heap`, searches the grid and returns the number of candidates found.
int findSyncCandidates(const Waterfall& grid, const Ft8Variant& variant, CandidateHeap& heap);

} // namespace ferrow
