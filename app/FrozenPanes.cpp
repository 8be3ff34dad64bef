#include "app/FrozenPanes.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include "app/CellDelegate.h"
#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"

namespace sumora::app {

FrozenOverlayView::FrozenOverlayView(SheetGridView& grid) : QTableView(&grid), grid_(grid) {
    setModel(&grid.sheetModel());
    setSelectionModel(grid.selectionModel());
    setItemDelegate(&grid.cellDelegate());
    setSelectionMode(grid.selectionMode());
    setEditTriggers(QAbstractItemView::DoubleClicked);
    setFocusPolicy(Qt::NoFocus);
    setAutoScroll(false);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(grid.verticalScrollMode());
    setHorizontalScrollMode(grid.horizontalScrollMode());
    setWordWrap(false);
    setStyleSheet(grid.styleSheet());
    horizontalHeader()->setMinimumSectionSize(4);
    verticalHeader()->setMinimumSectionSize(4);
    verticalHeader()->setDefaultAlignment(Qt::AlignCenter);
}

void FrozenOverlayView::paintEvent(QPaintEvent* event) {
    grid_.sheetModel().appearances().beginPaint(grid_.sheetModel().sheet());
    QTableView::paintEvent(event);
    QPainter painter(viewport());
    grid_.paintOverflowOverGridLines(*this, painter);
    grid_.paintDecorations(*this, painter);
    // A darker line where the frozen part ends.
    painter.setPen(QColor(0x9A, 0x9A, 0xA0));
    const QRect r = viewport()->rect();
    const int rows = grid_.frozenPanes().rows(), columns = grid_.frozenPanes().columns();
    if (rows > 0 && r.height() <= grid_.frozenPanes().height() + 1)
        painter.drawLine(r.bottomLeft(), r.bottomRight());
    if (columns > 0 && r.width() <= grid_.frozenPanes().width() + 1)
        painter.drawLine(r.topRight(), r.bottomRight());
}

void FrozenOverlayView::mousePressEvent(QMouseEvent* event) {
    const QModelIndex at = indexAt(event->position().toPoint());
    if (grid_.isPickingMode()) return grid_.pickPress(at);
    if (event->button() == Qt::LeftButton && (event->modifiers() & Qt::ShiftModifier) && at.isValid() &&
        !grid_.isEditing())
        return grid_.extendSelectionTo(at.row(), at.column());
    QTableView::mousePressEvent(event);
}

void FrozenOverlayView::mouseMoveEvent(QMouseEvent* event) {
    if (grid_.isPickingMode()) {
        if (event->buttons() & Qt::LeftButton) grid_.pickMove(indexAt(event->position().toPoint()));
        return;
    }
    QTableView::mouseMoveEvent(event);
}

void FrozenOverlayView::mouseReleaseEvent(QMouseEvent* event) {
    if (grid_.isPickingMode()) return grid_.pickRelease();
    QTableView::mouseReleaseEvent(event);
    grid_.setFocus();
}

void FrozenOverlayView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    QTableView::closeEditor(editor, QAbstractItemDelegate::NoHint);
    grid_.moveAfterEdit(hint);
}

FrozenPanes::FrozenPanes(SheetGridView& grid) : QObject(&grid), grid_(grid) {}

FrozenOverlayView* FrozenPanes::makeOverlay(bool rowHeader, bool columnHeader) {
    auto* view = new FrozenOverlayView(grid_);
    view->verticalHeader()->setVisible(rowHeader);
    view->horizontalHeader()->setVisible(columnHeader);
    grid_.watchHeaderGestures(*view);
    // A size dragged on a pane's header is the grid's size too.
    connect(view->horizontalHeader(), &QHeaderView::sectionResized, &grid_,
            [this](int i, int, int size) { grid_.horizontalHeader()->resizeSection(i, size); });
    connect(view->verticalHeader(), &QHeaderView::sectionResized, &grid_,
            [this](int i, int, int size) { grid_.verticalHeader()->resizeSection(i, size); });
    return view;
}

