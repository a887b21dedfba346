// Contacts in the Amateur Data Interchange Format, 3.1.
#pragma once

#include "host/neighbours/contact.hpp"

#include <string>
#include <string_view>

namespace ferrow {

// What a file begins with, up to <EOH> and the end of its line.
std::string adifHeader();

// One record with its <EOR> and the end of its line. What is not known is left out; characters that the
// format's strings cannot have become '?'.
std::string adifRecord(const Contact& contact);

// The format's name of the band, "20m"; empty outside of all bands.
std::string adifBand(long long hertz);

struct AdifMode {
    std::string mode, submode; // the latter may be empty
};
// FT4 is a submode of MFSK, upper sideband one of SSB, and so on.
AdifMode adifMode(std::string_view mode);

// How much of a file's text stands in whole records (or in the header and white space behind them), in bytes:
// what lies beyond has been cut short. Counts by the lengths that fields state, so that no text in a field
// looks like the end of a record. 0 for what is no such file.
std::size_t adifWholeLength(std::string_view text);

} // namespace ferrow
