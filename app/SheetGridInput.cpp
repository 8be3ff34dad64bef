// The grid's keyboard and mouse: spreadsheet movement (Enter, Tab, Ctrl+arrow
// to the data edge, Home/End), type-to-edit, Delete, the fill handle, and
// picking cells for a function's arguments.
#include <QApplication>
#include <QDesktopServices>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QUrl>

#include "app/FrozenPanes.h"
#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"
#include "document/ColumnLetters.h"
#include "editing/GridNavigation.h"
#include "values/Log.h"

namespace sumora::app {

namespace {

SelectionRange rangeBetween(const QModelIndex& a, const QModelIndex& b) {
    SelectionRange r{a.column(), a.row(), b.column(), b.row()};
    return SelectionRange{r.minCol(), r.minRow(), r.maxCol(), r.maxRow()};
}

QString referenceText(const SelectionRange& r) {
    QString text = QString::fromStdString(cellAddress({r.minCol(), r.minRow()}));
    if (!r.isSingleCell())
        text += QLatin1Char(':') + QString::fromStdString(cellAddress({r.maxCol(), r.maxRow()}));
    return text;
}

bool isPlainText(const QKeyEvent* event) {
    const auto mods = event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
    if (mods != Qt::NoModifier || event->text().isEmpty()) return false;
    return event->text().front().isPrint();
}

} // namespace

void SheetGridView::moveCurrent(int row, int column, bool extend) {
    if (extend) return extendSelectionTo(row, column);
    row = std::clamp(row, 0, std::max(0, model_.rowCount() - 1));
    column = std::clamp(column, 0, std::max(0, model_.columnCount() - 1));
    if (model_.index(row, column).isValid()) selectCell(row, column);
}

void SheetGridView::moveAfterEdit(QAbstractItemDelegate::EndEditHint hint) {
    const QModelIndex c = currentIndex();
    if (!c.isValid()) return;
    const bool back = QApplication::keyboardModifiers() & Qt::ShiftModifier;
    switch (hint) {
    case QAbstractItemDelegate::SubmitModelCache: {
        // Enter after a run of Tabs goes back to the column the run began in.
        const int column = back ? c.column() : tabRunStart_.value_or(c.column());
        tabRunStart_.reset();
        moveCurrent(c.row() + (back ? -1 : 1), column, false);
        break;
    }
    case QAbstractItemDelegate::EditNextItem:
        if (!tabRunStart_) tabRunStart_ = c.column();
        moveCurrent(c.row(), c.column() + 1, false);
        break;
    case QAbstractItemDelegate::EditPreviousItem:
        moveCurrent(c.row(), c.column() - 1, false);
        break;
    default:
        break;
    }
    setFocus();
}

void SheetGridView::closeEditor(QWidget* editorWidget, QAbstractItemDelegate::EndEditHint hint) {
    QTableView::closeEditor(editorWidget, QAbstractItemDelegate::NoHint);
    moveAfterEdit(hint);
}

void SheetGridView::keyPressEvent(QKeyEvent* event) {
    const QModelIndex c = currentIndex();
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    const bool ctrl = event->modifiers() & Qt::ControlModifier;
    const int key = event->key();

    if (picking_ && (key == Qt::Key_Return || key == Qt::Key_Enter)) return emit pickingCommitRequested();
    if (picking_ && key == Qt::Key_Escape) return emit pickingCancelRequested();
    if (fillTarget_ && key == Qt::Key_Escape) {
        fillSource_.reset();
        fillTarget_.reset();
        viewport()->update();
        return;
    }
    if (!c.isValid() || isEditing()) return QTableView::keyPressEvent(event);
    const Sheet* sheet = model_.sheet();
    if (handleMappedKey(event)) return;
    // Shift+keys move the selection's far corner; the active cell stays.
    const QModelIndex from = shift ? movingCorner() : c;

    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return moveAfterEdit(QAbstractItemDelegate::SubmitModelCache);
    case Qt::Key_Tab:
        return moveAfterEdit(QAbstractItemDelegate::EditNextItem);
    case Qt::Key_Backtab:
        tabRunStart_.reset();
        return moveCurrent(c.row(), c.column() - 1, false);
    case Qt::Key_F2:
        return startEditing();
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        if (event->modifiers() & ~Qt::KeypadModifier) break;
        editor().clearContents();
        emit cellsEdited();
        return;
    case Qt::Key_Home:
        tabRunStart_.reset();
        return ctrl ? moveCurrent(0, 0, shift) : moveCurrent(from.row(), 0, shift);
    case Qt::Key_End:
        tabRunStart_.reset();
        if (sheet) {
            const auto used = sheet->usedExtent();
            if (ctrl)
                return moveCurrent(static_cast<int>(std::max<int64_t>(0, used.rows - 1)),
                                   static_cast<int>(std::max<int64_t>(0, used.cols - 1)), shift);
            const int64_t lastInRow = sheet->storedColumnCount(from.row()) - 1;
            return moveCurrent(from.row(), static_cast<int>(std::max<int64_t>(0, lastInRow)), shift);
        }
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right: {
        tabRunStart_.reset();
        const int dRow = key == Qt::Key_Up ? -1 : key == Qt::Key_Down ? 1 : 0;
        const int dCol = key == Qt::Key_Left ? -1 : key == Qt::Key_Right ? 1 : 0;
        if (ctrl && sheet) {
            const CellPosition to = dataEdge(*sheet, {from.column(), from.row()}, dRow, dCol,
                                             model_.rowCount(), model_.columnCount());
            return moveCurrent(static_cast<int>(to.row), static_cast<int>(to.col), shift);
        }
        return moveCurrent(from.row() + dRow, from.column() + dCol, shift);
    }
    default:
        break;
    }
    if (isPlainText(event)) return startEditing(event->text());
    QTableView::keyPressEvent(event);
}

