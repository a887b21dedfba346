// Receive frames: how many records of how many receivers lie in one, and their 24-bit I/Q to floats.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>

namespace ferrow {

// Records of one receive frame: `receivers` × (I, Q) of 3 bytes each, and 2 bytes of microphone.
struct FrameLayout {
    int receivers = 1;
    int recordBytes = 8;
    int records = 63;
};

// Layout of a frame that holds `receivers`.
FrameLayout layoutFor(int receivers);

// Layout of the frame whose third sync byte is `sync`: a value below `hwReceivers` instead of 0x7F says that
// the frame holds that many receivers and one more.
FrameLayout frameLayout(std::uint8_t sync, int hwReceivers);

// Factor from 32-bit integers to samples, undoing the RF gain. A `maxAdcValue` below 1 counts as 1.
float sampleScale(double rxScale, double levelCalibration, int maxAdcValue);

// `count` samples of one receiver: `at` points to its first I, `stride` is the record length in bytes. I is
// the real part, or with `swapped` the imaginary one. Reads nothing behind the last record; one of 6 bytes is
// a pair alone, longer ones have two bytes behind the last receiver's.
void decodeIq(const std::uint8_t* at, std::size_t stride, std::size_t count, float scale, bool swapped,
              std::complex<float>* out);
// The same, one byte at a time.
void decodeIq_ref(const std::uint8_t* at, std::size_t stride, std::size_t count, float scale, bool swapped,
                  std::complex<float>* out);

// Hands the samples of one receiver of one frame out in runs of any length.
class IqReader {
public:
    // `frame` is the start of the 512 bytes, which have to outlive the reader.
    IqReader(const std::uint8_t* frame, const FrameLayout& layout, int receiver, float sampleFactor,
             bool swapIq);

    // The next `count` samples; the caller asks for no more than the layout's records in all.
    void operator()(std::complex<float>* out, std::size_t count);

private:
    const std::uint8_t* next;
    std::size_t stride;
    float scale;
    bool swapped;
};

} // namespace ferrow
