// The generator, raw I/Q, client and proxy modes, through exported functions where these matter.
#include "modes/client_mod_demod.hpp"
#include "modes/proxy_mod_demod.hpp"
#include "modes/raw_iq_mod_demod.hpp"
#include "modes/sig_gen_mod_demod.hpp"
#include "tests/modes/voice/voice_signals.hpp"
#include "tests/trx/trx_fixture.hpp"

#include <ferrowcore/ferrowcore.h>

namespace ferrow {
namespace {

using namespace test;

struct Chunk {
    std::vector<std::complex<float>> samples;
    int number;
};
std::vector<Chunk> chunks;
std::thread::id calledOn;

std::vector<std::complex<float>> content(void* array) {
    const auto* data = reinterpret_cast<const std::complex<float>*>(complexArray_data(array));
    return {data, data + complexArray_size(array)};
}

void onChunk(void* array, int number) {
    chunks.push_back({content(array), number});
    complexArray_delete(array);
}
void onDirectChunk(void* array) {
    chunks.push_back({content(array), -1});
    calledOn = std::this_thread::get_id();
    complexArray_data(array)[0] = 42;
    complexArray_delete(array);
}
void fillTwiceTheMicrophone(void* out, void* microphone) {
    calledOn = std::this_thread::get_id();
    for (int i = 0; i < 2 * complexArray_size(out); ++i)
        complexArray_data(out)[i] = 2 * complexArray_data(microphone)[i];
    complexArray_delete(out);
    complexArray_delete(microphone);
}

Samples ramp(std::size_t size = 512) {
    Samples block(size);
    for (std::size_t i = 0; i < size; ++i)
        block[i] = {static_cast<float>(i), -1};
    return block;
}

void expectRealPart(const buff<float>& audio, const Samples& block) {
    ASSERT_EQ(audio.size(), block.size());
    for (std::size_t i = 0; i < audio.size(); ++i)
        ASSERT_EQ(audio[i], block[i].real());
}

class UtilityModes : public TrxTest {
protected:
    void SetUp() override { chunks.clear(); }

    template <class Mode>
    static Mode& modeOf(void* handle) {
        return static_cast<Mode&>(**static_cast<std::shared_ptr<asyncObject>*>(handle));
    }
};

TEST_F(UtilityModes, AGeneratorWithoutAToneIsAPlainCarrierAtAnyOffset) {
    sigGenModDemod mode(rootSyncTask);
    mode.ampl1.set(0.7);
    for (const double offset : {200.0, 0.0, -3000.0, 1e12, static_cast<double>(NAN)}) {
        mode.freq2.set(offset);
        for (const auto& z : sent(mode, silence(), 2, 0)) {
            ASSERT_FLOAT_EQ(static_cast<float>(z.real()), 0.7f);
            ASSERT_EQ(z.imag(), 0);
        }
    }
}

TEST_F(UtilityModes, TheGeneratorsToneLiesAboveTheCarrier) {
    sigGenModDemod mode(rootSyncTask);
    EXPECT_EQ(mode.ampl1.value(), 1);
    EXPECT_EQ(mode.ampl2.value(), 0);
    EXPECT_EQ(mode.freq2.value(), 200);
    mode.ampl1.set(0.5);
    mode.ampl2.set(0.25);
    for (const double offset : {700.0, -700.0}) {
        mode.freq2.set(offset);
        const auto z = sent(mode, silence(), 40, 0);
        EXPECT_NEAR(level(z, offset), 0.25, 1e-5);
        EXPECT_NEAR(level(z, 0), 0.5, 1e-5);
        EXPECT_LT(level(z, -offset), 1e-6);
    }
}

TEST_F(UtilityModes, TheGeneratorIgnoresTheMicrophone) {
    sigGenModDemod a(rootSyncTask), b(rootSyncTask);
    a.ampl2.set(0.5);
    b.ampl2.set(0.5);
    EXPECT_EQ(sent(a, silence(), 3, 0), sent(b, tones({{1000, 1}}), 3, 0));
}

TEST_F(UtilityModes, AllKeepTheFlagsOfTheBase) {
    sigGenModDemod generator(rootSyncTask);
    RawIQModDemod raw(rootSyncTask);
    clientModDemod client(rootSyncTask);
    proxyModDemod proxy(rootSyncTask);
    for (const modDemod* mode : std::initializer_list<const modDemod*>{&generator, &raw, &client, &proxy}) {
        EXPECT_TRUE(mode->bufferedTx);
        EXPECT_TRUE(mode->useTxFilter);
        EXPECT_EQ(mode->txTail, 512);
    }
    const Samples block = ramp();
    expectRealPart(generator.demodulate(block), block);
}

TEST_F(UtilityModes, RawIqIsSilentBothWays) {
    RawIQModDemod mode(rootSyncTask);
    EXPECT_TRUE(mode.demodulate(ramp()).empty());
    const Samples out(512, 0.25f);
    mode.modulate(ramp(), out);
    for (const auto& sample : out)
        EXPECT_EQ(sample, std::complex<float>(0.25f));
}

TEST_F(UtilityModes, AClientWithoutAHostStillMakesAudio) {
    clientModDemod mode(rootSyncTask);
    const Samples block = ramp();
    expectRealPart(mode.demodulate(block), block);
    pumpUpdates();
    EXPECT_TRUE(chunks.empty());
}

TEST_F(UtilityModes, AClientsBlocksComeByThePumpNumberedFromZero) {
    void* handle = clientModDemod_create();
    clientModDemod_bindrxChunk(handle, onChunk);
    auto& mode = modeOf<clientModDemod>(handle);
    Samples block = ramp();
    for (int i = 0; i < 3; ++i) {
        expectRealPart(mode.demodulate(block), block);
        block[0] += 1; // the host has a copy
    }
    EXPECT_TRUE(chunks.empty());
    pumpUpdates();
    ASSERT_EQ(chunks.size(), 3u);
    for (int i = 0; i < 3; ++i) {
        const Chunk& chunk = chunks[static_cast<std::size_t>(i)];
        EXPECT_EQ(chunk.number, i);
        ASSERT_EQ(chunk.samples.size(), 512u);
        EXPECT_EQ(chunk.samples[0].real(), static_cast<float>(i));
        EXPECT_EQ(chunk.samples[511], std::complex<float>(511, -1));
    }
    clientModDemod_release(handle);
}

// The numbers count blocks, not deliveries: what nobody wanted shows as a gap.
TEST_F(UtilityModes, AClientCountsTheBlocksThatNobodyGot) {
    const auto mode = std::make_shared<clientModDemod>(rootSyncTask);
    mode->demodulate(ramp());
    mode->demodulate(ramp());
    mode->rxChunk.bind(onChunk, mode.get());
    mode->demodulate(ramp());
    pumpUpdates();
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].number, 2);
    const Samples out(512, 0.25f);
    mode->modulate(ramp(), out);
    EXPECT_EQ(out[0], std::complex<float>(0.25f));
}

