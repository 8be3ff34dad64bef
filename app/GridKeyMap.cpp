// The grid's selection gestures and the keys beyond plain movement:
// Shift+arrows and Shift+click (on cells or headers) extend from the active
// cell (which stays put), Ctrl+A selects the used area then the sheet, Ctrl+Space and
// Shift+Space select columns and rows, Ctrl+; and Ctrl+Shift+; start an
// entry with the date or time, Ctrl+PgUp/PgDn step through the sheets and
// Ctrl+wheel zooms.
#include "app/GridKeyMap.h"

#include <QDateTime>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"

namespace sumora::app {

std::optional<QString> dateTimeShortcutText(const QKeyEvent* event) {
    const auto mods = event->modifiers() & ~Qt::KeypadModifier;
    if (!(mods & Qt::ControlModifier) || (mods & (Qt::AltModifier | Qt::MetaModifier))) return std::nullopt;
    const bool shift = mods & Qt::ShiftModifier;
    if (event->key() == Qt::Key_Semicolon && !shift) return QDate::currentDate().toString(Qt::ISODate);
    if (event->key() == Qt::Key_Colon || (event->key() == Qt::Key_Semicolon && shift))
        return QTime::currentTime().toString(QStringLiteral("HH:mm"));
    return std::nullopt;
}

QModelIndex SheetGridView::movingCorner() const {
    const QModelIndex c = currentIndex();
    const auto range = selectedRange();
    if (!c.isValid() || !range) return c;
    const auto row = c.row() == range->minRow() ? range->maxRow() : range->minRow();
    const auto col = c.column() == range->minCol() ? range->maxCol() : range->minCol();
    return model_.index(static_cast<int>(row), static_cast<int>(col));
}

void SheetGridView::extendSelectionTo(int row, int column) {
    row = std::clamp(row, 0, std::max(0, model_.rowCount() - 1));
    column = std::clamp(column, 0, std::max(0, model_.columnCount() - 1));
    QModelIndex anchor = currentIndex();
    const QModelIndex target = model_.index(row, column);
    if (!target.isValid()) return;
    if (!anchor.isValid()) {
        selectionModel()->setCurrentIndex(target, QItemSelectionModel::NoUpdate);
        anchor = target;
    }
    selectionModel()->select(QItemSelection(anchor, target), QItemSelectionModel::ClearAndSelect);
    QTableView::scrollTo(target);
    syncEditorSelection();
}

void SheetGridView::extendLinesTo(Qt::Orientation orientation, int section) {
    const QModelIndex active = currentIndex();
    if (!active.isValid()) return;
    const bool rows = orientation == Qt::Vertical;
    const int from = rows ? active.row() : active.column();
    const int first = std::max(0, std::min(from, section));
    const int last = std::min(std::max(from, section), (rows ? model_.rowCount() : model_.columnCount()) - 1);
    const QItemSelection lines =
        rows ? QItemSelection(model_.index(first, 0), model_.index(last, model_.columnCount() - 1))
             : QItemSelection(model_.index(0, first), model_.index(model_.rowCount() - 1, last));
    selectionModel()->select(lines, QItemSelectionModel::ClearAndSelect);
    syncEditorSelection();
}

// Qt moves the current index to the last header section clicked or
// dragged over; here the active cell stays where the gesture began.
void SheetGridView::watchHeaderGestures(QTableView& view) {
    for (QHeaderView* header : {view.verticalHeader(), view.horizontalHeader()}) {
        header->viewport()->installEventFilter(this);
        connect(header, &QHeaderView::sectionPressed, this, [this] { headerAnchor_ = currentIndex(); });
        connect(header, &QHeaderView::sectionEntered, this, [this] {
            if (headerAnchor_.isValid() && currentIndex() != headerAnchor_)
                selectionModel()->setCurrentIndex(headerAnchor_, QItemSelectionModel::NoUpdate);
        });
    }
}

bool SheetGridView::eventFilter(QObject* object, QEvent* event) {
    auto* header = qobject_cast<QHeaderView*>(object->parent());
    if (event->type() == QEvent::MouseButtonPress && header && object == header->viewport()) {
        const auto* press = static_cast<QMouseEvent*>(event);
        const int section = header->logicalIndexAt(press->position().toPoint());
        if (press->button() == Qt::LeftButton && (press->modifiers() & Qt::ShiftModifier) && section >= 0 &&
            !picking_ && !isEditing() && currentIndex().isValid()) {
            extendLinesTo(header->orientation(), section);
            return true;
        }
    }
    return QTableView::eventFilter(object, event);
}

void SheetGridView::selectAllStep() {
    const Sheet* sheet = model_.sheet();
    const int lastRow = model_.rowCount() - 1, lastCol = model_.columnCount() - 1;
    if (!sheet || lastRow < 0 || lastCol < 0) return;
    const Sheet::Extent used = sheet->usedExtent();
    const SelectionRange usedArea{0, 0, std::max<int64_t>(0, used.cols - 1),
                                  std::max<int64_t>(0, used.rows - 1)};
    const bool wholeSheet = used.rows == 0 || selectedRange() == usedArea;
    const SelectionRange target = wholeSheet ? SelectionRange{0, 0, lastCol, lastRow} : usedArea;
    QModelIndex active = currentIndex();
    if (!active.isValid() || active.row() > target.endRow || active.column() > target.endCol)
        active = model_.index(0, 0);
    selectionModel()->setCurrentIndex(active, QItemSelectionModel::NoUpdate);
    selectionModel()->select(
        QItemSelection(model_.index(0, 0),
                       model_.index(static_cast<int>(target.endRow), static_cast<int>(target.endCol))),
        QItemSelectionModel::ClearAndSelect);
    syncEditorSelection();
}

void SheetGridView::selectWholeColumns() {
    const auto range = selectedRange();
    if (!range) return;
    selectionModel()->select(
        QItemSelection(model_.index(0, static_cast<int>(range->minCol())),
                       model_.index(model_.rowCount() - 1, static_cast<int>(range->maxCol()))),
        QItemSelectionModel::ClearAndSelect);
    syncEditorSelection();
}

void SheetGridView::selectWholeRows() {
    const auto range = selectedRange();
    if (!range) return;
    selectionModel()->select(
        QItemSelection(model_.index(static_cast<int>(range->minRow()), 0),
                       model_.index(static_cast<int>(range->maxRow()), model_.columnCount() - 1)),
        QItemSelectionModel::ClearAndSelect);
    syncEditorSelection();
}

SelectionRange SheetGridView::commandRange(const SelectionRange& shown) const {
    SelectionRange r{shown.minCol(), shown.minRow(), shown.maxCol(), shown.maxRow()};
    const bool wholeColumns = r.startRow == 0 && r.endRow >= model_.rowCount() - 1;
    const bool wholeRows = r.startCol == 0 && r.endCol >= model_.columnCount() - 1;
    const Sheet* sheet = model_.sheet();
    // The used extent walks every stored row: only whole lines need it.
    if (!sheet || (!wholeColumns && !wholeRows)) return r;
    const Sheet::Extent used = sheet->usedExtent();
    if (wholeColumns) r.endRow = std::max<int64_t>(0, std::max(sheet->rowCount(), used.rows) - 1);
    if (wholeRows) r.endCol = std::max<int64_t>(0, std::max(sheet->columnCount(), used.cols) - 1);
    return r;
}

bool SheetGridView::handleMappedKey(QKeyEvent* event) {
    const auto mods = event->modifiers() & ~Qt::KeypadModifier;
    const int key = event->key();
    if (mods == Qt::ControlModifier && (key == Qt::Key_PageUp || key == Qt::Key_PageDown)) {
        emit sheetStepRequested(key == Qt::Key_PageUp ? -1 : 1);
        return true;
    }
    if (key == Qt::Key_Space && mods == Qt::ControlModifier) {
        selectWholeColumns();
        return true;
    }
    if (key == Qt::Key_Space && mods == Qt::ShiftModifier) {
        selectWholeRows();
        return true;
    }
    if (event->matches(QKeySequence::SelectAll)) {
        selectAllStep();
        return true;
    }
    if (auto text = dateTimeShortcutText(event)) {
        startEditing(*text);
        return true;
    }
    return false;
}

void SheetGridView::wheelEvent(QWheelEvent* event) {
    if (!(event->modifiers() & Qt::ControlModifier)) return QTableView::wheelEvent(event);
    const int steps = event->angleDelta().y() / 120;
    if (steps != 0) emit zoomStepRequested(steps);
    event->accept();
}

} // namespace sumora::app
