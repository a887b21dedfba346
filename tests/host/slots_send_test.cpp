// ferrow ft8 --send through the whole library to the simulated radio, in real time: half a minute for FT8.
// What arrived is compared with a synthesis in double precision, and decoded.
#include "host/ft8_reader.hpp"
#include "tests/host/on_air.hpp"
#include "tests/modes/ft8/ft8_signal.hpp"

#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

using namespace ferrow::test;
using ferrow::Ft8Line;
using ferrow::Ft8Reader;
using ferrow::SlotMode;

namespace {

using std::numbers::pi;
using Signal = std::vector<std::complex<double>>;

constexpr double kWireRate = 48000;
constexpr double kFullScale = 0.98 * 32766;
constexpr double kShortPi =
    3.1415927f; // of the transmitter's oscillators: 1.4e-8 high, 2 mrad over a message

struct Form {
    Mode mode;
    SlotMode slotMode;
    int symbol;     // samples
    double product; // bandwidth-time
    int ramp;       // samples at both ends
    double spacing; // Hz
    int period;     // seconds, times ten
};
constexpr Form kFt8 = {Mode::Ft8, SlotMode::Ft8, 7680, 2, 960, 6.25, 150};
constexpr Form kFt4 = {Mode::Ft4, SlotMode::Ft4, 2304, 1, 2304, 48000.0 / 2304, 75};

// Published tones of a message; FT4's with its ramp symbols.
std::vector<int> publishedTones(const Form& form, const std::string& message) {
    for (const Vector& vector : readVectors(form.mode)) {
        if (vector.message != message)
            continue;
        std::vector<int> tones;
        for (const char c : form.mode == Mode::Ft4 ? "0" + vector.tones + "0" : vector.tones)
            tones.push_back(c - '0');
        return tones;
    }
    ADD_FAILURE() << "no vector for " << message;
    return {};
}

// The smoothed waveform at one sample in `fraction` of a sample's time, in double precision: frequency steps
// shaped by the error function, raised cosines at both ends. The outgoing frequency's share is taken one
// sample late, as the transmitter does.
class Synthesis {
public:
    Synthesis(const Form& form, const std::vector<int>& tones, double frequency)
        : form_(form), length_(tones.size() * static_cast<std::size_t>(form.symbol)) {
        std::vector<double> hertz;
        for (const int tone : tones) {
            const double f = frequency + tone * form.spacing;
            hertz.push_back(f * (1 + 1.0 / form.symbol)); // makes up for the late share
        }
        phase_.push_back(0);
        const double slope = pi * form.product * std::sqrt(2 / std::numbers::ln2);
        const auto step = [&](double x) { return 0.5 * (1 + std::erf(slope * x)); };
        for (std::size_t n = 0; n < length_; ++n) {
            const auto s = n / static_cast<std::size_t>(form.symbol);
            const double t = static_cast<double>(n % static_cast<std::size_t>(form.symbol)) / form.symbol;
            const double late = 1.0 / form.symbol;
            const double before = hertz[s == 0 ? 0 : s - 1], after = hertz[std::min(s + 1, hertz.size() - 1)];
            const double f = t >= 0.5 ? step(t - 1) * after + step(1 - t - late) * hertz[s]
                                      : step(-t - late) * before + step(t) * hertz[s];
            phase_.push_back(phase_.back() + 2 * kShortPi * f / kWireRate);
        }
    }
    std::size_t length() const { return length_; }
    std::complex<double> at(double n) const {
        if (n < 0 || n > static_cast<double>(length_ - 1))
            return 0;
        const auto i = static_cast<std::size_t>(n);
        // the phase of sample i has taken its step already
        const double phase =
            phase_[i + 1] + (n - static_cast<double>(i)) * (phase_[std::min(i + 2, length_)] - phase_[i + 1]);
        const double edge = std::min(n, static_cast<double>(length_) - n) / form_.ramp;
        return std::polar(edge < 1 ? 0.5 - 0.5 * std::cos(pi * edge) : 1.0, phase);
    }

private:
    Form form_;
    std::size_t length_;
    std::vector<double> phase_;
};

struct Fit {
    double start = 0; // of the synthesis in the record, samples
    std::complex<double> gain;
    double residual = 0; // dB against the signal
};

// The best complex gain at that start, over samples [from, to) of the record.
Fit fitAt(const Signal& record, const Synthesis& synthesis, double start, std::size_t from, std::size_t to) {
    std::complex<double> cross = 0;
    double power = 0, total = 0;
    for (std::size_t i = from; i < to; ++i) {
        const auto model = synthesis.at(static_cast<double>(i) - start);
        cross += record[i] * std::conj(model);
        power += std::norm(model);
        total += std::norm(record[i]);
    }
    Fit fit{start, cross / power, 0};
    fit.residual = 10 * std::log10((total - std::norm(cross) / power) / total);
    return fit;
}

Fit bestFit(const Signal& record, const Synthesis& synthesis, double around, std::size_t from,
            std::size_t to) {
    const auto coarseTo = std::min(to, from + 60000); // a few symbols place it
    Fit best{around, 0, 1e9};
    for (double start = around - 1200; start <= around + 1200; start += 24)
        if (const Fit fit = fitAt(record, synthesis, start, from, coarseTo); fit.residual < best.residual)
            best = fit;
    for (double step = 8; step >= 0.25; step /= 2) {
        const double centre = best.start;
        for (const double start : {centre - 2 * step, centre - step, centre + step, centre + 2 * step})
            if (const Fit fit = fitAt(record, synthesis, start, from, coarseTo); fit.residual < best.residual)
                best = fit;
    }
    return fitAt(record, synthesis, best.start, from, to);
}

// UTC of the record's first sample: packets may come late, never early.
double utcOfFirstSample(const TxRecord& record) {
    double earliest = 1e18;
    for (const TxRow& row : record.packets())
        earliest = std::min(earliest, 1e-9 * static_cast<double>(row.timeNs) -
                                          static_cast<double>(row.sample) / kWireRate);
    return earliest;
}

// What an upper sideband receiver on the dial frequency writes for that slot: 12000 a second.
std::vector<double> receivedSlot(const TxRecord& record, double utcFirst, double slot, std::size_t samples) {
    constexpr int kTaps = 161; // below 5 kHz
    std::vector<double> taps(kTaps);
    for (int i = 0; i < kTaps; ++i) {
        const double x = i - kTaps / 2;
        const double sinc =
            x == 0 ? 1 : std::sin(2 * pi * 5000 / kWireRate * x) / (2 * pi * 5000 / kWireRate * x);
        taps[static_cast<std::size_t>(i)] =
            sinc * 2 * 5000 / kWireRate * (0.5 + 0.5 * std::cos(2 * pi * x / kTaps));
    }
    std::vector<double> audio(samples);
    for (std::size_t n = 0; n < samples; ++n) {
        const double centre = (slot - utcFirst) * kWireRate + 4.0 * static_cast<double>(n);
        const auto at = static_cast<long long>(std::llround(centre));
        for (int i = 0; i < kTaps; ++i)
            if (const long long from = at + i - kTaps / 2;
                from >= 0 && from < static_cast<long long>(record.samples.size()))
                audio[n] +=
                    taps[static_cast<std::size_t>(i)] * record.samples[static_cast<std::size_t>(from)].real();
    }
    return audio;
}

class SlotsSend : public ::testing::Test {
protected:
    // Sends, and measures all that can be told from the record.
    void send(const Form& form, const std::string& address, const std::string& message,
              const std::string& parity) {
        RecordingRadio radio(address);
        std::vector<std::string> arguments = {
            "ft8",   "--radio", address,   "--rate",
            "48",    "--band",  "20m",     "--send",
            message, "--freq",  "1500",    "--slot",
            parity,  "--json",  "--slots", parity == "next" ? "2" : "3"}; // the first may have begun
        if (form.mode == Mode::Ft4)
            arguments.push_back("--ft4");
        const Outcome outcome = runFerrow(arguments);
        ASSERT_EQ(outcome.code, 0) << outcome.output;
        std::istringstream lines(outcome.output);
        int told = 0;
        for (std::string line; std::getline(lines, line);)
            told += nlohmann::json::parse(line).value("sent", "") == message;
        ASSERT_EQ(told, 1) << outcome.output;

        const TxRecord record = radio.finish();
        const auto packets = record.packets();
        for (std::size_t i = 1; i < packets.size(); ++i)
            ASSERT_EQ(packets[i].sequence, packets[i - 1].sequence + 1) << "no packet is lost";
        if (record.count("unkey") > 0)
            std::printf("this machine is busy: the radio ran dry %zu times\n", record.count("unkey"));
        const double utcFirst = utcOfFirstSample(record);
        const double period = form.period / 10.0;
        const double slot = std::floor((utcFirst + 1) / period) * period;
        const auto number = std::llround(slot / period);
        if (parity == "even") {
            EXPECT_EQ(number % 2, 0);
        }
        if (parity == "odd") {
            EXPECT_EQ(number % 2, 1);
        }
        checkWave(form, record, message, utcFirst, slot);
        checkDecodes(form, record, message, utcFirst, slot, radio);
    }

