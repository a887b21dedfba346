// How far a text that was heard is from the one that was sent.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

namespace ferrow::test {

enum class Around { counted, free };

// Wrong, missing and surplus characters (the edit distance) per character sent. With Around::free what was
// heard before and behind the stretch that fits best does not count.
inline double characterErrors(std::string_view sent, std::string_view heard,
                              Around around = Around::counted) {
    std::vector<std::size_t> row(heard.size() + 1, 0);
    if (around == Around::counted)
        for (std::size_t j = 0; j < row.size(); ++j)
            row[j] = j;
    for (std::size_t i = 1; i <= sent.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j < row.size(); ++j) {
            const std::size_t changed = diagonal + (sent[i - 1] == heard[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
        }
    }
    const std::size_t errors =
        around == Around::free ? *std::min_element(row.begin(), row.end()) : row.back();
    return static_cast<double>(errors) / static_cast<double>(std::max<std::size_t>(sent.size(), 1));
}

} // namespace ferrow::test