void FrozenPanes::setFrozen(int rows, int columns) {
    rows_ = std::max(0, rows);
    columns_ = std::max(0, columns);
    if (rows_ > 0 && !top_) {
        top_ = makeOverlay(true, false);
        connect(grid_.horizontalScrollBar(), &QScrollBar::valueChanged, top_->horizontalScrollBar(),
                &QScrollBar::setValue);
    }
    if (columns_ > 0 && !left_) {
        left_ = makeOverlay(false, true);
        connect(grid_.verticalScrollBar(), &QScrollBar::valueChanged, left_->verticalScrollBar(),
                &QScrollBar::setValue);
    }
    if (rows_ > 0 && columns_ > 0 && !corner_) corner_ = makeOverlay(false, false);
    for (QTableView* pane :
         {static_cast<QTableView*>(top_), static_cast<QTableView*>(left_), static_cast<QTableView*>(corner_)})
        if (pane) grid_.applyLayoutTo(*pane);
    updateGeometry();
}

int FrozenPanes::height() const {
    const QHeaderView* h = grid_.verticalHeader();
    if (rows_ <= 0) return 0;
    return rows_ < h->count() ? h->sectionPosition(rows_) : h->length();
}

int FrozenPanes::width() const {
    const QHeaderView* h = grid_.horizontalHeader();
    if (columns_ <= 0) return 0;
    return columns_ < h->count() ? h->sectionPosition(columns_) : h->length();
}

bool FrozenPanes::contains(const QModelIndex& index) const {
    return index.isValid() && (index.row() < rows_ || index.column() < columns_);
}

QTableView* FrozenPanes::paneFor(const QModelIndex& index) const {
    if (index.row() < rows_ && index.column() < columns_) return corner_;
    if (index.row() < rows_) return top_;
    if (index.column() < columns_) return left_;
    return nullptr;
}

void FrozenPanes::edit(const QModelIndex& index) {
    if (QTableView* pane = paneFor(index))
        pane->edit(index);
    else
        grid_.edit(index);
}

void FrozenPanes::updateGeometry() {
    const int frame = grid_.frameWidth();
    const QRect viewport = grid_.viewport()->geometry();
    const int headerWidth = grid_.verticalHeader()->isVisible() ? grid_.verticalHeader()->width() : 0;
    const int headerHeight = grid_.horizontalHeader()->isVisible() ? grid_.horizontalHeader()->height() : 0;
    const bool headers = grid_.horizontalHeader()->isVisible();
    const int h = std::min(height(), viewport.height()), w = std::min(width(), viewport.width());

    if (top_) {
        top_->setVisible(rows_ > 0);
        top_->verticalHeader()->setVisible(headers);
        top_->verticalHeader()->setFixedWidth(headerWidth);
        top_->setGeometry(frame, viewport.y(), headerWidth + viewport.width(), h);
        top_->horizontalScrollBar()->setValue(grid_.horizontalScrollBar()->value());
        top_->setShowGrid(grid_.showGrid());
        top_->raise();
    }
    if (left_) {
        left_->setVisible(columns_ > 0);
        left_->horizontalHeader()->setVisible(headers);
        left_->horizontalHeader()->setFixedHeight(headerHeight);
        left_->setGeometry(viewport.x(), frame, w, headerHeight + viewport.height());
        left_->verticalScrollBar()->setValue(grid_.verticalScrollBar()->value());
        left_->setShowGrid(grid_.showGrid());
        left_->raise();
    }
    if (corner_) {
        corner_->setVisible(rows_ > 0 && columns_ > 0);
        corner_->setGeometry(viewport.x(), viewport.y(), w, h);
        corner_->setShowGrid(grid_.showGrid());
        corner_->raise();
    }
}

void FrozenPanes::repaint() {
    for (QTableView* pane :
         {static_cast<QTableView*>(top_), static_cast<QTableView*>(left_), static_cast<QTableView*>(corner_)})
        if (pane && pane->isVisible()) pane->viewport()->update();
}

void FrozenPanes::syncSection(Qt::Orientation orientation, int index, int size) {
    for (QTableView* pane : {static_cast<QTableView*>(top_), static_cast<QTableView*>(left_),
                             static_cast<QTableView*>(corner_)}) {
        if (!pane) continue;
        QHeaderView* header =
            orientation == Qt::Horizontal ? pane->horizontalHeader() : pane->verticalHeader();
        if (index < header->count() && header->sectionSize(index) != size) header->resizeSection(index, size);
    }
    updateGeometry();
}

void FrozenPanes::setGridLineColor(const QColor&) {
    for (QTableView* pane :
         {static_cast<QTableView*>(top_), static_cast<QTableView*>(left_), static_cast<QTableView*>(corner_)})
        if (pane) pane->setStyleSheet(grid_.styleSheet());
}

} // namespace sumora::app
