// The radio and its listeners: carries out what they ask for.
#pragma once

#include "host/serve/neighbour_desk.hpp"
#include "host/serve/traffic.hpp"
#include "host/serve/transmit_desk.hpp"

#include <future>
#include <map>
#include <set>

namespace ferrow::serve {

struct StationOptions {
    RadioAddress address;
    RadioOptions radio;
    TransmitPower power;
    TransmitLimits limits;
    int mostTransceivers = 4; // of a listener
    int mostBanks = 8;        // transceivers in PSK modes, of all listeners
    NeighbourOptions neighbours;
    double s9 = -73; // what a signal of S9 measures, dB
};

// For the thread that pumps the library.
class Station {
public:
    using Clock = std::chrono::steady_clock;

    // Starts the radio. Throws Failure if none answers. `guard` may be null: nothing is ever sent.
    Station(Library& library, const FoundRadio& radio, const StationOptions& options, TransmitGuard* guard,
            StationDoor& door, Traffic& traffic);
    // Takes all transceivers off the radio, and stops it.
    ~Station();
    Station(const Station&) = delete;
    Station& operator=(const Station&) = delete;

    // Waits for packets of the radio; throws Failure if none come.
    void awaitRadio();
    // Until an interrupt comes.
    void run();

private:
    struct Listener {
        std::shared_ptr<Peer> peer;
        AudioFormat format = AudioFormat::Off;
        std::map<int, std::unique_ptr<Receiver>> receivers;
        Clock::time_point heard;
    };

    void take(Visit& visit);
    void greet(int number, const std::shared_ptr<Peer>& peer);
    void dismiss(int number);
    void obey(int number, const Order& order);
    void carryOut(int number, Listener& listener, const AddOrder& order);
    void carryOut(int number, Listener& listener, const RemoveOrder& order);
    void carryOut(int number, Listener& listener, const SetOrder& order);
    void carryOut(int number, Listener& listener, const ViewOrder& order);
    void carryOut(int number, Listener& listener, const AudioOrder& order);
    void carryOut(int number, Listener& listener, const PingOrder& order);
    void carryOut(int number, Listener& listener, const KeyOrder& order);
    void carryOut(int number, Listener& listener, const TuneOrder& order);
    void carryOut(int number, Listener& listener, const SendOrder& order);
    void carryOut(int number, Listener& listener, const StopOrder& order);
    void carryOut(int number, Listener& listener, const Ft8Order& order);
    void carryOut(int number, Listener& listener, const LogOrder& order);

    void apply(Receiver& receiver, const SetOrder& order);
    void openNeighbours();
    // The transceiver that was set last, by any listener, else any, else the station's own; null if there is
    // none.
    Receiver* shown() const;
    // The same, but the station makes one of its own.
    Receiver* rigReceiver();
    void tellOwner(const Receiver& receiver);

    Receiver& receiverOf(Listener& listener, int id);
    int freeId();
    int banks(const Receiver* without) const;
    void checkBanks(const std::string& mode, const Receiver* receiver) const;

    void poll();
    void pollRadio(Clock::time_point now);
    void tryRadio();
    void tellAll(const std::string& text);
    void tellTransmit();
    nlohmann::json transmitJson(int number) const;
    nlohmann::json radioJson() const;
    void postNotices();
    std::string metrics() const;

    Library& library_;
    FoundRadio found_;
    StationOptions options_;
    StationDoor& door_;
    Traffic& traffic_;
    SlotDesk slots_;
    RadioSession session_;
    std::map<int, Listener> listeners_;
    std::set<int> ids_; // in use
    int lastId_ = 0;
    int lastSet_ = 0;                 // number of a transceiver
    std::unique_ptr<Receiver> house_; // for rig control while nobody listens
    std::unique_ptr<NeighbourDesk> neighbours_;
    std::unique_ptr<TransmitDesk> desk_;

    const Clock::time_point began_ = Clock::now();
    const int ownObjects_; // of the library, without any transceiver
    bool radioOk_ = true;
    std::string radioText_;
    bool tuneAgain_ = false;
    Clock::time_point nextTry_{};
    std::future<std::optional<FoundRadio>> search_;
    int restarts_ = 0;
    int toldGaps_ = 0;
    bool toldKeyed_ = false;
    Clock::time_point nextNotices_{}, nextReadings_{};
};

} // namespace ferrow::serve
