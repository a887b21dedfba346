// One receiver as a whole, from the bytes of the radio's datagrams to audio in the ring, with its spectrum,
// on one thread. "of_signal_time" is the share of a core that it takes. Beside it what liquid-dsp takes for a
// part of that: oscillator, half-band decimation and a filter of 513 taps.
//
// Each run hears a carrier 1000 Hz above its frequency and says so if the level behind the filter is off.
#include "core/fft/fft.hpp"
#include "core/tasks/runtime.hpp"
#include "core/tasks/sync_task.hpp"
#include "modes/am_mod_demod.hpp"
#include "modes/fm_mod_demod.hpp"
#include "modes/ssb_mod_demod.hpp"
#include "radios/hpsdr/receive_frame.hpp"
#include "trx/radio.hpp"
#include "trx/vtrx.hpp"

#include <benchmark/benchmark.h>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <semaphore>
#include <vector>

#ifdef FERROW_HAVE_LIQUID
#include <liquid/liquid.h>
#endif

using namespace ferrow;
using cf = std::complex<float>;

namespace {

constexpr long long kCentre = 14'100'000, kTuned = 14'111'000;
constexpr double kTone = 1000, kAmplitude = 0.1;

class DeafRadio : public Radio {
public:
    using Radio::Radio;
    void addReceiver(int rate) { appendHwReceiver(kCentre, rate); }
    void addHwReceiver(long long) override {}
    void frequenciesChanged() override {}
};

void runOn(asyncObject& object, std::function<void()> what) {
    std::binary_semaphore done{0};
    object.queueSeqItem(seqTask("bench", [&] {
        what();
        done.release();
    }));
    done.acquire();
}

// A second of the stream of protocol 1 with one receiver: a carrier, and noise 60 dB below.
std::vector<std::uint8_t> frames(int rate) {
    constexpr std::size_t kRecords = 63;
    std::vector<std::uint8_t> bytes;
    std::uint32_t noise = 1;
    const int total = rate / 63 * 63;
    // Whole periods, so that the second can be played again and again.
    const double step = 2 * std::numbers::pi *
                        std::round((static_cast<double>(kTuned - kCentre) + kTone) * total / rate) / total;
    for (int n = 0; n < total; n += 63) {
        bytes.insert(bytes.end(), {0x7F, 0x7F, 0x7F, 0, 0, 0, 0, 0});
        for (std::size_t i = 0; i < kRecords; ++i) {
            const double phase = step * (n + static_cast<double>(i));
            // The radio's spectrum is mirrored.
            for (const double value : {std::cos(phase), -std::sin(phase)}) {
                noise = noise * 1664525 + 1013904223;
                const auto v = static_cast<std::int32_t>(
                    8388607 * (kAmplitude * value + 1e-4 * (noise * 0x1p-32 - 0.5)));
                bytes.insert(bytes.end(), {static_cast<std::uint8_t>(v >> 16),
                                           static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)});
            }
            bytes.insert(bytes.end(), {0, 0});
        }
    }
    return bytes;
}

void startLibrary() {
    static const bool started = [] {
        const auto log = std::filesystem::temp_directory_path() / "ferrow-bench-receive.log";
        initRuntime(log.c_str(), 0);
        return true;
    }();
    static_cast<void>(started);
}

