// The receiving half of the MultiPSK link's framing: a length of four bytes, then a body of that many.
#pragma once

#include "core/buff/buff.hpp"

#include <cstdint>
#include <optional>
#include <span>

namespace ferrow {

// Free of sockets. Whoever brings the bytes fills wanted() completely and says so by filled(), in turns:
//
//     header: 4 bytes        ->  nothing
//     body: length bytes     ->  the body
//
// A length beyond the limit is cut down to it and logged as "tcp bad len"; what the packet had beyond the
// limit is then read as the next header.
class PacketReader {
public:
    static constexpr std::uint32_t kHeader = 4; // bytes

    explicit PacketReader(std::uint32_t limit);

    // The place of the next bytes; empty for a body of none.
    std::span<char> wanted() const noexcept { return {input_.data(), expected_}; }

    // A copy of the body once it is complete.
    std::optional<buff<char>> filled();

    bool inBody() const noexcept { return inBody_; }

    // Back to the header of a first packet.
    void reset() noexcept;

    // Little-endian, but with bytes that count from -128 to 127: one of 0x80 or above borrows from the next.
    static std::uint32_t lengthOf(std::span<const char, kHeader> header) noexcept;

private:
    buff<char> input_;
    std::uint32_t limit_;
    std::uint32_t expected_ = kHeader;
    bool inBody_ = false;
};

} // namespace ferrow
