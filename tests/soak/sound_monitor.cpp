#include "tests/soak/sound_monitor.hpp"

#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace ferrow::soak {

SoundMonitor::SoundMonitor(const test::PulseServer& server, const MachineWatch& machine, EventLog& log,
                           double hertz)
    : machine_(machine), log_(log), judge_(hertz) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    pipe_ = ends[0];
    recorder_.start({"parec", "--device=ferrow.monitor", "--format=float32le", "--rate=48000", "--channels=2",
                     "--latency-msec=20", "--raw"},
                    ends[1], server.folder() + "/parec.log");
    recorder_.preferIfAllowed();
    close(ends[1]);
    thread_ = std::thread([this] { collect(); });
}

SoundMonitor::~SoundMonitor() {
    recorder_.kill();
    thread_.join();
    close(pipe_);
}

void SoundMonitor::collect() {
    std::vector<char> bytes(ToneJudge::kWindow * 2 * sizeof(float));
    std::vector<float> frames(ToneJudge::kWindow * 2);
    std::size_t have = 0;
    for (ssize_t n; (n = read(pipe_, bytes.data() + have, bytes.size() - have)) > 0;) {
        have += static_cast<std::size_t>(n);
        if (have < bytes.size())
            continue;
        have = 0;
        std::memcpy(frames.data(), bytes.data(), bytes.size());
        const std::lock_guard lock(mutex_);
        judge_.judge(frames.data(), counts_, machine_.stalledWithin(kAfterStallMs));
        if (counts_ && !judge_.hears())
            log_.add("quiet", 1000.0 * ToneJudge::kWindow / ToneJudge::kRate);
    }
}

bool SoundMonitor::hears() const {
    const std::lock_guard lock(mutex_);
    return judge_.hears();
}

void SoundMonitor::follow(double hertz) {
    const std::lock_guard lock(mutex_);
    judge_.follow(hertz);
}

Sound SoundMonitor::take() {
    const std::lock_guard lock(mutex_);
    return judge_.take();
}

std::vector<ToneJudge::Window> SoundMonitor::takeWindows() {
    const std::lock_guard lock(mutex_);
    return judge_.takeWindows();
}

} // namespace ferrow::soak
