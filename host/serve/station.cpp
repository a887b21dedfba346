#include "host/serve/station.hpp"

#include "host/failure.hpp"
#include "host/interrupt.hpp"
#include "host/serve/messages.hpp"

#include <fmt/format.h>

namespace ferrow::serve {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr auto kRound = 50ms; // at the longest
constexpr auto kNoticePause = 250ms, kReadingsPause = 500ms;
constexpr auto kTryPause = 2s;   // between attempts to bring a lost radio back
constexpr auto kSearchTime = 1s; // of the question whether it is there
constexpr int kRig = 0;          // as a listener; these count from 1
constexpr long long kHouseFrequency = 14'200'000;

// Where nobody listens.
class DeafPeer : public Peer {
public:
    void send(std::string) override {}
    void send(OutgoingFrame) override {}
};

} // namespace

Station::Station(Library& library, const FoundRadio& radio, const StationOptions& options,
                 TransmitGuard* guard, StationDoor& door, Traffic& traffic)
    : library_(library), found_(radio), options_(options), door_(door), traffic_(traffic),
      session_(library, radio, options.radio), ownObjects_(liveObjects()) {
    desk_ = std::make_unique<TransmitDesk>(
        library_, session_, guard, options_.power, options_.limits,
        TransmitDesk::Reports{[this] { tellTransmit(); },
                              [this](int listener, const std::string& about, const std::string& text) {
                                  if (const auto one = listeners_.find(listener); one != listeners_.end())
                                      one->second.peer->send(errorText(about, text));
                              }});
    session_.open();
    openNeighbours();
    postNotices();
}

void Station::openNeighbours() {
    const NeighbourOptions& options = options_.neighbours;
    if (!options.rigctl && !options.wsjtx && options.adif.empty())
        return;
    RigSeat seat;
    seat.description =
        fmt::format("{} at {}", radioJson()["name"].get<std::string>(), options_.address.url());
    seat.receiver = [this] { return rigReceiver(); };
    seat.set = [this](Receiver& receiver, const SetOrder& order) {
        apply(receiver, order);
        tellOwner(receiver);
    };
    seat.key = [this](Receiver& receiver, bool on) { desk_->key(kRig, receiver, on); };
    seat.keyed = [this] { return desk_->keyed(); };
    seat.transmits = [this] { return desk_->allowed(); };
    seat.powered = [this] { return session_.alive(); };
    seat.s9 = options_.s9;
    neighbours_ = std::make_unique<NeighbourDesk>(options, std::move(seat), [this] { desk_->cancelAll(); });
    slots_.onDecoded = [this](SlotMode mode, const DecodedSlot& slot) { neighbours_->decoded(mode, slot); };
}

Receiver* Station::shown() const {
    Receiver* any = house_.get();
    for (const auto& [number, listener] : listeners_)
        for (const auto& [id, receiver] : listener.receivers) {
            if (id == lastSet_)
                return receiver.get();
            any = receiver.get();
        }
    return any;
}

Receiver* Station::rigReceiver() {
    if (Receiver* const receiver = shown())
        return receiver;
    try {
        const AddOrder order{kHouseFrequency, "usb"};
        const int id = freeId();
        house_ = std::make_unique<Receiver>(ReceiverPlace{library_, session_, slots_}, id,
                                            std::make_shared<DeafPeer>(), order, AudioFormat::Off);
        ids_.insert(id);
        desk_->welcome(*house_);
    } catch (const std::exception& error) {
        fmt::print(stderr, "ferrow: no transceiver for rig control: {}\n", error.what());
    }
    return house_.get();
}

void Station::tellOwner(const Receiver& receiver) {
    for (const auto& [number, listener] : listeners_)
        if (listener.receivers.contains(receiver.id()))
            listener.peer->send(textOf(receiver.state()));
}

Station::~Station() {
    desk_->cancelAll();
    neighbours_.reset();
    house_.reset();
    listeners_.clear();
    session_.stop();
}

void Station::awaitRadio() {
    const std::chrono::milliseconds longest = session_.tellsPackets() ? 3s : 1s;
    library_.pumpUntil([this] { return session_.heard() || !session_.trouble().empty(); }, longest);
    const std::string why = session_.trouble();
    if (session_.heard() || interrupted() || (why.empty() && !session_.tellsPackets()))
        return;
    throw Failure(fmt::format("no samples from the radio at {}{}{}", options_.address.url(),
                              why.empty() ? " within 3 s" : ": ", why));
}

