#include "radios/wsproxy/ws_proxy_radio.hpp"

#include "core/tasks/log.hpp"
#include "radios/wsproxy/proxy_messages.hpp"
#include "radios/wsproxy/proxy_uri.hpp"
#include "trx/hertz.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/version.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/lockfree/spsc_queue.hpp>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <optional>
#include <sys/socket.h>
#include <system_error>

namespace ferrow {

namespace {

namespace beast = boost::beast;
using boost::asio::ip::tcp;

constexpr long long kFirstFrequency = 14095600;
constexpr int kRate = 48000;
constexpr std::size_t kCommands = 128;

void say(const std::string& line) {
    std::cout << line + "\n" << std::flush;
}

} // namespace

struct WsProxyRadio::Link {
    std::weak_ptr<WsProxyRadio> radio;
    boost::lockfree::spsc_queue<std::string, boost::lockfree::capacity<kCommands>> commands;
    std::atomic<bool> running{false};
    std::atomic<bool> alive{false}; // a connection is wanted, being made or there
    std::atomic<int> remoteId{0};   // the server's number of the receiver
    std::mutex socketMutex;         // of the next two
    int socket = -1;
    bool cut = false; // no connection any more

    // The socket that a cut shuts down; -1 before it is closed. Raises an exception after a cut.
    void announce(int handle) {
        const std::lock_guard lock(socketMutex);
        socket = handle;
        if (cut && handle >= 0)
            throw std::runtime_error("connection given up");
    }

    void cutOff() {
        {
            const std::lock_guard lock(socketMutex);
            cut = true;
            if (socket >= 0)
                ::shutdown(socket, SHUT_RDWR);
        }
        const std::lock_guard lock(jobMutex);
        leaving = true;
        changed.notify_all();
    }

