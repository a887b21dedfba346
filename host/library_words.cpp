#include "host/library_words.hpp"

#include <array>
#include <fmt/format.h>
#include <iostream>
#include <mutex>
#include <streambuf>

namespace ferrow {
namespace {

constexpr std::string_view kError = "Error: ", kEvent = "sdrplay_api_EventCb: ";
constexpr std::string_view kRemoved = "sdrplay_api_DeviceRemoved", kClosed = "##ws closed";
constexpr std::array<std::string_view, 5> kRemarks = {"##ws ", "start ", "radio started", "ahwr #", kEvent};
constexpr std::array<std::string_view, 2> kEndings = {" select pass \r\n", " select fail \r\n"};

bool isRemark(std::string_view text) {
    for (const std::string_view one : kRemarks)
        if (text.starts_with(one))
            return true;
    for (const std::string_view one : kEndings)
        if (text.ends_with(one))
            return true;
    return text.starts_with(kError);
}

std::string_view trimmed(std::string_view text) {
    const auto end = text.find_last_not_of("\r\n ");
    return text.substr(0, end == std::string_view::npos ? 0 : end + 1);
}

} // namespace

// The library hands each remark over in one piece.
class LibraryWords::Filter : public std::streambuf {
public:
    explicit Filter(bool show) : show_(show), former_(std::cout.rdbuf(this)) {}
    ~Filter() override { std::cout.rdbuf(former_); }

    std::string complaint() const {
        const std::lock_guard lock(mutex_);
        return complaint_;
    }
    bool connectionClosed() const {
        const std::lock_guard lock(mutex_);
        return closed_;
    }

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        const std::string_view text(data, static_cast<std::size_t>(size));
        const std::lock_guard lock(mutex_);
        if (!isRemark(text))
            return former_->sputn(data, size);
        if (text.starts_with(kError))
            complaint_ = trimmed(text.substr(kError.size(), text.find(" [") - kError.size()));
        else if (text.find(kRemoved) != std::string_view::npos)
            complaint_ = "the device has been removed";
        else if (text.ends_with(kEndings[1]))
            complaint_ = "the device cannot be selected";
        closed_ = closed_ || text.starts_with(kError) || text.starts_with(kClosed);
        if (show_)
            fmt::print(stderr, "library: {}\n", trimmed(text));
        return size;
    }
    int overflow(int character) override {
        const std::lock_guard lock(mutex_);
        return traits_type::eq_int_type(character, traits_type::eof())
                   ? traits_type::not_eof(character)
                   : former_->sputc(traits_type::to_char_type(character));
    }
    int sync() override {
        const std::lock_guard lock(mutex_);
        return former_->pubsync();
    }

private:
    bool show_;
    std::streambuf* former_;
    mutable std::mutex mutex_;
    std::string complaint_;
    bool closed_ = false;
};

LibraryWords::LibraryWords(bool showOnStderr) : filter_(std::make_unique<Filter>(showOnStderr)) {}

LibraryWords::~LibraryWords() = default;

std::string LibraryWords::complaint() const {
    return filter_->complaint();
}

bool LibraryWords::connectionClosed() const {
    return filter_->connectionClosed();
}

} // namespace ferrow
