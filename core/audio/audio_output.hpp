// A transceiver's way to a sound device: a ring that follows the device's clock.
#pragma once

#include "core/audio/sidetone.hpp"
#include "core/buff/buff.hpp"

#include <cstdint>
#include <memory>

namespace ferrow {

class AudioRing;

// Used from one context, but for the device's own callback.
class audioOutput {
public:
    audioOutput();
    audioOutput(const audioOutput&) = delete;
    audioOutput& operator=(const audioOutput&) = delete;
    ~audioOutput();

    // Closes any stream and opens device `id` at 48000 Hz: a PortAudio index, that plus 1000
    // for low latency, or a negative number for none. Failures are logged and leave the stream closed.
    void open(int id);
    int id() const noexcept;
    bool isOpen() const noexcept;

    // Plays `block`: mono, or interleaved left and right. Dropped when no device is open.
    void write(const buff<float>& block, bool useResampler, bool stereo) noexcept;

    // Sounds over what is played, on whichever device is open; lives as long as the output.
    Sidetone& sidetone() noexcept { return *sidetone_; }

    // How the clocks stand, for tests and statistics; null before the first open.
    const AudioRing* ring() const noexcept;

private:
    struct State; // of one opening

    void close();

    std::shared_ptr<Sidetone> sidetone_; // also held by the callback of an opening
    std::shared_ptr<State> state_;
};

} // namespace ferrow
