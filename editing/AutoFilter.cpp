#include "editing/AutoFilter.h"

#include "document/Sheet.h"

namespace sumora {

bool AutoFilter::rowVisible(const Sheet& sheet, int64_t row) const {
    if (!enabled || allowed.empty()) return true;
    if (row < 0 || row >= sheet.rowCount()) return true;
    std::string text;
    for (const auto& [col, texts] : allowed) {
        if (texts.empty()) continue;
        text.assign(sheet.cell(row, col).displayValue());
        if (!texts.contains(text)) return false;
    }
    return true;
}

} // namespace sumora
