// An hour of a receiver's samples, as fast as they go through, and what that costs in memory.
#include "modes/ssb_mod_demod.hpp"
#include "radios/wsproxy/ws_proxy_radio.hpp"
#include "tests/radios/hpsdr/radio_bench.hpp"
#include "tests/radios/wsproxy/proxy_server.hpp"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ferrow {
namespace {

using test::ProxyServer;

constexpr int kHour = 48000 * 3600 / 512; // messages
static_assert(kHour == 337500);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
constexpr int kUsual = 100000;
constexpr int kSamples = 40; // looks at the memory

double residentMegabytes() {
    std::ifstream file("/proc/self/statm");
    long total = 0, resident = 0;
    file >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

// Megabytes a thousand messages by least squares.
double slope(const std::vector<double>& y, double messagesPerStep) {
    const auto n = static_cast<double>(y.size());
    double sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        const auto x = static_cast<double>(i);
        sx += x;
        sy += y[i];
        sxx += x * x;
        sxy += x * y[i];
    }
    return (n * sxy - sx * sy) / (n * sxx - sx * sx) / messagesPerStep * 1000;
}

} // namespace

// FERROW_WSPROXY_HOUR=1 in the environment makes it the whole hour.
TEST(WsProxyHour, FramesReplayedFastDoNotMakeTheMemoryGrow) {
    const int count = std::getenv("FERROW_WSPROXY_HOUR") != nullptr ? kHour : kUsual;
    test::startRuntime();
    ProxyServer server;
    auto radio = std::make_shared<WsProxyRadio>(rootSyncTask);
    test::onContext(radio, [&] {
        radio->URI.setFromHost(server.uri());
        radio->start();
    });
    ASSERT_TRUE(server.waitFor(1));
    std::shared_ptr<vtrx> transceiver;
    test::onContext(radio, [&] {
        transceiver = radio->vtrxs.at(0);
        transceiver->vfo.setFromHost(7100000);
    });
    test::onContext(transceiver, [&] {
        transceiver->muted.setFromHost(true);
        transceiver->setModulation(std::make_shared<ssbModDemod>(rootSyncTask));
        transceiver->start();
    });
    // Numbered by their frequency, so that the last one can be waited for.
    std::string frame = ProxyServer::block(7100000, 0.1, 0.1);
    std::vector<double> memory;
    const auto began = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        if (i % (count / kSamples) == 0) {
            pumpUpdates();
            memory.push_back(residentMegabytes());
        }
        const double frequency = 7100000 + i % 1000;
        std::memcpy(&frame[5], &frequency, sizeof frequency);
        server.sendBinary(frame);
    }
    const double last = 7200000;
    std::memcpy(&frame[5], &last, sizeof last);
    EXPECT_TRUE(ProxyServer::eventually([&] {
        // A full queue loses what came last.
        server.sendBinary(frame);
        bool arrived = false;
        test::onContext(radio, [&] { arrived = radio->hwReceivers[0].frequency == 7200000; });
        return arrived;
    }));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    // The first quarter fills caches, queues and the pool of buffers.
    memory.erase(memory.begin(), memory.begin() + kSamples / 4);
    const double growth = slope(memory, count / kSamples);
    std::printf("%d messages in %.1f s (%.0f times real time), %+.4f MB a thousand messages; resident, MB:",
                count, seconds, count * 512 / 48000.0 / seconds, growth);
    for (std::size_t i = 0; i < memory.size(); i += 5)
        std::printf(" %.1f", memory[i]);
    std::printf("\n");
    EXPECT_EQ(server.connections, 1) << "nothing broke on the way";
    // A message is 8.2 kB and a chunk 4.1: one lost message in a hundred would show as 0.12. Over the short
    // run the last buffers of the pools are made.
    if (!kSanitized) { // whose own memory grows
        EXPECT_LT(growth, count == kHour ? 0.03 : 0.06);
    }
    server.drop();
    radio.reset();
}

} // namespace ferrow
