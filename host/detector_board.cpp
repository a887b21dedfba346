#include "host/detector_board.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ferrowcore/psk.h>

namespace ferrow {
namespace {

using namespace std::chrono_literals;

constexpr auto kPause = 3s, kShown = 30s;
constexpr std::size_t kLineLength = 72, kTextLength = 200;
constexpr int kFirstManual = 60;
constexpr int kSameSignal = 20; // Hz

// What a terminal can show.
std::string printable(std::string text) {
    for (char& c : text)
        if (std::iscntrl(static_cast<unsigned char>(c)) != 0)
            c = ' ';
    return text;
}

} // namespace

DetectorBoard::DetectorBoard(Object& psk, std::function<void(const Row&)> line) : line_(std::move(line)) {
    psk.bind(PskModDemod_binddets, [this, here = std::weak_ptr(here_)](
                                       unsigned long long operation, unsigned long long, void* handle) {
        constexpr unsigned long long kWrite = 0, kAppend = 3;
        if (handle == nullptr)
            return;
        if (!here.expired() && (operation == kWrite || operation == kAppend))
            add(handle);
        else
            const Object unused(handle);
    });
}

void DetectorBoard::add(void* handle) {
    auto detector = std::make_unique<Detector>();
    Detector& it = *detector;
    it.object = Object(handle);
    it.row.place = static_cast<int>(detectors_.size());
    const auto whileHere = [here = std::weak_ptr(here_)](auto function) {
        return [here, function](auto... values) {
            if (!here.expired())
                function(values...);
        };
    };
    it.object.bind(PskDetector_bindfreq, whileHere([&it](int hertz) { it.row.frequency = hertz; }));
    it.object.bind(PskDetector_bindMode, whileHere([&it](const char* mode) { it.row.mode = mode; }));
    it.object.bind(PskDetector_bindnewChars, whileHere([this, &it](const char* text) { take(it, text); }));
    it.object.bind(PskDetector_bindreset, whileHere([this, &it]() {
        hand(it);
        it.row.text.clear();
    }));
    detectors_.push_back(std::move(detector));
}

void DetectorBoard::take(Detector& detector, const std::string& text) {
    const std::string plain = printable(text);
    detector.row.heard = Clock::now();
    detector.row.text += plain;
    if (detector.row.text.size() > kTextLength)
        detector.row.text.erase(0, detector.row.text.size() - kTextLength);
    detector.waiting += plain;
    if (detector.waiting.size() >= kLineLength)
        hand(detector);
}

void DetectorBoard::hand(Detector& detector) {
    if (detector.waiting.empty())
        return;
    Row row = detector.row;
    row.text = std::exchange(detector.waiting, {});
    if (line_)
        line_(row);
}

void DetectorBoard::poll(bool all) {
    for (const auto& detector : detectors_)
        if (all || Clock::now() - detector->row.heard > kPause)
            hand(*detector);
}

void DetectorBoard::release() {
    for (const auto& detector : detectors_)
        detector->object.reset();
}

std::vector<DetectorBoard::Row> DetectorBoard::rows() const {
    std::vector<Row> rows;
    const auto heard = [](const Row& row) { return !row.text.empty() && Clock::now() - row.heard < kShown; };
    for (const auto& detector : detectors_) {
        const Row& row = detector->row;
        if (!heard(row))
            continue;
        const bool twin = row.place >= kFirstManual &&
                          std::any_of(detectors_.begin(), detectors_.end(), [&](const auto& other) {
                              return other->row.place < kFirstManual && other->row.mode == row.mode &&
                                     heard(other->row) &&
                                     std::abs(other->row.frequency - row.frequency) <= kSameSignal;
                          });
        if (!twin)
            rows.push_back(row);
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.frequency < b.frequency; });
    return rows;
}

} // namespace ferrow
