#include "tests/radios/hpsdr_np/np_reception.hpp"

#include <filesystem>
#include <set>

namespace ferrow {
namespace {

using namespace test;

std::set<int> threads() {
    std::set<int> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        all.insert(std::stoi(entry.path().filename()));
    return all;
}

// Seconds of processor time that these threads have had.
double cpuSeconds(const std::set<int>& ids) {
    double sum = 0;
    for (const int id : ids) {
        double nanoseconds = 0;
        std::ifstream("/proc/self/task/" + std::to_string(id) + "/schedstat") >> nanoseconds;
        sum += 1e-9 * nanoseconds;
    }
    return sum;
}

// The length of one run: a minute where the environment asks for the full length.
double runSeconds() {
    return std::getenv("FERROW_FULL_LENGTH") != nullptr ? 60 : 12;
}

void noSequenceErrors(int receivers) {
    constexpr int kRate = 1536000;
    NpSimulator simulator("builtin");
    NpReception reception(simulator, kRate, receivers);
    const std::set<int> before = threads();
    reception.start();
    std::set<int> comms;
    library().pumpUntil(
        [&] {
            for (const int id : threads())
                if (!before.contains(id))
                    comms.insert(id);
            return !comms.empty();
        },
        5s);
    for (int i = 0; i < receivers; ++i)
        reception.add(3600000 + 3500000LL * i);
    for (int i = 0; i < receivers; ++i)
        ASSERT_GT(reception.listen(static_cast<std::size_t>(i), 0.2).size(), 0u) << i;
    ASSERT_EQ(comms.size(), 1u) << "a start makes the comms thread and no other";
    const double seconds = runSeconds();
    const double commsBefore = cpuSeconds(comms), allBefore = cpuSeconds(threads());
    const auto began = std::chrono::steady_clock::now();
    library().pumpUntil([] { return false; }, std::chrono::milliseconds(static_cast<int>(1000 * seconds)));
    const double passed = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    const double commsShare = (cpuSeconds(comms) - commsBefore) / passed;
    const double allShare = (cpuSeconds(threads()) - allBefore) / passed;
    reception.stop();
    library().pumpUntil([] { return false; }, 200ms);
    const json stats = simulator.end();
    std::int64_t packets = 0;
    for (int i = 0; i < receivers; ++i) {
        const auto one = stats["out"]["iq"][static_cast<std::size_t>(i)].get<std::int64_t>();
        packets += one;
        // Two cores are about full with the library, this host and the simulator, which may fall behind its
        // clock a little; what it has sent is what must have arrived.
        EXPECT_GT(static_cast<double>(one), 0.85 * kRate / 238 * seconds) << i;
        EXPECT_EQ(stats["receivers"][static_cast<std::size_t>(i)]["rate"], kRate);
    }
    EXPECT_EQ(reception.sequenceErrors, 0);
    EXPECT_EQ(stats["out"]["errors"], 0);
    std::printf(
        "1536 kHz x %d for %.0f s: %lld I/Q packets, %d sequence errors; of a core: comms thread %.1f %%, "
        "all of the library %.1f %%, simulator %.1f %%; pace %.3f, latest packet %.1f ms late\n",
        receivers, seconds, static_cast<long long>(packets), reception.sequenceErrors, 100 * commsShare,
        100 * allShare, 100 * simulator.cpuShare,
        static_cast<double>(packets) * 238 / kRate / receivers / passed,
        stats["out"]["latest_ms"].get<double>());
}

} // namespace

TEST(SimulatedNpRadioSlow, NoSequenceErrorsAt1536kHzWithFourReceivers) {
    noSequenceErrors(4);
}

// More than two cores carry beside other work; for a look at how far it goes.
TEST(SimulatedNpRadioSlow, DISABLED_NoSequenceErrorsAt1536kHzWithEightReceivers) {
    noSequenceErrors(8);
}

} // namespace ferrow
