#include "host/ft8_recorder.hpp"

#include "host/failure.hpp"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ferrowcore/jt.h>
#include <fmt/format.h>

namespace ferrow {
namespace {

namespace fs = std::filesystem;

constexpr int kReceivedMarker = 8; // of a period without a transmission

constexpr int kStartWindowMs = 600; // of a period, a little more than that in which a recording may begin

} // namespace

RecordingFolder::RecordingFolder(const std::string& keep) : path_(keep), temporary_(keep.empty()) {
    std::error_code error;
    if (temporary_) {
        std::string pattern = (fs::temp_directory_path() / "ferrow-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw Failure(fmt::format("cannot make {}: {}", pattern, std::strerror(errno)));
        path_ = pattern;
        return;
    }
    fs::create_directories(path_, error);
    if (error)
        throw Failure(fmt::format("cannot make {}: {}", keep, error.message()));
}

RecordingFolder::~RecordingFolder() {
    std::error_code error;
    if (temporary_)
        fs::remove_all(path_, error);
}

std::string RecordingFolder::subfolder(const std::string& name) const {
    std::error_code error;
    fs::create_directories(path_ / name, error);
    if (error)
        throw Failure(fmt::format("cannot make {}: {}", (path_ / name).string(), error.message()));
    return (path_ / name / "").string();
}

SlotDecoder::SlotDecoder(SlotMode mode, bool removeFiles)
    : reader_(mode), removeFiles_(removeFiles), thread_([this] { work(); }) {}

SlotDecoder::~SlotDecoder() {
    {
        const std::lock_guard lock(mutex_);
        quit_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void SlotDecoder::add(const std::string& path, long long dial, bool sent) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back({path, dial, sent});
    }
    changed_.notify_all();
}

std::optional<DecodedSlot> SlotDecoder::take() {
    const std::lock_guard lock(mutex_);
    if (done_.empty())
        return std::nullopt;
    DecodedSlot slot = std::move(done_.front());
    done_.pop_front();
    return slot;
}

void SlotDecoder::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return quit_ || !jobs_.empty(); });
        if (quit_)
            return;
        const Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        DecodedSlot slot = decode(job);
        lock.lock();
        done_.push_back(std::move(slot));
    }
}

DecodedSlot SlotDecoder::decode(const Job& job) {
    DecodedSlot slot;
    slot.dial = job.dial;
    slot.time = slotTimeOf(job.path);
    slot.sent = job.sent;
    try {
        if (!job.sent)
            slot.lines = reader_.read(job.path);
    } catch (const std::exception& error) {
        slot.error = error.what();
    }
    std::error_code ignored;
    if (removeFiles_)
        fs::remove(job.path, ignored);
    return slot;
}

bool slotHasBegun(SlotMode mode) {
    return formatOf(mode).periodMs - millisecondsToNextSlot(mode) >= kStartWindowMs;
}

void SlotGate::poll(SlotMode mode) {
    if (!slotHasBegun(mode))
        return;
    for (const Transceiver* one : waiting_)
        JTModDemod_setEnabled(one->mode().get(), true);
    waiting_.clear();
}

bool NewFile::sent() const {
    return marker != kReceivedMarker;
}

Object makeSlotMode(SlotMode mode, const std::string& folder, std::function<void(const NewFile&)> take) {
    const SlotFormat& format = formatOf(mode);
    Object jt(JTModDemod_create());
    JTModDemod_setsaveDirectory(jt.get(), folder.c_str());
    JTModDemod_setperiod(jt.get(), format.periodMs);
    JTModDemod_setsamplesPerBlock(jt.get(), format.samples);
    JTModDemod_setendPadding(jt.get(), format.padding);
    JTModDemod_setEnabled(jt.get(), false);
    jt.bind(JTModDemod_bindnewFile, [take = std::move(take)](const char* text) { take(splitNewFile(text)); });
    return jt;
}

void recordSlots(Transceiver& transceiver, SlotMode mode, const std::string& folder, SlotDecoder& decoder) {
    transceiver.setMode(makeSlotMode(mode, folder,
                                     [&decoder, dial = transceiver.vfo()](const NewFile& file) {
                                         decoder.add(file.path, dial, file.sent());
                                     }),
                        kSlotFilterLow, kSlotFilterHigh);
}

NewFile splitNewFile(const std::string& text) {
    std::size_t end = text.size();
    while (end > 0 && text[end - 1] >= '0' && text[end - 1] <= '9')
        --end;
    NewFile file{text.substr(0, end), 0};
    std::from_chars(text.data() + end, text.data() + text.size(), file.marker);
    return file;
}

int millisecondsToNextSlot(SlotMode mode) {
    using namespace std::chrono;
    const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const int period = formatOf(mode).periodMs;
    return period - static_cast<int>(now % period);
}

} // namespace ferrow
