#include "modes/ft8/crc12.hpp"

#include <boost/crc.hpp>
#include <cstddef>

namespace ferrow {

int crc12(const unsigned char* data, int length) {
    if (length <= 0)
        return 0;
    return static_cast<int>(boost::augmented_crc<12, 0xC06>(data, static_cast<std::size_t>(length)));
}

bool crc12_check(const unsigned char* data, int length) {
    return crc12(data, length) == 0;
}

} // namespace ferrow
