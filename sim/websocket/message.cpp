#include "sim/websocket/message.hpp"

#include <bit>
#include <nlohmann/json.hpp>

namespace ferrow::sim::proxy {
namespace {

template <typename Word>
void append(std::string& out, Word word) {
    for (std::size_t i = 0; i < sizeof word; ++i)
        out += static_cast<char>(word >> (8 * i));
}

void append(std::string& out, double value) {
    append(out, std::bit_cast<std::uint64_t>(value));
}

} // namespace

std::string blockMessage(int receiver, double frequency, std::uint32_t number,
                         std::span<const Cfloat> samples) {
    std::string out;
    out.reserve(kBlockBytes);
    out += static_cast<char>(kBlockKind);
    append(out, static_cast<std::uint32_t>(receiver));
    append(out, frequency);
    append(out, number);
    for (const Cfloat& sample : samples) {
        append(out, static_cast<double>(sample.real()));
        append(out, static_cast<double>(sample.imag()));
    }
    return out;
}

std::string addedMessage(int receiver) {
    return R"({"cmd":"addReceiverResponse","ID":)" + std::to_string(receiver) + "}";
}

std::optional<Request> readRequest(std::string_view text) {
    try {
        const auto json = nlohmann::json::parse(text);
        const std::string command = json.at("cmd").get<std::string>();
        Request request;
        if (command == "addReceiver") {
            request.kind = Request::Kind::AddReceiver;
            request.id = json.at("ID").get<int>();
        } else if (command == "subscribeToIQ") {
            request.kind = Request::Kind::Subscribe;
            request.id = json.at("RxID").get<int>();
            request.enable = json.at("Enable").get<bool>();
        } else if (command == "setFrequency") {
            request.kind = Request::Kind::SetFrequency;
            request.id = json.at("ID").get<int>();
            request.frequency = json.at("Frequency").get<double>();
        }
        return request;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

} // namespace ferrow::sim::proxy
