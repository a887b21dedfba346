#include "radios/hpsdr/filter_table.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace ferrow {
namespace {

const std::vector<J16Row> kJ16{
    {2000000, 1, 11}, {8000000, 2, 12}, {8000000, 3, 13}, {5000000, 4, 14}, {30000000, 5, 15}};
const std::vector<FilterBandRow> kBands{{4000000, 0x21}, {10000000, 0x22}, {30000000, 0x23}};
const std::vector<int> kRx{100, 101, 102, 103, 104, 105, 106};

TEST(SelectFilter, TheFirstRowAtOrAboveTheFrequencyInTheTablesOwnOrder) {
    FilterTables tables;
    tables.j16 = kJ16;
    EXPECT_EQ(selectFilter(tables, 1000000, false, {}), 1);
    EXPECT_EQ(selectFilter(tables, 2000000, false, {}), 1) << "the edge belongs to the row";
    EXPECT_EQ(selectFilter(tables, 2000001, false, {}), 2);
    EXPECT_EQ(selectFilter(tables, 2000001, true, {}), 12);
    EXPECT_EQ(selectFilter(tables, 4000000, false, {}), 2) << "the unsorted row behind is not reached";
    EXPECT_EQ(selectFilter(tables, 30000000, true, {}), 15);
}

TEST(SelectFilter, AnEmptyJ16SetReads0) {
    EXPECT_EQ(selectFilter(FilterTables{}, 7100000, false, {}), 0);
}

TEST(SelectFilter, AFrequencyAboveAllRowsReads0) {
    FilterTables tables;
    tables.j16 = kJ16;
    EXPECT_EQ(selectFilter(tables, 30000001, false, {}), 0);
    EXPECT_EQ(selectFilter(tables, 5000000000LL, true, {}), 0) << "no 32-bit wrap";
    tables.useJ16 = false;
    tables.bands = kBands;
    EXPECT_EQ(selectFilter(tables, 30000001, true, {}), 0);
}

TEST(SelectFilter, WithUseJ16OffAndNoRowsTheFilterWordIs0) {
    FilterTables tables;
    tables.useJ16 = false;
    tables.j16 = kJ16;
    const std::vector<long long> receivers{7100000};
    EXPECT_EQ(selectFilter(tables, 7100000, true, receivers), 0);
    EXPECT_EQ(selectFilter(tables, 7100000, false, receivers), 0);
}

TEST(SelectFilter, TransmitByBand) {
    FilterTables tables;
    tables.useJ16 = false;
    tables.bands = kBands;
    EXPECT_EQ(selectFilter(tables, 4000000, true, {}), 0x21);
    EXPECT_EQ(selectFilter(tables, 4000001, true, {}), 0x22);
    EXPECT_EQ(selectFilter(tables, 28000000, true, {}), 0x23);
}

TEST(SelectFilter, ReceiveIsIndexedByTheSetOfBandsInUse) {
    FilterTables tables;
    tables.useJ16 = false;
    tables.bands = kBands;
    tables.rxWords = kRx;
    const auto word = [&](std::vector<long long> receivers) {
        return selectFilter(tables, 1, false, receivers);
    };
    EXPECT_EQ(word({}), 100);
    EXPECT_EQ(word({3500000}), 101);
    EXPECT_EQ(word({7100000}), 102);
    EXPECT_EQ(word({3500000, 7100000, 3600000}), 103);
    EXPECT_EQ(word({14000000}), 104);
    EXPECT_EQ(word({14000000, 1800000}), 105) << "bands 0 and 2 together are row 5";
    EXPECT_EQ(word({50000000}), 100) << "above all bands: no bit";
    EXPECT_EQ(word({50000000, 7100000}), 102);
    EXPECT_EQ(word({3500000, 7100000, 14000000}), 0) << "there is no row 7";
}

TEST(SelectFilter, TheShiftUsesTheLow5BitsOfTheBandNumber) {
    std::vector<FilterBandRow> bands(40);
    for (int i = 0; i < 40; ++i)
        bands[static_cast<std::size_t>(i)].maxfrequency = 1000 * (i + 1);
    FilterTables tables;
    tables.useJ16 = false;
    tables.bands = bands;
    tables.rxWords = kRx;
    const auto word = [&](long long receiver) {
        return selectFilter(tables, 1, false, std::vector<long long>{receiver});
    };
    EXPECT_EQ(word(32500), 101) << "band 32 is bit 0";
    EXPECT_EQ(word(34500), 104) << "band 34 is bit 2";
    EXPECT_EQ(word(31500), 0) << "band 31 is far above the rows";
}

TEST(SelectFilter, DefaultEdges) {
    EXPECT_EQ(kDefaultBandEdges, (std::array<int, 10>{2498270, 4282749, 5995849, 8565498, 11991698, 16655136,
                                                      18737028, 23060958, 27253859, 42827494}));
}

} // namespace
} // namespace ferrow
