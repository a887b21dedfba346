#include "tests/soak/radio_process.hpp"

#include "host/failure.hpp"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <sstream>

namespace ferrow::soak {
namespace {

constexpr int kReadyMs = 60000; // on a machine that has much else to do
constexpr long long kPauseNs = 100'000'000;

} // namespace

RadioProcess::RadioProcess(const std::string& address, const std::filesystem::path& folder,
                           const std::vector<std::string>& arguments)
    : folder_(folder) {
    std::filesystem::create_directories(folder_);
    std::vector<std::string> all = {
        "--address",   address,         "--die-with-parent", "--stats", folder_ / "stats.json",
        "--tx-record", folder_ / "sent"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    process_.emplace(FERROW_SIM_PROGRAM, all);
    if (!process_->speaks(kReadyMs))
        throw Failure("the simulated radio does not start");
}

nlohmann::json RadioProcess::end() {
    process_->signal(SIGTERM);
    if (process_->wait() != 0)
        throw Failure("the simulated radio has ended by itself");
    nlohmann::json statistics;
    std::ifstream(folder_ / "stats.json") >> statistics;
    return statistics.at("radios").at(0);
}

void RadioProcess::pull() {
    process_->signal(SIGKILL);
    process_->wait();
}

RadioProcess::OnAir RadioProcess::onAir() const {
    OnAir result;
    std::ifstream table(folder_ / "sent.csv");
    std::string line;
    std::getline(table, line);
    long long first = 0, last = 0;
    while (std::getline(table, line)) {
        std::istringstream row(line);
        std::string event, time, keyed;
        std::getline(row, event, ',');
        std::getline(row, time, ',');
        // A process that was killed leaves half a line.
        if (!std::getline(row, keyed, ',') || keyed != "1")
            continue;
        const long long now = std::stoll(time);
        if (first == 0 || now - last > kPauseNs) {
            first = now;
            ++result.times;
        }
        last = now;
        result.longest = std::max(result.longest, static_cast<double>(last - first) * 1e-9);
    }
    return result;
}

double RadioProcess::longestOnAir() const {
    return onAir().longest;
}

int RadioProcess::transmissions() const {
    return onAir().times;
}

} // namespace ferrow::soak
