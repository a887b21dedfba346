// The PSK bank's detectors with what each of them reads.
#pragma once

#include "host/handle.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ferrow {

// All members are for the thread that pumps the library.
class DetectorBoard {
public:
    using Clock = std::chrono::steady_clock;

    struct Row {
        int place = 0;     // in the bank
        int frequency = 0; // Hz of audio
        std::string mode;  // "PSK31"
        std::string text;  // since the detector came to this signal, the newest 200 characters
        Clock::time_point heard{};
    };

    // `line` takes a detector's text when it goes to another signal, pauses, or has grown long; may be empty.
    DetectorBoard(Object& psk, std::function<void(const Row&)> line);

    // Hands over what has paused. From the loop of a command, with true at its end.
    void poll(bool all = false);

    // Gives the detectors' handles back; before the session's end.
    void release();

    // Those that have read something in the last half minute, by frequency. Manual detectors that read what
    // one of the bank reads as well are left out.
    std::vector<Row> rows() const;

private:
    struct Detector {
        Object object;
        Row row;
        std::string waiting; // of the line
    };

    void add(void* handle);
    void take(Detector& detector, const std::string& text);
    void hand(Detector& detector);

    std::function<void(const Row&)> line_;
    std::vector<std::unique_ptr<Detector>> detectors_;
    std::shared_ptr<const char> here_ = std::make_shared<const char>('\0'); // for callbacks that come later
};

} // namespace ferrow
