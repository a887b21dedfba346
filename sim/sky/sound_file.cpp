#include "sim/sky/audio.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <memory>
#include <numbers>
#include <sndfile.h>
#include <stdexcept>

namespace ferrow::sim {
namespace {

struct Closer {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using File = std::unique_ptr<SNDFILE, Closer>;

/// A sound file in memory as libsndfile's virtual input.
struct MemoryFile {
    std::span<const std::uint8_t> bytes;
    sf_count_t at = 0;
};

sf_count_t memoryLength(void* user) {
    return static_cast<sf_count_t>(static_cast<MemoryFile*>(user)->bytes.size());
}

sf_count_t memorySeek(sf_count_t offset, int whence, void* user) {
    auto& file = *static_cast<MemoryFile*>(user);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.at : memoryLength(user);
    file.at = std::clamp<sf_count_t>(base + offset, 0, memoryLength(user));
    return file.at;
}

sf_count_t memoryRead(void* out, sf_count_t count, void* user) {
    auto& file = *static_cast<MemoryFile*>(user);
    count = std::min(count, memoryLength(user) - file.at);
    std::memcpy(out, file.bytes.data() + file.at, static_cast<std::size_t>(count));
    file.at += count;
    return count;
}

sf_count_t memoryWrite(const void*, sf_count_t, void*) {
    return 0;
}

sf_count_t memoryTell(void* user) {
    return static_cast<MemoryFile*>(user)->at;
}

std::vector<float> readFrames(SNDFILE* file, const SF_INFO& info) {
    std::vector<float> frames(static_cast<std::size_t>(info.frames) *
                              static_cast<std::size_t>(info.channels));
    const sf_count_t got = sf_readf_float(file, frames.data(), info.frames);
    frames.resize(static_cast<std::size_t>(std::max<sf_count_t>(got, 0)) *
                  static_cast<std::size_t>(info.channels));
    return frames;
}

/// Windowed-sinc interpolation of one channel of `in` to another rate; ends are taken as silence.
std::vector<float> resample(const std::vector<float>& in, double from, double to) {
    if (from == to)
        return in;
    constexpr double kHalfWidth = 32.0; // zero crossings
    const double cut = std::min(1.0, to / from) * 0.96;
    const double reach = kHalfWidth / cut;
    std::vector<float> out(static_cast<std::size_t>(static_cast<double>(in.size()) * to / from));
    for (std::size_t n = 0; n < out.size(); ++n) {
        const double centre = static_cast<double>(n) * from / to;
        const auto first = static_cast<std::int64_t>(std::ceil(std::max(0.0, centre - reach)));
        const auto last = static_cast<std::int64_t>(
            std::floor(std::min(static_cast<double>(in.size()) - 1.0, centre + reach)));
        double sum = 0.0;
        for (std::int64_t i = first; i <= last; ++i) {
            const double d = static_cast<double>(i) - centre;
            const double x = std::numbers::pi * d * cut;
            const double sinc = std::abs(x) < 1e-9 ? 1.0 : std::sin(x) / x;
            const double u = d / reach;
            const double window =
                0.42 + 0.5 * std::cos(std::numbers::pi * u) + 0.08 * std::cos(2.0 * std::numbers::pi * u);
            sum += static_cast<double>(in[static_cast<std::size_t>(i)]) * cut * sinc * window;
        }
        out[n] = static_cast<float>(sum);
    }
    return out;
}

std::vector<float> channelOf(const std::vector<float>& frames, std::size_t channels, std::size_t which) {
    std::vector<float> out;
    out.reserve(frames.size() / channels);
    for (std::size_t i = which; i < frames.size(); i += channels)
        out.push_back(frames[i]);
    return out;
}

File openForReading(const std::string& path, SF_INFO& info) {
    File file(sf_open(path.c_str(), SFM_READ, &info));
    if (!file)
        throw std::runtime_error(fmt::format("cannot read sound file {}: {}", path, sf_strerror(nullptr)));
    return file;
}

Audio toAudio(SNDFILE* file, const SF_INFO& info) {
    const std::vector<float> frames = readFrames(file, info);
    const auto channels = static_cast<std::size_t>(info.channels);
    std::vector<float> mono = channelOf(frames, channels, 0);
    for (std::size_t c = 1; c < channels; ++c) {
        const std::vector<float> other = channelOf(frames, channels, c);
        for (std::size_t i = 0; i < mono.size(); ++i)
            mono[i] += other[i];
    }
    if (mono.empty())
        throw std::runtime_error("the sound file holds no samples");
    return resample(mono, info.samplerate, kBaseRate);
}

} // namespace

Audio readAudio(const std::string& path) {
    SF_INFO info{};
    const File file = openForReading(path, info);
    return toAudio(file.get(), info);
}

Audio readAudio(std::span<const std::uint8_t> bytes) {
    SF_VIRTUAL_IO calls{memoryLength, memorySeek, memoryRead, memoryWrite, memoryTell};
    MemoryFile memory{bytes};
    SF_INFO info{};
    const File file(sf_open_virtual(&calls, SFM_READ, &info, &memory));
    if (!file)
        throw std::runtime_error(fmt::format("cannot read the built-in sound: {}", sf_strerror(nullptr)));
    return toAudio(file.get(), info);
}

IqRecording readIq(const std::string& path) {
    SF_INFO info{};
    const File file = openForReading(path, info);
    if (info.channels != 2)
        throw std::runtime_error(fmt::format("{}: an I/Q recording has two channels", path));
    const std::vector<float> frames = readFrames(file.get(), info);
    IqRecording recording;
    recording.rateFactor = (info.samplerate + kBaseRate - 1) / kBaseRate;
    const double rate = kBaseRate * recording.rateFactor;
    const std::vector<float> i = resample(channelOf(frames, 2, 0), info.samplerate, rate);
    const std::vector<float> q = resample(channelOf(frames, 2, 1), info.samplerate, rate);
    if (i.empty())
        throw std::runtime_error(fmt::format("{}: holds no samples", path));
    for (std::size_t n = 0; n < i.size(); ++n)
        recording.samples.emplace_back(i[n], q[n]);
    return recording;
}

void writeAudio(const std::string& path, const Audio& audio) {
    SF_INFO info{};
    info.samplerate = kBaseRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const File file(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!file)
        throw std::runtime_error(fmt::format("cannot write {}: {}", path, sf_strerror(nullptr)));
    sf_command(file.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
    sf_writef_float(file.get(), audio.data(), static_cast<sf_count_t>(audio.size()));
}

} // namespace ferrow::sim
