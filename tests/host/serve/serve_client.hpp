// ferrow serve as a process, a simulated radio behind it, and listeners in front.
#pragma once

#include "host/serve/frames.hpp"
#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <functional>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <poll.h>
#include <thread>

namespace ferrow::test {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::asio::ip::tcp;
using nlohmann::json;
using Clock = std::chrono::steady_clock;

class ServedRadio {
public:
    ServedRadio(const std::string& address, const std::string& scene,
                const std::vector<std::string>& more = {})
        : address_(address), more_(more) {
        std::ofstream(folder_.file("scene.json")) << scene;
        start();
    }
    // A new one at the same place.
    void start() {
        std::vector<std::string> all = {FERROW_SIM_PROGRAM, "--address",         address_,           "--scene",
                                        folder_.file("scene.json"), "--die-with-parent", "--wideband-rate", "0"};
        all.insert(all.end(), more_.begin(), more_.end());
        running_.emplace(all);
        EXPECT_TRUE(running_->waitFor("ready")) << running_->finish().output;
    }
    void kill() {
        running_->signal(SIGKILL);
        running_->finish();
    }
    const std::string& address() const { return address_; }
    std::string file(const std::string& name) const { return folder_.file(name); }

private:
    std::string address_;
    std::vector<std::string> more_;
    TemporaryFolder folder_;
    std::optional<Running> running_;
};

class Serving {
public:
    explicit Serving(const std::string& radio, const std::vector<std::string>& more = {},
                     const std::string& listen = "127.0.0.1:0")
        : running_(arguments(radio, more, listen)) {
        const auto token = std::find(more.begin(), more.end(), "--token");
        const std::string end = token == more.end() ? "/\n" : "?token=" + *(token + 1) + "\n";
        if (!running_.waitFor("ready http://") || !running_.waitFor(end))
            ADD_FAILURE() << running_.finish().output;
        url_ = running_.output().substr(running_.output().find("http://") + 7);
        url_ = url_.substr(0, url_.find('\n'));
        const std::string place = url_.substr(0, url_.find('/'));
        host_ = place.substr(0, place.rfind(':'));
        port_ = place.substr(place.rfind(':') + 1);
    }
    const std::string& host() const { return host_; }
    const std::string& port() const { return port_; }
    std::string place() const { return host_ + ":" + port_; }
    const std::string& url() const { return url_; } // without http://
    Running& process() { return running_; }
    Outcome end() {
        running_.signal(SIGTERM);
        return running_.finish();
    }

    tcp::socket connect(boost::asio::io_context& io) const {
        tcp::socket socket(io);
        socket.connect({boost::asio::ip::make_address(host_), static_cast<unsigned short>(std::stoi(port_))});
        return socket;
    }

    struct Answer {
        int status = 0;
        std::string body;
        std::string head;
        std::string field(const std::string& name) const {
            const auto at = head.find("\r\n" + name + ": ");
            if (at == std::string::npos)
                return "";
            const auto begin = at + name.size() + 4;
            return head.substr(begin, head.find("\r\n", begin) - begin);
        }
    };
    // `request` as it stands; what has come when the server ends the connection, or `longest` is over.
    std::string raw(const std::string& request,
                    std::chrono::milliseconds longest = std::chrono::seconds(10)) const {
        boost::asio::io_context io;
        tcp::socket socket = connect(io);
        boost::system::error_code error;
        boost::asio::write(socket, boost::asio::buffer(request), error);
        std::string all;
        const auto end = Clock::now() + longest;
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            pollfd waiting{socket.native_handle(), POLLIN, 0};
            if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
                return all;
            char bytes[4096];
            const std::size_t n = socket.read_some(boost::asio::buffer(bytes), error);
            if (error)
                return all;
            all.append(bytes, n);
        }
    }
    Answer ask(const std::string& method, const std::string& target, const std::string& fields = "") const {
        const std::string all = raw(method + " " + target + " HTTP/1.1\r\nHost: " + place() +
                                    "\r\nConnection: close\r\n" + fields + "\r\n");
        Answer answer;
        const auto end = std::min(all.find("\r\n\r\n"), all.size());
        answer.head = all.substr(0, end);
        answer.body = all.substr(std::min(end + 4, all.size()));
        if (all.starts_with("HTTP/1.1 "))
            answer.status = std::stoi(all.substr(9, 3));
        return answer;
    }
    Answer get(const std::string& target, const std::string& fields = "") const {
        return ask("GET", target, fields);
    }
    json status() const { return json::parse(get("/status.json").body); }
    // A line of /metrics.
    double metric(const std::string& name) const {
        const std::string text = get("/metrics").body;
        const auto at = text.find("\n" + name + " ");
        return at == std::string::npos ? -1 : std::stod(text.substr(at + name.size() + 2));
    }

