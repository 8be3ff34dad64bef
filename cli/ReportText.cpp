#include "cli/ReportText.h"

#include <cstdio>

#include "document/ColumnLetters.h"

namespace sumora::cli {

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    for (char ch : text) {
        auto c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (c < 0x20) {
                char buffer[8];
                std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
                out += buffer;
            } else {
                out += ch; // UTF-8 passes through
            }
        }
    }
    return out + "\"";
}

std::optional<CellArgument> parseCellArgument(std::string_view text) {
    CellArgument arg;
    size_t bang = text.rfind('!');
    if (bang != std::string_view::npos) {
        std::string_view sheet = text.substr(0, bang);
        if (sheet.size() >= 2 && sheet.front() == '\'' && sheet.back() == '\'') {
            std::string unquoted;
            sheet = sheet.substr(1, sheet.size() - 2);
            for (size_t i = 0; i < sheet.size(); ++i) {
                unquoted += sheet[i];
                if (sheet[i] == '\'' && i + 1 < sheet.size() && sheet[i + 1] == '\'') ++i;
            }
            arg.sheet = unquoted;
        } else {
            arg.sheet = std::string(sheet);
        }
        if (arg.sheet->empty()) return std::nullopt;
        text = text.substr(bang + 1);
    }
    auto at = parseCellAddress(text);
    if (!at) return std::nullopt;
    arg.col = at->col;
    arg.row = at->row;
    return arg;
}

} // namespace sumora::cli
