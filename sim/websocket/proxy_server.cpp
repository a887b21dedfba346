#include "sim/websocket/proxy_server.hpp"

#include "sim/radio/pacer.hpp"
#include "sim/sky/synth.hpp"
#include "sim/websocket/client.hpp"
#include "sim/websocket/message.hpp"
#include "sim/websocket/strikes.hpp"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <charconv>
#include <cmath>
#include <future>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>

namespace ferrow::sim::proxy {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr std::int64_t kGiveUpNs = 2'000'000'000; // a clock that is so far behind starts anew
constexpr double kBeyondAll = 1e10;               // Hz, the clock of a converter that folds no station
constexpr int kBlocksPerMessage = 2;              // of the synthesizer

} // namespace

void parsePlace(const std::string& text, ServerSettings& settings) {
    const auto wrong = [&](const char* why) {
        throw std::invalid_argument("\"" + text + "\" is not HOST[:PORT][/PATH]: " + why);
    };
    const auto slash = std::min(text.find('/'), text.size());
    const std::string place = text.substr(0, slash);
    if (slash < text.size())
        settings.path = text.substr(slash);
    const auto colon = std::min(place.find(':'), place.size());
    boost::system::error_code error;
    settings.host = place.substr(0, colon);
    asio::ip::make_address_v4(settings.host, error);
    if (error)
        wrong("the host is an IPv4 address");
    if (colon == place.size())
        return;
    const std::string port = place.substr(colon + 1);
    const auto [end, code] = std::from_chars(port.data(), port.data() + port.size(), settings.port);
    if (code != std::errc() || end != port.data() + port.size() || settings.port < 0 || settings.port > 65535)
        wrong("the port is a number from 0 to 65535");
}

void checkFaults(const std::vector<FaultSpec>& faults) {
    for (const FaultSpec& fault : faults)
        if (fault.kind == FaultKind::Reorder)
            throw std::invalid_argument("fault \"reorder\": a websocket keeps the order of its messages");
}

/// Everything but the constructor and the queries of `Server` runs on the thread.
class Server::Work {
public:
    Work(ServerSettings settings, std::shared_ptr<const Sky> sky)
        : acceptor_(io_), timer_(io_), settings_(std::move(settings)),
          synth_(std::move(sky), settings_.clockPpm, kBeyondAll), strikes_(settings_.faults, settings_.seed) {
        try {
            const tcp::endpoint place(asio::ip::make_address(settings_.host),
                                      static_cast<std::uint16_t>(settings_.port));
            acceptor_.open(place.protocol());
            acceptor_.set_option(tcp::acceptor::reuse_address(true));
            acceptor_.bind(place);
            acceptor_.listen();
        } catch (const std::exception&) {
            throw std::runtime_error("cannot listen at " + settings_.host + ":" +
                                     std::to_string(settings_.port));
        }
        settings_.port = acceptor_.local_endpoint().port();
        begin(monotonicNs());
        accept();
        waitForTurn();
        thread_ = std::thread([this] { io_.run(); });
    }
    ~Work() {
        io_.stop();
        thread_.join();
    }

    const ServerSettings& settings() const { return settings_; }
    nlohmann::json statistics() {
        std::promise<nlohmann::json> promise;
        auto result = promise.get_future();
        asio::post(io_, [&] { promise.set_value(report()); });
        return result.get();
    }

private:
    void begin(std::int64_t now) {
        const double factor = 1.0 + settings_.clockPpm * 1e-6;
        time_.trueRate = kBaseRate * factor;
        time_.utcOfZero = utcSeconds();
        pacer_.begin(now, kRate * factor, kBlockSamples);
        turn_ = block_ = 0;
    }

    void accept() {
        acceptor_.async_accept([this](const boost::system::error_code& error, tcp::socket socket) {
            if (error)
                return;
            ++connections_;
            clients_.push_back(Client::serve(std::move(socket), settings_.path, numbers_, counts_));
            accept();
        });
    }

    void waitForTurn() {
        const std::int64_t wait = pacer_.dueNs(turn_) - monotonicNs();
        timer_.expires_after(std::chrono::nanoseconds(std::max<std::int64_t>(wait, 0)));
        timer_.async_wait([this](const boost::system::error_code& error) {
            if (error)
                return;
            std::erase_if(clients_, [](const auto& client) { return client->closed(); });
            takeTurn(monotonicNs());
            waitForTurn();
        });
    }

