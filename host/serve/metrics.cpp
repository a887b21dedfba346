#include "host/serve/station.hpp"

#include <fmt/format.h>
#include <sys/resource.h>

namespace ferrow::serve {
namespace {

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Lines of the text that Prometheus reads.
class Lines {
public:
    template <typename Number>
    void add(const char* name, const char* type, const char* help, Number value) {
        text_ += fmt::format("# HELP ferrow_{} {}\n# TYPE ferrow_{} {}\nferrow_{} {}\n", name, help, name, type,
                             name, value);
    }
    // A name with one label; the first of a name brings its help along.
    void addLabelled(const char* name, const char* help, const char* label, const char* value,
                     std::uint64_t number, bool first) {
        if (first)
            text_ += fmt::format("# HELP ferrow_{} {}\n# TYPE ferrow_{} counter\n", name, help, name);
        text_ += fmt::format("ferrow_{}{{{}=\"{}\"}} {}\n", name, label, value, number);
    }
    std::string take() { return std::move(text_); }

private:
    std::string text_;
};

} // namespace

std::string Station::metrics() const {
    const auto count = [](const Traffic::Count& counter) { return counter.load(std::memory_order_relaxed); };
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::size_t receivers = 0;
    for (const auto& [number, listener] : listeners_)
        receivers += listener.receivers.size();
    const Traffic& t = traffic_;
    Lines lines;
    lines.add("radio_up", "gauge", "1 while the radio sends", radioOk_ ? 1 : 0);
    lines.add("radio_restarts_total", "counter", "Times that the radio was started again", restarts_);
    lines.add("sequence_errors_total", "counter", "Gaps in the radio's stream", session_.sequenceErrors());
    lines.add("listeners", "gauge", "Listeners connected", listeners_.size());
    lines.add("transceivers", "gauge", "Transceivers of all listeners", receivers);
    lines.add("connections", "gauge", "Connections of any kind", t.open.load(std::memory_order_relaxed));
    lines.add("connections_total", "counter", "Connections accepted", count(t.connections));
    lines.add("connections_turned_away_total", "counter", "Connections beyond the limit", count(t.turnedAway));
    lines.add("requests_total", "counter", "HTTP requests", count(t.requests));
    lines.add("requests_refused_total", "counter", "Requests without the right to ask", count(t.refused));
    lines.add("orders_total", "counter", "Orders of listeners", count(t.orders));
    lines.add("orders_refused_total", "counter", "Orders that could not be carried out", count(t.badOrders));
    const char* const closed = "Listeners cut off";
    lines.addLabelled("listeners_closed_total", closed, "reason", "slow", count(t.closedSlow), true);
    lines.addLabelled("listeners_closed_total", closed, "reason", "flood", count(t.closedFast), false);
    lines.add("sent_bytes_total", "counter", "Bytes of messages sent", count(t.bytesOut));
    lines.add("received_bytes_total", "counter", "Bytes of messages received", count(t.bytesIn));
    const char* const sent = "Messages sent";
    lines.addLabelled("sent_messages_total", sent, "kind", "text", count(t.texts), true);
    lines.addLabelled("sent_messages_total", sent, "kind", "audio", count(t.audioFrames), false);
    lines.addLabelled("sent_messages_total", sent, "kind", "spectrum", count(t.spectrumFrames), false);
    const char* const dropped = "Messages dropped for want of room";
    lines.addLabelled("dropped_messages_total", dropped, "kind", "audio", count(t.audioDropped), true);
    lines.addLabelled("dropped_messages_total", dropped, "kind", "spectrum", count(t.spectrumDropped), false);
    lines.add("keyed", "gauge", "1 while the radio transmits", desk_->keyed() ? 1 : 0);
    lines.add("cpu_seconds_total", "counter", "Processor time of the program",
              secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime));
    return lines.take();
}

} // namespace ferrow::serve
