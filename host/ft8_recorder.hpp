// Periods recorded by a transceiver, decoded beside the reception.
#pragma once

#include "host/ft8_reader.hpp"
#include "host/transceiver.hpp"

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace ferrow {

struct DecodedSlot {
    long long dial = 0; // Hz
    SlotTime time;
    std::vector<Ft8Line> lines;
    bool sent = false; // this program transmitted: there is nothing to decode
    std::string error; // not empty: the recording could not be decoded
};

// A folder for recordings: the user's own, which stays, or a temporary one, which goes with this object.
class RecordingFolder {
public:
    // Throws Failure if the folder cannot be made.
    explicit RecordingFolder(const std::string& keep);
    ~RecordingFolder();
    RecordingFolder(const RecordingFolder&) = delete;
    RecordingFolder& operator=(const RecordingFolder&) = delete;

    bool temporary() const { return temporary_; }
    // Made on demand, with a separator at its end.
    std::string subfolder(const std::string& name) const;

private:
    std::filesystem::path path_;
    bool temporary_;
};

// Decodes the recordings of one mode on a thread of its own, in the order in which they come.
class SlotDecoder {
public:
    // `removeFiles`: a recording is deleted once decoded.
    SlotDecoder(SlotMode mode, bool removeFiles);
    ~SlotDecoder();
    SlotDecoder(const SlotDecoder&) = delete;
    SlotDecoder& operator=(const SlotDecoder&) = delete;

    // `sent`: the transceiver transmitted in this period; its recording is not decoded.
    void add(const std::string& path, long long dial, bool sent = false);
    // A finished one, if there is any.
    std::optional<DecodedSlot> take();

private:
    struct Job {
        std::string path;
        long long dial;
        bool sent;
    };
    void work();
    DecodedSlot decode(const Job& job);

    Ft8Reader reader_;
    bool removeFiles_;
    std::mutex mutex_; // guards the next three
    std::deque<Job> jobs_;
    std::deque<DecodedSlot> done_;
    bool quit_ = false;
    std::condition_variable changed_;
    std::thread thread_;
};

// Lets the transceivers in when a whole period lies ahead. The library begins a recording anywhere in the
// first half second of a period; one that begins there only because reception has just begun lacks its start.
class SlotGate {
public:
    void add(const Transceiver& transceiver) { waiting_.push_back(&transceiver); }
    // For the loop of a command.
    void poll(SlotMode mode);

private:
    std::vector<const Transceiver*> waiting_;
};

// Splits what newFile tells: the path, and the digits behind it.
struct NewFile {
    std::string path;
    int marker = 0;
    bool sent() const; // the transceiver transmitted in this period
};
NewFile splitNewFile(const std::string& text);

// The library's mode that records the periods into the folder and hands every one over. It does nothing until
// a SlotGate opens.
Object makeSlotMode(SlotMode mode, const std::string& folder, std::function<void(const NewFile&)> take);
// Its usual filter, Hz: the recording's 12000 a second alone are no limit.
inline constexpr int kSlotFilterLow = 100, kSlotFilterHigh = 3300;

// Lets the transceiver record the mode's periods into the folder once a SlotGate opens, and hands every one
// to the decoder. `decoder` must outlive the transceiver's callbacks.
void recordSlots(Transceiver& transceiver, SlotMode mode, const std::string& folder, SlotDecoder& decoder);

// Whether so much of the mode's period has gone by that no recording of it begins any more.
bool slotHasBegun(SlotMode mode);

// Milliseconds from now to the start of the mode's next period.
int millisecondsToNextSlot(SlotMode mode);

} // namespace ferrow
