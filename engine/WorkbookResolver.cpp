#include "engine/WorkbookResolver.h"

#include <algorithm>
#include <strings.h>

namespace sumora {

WorkbookResolver::WorkbookResolver(const SumoraDocument& document, size_t sheetIndex, CellRef currentCell)
    : document_(document), sheetIndex_(sheetIndex), current_(std::move(currentCell)) {}

const Sheet* WorkbookResolver::sheetNamed(std::optional<std::string_view> sheet) const {
    if (!sheet) return sheetIndex_ < document_.sheets.size() ? &document_.sheets[sheetIndex_] : nullptr;
    auto index = document_.sheetIndex(*sheet);
    return index ? &document_.sheets[*index] : nullptr;
}

FormulaValue WorkbookResolver::cellValue(CellPosition at, std::optional<std::string_view> sheet) {
    const Sheet* s = sheetNamed(sheet);
    if (!s || !s->contains(at.row, at.col)) return FormulaValue::error(ErrorKind::invalidReference);
    const Cell& c = s->cell(at.row, at.col);
    return readCellText(c.computedValue(), c.value());
}

std::optional<RangeSpec> clipToGrid(const RangeSpec& r, int64_t rows, int64_t cols) {
    if (r.isBackwards()) return std::nullopt;
    RangeSpec c = r;
    c.col1 = std::max<int64_t>(c.col1, 0);
    c.row1 = std::max<int64_t>(c.row1, 0);
    c.col2 = std::min(c.col2, cols - 1);
    c.row2 = std::min(c.row2, rows - 1);
    if (c.isBackwards()) return std::nullopt;
    return c;
}

void WorkbookResolver::rangeValues(const RangeSpec& range, std::vector<FormulaValue>& out) {
    const Sheet* s = sheetNamed(range.sheet);
    if (!s) return;
    auto r = clipToGrid(range, s->rowCount(), s->columnCount());
    if (!r) return;
    checkArrayCells(r->rows(), r->cols());
    out.reserve(out.size() + static_cast<size_t>(r->rows() * r->cols()));
    for (int64_t row = r->row1; row <= r->row2; ++row)
        for (int64_t col = r->col1; col <= r->col2; ++col) {
            const Cell& c = s->cell(row, col);
            out.push_back(readCellText(c.computedValue(), c.value()));
        }
}

void WorkbookResolver::rangeEntries(const RangeSpec& range, SparseRange& out) {
    out = {};
    const Sheet* s = sheetNamed(range.sheet);
    if (!s) return;
    auto r = clipToGrid(range, s->rowCount(), s->columnCount());
    if (!r) return;
    out.rows = r->rows();
    out.cols = r->cols();
    // Cells beyond the stored ones read as empty.
    int64_t lastRow = std::min(r->row2, s->storedRowCount() - 1);
    for (int64_t row = r->row1; row <= lastRow; ++row) {
        int64_t lastCol = std::min(r->col2, s->storedColumnCount(row) - 1);
        for (int64_t col = r->col1; col <= lastCol; ++col) {
            const Cell& c = s->cell(row, col);
            FormulaValue v = readCellText(c.computedValue(), c.value());
            if (!v.isEmpty())
                out.entries.push_back({(row - r->row1) * out.cols + (col - r->col1), std::move(v)});
        }
    }
}

void WorkbookResolver::rangeNumbers(const RangeSpec& range, std::vector<double>& out) {
    const Sheet* s = sheetNamed(range.sheet);
    if (!s) return;
    auto r = clipToGrid(range, s->rowCount(), s->columnCount());
    if (!r) return;
    // Only stored rows can hold numbers.
    int64_t lastRow = std::min(r->row2, s->storedRowCount() - 1);
    for (int64_t row = r->row1; row <= lastRow; ++row) {
        int64_t lastCol = std::min(r->col2, s->storedColumnCount(row) - 1);
        for (int64_t col = r->col1; col <= lastCol; ++col) {
            const Cell& c = s->cell(row, col);
            FormulaValue v = readCellText(c.computedValue(), c.value());
            if (v.isNumber()) out.push_back(v.numberValue());
        }
    }
}

std::optional<std::pair<int64_t, int64_t>> WorkbookResolver::gridSize(std::optional<std::string_view> sheet) {
    const Sheet* s = sheetNamed(sheet);
    if (!s) return std::nullopt;
    return std::make_pair(s->rowCount(), s->columnCount());
}

std::optional<CellRange> findNamedRange(const std::vector<NamedRange>& names, std::string_view name) {
    for (const NamedRange& n : names) {
        if (n.name.size() != name.size() || strncasecmp(n.name.data(), name.data(), name.size()) != 0)
            continue;
        CellRange r{{n.startCol, n.startRow, n.sheetName}, {n.endCol, n.endRow, std::nullopt}};
        return r;
    }
    return std::nullopt;
}

std::optional<CellRange> WorkbookResolver::resolveNamedRange(std::string_view name) {
    return findNamedRange(document_.namedRanges, name);
}

std::optional<std::string> WorkbookResolver::cellFormula(CellPosition at,
                                                         std::optional<std::string_view> sheet) {
    const Sheet* s = sheetNamed(sheet);
    if (!s) return std::nullopt;
    const Cell& c = s->cell(at.row, at.col);
    if (!c.formula()) return std::nullopt;
    return std::string(*c.formula());
}

} // namespace sumora