    void checkWave(const Form& form, const TxRecord& record, const std::string& message, double utcFirst,
                   double slot) {
        const Synthesis synthesis(form, publishedTones(form, message), 1500);
        // Up to the release: the last nine packets are the falling edge and the silence behind.
        const std::size_t to = record.samples.size() - 9 * 126;
        std::size_t from = 0;
        while (from < to && std::abs(record.samples[from]) < kFullScale / 100)
            ++from;
        const double expected = 23040 + 768;
        const Fit fit = bestFit(record.samples, synthesis, expected, from, to);
        const double dt = utcFirst + fit.start / kWireRate - slot - 0.5;
        RecordProperty("residual_db", std::to_string(fit.residual));
        std::printf("start %.2f samples after the press, DT %+.1f ms, level %.1f, difference to the "
                    "synthesis %.1f dB\n",
                    fit.start, 1000 * dt, std::abs(fit.gain), fit.residual);
        EXPECT_NEAR(fit.start, expected, 1) << "the delay, and the filter's";
        EXPECT_NEAR(std::abs(fit.gain), kFullScale, 0.002 * kFullScale);
        EXPECT_LE(fit.residual, -60);
        EXPECT_NEAR(dt, 0, form.mode == Mode::Ft4 ? 0.024 : 0.020);
        for (std::size_t i = 0; i < 770; ++i)
            ASSERT_TRUE(record.silent(i)) << i;
        checkFrequency(form, record, message, static_cast<std::size_t>(fit.start));
    }

