// A scene file of the simulated radio.
#include "sim/scene/scene.hpp"
#include "fuzz/fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ferrow::sim;
    try {
        parseScene({reinterpret_cast<const char*>(data), size}, "/nonexistent");
    } catch (const SceneError&) { // told to the user
    }
    return 0;
}
