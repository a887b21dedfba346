// Sends one of the standard streams away while it lives, for what the library and those below it write there.
#pragma once

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace ferrow {

class QuietStream {
public:
    // stdout or stderr. Nothing happens unless `quiet`.
    explicit QuietStream(std::FILE* stream, bool quiet = true) : stream_(stream) {
        if (!quiet)
            return;
        std::fflush(stream_);
        saved_ = dup(fileno(stream_));
        if (const int none = open("/dev/null", O_WRONLY | O_CLOEXEC); none >= 0) {
            dup2(none, fileno(stream_));
            close(none);
        }
    }
    ~QuietStream() {
        if (saved_ < 0)
            return;
        std::fflush(stream_);
        dup2(saved_, fileno(stream_));
        close(saved_);
    }
    QuietStream(const QuietStream&) = delete;
    QuietStream& operator=(const QuietStream&) = delete;

private:
    std::FILE* stream_;
    int saved_ = -1;
};

} // namespace ferrow