    // The turns between the middles of the first and the last symbol, against those of the ideal tones.
    void checkFrequency(const Form& form, const TxRecord& record, const std::string& message,
                        std::size_t start) {
        const auto tones = publishedTones(form, message);
        const auto symbol = static_cast<std::size_t>(form.symbol);
        const std::size_t first = start + symbol + symbol / 2,
                          last = start + (tones.size() - 2) * symbol + symbol / 2;
        double turns = 0, ideal = 0;
        for (std::size_t i = first; i < last; ++i)
            turns += std::arg(record.samples[i + 1] * std::conj(record.samples[i])) / (2 * pi);
        for (std::size_t s = 1; s + 1 < tones.size(); ++s)
            ideal += (1500 + tones[s] * form.spacing) * form.symbol / kWireRate *
                     (s == 1 || s + 2 == tones.size() ? 0.5 : 1);
        const double offset = (turns - ideal) / (static_cast<double>(last - first) / kWireRate);
        std::printf("mean frequency off by %+.4f Hz\n", offset);
        EXPECT_NEAR(offset, 0, 0.01);
    }

    void checkDecodes(const Form& form, const TxRecord& record, const std::string& message, double utcFirst,
                      double slot, const RecordingRadio& radio) {
        auto audio = receivedSlot(record, utcFirst, slot, static_cast<std::size_t>(periodSamples(form.mode)));
        for (double& x : audio)
            x *= 0.03; // a signal among noise, as on the air
        std::mt19937_64 random(1);
        addNoise(audio, kFullScale * 0.03 / amplitudeFor(15, 1.0), random);
        const std::string path = radio.file("260301_120000.wav");
        const auto bytes = wavBytes(audio);
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));

