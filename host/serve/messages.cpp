#include "host/serve/messages.hpp"

#include <chrono>
#include <cmath>

namespace ferrow::serve {

std::string textOf(const nlohmann::json& message) {
    return message.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string utf8OfLatin1(std::string_view text) {
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            out += c;
        } else {
            out += static_cast<char>(0xC0 | (byte >> 6));
            out += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return out;
}

std::string errorText(std::string_view about, std::string_view text) {
    return textOf({{"is", "error"}, {"about", about}, {"text", text}});
}

double epochMs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::floor(std::chrono::duration<double, std::milli>(now).count());
}

double rounded(double value) {
    return std::round(10 * value) / 10;
}

} // namespace ferrow::serve
