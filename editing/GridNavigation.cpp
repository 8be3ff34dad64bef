#include "editing/GridNavigation.h"

#include <algorithm>

namespace sumora {

namespace {

bool filled(const Sheet& sheet, int64_t row, int64_t col) {
    return sheet.cell(row, col).hasContent();
}

} // namespace

GridPoint dataEdge(const Sheet& sheet, GridPoint from, int dRow, int dCol) {
    return dataEdge(sheet, from, dRow, dCol, sheet.rowCount(), sheet.columnCount());
}

GridPoint dataEdge(const Sheet& sheet, GridPoint from, int dRow, int dCol, int64_t rows, int64_t cols) {
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
    // Searching down or right past the stored cells finds nothing: jump to
    // the edge rather than walking a million empty rows.
    const int64_t lastStored = sheet.storedRowCount() - 1;
    while (!filled(sheet, next.row, next.col)) {
        if (dRow > 0 && next.row >= lastStored) return {rows - 1, next.col};
        if (dCol > 0 && next.col >= sheet.storedColumnCount(next.row) - 1) return {next.row, cols - 1};
        if (!inside(next.row + dRow, next.col + dCol)) return next;
        next.row += dRow;
        next.col += dCol;
    }
    return next;
}

} // namespace sumora
