#pragma once
// Edits of a workbook's tabs: adding, renaming, deleting, moving, hiding and
// colouring sheets. Free of the toolkit so the rules are tested directly; the
// tab bar calls these and then refreshes.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

// "Sheet N" with the smallest N ≥ the sheet count + 1 that no sheet uses.
std::string nextSheetName(const SumoraDocument& document);

// Why `name` cannot be given to the sheet at `index` (empty, too long, a
// forbidden character, or taken by another sheet ignoring case); nothing
// when it can.
std::optional<std::string> sheetNameProblem(const SumoraDocument& document, size_t index,
                                            std::string_view name);

// Inserts a new 500 × 26 sheet after `after` (at the end when absent) and
// returns its index.
size_t addSheet(SumoraDocument& document, std::optional<size_t> after = std::nullopt);

// Renames after checking with sheetNameProblem; returns the problem instead
// of renaming when there is one.
std::optional<std::string> renameSheet(SumoraDocument& document, size_t index, std::string_view name);

// Deletes a sheet and turns references to it on the other sheets into
// "#REF!". Refused (false) for the last visible sheet.
bool deleteSheet(SumoraDocument& document, size_t index);

// Moves the sheet at `from` so that it ends up at `to`.
void moveSheet(SumoraDocument& document, size_t from, size_t to);

// Hides or shows a sheet; hiding the last visible sheet is refused (false).
bool setSheetHidden(SumoraDocument& document, size_t index, bool hidden);

// Indices of the sheets the tab bar shows, in tab order.
std::vector<size_t> visibleSheetIndices(const SumoraDocument& document);

inline constexpr std::string_view kLastVisibleSheetMessage =
    "A workbook must keep at least one visible sheet.";

} // namespace sumora