    // The thread's next connection: server and receiver.
    struct Job {
        std::string uri;
        int remoteId;
    };
    std::mutex jobMutex; // of the next three
    std::condition_variable changed;
    std::optional<Job> job;
    bool leaving = false;
};

WsProxyRadio::WsProxyRadio(const std::shared_ptr<syncTask>& hostContext)
    : Radio(hostContext), link_(std::make_shared<Link>()) {
    appendHwReceiver(kFirstFrequency, kRate);
}

WsProxyRadio::~WsProxyRadio() {
    link_->running.store(false, std::memory_order_release);
    link_->cutOff();
    if (!socketThread_.joinable())
        return;
    if (socketThread_.get_id() == std::this_thread::get_id()) // it held the last reference
        socketThread_.detach();
    else
        socketThread_.join();
}

void WsProxyRadio::frequenciesChanged() {
    const int remoteId = link_->remoteId.load(std::memory_order_acquire);
    if (remoteId < 0)
        return;
    for (std::size_t i = 0; i < hwReceivers.size(); ++i)
        link_->commands.push(setFrequencyMessage(remoteId, hwReceivers[i].frequency));
}

void WsProxyRadio::startRadio() {
    if (link_->running.load(std::memory_order_acquire) && link_->alive.load(std::memory_order_acquire)) {
        logError("WsProxyRadio runs already");
        return;
    }
    if (vtrxs.empty()) {
        say("start ");
        addVtrx(kFirstFrequency, 0, 0);
        if (socketThread_.joinable()) // its transceivers were all removed meanwhile
            waitForConnection();
    } else {
        if (!socketThread_.joinable())
            throw std::system_error(std::make_error_code(std::errc::invalid_argument));
        waitForConnection();
    }
    link_->radio = std::static_pointer_cast<WsProxyRadio>(shared_from_this());
    link_->running.store(true, std::memory_order_release);
    link_->alive.store(true, std::memory_order_release);
    {
        const std::lock_guard lock(link_->jobMutex);
        link_->job = Link::Job{URI.value(), RemoteID.value()};
        link_->changed.notify_all();
    }
    if (!socketThread_.joinable())
        socketThread_ = std::thread([link = link_] { run(link); });
}

void WsProxyRadio::waitForConnection() {
    std::unique_lock lock(link_->jobMutex);
    link_->changed.wait(lock, [this] { return !link_->alive.load(std::memory_order_acquire); });
}

void WsProxyRadio::run(const std::shared_ptr<Link>& link) {
    std::unique_lock lock(link->jobMutex);
    for (;;) {
        link->changed.wait(lock, [&] { return link->job || link->leaving; });
        if (link->leaving)
            return;
        const Link::Job job = *std::exchange(link->job, std::nullopt);
        lock.unlock();
        serve(link, job.uri, job.remoteId);
        lock.lock();
        link->alive.store(false, std::memory_order_release);
        link->changed.notify_all();
    }
}

void WsProxyRadio::stopRadio() {
    link_->running.store(false, std::memory_order_release);
}

std::optional<std::string> WsProxyRadio::takeMessage(bool text, std::span<const std::uint8_t> message) {
    if (text) {
        const auto receiver = addedReceiver({reinterpret_cast<const char*>(message.data()), message.size()});
        if (!receiver)
            return std::nullopt;
        link_->remoteId.store(*receiver, std::memory_order_release);
        return subscribeMessage(*receiver);
    }
    if (const auto block = readProxyBlock(message))
        queueSeqItem(
            seqTask("handleRx", [radio = std::static_pointer_cast<WsProxyRadio>(shared_from_this()),
                                 block = *block] { radio->HandleRx(block.samples, 0, block.frequency); }));
    return std::nullopt;
}

void WsProxyRadio::HandleRx(const buff<std::complex<float>>& samples, int, double frequency) {
    if (hwReceivers.empty())
        return;
    if (std::isfinite(frequency)) {
        hwReceivers[0].frequency = boundedHertz(static_cast<long long>(std::clamp(frequency, -1e18, 1e18)));
    } else if (!badFrequencySeen_) {
        badFrequencySeen_ = true;
        logError("WsProxyRadio has samples of the frequency {}", frequency);
    }
    deliverSamples(
        [position = samples.data()](std::complex<float>* to, std::size_t n) mutable {
            std::copy_n(position, n, to);
            position += n;
        },
        samples.size(), 0);
}

void WsProxyRadio::serve(const std::shared_ptr<Link>& link, const std::string& uri, int remoteId) {
    struct Forget {
        Link& link;
        ~Forget() { link.announce(-1); }
    };
    try {
        const ProxyUri server = parseUri(uri);
        boost::asio::io_context io;
        tcp::resolver resolver(io);
        beast::websocket::stream<tcp::socket> websocket(io);
        const Forget forget{*link}; // before the socket closes
        tcp::socket& socket = websocket.next_layer();
        boost::system::error_code error = boost::asio::error::host_not_found;
        for (const auto& entry : resolver.resolve(server.host, server.port)) {
            link->announce(-1);
            socket.close(error);
            socket.open(entry.endpoint().protocol());
            link->announce(socket.native_handle());
            socket.connect(entry.endpoint(), error);
            if (!error)
                break;
        }
        if (error)
            throw boost::system::system_error(error, "connect");
        say("##ws connect");
        websocket.set_option(
            beast::websocket::stream_base::decorator([](beast::websocket::request_type& request) {
                request.set(beast::http::field::user_agent, BOOST_BEAST_VERSION_STRING);
            }));
        websocket.handshake(server.host + ":" + server.port, server.path);
        const auto write = [&](const std::string& text) {
            websocket.text(true);
            websocket.write(boost::asio::buffer(text));
        };
        write(addReceiverMessage(remoteId));
        say("##ws loop");
        beast::flat_buffer message;
        while (link->running.load(std::memory_order_acquire)) {
            websocket.read(message);
            const std::span<const std::uint8_t> bytes(static_cast<const std::uint8_t*>(message.data().data()),
                                                      message.size());
            if (const auto radio = link->radio.lock())
                if (const auto answer = radio->takeMessage(websocket.got_text(), bytes))
                    write(*answer);
            message.consume(message.size());
            link->commands.consume_all(write);
        }
        websocket.close(beast::websocket::close_code::normal);
        say("##ws closed");
    } catch (const std::exception& failure) {
        say(std::string("Error: ") + failure.what());
    }
}

} // namespace ferrow
