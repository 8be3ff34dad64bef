#include "editing/GridNavigation.h"

#include <algorithm>

namespace sumora {

namespace {

bool filled(const Sheet& sheet, CellPosition at) {
    return sheet.cell(at.row, at.col).hasContent();
}

} // namespace

CellPosition dataEdge(const Sheet& sheet, CellPosition from, int dRow, int dCol) {
    return dataEdge(sheet, from, dRow, dCol, sheet.rowCount(), sheet.columnCount());
}

CellPosition dataEdge(const Sheet& sheet, CellPosition from, int dRow, int dCol, int64_t rows, int64_t cols) {
    auto inside = [&](CellPosition at) {
        return at.row >= 0 && at.col >= 0 && at.row < rows && at.col < cols;
    };
    auto step = [&](CellPosition at) { return CellPosition{at.col + dCol, at.row + dRow}; };
    CellPosition next = step(from);
    if (!inside(next)) return from;

    if (filled(sheet, from) && filled(sheet, next)) {
        while (inside(step(next)) && filled(sheet, step(next)))
            next = step(next);
        return next;
    }
    // Searching down or right past the stored cells finds nothing: jump to
    // the edge rather than walking a million empty rows.
    const int64_t lastStored = sheet.storedRowCount() - 1;
    while (!filled(sheet, next)) {
        if (dRow > 0 && next.row >= lastStored) return {next.col, rows - 1};
        if (dCol > 0 && next.col >= sheet.storedColumnCount(next.row) - 1) return {cols - 1, next.row};
        if (!inside(step(next))) return next;
        next = step(next);
    }
    return next;
}

} // namespace sumora
