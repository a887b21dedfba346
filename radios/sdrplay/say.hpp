// Remarks for whoever watches the program. Through std::cout, which a host may turn elsewhere.
#pragma once

#include <iostream>
#include <string>

namespace ferrow::sdrplay {

// In one piece, so that remarks of several threads do not mix.
inline void say(const std::string& text) {
    std::cout << text << std::flush;
}

} // namespace ferrow::sdrplay
