#include "sim/sdrplay/call_log.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace ferrow::sim::rsp {
namespace {

constexpr std::array<const char*, FunctionCount> kNames = {
    "Open",         "Close",         "ApiVersion",      "LockDeviceApi", "UnlockDeviceApi", "GetDevices",
    "SelectDevice", "ReleaseDevice", "GetDeviceParams", "Init",          "Uninit",          "Update"};

nlohmann::json toJson(const ChannelT& channel) {
    return {{"rf_hz", channel.rfHz},
            {"bandwidth_khz", channel.bwType},
            {"if_khz", channel.ifType},
            {"lna_state", channel.LNAstate},
            {"if_reduction_db", channel.gRdB},
            {"decimation", channel.decimationEnable != 0 ? channel.decimationFactor : 1}};
}

} // namespace

CallLog::CallLog() {
    const char* path = std::getenv("FERROW_STANDIN_RECORD");
    if (path == nullptr || *path == 0)
        return;
    file_ = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file_ < 0)
        std::fprintf(stderr, "FERROW_STANDIN_RECORD: cannot write %s\n", path);
}

CallLog::~CallLog() {
    if (file_ >= 0)
        close(file_);
}

void CallLog::append(std::string line) {
    line += '\n';
    if (::write(file_, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        std::fprintf(stderr, "FERROW_STANDIN_RECORD: a line is lost\n");
}

void CallLog::write(const Call& call) {
    if (file_ < 0)
        return;
    nlohmann::json line = {{"call", kNames[static_cast<std::size_t>(call.function)]},
                           {"result", call.result}};
    if (call.function == SelectDevice || call.function == ReleaseDevice)
        line["device"] = {
            {"serial", std::string(call.device.SerNo, strnlen(call.device.SerNo, sizeof call.device.SerNo))},
            {"tuner", call.device.tuner},
            {"mode", call.device.rspDuoMode}};
    if (call.function == Update) {
        line["tuner"] = call.tuner;
        line["reason"] = call.reason;
        line["extension"] = call.extension;
    }
    if (call.function == Update || call.function == Init) {
        line["fs_hz"] = call.dev.fsHz;
        line["a"] = toJson(call.a);
        line["b"] = toJson(call.b);
    }
    append(line.dump());
}

void CallLog::write(const Stream& stream) {
    if (file_ < 0)
        return;
    append(nlohmann::json{{"stream",
                           {{"seconds", stream.seconds},
                            {"rate", stream.rate},
                            {"samples", stream.samples},
                            {"callbacks", stream.callbacks},
                            {"gain_events", stream.gainEvents},
                            {"overloads", stream.overloads},
                            {"cpu_s", stream.cpuSeconds},
                            {"latest_ms", stream.latestMs}}}}
               .dump());
}

} // namespace ferrow::sim::rsp
