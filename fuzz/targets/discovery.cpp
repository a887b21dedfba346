// A datagram that comes in answer to the host's question for radios.
#include "host/discovery.hpp"
#include "fuzz/fuzz.hpp"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto found = ferrow::readDiscoveryReply({data, size}, "192.0.2.1");
    // what is shown of it has to be well formed whatever came
    if (found && (found->macText().size() != 17 || found->boardName() == nullptr ||
                  found->firmwareText().empty() || found->receivers < 1))
        std::abort();
    return 0;
}
