#include "host/neighbours/adif_log.hpp"

#include "host/failure.hpp"
#include "host/neighbours/adif_record.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ferrow {
namespace {

constexpr int kOwnerWrites = 0644;

// Whether a record ends in the text and another one follows. A text that only happens to stand in a field
// does not count.
bool hasRecords(std::string_view text) {
    constexpr std::string_view kEnd = "<EOR>";
    for (auto at = text.begin();;) {
        at = std::search(at, text.end(), kEnd.begin(), kEnd.end(),
                         [](char a, char b) { return std::toupper(static_cast<unsigned char>(a)) == b; });
        if (at == text.end())
            return false;
        at = std::find_if(at + kEnd.size(), text.end(),
                          [](char c) { return std::isspace(static_cast<unsigned char>(c)) == 0; });
        if (at != text.end() && *at == '<')
            return true;
    }
}

Failure failure(const std::string& path, std::string_view what) {
    return Failure(fmt::format("cannot {} the log {}: {}", what, path, std::strerror(errno)));
}

std::string readAll(int file, const std::string& path) {
    struct stat status {};
    if (::fstat(file, &status) != 0)
        throw failure(path, "read");
    if (!S_ISREG(status.st_mode))
        throw Failure(fmt::format("the log {} is no file", path));
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t got = 0;
    while (got < text.size()) {
        const ssize_t n = ::pread(file, text.data() + got, text.size() - got, static_cast<off_t>(got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            throw failure(path, "read");
        if (n == 0)
            break;
        got += static_cast<std::size_t>(n);
    }
    text.resize(got);
    return text;
}

} // namespace

AdifLog::AdifLog(std::string path) : path_(std::move(path)) {
    file_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, kOwnerWrites);
    if (file_ < 0)
        throw failure(path_, "open");
    try {
        lock();
        repair();
    } catch (...) {
        ::close(file_);
        throw;
    }
}

AdifLog::~AdifLog() {
    ::close(file_);
}

void AdifLog::add(const Contact& contact) {
    append(adifRecord(contact));
}

void AdifLog::lock() {
    if (::flock(file_, LOCK_EX | LOCK_NB) == 0)
        return;
    if (errno == EWOULDBLOCK)
        throw Failure(fmt::format("the log {} is in use by another program", path_));
    throw failure(path_, "lock");
}

void AdifLog::repair() {
    const std::string text = readAll(file_, path_);
    const std::size_t whole = adifWholeLength(text);
    const std::string_view rest = std::string_view(text).substr(whole);
    const bool halfHeader = whole == 0 && adifHeader().starts_with(text);
    if (whole == 0 && !halfHeader)
        throw Failure(fmt::format("{} is no ADIF log", path_));
    // With records behind it, what cannot be read is a fault of another kind, and no end that was cut short.
    if (!rest.empty() && !hasRecords(rest)) {
        if (!halfHeader) {
            std::ofstream aside(path_ + ".damaged", std::ios::binary | std::ios::app);
            aside << rest << '\n';
            if (!aside.flush())
                throw failure(path_ + ".damaged", "write beside");
        }
        if (::ftruncate(file_, static_cast<off_t>(whole)) != 0)
            throw failure(path_, "repair");
        repaired_ = rest.size();
    }
    const std::string_view kept = std::string_view(text).substr(0, text.size() - repaired_);
    if (kept.empty())
        append(adifHeader());
    else if (kept.back() != '\n')
        append("\n");
}

void AdifLog::append(const std::string& text) {
    const off_t before = ::lseek(file_, 0, SEEK_END);
    if (before < 0)
        throw failure(path_, "write");
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t n = ::write(file_, text.data() + written, text.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        written += static_cast<std::size_t>(n);
    }
    if (written == text.size() && ::fsync(file_) == 0)
        return;
    const Failure reason = failure(path_, "write");
    // What cannot be taken back is repaired when the file is opened next.
    [[maybe_unused]] const int result = ::ftruncate(file_, before);
    throw reason;
}

} // namespace ferrow
