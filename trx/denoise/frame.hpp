// Sizes of the noise reduction: one frame is one block of the receive chain, at 48000 samples a second.
#pragma once

#include <array>
#include <complex>

namespace ferrow::denoise {

inline constexpr int FRAME_SIZE = 512;
inline constexpr int WINDOW_SIZE = 2 * FRAME_SIZE;
inline constexpr int FREQ_SIZE = FRAME_SIZE + 1; // bins of 46.875 Hz
inline constexpr int NB_BANDS = 22;
inline constexpr int PITCH_MAX_PERIOD = 768;
inline constexpr int PITCH_FRAME_SIZE = 1024;
inline constexpr int PITCH_BUF_SIZE = PITCH_MAX_PERIOD + PITCH_FRAME_SIZE;

inline constexpr int kFeatures = 42;
inline constexpr int kCepstra = 8; // rows of cepstral history

using Bands = std::array<float, NB_BANDS>;
using Spectrum = std::array<std::complex<float>, FREQ_SIZE>;
using Features = std::array<float, kFeatures>;

} // namespace ferrow::denoise
