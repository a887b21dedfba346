// The simulated radio of a phase: its process, its statistics, and what it recorded of the transmitter.
#pragma once

#include "host/child_process.hpp"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace ferrow::soak {

class RadioProcess {
public:
    // Waits until it is ready. `folder`: for its files. Throws Failure.
    RadioProcess(const std::string& address, const std::filesystem::path& folder,
                 const std::vector<std::string>& arguments);

    // In order, with its statistics; or at once, as if the plug were pulled, without any.
    nlohmann::json end();
    void pull();

    // The longest time without a pause of 100 ms that the radio was on the air, s; read once it has ended.
    double longestOnAir() const;
    // Times that it went on the air.
    int transmissions() const;

private:
    struct OnAir {
        int times = 0;
        double longest = 0;
    };
    OnAir onAir() const;

    std::filesystem::path folder_;
    std::optional<ChildProcess> process_;
};

} // namespace ferrow::soak
