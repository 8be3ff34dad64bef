#include "editing/TextToColumns.h"

#include <algorithm>

namespace sumora {

std::vector<std::string> splitText(std::string_view text, const TextToColumnsRequest& request) {
    std::string_view delimiter;
    switch (request.delimiter) {
    case TextToColumnsDelimiter::comma:
        delimiter = ",";
        break;
    case TextToColumnsDelimiter::semicolon:
        delimiter = ";";
        break;
    case TextToColumnsDelimiter::space:
        delimiter = " ";
        break;
    case TextToColumnsDelimiter::pipe:
        delimiter = "|";
        break;
    case TextToColumnsDelimiter::custom:
        delimiter = request.customDelimiter;
        break;
    }
    std::vector<std::string> pieces;
    if (delimiter.empty()) {
        pieces.emplace_back(text);
    } else {
        for (size_t from = 0;;) {
            size_t at = text.find(delimiter, from);
            pieces.emplace_back(
                text.substr(from, at == std::string_view::npos ? std::string_view::npos : at - from));
            if (at == std::string_view::npos) break;
            from = at + delimiter.size();
        }
    }
    if (request.treatConsecutiveAsOne) std::erase_if(pieces, [](const std::string& p) { return p.empty(); });
    return pieces;
}

} // namespace sumora
