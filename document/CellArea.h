#pragma once
// A block of cells by zero-based corners: a merged region, a selection, a
// rule's range. The corners are kept as given; the min/max accessors order them.
#include <algorithm>
#include <cstdint>

#include "document/CellPosition.h"

namespace sumora {

struct CellArea {
    int64_t startCol = 0, startRow = 0, endCol = 0, endRow = 0;

    static CellArea single(CellPosition at) { return {at.col, at.row, at.col, at.row}; }
    CellPosition start() const { return {startCol, startRow}; }
    CellPosition end() const { return {endCol, endRow}; }
    int64_t minCol() const { return std::min(startCol, endCol); }
    int64_t maxCol() const { return std::max(startCol, endCol); }
    int64_t minRow() const { return std::min(startRow, endRow); }
    int64_t maxRow() const { return std::max(startRow, endRow); }
    bool isSingleCell() const { return startCol == endCol && startRow == endRow; }
    bool contains(CellPosition at) const {
        return at.col >= minCol() && at.col <= maxCol() && at.row >= minRow() && at.row <= maxRow();
    }
    bool operator==(const CellArea&) const = default;
};

} // namespace sumora
