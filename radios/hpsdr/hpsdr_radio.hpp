// Radios on the first HPSDR protocol, the Hermes-Lite family above all.
//
// The radio's own sample clock is the only clock of the transmit path: the receive stream paces the packets
// that go back, one for every 126 samples' worth of time at 48 kHz, also while nothing is transmitted, since
// they carry the control words. Everything here runs on the radio's context; a comms thread moves the
// packets. The class has three sources: lifecycle, transmit and receive.
#pragma once

#include "core/async/value_label_item.hpp"
#include "radios/hpsdr/auto_gain.hpp"
#include "radios/hpsdr/clock_calibration.hpp"
#include "radios/hpsdr/drive_table.hpp"
#include "radios/hpsdr/filter_table.hpp"
#include "radios/hpsdr/gain_rule.hpp"
#include "radios/hpsdr/hpsdr_link.hpp"
#include "radios/hpsdr/j16.hpp"
#include "radios/hpsdr/packet_builder.hpp"
#include "radios/hpsdr/telemetry.hpp"
#include "radios/hpsdr/wire.hpp"
#include "trx/radio.hpp"

#include <array>
#include <complex>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ferrow {

class HpsdrRadio : public Radio {
public:
    explicit HpsdrRadio(const std::shared_ptr<syncTask>& hostContext);
    // Sends a stop packet if the radio still runs, ends the comms thread and closes the socket.
    ~HpsdrRadio() override;

    asyncCollection<ValueLabelItem> SampleRates;
    asyncProperty<std::string> Mac;       // shown only
    asyncProperty<std::string> ipAddress; // IPv4, dotted; read by the first start
    asyncProperty<int> txGain{0};         // RF gain in transmit, dB
    asyncProperty<int> rxGain{24};        // and in receive
    asyncProperty<int> maxTxRFGain{19};
    asyncProperty<int> minTxRFGain{-12};
    asyncProperty<int> maxRxRFGain{48};
    asyncProperty<int> minRxRFGain{-12};
    asyncProperty<double> frequencyCalibration{1.0}; // multiplies every frequency sent to the radio
    asyncProperty<bool> adcOvl{false};
    asyncProperty<int> ep6SeqErrors{0}; // gaps in the receive stream
    asyncProperty<int> ep4SeqErrors{0}; // stays 0
    asyncProperty<double> adcPeak{0};   // fraction of maxAdcValue
    asyncProperty<double> adcPeakDBFS{0};
    asyncProperty<int> maxAdcValue{2048};        // full scale of the wideband samples
    asyncProperty<int> clockFrequency{73728000}; // of the ADC, Hz
    asyncPersistantCollection<J16> J16Set;
    asyncProperty<bool> UseJ16{true};
    asyncProperty<std::shared_ptr<J16Filter>> FilterSet;
    asyncCollection<ValueLabelItem> rfAgcModes;
    asyncProperty<int> rfAgcMode{0};
    asyncProperty<bool> autoFreqCalib{false};
    asyncProperty<bool> hasHL2PA{false}; // the host's business
    asyncProperty<bool> enablePA{false};
    asyncProperty<bool> disableTR{false};
    asyncProperty<bool> biasEnabled{false}; // allows the bias writes
    asyncProperty<int> paBias0{0};
    asyncProperty<int> paBias1{0};
    asyncProperty<int> paExtBias0{0};
    asyncProperty<bool> HLiteGain{true};   // gain rule of the first Hermes-Lite
    asyncProperty<bool> HLite2Gain{false}; // gain rule and drive table of the second
    asyncProperty<bool> HLiteRxTxGain{false};
    asyncProperty<int> FwVersion{0};
    asyncProperty<int> TypeID{0};     // board type; 6 and 7 are Hermes-Lite
    asyncProperty<double> Temp{0};    // °C
    asyncProperty<double> Current{0}; // mA
    asyncProperty<float> FwdPwr{0};   // W
    asyncProperty<float> RevPwr{0};   // W
    asyncProperty<float> Swr{0};
    asyncProperty<int> MinTxBufferLevel{0};
    asyncProperty<int> TxBufferOverflow{0};
    asyncProperty<int> TxBufferUnderflow{0};
    asyncPersistantCollection<calibLine> FwdPwrCalibration;
    asyncProperty<bool> stopToAddReceiver{true}; // the stream restarts for a new receiver
    asyncProperty<int> MercurySerial{0};
    asyncProperty<int> PenelopeSerial{0};
    asyncProperty<bool> RXAntenna{false};
    asyncProperty<bool> DisableWatchdog{false};
    asyncProperty<int> TXBufferLatency{10};
    asyncProperty<int> PTTHangTime{22};
    asyncProperty<bool> ATUTune{false};

