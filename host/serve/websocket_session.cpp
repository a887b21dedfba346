#include "host/serve/sessions.hpp"
#include "host/serve/token_bucket.hpp"

#include <boost/asio/post.hpp>
#include <boost/beast/websocket.hpp>
#include <mutex>

namespace ferrow::serve {
namespace {

namespace websocket = beast::websocket;
using Clock = std::chrono::steady_clock;

constexpr double kMessageRate = 200, kMessageBurst = 400; // a second
constexpr int kSendBuffer = 65536; // bytes in the system's hands: what lies there cannot be dropped

class WebsocketSession : public Connection, public std::enable_shared_from_this<WebsocketSession> {
public:
    WebsocketSession(beast::tcp_stream stream, ServerState& state)
        : stream_(std::move(stream)), state_(state), number_(state.nextListener++),
          messages_(kMessageRate, kMessageBurst, Clock::now()) {
        state_.connections.insert(this);
        ++state_.listeners;
        state_.traffic.open.fetch_add(1, std::memory_order_relaxed);
    }

    void accept(Request request) {
        beast::error_code ignored;
        auto& socket = beast::get_lowest_layer(stream_).socket();
        socket.set_option(tcp::no_delay(true), ignored);
        socket.set_option(boost::asio::socket_base::send_buffer_size(kSendBuffer), ignored);
        auto timeout = websocket::stream_base::timeout::suggested(beast::role_type::server);
        timeout.handshake_timeout = state_.options.requestTime;
        timeout.idle_timeout = state_.options.idleTime;
        timeout.keep_alive_pings = true;
        stream_.set_option(timeout);
        stream_.set_option(websocket::stream_base::decorator(
            [](websocket::response_type& response) { response.set(http::field::server, "ferrow"); }));
        stream_.read_message_max(kMostMessage);
        request_ = std::move(request);
        stream_.async_accept(request_, [self = shared_from_this()](beast::error_code error) {
            if (error)
                return self->finish();
            self->visit(Arrival{std::make_shared<Link>(self)});
            self->read();
        });
    }

    // These two on any thread.
    void send(std::string text) {
        const std::lock_guard lock(mutex_);
        if (closed_)
            return;
        overflow_ = overflow_ || !outbox_.add(std::move(text));
        wake();
    }
    void send(OutgoingFrame frame) {
        const std::lock_guard lock(mutex_);
        if (closed_)
            return;
        const bool audio = frame.audio;
        const std::size_t dropped = outbox_.add(std::move(frame));
        if (dropped > 0)
            (audio ? state_.traffic.audioDropped : state_.traffic.spectrumDropped)
                .fetch_add(dropped, std::memory_order_relaxed);
        wake();
    }

    void check(Clock::time_point now) override {
        if (writing_ && now - writingSince_ > state_.options.writeTime) {
            state_.traffic.closedSlow.fetch_add(1, std::memory_order_relaxed);
            cut();
        }
    }
    void leave() override { close(websocket::close_code::going_away, "the server ends"); }
    void cut() override {
        beast::error_code ignored;
        beast::get_lowest_layer(stream_).socket().close(ignored);
    }

private:
    // What the station holds; it may outlive the session, and the server.
    class Link : public Peer {
    public:
        explicit Link(std::weak_ptr<WebsocketSession> session) : session_(std::move(session)) {}
        void send(std::string text) override {
            if (const auto session = session_.lock())
                session->send(std::move(text));
        }
        void send(OutgoingFrame frame) override {
            if (const auto session = session_.lock())
                session->send(std::move(frame));
        }

    private:
        std::weak_ptr<WebsocketSession> session_;
    };

    template <typename What>
    void visit(What what) {
        state_.door.add({number_, std::move(what), Clock::now()});
    }

    // With the mutex held.
    void wake() {
        if (std::exchange(posted_, true))
            return;
        boost::asio::post(stream_.get_executor(), [weak = weak_from_this()] {
            if (const auto self = weak.lock())
                self->write();
        });
    }

    void read() {
        stream_.async_read(buffer_, [self = shared_from_this()](beast::error_code error, std::size_t size) {
            if (error)
                return self->finish();
            self->state_.traffic.bytesIn.fetch_add(size, std::memory_order_relaxed);
            self->take();
            self->buffer_.consume(self->buffer_.size());
            self->read();
        });
    }

    void take() {
        if (closing_)
            return;
        if (!messages_.take(Clock::now())) {
            state_.traffic.closedFast.fetch_add(1, std::memory_order_relaxed);
            return close(websocket::close_code::policy_error, "too many messages");
        }
        const auto data = buffer_.cdata();
        const auto* bytes = static_cast<const char*>(data.data());
        if (!stream_.got_text()) {
            if (auto frame = readMicrophone({reinterpret_cast<const std::uint8_t*>(bytes), data.size()}))
                return visit(std::move(*frame));
            return visit(OrderError{"", "a binary message of no known kind"});
        }
        std::visit([this](auto& what) { visit(std::move(what)); }, result_ = readOrder({bytes, data.size()}));
    }

    // Also called where nothing is left to write.
    void write() {
        {
            const std::lock_guard lock(mutex_);
            posted_ = false;
            if (overflow_ && !closed_) {
                state_.traffic.closedSlow.fetch_add(1, std::memory_order_relaxed);
                cut();
                return;
            }
            if (writing_ || closing_ || closed_ || outbox_.empty())
                return;
            current_ = outbox_.take();
        }
        writing_ = true;
        writingSince_ = Clock::now();
        stream_.binary(!current_.text);
        const boost::asio::const_buffer bytes = current_.text
                                                    ? boost::asio::buffer(std::as_const(*current_.text))
                                                    : boost::asio::buffer(*current_.frame.bytes);
        stream_.async_write(bytes, [self = shared_from_this()](beast::error_code error, std::size_t size) {
            self->writing_ = false;
            if (error)
                return; // the reader ends too
            self->count(size);
            self->write();
        });
    }

    void count(std::size_t size) {
        Traffic& traffic = state_.traffic;
        traffic.bytesOut.fetch_add(size, std::memory_order_relaxed);
        (current_.text          ? traffic.texts
         : current_.frame.audio ? traffic.audioFrames
                                : traffic.spectrumFrames)
            .fetch_add(1, std::memory_order_relaxed);
    }

    void close(websocket::close_code code, const char* why) {
        if (std::exchange(closing_, true))
            return;
        stream_.async_close({code, why}, [self = shared_from_this()](beast::error_code) {});
    }

    void finish() {
        {
            const std::lock_guard lock(mutex_);
            if (std::exchange(closed_, true))
                return;
        }
        cut();
        state_.connections.erase(this);
        --state_.listeners;
        state_.traffic.open.fetch_sub(1, std::memory_order_relaxed);
        visit(Departure{});
    }

    websocket::stream<beast::tcp_stream> stream_;
    ServerState& state_;
    const int number_;
    TokenBucket messages_;
    Request request_;
    beast::flat_buffer buffer_;
    std::variant<Order, OrderError> result_;
    Outbox::Item current_; // that is being written
    bool writing_ = false, closing_ = false;
    Clock::time_point writingSince_;

    std::mutex mutex_; // of the rest
    Outbox outbox_;
    bool posted_ = false, overflow_ = false, closed_ = false;
};

} // namespace

void startWebsocketSession(beast::tcp_stream stream, Request request, ServerState& state) {
    std::make_shared<WebsocketSession>(std::move(stream), state)->accept(std::move(request));
}

} // namespace ferrow::serve
