#include "radios/hpsdr/filter_table.hpp"

#include <algorithm>
#include <cstddef>

namespace ferrow {

namespace {

template <class Row>
const Row* firstAtOrAbove(std::span<const Row> rows, long long frequency) {
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.maxfrequency >= frequency; });
    return found == rows.end() ? nullptr : &*found;
}

} // namespace

int selectFilter(const FilterTables& tables, long long frequency, bool transmit,
                 std::span<const long long> receivers) {
    if (tables.useJ16) {
        const J16Row* row = firstAtOrAbove(tables.j16, frequency);
        if (!row)
            return 0;
        return transmit ? row->tx : row->rx;
    }
    if (transmit) {
        const FilterBandRow* band = firstAtOrAbove(tables.bands, frequency);
        return band ? band->tx : 0;
    }
    unsigned mask = 0;
    for (const long long received : receivers) {
        if (const FilterBandRow* band = firstAtOrAbove(tables.bands, received))
            mask |= 1U << (static_cast<std::size_t>(band - tables.bands.data()) & 31U);
    }
    return mask < tables.rxWords.size() ? tables.rxWords[mask] : 0;
}

} // namespace ferrow
