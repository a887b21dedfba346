// Reads what `ferrow-sim --tx-record NAME` wrote.
#pragma once

#include <complex>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace ferrow::sim::testing {

struct TxRow {
    std::string event; // data, start, stop, unkey, watchdog
    std::int64_t timeNs = 0;
    bool onAir = false;
    double fill = 0;
    int overflows = 0, underflows = 0;
    int drive = 0;
    std::uint32_t txFrequency = 0;
    int filter = 0;
    bool pa = false;
    int rate = 0;
    std::int64_t sequence = -1; // -1 for what is no packet
    bool ptt = false;
    std::size_t sample = 0; // of the packet's first one
    std::string controlA, controlB;
};

struct TxRecord {
    static constexpr std::size_t kPacket = 126;

    std::vector<TxRow> rows;
    std::vector<std::complex<double>> samples; // left + j right, in steps of 16 bit

    std::vector<TxRow> packets() const {
        std::vector<TxRow> found;
        for (const TxRow& row : rows)
            if (row.event == "data")
                found.push_back(row);
        return found;
    }
    std::size_t count(const std::string& event) const {
        std::size_t n = 0;
        for (const TxRow& row : rows)
            n += row.event == event;
        return n;
    }
    bool silent(std::size_t sample) const { return samples[sample] == std::complex<double>(); }
};

inline std::vector<TxRow> readTxRows(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    std::vector<TxRow> rows;
    while (std::getline(file, line)) {
        std::istringstream cells(line);
        std::vector<std::string> c;
        for (std::string cell; std::getline(cells, cell, ',');)
            c.push_back(cell);
        c.resize(16);
        TxRow row;
        row.event = c[0];
        row.timeNs = std::stoll(c[1]);
        row.onAir = c[2] == "1";
        row.fill = std::stod(c[3]);
        row.overflows = std::stoi(c[4]);
        row.underflows = std::stoi(c[5]);
        row.drive = std::stoi(c[6]);
        row.txFrequency = static_cast<std::uint32_t>(std::stoul(c[7]));
        row.filter = std::stoi(c[8]);
        row.pa = c[9] == "1";
        row.rate = std::stoi(c[10]);
        row.sequence = c[11].empty() ? -1 : std::stoll(c[11]);
        row.ptt = c[12] == "1";
        row.sample = std::stoul(c[13]);
        row.controlA = c[14];
        row.controlB = c[15];
        rows.push_back(row);
    }
    return rows;
}

/// NAME.csv and NAME.wav; the latter must be two channels of 16 bit at 48 kHz behind a plain header.
inline TxRecord readTxRecord(const std::string& name) {
    TxRecord record{readTxRows(name + ".csv"), {}};
    std::ifstream file(name + ".wav", std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    const auto number = [&](std::size_t at, std::size_t size) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data() + at, size);
        return value;
    };
    if (bytes.size() < 44 || std::memcmp(bytes.data(), "RIFF", 4) != 0 || number(22, 2) != 2 ||
        number(24, 4) != 48000 || number(34, 2) != 16 || std::memcmp(bytes.data() + 36, "data", 4) != 0 ||
        number(40, 4) != bytes.size() - 44)
        throw std::runtime_error(name + ".wav is not what it should be");
    for (std::size_t at = 44; at + 4 <= bytes.size(); at += 4) {
        std::int16_t words[2];
        std::memcpy(words, bytes.data() + at, 4);
        record.samples.emplace_back(words[0], words[1]);
    }
    return record;
}

} // namespace ferrow::sim::testing
