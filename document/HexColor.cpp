#include "document/HexColor.h"

#include <algorithm>

namespace sumora {

std::string_view withoutHash(std::string_view colour) {
    if (!colour.empty() && colour.front() == '#') colour.remove_prefix(1);
    return colour;
}

std::optional<std::string> sixDigitHexColor(std::string_view colour) {
    std::string_view text = withoutHash(colour);
    auto isHexDigit = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    };
    if (!std::all_of(text.begin(), text.end(), isHexDigit)) return std::nullopt;
    if (text.size() == 6) return std::string(text);
    if (text.size() == 8) return std::string(text.substr(2));
    if (text.size() == 3) return std::string{text[0], text[0], text[1], text[1], text[2], text[2]};
    return std::nullopt;
}

} // namespace sumora
