#include "host/serve/page.hpp"
#include "host/serve/sessions.hpp"

#include <fmt/format.h>
#include <optional>

namespace ferrow::serve {
namespace {

using Response = http::response<http::string_body>;

const char* const kPolicy =
    "default-src 'self'; connect-src 'self'; img-src 'self' data: blob:; object-src 'none'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

Response respond(unsigned status, std::string_view type, std::string body) {
    Response response{http::int_to_status(status), 11};
    response.set(http::field::server, "ferrow");
    response.set(http::field::content_type, beast::string_view(type.data(), type.size()));
    response.set(http::field::cache_control, "no-cache");
    response.set("Content-Security-Policy", kPolicy);
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Referrer-Policy", "no-referrer"); // an address may hold the token
    response.body() = std::move(body);
    return response;
}

class HttpSession : public Connection, public std::enable_shared_from_this<HttpSession> {
public:
    HttpSession(tcp::socket socket, ServerState& state) : stream_(std::move(socket)), state_(state) {
        state_.connections.insert(this);
        state_.traffic.open.fetch_add(1, std::memory_order_relaxed);
    }
    ~HttpSession() override {
        state_.connections.erase(this);
        state_.traffic.open.fetch_sub(1, std::memory_order_relaxed);
    }

    void leave() override { cut(); }
    void cut() override {
        beast::error_code ignored;
        stream_.socket().close(ignored);
    }

    void read(bool first) {
        parser_.emplace();
        parser_->header_limit(kMostHead);
        stream_.expires_after(first ? state_.options.requestTime : state_.options.idleTime);
        http::async_read_header(stream_, buffer_, *parser_,
                                [self = shared_from_this()](beast::error_code error, std::size_t) {
                                    self->take(error);
                                });
    }

private:
    void take(beast::error_code error) {
        if (error == http::error::header_limit)
            return answer(respond(431, "text/plain", "the request is too long\n"), false);
        if (error.category() == http::make_error_code(http::error::end_of_stream).category() &&
            error != http::error::end_of_stream && error != http::error::partial_message)
            return answer(respond(400, "text/plain", "this is no request\n"), false);
        if (error)
            return;
        state_.traffic.requests.fetch_add(1, std::memory_order_relaxed);
        if (parser_->chunked() || parser_->content_length().value_or(0) > 0)
            return answer(respond(413, "text/plain", "no content is taken\n"), false);
        const Request request = parser_->release();
        const Decision decision = decide(headOf(request), state_.rules);
        if (decision.status == 401 || decision.status == 403)
            state_.traffic.refused.fetch_add(1, std::memory_order_relaxed);
        if (decision.resource == Resource::Socket)
            return startSocket(request);
        Response response = find(decision);
        if (!decision.setCookie.empty())
            response.set(http::field::set_cookie, decision.setCookie);
        headOnly_ = request.method() == http::verb::head;
        answer(std::move(response), request.keep_alive() && decision.status == 200);
    }

    void startSocket(const Request& request) {
        if (state_.listeners >= state_.options.mostListeners)
            return answer(respond(503, "text/plain", "there are too many listeners\n"), false);
        stream_.expires_never();
        startWebsocketSession(std::move(stream_), request, state_);
    }

    Response find(const Decision& decision) const {
        if (decision.status != 200)
            return respond(decision.status, "text/plain", decision.reason + "\n");
        switch (decision.resource) {
        case Resource::Status:
            return respond(200, "application/json", state_.door.notices().status);
        case Resource::Metrics:
            return respond(200, "text/plain; version=0.0.4", state_.door.notices().metrics);
        default:
            break;
        }
        if (const PageFile* file = findPageFile(decision.path))
            return respond(200, file->type, std::string(file->content));
        return respond(404, "text/plain", "there is nothing by this name\n");
    }

    void answer(Response response, bool keepAlive) {
        response.keep_alive(keepAlive);
        response.prepare_payload();
        if (response.result() == http::status::method_not_allowed)
            response.set(http::field::allow, "GET, HEAD");
        if (response.result() == http::status::upgrade_required)
            response.set(http::field::upgrade, "websocket");
        if (headOnly_)
            response.body().clear(); // its length stands in the head all the same
        response_.emplace(std::move(response));
        stream_.expires_after(state_.options.writeTime);
        http::async_write(stream_, *response_,
                          [self = shared_from_this(), keepAlive](beast::error_code error, std::size_t) {
                              self->response_.reset();
                              if (!error && keepAlive)
                                  self->read(false);
                              else
                                  self->end();
                          });
    }

    void end() {
        beast::error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
    }

    beast::tcp_stream stream_;
    ServerState& state_;
    beast::flat_buffer buffer_{kMostHead + 4096};
    std::optional<RequestParser> parser_;
    std::optional<Response> response_;
    bool headOnly_ = false;
};

} // namespace

void startHttpSession(tcp::socket socket, ServerState& state) {
    std::make_shared<HttpSession>(std::move(socket), state)->read(true);
}

} // namespace ferrow::serve
