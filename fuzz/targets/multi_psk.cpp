// What a MultiPSK client sends, as it comes over the connection.
#include "fuzz/fuzz.hpp"
#include "modes/multi_psk/multi_psk_packets.hpp"
#include "modes/multi_psk/packet_reader.hpp"
#include "modes/multi_psk_mod_demod.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    fuzz::startLibrary(); // for the log
    fuzz::Input input(data, size);
    PacketReader reader(MultiPskModDemod::kPacketLimit);
    while (!input.empty()) {
        const auto wanted = reader.wanted();
        const auto bytes = input.take(wanted.size());
        if (bytes.size() < wanted.size())
            break;
        std::copy(bytes.begin(), bytes.end(), wanted.begin());
        if (const auto body = reader.filled())
            readMultiPskRequest(*body);
    }
    return 0;
}
