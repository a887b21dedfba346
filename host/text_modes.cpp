#include "host/text_modes.hpp"

#include "host/failure.hpp"

#include <array>
#include <cctype>
#include <ferrowcore/keyboard.h>
#include <ferrowcore/modes.h>
#include <ferrowcore/psk.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace ferrow {
namespace {

constexpr int kAudio = 1500;                     // Hz, where the receiver has the signal
constexpr int kRttyMark = 2170, kHellTop = 1300; // Hz, as the library sends them

constexpr std::array<TextMode, 9> kModes = {{
    {"psk31", TextFamily::Psk, 0, kAudio, kAudio, -500, 500, true},
    {"psk63", TextFamily::Psk, 8, kAudio, kAudio, -500, 500, true},
    {"psk125", TextFamily::Psk, 16, kAudio, kAudio, -500, 500, true},
    {"qpsk31", TextFamily::Psk, 1, kAudio, kAudio, -500, 500, true},
    {"qpsk63", TextFamily::Psk, 9, kAudio, kAudio, -500, 500, true},
    {"qpsk125", TextFamily::Psk, 17, kAudio, kAudio, -500, 500, true},
    {"cw", TextFamily::Cw, 0, 0, 0, -250, 250, true},
    {"rtty", TextFamily::Rtty, 0, kAudio, kRttyMark, -500, 500, true},
    {"hell", TextFamily::Hell, 0, kHellTop, kHellTop, -500, 250, false},
}};

} // namespace

std::vector<std::string> textModeNames() {
    std::vector<std::string> names;
    for (const TextMode& mode : kModes)
        names.emplace_back(mode.name);
    return names;
}

const TextMode& textMode(std::string_view name) {
    for (const TextMode& mode : kModes)
        if (name == mode.name)
            return mode;
    throw UsageError(fmt::format("\"{}\" is no text mode: {}", name, fmt::join(textModeNames(), ", ")));
}

Object makeTextMode(const TextMode& mode) {
    Object object;
    switch (mode.family) {
    case TextFamily::Psk:
        object = Object(PskModDemod_create());
        PskModDemod_setmode(object.get(), mode.pskWord);
        break;
    case TextFamily::Cw:
        return Object(cwModDemod_create());
    case TextFamily::Rtty:
        object = Object(RTTYModDemod_create());
        break;
    case TextFamily::Hell:
        return Object(hellschreiberModDemod_create());
    }
    modDemod_setrxFreq(object.get(), mode.receiveAt);
    return object;
}

void bindReceivedText(Object& object, const TextMode& mode, std::function<void(std::string)> take) {
    const auto text = [take = std::move(take)](const char* characters) { take(characters); };
    if (mode.family == TextFamily::Psk)
        object.bind(PskModDemod_bindnewChars, text);
    else if (mode.family == TextFamily::Cw)
        object.bind(cwModDemod_bindnewChars, text);
}

void bindSentText(Object& object, const TextMode& mode, std::function<void(std::string)> take) {
    const auto text = [take = std::move(take)](const char* characters) { take(characters); };
    switch (mode.family) {
    case TextFamily::Psk:
        object.bind(PskModDemod_bindsentChars, text);
        break;
    case TextFamily::Cw:
        object.bind(cwModDemod_bindsentChars, text);
        break;
    case TextFamily::Rtty:
        object.bind(RTTYModDemod_bindsentChars, text);
        break;
    case TextFamily::Hell:
        object.bind(hellschreiberModDemod_bindsentChars, text);
        break;
    }
}

std::string_view endMark(const TextMode& mode) {
    return mode.family == TextFamily::Cw ? "`" : "~";
}

int firstUnknown(const TextMode& mode, std::string_view text) {
    constexpr std::string_view kCw = " .,?!=~<>%+&{}#", kRtty = " -'!:(+)?&./=,\r\n";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const bool plain = std::isalnum(c) != 0 && c < 128;
        bool known = true;
        switch (mode.family) {
        case TextFamily::Psk: // has a code for every byte, but the end
            known = c != '~' && c < 128;
            break;
        case TextFamily::Cw:
            known = plain || kCw.find(text[i]) != std::string_view::npos;
            break;
        case TextFamily::Rtty:
            known = plain || kRtty.find(text[i]) != std::string_view::npos;
            break;
        case TextFamily::Hell:
            known = c >= 32 && c < 127 && c != '~';
            break;
        }
        if (!known)
            return static_cast<int>(i);
    }
    return -1;
}

void queueText(const Object& object, const TextMode& mode, const std::string& text) {
    switch (mode.family) {
    case TextFamily::Psk:
        PskModDemod_QueueText(object.get(), text.c_str(), 0);
        break;
    case TextFamily::Cw:
        cwModDemod_QueueText(object.get(), text.c_str(), 0);
        break;
    case TextFamily::Rtty:
        RTTYModDemod_QueueText(object.get(), text.c_str(), 0);
        break;
    case TextFamily::Hell:
        hellschreiberModDemod_QueueText(object.get(), text.c_str(), 0);
        break;
    }
}

} // namespace ferrow
