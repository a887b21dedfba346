// A chirp beacon: sends its callsign over and over, and logs the beacons that it hears.
#pragma once

#include "modes/chirp/chirp_receiver.hpp"
#include "modes/chirp/chirp_transmitter.hpp"
#include "trx/mod_demod.hpp"

#include <atomic>
#include <memory>
#include <string>

namespace ferrow {

// While ptt is on the frame goes out every twelve seconds, by no clock but its own. `rxFreq` and `txFreq`
// move the centre of reception and transmission; 0 stands for 1500 Hz.
class chirpyModDemod : public modDemod {
public:
    static constexpr const char* kCallsign = "Q9ZZZ";

    explicit chirpyModDemod(const std::shared_ptr<syncTask>& context);

    buff<float> demodulate(buff<std::complex<float>> block) override;
    void modulate(buff<std::complex<float>> in, buff<std::complex<float>> out) override;
    void init() override;
    void setPtt(bool on) override;

private:
    std::string logPath_;
    std::shared_ptr<asyncObject> writer_; // a context of its own for writing the file
    ChirpReceiver receiver_;
    ChirpTransmitter transmitter_{kCallsign};
    std::atomic<bool> transmitting_{false};
    std::atomic<bool> restart_{false};
};

} // namespace ferrow
