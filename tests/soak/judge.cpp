// The criteria of a run.
#include "tests/soak/soak.hpp"
#include "tests/support/sanitizer.hpp"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace ferrow::soak {
namespace {

constexpr double kAnswer = 10, kRound = 10; // s
constexpr double kSlower = test::kSanitized ? 5 : 1;
constexpr double kOnAir = 3 * kSlower; // s: the watchdog's limit

// Words that a phase brings by its nature; all others are not planned.
bool planned(const std::string& words, const Phase& phase) {
    const auto has = [&](const char* part) { return words.find(part) != std::string::npos; };
    if (words.empty() || has("setmm priority failed") || words.starts_with("("))
        return true;
    if (phase.mayDrop && has("Can't queue seq process"))
        return true;
    return phase.soundLoss && (has("pa_openstream failed") || has("pa_startstream failed"));
}

nlohmann::json jsonOf(const Counted& one) {
    return {{"phase", one.phase.name},
            {"turns", one.turns},
            {"seconds", one.seconds},
            {"packets", one.packets},
            {"faults", one.faults},
            {"sequence_errors", one.sequenceErrors},
            {"sequence_errors_due", one.faults * one.phase.errorsPerFault},
            {"dropped_tasks", one.dropped},
            {"command_gaps", one.commandGaps},
            {"sound",
             {{"seconds", one.sound.seconds},
              {"quiet", one.sound.quiet},
              {"excused", one.sound.excused},
              {"gaps", one.sound.gaps},
              {"longest_gap_ms", one.sound.longestGapMs},
              {"amplitude", one.sound.amplitude}}},
            {"machine",
             {{"stalls", one.stalls.count},
              {"longest_ms", one.stalls.longestMs},
              {"seconds", one.stalls.seconds}}},
            {"returns", one.returns},
            {"slowest_return_s", one.slowestReturn},
            {"transmissions", one.transmissions},
            {"longest_on_air_s", one.longestOnAir},
            {"stuck_transmissions", one.stuck},
            {"failures", one.failures},
            {"log", one.log}};
}

void judgePhase(const Counted& one, Verdict& verdict) {
    const auto add = [&](const char* what, bool met, const std::string& figure, const std::string& bound) {
        verdict.add(one.phase.name + ": " + what, met, figure, bound);
    };
    const long long due = one.faults * one.phase.errorsPerFault;
    if (one.phase.mayDrop)
        add("gaps of the stream", one.sequenceErrors <= one.dropped + one.faults,
            fmt::format("{} for {} tasks without room", one.sequenceErrors, one.dropped),
            "no more than these");
    else
        add("gaps of the stream", one.sequenceErrors == due,
            fmt::format("{} of {} packets, {} faults", one.sequenceErrors, one.packets, one.faults),
            fmt::format("{}", due));
    if (!one.phase.mayDrop)
        add("tasks without room", one.dropped == 0, std::to_string(one.dropped), "0");
    if (!one.phase.faults.empty() && one.faults == 0)
        add("faults that struck", false, "0", "some");
    if (!one.phase.vanish)
        add("starts of the stream", one.starts == one.expectedStarts, std::to_string(one.starts),
            std::to_string(one.expectedStarts));
    // Under a sanitizer sound is not in time.
    if (one.sound.seconds > 0 && !test::kSanitized) {
        add("longest gap of the sound", one.sound.longestGapMs <= one.phase.longestGapMs,
            fmt::format("{:.0f} ms, {} in {:.0f} s; {:.2f} s behind {} stalls of the machine",
                        one.sound.longestGapMs, one.sound.gaps, one.sound.seconds, one.sound.excused,
                        one.stalls.count),
            fmt::format("{:.0f} ms", one.phase.longestGapMs));
        add("silence", one.sound.quiet <= one.phase.quietShare * one.sound.seconds,
            fmt::format("{:.1f} %", 100 * one.sound.quiet / one.sound.seconds),
            fmt::format("{:.0f} %", 100 * one.phase.quietShare));
    }
    if (one.phase.transmit || one.transmissions > 0) {
        add("longest time on the air", one.longestOnAir <= kOnAir && one.transmissions > 0,
            fmt::format("{:.2f} s of {}", one.longestOnAir, one.transmissions),
            fmt::format("{:.0f} s", kOnAir));
        add("transmissions that did not end", one.stuck == 0, std::to_string(one.stuck), "0");
    }
    if (one.phase.vanish || one.phase.soundLoss)
        add("returns", one.failures.empty(),
            fmt::format("{}, slowest {:.1f} s", one.returns, one.slowestReturn), "all");
    for (const auto& [what, times] : one.failures)
        add(what.c_str(), false, std::to_string(times), "0");
    for (const auto& [words, times] : one.log)
        if (!planned(words, one.phase))
            add("log", false, fmt::format("{} times \"{}\"", times, words), "nothing that was not planned");
}

} // namespace

