// One receive period of FT8 or FT4, from a recording to payloads: load, waterfall, sync search, soft bits,
// belief propagation, CRC. One pass; no message is unpacked.
#pragma once

#include "modes/ft8/frame.hpp"
#include "modes/ft8/sync_search.hpp"

#include <cstdint>
#include <ferrowcore/ft8.h>
#include <optional>

namespace ferrow {

using DecodeResult = ferrow_ft8_result;

inline constexpr int kMaxDecodes = FERROW_FT8_MAX_RESULTS;

// The payload that a candidate holds, if any. Fills in the candidate's level.
std::optional<Ft8Payload> decodeCandidate(const Waterfall& grid, const Ft8Variant& variant,
                                          SyncCandidate& candidate);

// Records written to `results` (room for kMaxDecodes), or -1 for a file that is rejected. Any thread; shares
// nothing between calls but constant tables and per-thread transform plans. `reserved` is ignored; variant 8
// is FT8, all others FT4.
std::int32_t ft8decode(const char* path, DecodeResult* results, std::int64_t reserved, std::int32_t variant);

} // namespace ferrow
