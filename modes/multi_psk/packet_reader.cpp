#include "modes/multi_psk/packet_reader.hpp"

#include "core/tasks/log.hpp"

#include <algorithm>

namespace ferrow {

PacketReader::PacketReader(std::uint32_t limit) : input_(std::max(limit, kHeader)), limit_(limit) {}

std::uint32_t PacketReader::lengthOf(std::span<const char, kHeader> header) noexcept {
    std::uint32_t length = 0;
    for (std::size_t i = kHeader; i-- > 0;)
        length = length * 256 + static_cast<std::uint32_t>(static_cast<signed char>(header[i]));
    return length;
}

std::optional<buff<char>> PacketReader::filled() {
    if (inBody_) {
        const buff<char> body(expected_);
        std::copy_n(input_.data(), expected_, body.data());
        reset();
        return body;
    }
    // A negative length is above every limit, too.
    expected_ = lengthOf(wanted().first<kHeader>());
    if (expected_ > limit_) {
        expected_ = limit_;
        logError("tcp bad len");
    }
    inBody_ = true;
    return std::nullopt;
}

void PacketReader::reset() noexcept {
    expected_ = kHeader;
    inBody_ = false;
}

} // namespace ferrow
