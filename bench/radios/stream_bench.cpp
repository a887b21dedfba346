// The stream of a radio over a real socket: what the thread that receives it costs, and what receiving and
// decoding cost together, with every packet accounted for.
//
// A process of its own sends what a radio would send, packets made ahead and numbered, every 200 us those
// that have fallen due. A second one receives them with the library through its exported functions; one of
// its receivers has a transceiver in SSB, the others' transceivers have no mode, so that all samples are
// decoded and dealt out and hardly anything is done with them. What it costs is the second process's CPU
// time.
#include "host/library.hpp"
#include "host/radio_session.hpp"
#include "host/voice_mode.hpp"

#include <arpa/inet.h>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <random>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace ferrow;

namespace {

using Clock = std::chrono::steady_clock;

struct Stream {
    RadioKind kind;
    int receivers;
    int rate; // of a receiver, Hz

    int samplesPerPacket() const {
        return kind == RadioKind::HpsdrNp ? 238 : 2 * (504 / (6 * receivers + 2));
    }
    // Packets a second; those of all receivers together where each has its own.
    double packetRate() const {
        return static_cast<double>(rate) / samplesPerPacket() * (kind == RadioKind::HpsdrNp ? receivers : 1);
    }
};

struct Outcome {
    double seconds = 0;                              // on the clock
    double comms = 0;                                // CPU time of the receiving thread, s
    double workers = 0;                              // of the library's workers, which decode
    double all = 0;                                  // of the receiving process
    double late = 0;                                 // the sender's worst lateness, s
    long long sent = 0;                              // packets
    long long received = 0;                          // by the library's count; protocol 1
    int errors = 0;                                  // gaps that the library has seen
    int sound = 0;                                   // blocks of the transceiver in SSB
    double median = 0, p99 = 0, least = 0, most = 0; // delay, s
};

// When the first packets left, in seconds of the steady clock: written by the sender, read by the receiver.
constexpr std::size_t kTimed = 400'000;

double now() {
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

sockaddr_in place(const std::string& address, int port) {
    sockaddr_in out{};
    out.sin_family = AF_INET;
    out.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, address.c_str(), &out.sin_addr);
    return out;
}

int boundSocket(const std::string& address, int port) {
    const int made = socket(AF_INET, SOCK_DGRAM, 0);
    const sockaddr_in own = place(address, port);
    if (bind(made, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0)
        _exit(3);
    const int room = 8 << 20;
    setsockopt(made, SOL_SOCKET, SO_SNDBUFFORCE, &room, sizeof room);
    return made;
}

// The process that sends.
class Sender {
public:
    Sender(const Stream& stream, const std::string& address, double* times) : stream_(stream), times_(times) {
        std::mt19937 random(1);
        for (auto& byte : noise_)
            byte = static_cast<std::uint8_t>(random());
        if (stream.kind == RadioKind::Hpsdr) {
            sockets_ = {boundSocket(address, 1024)};
            control_ = sockets_;
        } else {
            for (int port = 1024; port <= 1027; ++port)
                control_.push_back(boundSocket(address, port));
            for (int i = 0; i < stream.receivers; ++i)
                sockets_.push_back(boundSocket(address, 1035 + i));
        }
        sequence_.resize(sockets_.size());
        ring_.resize(kRing * sockets_.size());
        for (auto& packet : ring_)
            fill(packet);
    }

    // Streams from the start to the stop packet, but for 100 s at most.
    void run(int report) {
        sockaddr_in host{};
        while (!heard(&host, 1000)) {
        }
        for (const int one : sockets_)
            connect(one, reinterpret_cast<sockaddr*>(&host), sizeof host);
        // Packets from before the host has begun to listen would be counted by one side only.
        usleep(50'000);
        const auto began = Clock::now();
        Outcome outcome;
        double worst = 0;
        const double rate = stream_.packetRate() / static_cast<double>(sockets_.size());
        timespec next{};
        clock_gettime(CLOCK_MONOTONIC, &next);
        for (long long sent = 0;;) {
            next.tv_nsec += kPauseNs;
            if (next.tv_nsec >= 1'000'000'000) {
                next.tv_nsec -= 1'000'000'000;
                ++next.tv_sec;
            }
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
            const double now = std::chrono::duration<double>(Clock::now() - began).count();
            const auto due = static_cast<long long>(now * rate);
            worst = std::max(worst, static_cast<double>(due - sent) / rate);
            for (std::size_t i = 0; i < sockets_.size(); ++i)
                outcome.sent += burst(i, static_cast<int>(std::min<long long>(due - sent, kRing)));
            sent += std::min<long long>(due - sent, kRing);
            if (++rounds_ % 64 == 0 && (stopped() || now > 100))
                break;
        }
        outcome.late = worst;
        if (write(report, &outcome, sizeof outcome) != sizeof outcome)
            _exit(4);
    }

private:
    static constexpr long kPauseNs = 200'000;
    static constexpr std::size_t kRing = 256;
    struct Packet {
        std::array<std::uint8_t, 1444> bytes;
        std::size_t size;
    };

    void fill(Packet& packet) const {
        packet.bytes = {};
        if (stream_.kind == RadioKind::HpsdrNp) {
            packet.size = 1444;
            std::copy_n(noise_.begin(), 238 * 6, packet.bytes.begin() + 16);
            packet.bytes[13] = 24;
            packet.bytes[15] = 238;
            return;
        }
        packet.size = 1032;
        const std::uint8_t head[] = {0xEF, 0xFE, 0x01, 0x06};
        std::copy(std::begin(head), std::end(head), packet.bytes.begin());
        for (const std::size_t frame : {8u, 520u}) {
            std::copy_n(noise_.begin(), 512, packet.bytes.begin() + static_cast<std::ptrdiff_t>(frame));
            std::fill_n(packet.bytes.begin() + static_cast<std::ptrdiff_t>(frame), 3, std::uint8_t{0x7F});
            std::fill_n(packet.bytes.begin() + static_cast<std::ptrdiff_t>(frame) + 3, 5, std::uint8_t{0});
        }
    }

    // Whether the host has told the radio to stream; `from` is where it listens.
    bool heard(sockaddr_in* from, int milliseconds) {
        std::vector<pollfd> waits;
        for (const int one : control_)
            waits.push_back({one, POLLIN, 0});
        poll(waits.data(), waits.size(), milliseconds);
        bool start = false;
        for (std::size_t i = 0; i < waits.size(); ++i) {
            std::array<std::uint8_t, 2048> data;
            socklen_t length = sizeof *from;
            for (ssize_t n; (n = recvfrom(control_[i], data.data(), data.size(), MSG_DONTWAIT,
                                          reinterpret_cast<sockaddr*>(from), &length)) > 0;)
                start |= stream_.kind == RadioKind::Hpsdr
                             ? n == 64 && data[0] == 0xEF && data[2] == 4 && (data[3] & 1)
                             : i == 3 && data[4] == 1;
        }
        return start;
    }

    bool stopped() {
        bool stop = false;
        for (std::size_t i = 0; i < control_.size(); ++i) {
            std::array<std::uint8_t, 2048> data;
            ssize_t n;
            while ((n = recv(control_[i], data.data(), data.size(), MSG_DONTWAIT)) > 0)
                stop |= stream_.kind == RadioKind::Hpsdr
                            ? n == 64 && data[0] == 0xEF && data[2] == 4 && !(data[3] & 1)
                            : i == 3 && data[4] == 0;
            stop |= errno == ECONNREFUSED; // the host has gone
        }
        return stop;
    }

    int burst(std::size_t at, int count) {
        const std::size_t number = stream_.kind == RadioKind::HpsdrNp ? 0 : 4;
        std::array<mmsghdr, kRing> heads{};
        std::array<iovec, kRing> pieces;
        for (int i = 0; i < count; ++i) {
            const auto k = static_cast<std::size_t>(i);
            Packet& packet = ring_[at * kRing + k];
            const std::uint32_t sequence = htonl(sequence_[at]++);
            std::memcpy(packet.bytes.data() + number, &sequence, 4);
            pieces[k] = {packet.bytes.data(), packet.size};
            heads[k].msg_hdr.msg_iov = &pieces[k];
            heads[k].msg_hdr.msg_iovlen = 1;
        }
        if (at == 0)
            for (std::uint32_t i = 0, first = sequence_[0] - static_cast<std::uint32_t>(count);
                 i < static_cast<std::uint32_t>(count) && first + i < kTimed; ++i)
                times_[first + i] = now();
        int sent = 0;
        while (sent < count) {
            const int n = sendmmsg(sockets_[at], heads.data() + sent, static_cast<unsigned>(count - sent), 0);
            if (n < 0 && errno != EINTR && errno != ECONNREFUSED)
                break;
            sent += std::max(n, 0);
        }
        return sent;
    }

    Stream stream_;
    std::array<std::uint8_t, 2048> noise_;
    std::vector<int> control_, sockets_;
    std::vector<std::uint32_t> sequence_;
    std::vector<Packet> ring_;
    long long rounds_ = 0;
    double* times_;
};

double threadSeconds(int id) {
    double nanoseconds = 0;
    std::ifstream("/proc/self/task/" + std::to_string(id) + "/schedstat") >> nanoseconds;
    return 1e-9 * nanoseconds;
}

std::vector<int> threads(const std::string& name) {
    std::vector<int> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string own;
        std::getline(std::ifstream(entry.path() / "comm"), own);
        if (own == name)
            all.push_back(std::stoi(entry.path().filename()));
    }
    return all;
}

double threadSeconds(const std::vector<int>& ids) {
    double sum = 0;
    for (const int id : ids)
        sum += threadSeconds(id);
    return sum;
}

double processSeconds() {
    rusage use{};
    getrusage(RUSAGE_SELF, &use);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return seconds(use.ru_utime) + seconds(use.ru_stime);
}

// The process that receives.
//
// A block of sound is there at the earliest when the packet has come that holds the last sample of its chunk.
// The first chunk of a stream has 512 samples, the others 512 for each 48 kHz of its rate; a block of 512 at
// 48 kHz is thus complete with the chunk that ends 512 samples behind its last one, where they differ.
// What it takes beyond that is the delay; the chunk itself and the filters count as part of the signal's way,
// not of the library's work. `watch`: look for blocks every 100 us instead of every 5 ms.
Outcome receive(const Stream& stream, const std::string& address, double seconds, const double* times,
                bool watch) {
    LibraryOptions quiet;
    quiet.sound = false;
    Library library(quiet);
    FoundRadio radio;
    radio.address = address;
    radio.kind = stream.kind;
    radio.receivers = stream.receivers;
    radio.board = 1;
    RadioSession session(library, radio, {stream.rate, std::nullopt, false});
    Outcome outcome;
    long long blocks = 0;
    std::vector<double> delays;
    Tuning tuning = parseTuning("3.6M:lsb");
    for (int i = 0; i < stream.receivers; ++i) {
        Transceiver& one = session.add(tuning.vfo() + 3'500'000LL * i);
        if (i == 0) {
            setVoiceMode(library, one, tuning);
            one.onAudio = [&](std::span<const float>) {
                const auto last =
                    ++blocks * 512 * (stream.rate / 48000) - 1 + (stream.rate > 48000 ? 512 : 0);
                const auto packet = static_cast<std::size_t>(last / stream.samplesPerPacket());
                if (packet < kTimed)
                    delays.push_back(now() - times[packet]);
                ++outcome.sound;
            };
        }
    }
    session.start();
    library.pumpUntil([] { return false; }, std::chrono::seconds(1));
    const std::vector<int> comms = threads("fc comms"), workers = threads("fc worker");
    if (comms.size() != 1 || workers.empty())
        _exit(5);
    outcome.sound = 0;
    const double commsBefore = threadSeconds(comms), workersBefore = threadSeconds(workers);
    const double allBefore = processSeconds();
    const auto began = Clock::now();
    delays.clear();
    const int errorsBefore = session.sequenceErrors(); // receivers that were added began in mid-stream
    if (watch) {
        while (Clock::now() - began < std::chrono::duration<double>(seconds)) {
            library.pump();
            usleep(100);
        }
    } else {
        library.pumpUntil([] { return false; }, std::chrono::milliseconds(static_cast<int>(1000 * seconds)));
    }
    outcome.comms = threadSeconds(comms) - commsBefore;
    outcome.workers = threadSeconds(workers) - workersBefore;
    outcome.all = processSeconds() - allBefore;
    outcome.seconds = std::chrono::duration<double>(Clock::now() - began).count();
    std::sort(delays.begin(), delays.end());
    if (!delays.empty()) {
        const auto share = [&](double p) {
            return delays[static_cast<std::size_t>(p * static_cast<double>(delays.size() - 1))];
        };
        outcome.least = delays.front();
        outcome.median = share(0.5);
        outcome.p99 = share(0.99);
        outcome.most = delays.back();
    }
    session.stop();
    outcome.errors = session.sequenceErrors() - errorsBefore;
    return outcome;
}

double runSeconds() {
    const char* const asked = std::getenv("FERROW_BENCH_SECONDS");
    return asked != nullptr ? std::atof(asked) : 5;
}

template <typename Work>
pid_t process(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    return child;
}

void run(benchmark::State& state, bool watch) {
    const Stream asked{state.range(0) == 2 ? RadioKind::HpsdrNp : RadioKind::Hpsdr,
                       static_cast<int>(state.range(1)), static_cast<int>(state.range(2)) * 1000};
    const std::string address =
        "127.91." + std::to_string(getpid() >> 8 & 255) + "." + std::to_string(getpid() & 255);
    for (auto _ : state) {
        auto* const times = static_cast<double*>(mmap(
            nullptr, kTimed * sizeof(double), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        int fromSender[2], fromReceiver[2];
        if (pipe(fromSender) != 0 || pipe(fromReceiver) != 0)
            return state.SkipWithError("no pipe");
        const pid_t sender = process([&] { Sender(asked, address, times).run(fromSender[1]); });
        usleep(300'000);
        const pid_t receiver = process([&] {
            try {
                const Outcome outcome = receive(asked, address, runSeconds(), times, watch);
                if (write(fromReceiver[1], &outcome, sizeof outcome) != sizeof outcome)
                    _exit(4);
            } catch (const std::exception& error) {
                std::fprintf(stderr, "%s\n", error.what());
                _exit(6);
            }
        });
        close(fromSender[1]);
        close(fromReceiver[1]);
        Outcome sent, got;
        const bool done = read(fromReceiver[0], &got, sizeof got) == sizeof got;
        int status = 0;
        waitpid(receiver, &status, 0);
        if (!done)
            kill(sender, SIGKILL);
        const bool told = read(fromSender[0], &sent, sizeof sent) == sizeof sent;
        waitpid(sender, &status, 0);
        close(fromSender[0]);
        close(fromReceiver[0]);
        munmap(times, kTimed * sizeof(double));
        if (!done || !told)
            return state.SkipWithError("a process failed");
        if (got.sound < 0.8 * 93.75 * got.seconds)
            return state.SkipWithError("no sound");
        state.SetIterationTime(got.seconds);
        state.counters["packets_per_second"] = asked.packetRate();
        state.counters["packets"] = static_cast<double>(sent.sent);
        state.counters["sequence_errors"] = got.errors;
        state.counters["comms_of_core"] = got.comms / got.seconds;
        state.counters["workers_of_core"] = got.workers / got.seconds;
        state.counters["all_of_core"] = got.all / got.seconds;
        state.counters["sender_late_ms"] = 1000 * sent.late;
        if (watch) {
            state.counters["least_ms"] = 1000 * got.least;
            state.counters["median_ms"] = 1000 * got.median;
            state.counters["p99_ms"] = 1000 * got.p99;
            state.counters["most_ms"] = 1000 * got.most;
        }
    }
}

void delay(benchmark::State& state) {
    run(state, true);
}
BENCHMARK(delay)
    ->ArgNames({"protocol", "receivers", "kHz"})
    ->Args({1, 1, 48})
    ->Args({1, 1, 384})
    ->Args({1, 4, 384})
    ->Args({2, 1, 1536})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

void stream(benchmark::State& state) {
    run(state, false);
}
BENCHMARK(stream)
    ->ArgNames({"protocol", "receivers", "kHz"})
    ->Args({1, 1, 48})
    ->Args({1, 1, 384})
    ->Args({1, 4, 384})
    ->Args({2, 4, 1536})
    ->Args({2, 8, 1536})
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

} // namespace
