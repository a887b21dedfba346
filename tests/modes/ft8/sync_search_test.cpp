#include "modes/ft8/sync_search.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using ferrow::CandidateHeap;
using ferrow::ft8Variant;
using ferrow::SyncCandidate;
using ferrow::Waterfall;

SyncCandidate candidate(int score, int tag) {
    return {static_cast<std::int16_t>(score), 0, static_cast<std::int16_t>(tag), 0, 0, 0};
}

std::vector<int> tags(CandidateHeap& heap) {
    std::vector<int> list;
    for (const SyncCandidate& entry : heap.entries())
        list.push_back(entry.freqOffset);
    return list;
}

struct RandomGrid {
    std::vector<std::uint8_t> memory;
    Waterfall grid{};

    RandomGrid(int blocks, int bins, unsigned seed, int low, int high) {
        grid = {blocks, bins, 2, 2, 0, nullptr};
        memory.resize(grid.magnitudeCount());
        grid.mag = memory.data();
        std::mt19937_64 random(seed);
        for (std::uint8_t& byte : memory)
            byte = static_cast<std::uint8_t>(
                low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1)));
    }
};

// The score of one position, written down from the frame layouts alone.
struct Score {
    int sum = 0;
    int count = 0;
};

Score plainScore(const Waterfall& g, int variant, int timeSub, int freqSub, int time, int freq) {
    const std::vector<std::vector<int>> groups =
        variant == 8 ? std::vector<std::vector<int>>{{3, 1, 4, 0, 6, 5, 2},
                                                     {3, 1, 4, 0, 6, 5, 2},
                                                     {3, 1, 4, 0, 6, 5, 2}}
                     : std::vector<std::vector<int>>{{0, 1, 3, 2}, {1, 0, 2, 3}, {2, 3, 1, 0}, {3, 2, 0, 1}};
    const int every = variant == 8 ? 36 : 33;
    const auto at = [&](int symbol, int tone) {
        return static_cast<int>(g.mag[((symbol * 2 + timeSub) * 2 + freqSub) * g.numBins + freq + tone]);
    };
    Score score;
    for (int m = 0; m < static_cast<int>(groups.size()); ++m) {
        const std::vector<int>& tones = groups[static_cast<std::size_t>(m)];
        const int length = static_cast<int>(tones.size());
        for (int k = 0; k < length; ++k) {
            const int s = time + every * m + k;
            if (s < 1)
                continue;
            if (s >= g.numBlocks - 1)
                break;
            const int t = tones[static_cast<std::size_t>(k)];
            if (t > 0)
                score.sum += at(s, t) - at(s, t - 1);
            score.sum += at(s, t) - at(s, t + 1); // for FT4 also above its top tone
            if (k > 0)
                score.sum += at(s, t) - at(s - 1, t);
            if (k < length - 1)
                score.sum += at(s, t) - at(s + 1, t);
            ++score.count;
        }
    }
    return score;
}

TEST(SyncSearch, RowsEqualThePlainScoreAtEveryPosition) {
    for (const int variant : {8, 4}) {
        for (const int bins : {9, 20, 24, 25, 61}) {
            const int blocks = variant == 8 ? 80 : 106;
            RandomGrid random(blocks, bins, 3, 0, 255);
            const ferrow::Ft8Variant& v = ft8Variant(variant);
            const int width = bins - (variant == 8 ? 8 : 4);
            std::vector<std::int16_t> sums(static_cast<std::size_t>(width));
            for (int timeSub = 0; timeSub < 2; ++timeSub)
                for (int freqSub = 0; freqSub < 2; ++freqSub)
                    for (int time = variant == 8 ? -7 : -4; time < blocks - (variant == 8 ? 72 : 103);
                         ++time) {
                        const int count = ferrow::syncScoreRow(random.grid, v, time, timeSub, freqSub, sums);
                        for (int freq = 1; freq <= width; ++freq) {
                            const Score plain =
                                plainScore(random.grid, variant, timeSub, freqSub, time, freq);
                            ASSERT_EQ(count, plain.count);
                            ASSERT_EQ(sums[static_cast<std::size_t>(freq - 1)], plain.sum);
                            const ferrow::SyncScore reference = ferrow::syncScore_ref(
                                random.grid, v,
                                {0, static_cast<std::int16_t>(time), static_cast<std::int16_t>(freq),
                                 static_cast<std::uint8_t>(timeSub), static_cast<std::uint8_t>(freqSub), 0});
                            ASSERT_EQ(reference.count, plain.count);
                            ASSERT_EQ(reference.sum, plain.sum);
                        }
                    }
        }
    }
}

