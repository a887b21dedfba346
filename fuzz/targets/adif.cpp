// A log file, as the next start finds it.
#include "fuzz/fuzz.hpp"
#include "host/neighbours/adif_record.hpp"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::size_t whole = adifWholeLength(text);
    // what is kept is whole, and stays so with a record behind it
    if (whole > size || adifWholeLength(text.substr(0, whole)) != whole)
        std::abort();
    Contact contact;
    contact.call = contact.comment = text.substr(whole);
    const std::string more = std::string(text.substr(0, whole)) + adifRecord(contact);
    if (whole > 0 && adifWholeLength(more) != more.size())
        std::abort();
    return 0;
}
