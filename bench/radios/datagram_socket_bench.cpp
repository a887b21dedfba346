// What a received packet costs in the transport, by the number that one system call takes.
#include "radios/transport/datagram_socket.hpp"

#include <arpa/inet.h>
#include <array>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace ferrow;

void receiveAndRelease(benchmark::State& state) {
    const int radio = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(radio, reinterpret_cast<sockaddr*>(&own), sizeof own) != 0)
        return state.SkipWithError("bind");
    socklen_t length = sizeof own;
    getsockname(radio, reinterpret_cast<sockaddr*>(&own), &length);
    DatagramSocket link;
    link.remotePort = ntohs(own.sin_port);
    if (link.openConnected(own.sin_addr.s_addr, 512) != 0)
        return state.SkipWithError("open");
    sockaddr_in to = own;
    to.sin_port = htons(link.localPort());
    const std::array<std::uint8_t, 1032> packet{};
    const int batch = static_cast<int>(state.range(0));
    constexpr int kRound = 64;
    for (auto _ : state) {
        state.PauseTiming();
        for (int i = 0; i < kRound; ++i)
            sendto(radio, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
        state.ResumeTiming();
        for (int i = 0; i < kRound; ++i) {
            const int slot = link.receive(batch);
            if (slot < 0)
                return state.SkipWithError("lost");
            benchmark::DoNotOptimize(link.rxData(slot));
            link.release(slot);
        }
    }
    state.SetItemsProcessed(state.iterations() * kRound);
    close(radio);
}
BENCHMARK(receiveAndRelease)->Arg(1)->Arg(8)->Arg(32);

} // namespace
