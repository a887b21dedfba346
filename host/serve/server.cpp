#include "host/serve/server.hpp"

#include "host/failure.hpp"
#include "host/serve/sessions.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <fmt/format.h>
#include <thread>

namespace ferrow::serve {
namespace {

using namespace std::chrono_literals;

constexpr int kSpareConnections = 32; // for pages and questions, beside the listeners
constexpr auto kCheckPause = 200ms, kFarewell = 500ms, kAcceptPause = 100ms;

} // namespace

struct Server::Work {
    Work(const ServerOptions& options, StationDoor& door, Traffic& traffic)
        : state{options, {options.token, 0, options.names}, door, traffic, {}, 0, 1} {}

    boost::asio::io_context io{1};
    tcp::acceptor acceptor{io};
    boost::asio::steady_timer timer{io}, pause{io};
    ServerState state;
    std::thread thread;

    void listen() {
        const tcp::endpoint endpoint(boost::asio::ip::make_address(state.options.listen.address),
                                     static_cast<unsigned short>(state.options.listen.port));
        acceptor.open(endpoint.protocol());
        acceptor.set_option(tcp::acceptor::reuse_address(true));
        acceptor.bind(endpoint);
        acceptor.listen();
        state.rules.port = acceptor.local_endpoint().port();
    }

    void accept() {
        acceptor.async_accept([this](beast::error_code error, tcp::socket socket) {
            if (error == boost::asio::error::operation_aborted)
                return;
            if (error) // of descriptors, say, there are none left
                return acceptLater();
            take(std::move(socket));
            accept();
        });
    }

    void acceptLater() {
        pause.expires_after(kAcceptPause);
        pause.async_wait([this](beast::error_code error) {
            if (!error)
                accept();
        });
    }

    void take(tcp::socket socket) {
        const int most = state.options.mostListeners + kSpareConnections;
        if (static_cast<int>(state.connections.size()) >= most) {
            state.traffic.turnedAway.fetch_add(1, std::memory_order_relaxed);
            return; // closes it
        }
        state.traffic.connections.fetch_add(1, std::memory_order_relaxed);
        startHttpSession(std::move(socket), state);
    }

    void checkAll() {
        timer.expires_after(kCheckPause);
        timer.async_wait([this](beast::error_code error) {
            if (error)
                return;
            forEach([](Connection& one) { one.check(std::chrono::steady_clock::now()); });
            checkAll();
        });
    }

    // What is called may end the connection.
    template <typename Function>
    void forEach(Function function) {
        for (Connection* one : std::vector<Connection*>(state.connections.begin(), state.connections.end()))
            if (state.connections.contains(one))
                function(*one);
    }

    void leave() {
        beast::error_code ignored;
        acceptor.close(ignored);
        forEach([](Connection& one) { one.leave(); });
        timer.expires_after(kFarewell);
        timer.async_wait([this](beast::error_code) {
            forEach([](Connection& one) { one.cut(); });
            pause.cancel();
        });
    }
};

Server::Server(const ServerOptions& options, StationDoor& door, Traffic& traffic)
    : work_(std::make_unique<Work>(options, door, traffic)) {
    try {
        work_->listen();
    } catch (const std::exception& error) {
        throw Failure(fmt::format("cannot listen on {}:{}: {}", options.listen.hostText(),
                                  options.listen.port, error.what()));
    }
    work_->accept();
    work_->checkAll();
    work_->thread = std::thread([work = work_.get()] { work->io.run(); });
}

Server::~Server() {
    boost::asio::post(work_->io, [work = work_.get()] { work->leave(); });
    work_->thread.join();
}

std::string Server::url() const {
    const ServerOptions& options = work_->state.options;
    const bool any = options.listen.address == "0.0.0.0" || options.listen.address == "::";
    return fmt::format("http://{}:{}/{}", any ? "127.0.0.1" : options.listen.hostText(),
                       work_->state.rules.port, options.token.empty() ? "" : "?token=" + options.token);
}

} // namespace ferrow::serve
