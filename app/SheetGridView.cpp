#include "app/SheetGridView.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QPainter>
#include <QScrollBar>
#include <cmath>

#include "app/CellDelegate.h"
#include "app/FrozenPanes.h"
#include "app/SheetTableModel.h"

namespace sumora::app {

namespace {

// Header signals are silenced while a whole layout is applied: Qt reports
// every section it touches, which on a million rows costs more than the
// layout itself. The view is told once at the end instead.
class SilentHeaders {
  public:
    explicit SilentHeaders(QTableView& view)
        : h_(view.horizontalHeader()), v_(view.verticalHeader()), hWas_(h_->blockSignals(true)),
          vWas_(v_->blockSignals(true)) {}
    ~SilentHeaders() {
        h_->blockSignals(hWas_);
        v_->blockSignals(vWas_);
    }

  private:
    QHeaderView* h_;
    QHeaderView* v_;
    bool hWas_, vWas_;
};

int scaled(double pixels, double zoom) {
    return std::max(1, static_cast<int>(std::lround(pixels * zoom)));
}

} // namespace

SheetGridView::SheetGridView(SheetTableModel& model, QWidget* parent)
    : QTableView(parent), model_(model), delegate_(new CellDelegate(model, this)) {
    setObjectName(QStringLiteral("sheetGrid"));
    frozen_ = new FrozenPanes(*this);
    setModel(&model_);
    setItemDelegate(delegate_);
    setSelectionMode(QAbstractItemView::ContiguousSelection);
    setSelectionBehavior(QAbstractItemView::SelectItems);
    setEditTriggers(QAbstractItemView::DoubleClicked);
    setCornerButtonEnabled(true);
    setWordWrap(false);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerItem);
    setTabKeyNavigation(true);
    viewport()->setMouseTracking(true);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    verticalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    horizontalHeader()->setHighlightSections(true);
    verticalHeader()->setMinimumSectionSize(4);
    horizontalHeader()->setMinimumSectionSize(4);
    verticalHeader()->setDefaultAlignment(Qt::AlignCenter);
    setGridLineColor(QColor(0xD2, 0xD2, 0xD7));

    connect(horizontalHeader(), &QHeaderView::sectionResized, this,
            [this](int i, int, int size) { onSectionResized(Qt::Horizontal, i, size); });
    connect(verticalHeader(), &QHeaderView::sectionResized, this,
            [this](int i, int, int size) { onSectionResized(Qt::Vertical, i, size); });
    connect(&model_, &QAbstractItemModel::modelReset, this, [this] { applySheetLayout(); });
    watchHeaderGestures(*this);
    connect(delegate_, &CellDelegate::moveRequested, this, [this](int dRow, int dCol) {
        const QModelIndex c = currentIndex();
        tabRunStart_.reset();
        if (c.isValid()) moveCurrent(c.row() + dRow, c.column() + dCol, false);
    });
    applySheetLayout();
}

SheetGridView::~SheetGridView() = default;

SumoraEditorView& SheetGridView::editor() const {
    return model_.editor();
}

void SheetGridView::setRenderDefaults(const CellRenderDefaults& defaults) {
    CellRenderDefaults d = defaults;
    d.zoom = zoom_;
    model_.appearances().setDefaults(d);
    viewport()->update();
    frozen_->repaint();
}

void SheetGridView::setDefaultColumnWidth(double pixels) {
    if (pixels <= 0 || pixels == defaultColumnWidth_) return;
    defaultColumnWidth_ = pixels;
    applySheetLayout();
}

void SheetGridView::setGridLineColor(const QColor& color) {
    gridColor_ = color;
    setStyleSheet(
        QStringLiteral("QTableView { gridline-color: %1; selection-background-color: transparent; }")
            .arg(color.name()));
    if (frozen_) frozen_->setGridLineColor(color);
}

