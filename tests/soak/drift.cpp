#include "tests/soak/drift.hpp"

#include "tests/soak/on_the_way.hpp"

#include <algorithm>
#include <fmt/format.h>

namespace ferrow::soak {
namespace {

constexpr double kSettled = 90; // seconds: four time constants of the control
constexpr double kMostFrames = 256;
} // namespace

void runDrift(Soak& soak, const Plan& plan, Verdict& verdict, nlohmann::json& report) {
    auto& all = report["drift"] = nlohmann::json::array();
    for (const Phase& phase : plan.phases) {
        // The exact tone depends on the phase's clock.
        const double carrier = static_cast<double>(kCarrier) / (1 + phase.clockPpm * 1e-6);
        const double hertz = carrier - static_cast<double>(static_cast<long long>(carrier) - kTone);
        OnTheWay way(phase.clockPpm, hertz);
        const double settling = std::min(kSettled, phase.seconds / 2);
        soak.monitor().follow(hertz);
        soak.runPhase(phase, [&] { way.take(soak.monitor().takeWindows(), soak.secondsIn() > settling); });
        soak.monitor().follow(0);
        const OnTheWay::Line line = way.line();
        all.push_back({{"phase", phase.name},
                       {"ppm", phase.clockPpm},
                       {"settling_s", settling},
                       {"seconds", line.seconds},
                       {"jumps", way.jumps},
                       {"disturbed_windows", way.disturbed},
                       {"jumps_behind_standstills", way.excusedJumps},
                       {"disturbed_windows_behind_standstills", way.excusedDisturbed},
                       {"farthest_frames", line.farthest},
                       {"slope_ppm", line.ppm}});
        const auto heard = fmt::format("{} in {} s, {} more behind standstills of the machine", way.jumps,
                                       line.seconds, way.excusedJumps);
        verdict.add(phase.name + ": jumps of the sound", way.jumps == 0 && line.seconds > 0, heard, "0");
        verdict.add(phase.name + ": disturbed windows", way.disturbed == 0,
                    fmt::format("{}, {} more behind standstills", way.disturbed, way.excusedDisturbed), "0");
        verdict.add(phase.name + ": frames on the way", line.farthest <= kMostFrames,
                    fmt::format("within {:.1f} of a line of {:+.3f} ppm", line.farthest, line.ppm),
                    fmt::format("{:.0f}", kMostFrames));
        verdict.add(phase.name + ": slope of that line", std::abs(line.ppm) < 3 || settling < kSettled,
                    fmt::format("{:+.3f} ppm", line.ppm), "3 ppm, once settled");
    }
}

} // namespace ferrow::soak