    void frequenciesChanged() override;
    void addHwReceiver(long long frequency) override;
    void transmit(buff<std::complex<float>> block) override;
    void startRadio() override;
    void stopRadio() override;

    // Writes to the board's bus; the bias only while `biasEnabled`.
    void writeBias();
    void writeExtBias();
    void writeMac(std::uint32_t value);
    void writeIP(std::uint32_t value);
    void writeStatus(std::uint32_t value);

    // Reads a received packet: 1032 bytes, with zeros behind what arrived; `time` in units of 100 ns since
    // 1970. What is no packet of a stream is passed over. On the radio's context.
    void readPacket(const std::uint8_t* packet, long long time);

    // Port of the radio; a test may set another one before the first start.
    std::uint16_t remotePort = 1024;

private:
    // Lifecycle.
    void bindListeners();
    void prepare();
    void openLink();
    void appendReceiver(long long frequency);
    void updateBatch();
    std::shared_ptr<HpsdrRadio> self();

    // Transmit.
    void updateGains();
    void updateRxScale();
    int allocateSend(std::size_t length);
    std::uint8_t* packetAt(int slot);
    bool queuePacket(int slot);
    void sendcommandcontrol(const buff<std::complex<float>>& block);
    PacketInputs packetInputs();
    int filterWord(long long frequency, bool transmit);
    std::span<const CalibrationPoint> powerTable();

    // Receive.
    bool postPacket(int slot, long long time);
    void handleRxPacketRIO(int slot, long long time, int startedAs);
    void checkSequence(std::uint32_t sequence, long long time);
    void transmitTick(std::uint32_t sequence);
    void handleEp4(const std::uint8_t* data, std::uint32_t sequence);
    void handleEp6(const std::uint8_t* frame);
    void readTelemetry(const std::uint8_t* control);
    void deliverFrame(const std::uint8_t* frame);
    void stepAutoGain();
    void refreshTelemetry();

    std::shared_ptr<HpsdrLink> link = std::make_shared<HpsdrLink>();
    bool threadStarted = false;
    bool connected = false;
    std::uint32_t remoteAddress = 0;  // network order
    std::atomic<int> streamNumber{0}; // starts so far: packets of an earlier stream are stale

    PacketBuilder builder;
    GainCodes gain;
    double rxScale = 1.0; // takes the RF gain out of the samples
    int gainSettle = 0;   // packets since a change of ptt, up to 4
    bool scalePtt = false;
    DriveTable driveTable;
    buff<std::complex<float>> silence;
    std::array<std::uint8_t, kHpsdrPacketSize>
        lostPacket{}; // where a packet is built that the send ring has no room for

    std::uint32_t expectedSequence = 0;
    long long lastPacketTime = 0;
    ClockCalibration calibration;
    AutoGain autoGain;
    Telemetry telemetry;
    int adcPeakRunning = 0;
    long long telemetryFrames = 0;

    // The tables and receivers as plain rows, filled anew for each use.
    std::array<ReceiverTuning, HwReceiverList::kCapacity> tunings;
    std::array<long long, HwReceiverList::kCapacity> receiverFrequencies{};
    std::vector<J16Row> j16Rows;
    std::vector<FilterBandRow> bandRows;
    std::vector<int> rxWords;
    std::vector<CalibrationPoint> powerRows;
};

} // namespace ferrow
