// Callsigns in FT8 and FT4 messages: the packed forms, and the hashes that stand for calls too long to send
// twice.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ferrow {

// 22-bit hash of a call, written without < >. The 12- and 10-bit hashes are its top bits.
std::uint32_t callHash22(std::string_view call);
inline std::uint32_t callHash12(std::string_view call) {
    return callHash22(call) >> 10;
}
inline std::uint32_t callHash10(std::string_view call) {
    return callHash22(call) >> 12;
}

// Full calls by their hashes. A hash can't be undone: what was heard in full is all that can be shown. Not
// safe for use from several threads at once.
class CallTable {
public:
    // Enters a call under all three widths; the newest entry of a hash wins. Calls of fewer than 3 or more
    // than 11 characters, or with characters that no call has, are ignored.
    void add(std::string_view call);

    // "<CALL>", or "<...>" where the hash is unknown.
    std::string show22(std::uint32_t hash) const { return show(by22, hash); }
    std::string show12(std::uint32_t hash) const { return show(by12, hash); }
    std::string show10(std::uint32_t hash) const { return show(by10, hash); }

private:
    using Calls = std::unordered_map<std::uint32_t, std::string>;
    static std::string show(const Calls& calls, std::uint32_t hash);

    Calls by22, by12, by10;
};

enum class CallKind {
    Cq,       // CQ, CQ 123, CQ TEST
    Token,    // DE, QRZ
    Hashed,   // <CALL> or <...>
    Standard, // six characters with the area digit in the third place
};

struct Call {
    CallKind kind;
    std::string text;
};

// A 28-bit call field; nothing where no sender makes such a value.
std::optional<Call> call28(std::uint32_t value, const CallTable& table);

// A 58-bit call field: up to 11 characters.
std::optional<std::string> call58(std::uint64_t value);

// The inverse: the 28-bit field of CQ, CQ 123, CQ TEST, DE or QRZ; of a standard call without /R or /P; and
// of any call by its hash. Nothing for a text that is none.
std::optional<std::uint32_t> packToken(std::string_view text);
std::optional<std::uint32_t> packStandardCall(std::string_view call);
std::uint32_t packHashedCall(std::string_view call);

// The 58-bit field of a call of up to 11 characters; nothing for a longer one, or other characters.
std::optional<std::uint64_t> packCall58(std::string_view call);

} // namespace ferrow
