#pragma once
// What a typed destination names: the Name Box and the Go To dialog accept a
// cell ("AB1000"), a block ("B2:D9"), either on another sheet ("Sheet2!C3",
// "'Q1 Sales'!A1") and a workbook name. Kept free of the toolkit so the
// reading rules are easy to test.
#include <cstdint>
#include <optional>
#include <string_view>

#include "document/CellArea.h"
#include "document/SumoraDocument.h"

namespace sumora {

// The largest grid a sheet shows and a reference may address (XFD1048576).
inline constexpr int64_t kSheetRowLimit = 1048576;
inline constexpr int64_t kSheetColumnLimit = 16384;

struct GoToTarget {
    size_t sheetIndex = 0;
    // Corners ordered low to high.
    CellArea area;
    bool operator==(const GoToTarget&) const = default;
};

// Reads `text` against `document`, with unqualified references and names
// without a sheet on `activeSheet`. Nothing when the text names no cell of
// the grid and no workbook name, or a sheet that does not exist.
std::optional<GoToTarget> resolveGoToTarget(const SumoraDocument& document, size_t activeSheet,
                                            std::string_view text);

} // namespace sumora