void Station::run() {
    std::vector<Visit> visits;
    while (!interrupted()) {
        library_.pumpUntil(
            [&] {
                if (neighbours_)
                    neighbours_->poll();
                visits = door_.take();
                return !visits.empty();
            },
            kRound);
        for (Visit& visit : visits)
            take(visit);
        visits.clear();
        poll();
    }
    desk_->cancelAll();
}

void Station::take(Visit& visit) {
    if (const auto* arrival = std::get_if<Arrival>(&visit.what))
        return greet(visit.listener, arrival->peer);
    if (std::holds_alternative<Departure>(visit.what))
        return dismiss(visit.listener);
    const auto found = listeners_.find(visit.listener);
    if (found == listeners_.end())
        return;
    found->second.heard = visit.time;
    if (const auto* error = std::get_if<OrderError>(&visit.what)) {
        traffic_.badOrders.fetch_add(1, std::memory_order_relaxed);
        found->second.peer->send(errorText(error->about, error->text));
    } else if (const auto* order = std::get_if<Order>(&visit.what)) {
        obey(visit.listener, *order);
    } else if (const auto* frame = std::get_if<MicrophoneFrame>(&visit.what)) {
        desk_->voice(visit.listener, *frame);
    }
}

void Station::greet(int number, const std::shared_ptr<Peer>& peer) {
    listeners_[number] = {peer, AudioFormat::Off, {}, Clock::now()};
    peer->send(textOf({{"is", "hello"},
                       {"version", FERROW_VERSION},
                       {"listener", number},
                       {"radio", radioJson()},
                       {"modes", modesJson()},
                       {"transmit", transmitJson(number)},
                       {"audio", {{"formats", {"pcm", "opus"}}, {"rate", kAudioRate}}},
                       {"limits", {{"transceivers", options_.mostTransceivers}}},
                       {"time", epochMs()}}));
    if (!radioOk_)
        peer->send(textOf({{"is", "radio"}, {"ok", false}, {"text", radioText_}}));
    if (toldGaps_ > 0)
        peer->send(textOf({{"is", "gap"}, {"count", toldGaps_}}));
}

void Station::dismiss(int number) {
    const auto found = listeners_.find(number);
    if (found == listeners_.end())
        return;
    if (desk_->owner() == number)
        desk_->cancelAll();
    for (const auto& [id, receiver] : found->second.receivers) {
        desk_->cancel(*receiver); // rig control may have keyed it
        ids_.erase(id);
    }
    listeners_.erase(found);
}

void Station::obey(int number, const Order& order) {
    static constexpr const char* kWords[] = {"add", "remove", "set",  "view", "audio", "ping",
                                             "key", "tune",   "send", "stop", "ft8",   "log"};
    static_assert(std::size(kWords) == std::variant_size_v<Order>);
    traffic_.orders.fetch_add(1, std::memory_order_relaxed);
    Listener& listener = listeners_.at(number);
    try {
        std::visit([&](const auto& one) { carryOut(number, listener, one); }, order);
    } catch (const std::exception& error) { // a Refusal, or a Failure of the library
        traffic_.badOrders.fetch_add(1, std::memory_order_relaxed);
        listener.peer->send(errorText(kWords[order.index()], error.what()));
    }
}

Receiver& Station::receiverOf(Listener& listener, int id) {
    const auto found = listener.receivers.find(id);
    if (found == listener.receivers.end())
        throw Refusal(fmt::format("you have no transceiver {}", id));
    return *found->second;
}

// Numbers go round, so that one that has just become free is not soon mistaken for a new one.
int Station::freeId() {
    for (int tried = 0; tried < kHighestId; ++tried) {
        lastId_ = lastId_ % kHighestId + 1;
        if (!ids_.contains(lastId_))
            return lastId_;
    }
    throw Refusal("there are too many transceivers");
}

int Station::banks(const Receiver* without) const {
    int count = 0;
    for (const auto& [number, listener] : listeners_)
        for (const auto& [id, receiver] : listener.receivers)
            count += receiver.get() != without && receiver->mode().family == Family::Psk;
    return count;
}

