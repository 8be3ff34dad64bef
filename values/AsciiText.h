#pragma once
// Small ASCII text helpers that sheet names, addresses and typed entries share:
// comparisons and trimming that need no locale.
#include <algorithm>
#include <cctype>
#include <string_view>

namespace sumora {

// Equal when ASCII letters are compared without regard to case.
inline bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
    });
}

// The text without leading and trailing white space.
inline std::string_view trimmedSpace(std::string_view s) {
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front())))
        s.remove_prefix(1);
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back())))
        s.remove_suffix(1);
    return s;
}

} // namespace sumora
