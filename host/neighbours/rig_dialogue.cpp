#include "host/neighbours/rig_dialogue.hpp"

#include "host/neighbours/rig_state.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <vector>

namespace ferrow {
namespace {

using Words = std::vector<std::string>;

constexpr std::string_view kSpace = " \t";
// In the first line that a web browser sends. What a page makes it send behind that are no commands.
constexpr std::string_view kHttp = " HTTP/";
constexpr double kHighestNumber = 1e12; // Hz; far above any range

struct Record {
    const char* key; // null: the value stands alone in the extended protocol too
    std::string value;
};

struct Request {
    Vfo vfo = Vfo::A; // the one in front of the arguments, else the one that is received
    Words words;      // arguments behind it
};

struct Reply {
    int error = kRigDone;
    std::vector<Record> records;
};

Words split(std::string_view text) {
    Words words;
    while (true) {
        const std::size_t begin = text.find_first_not_of(kSpace);
        if (begin == std::string_view::npos)
            return words;
        text.remove_prefix(begin);
        const std::size_t end = std::min(text.find_first_of(kSpace), text.size());
        words.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
    }
}

template <typename T>
std::optional<T> readNumber(const std::string& word) {
    T value{};
    const char* end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, value);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

std::optional<long long> readHertz(const std::string& word) {
    const auto value = readNumber<double>(word);
    if (!value || !(std::abs(*value) < kHighestNumber))
        return std::nullopt;
    return std::llround(*value);
}

int errorOf(RigAnswer answer) {
    switch (answer) {
    case RigAnswer::Done:
        return kRigDone;
    case RigAnswer::BadArgument:
        return kRigBadArgument;
    case RigAnswer::NotSupported:
        return kRigNotAvailable;
    case RigAnswer::NotAllowed:
        return kRigRejected;
    case RigAnswer::Failed:
        break;
    }
    return kRigFailed;
}

const char* nameOf(Vfo vfo) {
    return vfo == Vfo::A ? "VFOA" : "VFOB";
}

Vfo transmitVfo(const RigPort& port) {
    return port.split().value_or(port.vfo());
}

std::optional<Vfo> readVfo(const std::string& word, const RigPort& port) {
    if (word == "VFOA" || word == "Main" || word == "MainA")
        return Vfo::A;
    if (word == "VFOB" || word == "Sub" || word == "MainB")
        return Vfo::B;
    if (word == "currVFO" || word == "VFO" || word == "RX")
        return port.vfo();
    if (word == "TX")
        return transmitVfo(port);
    return std::nullopt;
}

std::string modeNames(const RigPort& port) {
    std::string names;
    for (const RigMode& mode : port.modes())
        names += mode.name + ' ';
    return names;
}

} // namespace

struct RigCommands {
    using Handler = void (*)(RigDialogue&, const Request&, Reply&);

    struct Row {
        unsigned char letter;
        const char* name;
        bool set;                 // answered by RPRT alone
        bool takesVfo;            // in front of the arguments
        std::size_t fewest, most; // arguments
        Handler handler;
    };

    static void list(Reply& reply, std::string names) { reply.records = {{nullptr, std::move(names)}}; }

    static bool asksForList(const Request& request) { return request.words.front() == "?"; }

    static void setFrequency(RigPort& port, Vfo vfo, const Request& request, Reply& reply) {
        const auto hertz = readHertz(request.words[0]);
        const FrequencyRange range = port.range();
        reply.error = hertz && *hertz >= range.lowest && *hertz <= range.highest
                          ? errorOf(port.setFrequency(vfo, *hertz))
                          : kRigBadArgument;
    }

    static void setMode(RigPort& port, Vfo vfo, const Request& request, Reply& reply) {
        if (asksForList(request))
            return list(reply, modeNames(port));
        const auto passband = request.words.size() > 1 ? readNumber<int>(request.words[1]) : std::nullopt;
        const auto modes = port.modes();
        const bool known = std::any_of(modes.begin(), modes.end(),
                                       [&](const RigMode& mode) { return mode.name == request.words[0]; });
        reply.error =
            known && passband ? errorOf(port.setMode(vfo, {request.words[0], *passband})) : kRigBadArgument;
    }

