#include "document/Sheet.h"

#include "document/SheetLineEdits.h"

#include <algorithm>
#include <stdexcept>

namespace sumora {

Sheet::Sheet(std::string n, int64_t rows, int64_t cols)
    : name(std::move(n)), rowCount_(rows), columnCount_(cols) {}

const Cell& Sheet::defaultCell() {
    static const Cell d;
    return d;
}

void Sheet::growTo(int64_t rows, int64_t cols) {
    rowCount_ = std::max(rowCount_, rows);
    columnCount_ = std::max(columnCount_, cols);
}

void Sheet::setGridSize(int64_t rows, int64_t cols) {
    rowCount_ = std::max<int64_t>(rows, 0);
    columnCount_ = std::max<int64_t>(cols, 0);
    if (rows_.size() > static_cast<size_t>(rowCount_)) rows_.resize(static_cast<size_t>(rowCount_));
    for (auto& r : rows_)
        if (r.size() > static_cast<size_t>(columnCount_)) r.resize(static_cast<size_t>(columnCount_));
}

Cell* Sheet::storedCell(int64_t row, int64_t col) {
    if (row < 0 || col < 0 || static_cast<size_t>(row) >= rows_.size()) return nullptr;
    auto& r = rows_[static_cast<size_t>(row)];
    return static_cast<size_t>(col) < r.size() ? &r[static_cast<size_t>(col)] : nullptr;
}

const Cell* Sheet::storedCell(int64_t row, int64_t col) const {
    return const_cast<Sheet*>(this)->storedCell(row, col);
}

Sheet::Row& Sheet::rowForWriting(int64_t row) {
    if (static_cast<size_t>(row) >= rows_.size()) rows_.resize(static_cast<size_t>(row) + 1);
    return rows_[static_cast<size_t>(row)];
}

Cell& Sheet::cellForWriting(int64_t row, int64_t col) {
    if (row < 0 || col < 0) throw std::out_of_range("A cell position cannot be negative.");
    growTo(row + 1, col + 1);
    Row& r = rowForWriting(row);
    const auto at = static_cast<size_t>(col);
    if (at < r.size()) return r[at];
    // Readers append a row's cells in order into a reserved row: one cell
    // made in place, without resize's general path.
    if (at == r.size() && at < r.capacity()) return r.emplace_back();
    // Narrow rows grow exactly (a row of ten numbers holds ten cells, not
    // sixteen); wide rows grow geometrically to keep appends linear.
    const size_t need = at + 1;
    if (r.capacity() < need) r.reserve(need <= 32 ? need : std::max(need, r.capacity() + r.capacity() / 2));
    r.resize(need);
    return r[at];
}

void Sheet::setCell(int64_t row, int64_t col, Cell cell) {
    if (row < 0 || col < 0) return;
    if (cell.isDefault()) {
        clearCell(row, col);
        growTo(row + 1, col + 1);
        return;
    }
    cellForWriting(row, col) = std::move(cell);
}

void Sheet::clearCell(int64_t row, int64_t col) {
    Cell* c = storedCell(row, col);
    if (!c) return;
    *c = Cell();
    auto& r = rows_[static_cast<size_t>(row)];
    while (!r.empty() && r.back().isDefault())
        r.pop_back();
}

void Sheet::insertRows(int64_t at, int64_t count) {
    if (count <= 0 || at < 0) return;
    insertRowProperties(*this, at, count);
    if (static_cast<size_t>(at) < rows_.size())
        rows_.insert(rows_.begin() + at, static_cast<size_t>(count), Row());
    rowCount_ += count;
}

void Sheet::removeRows(int64_t at, int64_t count) {
    if (count <= 0 || at < 0 || at >= rowCount_) return;
    count = std::min(count, rowCount_ - at);
    removeRowProperties(*this, at, count);
    if (static_cast<size_t>(at) < rows_.size()) {
        auto end = std::min(rows_.size(), static_cast<size_t>(at + count));
        rows_.erase(rows_.begin() + at, rows_.begin() + static_cast<ptrdiff_t>(end));
    }
    rowCount_ -= count;
}

void Sheet::insertColumns(int64_t at, int64_t count) {
    if (count <= 0 || at < 0) return;
    insertColumnProperties(*this, at, count);
    for (auto& r : rows_)
        if (static_cast<size_t>(at) < r.size()) r.insert(r.begin() + at, static_cast<size_t>(count), Cell());
    columnCount_ += count;
}

void Sheet::removeColumns(int64_t at, int64_t count) {
    if (count <= 0 || at < 0 || at >= columnCount_) return;
    count = std::min(count, columnCount_ - at);
    removeColumnProperties(*this, at, count);
    for (auto& r : rows_) {
        if (static_cast<size_t>(at) >= r.size()) continue;
        auto end = std::min(r.size(), static_cast<size_t>(at + count));
        r.erase(r.begin() + at, r.begin() + static_cast<ptrdiff_t>(end));
    }
    columnCount_ -= count;
}

void Sheet::permuteRows(int64_t first, const std::vector<int64_t>& order) {
    if (first < 0 || order.empty()) return;
    permuteRowProperties(*this, first, order);
    size_t end = static_cast<size_t>(first) + order.size();
    if (rows_.size() < end) rows_.resize(end);
    std::vector<Row> moved;
    moved.reserve(order.size());
    for (int64_t src : order)
        moved.push_back(std::move(rows_[static_cast<size_t>(first + src)]));
    for (size_t i = 0; i < moved.size(); ++i)
        rows_[static_cast<size_t>(first) + i] = std::move(moved[i]);
    while (!rows_.empty() && rows_.back().empty())
        rows_.pop_back();
}

void Sheet::forEachStoredCell(const std::function<void(int64_t, int64_t, const Cell&)>& f) const {
    for (size_t r = 0; r < rows_.size(); ++r)
        for (size_t c = 0; c < rows_[r].size(); ++c)
            f(static_cast<int64_t>(r), static_cast<int64_t>(c), rows_[r][c]);
}

void Sheet::forEachStoredCell(const std::function<void(int64_t, int64_t, Cell&)>& f) {
    for (size_t r = 0; r < rows_.size(); ++r)
        for (size_t c = 0; c < rows_[r].size(); ++c)
            f(static_cast<int64_t>(r), static_cast<int64_t>(c), rows_[r][c]);
}

Sheet::Extent Sheet::usedExtent() const {
    Extent e;
    for (size_t r = 0; r < rows_.size(); ++r) {
        const auto& row = rows_[r];
        for (size_t c = row.size(); c-- > 0;) {
            if (row[c].hasContent() || !row[c].displayValue().empty()) {
                e.rows = static_cast<int64_t>(r) + 1;
                e.cols = std::max(e.cols, static_cast<int64_t>(c) + 1);
                break;
            }
        }
    }
    return e;
}

void Sheet::reserveRow(int64_t row, int64_t cols) {
    if (row < 0 || cols <= 0) return;
    rowForWriting(row).reserve(static_cast<size_t>(cols));
}

void Sheet::compact() {
    for (auto& r : rows_) {
        while (!r.empty() && r.back().isDefault())
            r.pop_back();
        r.shrink_to_fit();
    }
    while (!rows_.empty() && rows_.back().empty())
        rows_.pop_back();
    rows_.shrink_to_fit();
}

bool Sheet::sameGrid(const Sheet& o) const {
    if (rowCount_ != o.rowCount_ || columnCount_ != o.columnCount_) return false;
    size_t rows = std::max(rows_.size(), o.rows_.size());
    for (size_t r = 0; r < rows; ++r) {
        int64_t cols = std::max(storedColumnCount(static_cast<int64_t>(r)),
                                o.storedColumnCount(static_cast<int64_t>(r)));
        for (int64_t c = 0; c < cols; ++c)
            if (!(cell(static_cast<int64_t>(r), c) == o.cell(static_cast<int64_t>(r), c))) return false;
    }
    return true;
}

bool Sheet::operator==(const Sheet& o) const {
    return name == o.name && frozenRows == o.frozenRows && frozenColumns == o.frozenColumns &&
           columnWidths == o.columnWidths && rowHeights == o.rowHeights && mergedRegions == o.mergedRegions &&
           conditionalFormats == o.conditionalFormats && dataValidations == o.dataValidations &&
           charts == o.charts && sparklines == o.sparklines && isProtected == o.isProtected &&
           protectionPassword == o.protectionPassword && protectionOptions == o.protectionOptions &&
           outlineGroups == o.outlineGroups && pivotTables == o.pivotTables && tabColorHex == o.tabColorHex &&
           isHidden == o.isHidden && cellComments == o.cellComments && hiddenRows == o.hiddenRows &&
           hiddenColumns == o.hiddenColumns && columnOutlineGroups == o.columnOutlineGroups &&
           hyperlinks == o.hyperlinks && sameGrid(o);
}

} // namespace sumora
