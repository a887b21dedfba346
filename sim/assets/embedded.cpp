#include "sim/assets/embedded.hpp"

// The assembler lays the files into the read-only data.
#define EMBED(symbol, path)                                                                                  \
    asm(".section .rodata\n"                                                                                 \
        ".balign 16\n" #symbol "_begin:\n"                                                                   \
        ".incbin \"" path "\"\n" #symbol "_end:\n"                                                           \
        ".byte 0\n"                                                                                          \
        ".balign 16\n"                                                                                       \
        ".previous\n");                                                                                      \
    extern "C" __attribute__((visibility("hidden"))) const std::uint8_t symbol##_begin[], symbol##_end[]

EMBED(ferrow_sim_speech, FERROW_SIM_SPEECH);
EMBED(ferrow_sim_scene, FERROW_SIM_SCENE);

namespace ferrow::sim {

std::span<const std::uint8_t> embeddedSpeech() {
    return {ferrow_sim_speech_begin, ferrow_sim_speech_end};
}

std::string_view embeddedScene() {
    return {reinterpret_cast<const char*>(ferrow_sim_scene_begin),
            static_cast<std::size_t>(ferrow_sim_scene_end - ferrow_sim_scene_begin)};
}

} // namespace ferrow::sim
