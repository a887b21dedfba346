// Datagrams of the first HPSDR protocol: a byte with the number of receivers, one with rate and switches,
// then datagrams, each with the time since the last in front (a word of 10 us).
#include "core/tasks/runtime.hpp"
#include "fuzz/fuzz.hpp"
#include "radios/hpsdr/hpsdr_radio.hpp"
#include "radios/transport/datagram_socket.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    fuzz::startLibrary();
    fuzz::Input input(data, size);
    const auto radio = std::make_shared<HpsdrRadio>(rootSyncTask);
    const int receivers = 1 + input.byte() % 12;
    const unsigned switches = input.byte();
    radio->SampleRate.set(48000 << (switches & 3));
    radio->ptt.set((switches & 4) != 0);
    radio->autoFreqCalib.set((switches & 8) != 0);
    radio->rfAgcMode.set((switches & 16) != 0 ? 2 : 0);
    for (int i = 1; i < receivers; ++i)
        radio->addHwReceiver(7000000 + 5000000LL * i);
    long long time = 17'000'000'000'000'000;
    while (!input.empty()) {
        time += 100LL * input.word();
        radio->readPacket(input.datagram(DatagramSocket::kConnectedSlotSize).data(), time);
    }
    fuzz::pumpLibrary();
    return 0;
}
