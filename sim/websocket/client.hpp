#pragma once
#include "sim/websocket/message.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <deque>
#include <list>
#include <memory>
#include <string>

namespace ferrow::sim::proxy {

/// What has come and gone, of all clients. Of the server's thread.
struct Counts {
    std::int64_t added = 0, subscribed = 0, tuned = 0;
    std::int64_t foreign = 0; ///< messages that were no wish, or named a receiver that is not there
    std::int64_t refused = 0; ///< requests for another path, or for no websocket
    std::int64_t closed = 0;  ///< connections that the client closed in order
    std::int64_t blocks = 0, bytes = 0;
    std::int64_t dropped = 0; ///< messages for a client that does not read
};

/// A receiver of one client.
struct Receiver {
    int number = 0; ///< the server's
    int id = 0;     ///< the client's
    double frequency = 14095600.0;
    bool subscribed = false;
    std::uint32_t blocks = 0; ///< made so far
};

/// A message on its way out.
struct Outgoing {
    bool text = false;
    std::string bytes;
    std::int64_t dueNs = 0; ///< monotonic clock; those behind it wait too
};

/// One connection, on the server's thread.
class Client : public std::enable_shared_from_this<Client> {
public:
    /// Takes the handshake and serves until either side ends it. `numbers` counts the receivers of all
    /// clients.
    static std::shared_ptr<Client> serve(boost::asio::ip::tcp::socket socket, const std::string& path,
                                         int& numbers, Counts& counts);

    bool closed() const { return closed_; }
    std::list<Receiver>& receivers() { return receivers_; }

    void queue(Outgoing message);
    /// Sends what is due.
    void release(std::int64_t nowNs);
    /// Ends the connection without a word.
    void cut();

private:
    Client(boost::asio::ip::tcp::socket socket, int& numbers, Counts& counts);
    void takeHandshake(const std::string& path);
    void refuse();
    void read();
    void take(std::string_view text);
    void write();

    boost::beast::websocket::stream<boost::asio::ip::tcp::socket> stream_;
    boost::beast::flat_buffer incoming_;
    boost::beast::http::request<boost::beast::http::string_body> request_;
    boost::beast::http::response<boost::beast::http::string_body> answer_;
    std::deque<Outgoing> waiting_, ready_;
    bool writing_ = false;
    bool open_ = false;
    bool closed_ = false;
    std::list<Receiver> receivers_;
    int& numbers_;
    Counts& counts_;
};

} // namespace ferrow::sim::proxy
