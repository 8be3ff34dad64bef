#include "editing/HyperlinkTarget.h"

#include <string>

#include "document/ColumnLetters.h"

namespace sumora {

std::optional<LinkDestination> linkDestination(const SumoraDocument& document, std::string_view location,
                                               size_t currentSheet) {
    if (!location.empty() && location.front() == '#') location.remove_prefix(1);
    std::optional<size_t> sheet =
        currentSheet < document.sheets.size() ? std::optional(currentSheet) : std::nullopt;
    std::string_view cell = location;
    if (size_t bang = location.rfind('!'); bang != std::string_view::npos) {
        std::string name(location.substr(0, bang));
        if (name.size() >= 2 && name.front() == '\'' && name.back() == '\'') {
            name = name.substr(1, name.size() - 2);
            for (size_t i = name.find("''"); i != std::string::npos; i = name.find("''", i + 1))
                name.erase(i, 1); // a quote inside a quoted name is doubled
        }
        sheet = document.sheetIndex(name);
        cell = location.substr(bang + 1);
    }
    cell = cell.substr(0, cell.find(':'));
    if (sheet)
        if (auto at = parseCellAddress(cell)) return LinkDestination{*sheet, at->row, at->col};
    for (const NamedRange& range : document.namedRanges) {
        if (range.name != location) continue;
        auto index = range.sheetName ? document.sheetIndex(*range.sheetName) : sheet;
        if (index) return LinkDestination{*index, range.startRow, range.startCol};
    }
    return std::nullopt;
}

} // namespace sumora
