#include "host/sample_server.hpp"

#include "host/failure.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <fmt/format.h>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <thread>

namespace ferrow {
namespace {

using boost::asio::ip::tcp;
using Stream = boost::beast::websocket::stream<tcp::socket>;

constexpr std::size_t kHead = 17;
constexpr char kKind = 3;
constexpr int kReceiver = 1;
constexpr auto kNudgePause = std::chrono::milliseconds(5);

std::string message(const SampleServer::Block& block, double centre) {
    std::string bytes(kHead + sizeof block, '\0');
    bytes[0] = kKind;
    std::memcpy(&bytes[5], &centre, sizeof centre);
    std::memcpy(&bytes[kHead], block.data(), sizeof block);
    return bytes;
}

} // namespace

struct SampleServer::Work {
    double centre;
    boost::asio::io_context io;
    tcp::acceptor acceptor{io, {boost::asio::ip::make_address("127.0.0.1"), 0}};
    std::mutex mutex; // of all below
    std::condition_variable changed;
    std::deque<std::string> waiting;
    bool nudging = false, leaving = false;
    int socket = -1;
    std::jthread thread;

    void run() {
        boost::system::error_code error;
        tcp::socket raw(io);
        acceptor.accept(raw, error);
        if (error || !announce(raw.native_handle()))
            return;
        try {
            Stream stream(std::move(raw));
            stream.accept();
            if (readRequests(stream))
                sendBlocks(stream);
        } catch (const std::exception&) {
            // The library has left, or was cut off; whoever waits for samples sees that none come.
        }
        announce(-1);
    }

    // False if this is to end.
    bool announce(int handle) {
        const std::lock_guard lock(mutex);
        socket = handle;
        return !leaving;
    }

    // Until the library has subscribed.
    static bool readRequests(Stream& stream) {
        for (;;) {
            boost::beast::flat_buffer buffer;
            stream.read(buffer);
            const auto request =
                nlohmann::json::parse(boost::beast::buffers_to_string(buffer.data()), nullptr, false);
            if (!request.is_object())
                return false;
            const std::string command = request.value("cmd", "");
            if (command == "subscribeToIQ")
                return true;
            if (command == "addReceiver") {
                stream.text(true);
                stream.write(boost::asio::buffer(
                    nlohmann::json{{"cmd", "addReceiverResponse"}, {"ID", kReceiver}}.dump()));
            }
        }
    }

    void sendBlocks(Stream& stream) {
        stream.binary(true);
        for (;;) {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return leaving || nudging || !waiting.empty(); });
            if (leaving)
                return;
            std::string next(1, '\0'); // of no kind
            if (!waiting.empty()) {
                next = std::move(waiting.front());
                waiting.pop_front();
            } else {
                changed.wait_for(lock, kNudgePause, [this] { return leaving; });
            }
            lock.unlock();
            stream.write(boost::asio::buffer(next));
        }
    }
};

SampleServer::SampleServer(double centre) {
    try {
        work_ = std::make_unique<Work>();
    } catch (const std::exception& error) {
        throw Failure(fmt::format("cannot listen on the loopback network: {}", error.what()));
    }
    work_->centre = centre;
    work_->thread = std::jthread([work = work_.get()] { work->run(); });
}

SampleServer::~SampleServer() {
    {
        const std::lock_guard lock(work_->mutex);
        work_->leaving = true;
        if (work_->socket >= 0)
            ::shutdown(work_->socket, SHUT_RDWR);
    }
    work_->changed.notify_all();
    ::shutdown(work_->acceptor.native_handle(), SHUT_RDWR);
    work_->thread.join();
}

std::string SampleServer::uri() const {
    return fmt::format("ws://127.0.0.1:{}/", work_->acceptor.local_endpoint().port());
}

void SampleServer::send(const Block& block) {
    {
        const std::lock_guard lock(work_->mutex);
        work_->waiting.push_back(message(block, work_->centre));
    }
    work_->changed.notify_all();
}

void SampleServer::nudge() {
    {
        const std::lock_guard lock(work_->mutex);
        work_->nudging = true;
    }
    work_->changed.notify_all();
}

} // namespace ferrow