    static void setFreq(RigDialogue& self, const Request& request, Reply& reply) {
        setFrequency(self.port_, request.vfo, request, reply);
    }
    static void getFreq(RigDialogue& self, const Request& request, Reply& reply) {
        reply.records = {{"Frequency", fmt::to_string(self.port_.frequency(request.vfo))}};
    }
    static void setMode(RigDialogue& self, const Request& request, Reply& reply) {
        setMode(self.port_, request.vfo, request, reply);
    }
    static void getMode(RigDialogue& self, const Request& request, Reply& reply) {
        const RigMode mode = self.port_.mode(request.vfo);
        reply.records = {{"Mode", mode.name}, {"Passband", fmt::to_string(mode.passband)}};
    }

    static void setVfo(RigDialogue& self, const Request& request, Reply& reply) {
        if (asksForList(request))
            return list(reply, "VFOA VFOB currVFO ");
        const auto vfo = readVfo(request.words[0], self.port_);
        reply.error = vfo ? errorOf(self.port_.setVfo(*vfo)) : kRigBadArgument;
    }
    static void getVfo(RigDialogue& self, const Request&, Reply& reply) {
        reply.records = {{"VFO", nameOf(self.port_.vfo())}};
    }

    static void setPtt(RigDialogue& self, const Request& request, Reply& reply) {
        const auto value = readNumber<int>(request.words[0]);
        constexpr int kData = 3; // by way of "on" and "microphone"
        reply.error = value && *value >= 0 && *value <= kData ? errorOf(self.port_.setPtt(*value != 0))
                                                              : kRigBadArgument;
    }
    static void getPtt(RigDialogue& self, const Request&, Reply& reply) {
        reply.records = {{"PTT", self.port_.ptt() ? "1" : "0"}};
    }

    static void setSplit(RigDialogue& self, const Request& request, Reply& reply) {
        const auto vfo = readVfo(request.words[1], self.port_);
        reply.error = kRigBadArgument;
        if (request.words[0] == "0" && vfo)
            reply.error = errorOf(self.port_.setSplit(std::nullopt));
        else if (request.words[0] == "1" && vfo && *vfo != self.port_.vfo())
            reply.error = errorOf(self.port_.setSplit(*vfo));
    }
    static void getSplit(RigDialogue& self, const Request&, Reply& reply) {
        reply.records = {{"Split", self.port_.split() ? "1" : "0"},
                         {"TX VFO", nameOf(transmitVfo(self.port_))}};
    }
    // Without split the transmitter goes with what is received, which these commands are not to move.
    static void setSplitFreq(RigDialogue& self, const Request& request, Reply& reply) {
        if (self.port_.split())
            setFrequency(self.port_, *self.port_.split(), request, reply);
        else
            reply.error = kRigRejected;
    }
    static void getSplitFreq(RigDialogue& self, const Request&, Reply& reply) {
        reply.records = {{"TX Frequency", fmt::to_string(self.port_.frequency(transmitVfo(self.port_)))}};
    }
    static void setSplitMode(RigDialogue& self, const Request& request, Reply& reply) {
        if (self.port_.split() || asksForList(request))
            setMode(self.port_, transmitVfo(self.port_), request, reply);
        else
            reply.error = kRigRejected;
    }
    static void getSplitMode(RigDialogue& self, const Request&, Reply& reply) {
        const RigMode mode = self.port_.mode(transmitVfo(self.port_));
        reply.records = {{"TX Mode", mode.name}, {"TX Passband", fmt::to_string(mode.passband)}};
    }

    static void getLevel(RigDialogue& self, const Request& request, Reply& reply) {
        if (asksForList(request))
            return list(reply, "STRENGTH ");
        const auto strength = self.port_.strength();
        if (request.words[0] != "STRENGTH" || !strength || !std::isfinite(*strength)) {
            reply.error = kRigNotAvailable;
            return;
        }
        constexpr double kLimit = 1000;
        reply.records = {
            {"Level Value", fmt::to_string(std::lround(std::clamp(*strength, -kLimit, kLimit)))}};
    }
    static void setLevel(RigDialogue&, const Request& request, Reply& reply) {
        if (asksForList(request))
            return list(reply, "");
        reply.error = kRigNotAvailable;
    }

