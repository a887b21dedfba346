// A CW mode on a transceiver, and its keying measured.
#pragma once

#include "modes/cw_mod_demod.hpp"
#include "tests/modes/mode_fixture.hpp"

namespace ferrow::test {
inline void onSent(const char* text) {
    sentText += text;
}
inline void onHeard(const char* text) {
    heardText += text;
}

struct Element {
    bool mark;
    std::size_t length;
};

// Marks and spaces of a keyed carrier; edges where the level is above half. Half the ramp and one sample are
// missing at either end of a mark.
inline constexpr std::size_t kHidden = 129;
inline std::vector<Element> elements(const Signal& signal) {
    std::vector<Element> out;
    for (const auto& sample : signal) {
        const bool mark = std::abs(sample) > 0.475;
        if (out.empty() || out.back().mark != mark)
            out.push_back({mark, 0});
        ++out.back().length;
    }
    return out;
}

class CwTest : public ModeTest {
protected:
    std::shared_ptr<cwModDemod> mode;

    void SetUp() override {
        mode = use<cwModDemod>();
        mode->sentChars.bind(onSent, mode.get());
        mode->newChars.bind(onHeard, mode.get());
    }

    Sidetone& tone() { return t->sidetone(); }

    // Past the gap that a transmission begins with.
    void skipGap() { pull(*mode, static_cast<std::size_t>(5 * static_cast<int>(57600 / mode->wpm.value()))); }

    // Pulls until ptt goes off; returns the samples pulled.
    std::size_t pullUntilOff(std::size_t block, std::size_t most) {
        std::size_t count = 0;
        while (onAir() && count < most) {
            pull(*mode, block, block);
            count += block;
            settle(t->context());
        }
        return count;
    }
};

} // namespace ferrow::test
