// What listeners cost `ferrow serve`: it runs as a process of its own behind a simulated radio, with N listeners in
// front, each with one transceiver, sound and spectra. Prints processor time of the server, bytes a second a listener,
// messages dropped, and how long sound is under way from the library to the listener.
//
//     bench_serve_load [--seconds S] [--bins N] [--frames N] [--format pcm|opus] [LISTENERS ...]
#include "tests/host/serve/serve_client.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

using namespace ferrow::test;

namespace {

const char* const kScene = R"({"noise_floor": -135, "stations": [
  {"kind": "carrier", "frequency": 14201000, "level": -60}, {"kind": "carrier", "frequency": 14151000, "level": -60}]})";

struct Options {
    double seconds = 10, frames = 10;
    int bins = 1024, rate = 384;
    std::string format = "opus", mode = "usb";
    std::vector<int> listeners = {0, 1, 5, 10, 20};
};

// Processor seconds of a process and its threads.
double cpuOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream fields(line.substr(line.rfind(')') + 2));
    std::string word;
    double ticks = 0;
    for (int i = 0; i < 13 && fields >> word; ++i)
        if (i == 11 || i == 12)
            ticks += std::stod(word);
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// A listener that keeps counts only.
class Counting {
public:
    Counting(const Serving& serving, const Options& options, long long frequency) : stream_(serving.connect(io_)) {
        stream_.handshake(serving.place(), "/ws");
        send({{"do", "audio"}, {"format", options.format}});
        send({{"do", "add"}, {"frequency", frequency}, {"mode", options.mode}});
        int id = 0;
        while (id == 0) {
            beast::flat_buffer buffer;
            stream_.read(buffer);
            if (!stream_.got_text())
                continue;
            const json text = json::parse(beast::buffers_to_string(buffer.data()));
            if (text.at("is") == "transceiver")
                id = text.at("id");
        }
        send({{"do", "view"}, {"id", id}, {"bins", options.bins}, {"rate", options.frames}});
        reader_ = std::thread([this] { read(); });
    }
    ~Counting() {
        ::shutdown(stream_.next_layer().native_handle(), SHUT_RDWR);
        reader_.join();
    }

    struct Counts {
        std::size_t bytes = 0, audio = 0, spectra = 0;
        std::vector<double> delays; // ms
    };
    Counts take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(counts_, {});
    }

private:
    void send(const json& order) { stream_.write(boost::asio::buffer(order.dump())); }
    void read() {
        boost::system::error_code error;
        for (;;) {
            beast::flat_buffer buffer;
            stream_.read(buffer, error);
            if (error)
                return;
            const double now =
                std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch()).count();
            const auto* bytes = static_cast<const char*>(buffer.cdata().data());
            const std::lock_guard lock(mutex_);
            counts_.bytes += buffer.size();
            if (stream_.got_text())
                continue;
            if (bytes[0] == 2) {
                double time = 0;
                std::memcpy(&time, bytes + 8, sizeof time);
                counts_.delays.push_back(now - time);
                ++counts_.audio;
            } else {
                ++counts_.spectra;
            }
        }
    }

    boost::asio::io_context io_;
    beast::websocket::stream<tcp::socket> stream_;
    std::thread reader_;
    std::mutex mutex_;
    Counts counts_;
};

double dropped(const Serving& serving, const char* kind) {
    return serving.metric(fmt::format("ferrow_dropped_messages_total{{kind=\"{}\"}}", kind));
}

double quantile(std::vector<double>& values, double part) {
    if (values.empty())
        return 0;
    const auto place = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

void measure(const Options& options, int count) {
    ServedRadio radio("127.63.9.1", kScene);
    Serving serving(radio.address(), {"--rate", std::to_string(options.rate)});
    std::vector<std::unique_ptr<Counting>> listeners;
    for (int i = 0; i < count; ++i)
        listeners.push_back(std::make_unique<Counting>(serving, options, 14200000 - 2500 * i));
    std::this_thread::sleep_for(std::chrono::seconds(2));
    for (const auto& one : listeners)
        one->take();
    const double droppedBefore = dropped(serving, "audio") + dropped(serving, "spectrum");
    const double cpuBefore = cpuOf(serving.process().pid());
    const auto began = Clock::now();
    std::this_thread::sleep_for(std::chrono::duration<double>(options.seconds));
    const double seconds = std::chrono::duration<double>(Clock::now() - began).count();
    const double cpu = (cpuOf(serving.process().pid()) - cpuBefore) / seconds;
    Counting::Counts all;
    for (const auto& one : listeners) {
        auto counts = one->take();
        all.bytes += counts.bytes;
        all.audio += counts.audio;
        all.spectra += counts.spectra;
        all.delays.insert(all.delays.end(), counts.delays.begin(), counts.delays.end());
    }
    const double n = std::max(count, 1) * seconds;
    fmt::print("{:9} {:8.1f} {:11.1f} {:9.1f} {:9.1f} {:8.0f} {:9.2f} {:9.2f} {:9.2f} {:7.0f}\n", count, 100 * cpu,
               static_cast<double>(all.bytes) / n / 1000, static_cast<double>(all.audio) / n,
               static_cast<double>(all.spectra) / n,
               dropped(serving, "audio") + dropped(serving, "spectrum") - droppedBefore, quantile(all.delays, 0.5),
               quantile(all.delays, 0.99), quantile(all.delays, 1), serving.metric("ferrow_sequence_errors_total"));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App program{"Measures what listeners cost ferrow serve", "bench_serve_load"};
    program.add_option("--seconds", options.seconds, "of each measurement")->capture_default_str();
    program.add_option("--bins", options.bins, "of a spectrum")->capture_default_str();
    program.add_option("--frames", options.frames, "spectra a second")->capture_default_str();
    program.add_option("--rate", options.rate, "kHz of the radio's receivers")->capture_default_str();
    program.add_option("--format", options.format, "pcm or opus")->capture_default_str();
    program.add_option("--mode", options.mode, "of all transceivers")->capture_default_str();
    program.add_option("LISTENERS", options.listeners, "how many at once");
    CLI11_PARSE(program, argc, argv);
    fmt::print("{}, {} kHz, {}, {} spectra a second of {} bins\n", options.mode, options.rate, options.format,
               options.frames, options.bins);
    fmt::print("listeners  % core  kB/s each   audio/s spectra/s  dropped  ms: half      99 %   longest    gaps\n");
    for (const int count : options.listeners)
        measure(options, count);
}
