// A transceiver's spectra on their way to the listener.
#pragma once

#include "host/serve/station_door.hpp"

#include <atomic>

namespace ferrow::serve {

// take() runs on the library's render thread, the rest on any.
class SpectrumTap {
public:
    SpectrumTap(int id, std::shared_ptr<Peer> peer) : id_(id), peer_(std::move(peer)) {}

    // `rate`: frames a second, 0 for none.
    void set(int bins, double rate) {
        bins_.store(bins, std::memory_order_relaxed);
        rate_.store(rate, std::memory_order_relaxed);
    }
    void take(const Spectrum& spectrum);

private:
    using Clock = std::chrono::steady_clock;

    const int id_;
    const std::shared_ptr<Peer> peer_;
    std::atomic<int> bins_{1024};
    std::atomic<double> rate_{0};
    Clock::time_point due_{}; // the next frame
    std::uint32_t sequence_ = 0;
};

} // namespace ferrow::serve
