// Wire code of the HPSDR radio: a receive frame to samples, and a data packet from a block.
#include "radios/hpsdr/packet_builder.hpp"
#include "radios/hpsdr/receive_frame.hpp"

#include <benchmark/benchmark.h>
#include <random>
#include <vector>

namespace {

using namespace ferrow;

void buildPacket(benchmark::State& state) {
    const std::vector<ReceiverTuning> receivers{{7100000, 0}, {14200000, 0}};
    PacketBuilder builder([](long long, bool) { return 1; });
    std::vector<std::complex<float>> block(126, {0.3f, -0.4f});
    std::vector<std::uint8_t> packet(1032);
    for (auto _ : state) {
        PacketInputs inputs;
        inputs.control.receivers = receivers;
        inputs.control.typeId = 6;
        builder.build(packet.data(), inputs, block);
        benchmark::DoNotOptimize(packet.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(buildPacket);

} // namespace
