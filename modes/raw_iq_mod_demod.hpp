// The mode of a transceiver whose raw I/Q is wanted: no audio, no transmission.
#pragma once

#include "trx/mod_demod.hpp"

namespace ferrow {

class RawIQModDemod : public modDemod {
public:
    using modDemod::modDemod;
};

} // namespace ferrow
