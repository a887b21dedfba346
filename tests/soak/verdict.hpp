// What a run must hold to, and whether it has.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace ferrow::soak {

class Verdict {
public:
    // `figure`: what was measured, for people.
    void add(const std::string& what, bool met, const std::string& figure, const std::string& bound);
    bool met() const;
    nlohmann::json json() const;
    std::string table() const;

private:
    struct Line {
        std::string what, figure, bound;
        bool met;
    };
    std::vector<Line> lines_;
};

} // namespace ferrow::soak
