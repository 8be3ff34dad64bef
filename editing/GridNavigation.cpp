#include "editing/GridNavigation.h"

#include <algorithm>

namespace sumora {

namespace {

bool filled(const Sheet& sheet, int64_t row, int64_t col) {
    return sheet.cell(row, col).hasContent();
}

} // namespace

GridPoint dataEdge(const Sheet& sheet, GridPoint from, int dRow, int dCol) {
    const int64_t rows = sheet.rowCount(), cols = sheet.columnCount();
    auto inside = [&](int64_t r, int64_t c) { return r >= 0 && c >= 0 && r < rows && c < cols; };
    GridPoint next{from.row + dRow, from.col + dCol};
    if (!inside(next.row, next.col)) return from;

    if (filled(sheet, from.row, from.col) && filled(sheet, next.row, next.col)) {
        while (inside(next.row + dRow, next.col + dCol) && filled(sheet, next.row + dRow, next.col + dCol)) {
            next.row += dRow;
            next.col += dCol;
        }
        return next;
    }
    // Searching downwards past the stored rows finds nothing: jump to the edge
    // rather than walking a million empty rows.
    const int64_t lastStored = sheet.storedRowCount() - 1;
    while (!filled(sheet, next.row, next.col)) {
        if (dRow > 0 && next.row >= lastStored) return {rows - 1, next.col};
        if (!inside(next.row + dRow, next.col + dCol)) return next;
        next.row += dRow;
        next.col += dCol;
    }
    return next;
}

} // namespace sumora
