#include "modes/ft8/wav_file.hpp"

#include <algorithm>
#include <cstring>
#include <memory>

namespace ferrow {
namespace {

constexpr int kPcm = 1;
constexpr int kMono = 1;
constexpr int kSampleBits = 16;
constexpr int kFormatChunkBytes = 16;

// Files and the machines this is built for are both little-endian.
template <class T>
T field(const std::array<unsigned char, kWavHeaderBytes>& bytes, int offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

} // namespace

int parseWavHeader(const std::array<unsigned char, kWavHeaderBytes>& bytes, WavHeader& header) {
    if (field<std::int32_t>(bytes, 16) != kFormatChunkBytes)
        return kWavRejected;
    const auto format = field<std::uint16_t>(bytes, 20);
    const auto channels = field<std::uint16_t>(bytes, 22);
    const auto bits = field<std::uint16_t>(bytes, 34);
    if (format != kPcm || channels != kMono || bits != kSampleBits)
        return kWavRejected;
    const std::int32_t blockAlign = field<std::uint16_t>(bytes, 32);
    if (blockAlign == 0)
        return kWavRejected;
    const std::int32_t count = field<std::int32_t>(bytes, 40) / blockAlign;
    if (count < 0)
        return kWavRejected;
    header = {field<std::int32_t>(bytes, 24), count};
    return 0;
}

int loadWav(buff<short>& buffer, std::int32_t& capacityInOut, std::int32_t& sampleRateOut, std::FILE* file) {
    std::array<unsigned char, kWavHeaderBytes> bytes;
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size())
        return kWavRejected;
    WavHeader header;
    if (const int failure = parseWavHeader(bytes, header))
        return failure;
    if (header.sampleCount > capacityInOut)
        return kWavTooLong;
    const std::size_t read =
        std::fread(buffer.data(), sizeof(short), static_cast<std::size_t>(header.sampleCount), file);
    std::fill(buffer.data() + read, buffer.data() + buffer.size(), short{0});
    capacityInOut = header.sampleCount;
    sampleRateOut = header.sampleRate;
    return 0;
}

int loadWav(buff<short>& buffer, std::int32_t& capacityInOut, std::int32_t& sampleRateOut, const char* path) {
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    const std::unique_ptr<std::FILE, Closer> file(path ? std::fopen(path, "rb") : nullptr);
    return file ? loadWav(buffer, capacityInOut, sampleRateOut, file.get()) : kWavRejected;
}

} // namespace ferrow
