#pragma once
// Texts the reporting commands (check, diff, trace, recalc --profile) share:
// JSON strings and the reading of a "Sheet!B2" argument. Cell labels as
// formulas write them ("Data!B2") come from functions/ReferenceSupport.h.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "functions/ReferenceSupport.h"

namespace sumora::cli {

// The text as a JSON string literal, quotes included.
std::string jsonString(std::string_view text);

struct CellArgument {
    std::optional<std::string> sheet; // absent: the first sheet
    int64_t col = 0, row = 0;
};
// "Sheet!B2", "'My sheet'!B2" or "B2"; nothing when the cell part is not an address.
std::optional<CellArgument> parseCellArgument(std::string_view text);

} // namespace sumora::cli
