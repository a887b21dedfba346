#include "radios/hpsdr/receive_frame.hpp"

#include "radios/hpsdr/wire.hpp"

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace ferrow {

FrameLayout layoutFor(int receivers) {
    FrameLayout layout;
    layout.receivers = receivers;
    layout.recordBytes = 6 * receivers + 2;
    layout.records = static_cast<int>(kHpsdrRecordBytes) / layout.recordBytes;
    return layout;
}

FrameLayout frameLayout(std::uint8_t sync, int hwReceivers) {
    return layoutFor(sync != 0x7F && sync < hwReceivers ? sync + 1 : hwReceivers);
}

float sampleScale(double rxScale, double levelCalibration, int maxAdcValue) {
    constexpr double kFullScale = 1.0 / 2147483648.0;
    return static_cast<float>(rxScale * kFullScale * levelCalibration * (32768 / std::max(maxAdcValue, 1)));
}

namespace {

float value24(const std::uint8_t* at, float scale) {
    const std::uint32_t bits = static_cast<std::uint32_t>(at[0]) << 24 |
                               static_cast<std::uint32_t>(at[1]) << 16 |
                               static_cast<std::uint32_t>(at[2]) << 8;
    return static_cast<float>(static_cast<std::int32_t>(bits)) * scale;
}

} // namespace

void decodeIq_ref(const std::uint8_t* at, std::size_t stride, std::size_t count, float scale, bool swapped,
                  std::complex<float>* out) {
    for (std::size_t i = 0; i < count; ++i, at += stride) {
        const float first = value24(at, scale);
        const float second = value24(at + 3, scale);
        out[i] = swapped ? std::complex<float>(second, first) : std::complex<float>(first, second);
    }
}

namespace {

__m128i sixteen(const std::uint8_t* at) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

__m128i twoPairs(const std::uint8_t* at, std::size_t stride) {
    return _mm_unpacklo_epi64(_mm_loadu_si64(at), _mm_loadu_si64(at + stride));
}

// Four pairs, two in each half: side by side where they lie so, else 8 bytes for each.
__m256i fourPairs(const std::uint8_t* at, std::size_t stride) {
    if (stride == 6)
        return _mm256_set_m128i(sixteen(at + 12), sixteen(at));
    if (stride == 8)
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    return _mm256_set_m128i(twoPairs(at + 2 * stride, stride), twoPairs(at, stride));
}

// Puts each value byte-reversed into the top of a 32-bit lane; the second pair begins at `second`.
__m256i byteOrder(char second, bool swapped) {
    constexpr char z = -1;
    const auto s = [second](int byte) { return static_cast<char>(second + byte); };
    const __m128i half =
        swapped ? _mm_setr_epi8(z, 5, 4, 3, z, 2, 1, 0, z, s(5), s(4), s(3), z, s(2), s(1), s(0))
                : _mm_setr_epi8(z, 2, 1, 0, z, 5, 4, 3, z, s(2), s(1), s(0), z, s(5), s(4), s(3));
    return _mm256_set_m128i(half, half);
}

} // namespace

void decodeIq(const std::uint8_t* at, std::size_t stride, std::size_t count, float scale, bool swapped,
              std::complex<float>* out) {
    const __m256i order = byteOrder(stride == 6 ? 6 : 8, swapped);
    const __m256 factor = _mm256_set1_ps(scale);
    // Packed pairs are read up to four bytes beyond, which the last one has no room for.
    const std::size_t wide = stride == 6 && count > 0 ? count - 1 : count;
    std::size_t i = 0;
    for (; i + 4 <= wide; i += 4, at += 4 * stride) {
        const __m256 values = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(fourPairs(at, stride), order));
        _mm256_storeu_ps(reinterpret_cast<float*>(out + i), _mm256_mul_ps(values, factor));
    }
    decodeIq_ref(at, stride, count - i, scale, swapped, out + i);
}

IqReader::IqReader(const std::uint8_t* frame, const FrameLayout& layout, int receiver, float sampleFactor,
                   bool swapIq)
    : next(frame + kHpsdrRecords + 6 * static_cast<std::size_t>(receiver)),
      stride(static_cast<std::size_t>(layout.recordBytes)), scale(sampleFactor), swapped(swapIq) {}

void IqReader::operator()(std::complex<float>* out, std::size_t count) {
    decodeIq(next, stride, count, scale, swapped, out);
    next += count * stride;
}

} // namespace ferrow
