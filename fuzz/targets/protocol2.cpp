// Datagrams of the new HPSDR protocol: a byte with the number of receivers, one with the rate, then
// datagrams, each with the port in front (an index into the ports below).
#include "core/tasks/runtime.hpp"
#include "fuzz/fuzz.hpp"
#include "radios/hpsdr_np/hpsdr_np_radio.hpp"
#include "radios/transport/datagram_socket.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    constexpr std::uint16_t kPorts[] = {1025, 1027, 1035, 1036, 1037, 1042, 1050, 1026, 1034, 1051, 0, 65535};
    fuzz::startLibrary();
    fuzz::Input input(data, size);
    const auto radio = std::make_shared<HpsdrNpRadio>(rootSyncTask);
    const int receivers = input.byte() % 9;
    radio->SampleRate.set(48000 << input.byte() % 6);
    for (int i = 0; i < receivers; ++i)
        radio->addHwReceiver(1000000 + 20000000LL * i);
    radio->rxGain.set(-(input.byte() % 32));
    while (!input.empty()) {
        const std::uint16_t port = kPorts[input.byte() % std::size(kPorts)];
        radio->readPacket(port, input.datagram(DatagramSocket::kOpenSlotSize).data());
    }
    fuzz::pumpLibrary();
    return 0;
}
