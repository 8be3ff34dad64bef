#pragma once
// Column lettering shared by every layer that prints or reads a column:
// bijective base 26, "A" = 0, "Z" = 25, "AA" = 26.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "document/CellPosition.h"

namespace sumora {

// 0 → "A", 701 → "ZZ", 702 → "AAA". Defined for n >= 0 (negative gives "").
std::string columnLetter(int64_t column);
void appendColumnLetter(std::string& out, int64_t column);

// Letters to a zero-based column: upper-cases, skips non-ASCII characters, and
// adds (code − 64) per character. The empty text gives −1. Returns nothing when
// the value would overflow (the text cannot name a real column).
std::optional<int64_t> columnIndex(std::string_view letters);

// "B7" style address: column letters followed by the one-based row.
std::string cellAddress(CellPosition at);

// A1-style text (optional "$" markers, ASCII letters, a row of at least 1) to a
// zero-based position; used by readers, dialogs and tools.
std::optional<CellPosition> parseCellAddress(std::string_view text);

} // namespace sumora
