#pragma once
// A block of cells as the user selected it: the corner where the selection
// started and the one where it ended, in either order.
#include <algorithm>
#include <cstdint>

namespace sumora {

struct SelectionRange {
    int64_t startCol = 0, startRow = 0, endCol = 0, endRow = 0;
    // Bounds ordered low to high.
    int64_t minCol() const { return std::min(startCol, endCol); }
    int64_t maxCol() const { return std::max(startCol, endCol); }
    int64_t minRow() const { return std::min(startRow, endRow); }
    int64_t maxRow() const { return std::max(startRow, endRow); }
    bool isSingleCell() const { return startCol == endCol && startRow == endRow; }
    bool operator==(const SelectionRange&) const = default;
};

} // namespace sumora
