#pragma once
#include "sim/radio/faults.hpp"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <vector>

namespace ferrow::sim {

/// What one radio has seen and sent. The owner guards it.
struct Statistics {
    std::int64_t discoveries = 0;
    std::int64_t commands = 0;
    std::int64_t starts = 0;
    std::int64_t stops = 0;
    std::int64_t foreign = 0;
    std::int64_t watchdogStops = 0;

    std::int64_t dataIn = 0;
    std::int64_t sequenceGaps = 0;     ///< data packets whose number was not the one expected
    std::int64_t lostIn = 0;           ///< numbers skipped
    std::int64_t sequenceRestarts = 0; ///< numbers that went back to 0
    std::int64_t i2cWrites = 0;
    std::vector<int> perSecond; ///< data packets in each second since the first one

    std::int64_t endpoint6Out = 0;
    std::int64_t endpoint4Out = 0;
    std::int64_t bytesOut = 0;
    std::int64_t sendErrors = 0;
    double latestMs = 0.0; ///< how late the latest packet left
    FaultCounts faults{};
    int txOverflows = 0;
    int txUnderflows = 0;
    int txUnkeyed = 0;      ///< times that the radio left the air by itself, its buffer dry
    double txHighest = 0.0; ///< highest fill of the transmit buffer, samples

    std::int64_t firstDataNs = 0;
    std::int64_t startNs = 0;        ///< of the last start command
    std::int64_t dataSinceStart = 0; ///< data packets after it
    std::int64_t firstSinceStartNs = 0;
    std::int64_t lastDataNs = 0;

    /// Takes a data packet's number and arrival time.
    void countData(std::uint32_t sequence, std::int64_t nowNs);
    void countStart(std::int64_t nowNs);
    /// Data packets a second between the first and last one after the last start; 0 with fewer than 2.
    double controlRate() const;

private:
    std::uint32_t expected_ = 0;
};

void to_json(nlohmann::json& json, const Statistics& statistics);

} // namespace ferrow::sim