void SheetGridView::setHeadersVisible(bool visible) {
    horizontalHeader()->setVisible(visible);
    verticalHeader()->setVisible(visible);
    frozen_->updateGeometry();
}

void SheetGridView::setZoom(double factor) {
    factor = std::clamp(factor, 0.1, 4.0);
    if (factor == zoom_) return;
    zoom_ = factor;
    CellRenderDefaults d = model_.appearances().defaults();
    d.zoom = zoom_;
    model_.appearances().setDefaults(d);
    applySheetLayout();
}

void SheetGridView::applySheetLayout() {
    applyingLayout_ = true;
    applyLayoutTo(*this);
    if (const Sheet* s = model_.sheet())
        frozen_->setFrozen(static_cast<int>(std::min<int64_t>(s->frozenRows, model_.rowCount())),
                           static_cast<int>(std::min<int64_t>(s->frozenColumns, model_.columnCount())));
    else
        frozen_->setFrozen(0, 0);
    applyingLayout_ = false;
}

void SheetGridView::applyLayoutTo(QTableView& view) {
    const Sheet* sheet = model_.sheet();
    QHeaderView* columns = view.horizontalHeader();
    QHeaderView* rows = view.verticalHeader();
    {
        SilentHeaders silent(view);
        for (QHeaderView* header : {rows, columns})
            if (header->hiddenSectionCount() > 0)
                for (int i = 0; i < header->count(); ++i)
                    if (header->isSectionHidden(i)) header->showSection(i);
        // Resets every section to the default, dropping the previous sheet's sizes.
        columns->setDefaultSectionSize(scaled(defaultColumnWidth_, zoom_));
        rows->setDefaultSectionSize(scaled(kDefaultRowHeight, zoom_));
        if (sheet) {
            for (const auto& [col, width] : sheet->columnWidths)
                if (col < columns->count())
                    columns->resizeSection(static_cast<int>(col), scaled(width, zoom_));
            for (const auto& [row, height] : sheet->rowHeights)
                if (row < rows->count()) rows->resizeSection(static_cast<int>(row), scaled(height, zoom_));
            // Hidden lines beyond the grid (a file may hide every column right of its data) cost nothing.
            auto hide = [](QHeaderView* header, const LineSet& hidden) {
                for (const auto& [first, last] : hidden.spans())
                    for (int64_t i = first; i <= last && i < header->count(); ++i)
                        header->hideSection(static_cast<int>(i));
            };
            hide(rows, sheet->hiddenRows);
            hide(columns, sheet->hiddenColumns);
            fitWrappedRowsIn(view, 0, sheet->storedRowCount() - 1, true);
            if (editor().autoFilter.enabled) {
                const int64_t used = std::min<int64_t>(sheet->usedExtent().rows, rows->count());
                for (int64_t r = 0; r < used; ++r)
                    if (!editor().filteredRowVisible(r)) rows->hideSection(static_cast<int>(r));
            }
        }
    }
    view.clearSpans();
    if (sheet)
        for (const MergedRegion& m : sheet->mergedRegions) {
            // A region reaching past the grid spans what there is of it.
            const int64_t height = std::min<int64_t>(m.endRow, model_.rowCount() - 1) - m.startRow + 1;
            const int64_t width = std::min<int64_t>(m.endCol, model_.columnCount() - 1) - m.startCol + 1;
            if (m.startRow >= 0 && m.startCol >= 0 && height > 0 && width > 0 && (height > 1 || width > 1))
                view.setSpan(static_cast<int>(m.startRow), static_cast<int>(m.startCol),
                             static_cast<int>(height), static_cast<int>(width));
        }
    QMetaObject::invokeMethod(&view, "updateGeometries");
    columns->viewport()->update();
    rows->viewport()->update();
    view.viewport()->update();
}

void SheetGridView::applyRowVisibility() {
    applySheetLayout();
}

