#include "editing/GoToTarget.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "document/ColumnLetters.h"
#include "values/AsciiText.h"

namespace sumora {

namespace {

std::optional<CellPosition> cellInGrid(std::string_view text) {
    auto at = parseCellAddress(trimmedSpace(text));
    if (!at || at->col >= kSheetColumnLimit || at->row >= kSheetRowLimit) return std::nullopt;
    return at;
}

} // namespace

std::optional<GoToTarget> resolveGoToTarget(const SumoraDocument& document, size_t activeSheet,
                                            std::string_view text) {
    text = trimmedSpace(text);
    if (text.empty() || document.sheets.empty()) return std::nullopt;
    GoToTarget target;
    target.sheetIndex = std::min(activeSheet, document.sheets.size() - 1);

    // A sheet prefix: "Name!" or "'Name with spaces'!" (a doubled quote is one quote).
    std::string_view reference = text;
    if (const size_t bang = text.rfind('!'); bang != std::string_view::npos) {
        std::string name(trimmedSpace(text.substr(0, bang)));
        if (name.size() >= 2 && name.front() == '\'' && name.back() == '\'') {
            name = name.substr(1, name.size() - 2);
            for (size_t q = name.find("''"); q != std::string::npos; q = name.find("''", q + 1))
                name.erase(q, 1);
        }
        auto sheet = document.sheetIndex(name);
        if (!sheet) return std::nullopt;
        target.sheetIndex = *sheet;
        reference = text.substr(bang + 1);
    }

    const size_t colon = reference.find(':');
    auto first = cellInGrid(reference.substr(0, colon));
    auto last = colon == std::string_view::npos ? first : cellInGrid(reference.substr(colon + 1));
    if (first && last) {
        target.area = {std::min(first->col, last->col), std::min(first->row, last->row),
                       std::max(first->col, last->col), std::max(first->row, last->row)};
        return target;
    }
    if (reference.size() != text.size()) return std::nullopt;

    for (const NamedRange& named : document.namedRanges) {
        if (!equalsIgnoringCase(named.name, text)) continue;
        if (named.sheetName) {
            auto sheet = document.sheetIndex(*named.sheetName);
            if (!sheet) return std::nullopt;
            target.sheetIndex = *sheet;
        }
        const auto col = [](int64_t c) { return std::clamp<int64_t>(c, 0, kSheetColumnLimit - 1); };
        const auto row = [](int64_t r) { return std::clamp<int64_t>(r, 0, kSheetRowLimit - 1); };
        target.area = {
            col(std::min(named.startCol, named.endCol)), row(std::min(named.startRow, named.endRow)),
            col(std::max(named.startCol, named.endCol)), row(std::max(named.startRow, named.endRow))};
        return target;
    }
    return std::nullopt;
}

} // namespace sumora
