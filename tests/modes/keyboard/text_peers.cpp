#include "tests/modes/keyboard/text_peers.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <numbers>
#include <sndfile.h>
#include <unistd.h>

namespace ferrow::test {

namespace {

namespace fs = std::filesystem;

constexpr int kMultimonRate = 22050;

// A file that goes with the scope.
class Scratch {
public:
    explicit Scratch(const std::string& ending)
        : path_((fs::temp_directory_path() / fmt::format("ferrow-peer-{}-{}", getpid(), ending)).string()) {}
    ~Scratch() { fs::remove(path_); }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

std::string outputOf(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
    std::string text;
    std::array<char, 4096> part;
    for (std::size_t n; (n = fread(part.data(), 1, part.size(), pipe)) > 0;)
        text.append(part.data(), n);
    pclose(pipe);
    return text;
}

} // namespace

void writeWav(const std::string& path, const std::vector<float>& audio) {
    SF_INFO info{};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    sf_write_float(file, audio.data(), static_cast<sf_count_t>(audio.size()));
    sf_close(file);
}

bool hasProgram(const std::string& name) {
    return std::system(("command -v " + name + " > /dev/null 2>&1").c_str()) == 0;
}

std::vector<float> asAudio(const std::vector<std::complex<float>>& signal, double hertz, int rate) {
    std::vector<float> audio;
    float peak = 1e-9f;
    for (std::size_t i = 0;; ++i) {
        const double place = static_cast<double>(i) * 48000 / rate;
        const auto before = static_cast<std::size_t>(place);
        if (before + 1 >= signal.size())
            break;
        const auto share = static_cast<float>(place - static_cast<double>(before));
        const std::complex<float> sample = signal[before] + share * (signal[before + 1] - signal[before]);
        const double turn = -2 * std::numbers::pi * std::fmod(hertz * static_cast<double>(i) / rate, 1.0);
        audio.push_back((sample * std::polar(1.0f, static_cast<float>(turn))).real());
        peak = std::max(peak, std::abs(audio.back()));
    }
    for (float& sample : audio)
        sample *= 0.7f / peak;
    return audio;
}

std::string multimonMorse(const std::vector<std::complex<float>>& signal, double wpm) {
    if (!hasProgram("multimon-ng"))
        return "";
    const Scratch raw("morse.raw");
    std::ofstream file(raw.path(), std::ios::binary);
    for (const float sample : asAudio(signal, 700, kMultimonRate)) {
        const auto value = static_cast<std::int16_t>(32767 * sample);
        file.write(reinterpret_cast<const char*>(&value), sizeof(value));
    }
    file.close();
    const int dot = static_cast<int>(1200 / wpm);
    return outputOf(fmt::format("multimon-ng -q -c -a MORSE_CW -d {} -g {} -t raw {}", dot, dot, raw.path()));
}

std::string minimodemTeletype(const std::vector<std::complex<float>>& signal, double mark, double space) {
    if (!hasProgram("minimodem"))
        return "";
    const Scratch wav("teletype.wav");
    writeWav(wav.path(), asAudio(signal, 0, 48000));
    return outputOf(fmt::format("minimodem --rx -q -f {} -M {} -S {} rtty", wav.path(), mark, space));
}

std::vector<std::complex<float>> minimodemSends(const std::string& text, double mark, double space) {
    const Scratch wav("sent.wav");
    if (!hasProgram("minimodem"))
        return {};
    outputOf(fmt::format("printf '{}' | minimodem --tx -R 48000 -f {} -M {} -S {} rtty", text, wav.path(),
                         mark, space));
    SF_INFO info{};
    SNDFILE* file = sf_open(wav.path().c_str(), SFM_READ, &info);
    if (file == nullptr)
        return {};
    std::vector<float> audio(static_cast<std::size_t>(info.frames * info.channels));
    sf_read_float(file, audio.data(), static_cast<sf_count_t>(audio.size()));
    sf_close(file);
    return {audio.begin(), audio.end()};
}

} // namespace ferrow::test