void SheetGridView::onSectionResized(Qt::Orientation orientation, int index, int newSize) {
    frozen_->syncSection(orientation, index, newSize);
    if (applyingLayout_ || newSize <= 0) return;
    const int64_t sheetIndex = editor().activeSheetIndex;
    if (sheetIndex < 0 || static_cast<size_t>(sheetIndex) >= editor().document.sheets.size()) return;
    Sheet& sheet = editor().document.sheets[static_cast<size_t>(sheetIndex)];
    const double pixels = std::round(newSize / zoom_);
    if (orientation == Qt::Horizontal)
        sheet.columnWidths[index] = pixels;
    else
        sheet.rowHeights[index] = pixels;
    emit layoutEdited();
}

void SheetGridView::selectCell(int row, int column) {
    selectRange(row, column, row, column);
}

void SheetGridView::selectRange(int top, int left, int bottom, int right) {
    const QModelIndex first = model_.index(top, left), last = model_.index(bottom, right);
    if (!first.isValid() || !last.isValid()) return;
    selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    selectionModel()->select(QItemSelection(first, last), QItemSelectionModel::ClearAndSelect);
    scrollTo(first);
    syncEditorSelection();
}

std::optional<SelectionRange> SheetGridView::selectedRange() const {
    const QItemSelection selection = selectionModel()->selection();
    if (selection.isEmpty()) {
        const QModelIndex c = currentIndex();
        if (!c.isValid()) return std::nullopt;
        return SelectionRange{c.column(), c.row(), c.column(), c.row()};
    }
    int top = INT_MAX, left = INT_MAX, bottom = -1, right = -1;
    for (const QItemSelectionRange& r : selection) {
        top = std::min(top, r.top());
        left = std::min(left, r.left());
        bottom = std::max(bottom, r.bottom());
        right = std::max(right, r.right());
    }
    return SelectionRange{left, top, right, bottom};
}

void SheetGridView::syncEditorSelection() {
    SumoraEditorView& ed = editor();
    const QModelIndex c = currentIndex();
    if (c.isValid())
        ed.activeCell = CellPosition{c.column(), c.row()};
    else
        ed.activeCell.reset();
    ed.selection = selectedRange();
    if (ed.selection) ed.selection = commandRange(*ed.selection);
    viewport()->update();
    frozen_->repaint();
    emit selectionMoved();
}

void SheetGridView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    syncEditorSelection();
}

void SheetGridView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
    QTableView::selectionChanged(selected, deselected);
    syncEditorSelection();
}

bool SheetGridView::isEditing() const {
    return state() == QAbstractItemView::EditingState;
}

void SheetGridView::startEditing(std::optional<QString> text) {
    QModelIndex c = currentIndex();
    if (!c.isValid()) {
        selectCell(0, 0);
        c = currentIndex();
    }
    delegate_->setPendingText(std::move(text));
    if (frozen_->contains(c))
        frozen_->edit(c);
    else
        edit(c);
    // The view selects an editor's text when it opens; typing continues after
    // what is there instead of replacing it.
    for (QLineEdit* editorWidget : findChildren<QLineEdit*>(QStringLiteral("cellEditor")))
        if (editorWidget->isVisible()) {
            editorWidget->deselect();
            editorWidget->end(false);
        }
}

void SheetGridView::paintEvent(QPaintEvent* event) {
    model_.appearances().beginPaint(model_.sheet());
    QTableView::paintEvent(event);
    QPainter painter(viewport());
    paintOverflowOverGridLines(*this, painter);
    paintDecorations(*this, painter);
}

