#include "radios/hpsdr/i2c_queue.hpp"

#include <climits>

namespace ferrow {

namespace {

constexpr int kShortGap = 4;
constexpr int kStoreGap = 40; // a write to lasting memory takes its time

int byteOf(std::uint32_t value, int shift) {
    return static_cast<int>(value >> shift & 0xFF);
}

} // namespace

std::uint8_t i2cDevice(int fwVersion) {
    return fwVersion < 60 ? 0xA8 : 0xAC;
}

std::uint8_t biasValue(int bias, int fwVersion) {
    return static_cast<std::uint8_t>(fwVersion >= 60 ? bias : ~bias);
}

void I2cQueue::add(std::uint8_t device, int registerC3, int data, int gap) {
    entries.push_back({device, static_cast<std::uint8_t>(registerC3), static_cast<std::uint8_t>(data), gap});
}

void I2cQueue::setBias0(int bias, int fwVersion) {
    add(i2cDevice(fwVersion), 0x00, biasValue(bias, fwVersion), kShortGap);
}

void I2cQueue::setBias1(int bias, int fwVersion) {
    add(i2cDevice(fwVersion), 0x10, biasValue(bias, fwVersion), kShortGap);
}

void I2cQueue::setExternalBias(int bias) {
    add(kI2cExternalBias, 0x00, bias, kShortGap);
}

void I2cQueue::writeBias(int bias0, int bias1, int fwVersion) {
    add(i2cDevice(fwVersion), 0x20, biasValue(bias0, fwVersion), kStoreGap);
    add(i2cDevice(fwVersion), 0x30, biasValue(bias1, fwVersion), kStoreGap);
}

void I2cQueue::writeExternalBias(int bias) {
    add(kI2cExternalBias, 0x20, bias, kStoreGap);
}

void I2cQueue::writeStatus(std::uint32_t value, int fwVersion) {
    add(i2cDevice(fwVersion), 0x60, byteOf(value, 0), kStoreGap);
}

void I2cQueue::writeIP(std::uint32_t value, int fwVersion) {
    for (int i = 0; i < 4; ++i)
        add(i2cDevice(fwVersion), 0x80 + 0x10 * i, byteOf(value, 24 - 8 * i), kStoreGap);
}

void I2cQueue::writeMac(std::uint32_t value, int fwVersion) {
    add(i2cDevice(fwVersion), 0xC0, byteOf(value, 8), kStoreGap);
    add(i2cDevice(fwVersion), 0xD0, byteOf(value, 0), kStoreGap);
}

std::optional<ControlWords> I2cQueue::nextFrame(bool ptt) {
    if (framesSinceI2c < INT_MAX)
        ++framesSinceI2c;
    if (entries.empty() || framesSinceI2c <= i2cGap)
        return std::nullopt;
    framesSinceI2c = 0;
    const I2cEntry entry = entries.front();
    entries.pop_front();
    i2cGap = entry.gap;
    return ControlWords{static_cast<std::uint8_t>(ptt ? 0xFB : 0xFA), 0x06, entry.device, entry.registerC3,
                        entry.data};
}

} // namespace ferrow
