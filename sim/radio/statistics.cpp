#include "sim/radio/statistics.hpp"

#include <nlohmann/json.hpp>

namespace ferrow::sim {

void Statistics::countData(std::uint32_t sequence, std::int64_t nowNs) {
    if (dataIn == 0)
        firstDataNs = nowNs;
    ++dataIn;
    if (sequence != expected_) {
        if (sequence == 0) {
            ++sequenceRestarts;
        } else {
            ++sequenceGaps;
            if (sequence > expected_)
                lostIn += sequence - expected_;
        }
    }
    expected_ = sequence + 1;

    const auto second = static_cast<std::size_t>((nowNs - firstDataNs) / 1'000'000'000);
    constexpr std::size_t kLongest = 24 * 3600;
    if (second < kLongest) {
        if (perSecond.size() <= second)
            perSecond.resize(second + 1);
        ++perSecond[second];
    }
    if (startNs != 0) {
        if (dataSinceStart == 0)
            firstSinceStartNs = nowNs;
        ++dataSinceStart;
    }
    lastDataNs = nowNs;
}

void Statistics::countStart(std::int64_t nowNs) {
    ++starts;
    startNs = nowNs;
    dataSinceStart = 0;
}

double Statistics::controlRate() const {
    if (dataSinceStart < 2 || lastDataNs <= firstSinceStartNs)
        return 0.0;
    return static_cast<double>(dataSinceStart - 1) * 1e9 /
           static_cast<double>(lastDataNs - firstSinceStartNs);
}

void to_json(nlohmann::json& json, const Statistics& s) {
    json = {{"in",
             {{"discovery", s.discoveries},
              {"command", s.commands},
              {"data", s.dataIn},
              {"foreign", s.foreign},
              {"i2c", s.i2cWrites}}},
            {"out",
             {{"endpoint6", s.endpoint6Out},
              {"endpoint4", s.endpoint4Out},
              {"bytes", s.bytesOut},
              {"errors", s.sendErrors},
              {"latest_ms", s.latestMs}}},
            {"starts", s.starts},
            {"stops", s.stops},
            {"watchdog_stops", s.watchdogStops},
            {"endpoint2",
             {{"gaps", s.sequenceGaps},
              {"lost", s.lostIn},
              {"restarts", s.sequenceRestarts},
              {"since_start", s.dataSinceStart},
              {"rate", s.controlRate()},
              {"per_second", s.perSecond}}},
            {"tx_buffer",
             {{"overflows", s.txOverflows},
              {"underflows", s.txUnderflows},
              {"unkeyed", s.txUnkeyed},
              {"highest", s.txHighest}}},
            {"faults", countsByName(s.faults)}};
}

} // namespace ferrow::sim