TEST_F(UtilityModes, AProxysHostIsCalledInLine) {
    void* handle = proxyModDemod_create();
    auto& mode = modeOf<proxyModDemod>(handle);
    const Samples block = ramp(), out(512, 0.5f);
    expectRealPart(mode.demodulate(block), block);
    mode.modulate(block, out);
    EXPECT_EQ(out[100], std::complex<float>()) << "nobody fills it";

    proxyModDemod_bindrxChunk(handle, onDirectChunk);
    proxyModDemod_bindgetTxChunk(handle, fillTwiceTheMicrophone);
    const auto audio = mode.demodulate(block);
    ASSERT_EQ(chunks.size(), 1u) << "without a pump";
    EXPECT_EQ(calledOn, std::this_thread::get_id());
    EXPECT_EQ(chunks[0].samples[7], block[7]);
    EXPECT_EQ(audio[0], 42) << "the block itself, not a copy";
    mode.modulate(block, out);
    for (std::size_t i = 0; i < 512; ++i)
        ASSERT_EQ(out[i], 2.0f * block[i]);
    proxyModDemod_bindrxChunk(handle, nullptr);
    mode.demodulate(block);
    EXPECT_EQ(chunks.size(), 1u);
    proxyModDemod_release(handle);
}

// In a transceiver: the calls come on its worker, and what the host fills goes to the radio.
TEST_F(UtilityModes, AProxyInATransceiverIsCalledOnItsWorker) {
    void* handle = proxyModDemod_create();
    proxyModDemod_bindrxChunk(handle, onDirectChunk);
    proxyModDemod_bindgetTxChunk(handle, fillTwiceTheMicrophone);
    radio->addReceiver(14100000, 48000);
    const auto t = listen(
        14100000, std::static_pointer_cast<modDemod>(modeOf<proxyModDemod>(handle).shared_from_this()));
    feed(*t, Carrier(1000, 48000).next(512), 14100000, 48000);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_NE(calledOn, std::this_thread::get_id());
    calledOn = {};
    on(*t, [&] {
        t->ptt.setFromHost(true);
        t->produceTxChunk();
    });
    EXPECT_NE(calledOn, std::thread::id());
    EXPECT_NE(calledOn, std::this_thread::get_id());
    proxyModDemod_release(handle);
}

TEST_F(UtilityModes, ExportedPropertiesReachTheGenerator) {
    void* handle = sigGenModDemod_create();
    sigGenModDemod_setampl1(handle, 0.125);
    sigGenModDemod_setampl2(handle, 0.5);
    sigGenModDemod_setfreq2(handle, 123);
    auto& mode = modeOf<sigGenModDemod>(handle);
    settle(mode.context());
    EXPECT_EQ(mode.ampl1.value(), 0.125);
    EXPECT_EQ(mode.ampl2.value(), 0.5);
    EXPECT_EQ(mode.freq2.value(), 123);
    sigGenModDemod_release(handle);
    void* raw = RawIQModDemod_create();
    EXPECT_NE(raw, nullptr);
    RawIQModDemod_release(raw);
}

} // namespace
} // namespace ferrow
