#pragma once
// Texts the reporting commands (check, diff, trace, recalc --profile) share:
// cell labels as formulas write them, JSON strings, and the reading of a
// "Sheet!B2" argument.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sumora::cli {

// "Data!B2", or "'Q1 Sales'!B2" when the name needs quoting.
std::string cellLabel(std::string_view sheet, int64_t col, int64_t row);
// A range's label: "Data!A1:B9" (one cell prints as a cell).
std::string rangeLabel(std::string_view sheet, int64_t col1, int64_t row1, int64_t col2, int64_t row2);

// The text as a JSON string literal, quotes included.
std::string jsonString(std::string_view text);

struct CellArgument {
    std::optional<std::string> sheet; // absent: the first sheet
    int64_t col = 0, row = 0;
};
// "Sheet!B2", "'My sheet'!B2" or "B2"; nothing when the cell part is not an address.
std::optional<CellArgument> parseCellArgument(std::string_view text);

} // namespace sumora::cli
