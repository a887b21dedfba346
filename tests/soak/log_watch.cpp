#include "tests/soak/log_watch.hpp"

#include <regex>

namespace ferrow::soak {

std::map<std::string, long long> LogWatch::take() {
    static const std::regex head(R"(^(\[[^\]]*\] )+)"), number(R"(-?\d+(\.\d+)?)");
    std::map<std::string, long long> records;
    std::string line;
    file_.clear();
    for (auto place = file_.tellg(); std::getline(file_, line); place = file_.tellg()) {
        if (file_.eof()) { // half a line: later
            file_.clear();
            file_.seekg(place);
            break;
        }
        ++records[std::regex_replace(std::regex_replace(line, head, ""), number, "#")];
    }
    return records;
}

} // namespace ferrow::soak
