#include "modes/end_transmission.hpp"

#include "trx/vtrx.hpp"

#include <utility>

namespace ferrow {

void endTransmission(modDemod& mode, std::function<bool()> stillWanted) {
    const auto link = mode.vtrxLink();
    if (!link)
        return;
    link->queueSeqItem(
        seqTask("vtrx.ptt.set", [self = mode.shared_from_this(), link, stillWanted = std::move(stillWanted)] {
            if (!stillWanted || stillWanted())
                link->ptt.set(false);
        }));
}

} // namespace ferrow
