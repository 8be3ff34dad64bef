#pragma once
// Where keyboard movement lands on a sheet. Kept free of the toolkit so the
// rules are easy to test.
#include <cstdint>

#include "document/CellPosition.h"
#include "document/Sheet.h"

namespace sumora {

// Ctrl+arrow: from a cell with content whose neighbour has content, to the
// last cell of that run; otherwise to the next cell with content, or to the
// edge of the grid when there is none. `dRow`/`dCol` is one unit step.
CellPosition dataEdge(const Sheet& sheet, CellPosition from, int dRow, int dCol);
// The same over a grid of `rows` × `cols` (the view shows more than the sheet
// stores: moving off the data reaches the last row or column of that grid).
CellPosition dataEdge(const Sheet& sheet, CellPosition from, int dRow, int dCol, int64_t rows, int64_t cols);

} // namespace sumora
