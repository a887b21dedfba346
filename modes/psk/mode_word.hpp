// The mode word of the PSK family: a scheme in the low three bits, a speed above.
#pragma once

namespace ferrow {

enum class PskScheme {
    Bpsk = 0,
    QpskUpper = 1, // in upper sideband
    QpskLower = 2,
    Tune = 3,        // a steady carrier
    TuneWithEnd = 4, // the same, with a postamble
    Morse = 5,       // identification
};

inline constexpr int kPskSchemeBits = 7;
inline constexpr int kPskDouble = 8;     // 62.5 baud
inline constexpr int kPskQuadruple = 16; // 125 baud, whatever kPskDouble says

inline constexpr double kPskBaud = 31.25;

// `word` with nothing but known bits; one with an unknown scheme counts as 0.
constexpr int knownPskWord(int word) {
    const int known = word & (kPskSchemeBits | kPskDouble | kPskQuadruple);
    return (known & kPskSchemeBits) > static_cast<int>(PskScheme::Morse) ? 0 : known;
}

constexpr PskScheme pskScheme(int word) {
    return static_cast<PskScheme>(knownPskWord(word) & kPskSchemeBits);
}

// Symbol rate in units of 31.25 baud: 1, 2 or 4.
constexpr int pskSpeed(int word) {
    const int known = knownPskWord(word);
    return (known & kPskQuadruple) != 0 ? 4 : (known & kPskDouble) != 0 ? 2 : 1;
}

constexpr bool isQpsk(PskScheme scheme) {
    return scheme == PskScheme::QpskUpper || scheme == PskScheme::QpskLower;
}

} // namespace ferrow
