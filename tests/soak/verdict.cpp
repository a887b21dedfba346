#include "tests/soak/verdict.hpp"

#include <algorithm>
#include <fmt/format.h>

namespace ferrow::soak {

void Verdict::add(const std::string& what, bool met, const std::string& figure, const std::string& bound) {
    lines_.push_back({what, figure, bound, met});
}

bool Verdict::met() const {
    return std::ranges::all_of(lines_, &Line::met);
}

nlohmann::json Verdict::json() const {
    auto all = nlohmann::json::array();
    for (const Line& line : lines_)
        all.push_back(
            {{"criterion", line.what}, {"figure", line.figure}, {"bound", line.bound}, {"met", line.met}});
    return all;
}

std::string Verdict::table() const {
    std::string text;
    for (const Line& line : lines_)
        text += fmt::format("{:<4} {:<42} {:<40} {}\n", line.met ? "ok" : "FAIL", line.what, line.figure,
                            line.bound);
    return text;
}

} // namespace ferrow::soak
