// Choice of the band filters from the host's tables.
#pragma once

#include <array>
#include <span>

namespace ferrow {

struct J16Row {
    int maxfrequency = 0; // upper edge of the band, Hz
    int rx = 0;           // filter word in receive
    int tx = 0;           // and in transmit
};

struct FilterBandRow {
    int maxfrequency = 0;
    int tx = 0;
};

struct FilterTables {
    bool useJ16 = true;
    std::span<const J16Row> j16;
    std::span<const FilterBandRow> bands;
    std::span<const int> rxWords; // indexed by the set of bands that are in use
};

// The filter word. In receive with the second kind of table the filter has to suit all `receivers` (Hz) at
// once and `frequency` does not count. Nothing that fits: 0.
int selectFilter(const FilterTables& tables, long long frequency, bool transmit,
                 std::span<const long long> receivers);

// Upper edges of the bands that an empty table starts with, all with filter words of 0.
inline constexpr std::array<int, 10> kDefaultBandEdges{2498270,  4282749,  5995849,  8565498,  11991698,
                                                       16655136, 18737028, 23060958, 27253859, 42827494};

} // namespace ferrow
