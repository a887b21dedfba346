#include "radios/hpsdr/hpsdr_radio.hpp"

#include "core/tasks/log.hpp"
#include "radios/hpsdr/wideband.hpp"
#include "radios/hpsdr/wire.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <utility>

namespace ferrow {

namespace {

constexpr long long kFirstFrequency = 14095600;
constexpr int kSlotsPerReceiver = 128;

void sleepMilliseconds(int count) {
    std::this_thread::sleep_for(std::chrono::milliseconds(count));
}

} // namespace

HpsdrRadio::HpsdrRadio(const std::shared_ptr<syncTask>& hostContext)
    : Radio(hostContext),
      builder([this](long long frequency, bool transmitting) { return filterWord(frequency, transmitting); }),
      silence(kHpsdrBlockSamples, 0.0f) {
    const auto list = [this](auto& collection, int value, const char* label) {
        collection.add(std::make_shared<ValueLabelItem>(context(), value, label));
    };
    list(SampleRates, 48000, "48k");
    list(SampleRates, 96000, "96k");
    list(SampleRates, 192000, "192k");
    list(SampleRates, 384000, "384k");
    list(rfAgcModes, 0, "off");
    list(rfAgcModes, 2, "max");
    FilterSet.set(std::make_shared<J16Filter>(context()));
    canTransmit.set(true);
    avoidDcSpike = true;
    wideSpectrumNext = buff<float>(kWidebandBlock, 0.0f);
    appendHwReceiver(kFirstFrequency, 48000);
    bindListeners();
}

HpsdrRadio::~HpsdrRadio() {
    if (link->comms.running.load(std::memory_order_acquire))
        stopRadio();
    link->end();
}

void HpsdrRadio::bindListeners() {
    txGain.changed = [this] { updateGains(); };
    rxGain.changed = [this] { updateGains(); };
    ptt.changed = [this] {
        gainSettle = 0;
        updateGains();
    };
    SampleRate.changed = [this] {
        for (std::size_t i = 0; i < hwReceivers.size(); ++i)
            hwReceivers[i].rate = SampleRate.value();
        updateBatch();
        calibration.reset();
    };
    paBias0.changed = [this] {
        if (biasEnabled.value())
            builder.i2c().setBias0(paBias0.value(), FwVersion.value());
    };
    paBias1.changed = [this] {
        if (biasEnabled.value())
            builder.i2c().setBias1(paBias1.value(), FwVersion.value());
    };
    paExtBias0.changed = [this] {
        if (biasEnabled.value())
            builder.i2c().setExternalBias(paExtBias0.value());
    };
}

std::shared_ptr<HpsdrRadio> HpsdrRadio::self() {
    return std::static_pointer_cast<HpsdrRadio>(shared_from_this());
}

void HpsdrRadio::prepare() {
    if (J16Set.items().empty())
        for (const int edge : kDefaultBandEdges)
            J16Set.add(std::make_shared<J16>(context(), edge));
    if (FwdPwrCalibration.items().empty())
        for (const CalibrationPoint& point : defaultPowerTable())
            FwdPwrCalibration.add(std::make_shared<calibLine>(context(), point.inp, point.outp));
    in_addr address{};
    if (inet_pton(AF_INET, ipAddress.value().c_str(), &address) != 1)
        logError("HpsdrRadio ipAddress \"{}\" is not an IPv4 address", ipAddress.value());
    remoteAddress = address.s_addr;
    if (vtrxs.empty())
        addVtrx(kFirstFrequency, 0, 0);
    wideSpectrumSpan = clockFrequency.value() / 2;
    driveTable.build(HLite2Gain.value());
}

void HpsdrRadio::openLink() {
    link->socket.remotePort = remotePort;
    const int receivers = std::clamp(maxHwReceivers.value(), 0, static_cast<int>(HwReceiverList::kCapacity));
    connected = link->socket.openConnected(remoteAddress, kSlotsPerReceiver * receivers) != -6;
    link->comms.running.store(false, std::memory_order_release);
    // The thread must not keep the radio alive: only while it hands a packet over does it hold a reference.
    const std::weak_ptr<HpsdrRadio> radio = self();
    HpsdrLink::begin(link, [radio](int slot, long long time) {
        const auto alive = radio.lock();
        return alive && alive->postPacket(slot, time);
    });
    threadStarted = true;
}

void HpsdrRadio::startRadio() {
    updateGains();
    if (!threadStarted) {
        prepare();
        openLink();
        sleepMilliseconds(100);
    }
    if (!connected) {
        const int error = link->socket.connect(remoteAddress);
        connected = error == 0;
        if (!connected)
            logError("RIO connect {}", error);
    }
    builder.restartSequence();
    // Banks 0 to 9 twice: the radio has frequency, rate and gain before it starts.
    for (int round = 0; round < 2; ++round) {
        builder.setBank(0);
        for (int packet = 0; packet < 5; ++packet) {
            sendcommandcontrol(silence);
            sleepMilliseconds(1);
        }
    }
    expectedSequence = 0;
    calibration.skipPackets();
    const int slot = allocateSend(kHpsdrCommandSize);
    if (slot < 0) {
        logError("***no tx buffers****");
        return;
    }
    sleepMilliseconds(20);
    writeStartPacket(packetAt(slot), DisableWatchdog.value());
    queuePacket(slot);
    builder.setBank(0);
    streamNumber.fetch_add(1, std::memory_order_acq_rel);
    link->comms.running.store(true, std::memory_order_release);
}

void HpsdrRadio::stopRadio() {
    const int slot = allocateSend(kHpsdrCommandSize);
    if (slot < 0) {
        logError("HpsdrRadio::stopRadio no tx buffers {}", slot);
        return;
    }
    writeStopPacket(packetAt(slot));
    queuePacket(slot);
    link->comms.running.exchange(false, std::memory_order_acq_rel);
}

void HpsdrRadio::appendReceiver(long long frequency) {
    appendHwReceiver(frequency, SampleRate.value());
    builder.setBank(0);
}

void HpsdrRadio::addHwReceiver(long long frequency) {
    if (!stopToAddReceiver.value() || !link->comms.running.load(std::memory_order_acquire)) {
        appendReceiver(frequency);
    } else {
        // The number of receivers is part of the sample layout: the stream starts anew.
        stopRadio();
        sleepMilliseconds(20);
        appendReceiver(frequency);
        startRadio();
        calibration.reset();
    }
    updateBatch();
}

void HpsdrRadio::updateBatch() {
    const long long batch = static_cast<long long>(hwReceivers.size()) * SampleRate.value() / 48000;
    link->comms.batch.store(static_cast<int>(std::clamp(batch, 0LL, 1LL << 20)), std::memory_order_relaxed);
}

void HpsdrRadio::frequenciesChanged() {
    builder.setBank(2);
}

} // namespace ferrow