void Station::checkBanks(const std::string& mode, const Receiver* receiver) const {
    if (findMode(mode)->family == Family::Psk && banks(receiver) >= options_.mostBanks)
        throw Refusal("too many transceivers read PSK already");
}

void Station::carryOut(int number, Listener& listener, const AddOrder& order) {
    if (static_cast<int>(listener.receivers.size()) >= options_.mostTransceivers)
        throw Refusal(fmt::format("a listener has at most {} transceivers", options_.mostTransceivers));
    checkBanks(order.mode, nullptr);
    const int id = freeId();
    auto receiver = std::make_unique<Receiver>(ReceiverPlace{library_, session_, slots_}, id, listener.peer,
                                               order, listener.format);
    static_cast<void>(number);
    desk_->welcome(*receiver);
    ids_.insert(id);
    listener.peer->send(textOf(receiver->state()));
    listener.receivers[id] = std::move(receiver);
    lastSet_ = id;
}

void Station::carryOut(int, Listener& listener, const RemoveOrder& order) {
    desk_->cancel(receiverOf(listener, order.id));
    listener.receivers.erase(order.id);
    ids_.erase(order.id);
    listener.peer->send(textOf({{"is", "removed"}, {"id", order.id}}));
}

void Station::carryOut(int, Listener& listener, const SetOrder& order) {
    Receiver& receiver = receiverOf(listener, order.id);
    apply(receiver, order);
    lastSet_ = order.id;
    listener.peer->send(textOf(receiver.state()));
}

void Station::apply(Receiver& receiver, const SetOrder& order) {
    if (order.mode) {
        checkBanks(*order.mode, &receiver);
        if (*order.mode != receiver.mode().name)
            desk_->cancel(receiver);
    }
    receiver.set(order);
}

void Station::carryOut(int, Listener& listener, const ViewOrder& order) {
    receiverOf(listener, order.id).view(order);
}

void Station::carryOut(int, Listener& listener, const AudioOrder& order) {
    listener.format = order.format;
    for (const auto& [id, receiver] : listener.receivers)
        receiver->setFormat(order.format);
}

void Station::carryOut(int, Listener& listener, const PingOrder& order) {
    listener.peer->send(textOf({{"is", "pong"}, {"t", order.t}, {"server", epochMs()}}));
}

void Station::carryOut(int number, Listener& listener, const KeyOrder& order) {
    desk_->key(number, receiverOf(listener, order.id), order.on);
}

void Station::carryOut(int number, Listener& listener, const TuneOrder& order) {
    desk_->tune(number, receiverOf(listener, order.id), order.on);
}

void Station::carryOut(int number, Listener& listener, const SendOrder& order) {
    desk_->send(number, receiverOf(listener, order.id), order.text);
}

void Station::carryOut(int number, Listener&, const StopOrder&) {
    desk_->stop(number);
}

void Station::carryOut(int number, Listener& listener, const Ft8Order& order) {
    desk_->ft8(number, receiverOf(listener, order.id), order);
}

void Station::carryOut(int, Listener& listener, const LogOrder& order) {
    if (!neighbours_ || !neighbours_->logs())
        throw Refusal("this server keeps no log");
    neighbours_->logged(order);
    listener.peer->send(textOf({{"is", "logged"}, {"call", order.call}}));
}

void Station::poll() {
    const auto now = Clock::now();
    session_.poll();
    slots_.poll();
    for (auto& [number, listener] : listeners_)
        for (auto& [id, receiver] : listener.receivers)
            receiver->poll(now);
    const auto owner = desk_->owner();
    // Programs of rig control hold the key until they give it up: each of their words may come on a
    // connection of its own.
    desk_->poll(now, owner && *owner != kRig ? listeners_.at(*owner).heard : now);
    if (house_)
        house_->poll(now);
    if (neighbours_)
        neighbours_->setStatus(shown(), desk_->keyed(), desk_->allowed());
    if (desk_->keyed() != toldKeyed_ || (desk_->keyed() && now >= nextReadings_)) {
        nextReadings_ = now + kReadingsPause;
        tellTransmit();
    }
    pollRadio(now);
    if (session_.sequenceErrors() != toldGaps_) {
        toldGaps_ = session_.sequenceErrors();
        tellAll(textOf({{"is", "gap"}, {"count", toldGaps_}}));
    }
    if (now >= nextNotices_) {
        nextNotices_ = now + kNoticePause;
        postNotices();
    }
}