// Extremes of the 16-bit sums: all sync tones at 255 over a grid of zeros.
TEST(SyncSearch, TheLargestScoreFits) {
    RandomGrid dark(92, 40, 1, 0, 0);
    const int costas[] = {3, 1, 4, 0, 6, 5, 2};
    for (int m = 0; m < 3; ++m)
        for (int k = 0; k < 7; ++k)
            dark.memory[static_cast<std::size_t>(dark.grid.rowIndex(5 + 36 * m + k, 0, 0) + 10 + costas[k])] =
                255;
    CandidateHeap heap;
    EXPECT_GE(ferrow::findSyncCandidates(dark.grid, ft8Variant(8), heap), 1);
    const auto best = *std::max_element(heap.entries().begin(), heap.entries().end(),
                                        [](const auto& a, const auto& b) { return a.score < b.score; });
    EXPECT_EQ(best.freqOffset, 10);
    EXPECT_EQ(best.timeOffset, 5);
    EXPECT_EQ(best.score,
              255 * (21 * 4 - 3 - 6) / 21); // three tones have none below, six symbols one neighbour
}

// The visiting order, the truncated quotient and the heap, against the same search done plainly.
TEST(SyncSearch, FindsWhatAPlainSearchFindsInTheSameOrder) {
    for (const int variant : {8, 4}) {
        RandomGrid random(variant == 8 ? 92 : 120, variant == 8 ? 120 : 80, 4, 60, 130);
        CandidateHeap plain;
        const int blocks = random.grid.numBlocks;
        int positions = 0;
        for (int timeSub = 0; timeSub < 2; ++timeSub)
            for (int freqSub = 0; freqSub < 2; ++freqSub)
                for (int time = variant == 8 ? -7 : -4; time < blocks - (variant == 8 ? 72 : 103); ++time)
                    for (int freq = 1; freq <= random.grid.numBins - (variant == 8 ? 8 : 4); ++freq) {
                        const Score score = plainScore(random.grid, variant, timeSub, freqSub, time, freq);
                        if (score.sum / score.count < 30)
                            continue;
                        ++positions;
                        plain.offer({static_cast<std::int16_t>(score.sum / score.count),
                                     static_cast<std::int16_t>(time), static_cast<std::int16_t>(freq),
                                     static_cast<std::uint8_t>(timeSub), static_cast<std::uint8_t>(freqSub),
                                     0});
                    }
        EXPECT_GT(positions, 240);
        CandidateHeap heap;
        ASSERT_EQ(ferrow::findSyncCandidates(random.grid, ft8Variant(variant), heap), plain.size());
        for (int i = 0; i < heap.size(); ++i) {
            const SyncCandidate& own = heap.entries()[static_cast<std::size_t>(i)];
            const SyncCandidate& expected = plain.entries()[static_cast<std::size_t>(i)];
            ASSERT_EQ(own.score, expected.score);
            ASSERT_EQ(own.timeOffset, expected.timeOffset);
            ASSERT_EQ(own.freqOffset, expected.freqOffset);
            ASSERT_EQ(own.timeSub, expected.timeSub);
            ASSERT_EQ(own.freqSub, expected.freqSub);
        }
    }
}

TEST(SyncSearch, ScoresBelowThirtyAreDropped) {
    const int costas[] = {3, 1, 4, 0, 6, 5, 2};
    for (const int level : {8, 9}) { // 75 contrasts of 8 over 21 symbols make 28, of 9 make 32
        RandomGrid grid(92, 40, 1, 0, 0);
        for (int m = 0; m < 3; ++m)
            for (int k = 0; k < 7; ++k)
                grid.memory[static_cast<std::size_t>(grid.grid.rowIndex(5 + 36 * m + k, 0, 0) + 10 +
                                                     costas[k])] = static_cast<std::uint8_t>(level);
        CandidateHeap heap;
        EXPECT_EQ(ferrow::findSyncCandidates(grid.grid, ft8Variant(8), heap), level == 9 ? 1 : 0);
    }
}

