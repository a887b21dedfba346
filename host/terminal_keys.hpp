// Single keys from the terminal.
#pragma once

#include <optional>
#include <termios.h>

namespace ferrow {

// While it lives, keys arrive one by one and unseen on stdin; Ctrl-C stays Ctrl-C.
class TerminalKeys {
public:
    // Whether stdin is a terminal.
    static bool there();

    TerminalKeys();
    ~TerminalKeys();
    TerminalKeys(const TerminalKeys&) = delete;
    TerminalKeys& operator=(const TerminalKeys&) = delete;

    // A key that waits.
    std::optional<char> take() const;

private:
    termios before_{};
};

} // namespace ferrow
