#include "host/terminal_keys.hpp"

#include <poll.h>
#include <unistd.h>

namespace ferrow {

bool TerminalKeys::there() {
    return isatty(STDIN_FILENO) == 1;
}

TerminalKeys::TerminalKeys() {
    tcgetattr(STDIN_FILENO, &before_);
    termios raw = before_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
}

TerminalKeys::~TerminalKeys() {
    tcsetattr(STDIN_FILENO, TCSANOW, &before_);
}

std::optional<char> TerminalKeys::take() const {
    pollfd waiting{STDIN_FILENO, POLLIN, 0};
    char key = 0;
    if (poll(&waiting, 1, 0) > 0 && (waiting.revents & POLLIN) && read(STDIN_FILENO, &key, 1) == 1)
        return key;
    return std::nullopt;
}

} // namespace ferrow
