// A proxy server for tests: a real websocket on loopback that does what the test says.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

namespace ferrow::test {

class ProxyServer {
public:
    using Socket = boost::beast::websocket::stream<boost::asio::ip::tcp::socket>;

    ProxyServer() {
        port = acceptor.local_endpoint().port();
        thread = std::thread([this] { serve(); });
    }
    ~ProxyServer() {
        leaving = true;
        ::shutdown(acceptor.native_handle(), SHUT_RDWR);
        drop();
        thread.join();
    }
    ProxyServer(const ProxyServer&) = delete;
    ProxyServer& operator=(const ProxyServer&) = delete;

    std::string uri(const std::string& path = "/iq") const {
        return "ws://127.0.0.1:" + std::to_string(port) + path;
    }

    // Cuts the present connection without a word.
    void drop() {
        const std::lock_guard lock(mutex);
        if (socket)
            ::shutdown(handle, SHUT_RDWR);
    }

    // Whether a client is there, as this side sees it.
    bool connected() {
        const std::lock_guard lock(mutex);
        return socket != nullptr;
    }

    void sendText(const std::string& text) { send(true, text); }
    void sendBinary(const std::string& bytes) { send(false, bytes); }

    // What the client has said so far.
    std::vector<std::string> received() {
        const std::lock_guard lock(mutex);
        return texts;
    }
    bool waitFor(std::size_t count) {
        return eventually([&] { return received().size() >= count; });
    }
    static bool eventually(const std::function<bool()>& condition) {
        for (int i = 0; i < 3000; ++i) {
            if (condition())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    // 512 samples (re, im) at `frequency`; `size` and `kind` may be wrong.
    static std::string block(double frequency, double re, double im, std::size_t size = 8209, char kind = 3) {
        std::string bytes(size, '\0');
        bytes[0] = kind;
        std::memcpy(&bytes[5], &frequency, 8);
        for (std::size_t i = 0; i < 512 && 33 + 16 * i <= size; ++i) {
            std::memcpy(&bytes[17 + 16 * i], &re, 8);
            std::memcpy(&bytes[25 + 16 * i], &im, 8);
        }
        return bytes;
    }

    std::atomic<int> connections{0}, closes{0};
    std::uint16_t port = 0;
    std::string target, host, agent; // of the last handshake

private:
    // Frames by hand, past the stream, which the serving thread is reading from.
    void send(bool text, const std::string& bytes) {
        const std::lock_guard lock(mutex);
        if (!socket)
            return;
        std::string frame(1, static_cast<char>(text ? 0x81 : 0x82));
        if (bytes.size() < 126) {
            frame += static_cast<char>(bytes.size());
        } else {
            frame += static_cast<char>(126);
            frame += static_cast<char>(bytes.size() >> 8);
            frame += static_cast<char>(bytes.size());
        }
        frame += bytes;
        for (std::size_t done = 0; done < frame.size();) {
            const ssize_t n = ::send(handle, frame.data() + done, frame.size() - done, MSG_NOSIGNAL);
            if (n <= 0)
                return;
            done += static_cast<std::size_t>(n);
        }
    }

    void serve() {
        while (!leaving) {
            boost::system::error_code error;
            boost::asio::ip::tcp::socket raw(io);
            acceptor.accept(raw, error);
            if (error)
                return;
            auto fresh = std::make_shared<Socket>(std::move(raw));
            boost::beast::flat_buffer head;
            boost::beast::http::request<boost::beast::http::string_body> request;
            boost::beast::http::read(fresh->next_layer(), head, request, error);
            if (error)
                continue;
            {
                const std::lock_guard lock(mutex);
                target = std::string(request.target());
                host = std::string(request[boost::beast::http::field::host]);
                agent = std::string(request[boost::beast::http::field::user_agent]);
            }
            fresh->accept(request, error);
            if (error)
                continue;
            {
                const std::lock_guard lock(mutex);
                socket = fresh;
                handle = fresh->next_layer().native_handle();
            }
            ++connections;
            for (;;) {
                boost::beast::flat_buffer message;
                fresh->read(message, error);
                if (error == boost::beast::websocket::error::closed)
                    ++closes;
                if (error)
                    break;
                const std::lock_guard lock(mutex);
                texts.push_back(boost::beast::buffers_to_string(message.data()));
            }
            const std::lock_guard lock(mutex);
            socket.reset();
        }
    }

    boost::asio::io_context io;
    boost::asio::ip::tcp::acceptor acceptor{io, {boost::asio::ip::make_address("127.0.0.1"), 0}};
    std::thread thread;
    std::atomic<bool> leaving{false};
    std::mutex mutex;
    std::shared_ptr<Socket> socket; // of the serving thread, while there is one
    int handle = -1;
    std::vector<std::string> texts;
};

} // namespace ferrow::test
