// The keyboard modes as the host knows them.
#pragma once

#include "host/handle.hpp"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ferrow {

enum class TextFamily { Psk, Cw, Rtty, Hell };

struct TextMode {
    const char* name; // on the command line
    TextFamily family;
    int pskWord; // value of PskModDemod.mode
    // Hz of the signal above the transceiver's frequency. RTTY: of its mark; Hellschreiber: of the top row.
    int receiveAt, sendAt;
    int lowest, highest; // its reach beside that, Hz
    bool receives;
};

// Names, for `--help` and checks.
std::vector<std::string> textModeNames();
// Throws UsageError for a name that there is not.
const TextMode& textMode(std::string_view name);

// The mode's object of the library, set up to receive at `receiveAt` and to send at `sendAt`.
Object makeTextMode(const TextMode& mode);

// Received text of the mode's own events. RTTY has none: the library writes it to the standard output.
void bindReceivedText(Object& object, const TextMode& mode, std::function<void(std::string)> take);
// Characters as they begin to be sent.
void bindSentText(Object& object, const TextMode& mode, std::function<void(std::string)> take);

// What ends a transmission when it stands behind the text.
std::string_view endMark(const TextMode& mode);
// The first character of `text` that the mode has no code for, or -1. UTF-8 beyond ASCII counts as such.
int firstUnknown(const TextMode& mode, std::string_view text);
void queueText(const Object& object, const TextMode& mode, const std::string& text);

} // namespace ferrow
