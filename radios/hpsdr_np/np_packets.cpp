#include "radios/hpsdr_np/np_packets.hpp"

#include "radios/hpsdr/receive_frame.hpp"
#include "radios/hpsdr/wideband.hpp"
#include "radios/hpsdr/wire.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ferrow {

namespace {

constexpr std::size_t kTransmitPhase = 329; // offset

std::uint8_t low8(int value) {
    return static_cast<std::uint8_t>(value);
}

} // namespace

NpShortPacket npGeneralPacket() {
    NpShortPacket packet{};
    // DDC, DUC, high priority to and from, DDC audio, DUC I/Q, first DDC I/Q, microphone, wideband.
    constexpr std::array<std::uint16_t, 9> ports{1025, 1026, 1027, 1025, 1028, 1029, 1035, 1026, 1027};
    for (std::size_t i = 0; i < ports.size(); ++i)
        putBe16(&packet[5 + 2 * i], ports[i]);
    packet[23] = 1;            // wideband on
    putBe16(&packet[24], 512); // its samples a packet
    packet[26] = 16;           // bits a sample
    packet[27] = 20;           // update rate
    packet[28] = 32;           // packets a frame
    packet[37] = 8;
    packet[58] = 1;
    packet[59] = 3;
    return packet;
}

NpShortPacket npDucPacket() {
    NpShortPacket packet{};
    packet[4] = 1;
    packet[5] = 0xB8;
    putBe16(&packet[7], 600);
    packet[9] = 25;
    packet[10] = 50;
    putBe16(&packet[11], 310);
    packet[13] = 20;
    packet[15] = 192;
    packet[50] = 4;
    packet[51] = 23;
    packet[57] = packet[58] = packet[59] = 31;
    return packet;
}

NpLongPacket npDdcPacket(int receivers, int maxReceivers, int sampleRate) {
    NpLongPacket packet{};
    packet[4] = 2; // ADCs
    const unsigned enabled = (1U << std::clamp(receivers, 0, 16)) - 1;
    packet[7] = static_cast<std::uint8_t>(enabled);
    packet[8] = static_cast<std::uint8_t>(enabled >> 8);
    for (int i = 0; i < std::min(maxReceivers, kNpMostReceivers); ++i) {
        std::uint8_t* row = &packet[static_cast<std::size_t>(17 + 6 * i)]; // its ADC, 0
        putBe16(row + 1, static_cast<std::uint16_t>(sampleRate / 1000));
        row[5] = 24; // bits a sample
    }
    return packet;
}

NpLongPacket npHighPriorityPacket(const NpHighPriority& state) {
    NpLongPacket packet{};
    packet[4] = state.running ? 1 : 0;
    const auto phase = [&](std::size_t i) {
        return state.frequencies.empty()
                   ? 0
                   : npPhaseWord(state.frequencies[i < state.frequencies.size() ? i : 0],
                                 state.clockFrequency);
    };
    const auto places = std::max(static_cast<int>(state.frequencies.size()), state.maxReceivers);
    for (int i = 0; i < std::min(places, kNpMostReceivers); ++i)
        putBe32(&packet[static_cast<std::size_t>(9 + 4 * i)], phase(static_cast<std::size_t>(i)));
    putBe32(&packet[kTransmitPhase], phase(0));
    packet[1432] = 0x21;
    packet[1434] = 0x10;
    packet[1443] = low8(state.attenuator);
    return packet;
}

std::uint32_t npPhaseWord(long long frequency, int clockFrequency) {
    const double word = std::round(static_cast<double>(frequency) * 4294967296.0 / clockFrequency);
    if (!(std::abs(word) < 9e18))
        return 0;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(word));
}

void NpIqReader::operator()(std::complex<float>* to, std::size_t count) {
    decodeIq(at_, kNpIqRecord, count, scale_, mirrored_, to);
    at_ += count * kNpIqRecord;
}

bool npMirrored(long long frequency, int clockFrequency) {
    const int zone = clockFrequency / 2;
    return zone != 0 && (frequency / zone) % 2 != 0;
}

int decodeNpWideband(const std::uint8_t* data, double scale, float* out) {
    int peak = 0;
    for (std::size_t i = 0; i < kWidebandQuarter; ++i, data += 2) {
        const int sample = static_cast<std::int16_t>(getBe16(data));
        peak = std::max(peak, std::abs(sample));
        out[i] = static_cast<float>(sample * scale);
    }
    return peak;
}

} // namespace ferrow