template <class Mode>
void receiver(benchmark::State& state) {
    startLibrary();
    const int rate = static_cast<int>(state.range(0)) * 1000;
    const auto radio = std::make_shared<DeafRadio>(rootSyncTask);
    radio->SampleRate.setFromHost(rate);
    std::shared_ptr<vtrx> transceiver;
    runOn(*radio, [&] {
        radio->addReceiver(rate);
        radio->addVtrx(kTuned, 0, 0);
        transceiver = radio->vtrxs.back();
    });
    runOn(*transceiver, [&] {
        transceiver->muted.setFromHost(true);
        transceiver->setModulation(std::make_shared<Mode>(rootSyncTask));
        transceiver->start();
        transceiver->setRxFilter(std::is_same_v<Mode, ssbModDemod> ? 200 : -5000,
                                 std::is_same_v<Mode, ssbModDemod> ? 2800 : 5000);
        transceiver->foregroundDisplay.setFromHost(state.range(1) != 0);
    });
    runOn(*transceiver, [] {});
    fft::prepare(1024);
    fft::prepare(2048);
    const std::vector<std::uint8_t> bytes = frames(rate);
    const std::size_t size = Radio::chunkSize(rate);
    const FrameLayout layout = layoutFor(1);
    std::size_t at = 0;
    buff<cf> carry(63);
    std::size_t carried = 0;
    const auto chunkOf = [&] {
        buff<cf> chunk(size);
        for (std::size_t have = 0; have < size;) {
            if (carried == 0) {
                decodeIq(bytes.data() + at + 8, 8, 63, 0x1p-31f, false, carry.data());
                at = at + 512 == bytes.size() ? 0 : at + 512;
            }
            const std::size_t n = std::min(carry.size() - carried, size - have);
            std::copy_n(carry.begin() + static_cast<std::ptrdiff_t>(carried), n,
                        chunk.begin() + static_cast<std::ptrdiff_t>(have));
            carried = carried + n == carry.size() ? 0 : carried + n;
            have += n;
        }
        return chunk;
    };
    benchmark::DoNotOptimize(layout);
    for (int i = 0; i < 200; ++i)
        transceiver->processRxChunk(chunkOf(), kCentre, rate, {}, 0, 0);
    for (auto _ : state)
        transceiver->processRxChunk(chunkOf(), kCentre, rate, {}, 0, 0);
    const double expected = 10 * std::log10(10 * kAmplitude * kAmplitude);
    if (std::abs(transceiver->signalStrength.value() - expected) > 0.5)
        state.SkipWithError("the carrier is not where it should be");
    state.counters["of_signal_time"] =
        benchmark::Counter(static_cast<double>(size) / rate * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    runOn(*radio, [&] { radio->removeVtrx(transceiver); });
}
// kHz, and whether its spectrum stands in the foreground (every frame) or not (two a second).
BENCHMARK(receiver<ssbModDemod>)
    ->ArgNames({"kHz", "foreground"})
    ->ArgsProduct({{48, 192, 384, 1536}, {0, 1}});
BENCHMARK(receiver<amModDemod>)->ArgNames({"kHz", "foreground"})->Args({384, 0});
BENCHMARK(receiver<fmModDemod>)->ArgNames({"kHz", "foreground"})->Args({384, 0});

#ifdef FERROW_HAVE_LIQUID

// Its decimator has 60 dB of stop band here, where ours has 120.
void liquid(benchmark::State& state) {
    const int rate = static_cast<int>(state.range(0)) * 1000;
    const unsigned stages = static_cast<unsigned>(std::log2(rate / 48000));
    const std::size_t factor = std::size_t{1} << stages, size = 512 * factor;
    const nco_crcf oscillator = nco_crcf_create(LIQUID_NCO);
    const double step = 2 * std::numbers::pi * 11000 / rate;
    nco_crcf_set_frequency(oscillator, static_cast<float>(step));
    const msresamp2_crcf decimator =
        stages > 0 ? msresamp2_crcf_create(LIQUID_RESAMP_DECIM, stages, 0.4f, 0, 60) : nullptr;
    const firfilt_crcf filter = firfilt_crcf_create_kaiser(513, 0.03f, 80, 0);
    std::vector<cf> in(size), mixed(size), low(512), out(512);
    double peak = 0;
    std::size_t n = 0;
    for (auto _ : state) {
        state.PauseTiming();
        for (cf& x : in) {
            const double phase = (step + 2 * std::numbers::pi * kTone / rate) * static_cast<double>(n++);
            x = cf(std::polar(kAmplitude, std::fmod(phase, 2 * std::numbers::pi)));
        }
        state.ResumeTiming();
        nco_crcf_mix_block_down(oscillator, in.data(), mixed.data(), static_cast<unsigned>(size));
        if (decimator != nullptr)
            for (std::size_t i = 0; i < 512; ++i)
                msresamp2_crcf_execute(decimator, &mixed[i * factor], &low[i]);
        firfilt_crcf_execute_block(filter, decimator != nullptr ? low.data() : mixed.data(), 512, out.data());
        benchmark::ClobberMemory();
    }
    for (const cf& x : out)
        peak = std::max(peak, static_cast<double>(std::abs(x)));
    benchmark::DoNotOptimize(peak);
    state.counters["of_signal_time"] =
        benchmark::Counter(static_cast<double>(size) / rate * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    firfilt_crcf_destroy(filter);
    if (decimator != nullptr)
        msresamp2_crcf_destroy(decimator);
    nco_crcf_destroy(oscillator);
}
BENCHMARK(liquid)->ArgName("kHz")->Arg(48)->Arg(384);

#endif

} // namespace
