#include "sim/wire/protocol2.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace ferrow::sim::p2 {
namespace {

constexpr std::uint8_t kDiscoveryCommand = 0x02;
constexpr std::uint8_t kPhaseLocked = 0x10;

std::uint16_t big16(std::span<const std::uint8_t> bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

void putBig16(std::span<std::uint8_t> bytes, std::size_t at, std::uint16_t value) {
    bytes[at] = static_cast<std::uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<std::uint8_t>(value);
}

} // namespace

GeneralPacket classify(std::span<const std::uint8_t> datagram) {
    // protocol 1 asks at the same port, with packets that begin with EF FE
    if (datagram.size() != kShortBytes || (datagram[0] == 0xEF && datagram[1] == 0xFE))
        return GeneralPacket::Foreign;
    if (datagram[4] == kDiscoveryCommand)
        return GeneralPacket::Discovery;
    return datagram[4] == 0 ? GeneralPacket::General : GeneralPacket::Foreign;
}

bool read(std::span<const std::uint8_t> datagram, General& out) {
    if (datagram.size() != kShortBytes)
        return false;
    out = General{};
    std::uint16_t* const ports[] = {&out.ddcPort,     &out.ducPort,        &out.highPriorityPort,
                                    &out.statusPort,  &out.audioPort,      &out.ducIqPort,
                                    &out.firstIqPort, &out.microphonePort, &out.widebandPort};
    std::size_t at = 5;
    for (std::uint16_t* port : ports) {
        if (const std::uint16_t told = big16(datagram, at))
            *port = told;
        at += 2;
    }
    out.widebandEnable = datagram[23];
    out.widebandSamples = big16(datagram, 24);
    out.widebandBits = datagram[26];
    out.widebandInterval = datagram[27];
    out.widebandPackets = datagram[28];
    out.flags = datagram[37];
    out.timer = datagram[38];
    out.amplifier = datagram[58];
    out.filterBoards = datagram[59];
    return true;
}

bool read(std::span<const std::uint8_t> datagram, Ddc& out) {
    if (datagram.size() != kLongBytes)
        return false;
    out.adcs = datagram[4];
    out.dither = datagram[5];
    out.random = datagram[6];
    out.enableBits = static_cast<std::uint16_t>(datagram[7] | datagram[8] << 8);
    for (std::size_t i = 0; i < out.receivers.size(); ++i) {
        const std::size_t at = 17 + 6 * i;
        out.receivers[i] = {(out.enableBits >> i & 1) != 0, datagram[at], big16(datagram, at + 1),
                            datagram[at + 5]};
    }
    return true;
}

bool read(std::span<const std::uint8_t> datagram, Duc& out) {
    if (datagram.size() != kShortBytes)
        return false;
    out = {datagram[4],         datagram[5],  datagram[6],
           big16(datagram, 7),  datagram[9],  datagram[10],
           big16(datagram, 11), datagram[13], big16(datagram, 14),
           datagram[50],        datagram[51], {datagram[57], datagram[58], datagram[59]}};
    return true;
}

bool read(std::span<const std::uint8_t> datagram, HighPriority& out) {
    if (datagram.size() != kLongBytes)
        return false;
    out.run = (datagram[4] & 1) != 0;
    out.ptt = static_cast<std::uint8_t>(datagram[4] >> 1 & 0x0F);
    for (std::size_t i = 0; i < out.receiverWord.size(); ++i)
        out.receiverWord[i] = readBig32(&datagram[9 + 4 * i]);
    out.transmitWord = readBig32(&datagram[329]);
    out.drive = datagram[345];
    out.filterBits = readBig32(&datagram[1432]);
    out.attenuator = {datagram[1443], datagram[1442]};
    return true;
}

void to_json(nlohmann::json& json, const General& p) {
    json = {{"ddc_port", p.ddcPort},
            {"duc_port", p.ducPort},
            {"high_priority_port", p.highPriorityPort},
            {"status_port", p.statusPort},
            {"audio_port", p.audioPort},
            {"duc_iq_port", p.ducIqPort},
            {"first_iq_port", p.firstIqPort},
            {"microphone_port", p.microphonePort},
            {"wideband_port", p.widebandPort},
            {"wideband_enable", p.widebandEnable},
            {"wideband_samples", p.widebandSamples},
            {"wideband_bits", p.widebandBits},
            {"wideband_interval", p.widebandInterval},
            {"wideband_packets", p.widebandPackets},
            {"flags", p.flags},
            {"timer", p.timer},
            {"amplifier", p.amplifier},
            {"filter_boards", p.filterBoards}};
}

void to_json(nlohmann::json& json, const Ddc& p) {
    nlohmann::json receivers = nlohmann::json::array();
    for (const Ddc::Receiver& one : p.receivers)
        receivers.push_back(
            {{"enabled", one.enabled}, {"adc", one.adc}, {"khz", one.kilohertz}, {"bits", one.bits}});
    json = {{"adcs", p.adcs},
            {"dither", p.dither},
            {"random", p.random},
            {"enable", p.enableBits},
            {"receivers", receivers}};
}

void to_json(nlohmann::json& json, const Duc& p) {
    json = {{"dacs", p.dacs},
            {"cw_mode", p.cwMode},
            {"sidetone_level", p.sidetoneLevel},
            {"sidetone_hz", p.sidetoneHz},
            {"keyer_speed", p.keyerSpeed},
            {"keyer_weight", p.keyerWeight},
            {"hang_delay", p.hangDelay},
            {"rf_delay", p.rfDelay},
            {"khz", p.sampleRate},
            {"microphone_bits", p.microphoneBits},
            {"line_gain", p.lineGain},
            {"attenuators", p.attenuators}};
}

void to_json(nlohmann::json& json, const HighPriority& p) {
    json = {{"run", p.run},
            {"ptt", p.ptt},
            {"receiver_words", p.receiverWord},
            {"transmit_word", p.transmitWord},
            {"drive", p.drive},
            {"filter_bits", p.filterBits},
            {"attenuators", p.attenuator}};
}

double frequencyOf(std::uint32_t word, const General& general) {
    return general.phaseWords() ? word * (kAdcClock * 0x1p-32) : static_cast<double>(word);
}

int usableRate(const Ddc::Receiver& receiver) {
    if (!receiver.enabled || receiver.bits != 24)
        return 0;
    for (int kilohertz = 48; kilohertz <= 1536; kilohertz *= 2)
        if (receiver.kilohertz == kilohertz)
            return 1000 * kilohertz;
    return 0;
}

std::array<std::uint8_t, kShortBytes> discoveryReply(const Identity& who, bool streaming) {
    std::array<std::uint8_t, kShortBytes> reply{};
    reply[4] = streaming ? 0x03 : 0x02;
    std::copy(who.mac.begin(), who.mac.end(), reply.begin() + 5);
    reply[11] = who.boardId;
    reply[12] = 39; // protocol 3.9
    reply[13] = who.firmware;
    reply[20] = who.hardwareReceivers;
    reply[21] = 0x01;
    return reply;
}

std::array<std::uint8_t, kStatusBytes> statusPacket(std::uint32_t sequence, const Status& status) {
    std::array<std::uint8_t, kStatusBytes> packet{};
    writeBig32(packet.data(), sequence);
    packet[4] = static_cast<std::uint8_t>(kPhaseLocked | (status.ptt ? 0x01 : 0) | (status.key ? 0x02 : 0));
    packet[5] = status.overload;
    putBig16(packet, 14, status.forward);
    putBig16(packet, 22, status.reverse);
    putBig16(packet, 49, status.supply);
    putBig16(packet, 53, status.user2);
    putBig16(packet, 55, status.temperature);
    putBig16(packet, 57, status.current);
    return packet;
}

void writeIqHeader(std::span<std::uint8_t> packet, std::uint32_t sequence) {
    std::fill_n(packet.begin(), 16, std::uint8_t{0});
    writeBig32(packet.data(), sequence);
    putBig16(packet, 12, 24);
    putBig16(packet, 14, kIqRecords);
}

} // namespace ferrow::sim::p2