    // The numbers are renewed a few times a second.
    bool waitMetric(const std::string& name, double value) const {
        for (int i = 0; i < 500; ++i) {
            if (metric(name) == value)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

private:
    static std::vector<std::string> arguments(const std::string& radio, const std::vector<std::string>& more,
                                              const std::string& listen) {
        std::vector<std::string> all = {FERROW_PROGRAM, "serve", "--radio", radio, "--listen", listen};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    Running running_;
    std::string url_, host_, port_;
};

// A websocket to it. A thread of its own gathers what comes.
class ServeListener {
public:
    struct Audio {
        int id, format;
        std::uint32_t sequence, rate;
        double time, arrived; // ms of UTC
        std::vector<std::uint8_t> payload;
    };
    struct Frame {
        int id;
        std::uint32_t sequence;
        double low, high;
        std::vector<double> decibel;
        double frequencyOf(std::size_t k) const {
            return low + (static_cast<double>(k) + 0.5) * (high - low) / static_cast<double>(decibel.size());
        }
        std::size_t peak() const {
            return static_cast<std::size_t>(std::max_element(decibel.begin(), decibel.end()) - decibel.begin());
        }
    };

    explicit ServeListener(const Serving& serving, const std::string& query = "")
        : stream_(serving.connect(io_)) {
        boost::system::error_code error;
        stream_.handshake(serving.place(), "/ws" + query, error);
        EXPECT_FALSE(error) << error.message();
        reader_ = std::thread([this] { read(); });
    }
    ~ServeListener() { cut(); }
    ServeListener(const ServeListener&) = delete;
    ServeListener& operator=(const ServeListener&) = delete;

    // Without a word.
    void cut() {
        ::shutdown(stream_.next_layer().native_handle(), SHUT_RDWR);
        if (reader_.joinable())
            reader_.join();
    }

    bool send(const json& order) { return sendText(order.dump()); }
    bool sendText(const std::string& text) {
        boost::system::error_code error;
        stream_.text(true);
        stream_.write(boost::asio::buffer(text), error);
        return !error;
    }
    bool sendBinary(const std::vector<std::uint8_t>& bytes) {
        boost::system::error_code error;
        stream_.binary(true);
        stream_.write(boost::asio::buffer(bytes), error);
        return !error;
    }

    // Waits for a condition over what has come; `longest` is generous for loaded machines.
    bool wait(const std::function<bool()>& done, std::chrono::seconds longest = std::chrono::seconds(20)) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, longest, done);
    }
    // The first text of that name, from here on in the order of arrival, that fits; null if none comes.
    json next(const std::string& is, const std::function<bool(const json&)>& fits = nullptr,
              std::chrono::seconds longest = std::chrono::seconds(20)) {
        json found;
        wait(
            [&] {
                for (; seen_ < texts_.size(); ++seen_) {
                    if (texts_[seen_].value("is", "") == is && (!fits || fits(texts_[seen_]))) {
                        found = texts_[seen_++];
                        return true;
                    }
                }
                return closed_;
            },
            longest);
        return found;
    }
    // Sends an order and gives the next text of that name.
    json ask(const json& order, const std::string& is) {
        send(order);
        return next(is);
    }
    // The id of a new transceiver.
    int add(long long frequency, const std::string& mode) {
        const json state = ask({{"do", "add"}, {"frequency", frequency}, {"mode", mode}}, "transceiver");
        return state.is_object() ? state.value("id", 0) : 0;
    }
    bool closed() {
        const std::lock_guard lock(mutex_);
        return closed_;
    }
    int closeCode() {
        const std::lock_guard lock(mutex_);
        return stream_.reason().code;
    }

    // Copies of what has come so far.
    std::vector<json> texts() {
        const std::lock_guard lock(mutex_);
        return texts_;
    }
    std::vector<Audio> audio(int id) {
        const std::lock_guard lock(mutex_);
        std::vector<Audio> mine;
        for (const Audio& one : audio_)
            if (one.id == id)
                mine.push_back(one);
        return mine;
    }
    std::vector<Frame> frames(int id) {
        const std::lock_guard lock(mutex_);
        std::vector<Frame> mine;
        for (const Frame& one : frames_)
            if (one.id == id)
                mine.push_back(one);
        return mine;
    }
    void forget() {
        const std::lock_guard lock(mutex_);
        audio_.clear();
        frames_.clear();
    }
    bool waitAudio(int id, std::size_t count) {
        return wait([&] {
            return static_cast<std::size_t>(
                       std::count_if(audio_.begin(), audio_.end(), [&](auto& one) { return one.id == id; })) >= count;
        });
    }
    bool waitFrames(int id, std::size_t count) {
        return wait([&] {
            return static_cast<std::size_t>(
                       std::count_if(frames_.begin(), frames_.end(), [&](auto& one) { return one.id == id; })) >=
                   count;
        });
    }

private:
    template <typename T>
    static T at(const std::uint8_t* bytes) {
        T value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }

    void read() {
        for (;;) {
            beast::flat_buffer buffer;
            boost::system::error_code error;
            stream_.read(buffer, error);
            const std::lock_guard lock(mutex_);
            if (error) {
                closed_ = true;
                changed_.notify_all();
                return;
            }
            const auto* bytes = static_cast<const std::uint8_t*>(buffer.cdata().data());
            take(bytes, buffer.size());
            changed_.notify_all();
        }
    }
    void take(const std::uint8_t* bytes, std::size_t size) {
        if (stream_.got_text()) {
            texts_.push_back(json::parse(bytes, bytes + size, nullptr, false));
            if (!texts_.back().is_object())
                ADD_FAILURE() << std::string(bytes, bytes + size);
        } else if (size >= serve::kAudioHead && bytes[0] == 2) {
            const double now =
                std::chrono::duration<double, std::milli>(std::chrono::system_clock::now().time_since_epoch()).count();
            audio_.push_back({bytes[1], bytes[2], at<std::uint32_t>(bytes + 4), at<std::uint32_t>(bytes + 16),
                              at<double>(bytes + 8), now, {bytes + serve::kAudioHead, bytes + size}});
        } else if (size >= serve::kSpectrumHead && bytes[0] == 1 &&
                   size == serve::kSpectrumHead + at<std::uint16_t>(bytes + 2)) {
            Frame frame{bytes[1], at<std::uint32_t>(bytes + 4), at<double>(bytes + 8), at<double>(bytes + 16), {}};
            const float base = at<float>(bytes + 24), step = at<float>(bytes + 28);
            for (std::size_t i = serve::kSpectrumHead; i < size; ++i)
                frame.decibel.push_back(static_cast<double>(base + step * bytes[i]));
            frames_.push_back(std::move(frame));
        } else {
            ADD_FAILURE() << "a binary message of " << size << " bytes";
        }
    }

    boost::asio::io_context io_;
    beast::websocket::stream<tcp::socket> stream_;
    std::thread reader_;
    std::mutex mutex_; // of the rest
    std::condition_variable changed_;
    std::vector<json> texts_;
    std::size_t seen_ = 0;
    std::vector<Audio> audio_;
    std::vector<Frame> frames_;
    bool closed_ = false;
};

// PCM samples of what came, -1 to 1.
inline std::vector<float> samplesOf(const std::vector<ServeListener::Audio>& audio) {
    std::vector<float> samples;
    for (const auto& one : audio)
        for (std::size_t i = 0; i + 1 < one.payload.size(); i += 2)
            samples.push_back(static_cast<float>(static_cast<std::int16_t>(
                                  one.payload[i] | static_cast<unsigned>(one.payload[i + 1]) << 8)) /
                              32768);
    return samples;
}

} // namespace ferrow::test
