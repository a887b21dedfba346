// What the RSP models have and how each setting lies in the API's records. Plain functions on the records:
// the radio calls the API with what they return.
#pragma once

#include "radios/sdrplay/sdrplay_records.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace ferrow::sdrplay {

enum class Model { Unknown, Rsp1, Rsp1A, Rsp2, RspDuo, RspDx };

struct AntennaRow {
    int value;
    const char* label;
};
struct ModelRow {
    const char* name;
    Model model;
    int lnaStates; // highest LNA state
    std::span<const AntennaRow> antennas;
};

// Null for a name that no model has.
const ModelRow* findModel(std::string_view name);

// Sets what `rate` needs on the device and on the channel; either may be null. Returns the reasons for an
// update; 0 for an unknown rate, which changes nothing.
std::uint32_t applyRate(int rate, DevParams* device, RxChannelParams* channel);

// What an update of the API is to be called with.
struct Change {
    int tuner;
    std::uint32_t reason;
    std::uint32_t extension;

    friend bool operator==(const Change&, const Change&) = default;
};

// The records of a selected device.
struct Records {
    Model model;
    int tuner;          // that the device was selected with
    DevParams* device;  // may be null: settings that lie there are then ignored
    RxChannelParams* a; // not null
    RxChannelParams* b; // may be null
};

// Each sets its fields and says what to update; nothing where the model has no such setting.
std::optional<Change> setBiasT(const Records& records, bool on);
std::optional<Change> setRfNotch(const Records& records, bool on);
std::optional<Change> setDabNotch(const Records& records, bool on);
std::optional<Change> setAntenna(const Records& records, int value);
std::optional<Change> setClockOut(const Records& records, bool on);

// How a channel's own gain control is to move the IF gain.
void setGainControl(RxChannelParams& channel);

} // namespace ferrow::sdrplay
