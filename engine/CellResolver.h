#pragma once
// How evaluation reads cells: the value of one cell, and the values or
// numbers of a range, on the sheet being calculated or on a named sheet.
#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/CellPosition.h"
#include "engine/CellRef.h"
#include "engine/FormulaValue.h"

namespace sumora {

class SumoraDocument;

// A rectangle as evaluation sees it; `sheet` empty means the current sheet.
struct RangeSpec {
    int64_t col1 = 0, row1 = 0, col2 = 0, row2 = 0;
    std::optional<std::string_view> sheet;
    bool isBackwards() const { return col2 < col1 || row2 < row1; }
    int64_t rows() const { return isBackwards() ? 0 : row2 - row1 + 1; }
    int64_t cols() const { return isBackwards() ? 0 : col2 - col1 + 1; }
};

// Ranges and arrays that evaluation holds in memory cell by cell stop at this
// many cells (a full-height column fits); past it a function gives "#NUM!"
// rather than allocating. Functions that only need the non-empty cells walk
// ranges of any size through rangeEntries.
inline constexpr int64_t kMaxArrayCells = 2'000'000;

// Thrown when a range or array would exceed kMaxArrayCells; the evaluator
// turns it, like any allocation failure, into "#NUM!" in the formula's cell.
class ArrayTooLarge : public std::bad_alloc {
  public:
    const char* what() const noexcept override { return "The range is too large to hold in memory."; }
};
// Throws ArrayTooLarge when rows × cols exceeds kMaxArrayCells.
void checkArrayCells(int64_t rows, int64_t cols);

// The non-empty cells of a range clipped to its grid, each with its row-major
// position in the clipped range; `rows` × `cols` counts the empty ones too.
struct RangeEntry {
    int64_t position;
    FormulaValue value;
};
struct SparseRange {
    int64_t rows = 0, cols = 0;
    std::vector<RangeEntry> entries; // ascending positions
    int64_t size() const { return rows * cols; }
};

class CellResolver {
  public:
    virtual ~CellResolver() = default;

    // One cell: "#REF!" outside the grid or on a sheet that does not exist.
    virtual FormulaValue cellValue(CellPosition at, std::optional<std::string_view> sheet) = 0;
    // Row-major values of the part of the range inside the grid.
    virtual void rangeValues(const RangeSpec& range, std::vector<FormulaValue>& out) = 0;
    // The non-empty cells of the range; time and memory grow with the stored
    // cells, not with the range's area.
    virtual void rangeEntries(const RangeSpec& range, SparseRange& out) = 0;
    // The numbers of the range (cells that read as numbers), row-major.
    virtual void rangeNumbers(const RangeSpec& range, std::vector<double>& out) = 0;
    // Grid size of a sheet (current when empty); nothing when no such sheet.
    virtual std::optional<std::pair<int64_t, int64_t>> gridSize(std::optional<std::string_view> sheet) = 0;
    // A workbook named range (case-insensitive), with its sheet when it has one.
    virtual std::optional<CellRange> resolveNamedRange(std::string_view name) = 0;
    // The formula cell being evaluated (ROW() and COLUMN() without arguments).
    virtual CellRef currentCell() const = 0;
    // The formula text of a cell, for ISFORMULA; nothing for a constant.
    virtual std::optional<std::string> cellFormula(CellPosition at,
                                                   std::optional<std::string_view> sheet) = 0;
    // The workbook behind the cells and the position of the current sheet in
    // it, for the information functions (SHEET, SHEETS, CELL); none when the
    // resolver stands alone.
    virtual const SumoraDocument* workbook() const { return nullptr; }
    virtual size_t currentSheetIndex() const { return 0; }

    // The interface under the names the rest of the system uses.
    FormulaValue getCellValue(const CellRef& at) {
        return cellValue({at.col, at.row},
                         at.sheet ? std::optional<std::string_view>(*at.sheet) : std::nullopt);
    }
    FormulaValue getCellValue(const CellRef& at, std::string_view sheet) {
        return cellValue({at.col, at.row}, sheet);
    }
    std::vector<FormulaValue> getCellValues(const CellRange& in);
    std::vector<double> getNumericValues(const CellRange& in);
};

// The cell-reading rule: a non-empty computed text is read first (numbers,
// exactly "TRUE"/"FALSE", else text — error texts stay text); otherwise the
// value (empty, number, TRUE/FALSE in any case, else text).
FormulaValue readCellText(std::optional<std::string_view> computedValue, std::string_view value);

} // namespace sumora
