// Whatever comes from the network must pass through every parser without harm.
#include "radios/hpsdr/receive_frame.hpp"
#include "radios/hpsdr/telemetry.hpp"
#include "radios/hpsdr/wideband.hpp"
#include "radios/hpsdr/wire.hpp"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace ferrow {
namespace {

// Reads a packet as a radio with `receivers` does. Returns the number of samples that came out.
std::size_t readAll(const std::vector<std::uint8_t>& packet, int receivers, Telemetry& telemetry) {
    const IncomingHead head = readHead(packet.data());
    if (!head.known)
        return 0;
    if (head.endpoint == kHpsdrEndpointWideband) {
        std::vector<float> block(kWidebandBlock);
        decodeWideband(packet.data() + 8, 1.0, block.data() + widebandPosition(head.sequence));
        return 512;
    }
    std::size_t samples = 0;
    for (const std::size_t at : {kHpsdrFrameA, kHpsdrFrameB}) {
        const std::uint8_t* frame = packet.data() + at;
        telemetry.read(frame + 3, true, frame[9] & 1);
        const FrameLayout layout = frameLayout(frame[2], receivers);
        for (int r = 0; r < layout.receivers; ++r) {
            std::vector<std::complex<float>> out(static_cast<std::size_t>(layout.records));
            IqReader(frame, layout, r, 1e-9f, false)(out.data(), out.size());
            for (const auto& sample : out)
                EXPECT_TRUE(std::isfinite(sample.real()) && std::isfinite(sample.imag()));
            samples += out.size();
        }
    }
    return samples;
}

TEST(ForeignBytes, RandomPacketsAndRandomChangesOfGoodOnes) {
    std::mt19937 random(3);
    Telemetry telemetry;
    std::size_t samples = 0;
    for (int round = 0; round < 20000; ++round) {
        // The buffer ends with the slot, so that a sanitizer sees any read behind it.
        std::vector<std::uint8_t> packet(1032, 0x7F);
        const std::size_t changes = round % 2 == 0 ? 1032 : random() % 20;
        packet[2] = 1;
        packet[3] = random() % 8 == 0 ? 4 : 6;
        for (std::size_t i = 0; i < changes; ++i)
            packet[changes == 1032 ? i : random() % 1032] = static_cast<std::uint8_t>(random());
        if (round % 4 == 0) {
            packet[2] = 1;
            packet[3] = 6;
        }
        if (round % 3 == 0)
            std::fill(packet.begin() + static_cast<long>(random() % 1032), packet.end(), std::uint8_t{0});
        samples += readAll(packet, 1 + static_cast<int>(random() % 12), telemetry);
    }
    EXPECT_GT(samples, 100000u) << "the packets do reach the decoders";
}

TEST(ForeignBytes, AnEmptyDatagramIsDroppedAndAZeroedRestIsSilence) {
    Telemetry telemetry;
    std::vector<std::uint8_t> packet(1032, 0);
    EXPECT_EQ(readAll(packet, 1, telemetry), 0u);
    packet[2] = 1;
    packet[3] = 6;
    EXPECT_EQ(readAll(packet, 1, telemetry), 126u);
    EXPECT_EQ(telemetry.inputs().ain1, 0.0);
}

TEST(ForeignBytes, OtherEndpointsAreDropped) {
    Telemetry telemetry;
    std::vector<std::uint8_t> packet(1032, 0x7F);
    packet[2] = 1;
    for (int endpoint = 0; endpoint < 256; ++endpoint) {
        packet[3] = static_cast<std::uint8_t>(endpoint);
        EXPECT_EQ(readAll(packet, 1, telemetry) > 0, endpoint == 4 || endpoint == 6) << endpoint;
    }
}

} // namespace
} // namespace ferrow
