// A radio at the far end of a websocket: receive only, one receiver at 48 kHz.
#pragma once

#include "core/async/async_property.hpp"
#include "trx/radio.hpp"

#include <complex>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>

namespace ferrow {

// A server owns the hardware. Each start makes a connection, on a thread that the radio keeps for its life (a
// queue serves so many threads and no more): asks for receiver RemoteID, subscribes to its samples, and tunes
// it. What goes wrong there is written to the standard output as "Error: " and ends the connection; the radio
// is silent then until stop and start.
class WsProxyRadio : public Radio {
public:
    explicit WsProxyRadio(const std::shared_ptr<syncTask>& hostContext);
    // Cuts the connection.
    ~WsProxyRadio() override;

    asyncProperty<int> RemoteID{0};
    asyncProperty<std::string> URI; // ws://host:port/path, read by start

    void frequenciesChanged() override;
    // Waits for the connection of an earlier start, which ends with the first message after stop. On a radio
    // that got a transceiver before its first start there is none to wait for, which raises
    // std::system_error.
    void startRadio() override;
    void stopRadio() override;

    // Takes a message of the server. Samples go to the radio's queue; what is to be written back is returned,
    // if anything. Text that is not as it should be raises an exception. On the connection's thread.
    std::optional<std::string> takeMessage(bool text, std::span<const std::uint8_t> message);

private:
    struct Link; // shared with the thread

    // On the radio's context.
    void HandleRx(const buff<std::complex<float>>& samples, int, double frequency);

    void waitForConnection();
    static void run(const std::shared_ptr<Link>& link);
    static void serve(const std::shared_ptr<Link>& link, const std::string& uri, int remoteId);

    std::shared_ptr<Link> link_;
    std::thread socketThread_;
    bool badFrequencySeen_ = false;
};

} // namespace ferrow
