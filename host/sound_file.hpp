// WAV files: mono, 16 bit, PCM.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace ferrow {

// Writes as it goes. The header is put right about once a second and at the end, so that the file can be
// played even if the program did not end well.
class WavWriter {
public:
    // Throws Failure if the file cannot be made.
    WavWriter(const std::string& path, int rate);
    // Ends the file; what fails here goes untold. Call close() to hear of it.
    ~WavWriter();
    WavWriter(const WavWriter&) = delete;
    WavWriter& operator=(const WavWriter&) = delete;

    // Samples from -1 to 1; beyond, they are limited. Throws Failure if the disk takes no more.
    void write(std::span<const float> samples);
    void close();

    const std::string& path() const { return path_; }
    std::size_t samples() const { return samples_; }

private:
    void writeHeader();

    std::string path_;
    int rate_;
    std::FILE* file_;
    std::size_t samples_ = 0;
    std::size_t inHeader_ = 0; // samples that the header tells of
    std::vector<std::int16_t> words_;
};

struct Sound {
    int rate = 0;
    std::vector<float> samples; // -1 to 1
};

// Reads a WAV file: mono, 16 bit, PCM, with other chunks allowed beside the sound. Samples that its header
// promises and that are not there are left out. Throws Failure.
Sound readWav(const std::string& path);

} // namespace ferrow