void Station::tellAll(const std::string& text) {
    for (const auto& [number, listener] : listeners_)
        listener.peer->send(text);
}

void Station::tellTransmit() {
    toldKeyed_ = desk_->keyed();
    for (const auto& [number, listener] : listeners_) {
        json message = transmitJson(number);
        message["is"] = "transmit";
        listener.peer->send(textOf(message));
    }
}

json Station::transmitJson(int number) const {
    const auto owner = desk_->owner();
    const TransmitReadings& readings = session_.readings();
    return {{"allowed", desk_->allowed()},
            {"keyed", desk_->keyed()},
            {"owner", owner ? json(*owner) : json()},
            {"mine", owner == number},
            {"forward", rounded(readings.forward)},
            {"swr", rounded(readings.swr)}};
}

json Station::radioJson() const {
    const std::string name = found_.kind == RadioKind::Hpsdr || found_.kind == RadioKind::HpsdrNp
                                 ? found_.boardName()
                                 : traitsOf(found_.kind).name;
    return {{"name", name}, {"url", options_.address.url()}, {"rate", options_.radio.sampleRate}};
}

// A radio that has gone silent is asked for until it answers, and started again.
void Station::pollRadio(Clock::time_point now) {
    const bool ok = session_.alive();
    if (ok != radioOk_) {
        radioOk_ = ok;
        radioText_ = "samples come";
        if (!ok) {
            const std::string why = session_.trouble();
            radioText_ = fmt::format("the radio at {} has stopped sending{}{}", options_.address.url(),
                                     why.empty() ? "" : ": ", why);
            desk_->cancelAll();
            nextTry_ = now;
        } else if (std::exchange(tuneAgain_, false)) {
            session_.retuneAll();
        }
        fmt::print(stderr, "ferrow: {}\n", radioText_);
        nextNotices_ = now;
        tellAll(textOf({{"is", "radio"}, {"ok", ok}, {"text", radioText_}}));
    }
    if (!radioOk_)
        tryRadio();
}

void Station::tryRadio() {
    const auto now = Clock::now();
    if (search_.valid()) {
        if (search_.wait_for(0s) != std::future_status::ready)
            return;
        const auto there = search_.get();
        nextTry_ = now + kTryPause;
        if (there && there->running && !options_.radio.takeOver)
            radioText_ = fmt::format("the radio at {} serves another program", options_.address.url());
        else if (there) {
            session_.restart();
            tuneAgain_ = true;
            ++restarts_;
            nextTry_ = now + 2 * kTryPause; // samples get their time
        }
        return;
    }
    if (now < nextTry_)
        return;
    search_ = std::async(std::launch::async, [address = options_.address]() -> std::optional<FoundRadio> {
        try {
            return findRadio(address, kSearchTime);
        } catch (const std::exception&) {
            return std::nullopt;
        }
    });
}

void Station::postNotices() {
    json listeners = json::array();
    for (const auto& [number, listener] : listeners_) {
        json receivers = json::array();
        for (const auto& [id, receiver] : listener.receivers)
            receivers.push_back(
                {{"id", id}, {"frequency", receiver->frequency()}, {"mode", receiver->mode().name}});
        listeners.push_back({{"id", number}, {"transceivers", std::move(receivers)}});
    }
    json radio = radioJson();
    radio["ok"] = radioOk_;
    radio["gaps"] = session_.sequenceErrors();
    radio["restarts"] = restarts_;
    const auto owner = desk_->owner();
    const json status = {
        {"program", "ferrow"},
        {"version", FERROW_VERSION},
        {"radio", std::move(radio)},
        {"uptime", std::round(std::chrono::duration<double>(Clock::now() - began_).count() * 10) / 10},
        {"listeners", std::move(listeners)},
        {"objects", liveObjects() - ownObjects_},
        {"transmit",
         {{"allowed", desk_->allowed()},
          {"keyed", desk_->keyed()},
          {"owner", owner ? json(*owner) : json()}}}};
    door_.post({textOf(status) + "\n", metrics()});
}

} // namespace ferrow::serve