void SheetGridView::setPickingMode(bool picking) {
    picking_ = picking;
    pickAnchor_.reset();
    picked_.reset();
    viewport()->setCursor(picking ? Qt::CrossCursor : Qt::ArrowCursor);
    viewport()->update();
    frozen_->repaint();
}

void SheetGridView::pickPress(const QModelIndex& index) {
    if (!index.isValid()) return;
    pickAnchor_ = index;
    pickMove(index);
}

void SheetGridView::pickMove(const QModelIndex& index) {
    if (!pickAnchor_ || !index.isValid()) return;
    const SelectionRange range = rangeBetween(*pickAnchor_, index);
    if (picked_ == range) return;
    picked_ = range;
    viewport()->update();
    frozen_->repaint();
    emit rangePicked(referenceText(range));
}

void SheetGridView::pickRelease() {
    pickAnchor_.reset();
}

void SheetGridView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return QTableView::mousePressEvent(event);
    const QPoint pos = event->position().toPoint();
    if (picking_) return pickPress(indexAt(pos));
    if ((event->modifiers() & Qt::ControlModifier) && followLink(indexAt(pos))) return;
    if (fillHandleRect().adjusted(-2, -2, 2, 2).contains(pos) && !isEditing()) {
        fillSource_ = selectedRange();
        fillTarget_ = fillSource_;
        return;
    }
    tabRunStart_.reset();
    const QModelIndex at = indexAt(pos);
    if ((event->modifiers() & Qt::ShiftModifier) && at.isValid() && currentIndex().isValid() &&
        !isEditing()) {
        extendSelectionTo(at.row(), at.column());
        return;
    }
    QTableView::mousePressEvent(event);
    dragAnchor_ = at.isValid() && !(event->modifiers() & Qt::ControlModifier) ? at : QModelIndex();
}

// Addresses outside the workbook open in the desktop's handler (browser,
// mail program); places inside it are the window's to show.
bool SheetGridView::followLink(const QModelIndex& index) {
    const Sheet* sheet = model_.sheet();
    if (!index.isValid() || !sheet || sheet->hyperlinks.empty()) return false;
    auto it = sheet->hyperlinks.find(cellAddress({index.column(), index.row()}));
    if (it == sheet->hyperlinks.end()) return false;
    const CellHyperlink& link = it->second;
    if (!link.target.empty()) {
        QUrl url(QString::fromStdString(link.target));
        if (!link.location.empty()) url.setFragment(QString::fromStdString(link.location));
        if (!QDesktopServices::openUrl(url)) Log::info("Could not open the link " + link.target);
    } else {
        emit internalLinkActivated(QString::fromStdString(link.location));
    }
    return true;
}

void SheetGridView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint pos = event->position().toPoint();
    if (picking_) {
        if (event->buttons() & Qt::LeftButton) pickMove(indexAt(pos));
        return;
    }
    if (fillSource_) {
        const QModelIndex at = indexAt(pos);
        if (!at.isValid()) return;
        const SelectionRange src = *fillSource_;
        SelectionRange target = src;
        const int64_t down = at.row() - src.maxRow(), up = src.minRow() - at.row();
        const int64_t right = at.column() - src.maxCol(), left = src.minCol() - at.column();
        // The fill runs along the direction the pointer left the block furthest.
        if (std::max(down, up) >= std::max(right, left)) {
            if (down > 0)
                target.endRow = at.row();
            else if (up > 0)
                target.startRow = at.row();
        } else {
            if (right > 0)
                target.endCol = at.column();
            else if (left > 0)
                target.startCol = at.column();
        }
        if (target != *fillTarget_) {
            fillTarget_ = target;
            viewport()->update();
        }
        return;
    }
    if (!(event->buttons() & Qt::LeftButton))
        viewport()->setCursor(fillHandleRect().adjusted(-2, -2, 2, 2).contains(pos) ? Qt::CrossCursor
                                                                                    : Qt::ArrowCursor);
    if ((event->buttons() & Qt::LeftButton) && dragAnchor_.isValid() && !isEditing()) {
        const QModelIndex at = indexAt(pos);
        if (at.isValid()) {
            if (currentIndex() != dragAnchor_)
                selectionModel()->setCurrentIndex(dragAnchor_, QItemSelectionModel::NoUpdate);
            extendSelectionTo(at.row(), at.column());
        }
        return;
    }
    QTableView::mouseMoveEvent(event);
}

void SheetGridView::mouseReleaseEvent(QMouseEvent* event) {
    if (picking_) return pickRelease();
    if (fillSource_) return finishFillDrag();
    dragAnchor_ = QModelIndex();
    QTableView::mouseReleaseEvent(event);
}

void SheetGridView::finishFillDrag() {
    const SelectionRange source = *fillSource_, target = *fillTarget_;
    fillSource_.reset();
    fillTarget_.reset();
    viewport()->update();
    if (target == source) return;
    editor().performFill(source, target);
    model_.refreshCells();
    selectRange(static_cast<int>(target.minRow()), static_cast<int>(target.minCol()),
                static_cast<int>(target.maxRow()), static_cast<int>(target.maxCol()));
    emit cellsEdited();
}

} // namespace sumora::app
