// What stands behind --radio: where a radio is, and of which kind.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace ferrow {

enum class RadioKind { Hpsdr, HpsdrNp, SdrPlay, WsProxy };

struct RadioAddress {
    RadioKind kind = RadioKind::Hpsdr;
    std::string place; // dotted IPv4; serial number, empty for the first device; ws://host:port/path
    int remoteId = 0;  // WsProxy: the receiver to ask the server for

    // As --radio takes it: hpsdr://192.168.1.20, hpsdr2://..., sdrplay://SERIAL, ws://host:port/path?id=N.
    std::string url() const;
};

// ADDRESS alone is hpsdr://ADDRESS. Throws UsageError with a text that says what is wrong.
RadioAddress parseRadioAddress(std::string_view text);

// What can be asked of the radios of one kind.
struct RadioTraits {
    const char* scheme;         // with "://"
    const char* name;           // for people
    std::span<const int> rates; // kHz that a hardware receiver covers
    int usualRate;              // of them
    bool transmits;
    bool hasGain;
};

const RadioTraits& traitsOf(RadioKind kind);

} // namespace ferrow
