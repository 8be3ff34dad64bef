#pragma once
// Text that is wider than its cell runs on over empty neighbours: to the
// right for left-aligned text, to the left for right-aligned, both ways for
// centred. Numbers never run on (they show ### instead), nor does wrapped or
// filled text. Every cell the text crosses paints its own part, so a
// repaint of a single cell, or a source scrolled out of view, still shows
// the whole run.
#include <QRect>
#include <vector>

class QFontMetrics;
class QTableView;

namespace sumora {
class Sheet;
}

namespace sumora::app {

struct CellAppearance;

// Whether a cell with this appearance may run on into its neighbours.
bool mayOverflow(const CellAppearance& a);

// The rectangle the text of (row, col), whose own rectangle is `cell`, is laid
// out in: `cell` widened over the empty neighbours it needs.
QRect overflowRect(const QTableView& view, const Sheet& sheet, int row, int col, const QRect& cell,
                   const CellAppearance& a, const QFontMetrics& metrics);

// The columns of row `row` whose text may run into the empty cell (row, col):
// the nearest cell with content on each side.
std::vector<int> overflowSources(const QTableView& view, const Sheet& sheet, int row, int col);

} // namespace sumora::app
