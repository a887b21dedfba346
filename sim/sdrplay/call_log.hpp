#pragma once
#include "sim/sdrplay/control.hpp"

#include <string>

namespace ferrow::sim::rsp {

/// A line of JSON for each call of the API, and one for each stream that has ended, appended to a file. Each
/// line is written in one piece: the copies of the API in a process share the file. Any thread.
class CallLog {
public:
    /// The file that FERROW_STANDIN_RECORD names, or none.
    CallLog();
    ~CallLog();
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;

    void write(const Call& call);

    struct Stream {
        double seconds = 0.0; ///< of samples
        double rate = 0.0;    ///< at the end
        std::int64_t samples = 0, callbacks = 0, gainEvents = 0, overloads = 0;
        double cpuSeconds = 0.0; ///< of the thread that makes the samples
        double latestMs = 0.0;
    };
    void write(const Stream& stream);

private:
    void append(std::string line);

    int file_ = -1;
};

} // namespace ferrow::sim::rsp
