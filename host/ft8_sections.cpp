#include "host/ft8_sections.hpp"

#include <cstdio>
#include <iterator>

namespace ferrow {
namespace {

const char* const kFieldDaySections[] = {
    "AB", "AK",  "AL",  "AR",  "AZ",  "BC",  "CO",  "CT",  "DE",  "EB",  "EMA", "ENY", "EPA", "EWA", "GA",
    "GH", "IA",  "ID",  "IL",  "IN",  "KS",  "KY",  "LA",  "LAX", "NS",  "MB",  "MDC", "ME",  "MI",  "MN",
    "MO", "MS",  "MT",  "NC",  "ND",  "NE",  "NFL", "NH",  "NL",  "NLI", "NM",  "NNJ", "NNY", "TER", "NTX",
    "NV", "OH",  "OK",  "ONE", "ONN", "ONS", "OR",  "ORG", "PAC", "PR",  "QC",  "RI",  "SB",  "SC",  "SCV",
    "SD", "SDG", "SF",  "SFL", "SJV", "SK",  "SNJ", "STX", "SV",  "TN",  "UT",  "VA",  "VI",  "VT",  "WCF",
    "WI", "WMA", "WNY", "WPA", "WTX", "WV",  "WWA", "WY",  "DX",  "PE",  "NB"};

const char* const kRoundupMultipliers[] = {
    "AL", "AK", "AZ", "AR",  "CA", "CO", "CT", "DE", "FL", "GA", "HI", "ID", "IL", "IN",  "IA",
    "KS", "KY", "LA", "ME",  "MD", "MA", "MI", "MN", "MS", "MO", "MT", "NE", "NV", "NH",  "NJ",
    "NM", "NY", "NC", "ND",  "OH", "OK", "OR", "PA", "RI", "SC", "SD", "TN", "TX", "UT",  "VT",
    "VA", "WA", "WV", "WI",  "WY", "NB", "NS", "QC", "ON", "MB", "SK", "AB", "BC", "NWT", "NF",
    "LB", "NU", "YT", "PEI", "DC", "DR", "FR", "GD", "GR", "OV", "ZH", "ZL"};

// Beyond the named ones: X01 to X99.
constexpr unsigned kLastMultiplier = 171;

} // namespace

std::string fieldDaySection(unsigned number) {
    return number >= 1 && number <= std::size(kFieldDaySections) ? kFieldDaySections[number - 1] : "";
}

std::string roundupMultiplier(unsigned number) {
    constexpr unsigned named = std::size(kRoundupMultipliers);
    if (number < 1 || number > kLastMultiplier)
        return "";
    if (number <= named)
        return kRoundupMultipliers[number - 1];
    char text[8];
    std::snprintf(text, sizeof text, "X%02u", number - named);
    return text;
}

unsigned fieldDaySectionNumber(std::string_view name) {
    for (unsigned n = 1; n <= std::size(kFieldDaySections); ++n)
        if (fieldDaySection(n) == name)
            return n;
    return 0;
}

unsigned roundupMultiplierNumber(std::string_view name) {
    for (unsigned n = 1; n <= kLastMultiplier; ++n)
        if (roundupMultiplier(n) == name)
            return n;
    return 0;
}

} // namespace ferrow
