#include "sim/radio/faults.hpp"

#include "sim/sky/noise.hpp"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace ferrow::sim {
namespace {

constexpr std::array<const char*, kFaultKinds> kNames = {
    "loss", "duplicate", "reorder", "jitter", "stall", "restart", "garbage", "wrong-endpoint", "short"};

FaultKind kindOf(const std::string& name) {
    for (std::size_t i = 0; i < kNames.size(); ++i)
        if (name == kNames[i])
            return static_cast<FaultKind>(i);
    std::string known;
    for (const char* one : kNames)
        known += std::string(known.empty() ? "" : ", ") + one;
    throw std::invalid_argument("unknown fault \"" + name + "\" (known: " + known + ")");
}

double number(const std::string& key, const std::string& value) {
    std::size_t used = 0;
    double result = 0.0;
    try {
        result = std::stod(value, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != value.size())
        throw std::invalid_argument("fault key " + key + ": \"" + value + "\" is no number");
    return result;
}

void setKey(FaultSpec& fault, const std::string& key, double value) {
    const auto within = [&](double low, double high) {
        if (!(value >= low && value <= high))
            throw std::invalid_argument("fault key " + key + ": value out of range");
        return value;
    };
    if (key == "p")
        fault.probability = within(0.0, 1.0);
    else if (key == "every")
        fault.every = static_cast<std::int64_t>(within(1.0, 1e12));
    else if (key == "start")
        fault.start = within(0.0, 1e18);
    else if (key == "end")
        fault.end = within(0.0, 1e18);
    else if (key == "ms")
        fault.milliseconds = within(0.0, 1e6);
    else if (key == "depth")
        fault.depth = static_cast<int>(within(1.0, 1000.0));
    else if (key == "bytes")
        fault.bytes = static_cast<int>(within(0.0, sizeof(Datagram::bytes)));
    else if (key == "endpoint")
        fault.endpoint = static_cast<int>(within(0.0, 255.0));
    else if (key == "drop")
        fault.drop = within(0.0, 1.0) != 0.0;
    else
        throw std::invalid_argument("unknown fault key \"" + key + "\"");
}

} // namespace

const char* nameOf(FaultKind kind) {
    return kNames[static_cast<std::size_t>(kind)];
}

nlohmann::json countsByName(const FaultCounts& counts) {
    nlohmann::json named;
    for (std::size_t i = 0; i < counts.size(); ++i)
        named[nameOf(static_cast<FaultKind>(i))] = counts[i];
    return named;
}

FaultSpec parseFault(const std::string& text) {
    FaultSpec fault;
    const auto colon = text.find(':');
    fault.kind = kindOf(text.substr(0, colon));
    std::string rest = colon == std::string::npos ? "" : text.substr(colon + 1);
    while (!rest.empty()) {
        const auto comma = rest.find(',');
        const std::string item = rest.substr(0, comma);
        rest = comma == std::string::npos ? "" : rest.substr(comma + 1);
        const auto equals = item.find('=');
        if (equals == std::string::npos)
            throw std::invalid_argument("fault \"" + text + "\": \"" + item + "\" is not key=value");
        const std::string key = item.substr(0, equals);
        setKey(fault, key, number(key, item.substr(equals + 1)));
    }
    return fault;
}

FaultInjector::FaultInjector(std::vector<FaultSpec> faults, std::uint64_t seed, PacketForm form)
    : faults_(std::move(faults)), struck_(faults_.size(), false), seed_(seed), form_(form) {}

void FaultInjector::restart() {
    queue_.clear();
    held_.clear();
    std::fill(struck_.begin(), struck_.end(), false);
    sequenceBase_ = 0;
    stallUntil_ = 0;
    lastRelease_ = 0;
}

double FaultInjector::uniform(std::size_t fault, std::int64_t index, std::uint64_t salt) const {
    const std::uint64_t h = hashOf(hashOf(seed_ + salt, fault), static_cast<std::uint64_t>(index));
    return static_cast<double>(h >> 11) * 0x1p-53;
}

bool FaultInjector::strikes(std::size_t fault, std::int64_t index, double seconds) {
    const FaultSpec& spec = faults_[fault];
    if (seconds < spec.start || seconds >= spec.end)
        return false;
    if (spec.every > 0)
        return (index + 1) % spec.every == 0;
    if (spec.probability > 0.0)
        return uniform(fault, index, 0) < spec.probability;
    if (spec.kind == FaultKind::Stall || spec.kind == FaultKind::Restart) {
        const bool first = !struck_[fault];
        struck_[fault] = true;
        return first;
    }
    return true;
}

/// The datagram in the queue, or none if a stall swallowed it.
Datagram* FaultInjector::push(std::span<const std::uint8_t> bytes, std::int64_t dueNs, bool stream) {
    if (dueNs < stallUntil_) {
        if (stallDrops_)
            return nullptr;
        dueNs = stallUntil_;
    }
    Datagram& out = queue_.emplace_back();
    out.size = static_cast<int>(std::min(bytes.size(), out.bytes.size()));
    std::copy_n(bytes.begin(), out.size, out.bytes.begin());
    lastRelease_ = std::max(lastRelease_, dueNs);
    out.releaseNs = lastRelease_;
    out.stream = stream;
    return &out;
}

void FaultInjector::passPlain(std::span<const std::uint8_t> packet, std::int64_t dueNs, std::uint16_t port) {
    if (Datagram* const out = push(packet, dueNs, false))
        out->port = port;
}

void FaultInjector::pass(std::span<const std::uint8_t> packet, std::int64_t index, double seconds,
                         std::int64_t dueNs) {
    if (faults_.empty()) {
        push(packet, dueNs, true);
        return;
    }
    std::array<std::uint8_t, sizeof(Datagram::bytes)> bytes;
    std::copy(packet.begin(), packet.end(), bytes.begin());
    std::size_t size = packet.size();
    bool lost = false;
    int copies = 1;
    int depth = 0;
    for (std::size_t f = 0; f < faults_.size(); ++f) {
        const FaultSpec& spec = faults_[f];
        if (!strikes(f, index, seconds))
            continue;
        ++counts_[static_cast<std::size_t>(spec.kind)];
        switch (spec.kind) {
        case FaultKind::Loss:
            lost = true;
            break;
        case FaultKind::Duplicate:
            ++copies;
            break;
        case FaultKind::Reorder:
            depth = std::max(depth, spec.depth);
            break;
        case FaultKind::Jitter:
            dueNs += static_cast<std::int64_t>(uniform(f, index, 1) * spec.milliseconds * 1e6);
            break;
        case FaultKind::Stall:
            stallUntil_ = std::max(stallUntil_, dueNs + static_cast<std::int64_t>(spec.milliseconds * 1e6));
            stallDrops_ = spec.drop;
            break;
        case FaultKind::Restart:
            sequenceBase_ = readBig32(packet.data() + form_.sequenceAt);
            break;
        case FaultKind::Garbage: {
            NoiseSource random(hashOf(seed_ ^ 0x6A5B, static_cast<std::uint64_t>(index)));
            std::array<std::uint8_t, 1472> junk;
            for (auto& byte : junk)
                byte = static_cast<std::uint8_t>(random.next());
            junk[2] = static_cast<std::uint8_t>(junk[2] | 0x80); // never a data packet by chance
            push({junk.data(), 1 + random.next() % junk.size()}, dueNs, false);
            break;
        }
        case FaultKind::WrongEndpoint: {
            Datagram* const stray = push(packet, dueNs, false);
            if (stray != nullptr && form_.endpointAt >= 0)
                stray->bytes[static_cast<std::size_t>(form_.endpointAt)] =
                    static_cast<std::uint8_t>(spec.endpoint);
            else if (stray != nullptr)
                stray->port = static_cast<std::uint16_t>(form_.strayPort + spec.endpoint);
            break;
        }
        case FaultKind::Short:
            size = std::min(packet.size(), static_cast<std::size_t>(spec.bytes));
            break;
        }
    }
    if (sequenceBase_ != 0)
        writeBig32(bytes.data() + form_.sequenceAt,
                   readBig32(packet.data() + form_.sequenceAt) - sequenceBase_);
    const std::span<const std::uint8_t> out{bytes.data(), size};
    if (!lost && depth > 0) {
        Held& held = held_.emplace_back();
        std::copy(out.begin(), out.end(), held.datagram.bytes.begin());
        held.datagram.size = static_cast<int>(size);
        held.overtaken = depth;
        return;
    }
    if (!lost)
        for (int i = 0; i < copies; ++i)
            push(out, dueNs, true);
    for (Held& held : held_)
        if (--held.overtaken == 0)
            push({held.datagram.bytes.data(), static_cast<std::size_t>(held.datagram.size)}, dueNs, true);
    std::erase_if(held_, [](const Held& held) { return held.overtaken <= 0; });
}

} // namespace ferrow::sim
