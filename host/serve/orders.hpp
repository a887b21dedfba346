// What a listener asks for: the texts of the websocket, read and checked.
#pragma once

#include "host/ft8_bands.hpp"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace ferrow::serve {

enum class Agc { Fast, Medium, Slow, Off };
const char* nameOf(Agc agc);

enum class AudioFormat { Off, Pcm, Opus };

// Bounds of what is asked for; beyond them an order is refused.
inline constexpr int kHighestId = 255;                         // of a transceiver
inline constexpr long long kHighestFrequency = 10'000'000'000; // Hz
inline constexpr int kWidestEdge = 20000;                      // Hz from the dial
inline constexpr int kLeastBins = 64, kMostBins = 2048;
inline constexpr int kMostZoom = 512;
inline constexpr double kMostFrames = 60; // spectra a second
inline constexpr int kHighestMarker = 4000; // Hz
inline constexpr std::size_t kMostText = 1000; // characters to send; fits into every mode's ring
inline constexpr int kMostTimes = 40;          // FT8 transmissions by one order

struct AddOrder {
    long long frequency = 0; // Hz, the dial
    std::string mode;
};
struct RemoveOrder {
    int id = 0;
};
// What is not given stays as it is.
struct SetOrder {
    int id = 0;
    std::optional<long long> frequency; // Hz, the dial
    std::optional<std::string> mode;
    std::optional<int> low, high; // filter, Hz relative to the dial
    std::optional<Agc> agc;
    std::optional<double> gain;                   // dB, without automatic gain
    std::optional<std::optional<double>> squelch; // dB; nothing in it: off
    std::optional<std::optional<double>> nr;      // percent; nothing in it: off
    std::optional<double> volume;                 // 0 to 1
    std::optional<bool> mute;
    std::optional<int> marker; // Hz of audio
};
struct ViewOrder {
    int id = 0;
    std::optional<int> zoom; // a power of two
    std::optional<long long> offset; // Hz, of the display's centre from the dial
    std::optional<int> bins;         // a power of two
    std::optional<double> rate;      // frames a second; 0: none
};
struct AudioOrder {
    AudioFormat format = AudioFormat::Off;
};
struct PingOrder {
    nlohmann::json t; // a number, to be given back as it is
};
struct KeyOrder {
    int id = 0;
    bool on = false;
};
struct TuneOrder {
    int id = 0;
    bool on = false;
};
struct SendOrder {
    int id = 0;
    std::string text;
};
struct StopOrder {};
struct Ft8Order {
    int id = 0;
    std::string message;
    double frequency = 1500; // Hz above the dial, of the lowest tone
    SlotParity parity = SlotParity::Any;
    int times = 1;
};
// A contact for the log.
struct LogOrder {
    std::string call, grid, sent, received, mode;
    long long frequency = 0; // Hz
};

using Order = std::variant<AddOrder, RemoveOrder, SetOrder, ViewOrder, AudioOrder, PingOrder, KeyOrder,
                           TuneOrder, SendOrder, StopOrder, Ft8Order, LogOrder>;

struct OrderError {
    std::string about; // the order's word, or empty if that cannot be read
    std::string text;
};

// Reads one text. Knows nothing of transceivers: whether an id is somebody's is the station's business.
std::variant<Order, OrderError> readOrder(std::string_view text);

} // namespace ferrow::serve
