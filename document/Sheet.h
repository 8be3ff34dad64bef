#pragma once
// One tab of a workbook. The grid is logically rowCount × columnCount cells,
// every one of which reads as a default cell unless something was stored
// there; storage holds each row only up to its last stored cell, so memory
// grows with the cells that hold content or formatting, not with the grid.
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "document/Cell.h"
#include "document/LineSet.h"
#include "document/WorkbookRecords.h"

namespace sumora {

class Sheet {
  public:
    Sheet() = default;
    // A sheet of `rows` × `cols` default cells, as a new document has.
    Sheet(std::string name, int64_t rows, int64_t cols);

    std::string id = newIdentifier();
    std::string name;
    int64_t frozenRows = 0;
    int64_t frozenColumns = 0;
    std::map<int64_t, double> columnWidths;
    std::map<int64_t, double> rowHeights;
    std::vector<MergedRegion> mergedRegions;
    std::vector<ConditionalFormatRule> conditionalFormats;
    std::vector<DataValidationRule> dataValidations;
    std::vector<EmbeddedChart> charts;
    std::vector<Sparkline> sparklines;
    bool isProtected = false;
    std::optional<std::string> protectionPassword;
    SheetProtectionOptions protectionOptions;
    std::vector<OutlineGroup> outlineGroups;
    std::vector<PivotTable> pivotTables;
    std::optional<std::string> tabColorHex;
    bool isHidden = false;
    std::map<std::string, std::string> cellComments;
    LineSet hiddenRows;
    LineSet hiddenColumns;
    std::vector<ColumnOutlineGroup> columnOutlineGroups;
    // Keyed by the cell's address text ("B7"), as cellComments.
    std::map<std::string, CellHyperlink> hyperlinks;

    int64_t rowCount() const { return rowCount_; }
    int64_t columnCount() const { return columnCount_; }
    bool contains(int64_t row, int64_t col) const {
        return row >= 0 && col >= 0 && row < rowCount_ && col < columnCount_;
    }

    // Grows the logical grid (never shrinks); the model-level ensureGridSize.
    void growTo(int64_t rows, int64_t cols);
    // Sets the logical size outright (readers, and structural commands).
    void setGridSize(int64_t rows, int64_t cols);

    // The cell at (row, col); a shared default cell where nothing is stored.
    const Cell& cell(int64_t row, int64_t col) const {
        if (row < 0 || col < 0 || static_cast<size_t>(row) >= rows_.size()) return defaultCell();
        const auto& r = rows_[static_cast<size_t>(row)];
        return static_cast<size_t>(col) < r.size() ? r[static_cast<size_t>(col)] : defaultCell();
    }
    // The stored cell or nullptr.
    Cell* storedCell(int64_t row, int64_t col);
    const Cell* storedCell(int64_t row, int64_t col) const;
    // A writable cell, stored from now on. Positions outside the grid grow it;
    // negative ones throw std::out_of_range.
    Cell& cellForWriting(int64_t row, int64_t col);
    void setCell(int64_t row, int64_t col, Cell cell);
    // Back to a default cell (and storage released where the row allows).
    void clearCell(int64_t row, int64_t col);

    // Structural edits; cells move with their row and column properties
    // (sizes, hidden flags, outline groups, hyperlinks), formulas are not
    // rewritten.
    void insertRows(int64_t at, int64_t count = 1);
    void removeRows(int64_t at, int64_t count = 1);
    void insertColumns(int64_t at, int64_t count = 1);
    void removeColumns(int64_t at, int64_t count = 1);
    // Reorders whole stored rows within [first, first + order.size()):
    // new row first+i is old row first+order[i].
    void permuteRows(int64_t first, const std::vector<int64_t>& order);

    // Rows that have storage: 0 .. storedRowCount()-1 (beyond reads default).
    int64_t storedRowCount() const { return static_cast<int64_t>(rows_.size()); }
    int64_t storedColumnCount(int64_t row) const {
        return row >= 0 && static_cast<size_t>(row) < rows_.size()
                   ? static_cast<int64_t>(rows_[static_cast<size_t>(row)].size())
                   : 0;
    }
    // A row's stored cells in column order, storedColumnCount(row) of them.
    std::span<const Cell> storedRow(int64_t row) const {
        if (row < 0 || static_cast<size_t>(row) >= rows_.size()) return {};
        return rows_[static_cast<size_t>(row)];
    }
    // Visits every stored cell, row-major.
    void forEachStoredCell(const std::function<void(int64_t row, int64_t col, const Cell&)>& f) const;
    void forEachStoredCell(const std::function<void(int64_t row, int64_t col, Cell&)>& f);

    // Rows and columns through the last cell that holds content (a value or a
    // formula); {0, 0} for an empty sheet.
    struct Extent {
        int64_t rows = 0;
        int64_t cols = 0;
    };
    Extent usedExtent() const;

    // Preallocates a row for `cols` cells (readers that know the width).
    void reserveRow(int64_t row, int64_t cols);
    // Releases spare capacity and trailing default cells after bulk loading.
    void compact();

    // Logical equality: stored default cells equal unstored ones.
    bool operator==(const Sheet& o) const;
    bool sameGrid(const Sheet& o) const;

    static const Cell& defaultCell();

  private:
    using Row = std::vector<Cell>;
    Row& rowForWriting(int64_t row);

    std::vector<Row> rows_;
    int64_t rowCount_ = 0;
    int64_t columnCount_ = 0;
};

} // namespace sumora
