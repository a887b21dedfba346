// Wire code of the HPSDR radio: a receive frame to samples, and a data packet from a block.
#include "radios/hpsdr/packet_builder.hpp"
#include "radios/hpsdr/receive_frame.hpp"

#include <benchmark/benchmark.h>
#include <random>
#include <vector>

namespace {

using namespace ferrow;

std::vector<std::uint8_t> randomFrame() {
    std::mt19937 random(1);
    std::vector<std::uint8_t> frame(520);
    for (auto& byte : frame)
        byte = static_cast<std::uint8_t>(random());
    return frame;
}

template <auto Decode>
void decodeFrame(benchmark::State& state) {
    const auto frame = randomFrame();
    const auto receivers = static_cast<int>(state.range(0));
    const FrameLayout layout = layoutFor(receivers);
    std::vector<std::complex<float>> out(64);
    for (auto _ : state) {
        for (int r = 0; r < receivers; ++r)
            Decode(frame.data() + 8 + 6 * r, static_cast<std::size_t>(layout.recordBytes),
                   static_cast<std::size_t>(layout.records), 1e-9f, false, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * receivers * layout.records);
}
BENCHMARK(decodeFrame<&decodeIq>)->Arg(1)->Arg(4)->Arg(12);
BENCHMARK(decodeFrame<&decodeIq_ref>)->Arg(1)->Arg(4)->Arg(12);

// An I/Q packet of protocol 2.
template <auto Decode>
void decodePacket(benchmark::State& state) {
    std::mt19937 random(1);
    std::vector<std::uint8_t> packet(1444);
    for (auto& byte : packet)
        byte = static_cast<std::uint8_t>(random());
    std::vector<std::complex<float>> out(238), same(238);
    for (auto _ : state) {
        Decode(packet.data() + 16, 6, 238, 1e-9f, false, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    decodeIq_ref(packet.data() + 16, 6, 238, 1e-9f, false, same.data());
    if (out != same)
        state.SkipWithError("other samples");
    state.SetItemsProcessed(state.iterations() * 238);
}
BENCHMARK(decodePacket<&decodeIq>);
BENCHMARK(decodePacket<&decodeIq_ref>);

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
