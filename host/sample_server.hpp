// The far end of the library's websocket radio, in this process: it hands the library samples of our own, in
// no hurry of real time.
#pragma once

#include <array>
#include <complex>
#include <memory>
#include <string>

namespace ferrow {

class SampleServer {
public:
    using Block = std::array<std::complex<double>, 512>; // of 48000 samples a second

    // Listens on a free port of 127.0.0.1. Throws Failure.
    explicit SampleServer(double centre); // Hz that all blocks state
    // Ends the connection.
    ~SampleServer();
    SampleServer(const SampleServer&) = delete;
    SampleServer& operator=(const SampleServer&) = delete;

    std::string uri() const;

    // Goes out as soon as the library has asked for samples.
    void send(const Block& block);

    // From now on messages without meaning go out: the library looks up only when one has come. For its stop.
    void nudge();

private:
    struct Work;
    std::unique_ptr<Work> work_;
};

} // namespace ferrow
