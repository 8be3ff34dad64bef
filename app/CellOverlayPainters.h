#pragma once
// Drawing that other parts of the window add inside cells after the grid has
// painted a cell's own content (sparklines, for instance). Painters are
// registered once per process and called for every visible cell, so each
// should return at once for cells it has nothing to draw in.
#include <QPainter>
#include <QRect>
#include <functional>
#include <vector>

#include "document/Sheet.h"

namespace sumora::app {

using CellOverlayPainter = std::function<void(QPainter& painter, const QRect& cellRect, const Sheet& sheet,
                                              int64_t row, int64_t col)>;

void registerCellOverlayPainter(CellOverlayPainter painter);
const std::vector<CellOverlayPainter>& cellOverlayPainters();

} // namespace sumora::app