// Text running on over empty neighbours is not crossed by their grid lines:
// where a run crosses a column boundary, the line's pixel column is painted
// again as the neighbour's background with the text over it, tinted when
// the cells on both sides are selected.
void SheetGridView::paintOverflowOverGridLines(QTableView& view, QPainter& painter) const {
    const std::vector<CellDelegate::OverflowRun> runs = delegate_->takeOverflowRuns(&view);
    if (!view.showGrid()) return;
    const int columns = model_.columnCount();
    const QItemSelectionModel* selection = selectionModel();
    for (const CellDelegate::OverflowRun& run : runs) {
        const int top = view.rowViewportPosition(run.row), height = view.rowHeight(run.row) - 1;
        for (int c = std::max(0, view.columnAt(std::max(0, run.area.left()))); c >= 0 && c + 1 < columns;
             ++c) {
            const int seamX = view.columnViewportPosition(c) + view.columnWidth(c) - 1;
            if (seamX >= run.area.right() || seamX >= view.viewport()->width()) break;
            if (view.isColumnHidden(c) || seamX < run.area.left()) continue;
            const QRect seam(seamX, top, 1, height);
            const QModelIndex neighbour = model_.index(run.row, c + 1);
            const QColor fill = model_.appearance(neighbour).fill;
            painter.save();
            painter.setClipRect(seam);
            painter.fillRect(seam, fill.isValid() ? fill : view.viewport()->palette().color(QPalette::Base));
            painter.setFont(run.font);
            painter.setPen(run.color);
            painter.drawText(run.textRect, run.flags, run.text);
            if (selection->isSelected(neighbour) && selection->isSelected(model_.index(run.row, c)))
                painter.fillRect(seam, CellDelegate::selectionTint());
            painter.restore();
        }
    }
}

void SheetGridView::paintDecorations(QTableView& view, QPainter& painter) const {
    auto rectOf = [&](const SelectionRange& r) {
        return view.visualRect(model_.index(static_cast<int>(r.minRow()), static_cast<int>(r.minCol())))
            .united(
                view.visualRect(model_.index(static_cast<int>(r.maxRow()), static_cast<int>(r.maxCol()))));
    };
    painter.save();
    if (auto range = selectedRange()) {
        const QRect outline = rectOf(*range).adjusted(-1, -1, 0, 0);
        painter.setPen(QPen(QColor(0x1A, 0x73, 0xE8), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(outline);
        if (&view == this && !isEditing() && !picking_)
            painter.fillRect(fillHandleRect(), QColor(0x1A, 0x73, 0xE8));
    }
    if (fillTarget_ && &view == this) {
        painter.setPen(QPen(QColor(0x55, 0x55, 0x55), 1, Qt::DashLine));
        painter.drawRect(rectOf(*fillTarget_).adjusted(0, 0, -1, -1));
    }
    if (picked_) {
        painter.setPen(QPen(QColor(0x1E, 0x8E, 0x3E), 2, Qt::DashLine));
        painter.drawRect(rectOf(*picked_).adjusted(0, 0, -1, -1));
    }
    painter.restore();
}

QRect SheetGridView::fillHandleRect() const {
    auto range = selectedRange();
    if (!range) return {};
    const QRect corner =
        visualRect(model_.index(static_cast<int>(range->maxRow()), static_cast<int>(range->maxCol())));
    if (!corner.isValid()) return {};
    return QRect(corner.right() - 3, corner.bottom() - 3, 7, 7);
}

void SheetGridView::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    frozen_->updateGeometry();
}

void SheetGridView::updateGeometries() {
    QTableView::updateGeometries();
    if (frozen_) frozen_->updateGeometry();
}

void SheetGridView::scrollTo(const QModelIndex& index, ScrollHint hint) {
    QTableView::scrollTo(index, hint);
    // A cell below or right of the frozen panes must not end up hidden under them.
    if (!index.isValid()) return;
    if (index.row() >= frozen_->rows())
        while (verticalScrollBar()->value() > 0 && rowViewportPosition(index.row()) < frozen_->height())
            verticalScrollBar()->setValue(verticalScrollBar()->value() - 1);
    if (index.column() >= frozen_->columns())
        while (horizontalScrollBar()->value() > 0 &&
               columnViewportPosition(index.column()) < frozen_->width())
            horizontalScrollBar()->setValue(horizontalScrollBar()->value() - 1);
}

} // namespace sumora::app
