// What a proxy server and its client say to each other: JSON as text, samples as binary messages.
#pragma once

#include "core/buff/buff.hpp"

#include <complex>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ferrow {

std::string addReceiverMessage(int id);
std::string subscribeMessage(int receiver);
std::string setFrequencyMessage(int receiver, long long frequency);

// The number of the receiver, from the answer to addReceiver; nothing from other messages. What is no JSON,
// or lacks "cmd" or its "ID", raises an exception, and so does nesting beyond 64 levels.
std::optional<int> addedReceiver(std::string_view text);

struct ProxyBlock {
    double frequency; // centre, Hz, as the server wrote it
    buff<std::complex<float>> samples;
};

inline constexpr std::size_t kProxyBlockSize = 8209; // bytes
inline constexpr std::size_t kProxySamples = 512;
inline constexpr std::uint8_t kProxyBlockKind = 3;

// Nothing from a message of another size or kind. Byte 0 kind; 5 frequency, a double; 17 pairs of doubles, I
// and Q; all little-endian.
std::optional<ProxyBlock> readProxyBlock(std::span<const std::uint8_t> message);

} // namespace ferrow
