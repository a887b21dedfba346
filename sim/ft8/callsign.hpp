#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Call signs as numbers, in the forms of the 77-bit messages. Texts are upper case.
namespace ferrow::sim {

/// True for calls of the six-character form: a prefix, the area digit in third (or, after a missing first
/// character, second) place, one to three letters.
bool isStandardCall(std::string_view call);

/// 28-bit number of a standard call, or of `<call>` as a 22-bit hash. Nothing for any other word.
std::optional<std::uint32_t> packCall28(std::string_view word);

/// 58-bit number of a call of up to 11 characters A-Z 0-9 /.
std::optional<std::uint64_t> packCall58(std::string_view call);

/// Hash of a call, without brackets, to 22, 12 or 10 bits.
std::uint32_t hashCall(std::string_view call, int bits);

bool isBracketed(std::string_view word);
/// The word without its < >.
std::string_view bare(std::string_view word);

inline constexpr std::uint32_t kTokens = 2063592; ///< below: DE, QRZ, CQ and its kin
inline constexpr std::uint32_t kHashes = 4194304;

} // namespace ferrow::sim
