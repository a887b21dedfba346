// A recorded period of FT8 as a file.
#include "fuzz/fuzz.hpp"
#include "modes/ft8/wav_file.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    if (size == 0) // fmemopen refuses it
        return 0;
    std::FILE* const file = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
    std::int32_t capacity = 4096, rate = 0;
    buff<short> samples(4096);
    loadWav(samples, capacity, rate, file);
    std::fclose(file);
    return 0;
}
