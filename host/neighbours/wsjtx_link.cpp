#include "host/neighbours/wsjtx_link.hpp"

#include "host/failure.hpp"
#include "host/neighbours/adif_record.hpp"

#include <algorithm>
#include <array>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <fmt/format.h>

namespace ferrow {

using boost::asio::ip::udp;
using boost::system::error_code;

namespace {

constexpr std::size_t kLargestDatagram = 65536;
constexpr std::uint8_t kOtherWindowOnly = 1; // of Clear: not the one with the decodes

boost::asio::ip::address loopbackOf(const udp& protocol) {
    using namespace boost::asio::ip;
    return protocol == udp::v4() ? address(address_v4::loopback()) : address(address_v6::loopback());
}

bool same(const WsjtxDecode& one, const WsjtxDecode& other) {
    return one.time == other.time && one.offset == other.offset && one.message == other.message;
}

} // namespace

class WsjtxLink::Work : public std::enable_shared_from_this<Work> {
public:
    Work(WsjtxLink& link, boost::asio::io_context& io, std::string id, std::chrono::milliseconds pause)
        : link_(&link), socket_(io), timer_(io), pause_(pause) {
        sender_.id = std::move(id);
    }

    void open(const Endpoint& peer) {
        peer_ = udp::endpoint(boost::asio::ip::make_address(peer.address), peer.port);
        socket_.open(peer_.protocol());
        socket_.non_blocking(true);
        // On a free port; of the loopback network only, if that is where the peer is.
        const udp::endpoint anywhere(peer_.protocol(), 0);
        socket_.bind(peer_.address().is_loopback() ? udp::endpoint(loopbackOf(peer_.protocol()), 0)
                                                   : anywhere);
        receive();
        beat();
    }

    void close() {
        send(wsjtxClose(sender_));
        link_ = nullptr;
        error_code ignored;
        socket_.close(ignored);
        timer_.cancel();
    }

    void send(const Datagram& datagram) {
        error_code ignored; // nobody there, or no room: the next one may arrive
        socket_.send_to(boost::asio::buffer(datagram), peer_, 0, ignored);
    }

    void setStatus(const WsjtxStatus& status) {
        if (status_ == status)
            return;
        status_ = status;
        send(wsjtxStatus(sender_, *status_));
    }

    void decoded(const WsjtxDecode& decode) {
        decodes_.push_back(decode);
        if (decodes_.size() > kMostKept)
            decodes_.pop_front();
        send(wsjtxDecode(sender_, decode));
    }

    void clear() {
        decodes_.clear();
        send(wsjtxClear(sender_));
    }

    const WsjtxSender& sender() const { return sender_; }

private:
    // A copy, since what is called may end the link.
    template <typename... T>
    static void tell(std::function<void(T...)> whom, const std::type_identity_t<T>&... what) {
        if (whom)
            whom(what...);
    }

    void beat() {
        send(wsjtxHeartbeat(sender_, FERROW_VERSION, ""));
        if (status_)
            send(wsjtxStatus(sender_, *status_));
        timer_.expires_after(pause_);
        timer_.async_wait([self = shared_from_this()](error_code error) {
            if (!error && self->link_)
                self->beat();
        });
    }

    void receive() {
        socket_.async_receive_from(boost::asio::buffer(bytes_), from_,
                                   [self = shared_from_this()](error_code error, std::size_t count) {
                                       if (!self->link_)
                                           return;
                                       if (!error && self->from_.address() == self->peer_.address())
                                           self->take({self->bytes_.data(), count});
                                       if (self->link_)
                                           self->receive();
                                   });
    }

    void take(std::span<const std::uint8_t> datagram) {
        if (const auto request = readWsjtxRequest(datagram, sender_.id))
            std::visit([this](const auto& one) { obey(one); }, *request);
    }

    void obey(const WsjtxPeerHeartbeat& heartbeat) {
        sender_.schema = std::clamp(heartbeat.schema, kWsjtxLowestSchema, kWsjtxHighestSchema);
    }
    void obey(const WsjtxClear& clear) {
        if (clear.window == kOtherWindowOnly)
            return;
        decodes_.clear();
        tell(link_->onClear);
    }
    void obey(const WsjtxReply& reply) {
        const bool known = std::any_of(decodes_.begin(), decodes_.end(),
                                       [&](const WsjtxDecode& one) { return same(one, reply.decode); });
        if (known)
            tell(link_->onReply, reply);
    }
    void obey(const WsjtxReplay&) {
        for (WsjtxDecode decode : decodes_) {
            decode.isNew = false;
            send(wsjtxDecode(sender_, decode));
        }
    }
    void obey(const WsjtxHaltTx& halt) { tell(link_->onHaltTx, halt); }
    void obey(const WsjtxFreeText& text) { tell(link_->onFreeText, text); }
    void obey(const WsjtxClose&) { tell(link_->onClose); }

    WsjtxLink* link_; // null once closed
    udp::socket socket_;
    boost::asio::steady_timer timer_;
    std::chrono::milliseconds pause_;
    udp::endpoint peer_, from_;
    WsjtxSender sender_;
    std::optional<WsjtxStatus> status_;
    std::deque<WsjtxDecode> decodes_;
    std::array<std::uint8_t, kLargestDatagram> bytes_{};
};

WsjtxLink::WsjtxLink(boost::asio::io_context& io, const Endpoint& peer, std::string id,
                     std::chrono::milliseconds pause)
    : work_(std::make_shared<Work>(*this, io, std::move(id), pause)) {
    try {
        work_->open(peer);
    } catch (const std::exception& error) {
        throw Failure(fmt::format("cannot send to {}: {}", peer.text(), error.what()));
    }
}

WsjtxLink::~WsjtxLink() {
    work_->close();
}

void WsjtxLink::setStatus(const WsjtxStatus& status) {
    work_->setStatus(status);
}

void WsjtxLink::decoded(const WsjtxDecode& decode) {
    work_->decoded(decode);
}

void WsjtxLink::clear() {
    work_->clear();
}

void WsjtxLink::logged(const Contact& contact) {
    work_->send(wsjtxQsoLogged(work_->sender(), contact));
    work_->send(wsjtxLoggedAdif(work_->sender(), adifHeader() + adifRecord(contact)));
}

} // namespace ferrow
