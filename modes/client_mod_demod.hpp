// Hands every received block to the host, by its pump, and plays it as well.
#pragma once

#include "core/async/async_event.hpp"
#include "trx/mod_demod.hpp"

#include <cstdint>

namespace ferrow {

class clientModDemod : public modDemod {
public:
    using modDemod::modDemod;

    // A copy of the block and its number, from 0; a gap in the numbers is a dropped block.
    asyncEvent<buff<std::complex<float>>, int> rxChunk;

    buff<float> demodulate(buff<std::complex<float>> block) override;

private:
    std::uint32_t sequence_ = 0;
};

} // namespace ferrow
