// Soft bits of a candidate, straight from the quantised magnitudes.
#pragma once

#include "modes/ft8/ldpc_tables.hpp"
#include "modes/ft8/sync_search.hpp"

#include <array>

namespace ferrow {

// One metric per codeword bit; positive favours a 1.
using BitMetrics = std::array<float, kLdpcBits>;

// Also fills in the candidate's level. The metrics are scaled to a variance of 16; where all are equal they
// come out as not-a-number, which the decoder reads as zero bits. The candidate is one that the search may
// return, so that all its data symbols lie on the grid.
void extractBitMetrics(const Waterfall& grid, const Ft8Variant& variant, SyncCandidate& candidate,
                       BitMetrics& metrics);

} // namespace ferrow
