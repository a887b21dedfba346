// A datagram of a logger's.
#include "fuzz/fuzz.hpp"
#include "host/neighbours/wsjtx_messages.hpp"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    const auto request = readWsjtxRequest({data, size}, "ferrow");
    if (!request)
        return 0;
    const auto* reply = std::get_if<WsjtxReply>(&*request);
    const auto* text = std::get_if<WsjtxFreeText>(&*request);
    // no text comes from beyond the datagram, no time from beyond the day
    if ((text && text->text.size() > size) ||
        (reply && (reply->decode.message.size() + reply->decode.mode.size() > size ||
                   reply->decode.time >= 86'400'000)))
        std::abort();
    return 0;
}
