#pragma once
// One cell of a sheet by zero-based column and row ("A1" is {0, 0}). Every
// layer passes positions as this one value (and blocks as CellArea) rather
// than as two loose integers, so that a column cannot be handed over as a
// row. Loose integers remain where the order is fixed by what they mirror:
// Sheet's cell accessors take (row, col) like `cells[row][column]`, and
// sizes and shifts are given as (rows, cols) and (rowDelta, colDelta).
#include <cstdint>

namespace sumora {

struct CellPosition {
    int64_t col = 0;
    int64_t row = 0;
    bool operator==(const CellPosition&) const = default;
};

} // namespace sumora