    static void getPower(RigDialogue& self, const Request&, Reply& reply) {
        reply.records = {{"Power Status", self.port_.powered() ? "1" : "0"}};
    }
    static void getVfoInfo(RigDialogue& self, const Request& request, Reply& reply) {
        const auto vfo = readVfo(request.words[0], self.port_);
        if (!vfo) {
            reply.error = kRigBadArgument;
            return;
        }
        const RigMode mode = self.port_.mode(*vfo);
        reply.records = {{"Freq", fmt::to_string(self.port_.frequency(*vfo))},
                         {"Mode", mode.name},
                         {"Width", fmt::to_string(mode.passband)},
                         {"Split", self.port_.split() ? "1" : "0"},
                         {"SatMode", "0"}};
    }
    static void getInfo(RigDialogue& self, const Request&, Reply& reply) {
        reply.records = {{"Info", self.port_.description()}};
    }
    static void dumpState(RigDialogue& self, const Request&, Reply& reply) {
        for (std::string& line : rigState(self.port_, self.askedVfo_))
            reply.records.push_back({nullptr, std::move(line)});
    }
    static void checkVfo(RigDialogue& self, const Request&, Reply& reply) {
        self.askedVfo_ = true;
        reply.records = {{"ChkVFO", self.vfoMode_ ? "1" : "0"}};
    }
    static void setVfoOption(RigDialogue& self, const Request& request, Reply& reply) {
        if (request.words[0] != "0" && request.words[0] != "1") {
            reply.error = kRigBadArgument;
            return;
        }
        self.vfoMode_ = request.words[0] == "1";
    }
    static void getLockMode(RigDialogue&, const Request&, Reply& reply) { reply.records = {{"Locked", "0"}}; }
    static void quit(RigDialogue& self, const Request&, Reply&) { self.ended_ = true; }

