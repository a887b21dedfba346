// A radio object of the library with a peer that plays the hardware, byte by byte and with wire code of its
// own.
#pragma once

#include "core/tasks/runtime.hpp"
#include "radios/hpsdr/hpsdr_radio.hpp"
#include "tests/radios/log_capture.hpp"
#include "tests/radios/udp_peer.hpp"
#include "trx/vtrx.hpp"

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace ferrow::test {

using Packet = std::vector<std::uint8_t>;

// Starts the runtime, once per process.
inline void startRuntime() {
    LogCapture::opener() = [](const char* path) { initRuntime(path, 0); };
    LogCapture warm;
}

// A loopback address of this process's own, so that programs can run side by side on port 1024, and another one
// at each call, so that nothing from the radio before arrives.
inline std::string ownAddress() {
    static int calls = 0;
    const int pid = getpid();
    return "127." + std::to_string(128 + calls++ % 100) + "." + std::to_string(pid >> 8 & 255) + "." +
           std::to_string(pid & 255);
}

// Runs `work` on the object's context and waits for it.
inline void onContext(const std::shared_ptr<asyncObject>& object, std::function<void()> work) {
    auto done = std::make_shared<std::promise<void>>();
    auto shared = std::make_shared<std::function<void()>>(std::move(work));
    object->queueSeqItem(seqTask("test", [done, shared] {
        (*shared)();
        done->set_value();
    }));
    done->get_future().wait();
}

// One receive packet of endpoint 6: both frames with the same control bytes, and value(receiver, record) as I
// and Q.
struct ReceivePacket {
    std::uint32_t sequence = 0;
    int receivers = 1;
    int control[5] = {0, 0, 0, 0, 0};
    int sync = 0x7F;
    std::function<std::pair<int, int>(int receiver, int record)> value = [](int, int) {
        return std::pair{0, 0};
    };

    Packet bytes() const {
        Packet packet(1032, 0);
        packet[0] = 0xEF;
        packet[1] = 0xFE;
        packet[2] = 1;
        packet[3] = 6;
        for (std::size_t i = 0; i < 4; ++i)
            packet[4 + i] = static_cast<std::uint8_t>(sequence >> (24 - 8 * i));
        const int stride = 6 * receivers + 2;
        for (int half = 0; half < 2; ++half) {
            const std::size_t at = half == 0 ? 8 : 520;
            packet[at] = packet[at + 1] = 0x7F;
            packet[at + 2] = static_cast<std::uint8_t>(sync);
            for (std::size_t i = 0; i < 5; ++i)
                packet[at + 3 + i] = static_cast<std::uint8_t>(control[i]);
            for (int k = 0; k < 504 / stride; ++k)
                for (int r = 0; r < receivers; ++r) {
                    const auto [re, im] = value(r, half * (504 / stride) + k);
                    const std::size_t spot = at + 8 + static_cast<std::size_t>(k * stride + 6 * r);
                    for (std::size_t b = 0; b < 3; ++b) {
                        packet[spot + b] = static_cast<std::uint8_t>(re >> (16 - 8 * b));
                        packet[spot + 3 + b] = static_cast<std::uint8_t>(im >> (16 - 8 * b));
                    }
                }
        }
        return packet;
    }
};

struct Bench {
    std::string address = ownAddress();
    UdpPeer peer{address.c_str(), 1024};
    std::shared_ptr<HpsdrRadio> radio;

    Bench() {
        startRuntime();
        radio = std::make_shared<HpsdrRadio>(rootSyncTask);
        on([this] { radio->ipAddress.setFromHost(address); });
    }

    void on(std::function<void()> work) { onContext(radio, std::move(work)); }
    void start() {
        on([this] { radio->start(); });
    }
    void stop() {
        on([this] { radio->stop(); });
    }

    // Everything that has come from the radio object until it is quiet for a while.
    std::vector<Packet> drain(int quietMilliseconds = 60) {
        std::vector<Packet> all;
        while (auto packet = peer.receive(quietMilliseconds))
            all.push_back(*packet);
        return all;
    }

    // Waits for `count` packets, and a moment longer for what should not come.
    std::vector<Packet> take(std::size_t count) {
        std::vector<Packet> all;
        while (all.size() < count) {
            auto packet = peer.receive(2000);
            if (!packet)
                return all;
            all.push_back(*packet);
        }
        for (auto& more : drain(30))
            all.push_back(more);
        return all;
    }

    // Starts and takes the start's own packets away.
    void run() {
        start();
        const auto first = take(11);
        ASSERT_EQ(first.size(), 11u);
    }

    void send(const Packet& packet) { peer.reply(packet); }

    bool eventually(const std::function<bool()>& condition, int milliseconds = 3000) {
        for (int i = 0; i < milliseconds; ++i) {
            bool holds = false;
            on([&] { holds = condition(); });
            if (holds)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }
};

// Sends packets of the given layout in sequence, slowly enough for one comms round each.
struct Stream {
    Bench& bench;
    std::uint32_t next = 0;
    ReceivePacket like{};

    void send(int count) {
        for (int i = 0; i < count; ++i) {
            like.sequence = next++;
            bench.send(like.bytes());
            if (i % 16 == 15)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
};

inline bool isData(const Packet& packet) {
    return packet.size() == 1032 && packet[0] == 0xEF && packet[1] == 0xFE && packet[2] == 1 &&
           packet[3] == 2;
}
inline bool isCommand(const Packet& packet, int command) {
    return packet.size() == 64 && packet[0] == 0xEF && packet[1] == 0xFE && packet[2] == 4 &&
           packet[3] == command;
}
inline std::uint32_t sequenceOf(const Packet& packet) {
    return static_cast<std::uint32_t>(packet[4]) << 24 | static_cast<std::uint32_t>(packet[5]) << 16 |
           static_cast<std::uint32_t>(packet[6]) << 8 | packet[7];
}
// C0 to C4 of frame 0 or 1.
inline int control(const Packet& packet, int frame, int index) {
    return packet[static_cast<std::size_t>((frame == 0 ? 8 : 520) + 3 + index)];
}
inline std::pair<int, int> banksOf(const Packet& packet) {
    return {control(packet, 0, 0) >> 1, control(packet, 1, 0) >> 1};
}

} // namespace ferrow::test
