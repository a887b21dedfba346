// A simulated radio that keeps what ferrow transmits.
#pragma once

#include "tests/host/program.hpp"
#include "tests/host/temporary.hpp"
#include "tests/sim/tx_record.hpp"

#include <fstream>

namespace ferrow::test {

using sim::testing::TxRecord;
using sim::testing::TxRow;

class RecordingRadio {
public:
    explicit RecordingRadio(const std::string& address, const std::vector<std::string>& more = {})
        : running_(arguments(folder_, address, more)) {
        EXPECT_TRUE(running_.waitFor("ready")) << running_.finish().output;
    }
    Running& process() { return running_; }

    // Ends the radio.
    TxRecord finish() {
        running_.signal(SIGTERM);
        running_.finish();
        return sim::testing::readTxRecord(folder_.file("tx"));
    }
    // What it has so far; it goes on.
    std::vector<TxRow> rows() {
        const std::string stats = folder_.file("stats.json");
        std::filesystem::remove(stats);
        running_.signal(SIGUSR1);
        for (int i = 0; i < 1000 && !std::filesystem::exists(stats); ++i)
            usleep(2000);
        return sim::testing::readTxRows(folder_.file("tx.csv"));
    }
    // Waits until so many packets with ptt have come.
    bool keyedFor(std::size_t packets) {
        for (int i = 0; i < 500; ++i) {
            std::size_t keyed = 0;
            for (const TxRow& row : rows())
                keyed += row.event == "data" && row.ptt;
            if (keyed >= packets)
                return true;
            usleep(20000);
        }
        return false;
    }
    std::string file(const std::string& name) const { return folder_.file(name); }

private:
    static std::vector<std::string> arguments(const TemporaryFolder& folder, const std::string& address,
                                              const std::vector<std::string>& more) {
        std::ofstream(folder.file("scene.json")) << R"({"noise_floor": -140, "stations": []})";
        std::vector<std::string> all = {FERROW_SIM_PROGRAM,
                                        "--address",
                                        address,
                                        "--scene",
                                        folder.file("scene.json"),
                                        "--die-with-parent",
                                        "--tx-record",
                                        folder.file("tx"),
                                        "--stats",
                                        folder.file("stats.json"),
                                        "--wideband-rate",
                                        "0"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    TemporaryFolder folder_;
    Running running_;
};

// A transmission in a record: from the first packet with ptt to the last one before a packet without.
struct Press {
    std::size_t begin = 0, end = 0; // samples
    std::vector<TxRow> packets;
};

// The presses of a record that holds all packets (--tx-all), or of one without pauses between them.
inline std::vector<Press> pressesOf(const TxRecord& record) {
    std::vector<Press> presses;
    bool keyed = false;
    for (const TxRow& row : record.packets()) {
        if (row.ptt && !keyed)
            presses.push_back({row.sample, row.sample, {}});
        keyed = row.ptt;
        if (!keyed)
            continue;
        presses.back().packets.push_back(row);
        presses.back().end = row.sample + TxRecord::kPacket;
    }
    return presses;
}

} // namespace ferrow::test