        const auto decoded = Ft8Reader(form.slotMode).read(path);
        ASSERT_EQ(decoded.size(), 1u);
        EXPECT_EQ(decoded[0].message, message);
        EXPECT_NEAR(decoded[0].frequency, 1500, 0.5);
        EXPECT_NEAR(decoded[0].dt, 0, 0.02 + form.symbol / kWireRate / 4) << "its steps are half a symbol";
        EXPECT_NEAR(decoded[0].snr, 15, 2);

        if (std::system("command -v jt9 > /dev/null") != 0) {
            std::printf("no jt9 here (package wsjtx): not decoded by another program\n");
            return;
        }
        const std::string folder = path.substr(0, path.rfind('/'));
        FILE* pipe = popen(
            ("cd " + folder + " && jt9 " + (form.mode == Mode::Ft8 ? "-8" : "-5") + " -d 3 " + path).c_str(),
            "r");
        std::string output;
        char line[256];
        while (std::fgets(line, sizeof line, pipe))
            output += line;
        pclose(pipe);
        std::printf("jt9: %s", output.c_str());
        int time = 0, snr = 0, frequency = 0;
        double dt = 99;
        ASSERT_EQ(std::sscanf(output.c_str(), "%d %d %lf %d", &time, &snr, &dt, &frequency), 4) << output;
        EXPECT_NE(output.find(message), std::string::npos) << output;
        EXPECT_NEAR(frequency, 1500, form.mode == Mode::Ft4 ? 1 : 0.5) << output;
        // It tells tenths, and counts FT4 from the first symbol behind the ramp.
        EXPECT_NEAR(dt, form.mode == Mode::Ft4 ? 0.048 : 0, 0.05 + 0.02) << output;
    }
};

} // namespace

TEST_F(SlotsSend, Ft8IsHeardAsItWasMeant) {
    send(kFt8, "127.62.4.1", "CQ K1ABC FN42", "next");
}

TEST_F(SlotsSend, Ft4IsHeardAsItWasMeant) {
    send(kFt4, "127.62.4.2", "W9XYZ K1ABC R-09", "odd");
}

// Ctrl-C during a transmission: the message ends, the radio is unkeyed in order.
TEST_F(SlotsSend, AnInterruptEndsATransmission) {
    RecordingRadio radio("127.62.4.3");
    Running ferrow({FERROW_PROGRAM, "ft8", "--ft4", "--radio", "127.62.4.3", "--rate", "48", "--band", "20m",
                    "--send", "TEST", "--times", "0"});
    ASSERT_TRUE(radio.keyedFor(600));
    ferrow.signal(SIGINT);
    const Outcome outcome = ferrow.finish();
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    const TxRecord record = radio.finish();
    EXPECT_LT(record.packets().size(), 1200u) << "not the whole message of 1900 packets";
    EXPECT_FALSE(record.rows.back().onAir);
    EXPECT_EQ(record.count("stop"), 1u);
    for (std::size_t i = record.samples.size() - 600; i < record.samples.size(); ++i)
        ASSERT_TRUE(record.silent(i)) << "the falling edge and its silence came before the end";
}
