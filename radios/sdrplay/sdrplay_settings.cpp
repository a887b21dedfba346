#include "radios/sdrplay/sdrplay_settings.hpp"

#include <algorithm>
#include <array>

namespace ferrow::sdrplay {

namespace {

constexpr std::array kRsp2Antennas{AntennaRow{0, "A"}, AntennaRow{1, "B"}, AntennaRow{2, "Hi-Z"}};
constexpr std::array kDuoAntennas{AntennaRow{0, "50 ohm"}, AntennaRow{1, "Hi-Z"}};
constexpr std::array kDxAntennas{AntennaRow{0, "A"}, AntennaRow{1, "B"}, AntennaRow{2, "C"}};

constexpr std::array kModels{
    ModelRow{"RSP1", Model::Rsp1, 3, {}},
    ModelRow{"RSP1A", Model::Rsp1A, 9, {}},
    ModelRow{"RSP2", Model::Rsp2, 8, kRsp2Antennas},
    ModelRow{"RSPduo", Model::RspDuo, 9, kDuoAntennas},
    ModelRow{"RSPdx", Model::RspDx, 27, kDxAntennas},
};

struct RateRow {
    int rate;
    double fsHz;
    int decimation, bandwidth, ifType; // -, kHz, kHz
};
constexpr RateRow kRates[] = {
    {9600, 9600.0 * 32, 32, 200, 0},      {192000, 192000.0 * 16, 16, 200, 0},
    {384000, 384000.0 * 8, 8, 300, 0},    {768000, 768000.0 * 4, 4, 600, 0},
    {1536000, 1536000.0 * 2, 2, 1536, 0}, {2000000, 6000000, 1, 1536, 1620},
    {3072000, 3072000, 1, 5000, 0},       {6144000, 6144000, 1, 5000, 0},
    {8000000, 8000000, 1, 7000, 0},       {10000000, 10000000, 1, 8000, 0},
};

constexpr int kRsp2AntennaA = 5, kRsp2AntennaB = 6;
constexpr int kHiZ = 1;
constexpr int kLastAntenna = 2;

} // namespace

const ModelRow* findModel(std::string_view name) {
    const auto row =
        std::find_if(kModels.begin(), kModels.end(), [&](const ModelRow& m) { return m.name == name; });
    return row == kModels.end() ? nullptr : &*row;
}

std::uint32_t applyRate(int rate, DevParams* device, RxChannelParams* channel) {
    const auto row =
        std::find_if(std::begin(kRates), std::end(kRates), [&](const RateRow& r) { return r.rate == rate; });
    if (row == std::end(kRates))
        return reason::kNone;
    std::uint32_t reasons = reason::kNone;
    const auto store = [&](auto& field, auto value, std::uint32_t why) {
        if (field != value)
            reasons |= why;
        field = value;
    };
    if (channel != nullptr) {
        auto& decimation = channel->ctrlParams.decimation;
        store(decimation.decimationFactor, static_cast<unsigned char>(row->decimation), reason::kDecimation);
        decimation.enable = row->decimation != 1;
        decimation.wideBandSignal = row->ifType == 0;
        store(channel->tunerParams.bwType, row->bandwidth, reason::kBandwidth);
        store(channel->tunerParams.ifType, row->ifType, reason::kIfType);
    }
    if (device != nullptr)
        store(device->fsFreq.fsHz, row->fsHz, reason::kSampleRate);
    return reasons;
}

std::optional<Change> setBiasT(const Records& records, bool on) {
    switch (records.model) {
    case Model::Rsp2:
        records.a->rsp2TunerParams.biasTEnable = on;
        return Change{records.tuner, reason::kRsp2BiasT, extension::kNone};
    case Model::RspDuo:
        // The supply stands at tuner B's port: the API looks into that one's record where there is one.
        records.a->rspDuoTunerParams.biasTEnable = on;
        if (records.b != nullptr)
            records.b->rspDuoTunerParams.biasTEnable = on;
        return Change{kTunerB, reason::kDuoBiasT, extension::kNone};
    case Model::Rsp1A:
        records.a->rsp1aTunerParams.biasTEnable = on;
        return Change{records.tuner, reason::kRsp1ABiasT, extension::kNone};
    case Model::RspDx:
        if (records.device == nullptr)
            return std::nullopt;
        records.device->rspDxParams.biasTEnable = on;
        return Change{records.tuner, reason::kNone, extension::kDxBiasT};
    default:
        return std::nullopt;
    }
}

std::optional<Change> setRfNotch(const Records& records, bool on) {
    switch (records.model) {
    case Model::Rsp2:
        records.a->rsp2TunerParams.rfNotchEnable = on;
        return Change{records.tuner, reason::kRsp2RfNotch, extension::kNone};
    case Model::RspDuo: {
        auto& duo = records.a->rspDuoTunerParams;
        if (duo.tuner1AmPortSel == kHiZ) {
            duo.tuner1AmNotchEnable = on;
            return Change{records.tuner, reason::kDuoAmNotch, extension::kNone};
        }
        duo.rfNotchEnable = on;
        return Change{kTunerA, reason::kDuoRfNotch, extension::kNone};
    }
    case Model::Rsp1A:
        if (records.device == nullptr)
            return std::nullopt;
        records.device->rsp1aParams.rfNotchEnable = on;
        return Change{records.tuner, reason::kRsp1ARfNotch, extension::kNone};
    case Model::RspDx:
        if (records.device == nullptr)
            return std::nullopt;
        records.device->rspDxParams.rfNotchEnable = on;
        return Change{records.tuner, reason::kNone, extension::kDxRfNotch};
    default:
        return std::nullopt;
    }
}

std::optional<Change> setDabNotch(const Records& records, bool on) {
    switch (records.model) {
    case Model::RspDuo:
        records.a->rspDuoTunerParams.rfDabNotchEnable = on;
        return Change{kTunerA, reason::kDuoDabNotch, extension::kNone};
    case Model::Rsp1A:
        if (records.device == nullptr)
            return std::nullopt;
        records.device->rsp1aParams.rfDabNotchEnable = on;
        return Change{records.tuner, reason::kRsp1ADabNotch, extension::kNone};
    case Model::RspDx:
        if (records.device == nullptr)
            return std::nullopt;
        records.device->rspDxParams.rfDabNotchEnable = on;
        return Change{records.tuner, reason::kNone, extension::kDxDabNotch};
    default:
        return std::nullopt;
    }
}

std::optional<Change> setAntenna(const Records& records, int value) {
    if (value < 0 || value > kLastAntenna)
        return std::nullopt;
    switch (records.model) {
    case Model::Rsp2: {
        auto& rsp2 = records.a->rsp2TunerParams;
        if (value == 2) {
            rsp2.amPortSel = kHiZ;
            return Change{records.tuner, reason::kRsp2AmPort, extension::kNone};
        }
        rsp2.antennaSel = value == 1 ? kRsp2AntennaB : kRsp2AntennaA;
        if (rsp2.amPortSel != kHiZ)
            return Change{records.tuner, reason::kRsp2Antenna, extension::kNone};
        rsp2.amPortSel = 0;
        return Change{records.tuner, reason::kRsp2AmPort, extension::kNone};
    }
    case Model::RspDuo: {
        auto& port = records.a->rspDuoTunerParams.tuner1AmPortSel;
        if (value > 1 || port == value)
            return std::nullopt;
        port = value;
        return Change{kTunerA, reason::kDuoAmPort, extension::kNone};
    }
    case Model::RspDx:
        if (records.device == nullptr)
            return std::nullopt;
        records.device->rspDxParams.antennaSel = value;
        return Change{records.tuner, reason::kNone, extension::kDxAntenna};
    default:
        return std::nullopt;
    }
}

std::optional<Change> setClockOut(const Records& records, bool on) {
    if (records.model != Model::RspDuo || records.device == nullptr)
        return std::nullopt;
    records.device->rspDuoParams.extRefOutputEn = on;
    return Change{records.tuner, reason::kDuoExtRef, extension::kNone};
}

void setGainControl(RxChannelParams& channel) {
    Agc& agc = channel.ctrlParams.agc;
    agc.enable = 4;
    agc.setPoint_dBfs = -30;
    agc.attack_ms = 500;
    agc.decay_ms = 500;
    agc.decay_delay_ms = 200;
    agc.decay_threshold_dB = 5;
}

} // namespace ferrow::sdrplay
