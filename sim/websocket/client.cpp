#include "sim/websocket/client.hpp"

#include "sim/radio/pacer.hpp"

#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket.hpp>

namespace ferrow::sim::proxy {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;

constexpr std::size_t kMostWaiting = 200; // messages; a second has 94
constexpr std::size_t kMostReceivers = 8;
constexpr std::size_t kLongestText = 4096;
constexpr double kHighestFrequency = 2e9;

} // namespace

Client::Client(boost::asio::ip::tcp::socket socket, int& numbers, Counts& counts)
    : stream_(std::move(socket)), numbers_(numbers), counts_(counts) {
    error_code ignored;
    stream_.next_layer().set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    stream_.read_message_max(kLongestText);
}

std::shared_ptr<Client> Client::serve(boost::asio::ip::tcp::socket socket, const std::string& path,
                                      int& numbers, Counts& counts) {
    std::shared_ptr<Client> client(new Client(std::move(socket), numbers, counts));
    client->takeHandshake(path);
    return client;
}

void Client::takeHandshake(const std::string& path) {
    http::async_read(stream_.next_layer(), incoming_, request_,
                     [self = shared_from_this(), path](const error_code& error, std::size_t) {
                         if (error) {
                             self->cut();
                             return;
                         }
                         const std::string_view target = self->request_.target();
                         if (target.substr(0, target.find('?')) != path ||
                             !beast::websocket::is_upgrade(self->request_)) {
                             self->refuse();
                             return;
                         }
                         self->incoming_.clear();
                         self->stream_.async_accept(self->request_, [self](const error_code& failure) {
                             if (failure) {
                                 self->cut();
                                 return;
                             }
                             self->open_ = true;
                             self->read();
                         });
                     });
}

void Client::refuse() {
    ++counts_.refused;
    answer_ = {http::status::not_found, request_.version()};
    answer_.set(http::field::connection, "close");
    answer_.body() = "no receiver here\n";
    answer_.prepare_payload();
    http::async_write(stream_.next_layer(), answer_,
                      [self = shared_from_this()](const error_code&, std::size_t) { self->cut(); });
}

void Client::read() {
    stream_.async_read(incoming_, [self = shared_from_this()](const error_code& error, std::size_t) {
        if (error) {
            self->counts_.closed += error == beast::websocket::error::closed;
            self->cut();
            return;
        }
        if (self->stream_.got_text())
            self->take(beast::buffers_to_string(self->incoming_.data()));
        else
            ++self->counts_.foreign;
        self->incoming_.clear();
        self->read();
    });
}

void Client::take(std::string_view text) {
    const auto request = readRequest(text);
    if (!request || request->kind == Request::Kind::Other) {
        ++counts_.foreign;
        return;
    }
    if (request->kind == Request::Kind::AddReceiver) {
        if (receivers_.size() == kMostReceivers) {
            ++counts_.foreign;
            return;
        }
        ++counts_.added;
        Receiver& added = receivers_.emplace_back();
        added.number = ++numbers_;
        added.id = request->id;
        queue({true, addedMessage(added.number), 0});
        release(monotonicNs());
        return;
    }
    for (Receiver& receiver : receivers_) {
        if (receiver.number != request->id)
            continue;
        if (request->kind == Request::Kind::Subscribe) {
            ++counts_.subscribed;
            receiver.subscribed = request->enable;
            return;
        }
        if (request->frequency < 0.0 || request->frequency > kHighestFrequency)
            break;
        ++counts_.tuned;
        receiver.frequency = request->frequency;
        return;
    }
    ++counts_.foreign;
}

void Client::queue(Outgoing message) {
    if (waiting_.size() + ready_.size() >= kMostWaiting) {
        ++counts_.dropped;
        return;
    }
    waiting_.push_back(std::move(message));
}

void Client::release(std::int64_t nowNs) {
    while (!waiting_.empty() && waiting_.front().dueNs <= nowNs) {
        ready_.push_back(std::move(waiting_.front()));
        waiting_.pop_front();
    }
    write();
}

void Client::write() {
    if (writing_ || ready_.empty() || !open_)
        return;
    writing_ = true;
    stream_.text(ready_.front().text);
    stream_.async_write(boost::asio::buffer(ready_.front().bytes),
                        [self = shared_from_this()](const error_code& error, std::size_t size) {
                            self->writing_ = false;
                            if (error) {
                                self->cut();
                                return;
                            }
                            if (!self->ready_.front().text) {
                                ++self->counts_.blocks;
                                self->counts_.bytes += static_cast<std::int64_t>(size);
                            }
                            self->ready_.pop_front();
                            self->write();
                        });
}

void Client::cut() {
    closed_ = true;
    open_ = false;
    error_code ignored;
    stream_.next_layer().close(ignored);
}

} // namespace ferrow::sim::proxy
