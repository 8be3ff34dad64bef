#pragma once
// References and tables as the lookup and reference functions see their
// arguments. A reference argument is a cell, range or workbook name, or a
// call of INDIRECT, OFFSET, INDEX or CHOOSE standing where a reference is
// expected (ROW(INDIRECT("B7")), OFFSET(INDIRECT("A1"), 1, 0)); anywhere else
// those functions return values. A table is any two-dimensional argument,
// read cell by cell on demand so that a lookup touches only what it needs.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engine/CellResolver.h"
#include "engine/FormulaValue.h"
#include "engine/FunctionContext.h"
#include "functions/ArgumentValues.h"
#include "functions/LookupSupport.h"

namespace sumora {

// A rectangle with its own copy of the sheet name, so that references built
// from text outlive the text.
struct Reference {
    int64_t col1 = 0, row1 = 0, col2 = 0, row2 = 0;
    std::optional<std::string> sheet;

    int64_t rows() const { return row2 - row1 + 1; }
    int64_t cols() const { return col2 - col1 + 1; }
    bool isSingleCell() const { return col1 == col2 && row1 == row2; }
    // Views `sheet`: valid while this Reference lives unchanged.
    RangeSpec rangeSpec() const;
    std::optional<std::string_view> sheetView() const {
        return sheet ? std::optional<std::string_view>(*sheet) : std::nullopt;
    }
};

// Argument i truncated toward zero (and clamped to ±2^53); missing or not
// numeric is "#VALUE!", an error is passed through.
ArgValue<int64_t> wholeNumberArg(FunctionContext& c, size_t i);
ArgValue<int64_t> wholeNumberArgOr(FunctionContext& c, size_t i, int64_t fallback);

// A reference, or why there is none: `error` is set when the argument tried
// to name a reference and failed (INDIRECT of bad text); both are empty when
// the argument is no reference at all.
struct ReferenceResult {
    std::optional<Reference> reference;
    std::optional<FormulaValue> error;

    static ReferenceResult failure(ErrorKind kind) { return {std::nullopt, FormulaValue::error(kind)}; }
};

// The reference that argument i names.
ReferenceResult referenceArg(FunctionContext& c, size_t i);

// The reference forms of the reference-producing functions, given the
// context of their own call.
ReferenceResult indirectReference(FunctionContext& c);
ReferenceResult offsetReference(FunctionContext& c);
ReferenceResult indexReference(FunctionContext& c);
ReferenceResult chooseReference(FunctionContext& c);

// The part of a rows × cols source that INDEX(source, row_num, col_num,
// area_num) selects, zero-based and inclusive; 0 selects a whole row or
// column, and one index into a single row counts along it.
struct IndexSelection {
    int64_t row1 = 0, row2 = 0, col1 = 0, col2 = 0;
    std::optional<FormulaValue> error;
};
IndexSelection indexSelection(FunctionContext& c, int64_t rows, int64_t cols);

// Whether a sheet name can stand unquoted before "!": letters, digits, "_"
// and "." only (any non-ASCII character counts as a letter).
bool isPlainSheetName(std::string_view name);
// "Data!B2", or "'Q1 Sales'!B2" when the name needs quoting.
std::string cellLabel(std::string_view sheet, CellPosition at);
// A range's label: "Data!A1:B9" (one cell prints as a cell).
std::string rangeLabel(std::string_view sheet, int64_t col1, int64_t row1, int64_t col2, int64_t row2);

// Reference text to a reference: "B2", "$A$1:C3", "'My Sheet'!A1", "Data!B2"
// (an unquoted sheet name holds only letters, digits, "_" and "."), "R2C3"
// or "R[-1]C" when not in A1 style, or a workbook name. Nothing when the text
// names no reference or no existing sheet.
std::optional<Reference> parseReferenceText(std::string_view text, bool a1Style, CellResolver& resolver);

// What a reference reads as where a value is wanted: its cell's value when it
// is one cell, otherwise its values (clipped to the grid) as an array.
FormulaValue referenceValue(CellResolver& resolver, const Reference& ref);
// The values of a reference as rows, clipped to its sheet's grid.
ValueRows referenceRows(CellResolver& resolver, const Reference& ref);

// A two-dimensional argument: the cells of a reference (clipped to its grid)
// or the elements of an array (a single value is a 1×1 table).
class Table {
  public:
    static Table fromArg(FunctionContext& c, size_t i);

    // Set when the argument could not be read as a table.
    const std::optional<FormulaValue>& error() const { return error_; }
    int64_t rows() const { return rows_; }
    int64_t cols() const { return cols_; }
    FormulaValue at(int64_t row, int64_t col) const;
    // Every value as rectangular rows (short array rows padded with empties).
    ValueRows values() const;
    LookupVector column(int64_t col) const;
    LookupVector row(int64_t row) const;
    // Every value, row-major.
    LookupVector flattened() const;
    // Row `row` (or column `col`) as a result: one value, or a 1×n / n×1 array.
    FormulaValue rowResult(int64_t row) const;
    FormulaValue columnResult(int64_t col) const;

  private:
    LookupVector slice(int64_t row1, int64_t col1, int64_t row2, int64_t col2) const;

    std::optional<FormulaValue> error_;
    int64_t rows_ = 0, cols_ = 0;
    CellResolver* resolver_ = nullptr;   // set for a reference
    std::optional<Reference> reference_; // clipped to the grid
    FormulaValue array_;                 // for an array (rows may be ragged)
};

} // namespace sumora
