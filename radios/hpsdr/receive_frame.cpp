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

__m128i twoPairs(const std::uint8_t* at, std::size_t stride) {
    return _mm_unpacklo_epi64(_mm_loadu_si64(at), _mm_loadu_si64(at + stride));
}

} // namespace

void decodeIq(const std::uint8_t* at, std::size_t stride, std::size_t count, float scale, bool swapped,
              std::complex<float>* out) {
    // Eight bytes hold one I/Q pair: each value goes byte-reversed into the top of a 32-bit lane.
    constexpr char z = -1;
    const __m256i straight = _mm256_setr_epi8(z, 2, 1, 0, z, 5, 4, 3, z, 10, 9, 8, z, 13, 12, 11, //
                                              z, 2, 1, 0, z, 5, 4, 3, z, 10, 9, 8, z, 13, 12, 11);
    const __m256i crossed = _mm256_setr_epi8(z, 5, 4, 3, z, 2, 1, 0, z, 13, 12, 11, z, 10, 9, 8, //
                                             z, 5, 4, 3, z, 2, 1, 0, z, 13, 12, 11, z, 10, 9, 8);
    const __m256i order = swapped ? crossed : straight;
    const __m256 factor = _mm256_set1_ps(scale);
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4, at += 4 * stride) {
        const __m256i bytes = stride == 8
                                  ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at))
                                  : _mm256_set_m128i(twoPairs(at + 2 * stride, stride), twoPairs(at, stride));
        const __m256 values = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(bytes, order));
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
