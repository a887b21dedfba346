#include "host/neighbours/rig_server.hpp"

#include "host/failure.hpp"
#include "host/neighbours/line_buffer.hpp"
#include "host/neighbours/rig_dialogue.hpp"

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <fmt/format.h>
#include <functional>
#include <set>

namespace ferrow {

using boost::asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr auto kAcceptPause = std::chrono::milliseconds(200); // where accepting fails: no files left, say

// One client. It is answered before more is read of it, so that one that does not read costs no memory.
class Client : public std::enable_shared_from_this<Client> {
public:
    Client(tcp::socket socket, RigPort& port, bool vfoMode)
        : socket_(std::move(socket)), dialogue_(port, vfoMode) {}

    // `gone` is called once, when the connection has ended.
    void start(std::function<void()> gone) {
        gone_ = std::move(gone);
        read();
    }
    void close() {
        error_code ignored;
        socket_.close(ignored);
        gone_ = nullptr;
    }

private:
    void read() {
        socket_.async_read_some(boost::asio::buffer(bytes_),
                                [self = shared_from_this()](error_code error, std::size_t count) {
                                    if (error || !self->socket_.is_open())
                                        return self->end();
                                    self->answer({self->bytes_.data(), count});
                                });
    }

    void answer(std::string_view bytes) {
        answer_.clear();
        while (!dialogue_.ended()) {
            const auto line = lines_.take(bytes);
            if (!line)
                break;
            answer_ += line->tooLong ? fmt::format("RPRT {}\n", static_cast<int>(kRigBadArgument))
                                     : dialogue_.answer(line->text);
        }
        if (answer_.empty())
            return dialogue_.ended() ? end() : read();
        boost::asio::async_write(socket_, boost::asio::buffer(answer_),
                                 [self = shared_from_this()](error_code error, std::size_t) {
                                     if (error || self->dialogue_.ended() || !self->socket_.is_open())
                                         return self->end();
                                     self->read();
                                 });
    }

    void end() {
        error_code ignored;
        socket_.shutdown(tcp::socket::shutdown_both, ignored);
        socket_.close(ignored);
        if (const auto gone = std::exchange(gone_, nullptr))
            gone();
    }

    tcp::socket socket_;
    RigDialogue dialogue_;
    LineBuffer lines_{RigServer::kLongestLine};
    std::array<char, 1024> bytes_{};
    std::string answer_;
    std::function<void()> gone_;
};

} // namespace

class RigServer::Work : public std::enable_shared_from_this<Work> {
public:
    Work(boost::asio::io_context& io, RigPort& port, bool vfoMode)
        : acceptor_(io), pause_(io), port_(port), vfoMode_(vfoMode) {}

    void listen(const Endpoint& at) {
        const tcp::endpoint endpoint(boost::asio::ip::make_address(at.address), at.port);
        acceptor_.open(endpoint.protocol());
        acceptor_.set_option(tcp::acceptor::reuse_address(true));
        acceptor_.bind(endpoint);
        acceptor_.listen();
        accept();
    }

    void close() {
        error_code ignored;
        acceptor_.close(ignored);
        pause_.cancel();
        for (const auto& client : clients_)
            client->close();
        clients_.clear();
    }

    tcp::endpoint endpoint() const { return acceptor_.local_endpoint(); }
    std::size_t clients() const { return clients_.size(); }

private:
    void accept() {
        acceptor_.async_accept([self = shared_from_this()](error_code error, tcp::socket socket) {
            if (!self->acceptor_.is_open())
                return;
            if (error)
                return self->acceptLater();
            if (self->clients_.size() < kMostClients)
                self->add(std::move(socket));
            self->accept();
        });
    }

    void acceptLater() {
        pause_.expires_after(kAcceptPause);
        pause_.async_wait([self = shared_from_this()](error_code error) {
            if (!error && self->acceptor_.is_open())
                self->accept();
        });
    }

    void add(tcp::socket socket) {
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        const auto client = std::make_shared<Client>(std::move(socket), port_, vfoMode_);
        clients_.insert(client);
        client->start([self = weak_from_this(), client = client.get()] {
            if (const auto work = self.lock())
                std::erase_if(work->clients_, [client](const auto& one) { return one.get() == client; });
        });
    }

    tcp::acceptor acceptor_;
    boost::asio::steady_timer pause_;
    RigPort& port_;
    bool vfoMode_;
    std::set<std::shared_ptr<Client>> clients_;
};

RigServer::RigServer(boost::asio::io_context& io, RigPort& port, const Endpoint& at, bool vfoMode)
    : work_(std::make_shared<Work>(io, port, vfoMode)) {
    try {
        work_->listen(at);
    } catch (const std::exception& error) {
        throw Failure(fmt::format("cannot serve rig control at {}: {}", at.text(), error.what()));
    }
}

RigServer::~RigServer() {
    work_->close();
}

Endpoint RigServer::endpoint() const {
    const tcp::endpoint at = work_->endpoint();
    return {at.address().to_string(), at.port()};
}

std::size_t RigServer::clients() const {
    return work_->clients();
}

} // namespace ferrow
