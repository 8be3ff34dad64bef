// Automatic row heights: a row the user never sized is as tall as its
// tallest wrapped text at the column's width, and never below the default.
// Nothing is stored in the sheet: the height follows the content.
#include <QFontMetrics>
#include <QHeaderView>

#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"

namespace sumora::app {

namespace {

constexpr int kTextPadding = 4;
constexpr int kVerticalPadding = 4;

} // namespace

void SheetGridView::fitWrappedRows(int64_t first, int64_t last) {
    const bool was = applyingLayout_;
    applyingLayout_ = true; // a fitted height is not the user's: onSectionResized must not store it
    fitWrappedRowsIn(*this, first, last);
    applyingLayout_ = was;
}

void SheetGridView::fitWrappedRowsIn(QTableView& view, int64_t first, int64_t last, bool sizesAreDefault) {
    const Sheet* sheet = model_.sheet();
    if (!sheet) return;
    QHeaderView* rows = view.verticalHeader();
    first = std::max<int64_t>(0, first);
    last = std::min<int64_t>({last, sheet->storedRowCount() - 1, rows->count() - 1});
    const int standard = std::max(1, static_cast<int>(std::lround(kDefaultRowHeight * zoom_)));
    for (int64_t row = first; row <= last; ++row) {
        if (!sheet->rowHeights.empty() && sheet->rowHeights.count(row)) continue;
        int height = standard;
        const int64_t stored = sheet->storedColumnCount(row);
        for (int64_t col = 0; col < stored; ++col) {
            const Cell& cell = sheet->cell(row, col);
            const CellFormat* format = cell.formatHandle();
            if (!format || !format->wrapText || cell.displayValue().empty()) continue;
            if (rows->isSectionHidden(static_cast<int>(row))) break;
            const CellAppearance a =
                model_.appearance(model_.index(static_cast<int>(row), static_cast<int>(col)));
            const int width = std::max(1, view.columnWidth(static_cast<int>(col)) - 2 * kTextPadding);
            const QRect needed = QFontMetrics(a.font).boundingRect(QRect(0, 0, width, 1 << 20),
                                                                   Qt::AlignLeft | Qt::TextWordWrap, a.text);
            height = std::max(height, needed.height() + kVerticalPadding);
        }
        // Most rows wrap nothing: right after a reset of every size they need no visit.
        if (height == standard && sizesAreDefault) continue;
        if (rows->isSectionHidden(static_cast<int>(row))) continue;
        if (rows->sectionSize(static_cast<int>(row)) != height)
            rows->resizeSection(static_cast<int>(row), height);
    }
}

} // namespace sumora::app