    /// One message to every receiver that somebody listens to.
    void takeTurn(std::int64_t now) {
        if (now - pacer_.dueNs(turn_) > kGiveUpNs)
            begin(now);
        const double seconds = pacer_.seconds(turn_);
        latestMs_ = std::max(latestMs_, 1e-6 * static_cast<double>(now - pacer_.dueNs(turn_)));
        subscribed_.clear();
        for (const auto& client : clients_)
            for (Receiver& receiver : client->receivers())
                if (receiver.subscribed && !settings_.silent)
                    subscribed_.push_back({client, &receiver});
        synth_.configure(static_cast<int>(subscribed_.size()), kRate);
        if (!subscribed_.empty()) {
            makeSamples();
            const Strike strike = strikes_.next(message_++, seconds, now);
            for (std::size_t i = 0; i < subscribed_.size(); ++i)
                send(i, strike, now);
            for (const auto& client : clients_)
                client->release(strike.restart ? 0 : now);
            if (strike.restart)
                for (const auto& client : clients_)
                    client->cut();
        }
        ++turn_;
        block_ += kBlocksPerMessage;
    }

    void makeSamples() {
        tuned_.resize(subscribed_.size());
        samples_.resize(subscribed_.size());
        for (std::size_t i = 0; i < subscribed_.size(); ++i)
            tuned_[i].frequency = subscribed_[i].receiver->frequency;
        for (int part = 0; part < kBlocksPerMessage; ++part) {
            synth_.makeBlock(time_, block_ + part, tuned_, 0.0);
            for (std::size_t i = 0; i < subscribed_.size(); ++i) {
                if (part == 0)
                    samples_[i].clear();
                const auto made = synth_.samples(static_cast<int>(i));
                samples_[i].insert(samples_[i].end(), made.begin(), made.end());
            }
        }
    }

    void send(std::size_t index, const Strike& strike, std::int64_t now) {
        Client& client = *subscribed_[index].client;
        Receiver& receiver = *subscribed_[index].receiver;
        const std::string block =
            blockMessage(receiver.number, receiver.frequency, receiver.blocks++, samples_[index]);
        const std::int64_t due = std::max(now, strike.dueNs);
        for (const std::string& foreign : strike.foreign(block))
            client.queue({false, foreign, due});
        if (strike.badText)
            client.queue({true, "This is no JSON.", due});
        for (int copy = 0; copy < strike.copies; ++copy)
            client.queue({false, block.substr(0, strike.bytes), due});
    }

    nlohmann::json report() const {
        nlohmann::json clients = nlohmann::json::array();
        for (const auto& client : clients_) {
            nlohmann::json receivers = nlohmann::json::array();
            for (const Receiver& receiver : client->receivers())
                receivers.push_back({{"number", receiver.number},
                                     {"id", receiver.id},
                                     {"frequency", receiver.frequency},
                                     {"subscribed", receiver.subscribed},
                                     {"blocks", receiver.blocks}});
            clients.push_back({{"receivers", receivers}});
        }
        return {{"url", "ws://" + settings_.host + ":" + std::to_string(settings_.port) + settings_.path},
                {"connections", connections_},
                {"in",
                 {{"add_receiver", counts_.added},
                  {"subscribe", counts_.subscribed},
                  {"set_frequency", counts_.tuned},
                  {"foreign", counts_.foreign},
                  {"refused", counts_.refused},
                  {"closed", counts_.closed}}},
                {"out",
                 {{"blocks", counts_.blocks},
                  {"bytes", counts_.bytes},
                  {"dropped", counts_.dropped},
                  {"latest_ms", latestMs_}}},
                {"faults", countsByName(strikes_.counts())},
                {"clients", clients}};
    }

    struct Subscription {
        std::shared_ptr<Client> client;
        Receiver* receiver;
    };

    asio::io_context io_; // first: all connections are gone before it
    tcp::acceptor acceptor_;
    asio::steady_timer timer_;
    ServerSettings settings_;
    Synth synth_;
    SkyTime time_;
    Pacer pacer_;
    Strikes strikes_;
    std::int64_t turn_ = 0;
    std::int64_t block_ = 0;
    std::int64_t message_ = 0; // turns in which somebody listened
    double latestMs_ = 0.0;
    std::int64_t connections_ = 0;
    int numbers_ = 0; // of receivers, of all clients
    Counts counts_;
    std::vector<Subscription> subscribed_;
    std::vector<ReceiverSetting> tuned_;
    std::vector<std::vector<Cfloat>> samples_;

    std::vector<std::shared_ptr<Client>> clients_;
    std::thread thread_;
};

Server::Server(ServerSettings settings, std::shared_ptr<const Sky> sky)
    : work_(std::make_unique<Work>(std::move(settings), std::move(sky))) {}

Server::~Server() = default;

std::string Server::url() const {
    const ServerSettings& s = work_->settings();
    return "ws://" + s.host + ":" + std::to_string(s.port) + s.path;
}

nlohmann::json Server::statistics() const {
    return work_->statistics();
}

} // namespace ferrow::sim::proxy
