// Datagrams of the WSJT-X network protocol, which loggers and maps read: written, and those that come back
// read.
//
// Big-endian, as Qt's data streams lay out their types: a byte per bool, texts as UTF-8 behind a length of 32
// bits, times as milliseconds since midnight, moments as a Julian day, such a time and a byte for UTC.
#pragma once

#include "host/neighbours/contact.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace ferrow {

using Datagram = std::vector<std::uint8_t>;

inline constexpr std::uint32_t kWsjtxLowestSchema = 2, kWsjtxHighestSchema = 3;

// Who sends: what stands in each datagram.
struct WsjtxSender {
    std::string id = "ferrow"; // tells instances apart; answers name it
    std::uint32_t schema = kWsjtxLowestSchema;
};

struct WsjtxStatus {
    std::uint64_t dialFrequency = 0; // Hz
    std::string mode;                // FT8, ...
    std::string dxCall, report, txMode;
    bool txEnabled = false, transmitting = false, decoding = false;
    std::uint32_t rxOffset = 0, txOffset = 0; // audio, Hz
    std::string deCall, deGrid, dxGrid;
    bool txWatchdog = false;
    std::string subMode;
    bool fastMode = false;
    std::uint8_t specialOperation = 0;              // 0: none
    std::uint32_t frequencyTolerance = 0xFFFF'FFFF; // these three: does not apply
    std::uint32_t period = 0xFFFF'FFFF;             // seconds of transmission and reception
    std::string configuration = "Default";
    std::string txMessage;
    bool operator==(const WsjtxStatus&) const = default;
};

struct WsjtxDecode {
    bool isNew = true;        // not sent again in answer to Replay
    std::uint32_t time = 0;   // of the period, milliseconds since midnight UTC
    std::int32_t snr = 0;     // dB in 2500 Hz
    double deltaTime = 0;     // seconds
    std::uint32_t offset = 0; // audio, Hz
    std::string mode = "~";   // FT8; FT4 is "+"
    std::string message;
    bool lowConfidence = false;
    bool offAir = false; // from a recording
};

// "~" for FT8, "+" for FT4: as decodes name their mode.
std::string wsjtxModeSign(std::string_view mode);

Datagram wsjtxHeartbeat(const WsjtxSender& sender, std::string_view version, std::string_view revision);
Datagram wsjtxStatus(const WsjtxSender& sender, const WsjtxStatus& status);
Datagram wsjtxDecode(const WsjtxSender& sender, const WsjtxDecode& decode);
Datagram wsjtxClear(const WsjtxSender& sender);
Datagram wsjtxQsoLogged(const WsjtxSender& sender, const Contact& contact);
Datagram wsjtxClose(const WsjtxSender& sender);
Datagram wsjtxLoggedAdif(const WsjtxSender& sender, std::string_view adif);

// What comes back.
struct WsjtxPeerHeartbeat {
    std::uint32_t schema = kWsjtxLowestSchema; // highest that the peer reads
};
struct WsjtxClear {
    std::uint8_t window = 0;
};
// A double click on a decode: an answer is to be sent to it.
struct WsjtxReply {
    WsjtxDecode decode;
    std::uint8_t modifiers = 0; // keys held; 2: shift, 4: control, 8: alt
};
struct WsjtxReplay {};
struct WsjtxHaltTx {
    bool autoOnly = false; // only once what is being sent has ended
};
struct WsjtxFreeText {
    std::string text; // empty: leave it as it is
    bool send = false;
};
struct WsjtxClose {};

using WsjtxRequest = std::variant<WsjtxPeerHeartbeat, WsjtxClear, WsjtxReply, WsjtxReplay, WsjtxHaltTx,
                                  WsjtxFreeText, WsjtxClose>;

// A request to the instance `id`. Nothing if the datagram is for another one, of a kind that is not known
// here, cut short, or malformed in any way; what stands behind the last known field is left alone.
std::optional<WsjtxRequest> readWsjtxRequest(std::span<const std::uint8_t> datagram, std::string_view id);

} // namespace ferrow
