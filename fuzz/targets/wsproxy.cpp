// Messages of a websocket proxy's server: the lowest bit of the first byte tells text from binary, the rest
// is the message.
#include "core/tasks/runtime.hpp"
#include "fuzz/fuzz.hpp"
#include "radios/wsproxy/ws_proxy_radio.hpp"

#include <exception>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow;
    fuzz::startLibrary();
    fuzz::Input input(data, size);
    const auto radio = std::make_shared<WsProxyRadio>(rootSyncTask);
    const bool text = (input.byte() & 1) != 0;
    try {
        radio->takeMessage(text, input.rest());
    } catch (const std::exception&) { // ends the connection
    }
    fuzz::settle(*radio);
    fuzz::pumpLibrary();
    return 0;
}
