#include "sim/ft8/exchanges.hpp"

#include <algorithm>
#include <array>

namespace ferrow::sim {
namespace {

constexpr std::array<std::string_view, 86> kSections = {
    "AB", "AK",  "AL",  "AR",  "AZ",  "BC",  "CO",  "CT",  "DE",  "EB",  "EMA", "ENY", "EPA", "EWA", "GA",
    "GH", "IA",  "ID",  "IL",  "IN",  "KS",  "KY",  "LA",  "LAX", "NS",  "MB",  "MDC", "ME",  "MI",  "MN",
    "MO", "MS",  "MT",  "NC",  "ND",  "NE",  "NFL", "NH",  "NL",  "NLI", "NM",  "NNJ", "NNY", "TER", "NTX",
    "NV", "OH",  "OK",  "ONE", "ONN", "ONS", "OR",  "ORG", "PAC", "PR",  "QC",  "RI",  "SB",  "SC",  "SCV",
    "SD", "SDG", "SF",  "SFL", "SJV", "SK",  "SNJ", "STX", "SV",  "TN",  "UT",  "VA",  "VI",  "VT",  "WCF",
    "WI", "WMA", "WNY", "WPA", "WTX", "WV",  "WWA", "WY",  "DX",  "PE",  "NB"};

constexpr std::array<std::string_view, 72> kAreas = {
    "AL", "AK", "AZ", "AR",  "CA", "CO", "CT", "DE", "FL", "GA", "HI", "ID", "IL", "IN",  "IA",
    "KS", "KY", "LA", "ME",  "MD", "MA", "MI", "MN", "MS", "MO", "MT", "NE", "NV", "NH",  "NJ",
    "NM", "NY", "NC", "ND",  "OH", "OK", "OR", "PA", "RI", "SC", "SD", "TN", "TX", "UT",  "VT",
    "VA", "WA", "WV", "WI",  "WY", "NB", "NS", "QC", "ON", "MB", "SK", "AB", "BC", "NWT", "NF",
    "LB", "NU", "YT", "PEI", "DC", "DR", "FR", "GD", "GR", "OV", "ZH", "ZL"};

template <std::size_t N>
int indexIn(const std::array<std::string_view, N>& list, std::string_view word) {
    const auto at = std::find(list.begin(), list.end(), word);
    return at == list.end() ? 0 : static_cast<int>(at - list.begin()) + 1;
}

} // namespace

int fieldDayIndex(std::string_view section) {
    return indexIn(kSections, section);
}

int roundupIndex(std::string_view area) {
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    if (area.size() == 3 && area[0] == 'X' && digit(area[1]) && digit(area[2])) {
        const int number = (area[1] - '0') * 10 + (area[2] - '0');
        return number == 0 ? 0 : static_cast<int>(kAreas.size()) + number;
    }
    return indexIn(kAreas, area);
}

} // namespace ferrow::sim
