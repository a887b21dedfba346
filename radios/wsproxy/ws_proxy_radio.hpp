// A radio at the far end of a websocket: receive only, one receiver at 48 kHz.
#pragma once

#include "core/async/async_property.hpp"
#include "trx/radio.hpp"

#include <complex>
#include <memory>
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
