#include "modes/multi_psk/tcp_packet_server.hpp"

#include "core/tasks/log.hpp"
#include "core/tasks/mpsc_queue.hpp"
#include "modes/multi_psk/packet_reader.hpp"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <deque>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <system_error>

namespace ferrow {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using Error = boost::system::error_code;

constexpr auto kAcceptAgain = std::chrono::milliseconds(250);

int openEvent() {
    const int event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (event < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return event;
}

// A program that the host starts has no business with the port.
template <class Socket>
void keepFromChildren(Socket& socket) {
    ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
}

} // namespace

// All on the service thread, but for what stands under "Any thread". An operation belongs to the client that
// it was begun for: its end counts only if `client` has not moved on.
struct asyncTcpIpPacketServer::Link : std::enable_shared_from_this<Link> {
    Link(DataCallback data, ConnectionCallback connection, std::uint32_t limit)
        : onData(std::move(data)), onConnection(std::move(connection)), reader(limit) {}

    void run() {
        awaitWake();
        for (bool failed = false;;) {
            try {
                if (std::exchange(failed, false)) { // nobody may be left to read or to accept
                    hangUp("tcp read err");
                    accept();
                }
                io.run();
                return;
            } catch (const std::exception& failure) {
                logError("MultiPSK link: {}", failure.what());
                failed = true;
            }
        }
    }

    void serve(tcp::acceptor fresh) {
        hangUp("tcp close");
        acceptor = std::move(fresh);
        if (acceptor.is_open())
            accept();
    }

    void accept() {
        if (!acceptor.is_open())
            return;
        acceptor.async_accept([this, mine = client](Error error, tcp::socket peer) {
            if (mine == client)
                accepted(error, std::move(peer));
        });
    }

    void accepted(Error error, tcp::socket peer) {
        if (error) {
            logError("tcp accept err {}", error.message());
            again.expires_after(kAcceptAgain);
            again.async_wait([this, mine = client](Error cancelled) {
                if (!cancelled && mine == client)
                    accept();
            });
            return;
        }
        socket = std::move(peer);
        keepFromChildren(socket);
        Error ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        socket.set_option(tcp::socket::keep_alive(true), ignored);
        connected.store(true, std::memory_order_release);
        report("accept_handler", true);
        read();
    }

    void read() {
        const auto wanted = reader.wanted();
        asio::async_read(socket, asio::buffer(wanted.data(), wanted.size()),
                         [this, mine = client](Error error, std::size_t) {
                             if (mine == client)
                                 received(error);
                         });
    }

    void received(Error error) {
        if (error) {
            logError("tcp read err");
            if (reader.inBody())
                logError("read_data_err");
            hangUp(reader.inBody() ? "read_data_err" : "tcp read err");
            accept();
            return;
        }
        if (auto body = reader.filled())
            deliver(std::move(*body));
        else
            read();
    }

    void deliver(buff<char> body) {
        tellOwner("read_handler 2", [this, body = std::move(body), next = readsOn()] { onData(body); });
    }

    // Reading goes on when the last copy of this has gone: the task has run, or was dropped by a full queue.
    std::shared_ptr<void> readsOn() {
        return {nullptr, [weak = weak_from_this(), mine = client](void*) {
                    const auto link = weak.lock();
                    if (!link)
                        return;
                    asio::post(link->io, [link = link.get(), mine] {
                        if (mine == link->client)
                            link->read();
                    });
                }};
    }

    void report(const char* label, bool isConnected) {
        tellOwner(label, [this, isConnected] { onConnection(isConnected); });
    }

    // By way of a context of the link's own. The queue of the owner's, which it shares with others, has room
    // for so many threads in the life of the process, and there is one of these for each server.
    template <class Work>
    void tellOwner(const char* label, Work work) {
        relay->queueSeqItem(seqTask(label, [label, to = owner, work = std::move(work)] {
            if (const auto object = to.lock())
                object->queueSeqItem(seqTask(label, [object, work] { work(); }));
        }));
    }

    void hangUp(const char* label) {
        ++client;
        Error ignored;
        socket.close(ignored);
        again.cancel();
        writing = false;
        const bool wasConnected = connected.exchange(false, std::memory_order_acq_rel);
        discard();
        reader.reset();
        if (wasConnected)
            report(label, false);
    }

    void awaitWake() {
        wake.async_wait(asio::posix::stream_descriptor::wait_read, [this](Error error) {
            if (error)
                return;
            eventfd_t ignored;
            ::eventfd_read(wake.native_handle(), &ignored);
            awaitWake();
            signalled.exchange(false, std::memory_order_acq_rel);
            collect();
            if (connected.load(std::memory_order_relaxed))
                write();
            else
                discard();
        });
    }

