// ferrow talk with a sound server of its own, over UDP, as the simulated radio recorded it.
#include "host/sound_file.hpp"
#include "tests/host/on_air.hpp"
#include "tests/soak/undisturbed.hpp"
#include "tests/support/pulse_server.hpp"

#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <optional>
#include <pty.h>
#include <sstream>
#include <termios.h>

using namespace ferrow::test;
using ferrow::soak::undisturbed;

namespace {

constexpr double kBorneMs = 20;   // standstills of the machine that the buffers on the way bear
constexpr int kSoundRate = 44100; // not that of the radio
constexpr std::size_t kTail = 9 * 126;

std::string writeTones(const std::string& path, const std::vector<std::pair<double, double>>& parts) {
    ferrow::WavWriter file(path, kSoundRate);
    for (const auto& [seconds, hertz] : parts) {
        std::vector<float> samples(static_cast<std::size_t>(seconds * kSoundRate));
        for (std::size_t i = 0; hertz > 0 && i < samples.size(); ++i)
            samples[i] = static_cast<float>(
                0.5 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / kSoundRate));
        file.write(samples);
    }
    file.close();
    return path;
}

// Power at a frequency relative to the transmit frequency, in dB of the record's full scale.
double levelAt(const TxRecord& record, std::size_t from, std::size_t to, double hertz) {
    std::complex<double> sum = 0;
    double weight = 0;
    for (std::size_t i = from; i < to; ++i) {
        const double w = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(i - from) /
                                              static_cast<double>(to - from));
        sum += w * record.samples[i] *
               std::polar(1.0, -2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000);
        weight += w;
    }
    return 20 * std::log10(std::abs(sum) / weight / 32766 + 1e-9);
}

// The largest share of the power of half a second that lies at one frequency, 0 to 1; silence does not count.
double toneShare(const std::vector<float>& samples, double hertz) {
    constexpr std::size_t kSpan = 24000;
    double best = 0;
    for (std::size_t start = 0; start + kSpan <= samples.size(); start += kSpan / 2) {
        std::complex<double> tone = 0;
        double power = 0;
        for (std::size_t i = start; i < start + kSpan; ++i) {
            const auto x = static_cast<double>(samples[i]);
            tone += x * std::polar(1.0, -2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000);
            power += x * x;
        }
        if (power > 1)
            best = std::max(best, 2 * std::norm(tone) / kSpan / power);
    }
    return best;
}

// The first and last sample louder than -40 dB.
std::pair<std::size_t, std::size_t> soundOf(const TxRecord& record) {
    std::size_t first = record.samples.size(), last = 0;
    for (std::size_t i = 0; i < record.samples.size(); ++i) {
        if (std::abs(record.samples[i]) < 327)
            continue;
        first = std::min(first, i);
        last = i;
    }
    return {first, last};
}

