#include "radios/hpsdr/i2c_queue.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace ferrow {
namespace {

using Words = std::vector<std::array<int, 5>>;

// All entries with the number of frames since the one before.
struct Drained {
    Words words;
    std::vector<int> frames;
};

Drained drain(I2cQueue& queue, bool ptt = false) {
    Drained all;
    int since = 0;
    for (int frame = 0; frame < 1000; ++frame) {
        ++since;
        if (const auto entry = queue.nextFrame(ptt)) {
            all.words.push_back({(*entry)[0], (*entry)[1], (*entry)[2], (*entry)[3], (*entry)[4]});
            all.frames.push_back(since);
            since = 0;
        }
    }
    return all;
}

TEST(I2cQueue, EntriesOfOldFirmware) {
    I2cQueue queue;
    queue.setBias0(0x12, 59);
    queue.setBias1(0x34, 59);
    queue.setExternalBias(0x56);
    queue.writeBias(0x12, 0x34, 59);
    queue.writeExternalBias(0x78);
    queue.writeStatus(0xAABBCCDD, 59);
    queue.writeIP(0xC0A80132, 59);
    queue.writeMac(0x1234ABCD, 59);
    EXPECT_EQ(queue.size(), 13u);
    EXPECT_EQ(drain(queue).words, (Words{
                                      {0xFA, 0x06, 0xA8, 0x00, 0xED},
                                      {0xFA, 0x06, 0xA8, 0x10, 0xCB},
                                      {0xFA, 0x06, 0xAE, 0x00, 0x56},
                                      {0xFA, 0x06, 0xA8, 0x20, 0xED},
                                      {0xFA, 0x06, 0xA8, 0x30, 0xCB},
                                      {0xFA, 0x06, 0xAE, 0x20, 0x78},
                                      {0xFA, 0x06, 0xA8, 0x60, 0xDD},
                                      {0xFA, 0x06, 0xA8, 0x80, 0xC0},
                                      {0xFA, 0x06, 0xA8, 0x90, 0xA8},
                                      {0xFA, 0x06, 0xA8, 0xA0, 0x01},
                                      {0xFA, 0x06, 0xA8, 0xB0, 0x32},
                                      {0xFA, 0x06, 0xA8, 0xC0, 0xAB},
                                      {0xFA, 0x06, 0xA8, 0xD0, 0xCD},
                                  }));
}

TEST(I2cQueue, EntriesFromFirmware60On) {
    I2cQueue queue;
    queue.setBias0(0x12, 60);
    queue.setBias1(0x34, 72);
    queue.setExternalBias(0x56);
    queue.writeBias(0x12, 0x134, 60);
    queue.writeStatus(7, 60);
    EXPECT_EQ(drain(queue).words, (Words{
                                      {0xFA, 0x06, 0xAC, 0x00, 0x12},
                                      {0xFA, 0x06, 0xAC, 0x10, 0x34},
                                      {0xFA, 0x06, 0xAE, 0x00, 0x56},
                                      {0xFA, 0x06, 0xAC, 0x20, 0x12},
                                      {0xFA, 0x06, 0xAC, 0x30, 0x34},
                                      {0xFA, 0x06, 0xAC, 0x60, 0x07},
                                  }));
}

TEST(I2cQueue, GapsCountTheFramesThatPassBetween) {
    I2cQueue queue;
    queue.setBias0(1, 60);
    queue.setBias1(1, 60);
    queue.setExternalBias(1);
    queue.writeBias(1, 1, 60);
    queue.writeExternalBias(1);
    queue.writeStatus(1, 60);
    // The first goes at once. Behind a short gap four frames pass and the fifth carries the next entry.
    EXPECT_EQ(drain(queue).frames, (std::vector<int>{1, 5, 5, 5, 41, 41, 41}));
}

TEST(I2cQueue, ALongQuietQueueSendsAtOnceAgain) {
    I2cQueue queue;
    queue.writeStatus(1, 60);
    EXPECT_EQ(drain(queue).frames, (std::vector<int>{1}));
    queue.writeStatus(2, 60);
    EXPECT_EQ(drain(queue).frames, (std::vector<int>{1}));
}

TEST(I2cQueue, TheTransmitFlagChangesOnlyC0ToFB) {
    I2cQueue receive, transmit;
    for (I2cQueue* queue : {&receive, &transmit}) {
        queue->writeIP(0x01020304, 60);
        queue->setExternalBias(9);
    }
    const Words quiet = drain(receive, false).words;
    Words keyed = drain(transmit, true).words;
    ASSERT_EQ(keyed.size(), 5u);
    for (std::size_t i = 0; i < keyed.size(); ++i) {
        EXPECT_EQ(quiet[i][0], 0xFA);
        EXPECT_EQ(keyed[i][0], 0xFB);
        keyed[i][0] = 0xFA;
        EXPECT_EQ(keyed[i], quiet[i]);
    }
}

} // namespace
} // namespace ferrow