    static const Row* find(std::string_view letterOrName, bool byName);
    static Reply run(RigDialogue& self, const Row& row, Words words);
};

namespace {

constexpr unsigned char kNoLetter = 0;

constexpr RigCommands::Row kRows[] = {
    {'F', "set_freq", true, true, 1, 1, RigCommands::setFreq},
    {'f', "get_freq", false, true, 0, 0, RigCommands::getFreq},
    {'M', "set_mode", true, true, 1, 2, RigCommands::setMode},
    {'m', "get_mode", false, true, 0, 0, RigCommands::getMode},
    {'V', "set_vfo", true, false, 1, 1, RigCommands::setVfo},
    {'v', "get_vfo", false, true, 0, 0, RigCommands::getVfo},
    {'T', "set_ptt", true, true, 1, 1, RigCommands::setPtt},
    {'t', "get_ptt", false, true, 0, 0, RigCommands::getPtt},
    {'S', "set_split_vfo", true, true, 2, 2, RigCommands::setSplit},
    {'s', "get_split_vfo", false, true, 0, 0, RigCommands::getSplit},
    {'I', "set_split_freq", true, true, 1, 1, RigCommands::setSplitFreq},
    {'i', "get_split_freq", false, true, 0, 0, RigCommands::getSplitFreq},
    {'X', "set_split_mode", true, true, 1, 2, RigCommands::setSplitMode},
    {'x', "get_split_mode", false, true, 0, 0, RigCommands::getSplitMode},
    {'L', "set_level", true, true, 1, 2, RigCommands::setLevel},
    {'l', "get_level", false, true, 1, 1, RigCommands::getLevel},
    {0x88, "get_powerstat", false, false, 0, 0, RigCommands::getPower},
    {0xf3, "get_vfo_info", false, false, 1, 1, RigCommands::getVfoInfo},
    {'_', "get_info", false, true, 0, 0, RigCommands::getInfo},
    {kNoLetter, "dump_state", false, false, 0, 0, RigCommands::dumpState},
    {kNoLetter, "chk_vfo", false, false, 0, 0, RigCommands::checkVfo},
    {kNoLetter, "set_vfo_opt", true, false, 1, 1, RigCommands::setVfoOption},
    {kNoLetter, "get_lock_mode", false, false, 0, 0, RigCommands::getLockMode},
    {'q', "quit", true, false, 0, 0, RigCommands::quit},
    {'Q', "exit", true, false, 0, 0, RigCommands::quit},
};

// The separator of the extended protocol that a line begins with, 0 for the default protocol.
char separatorOf(char first) {
    if (first == '+')
        return '\n';
    const bool punctuation = (first >= '!' && first <= '/') || (first >= ':' && first <= '@') ||
                             (first >= '[' && first <= '`') || (first >= '{' && first <= '~');
    return punctuation && first != '\\' && first != '?' && first != '_' && first != '#' ? first : '\0';
}

std::string report(const Reply& reply) {
    return fmt::format("RPRT {}\n", reply.error);
}

std::string show(const Reply& reply, bool set) {
    if (reply.error != kRigDone)
        return report(reply);
    std::string text;
    for (const Record& record : reply.records)
        text += record.value + '\n';
    return set ? text + report(reply) : text;
}

std::string showExtended(const Reply& reply, const std::string& header, char separator) {
    std::string text = header + separator;
    for (const Record& record : reply.records)
        text += (record.key ? fmt::format("{}: ", record.key) : "") + record.value + separator;
    return text + report(reply);
}

bool isText(std::string_view line) {
    return std::all_of(line.begin(), line.end(), [](char c) { return (c >= ' ' && c <= '~') || c == '\t'; });
}

} // namespace

const RigCommands::Row* RigCommands::find(std::string_view word, bool byName) {
    for (const Row& row : kRows)
        if (byName ? word == row.name
                   : row.letter != kNoLetter && word.size() == 1 &&
                         static_cast<unsigned char>(word[0]) == row.letter)
            return &row;
    return nullptr;
}

Reply RigCommands::run(RigDialogue& self, const Row& row, Words words) {
    Request request{self.port_.vfo(), std::move(words)};
    if (row.takesVfo && !request.words.empty()) {
        if (const auto vfo = readVfo(request.words.front(), self.port_)) {
            request.vfo = *vfo;
            request.words.erase(request.words.begin());
        }
    }
    Reply reply;
    if (request.words.size() < row.fewest || request.words.size() > row.most)
        reply.error = kRigBadArgument;
    else
        row.handler(self, request, reply);
    return reply;
}

std::string RigDialogue::answer(std::string_view line) {
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    const std::size_t begin = line.find_first_not_of(kSpace);
    if (begin == std::string_view::npos || line[begin] == '#')
        return "";
    if (line.find(kHttp) != std::string_view::npos) {
        ended_ = true;
        return "";
    }
    line.remove_prefix(begin);
    const char separator = separatorOf(line[0]);
    if (separator != '\0')
        line.remove_prefix(std::min(line.find_first_not_of(kSpace, 1), line.size()));

    const bool byName = line.starts_with('\\');
    if (byName)
        line.remove_prefix(1);
    // A letter may have its argument right behind it.
    const std::size_t length = std::min(byName ? line.find_first_of(kSpace) : 1, line.size());
    const std::string_view word = line.substr(0, length);
    const std::string_view rest = line.substr(length);
    const RigCommands::Row* row = RigCommands::find(word, byName);

    std::string header = row ? row->name : isText(word) ? std::string(word) : "?";
    header += ':';
    Reply reply{row ? kRigBadArgument : kRigNotAvailable, {}};
    if (row && isText(rest)) {
        const Words words = split(rest);
        for (const std::string& one : words)
            header += ' ' + one;
        reply = RigCommands::run(*this, *row, words);
    }
    return separator != '\0' ? showExtended(reply, header, separator) : show(reply, row && row->set);
}

} // namespace ferrow
