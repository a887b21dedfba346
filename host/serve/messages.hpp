// The texts that the server sends.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace ferrow::serve {

// As a text of the websocket. Strings that are no UTF-8 are mended.
std::string textOf(const nlohmann::json& message);

// Characters of 8 bits, as the library's text modes have them.
std::string utf8OfLatin1(std::string_view text);

// {"is":"error",...}
std::string errorText(std::string_view about, std::string_view text);

// Milliseconds of UTC.
double epochMs();

// To a tenth.
double rounded(double value);

} // namespace ferrow::serve