TEST(SyncSearch, GridsTooSmallHaveNoPositions) {
    CandidateHeap heap;
    RandomGrid shallow(65, 100, 1, 0, 255);
    EXPECT_FALSE(ferrow::hasSearchPositions(shallow.grid, ft8Variant(8)));
    EXPECT_EQ(ferrow::findSyncCandidates(shallow.grid, ft8Variant(8), heap), 0);
    RandomGrid narrow(92, 8, 1, 0, 255);
    EXPECT_FALSE(ferrow::hasSearchPositions(narrow.grid, ft8Variant(8)));
    RandomGrid least(66, 9, 1, 0, 255);
    EXPECT_TRUE(ferrow::hasSearchPositions(least.grid, ft8Variant(8)));
    ferrow::findSyncCandidates(least.grid, ft8Variant(8), heap);
    RandomGrid leastFt4(100, 5, 1, 0, 255);
    EXPECT_TRUE(ferrow::hasSearchPositions(leastFt4.grid, ft8Variant(4)));
    ferrow::findSyncCandidates(leastFt4.grid, ft8Variant(4), heap);
}

TEST(CandidateHeap, EqualScoresKeepTheOrderOfArrival) {
    CandidateHeap heap;
    for (int tag = 0; tag < 200; ++tag)
        heap.offer(candidate(50, tag));
    for (int tag = 0; tag < 200; ++tag)
        EXPECT_EQ(tags(heap)[static_cast<std::size_t>(tag)], tag);
}

// The lower score climbs from place 3 over its parents 1 and 0, which step down one each; the others stay.
TEST(CandidateHeap, EqualScoresMoveOnlyBySifting) {
    CandidateHeap heap;
    for (int tag = 0; tag < 3; ++tag)
        heap.offer(candidate(50, tag));
    heap.offer(candidate(40, 3));
    EXPECT_EQ(tags(heap), (std::vector<int>{3, 0, 2, 1}));
    heap.offer(candidate(40, 4)); // equal to the root, less than its parent at place 1
    EXPECT_EQ(tags(heap), (std::vector<int>{3, 4, 2, 1, 0}));
}

TEST(CandidateHeap, AFullHeapTakesOnlyScoresAboveTheRoot) {
    CandidateHeap heap;
    for (int tag = 0; tag < 240; ++tag)
        heap.offer(candidate(50, tag));
    heap.offer(candidate(50, 900));
    EXPECT_EQ(tags(heap)[0], 0) << "an equal score is dropped";
    EXPECT_EQ(heap.size(), 240);
    heap.offer(candidate(51, 901));
    EXPECT_EQ(heap.size(), 240);
    const std::vector<int> now = tags(heap);
    EXPECT_EQ(now[0], 239) << "the last entry took the root's place";
    EXPECT_EQ(now[239], 901);
    for (int tag = 1; tag < 239; ++tag)
        EXPECT_EQ(now[static_cast<std::size_t>(tag)], tag);
}

// Both children of the root are less than the entry that replaces it: the left one wins a tie, the right one
// only when less.
TEST(CandidateHeap, SiftingDownPrefersTheLeftChild) {
    for (const int right : {60, 59}) {
        CandidateHeap heap;
        heap.offer(candidate(50, 0));
        heap.offer(candidate(60, 1));
        heap.offer(candidate(right, 2));
        for (int tag = 3; tag < 240; ++tag)
            heap.offer(candidate(100, tag));
        heap.offer(candidate(200, 999));
        const std::vector<int> now = tags(heap);
        EXPECT_EQ(now[0], right == 60 ? 1 : 2);
        EXPECT_EQ(now[right == 60 ? 2 : 1], right == 60 ? 2 : 1);
        EXPECT_EQ(now[right == 60 ? 1 : 2], 239);
    }
}

TEST(CandidateHeap, KeepsTheBestWhateverTheOrder) {
    std::mt19937_64 random(5);
    CandidateHeap heap;
    std::vector<int> scores;
    for (int tag = 0; tag < 5000; ++tag) {
        scores.push_back(30 + static_cast<int>(random() % 300));
        heap.offer(candidate(scores.back(), tag));
    }
    std::sort(scores.rbegin(), scores.rend());
    scores.resize(240);
    std::vector<int> kept;
    for (std::size_t i = 0; i < 240; ++i) {
        kept.push_back(heap.entries()[i].score);
        if (i > 0) {
            EXPECT_LE(heap.entries()[(i - 1) / 2].score, heap.entries()[i].score);
        }
    }
    std::sort(kept.rbegin(), kept.rend());
    EXPECT_EQ(kept, scores);
}

} // namespace