std::vector<std::string> talk(const std::string& address, const std::string& tune,
                              std::vector<std::string> more) {
    std::vector<std::string> all = {"talk", "--radio", address, "--rate", "48", "--tune", tune};
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

// A program at a terminal of its own.
class AtTerminal {
public:
    explicit AtTerminal(std::vector<std::string> arguments) {
        pid_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
        if (pid_ == 0) {
            std::vector<char*> argv;
            for (auto& one : arguments)
                argv.push_back(one.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
    }
    ~AtTerminal() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        close(terminal_);
    }
    void type(const std::string& keys) const {
        EXPECT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    bool waitFor(const std::string& text) {
        while (output_.find(text) == std::string::npos) {
            char bytes[1024];
            const ssize_t n = read(terminal_, bytes, sizeof bytes);
            if (n <= 0)
                return false;
            output_.append(bytes, static_cast<std::size_t>(n));
        }
        output_.clear();
        return true;
    }
    bool linewise() const {
        termios now{};
        tcgetattr(terminal_, &now);
        return (now.c_lflag & ICANON) != 0 && (now.c_lflag & ECHO) != 0;
    }
    int finish() {
        char bytes[1024];
        while (read(terminal_, bytes, sizeof bytes) > 0) {
        }
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = -1;
    int terminal_ = -1;
    std::string output_;
};

class TalkSim : public ::testing::Test {
protected:
    TalkSim() {
        if (!PulseServer::installed())
            throw std::runtime_error("pulseaudio and pulseaudio-utils are needed: see scripts/packages.txt");
        server.emplace();
    }
    std::string sinks() const {
        FILE* pipe = popen("pactl list short sinks", "r");
        std::string text;
        char line[256];
        while (std::fgets(line, sizeof line, pipe))
            text += line;
        pclose(pipe);
        return text;
    }
    TemporaryFolder folder;
    std::optional<PulseServer> server;
};

} // namespace

TEST_F(TalkSim, ASoundFileIsSentOnTheUpperSideband) {
    const std::string wav = writeTones(folder.file("tone.wav"), {{1.5, 1200}});
    const TxRecord record = undisturbed(kBorneMs, [&] {
        RecordingRadio radio("127.62.6.1");
        const Outcome outcome =
            runFerrow(talk("127.62.6.1", "14.2M:usb", {"--wav", wav, "--plain-microphone", "--json"}));
        EXPECT_EQ(outcome.code, 0) << outcome.output;
        EXPECT_NE(outcome.output.find(R"({"event":"keyed"})"), std::string::npos) << outcome.output;
        EXPECT_NE(outcome.output.find("unkeyed"), std::string::npos) << outcome.output;
        EXPECT_EQ(sinks().find("ferrow_"), std::string::npos) << "its sink is gone: " << sinks();
        return radio.finish();
    });
    const auto [first, last] = soundOf(record);
    ASSERT_GT(last, first + 48000);
    EXPECT_NEAR(static_cast<double>(last - first) / 48000, 1.5, 0.1) << "all of it";
    EXPECT_LT(last, record.samples.size() - kTail) << "before the release";
    const std::size_t from = first + 12000, to = last - 12000;
    const double wanted = levelAt(record, from, to, 1200);
    EXPECT_GT(wanted, -12);
    EXPECT_LT(levelAt(record, from, to, -1200), wanted - 60);
    EXPECT_LT(levelAt(record, from, to, 0), wanted - 60);
    EXPECT_EQ(record.packets().front().txFrequency, 14200000u);
}

TEST_F(TalkSim, AndOnTheLowerOne) {
    const std::string wav = writeTones(folder.file("tone.wav"), {{1, 800}});
    const TxRecord record = undisturbed(kBorneMs, [&] {
        RecordingRadio radio("127.62.6.2");
        EXPECT_EQ(runFerrow(talk("127.62.6.2", "7.1M:lsb", {"--wav", wav, "--plain-microphone"})).code, 0);
        return radio.finish();
    });
    const auto [first, last] = soundOf(record);
    ASSERT_GT(last, first + 24000);
    EXPECT_GT(levelAt(record, first + 6000, last - 6000, -800), -12);
    EXPECT_LT(levelAt(record, first + 6000, last - 6000, 800), -70);
}

TEST_F(TalkSim, AmplitudeModulationIsACarrierWithTwoSidebands) {
    const std::string wav = writeTones(folder.file("tone.wav"), {{1, 0}, {1, 1000}});
    const TxRecord record = undisturbed(kBorneMs, [&] {
        RecordingRadio radio("127.62.6.3");
        EXPECT_EQ(runFerrow(talk("127.62.6.3", "7.2M:am", {"--wav", wav})).code, 0);
        return radio.finish();
    });
    // In the silence the carrier alone, of (0.35355339, 0.35355339).
    const double carrier = 20 * std::log10(0.5);
    EXPECT_NEAR(levelAt(record, 12000, 36000, 0), carrier, 0.01);
    EXPECT_LT(levelAt(record, 12000, 36000, 1000), -80);
    const auto modulated = record.samples.size() - 48000;
    EXPECT_NEAR(levelAt(record, modulated, modulated + 19200, 0), carrier, 0.1);
    const double upper = levelAt(record, modulated, modulated + 19200, 1000),
                 lower = levelAt(record, modulated, modulated + 19200, -1000);
    EXPECT_NEAR(upper, lower, 0.1);
    EXPECT_GT(upper, carrier - 20);
}

// Frequency modulation out and in: what the radio recorded is put on the air as a station, and heard.
TEST_F(TalkSim, FrequencyModulationOutIsFrequencyModulationIn) {
    const std::string wav = writeTones(folder.file("tone.wav"), {{1.6, 1000}});
    std::unique_ptr<RecordingRadio> radio;
    const TxRecord record = undisturbed(kBorneMs, [&] {
        radio.reset();
        radio = std::make_unique<RecordingRadio>("127.62.6.11");
        EXPECT_EQ(runFerrow(talk("127.62.6.11", "29.6M:fm", {"--wav", wav, "--ctcss", "88.5"})).code, 0);
        return radio->finish();
    });
    const std::string sent = radio->file("tx.wav");
    ASSERT_GT(record.samples.size(), 60000u);
    double most = 0;
    for (std::size_t i = 4000; i + kTail < record.samples.size(); ++i) {
        ASSERT_NEAR(std::abs(record.samples[i]), 0.99 * 32766, 400) << i << ": the envelope is constant";
        most = std::max(most, std::abs(std::arg(record.samples[i + 1] * std::conj(record.samples[i]))));
    }
    EXPECT_GT(most * 48000 / (2 * std::numbers::pi), 500);
    EXPECT_LT(most * 48000 / (2 * std::numbers::pi), 2550);

    std::ofstream(folder.file("scene.json"))
        << R"({"noise_floor": -140, "stations": [{"kind": "iq", "frequency": 29600000, "level": -40, "file": ")"
        << sent << R"("}]})";
    const ferrow::Sound heard = undisturbed(kBorneMs, [&] {
        Running again({FERROW_SIM_PROGRAM, "--address", "127.62.6.12", "--scene", folder.file("scene.json"),
                       "--die-with-parent"});
        EXPECT_TRUE(again.waitFor("ready"));
        EXPECT_EQ(runFerrow({"listen", "--radio", "127.62.6.12", "--rate", "48", "--tune", "29.6M:fm",
                             "--wav", folder.path(), "--duration", "2"})
                      .code,
                  0);
        return ferrow::readWav(folder.file("29600000_fm.wav"));
    });
    EXPECT_GT(toneShare(heard.samples, 1000), 0.98) << "share of the tone in what is heard";
}