void Soak::judge(Verdict& verdict, nlohmann::json& report) {
    report["seconds"] = elapsed();
    auto& phases = report["phases"] = nlohmann::json::array();
    for (const Counted& one : counted_) {
        judgePhase(one, verdict);
        phases.push_back(jsonOf(one));
    }
    const Deeds deeds = station_->deeds();
    report["deeds"] = {{"retunes", deeds.retunes},   {"modes", deeds.modes},
                       {"sets", deeds.sets},         {"binds", deeds.binds},
                       {"objects", deeds.objects},   {"presses", deeds.presses},
                       {"visitors", deeds.visitors}, {"recordings", deeds.recordings},
                       {"spectra", deeds.spectra},   {"blocks", deeds.blocks}};
    const auto fitted = [&](const MemoryLine& line) {
        const MemoryLine::Fit fit = line.fit(warm_);
        auto course = nlohmann::json::array();
        const std::size_t step = std::max<std::size_t>(line.points().size() / 400, 1);
        for (std::size_t i = 0; i < line.points().size(); i += step)
            course.push_back({std::round(line.points()[i].seconds), line.points()[i].megabytes});
        return nlohmann::json{
            {"first_mb", fit.first},          {"last_mb", fit.last},       {"most_mb", fit.most},
            {"mb_per_hour", fit.slope},       {"scatter_mb", fit.scatter}, {"hours", fit.hours},
            {"bound_mb_per_hour", fit.bound}, {"course", course}};
    };
    report["memory"] = {{"from_s", warm_},
                        {"resident_at_rest", fitted(settled_)},
                        {"allocated_at_rest", fitted(settledInUse_)},
                        {"resident", fitted(memory_)},
                        {"allocated", fitted(inUse_)}};
    // A sanitizer keeps what was released; and before everything has been done once, memory may grow.
    const MemoryLine::Fit memory = settled_.fit(warm_);
    if (!test::kSanitized && warm_ > 0 && memory.hours > 0.5 * warm_ / 3600)
        verdict.add("memory at rest, MB an hour", memory.slope < memory.bound,
                    fmt::format("{:.1f} over {:.2f} h, {:.1f} to {:.1f} MB", memory.slope, memory.hours,
                                memory.first, memory.last),
                    fmt::format("{:.1f}", memory.bound));
    report["longest_round_s"] = progress_.longestRound();
    report["slowest_answer_s"] = station_->slowestAnswer();
    verdict.add("longest round of the control loop", progress_.longestRound() < kRound * kSlower,
                fmt::format("{:.2f} s", progress_.longestRound()), fmt::format("{:.0f} s", kRound * kSlower));
    verdict.add("slowest answer of the radio's context", station_->slowestAnswer() < kAnswer * kSlower,
                fmt::format("{:.3f} s", station_->slowestAnswer()),
                fmt::format("{:.0f} s", kAnswer * kSlower));
    const bool note = std::filesystem::exists(folder_ / "library.log.dump.txt");
    verdict.add("crash note", !note, note ? "there" : "none", "none");
}

} // namespace ferrow::soak
