#include "modes/jt_period_file.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <vector>

namespace ferrow {

namespace {

constexpr double kCrestLimit = 15.0;
constexpr float kFullScale = 32000.0f;
constexpr float kClamp = 32766.0f;
constexpr std::uint32_t kWavRate = 12000;

template <class T>
void put(std::ostream& out, T value) {
    std::array<char, sizeof(T)> bytes;
    std::memcpy(bytes.data(), &value, sizeof(T)); // x86: little-endian
    out.write(bytes.data(), bytes.size());
}

void writeWav(std::ostream& out, const PeriodRecording& recording, const PeriodGain& gain) {
    const auto dataBytes = static_cast<std::uint32_t>(recording.block.size() * 2);
    out.write("RIFF", 4);
    put<std::uint32_t>(out, dataBytes + 36);
    out.write("WAVEfmt ", 8);
    put<std::uint32_t>(out, 16);
    put<std::uint16_t>(out, 1);
    put<std::uint16_t>(out, 1);
    put<std::uint32_t>(out, kWavRate);
    put<std::uint32_t>(out, 2 * kWavRate);
    put<std::uint16_t>(out, 2);
    put<std::uint16_t>(out, 16);
    out.write("data", 4);
    put<std::uint32_t>(out, dataBytes);
    std::vector<std::int16_t> samples(recording.block.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        float value = gain.gain * recording.block[i];
        if (gain.clamped || !(std::abs(value) <= kClamp))
            value = std::isnan(value) ? 0.0f : std::clamp(value, -kClamp, kClamp);
        samples[i] = static_cast<std::int16_t>(value);
    }
    out.write(reinterpret_cast<const char*>(samples.data()), static_cast<std::streamsize>(dataBytes));
}

void writeC2(std::ostream& out, const PeriodRecording& recording, const PeriodGain& gain) {
    const std::array<char, 14> name{};
    out.write(name.data(), name.size());
    put<std::int32_t>(out, 2);
    put<double>(out, recording.dialMHz);
    for (const float value : recording.block)
        put<float>(out, gain.gain * value);
}

} // namespace

PeriodGain periodGain(float peak, double average) {
    const double ratio = peak / average;
    const bool clamped = ratio > kCrestLimit;
    const double level = clamped ? average * kCrestLimit : peak;
    return {level > 0 ? static_cast<float>(kFullScale / level) : 0.0f, clamped};
}

std::string savePeriod(const PeriodRecording& recording) {
    const PeriodGain gain = periodGain(recording.peak, recording.average);
    std::ofstream out(recording.path, std::ios::binary | std::ios::trunc);
    if (recording.format == PeriodFormat::C2)
        writeC2(out, recording, gain);
    else
        writeWav(out, recording, gain);
    return recording.path;
}

std::string periodFileName(const std::string& prefix, std::int64_t seconds, int periodMs,
                           PeriodFormat format) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm utc{};
    gmtime_r(&time, &utc);
    const char* pattern = "%y%m%d_%H%M%S.wav";
    if (format == PeriodFormat::C2)
        pattern = "%y%m%d_%H%M.c2";
    else if (periodMs >= 60000)
        pattern = "%y%m%d_%H%M.wav";
    std::ostringstream name;
    name << prefix << std::put_time(&utc, pattern);
    return name.str();
}

} // namespace ferrow