// A press without sound in a buffered mode, by the sample: silence, rise, nine packets of fall and silence.
TEST_F(TalkSim, AMicrophoneThatIsNotThereGivesThePlainCarrierOfAm) {
    RecordingRadio radio("127.62.6.4", {"--tx-all"});
    EXPECT_EQ(
        runFerrow(talk("127.62.6.4", "7.2M:am", {"--ptt", "0.8", "--microphone", "none", "--device", "none"}))
            .code,
        0);
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    ASSERT_EQ(presses.size(), 1u);
    const Press& press = presses[0];
    for (std::size_t i = 0; i < 768; ++i)
        ASSERT_TRUE(record.silent(press.begin + i)) << i;
    const double carrier = 0.5 * 32766;
    const std::size_t fall = press.end - kTail;
    EXPECT_NEAR(std::abs(record.samples[fall - 1]), carrier, 1);
    for (std::size_t i = 0; i < kTail; ++i) {
        const int c = 512 - static_cast<int>(i);
        const double factor = c < 1 ? 0 : 0.5 * std::cos((512 - c) * std::numbers::pi / 512) + 0.5;
        ASSERT_NEAR(std::abs(record.samples[fall + i]), carrier * factor, 1) << i;
    }
}

TEST_F(TalkSim, TheVoicePressesAndReleases) {
    RecordingRadio radio("127.62.6.5", {"--tx-all"});
    const std::string wav =
        writeTones(folder.file("words.wav"), {{0.8, 0}, {0.7, 900}, {1.5, 0}, {0.7, 900}, {1.2, 0}});
    const Outcome outcome = runFerrow(talk(
        "127.62.6.5", "14.2M:usb", {"--wav", wav, "--vox", "--vox-threshold", "0.2", "--vox-hold", "0.3"}));
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    const TxRecord record = radio.finish();
    const auto presses = pressesOf(record);
    ASSERT_EQ(presses.size(), 2u) << outcome.output;
    for (const Press& press : presses) {
        const double seconds = static_cast<double>(press.end - press.begin) / 48000;
        EXPECT_GE(seconds, 0.7);
        EXPECT_LE(seconds, 1.6);
        EXPECT_GT(levelAt(record, press.begin + 9600, press.begin + 24000, 900), -15);
    }
}

