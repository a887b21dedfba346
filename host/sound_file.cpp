#include "host/sound_file.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <utility>

namespace ferrow {
namespace {

constexpr std::size_t kHeaderSize = 44;
constexpr std::size_t kMostData = 0xFFFFFFFF - kHeaderSize;
constexpr float kFullScale = 32767;

void put(std::uint8_t* at, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::uint32_t get(const std::uint8_t* at, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value |= static_cast<std::uint32_t>(at[i]) << (8 * i);
    return value;
}

std::array<std::uint8_t, kHeaderSize> makeHeader(int rate, std::size_t samples) {
    std::array<std::uint8_t, kHeaderSize> header{};
    const auto bytes = static_cast<std::uint32_t>(std::min(2 * samples, kMostData));
    std::memcpy(header.data(), "RIFF", 4);
    put(&header[4], bytes + 36, 4);
    std::memcpy(&header[8], "WAVEfmt ", 8);
    put(&header[16], 16, 4);
    put(&header[20], 1, 2); // PCM
    put(&header[22], 1, 2); // channels
    put(&header[24], static_cast<std::uint32_t>(rate), 4);
    put(&header[28], static_cast<std::uint32_t>(2 * rate), 4);
    put(&header[32], 2, 2);
    put(&header[34], 16, 2);
    std::memcpy(&header[36], "data", 4);
    put(&header[40], bytes, 4);
    return header;
}

[[noreturn]] void fail(const std::string& path, const char* what) {
    throw Failure(fmt::format("{}: {}", path, what));
}

} // namespace

WavWriter::WavWriter(const std::string& path, int rate)
    : path_(path), rate_(rate), file_(std::fopen(path.c_str(), "wbe")) {
    if (!file_)
        throw Failure(fmt::format("cannot write {}: {}", path, std::strerror(errno)));
    try {
        writeHeader();
    } catch (...) {
        std::fclose(file_);
        throw;
    }
}

WavWriter::~WavWriter() {
    try {
        close();
    } catch (const Failure&) {
        // told by close() to those who call it
    }
}

void WavWriter::write(std::span<const float> samples) {
    if (samples.empty())
        return;
    words_.clear();
    for (const float x : samples) {
        const float limited = std::isnan(x) ? 0.0F : std::clamp(x, -1.0F, 1.0F);
        words_.push_back(static_cast<std::int16_t>(std::lrint(limited * kFullScale)));
    }
    if (std::fwrite(words_.data(), sizeof(std::int16_t), words_.size(), file_) != words_.size())
        throw Failure(fmt::format("cannot write {}: {}", path_, std::strerror(errno)));
    samples_ += samples.size();
    if (samples_ >= inHeader_ + static_cast<std::size_t>(rate_))
        writeHeader();
}

void WavWriter::writeHeader() {
    const auto header = makeHeader(rate_, samples_);
    if (std::fseek(file_, 0, SEEK_SET) != 0 ||
        std::fwrite(header.data(), 1, header.size(), file_) != header.size() ||
        std::fseek(file_, 0, SEEK_END) != 0)
        throw Failure(fmt::format("cannot write {}: {}", path_, std::strerror(errno)));
    inHeader_ = samples_;
}

void WavWriter::close() {
    if (!file_)
        return;
    std::string error;
    try {
        writeHeader();
    } catch (const Failure& failure) {
        error = failure.what();
    }
    if (std::fclose(std::exchange(file_, nullptr)) != 0 && error.empty())
        error = fmt::format("cannot write {}: {}", path_, std::strerror(errno));
    if (!error.empty())
        throw Failure(error);
}

Sound readWav(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw Failure(fmt::format("cannot read {}: {}", path, std::strerror(errno)));
    if (std::filesystem::is_directory(path))
        fail(path, "a folder, no WAV file");
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.size() < 12 || std::memcmp(bytes.data(), "RIFF", 4) != 0 ||
        std::memcmp(bytes.data() + 8, "WAVE", 4) != 0)
        fail(path, "no WAV file");
    Sound sound;
    for (std::size_t at = 12; at + 8 <= bytes.size();) {
        const std::uint8_t* chunk = bytes.data() + at;
        const std::size_t promised = get(chunk + 4, 4);
        const std::size_t there = std::min(promised, bytes.size() - at - 8);
        if (std::memcmp(chunk, "fmt ", 4) == 0 && there >= 16) {
            if (get(chunk + 8, 2) != 1 || get(chunk + 10, 2) != 1 || get(chunk + 22, 2) != 16)
                fail(path, "only PCM, mono, 16 bit can be read");
            sound.rate = static_cast<int>(std::min<std::uint32_t>(get(chunk + 12, 4), 10'000'000));
        } else if (std::memcmp(chunk, "data", 4) == 0) {
            for (std::size_t i = 0; i + 2 <= there; i += 2)
                sound.samples.push_back(static_cast<float>(static_cast<std::int16_t>(get(chunk + 8 + i, 2))) /
                                        32768.0F);
            break;
        }
        at += 8 + promised + promised % 2;
    }
    if (sound.rate <= 0)
        fail(path, "a WAV file without a format");
    return sound;
}

} // namespace ferrow
