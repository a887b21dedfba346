// Radios on the new HPSDR protocol, as receivers. Nothing is transmitted, and of what the radio reports only
// the overload is taken in.
#pragma once

#include "core/async/async_collection.hpp"
#include "core/async/async_property.hpp"
#include "core/async/value_label_item.hpp"
#include "radios/hpsdr_np/np_packets.hpp"
#include "trx/radio.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace ferrow {

// Packets are told apart by the port of the radio that they come from. Its microphone stream, which its own
// clock paces, is the timer of the packets that go back: every 32 microphone packets one of either kind, so
// that a retune takes up to 32 of them to go out.
class HpsdrNpRadio : public Radio {
public:
    explicit HpsdrNpRadio(const std::shared_ptr<syncTask>& hostContext);
    ~HpsdrNpRadio() override;

    asyncCollection<ValueLabelItem> SampleRates;
    asyncProperty<std::string> Mac;
    asyncProperty<std::string> ipAddress; // IPv4, dotted; read by the first start
    asyncProperty<int> txGain{0};         // not sent
    asyncProperty<int> rxGain{0};         // dB: sets the attenuator, and is taken out of the samples
    asyncProperty<int> maxTxRFGain{0};
    asyncProperty<int> minTxRFGain{-31};
    asyncProperty<int> maxRxRFGain{0};
    asyncProperty<int> minRxRFGain{-31};
    asyncProperty<int> clockFrequency{122880000};    // of the ADC, Hz
    asyncProperty<double> frequencyCalibration{1.0}; // carried, like the next ones
    asyncProperty<bool> autoFreqCalib{false};
    asyncProperty<int> FwVersion{0};
    asyncProperty<double> Temp{0};
    asyncProperty<double> Current{0};
    asyncProperty<float> FwdPwr{0};
    asyncProperty<float> RevPwr{0};
    asyncProperty<float> Swr{0};
    asyncProperty<bool> adcOvl{false};
    asyncProperty<int> ep6SeqErrors{0}; // gaps in any receiver's stream
    asyncProperty<int> ep4SeqErrors{0}; // stays 0
    asyncProperty<double> adcPeak{0};   // fraction of full scale
    asyncProperty<double> adcPeakDBFS{0};

    void addHwReceiver(long long frequency) override;
    void startRadio() override;
    void stopRadio() override;

    // Reads a packet by the port of the radio that it came from: 2048 bytes, with zeros behind what arrived.
    // Those of ports without a stream to read are passed over. On the radio's context.
    void readPacket(std::uint16_t port, const std::uint8_t* packet);

private:
    struct Link; // shared with the comms thread

    // The radio's context.
    void prepare();
    void readSlot(int slot);
    void readStatus(const std::uint8_t* packet);
    void readIq(const std::uint8_t* packet, std::size_t index);
    void readWideband(const std::uint8_t* packet);

    // Any thread.
    void sendDdc();
    void sendHighPriority();

    static void run(const std::shared_ptr<Link>& link);

    std::shared_ptr<Link> link_;
    bool threadStarted_ = false;
    std::uint32_t remoteAddress_ = 0; // network order
    std::array<std::uint32_t, kNpIqPorts> expectedSequence_{};
    int sequenceErrors_ = 0; // a second count of the same gaps
    int widebandPeak_ = 0;   // largest magnitude since the last refresh
    int widebandPackets_ = 0;
};

} // namespace ferrow