TEST_F(TalkSim, TheSpaceBarPressesAndReleases) {
    RecordingRadio radio("127.62.6.6", {"--tx-all"});
    AtTerminal ferrow({FERROW_PROGRAM, "talk", "--radio", "127.62.6.6", "--rate", "48", "--tune", "7.2M:am",
                       "--microphone", "none", "--device", "none"});
    ASSERT_TRUE(ferrow.waitFor("space or enter"));
    ASSERT_TRUE(ferrow.waitFor("receive"));
    EXPECT_FALSE(ferrow.linewise());
    ferrow.type(" ");
    ASSERT_TRUE(ferrow.waitFor("TRANSMIT"));
    ferrow.type("x "); // x is nothing
    ASSERT_TRUE(ferrow.waitFor("receive"));
    ferrow.type("\r");
    ASSERT_TRUE(ferrow.waitFor("TRANSMIT"));
    ferrow.type("q");
    EXPECT_EQ(ferrow.finish(), 0);
    EXPECT_TRUE(ferrow.linewise()) << "the terminal is as it was";
    const TxRecord record = radio.finish();
    EXPECT_EQ(pressesOf(record).size(), 2u);
    EXPECT_FALSE(record.rows.back().onAir);
}

TEST_F(TalkSim, AForgottenKeyEndsAtTheLimit) {
    RecordingRadio radio("127.62.6.7", {"--tx-all"});
    const Outcome outcome =
        runFerrow(talk("127.62.6.7", "7.2M:am",
                       {"--ptt", "60", "--limit", "0.6", "--microphone", "none", "--device", "none"}));
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.output.find("limit of 0.6 s"), std::string::npos) << outcome.output;
    const auto presses = pressesOf(radio.finish());
    ASSERT_EQ(presses.size(), 1u);
    EXPECT_NEAR(static_cast<double>(presses[0].end - presses[0].begin) / 48000, 0.65, 0.2);
}

TEST_F(TalkSim, WithoutASoundServerItSaysWhatIsMissing) {
    const std::string wav = writeTones(folder.file("tone.wav"), {{0.1, 800}});
    const auto command = talk("127.62.6.8", "7.1M:lsb", {"--wav", wav});
    server->kill();
    const Outcome dead = runFerrow(command);
    EXPECT_EQ(dead.code, 1);
    EXPECT_NE(dead.output.find("takes a PulseAudio server"), std::string::npos) << dead.output;
    EXPECT_NE(dead.output.find("no server answers"), std::string::npos) << dead.output;
    const std::string path = std::getenv("PATH");
    setenv("PATH", folder.path().c_str(), 1);
    const Outcome bare = runFerrow(command);
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(bare.code, 1);
    EXPECT_NE(bare.output.find("pactl is not in $PATH"), std::string::npos) << bare.output;
    const Outcome none = runFerrow(talk("127.62.6.8", "7.1M:lsb", {"--wav", folder.file("no.wav")}));
    EXPECT_EQ(none.code, 1);
    EXPECT_NE(none.output.find("cannot read"), std::string::npos) << none.output;
}

TEST_F(TalkSim, AMicrophoneThatIsNotInTheListIsRefused) {
    RecordingRadio radio("127.62.6.9");
    const Outcome outcome =
        runFerrow(talk("127.62.6.9", "14.2M:usb", {"--ptt", "1", "--microphone", "4711"}));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_NE(outcome.output.find("no input device 4711"), std::string::npos) << outcome.output;
    EXPECT_TRUE(radio.finish().rows.empty()) << "nothing was started";
}

// Listening without a word on devices plays on the system's own.
TEST_F(TalkSim, ListenPlaysOnTheDefaultDevice) {
    std::ofstream(folder.file("scene.json"))
        << R"({"noise_floor": -140, "stations": [{"kind": "carrier", "frequency": 14201000, "level": -40}]})";
    const auto recording = undisturbed(kBorneMs, [&] {
        Running radio({FERROW_SIM_PROGRAM, "--address", "127.62.6.10", "--scene", folder.file("scene.json"),
                       "--die-with-parent"});
        EXPECT_TRUE(radio.waitFor("ready"));
        MonitorRecorder recorder(*server);
        EXPECT_EQ(runFerrow({"listen", "--radio", "127.62.6.10", "--rate", "48", "--tune", "14.2M:usb",
                             "--duration", "2"})
                      .code,
                  0);
        return recorder.finish();
    });
    // Gain and the output's clock tracking still settle.
    EXPECT_GT(toneShare(recording.left, 1000), 0.5);
}
