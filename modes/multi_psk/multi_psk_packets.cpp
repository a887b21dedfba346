#include "modes/multi_psk/multi_psk_packets.hpp"

#include "core/tasks/log.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace ferrow {

namespace {

constexpr std::size_t kTag = 8;
constexpr double kLargest = 32000.0;
constexpr double kWordRange = 2147483648.0;

struct KnownTag {
    std::string_view tag;
    std::size_t leastBody;
    MultiPskCommand command;
    std::size_t frequencyAt; // 0: it has none
};
constexpr KnownTag kTags[] = {
    {"Pversion", 8, MultiPskCommand::Version, 0}, {"HWMPcapa", 8, MultiPskCommand::Capability, 0},
    {"InitHWMP", 18, MultiPskCommand::Start, 13}, {"Set_HWLO", 12, MultiPskCommand::Tune, 8},
    {"Received", 8, MultiPskCommand::None, 0},    {"Bug_on_P", 8, MultiPskCommand::Stop, 0}};

std::uint32_t readWord(const char* from) {
    std::uint32_t word = 0;
    for (std::size_t i = 4; i-- > 0;)
        word = word << 8 | static_cast<unsigned char>(from[i]);
    return word;
}

void writeWord(char* to, std::uint32_t word) {
    for (std::size_t i = 0; i < 4; ++i)
        to[i] = static_cast<char>(word >> (8 * i));
}

void writePart(char* to, double scaled) {
    // Also false for what is no number.
    const auto word = std::abs(scaled) < kWordRange ? static_cast<std::int32_t>(scaled) : 0;
    to[0] = static_cast<char>(word);
    to[1] = static_cast<char>(word >> 8);
}

buff<char> packetOf(std::string_view body) {
    const buff<char> packet(4 + body.size());
    writeWord(packet.data(), static_cast<std::uint32_t>(body.size()));
    std::copy(body.begin(), body.end(), packet.data() + 4);
    return packet;
}

std::string counted(std::string_view text) {
    return static_cast<char>(text.size()) + std::string(text);
}

} // namespace

MultiPskRequest readMultiPskRequest(const buff<char>& body) {
    if (body.size() < kTag)
        return {};
    const std::string_view tag(body.data(), kTag);
    const auto known = std::find_if(std::begin(kTags), std::end(kTags),
                                    [&](const KnownTag& entry) { return entry.tag == tag; });
    if (known == std::end(kTags)) {
        body[body.size() - 1] = '\0';
        logTrace("MultiPSK says \"{}\"", body.data());
        return {};
    }
    if (body.size() < known->leastBody)
        return {};
    const std::uint32_t word = known->frequencyAt > 0 ? readWord(body.data() + known->frequencyAt) : 0;
    return {known->command, static_cast<std::int32_t>(word)};
}

buff<char> versionPacket() {
    return packetOf(std::string_view("Pversion\0", 9));
}

buff<char> capabilityPacket() {
    return packetOf("HWMPcapa" + counted("FerrowRx") + counted("1.0") + counted("Hello") + counted("3") +
                    counted("48000") + counted("24000..40000000") + counted(""));
}

buff<char> frequencyPacket(long long hertz) {
    const buff<char> packet = packetOf("Set_HWLO....");
    writeWord(packet.data() + 12, static_cast<std::uint32_t>(hertz));
    return packet;
}

buff<char> MultiPskStream::packet(std::span<const std::complex<float>> block) {
    const auto bytes = static_cast<std::uint32_t>(4 * block.size());
    const buff<char> packet(16 + bytes);
    writeWord(packet.data(), bytes + 12);
    std::memcpy(packet.data() + 4, "TXHWdata", kTag);
    writeWord(packet.data() + 12, bytes);
    char* to = packet.data() + 16;
    for (const std::complex<float> sample : block) {
        const double magnitude = std::abs(static_cast<double>(sample.imag()));
        if (magnitude * gain_ > kLargest && std::isfinite(magnitude))
            gain_ = kLargest / magnitude;
        writePart(to, sample.imag() * gain_);
        writePart(to + 2, sample.real() * gain_);
        to += 4;
    }
    return packet;
}

} // namespace ferrow
