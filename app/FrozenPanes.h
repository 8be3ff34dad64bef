#pragma once
// Frozen rows and columns of the grid. Up to three overlay views share the
// grid's model, selection and delegate and lie over its top rows, left
// columns and the corner between them; the grid scrolls underneath while the
// top pane follows it sideways and the left pane up and down.
#include <QObject>
#include <QTableView>

namespace sumora::app {

class SheetGridView;

class FrozenOverlayView : public QTableView {
    Q_OBJECT
  public:
    explicit FrozenOverlayView(SheetGridView& grid);
    // A pane never scrolls on its own: the grid's scroll bars move it.
    void scrollTo(const QModelIndex&, ScrollHint = EnsureVisible) override {}

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

  private:
    SheetGridView& grid_;
};

class FrozenPanes : public QObject {
    Q_OBJECT
  public:
    explicit FrozenPanes(SheetGridView& grid);

    void setFrozen(int rows, int columns);
    int rows() const { return rows_; }
    int columns() const { return columns_; }
    // Pixel extent of the frozen rows / columns inside the grid's viewport.
    int height() const;
    int width() const;
    // Whether a cell is drawn by one of the panes rather than the grid.
    bool contains(const QModelIndex& index) const;
    void edit(const QModelIndex& index);

    void updateGeometry();
    void repaint();
    void syncSection(Qt::Orientation orientation, int index, int size);
    void setGridLineColor(const QColor& color);

  private:
    FrozenOverlayView* makeOverlay(bool rowHeader, bool columnHeader);
    QTableView* paneFor(const QModelIndex& index) const;

    SheetGridView& grid_;
    int rows_ = 0;
    int columns_ = 0;
    FrozenOverlayView* top_ = nullptr;    // frozen rows, full width
    FrozenOverlayView* left_ = nullptr;   // frozen columns, full height
    FrozenOverlayView* corner_ = nullptr; // where both meet
};

} // namespace sumora::app
