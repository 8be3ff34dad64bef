#include "engine/CellResolver.h"
#include "values/StrictNumber.h"

#include <strings.h>

namespace sumora {

namespace {
RangeSpec specOf(const CellRange& r) {
    RangeSpec s{r.start.col, r.start.row, r.end.col, r.end.row, std::nullopt};
    if (r.start.sheet) s.sheet = *r.start.sheet;
    return s;
}
} // namespace

void checkArrayCells(int64_t rows, int64_t cols) {
    if (rows > 0 && cols > 0 && rows > kMaxArrayCells / cols) throw ArrayTooLarge();
}

std::vector<FormulaValue> CellResolver::getCellValues(const CellRange& in) {
    std::vector<FormulaValue> out;
    rangeValues(specOf(in), out);
    return out;
}

std::vector<double> CellResolver::getNumericValues(const CellRange& in) {
    std::vector<double> out;
    rangeNumbers(specOf(in), out);
    return out;
}

FormulaValue readCellText(std::optional<std::string_view> computed, std::string_view value) {
    if (computed && !computed->empty()) {
        if (auto n = parseStrictNumber(*computed)) return FormulaValue::number(*n);
        if (*computed == "TRUE") return FormulaValue::boolean(true);
        if (*computed == "FALSE") return FormulaValue::boolean(false);
        return FormulaValue::text(std::string(*computed));
    }
    if (value.empty()) return FormulaValue::empty();
    if (auto n = parseStrictNumber(value)) return FormulaValue::number(*n);
    if (value.size() == 4 && strncasecmp(value.data(), "TRUE", 4) == 0) return FormulaValue::boolean(true);
    if (value.size() == 5 && strncasecmp(value.data(), "FALSE", 5) == 0) return FormulaValue::boolean(false);
    return FormulaValue::text(std::string(value));
}

} // namespace sumora
