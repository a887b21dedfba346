#include "radios/wsproxy/proxy_messages.hpp"

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace ferrow {

namespace {

constexpr int kDeepest = 64; // the parser takes a frame of the stack for each level

void refuseDeepNesting(std::string_view text) {
    int depth = 0;
    for (const char c : text) {
        depth += c == '[' || c == '{' ? 1 : c == ']' || c == '}' ? -1 : 0;
        if (depth > kDeepest)
            throw std::runtime_error("JSON is nested too deeply");
    }
}

double doubleAt(std::span<const std::uint8_t> message, std::size_t offset) {
    double value;
    std::memcpy(&value, message.data() + offset, sizeof value);
    return value;
}

} // namespace

std::string addReceiverMessage(int id) {
    return fmt::format(R"({{"cmd":"addReceiver","ID":{}}})", id);
}

std::string subscribeMessage(int receiver) {
    return fmt::format(R"({{"cmd":"subscribeToIQ","RxID":{},"Enable":true}})", receiver);
}

std::string setFrequencyMessage(int receiver, long long frequency) {
    return fmt::format(R"({{"cmd":"setFrequency","ID":{},"Frequency":{}}})", receiver, frequency);
}

std::optional<int> addedReceiver(std::string_view text) {
    refuseDeepNesting(text);
    std::istringstream stream{std::string(text)};
    boost::property_tree::ptree tree;
    boost::property_tree::read_json(stream, tree);
    if (tree.get<std::string>("cmd") != "addReceiverResponse")
        return std::nullopt;
    return tree.get<int>("ID");
}

std::optional<ProxyBlock> readProxyBlock(std::span<const std::uint8_t> message) {
    if (message.size() != kProxyBlockSize || message[0] != kProxyBlockKind)
        return std::nullopt;
    ProxyBlock block{doubleAt(message, 5), buff<std::complex<float>>(kProxySamples)};
    for (std::size_t i = 0; i < kProxySamples; ++i)
        block.samples[i] = {static_cast<float>(doubleAt(message, 17 + 16 * i)),
                            static_cast<float>(doubleAt(message, 25 + 16 * i))};
    return block;
}

} // namespace ferrow