    void collect() {
        buff<char> packet;
        while (queue.take(packet))
            pending.push_back(std::move(packet));
    }

    void discard() {
        collect();
        waiting.fetch_sub(static_cast<int>(pending.size()), std::memory_order_acq_rel);
        pending.clear();
        tellDropped();
    }

    void tellDropped() {
        if (const int count = dropped.exchange(0, std::memory_order_acq_rel); count > 0)
            logError("MultiPSK reads too slowly, {} packets dropped", count);
    }

    // The operation holds the packet until it has ended.
    void write() {
        if (writing || pending.empty())
            return;
        writing = true;
        const buff<char> packet = std::move(pending.front());
        pending.pop_front();
        asio::async_write(socket, asio::buffer(packet.data(), packet.size()),
                          [this, packet, mine = client](Error error, std::size_t) {
                              waiting.fetch_sub(1, std::memory_order_acq_rel);
                              if (mine == client)
                                  written(error);
                          });
    }

    void written(Error error) {
        writing = false;
        if (error) {
            logError("tcp write err {}", error.message());
            discard();
            return;
        }
        tellDropped();
        write();
    }

    // Any thread.
    void send(buff<char> packet) {
        if (packet.empty() || !connected.load(std::memory_order_acquire))
            return;
        if (waiting.fetch_add(1, std::memory_order_acq_rel) >= kMostWaiting ||
            !queue.push(std::move(packet))) {
            waiting.fetch_sub(1, std::memory_order_acq_rel);
            dropped.fetch_add(1, std::memory_order_acq_rel);
            return;
        }
        if (!signalled.exchange(true, std::memory_order_acq_rel))
            ::eventfd_write(wake.native_handle(), 1);
    }

    const DataCallback onData;
    const ConnectionCallback onConnection;
    std::weak_ptr<asyncObject> owner; // these two are set before the thread starts
    std::shared_ptr<asyncObject> relay;

    asio::io_context io{1};
    tcp::acceptor acceptor{io};
    tcp::socket socket{io};
    asio::steady_timer again{io};
    asio::posix::stream_descriptor wake{io, openEvent()};

    std::uint64_t client = 0;
    PacketReader reader;
    std::deque<buff<char>> pending;
    bool writing = false;

    // Any thread.
    std::atomic<bool> connected{false};
    std::atomic<bool> signalled{false};
    std::atomic<int> waiting{0}; // packets sent and not written yet
    std::atomic<int> dropped{0}; // and those that found no room
    mpscQueue<buff<char>, kMostWaiting + 1> queue;
};

asyncTcpIpPacketServer::asyncTcpIpPacketServer(DataCallback data, ConnectionCallback connection,
                                               std::uint32_t packetLimit)
    : link_(std::make_shared<Link>(std::move(data), std::move(connection), packetLimit)) {}

asyncTcpIpPacketServer::~asyncTcpIpPacketServer() {
    link_->io.stop();
    if (thread_.joinable())
        thread_.join();
    Error ignored;
    link_->acceptor.close(ignored);
    link_->socket.close(ignored);
}

bool asyncTcpIpPacketServer::listen(const std::string& address, std::uint16_t port,
                                    const std::shared_ptr<asyncObject>& owner) {
    close();
    Error error;
    const auto ip = asio::ip::make_address(address, error);
    const tcp::endpoint endpoint(ip, port);
    tcp::acceptor acceptor(link_->io);
    if (!error)
        acceptor.open(endpoint.protocol(), error);
    if (!error)
        acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error)
        acceptor.bind(endpoint, error);
    if (!error)
        acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (error) {
        logError("listen err {}", error.message());
        return false;
    }
    keepFromChildren(acceptor);
    asio::post(link_->io, [link = link_.get(), fresh = std::move(acceptor)]() mutable {
        link->serve(std::move(fresh));
    });
    if (!thread_.joinable()) {
        link_->owner = owner;
        link_->relay = std::make_shared<asyncObject>(std::make_shared<syncTask>(owner->context()->pool()));
        thread_ = std::thread([link = link_] { link->run(); });
    }
    return listening_ = true;
}

void asyncTcpIpPacketServer::close() {
    if (!std::exchange(listening_, false))
        return;
    asio::post(link_->io, [link = link_.get()] { link->serve(tcp::acceptor(link->io)); });
}

void asyncTcpIpPacketServer::send(buff<char> packet) {
    link_->send(std::move(packet));
}

} // namespace ferrow
