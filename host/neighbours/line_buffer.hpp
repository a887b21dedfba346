// Lines out of a stream of bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace ferrow {

class LineBuffer {
public:
    struct Line {
        std::string text; // without its end
        bool tooLong = false;
    };

    explicit LineBuffer(std::size_t longest) : longest_(longest) {}

    // Takes bytes up to the end of the first line; what is left of `bytes` is for the next call. A line, once
    // it is complete. Never keeps more than the longest line.
    std::optional<Line> take(std::string_view& bytes) {
        const std::size_t end = bytes.find('\n');
        const std::string_view part = bytes.substr(0, end);
        const std::size_t room = longest_ - line_.text.size();
        line_.text.append(part.substr(0, room));
        line_.tooLong = line_.tooLong || part.size() > room;
        if (end == std::string_view::npos) {
            bytes = {};
            return std::nullopt;
        }
        bytes.remove_prefix(end + 1);
        return std::exchange(line_, {});
    }

private:
    std::size_t longest_;
    Line line_;
};

} // namespace ferrow
