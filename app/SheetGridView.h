#pragma once
// The grid: a virtualised table view over the active sheet. Only the visible
// cells are ever painted or asked for, so a sheet of a million rows scrolls
// like a small one. The view keeps the editor's active cell and selection in
// step with its own, draws the selection outline with the fill handle, and
// turns keys and mouse gestures into editor commands.
#include <QTableView>
#include <optional>

#include "app/CellAppearance.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

class CellDelegate;
class FrozenPanes;
class SheetTableModel;

// Grid geometry at 100 % zoom, in pixels.
inline constexpr double kDefaultRowHeight = 22.0;
inline constexpr double kHeaderWidth = 48.0;

class SheetGridView : public QTableView {
    Q_OBJECT
  public:
    explicit SheetGridView(SheetTableModel& model, QWidget* parent = nullptr);
    ~SheetGridView() override;

    SheetTableModel& sheetModel() const { return model_; }
    CellDelegate& cellDelegate() const { return *delegate_; }
    SumoraEditorView& editor() const;

    // Settings that every cell or the grid's look depend on.
    void setRenderDefaults(const CellRenderDefaults& defaults);
    void setDefaultColumnWidth(double pixels);
    void setGridLineColor(const QColor& color);
    void setHeadersVisible(bool visible);
    void setZoom(double factor);
    double zoom() const { return zoom_; }

    // Re-reads the sheet's sizes, merges, frozen panes and filtered rows
    // (after a sheet switch, a file load or a structural command).
    void applySheetLayout();
    // Rows without an explicit height take the height their wrapped text
    // needs, and go back to the default when it needs none (AutoRowHeights.cpp).
    void fitWrappedRows(int64_t first, int64_t last);
    // Re-reads only which rows the filter hides.
    void applyRowVisibility();
    // Selects a cell (and makes it current), or a block of cells.
    void selectCell(int row, int column);
    void selectRange(int top, int left, int bottom, int right);
    // Selects from the active cell to (row, column); the active cell stays
    // where it is, as Shift+arrows and Shift+click do (GridKeyMap.cpp).
    void extendSelectionTo(int row, int column);
    // Shift+click on a header: whole rows (Qt::Vertical) or columns from the
    // active cell's to `section`; the active cell stays.
    void extendLinesTo(Qt::Orientation orientation, int section);
    // Header clicks and drags of `view` (this view or a frozen pane) keep
    // the active cell where the gesture began (GridKeyMap.cpp).
    void watchHeaderGestures(QTableView& view);
    // Ctrl+A: the used area first, the whole sheet when that is selected.
    void selectAllStep();
    // Ctrl+Space / Shift+Space: the whole columns / rows of the selection.
    void selectWholeColumns();
    void selectWholeRows();
    // Starts editing the current cell, replacing its content with `text`
    // when given (type-to-edit), else from its content (F2).
    void startEditing(std::optional<QString> text = std::nullopt);
    bool isEditing() const;

    // While a function's arguments are being filled, clicks and drags name
    // cells instead of selecting them.
    void setPickingMode(bool picking);
    bool isPickingMode() const { return picking_; }
    // Picking gestures; the frozen panes forward theirs here too.
    void pickPress(const QModelIndex& index);
    void pickMove(const QModelIndex& index);
    void pickRelease();

    // Applies the sheet's sizes, merges and hidden rows to `view` (this view
    // or one of its frozen panes).
    void applyLayoutTo(QTableView& view);
    // Draws the selection outline (and, on this view, the fill handle) and
    // the picked range over `view`'s viewport.
    void paintDecorations(QTableView& view, QPainter& painter) const;
    // Repaints where text that runs on crosses `view`'s grid lines.
    void paintOverflowOverGridLines(QTableView& view, QPainter& painter) const;
    // After a cell editor closed with `hint`: Enter moves down, Tab right.
    void moveAfterEdit(QAbstractItemDelegate::EndEditHint hint);
    std::optional<SelectionRange> selectedRange() const;
    FrozenPanes& frozenPanes() const { return *frozen_; }

  signals:
    // The active cell or the selection moved.
    void selectionMoved();
    // The user resized a row or column (the document changed).
    void layoutEdited();
    // Ctrl+click on a cell linked to a place in the workbook ("Sheet2!A1").
    void internalLinkActivated(const QString& location);
    // A command ran through the editor from the grid (Delete, fill handle).
    void cellsEdited();
    // Picking mode: the cell ("B3") or range ("B3:D9") under the gesture.
    void rangePicked(const QString& reference);
    void pickingCommitRequested();
    void pickingCancelRequested();
    // Ctrl+PgUp / Ctrl+PgDn: the previous (-1) or next (+1) sheet.
    void sheetStepRequested(int step);
    // Ctrl+wheel: zoom in (positive) or out by whole wheel steps.
    void zoomStepRequested(int steps);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;
    void updateGeometries() override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void syncEditorSelection();
    // Opens the hyperlink of the cell at `index`; false when it has none.
    bool followLink(const QModelIndex& index);
    QRect fillHandleRect() const;
    void moveCurrent(int row, int column, bool extend);
    void onSectionResized(Qt::Orientation orientation, int index, int newSize);
    void finishFillDrag();
    // `sizesAreDefault`: every row not sized by the sheet has the default height.
    void fitWrappedRowsIn(QTableView& view, int64_t first, int64_t last, bool sizesAreDefault = false);
    // Keys beyond plain movement (GridKeyMap.cpp); true when handled.
    bool handleMappedKey(QKeyEvent* event);
    // The selection's corner opposite the active cell: where Shift+keys move.
    QModelIndex movingCorner() const;
    // The selection as commands see it: whole rows and columns are cut to
    // the sheet's grid so that formatting a column stores no million cells.
    SelectionRange commandRange(const SelectionRange& shown) const;

    SheetTableModel& model_;
    CellDelegate* delegate_;
    FrozenPanes* frozen_ = nullptr;
    double zoom_ = 1.0;
    double defaultColumnWidth_ = 100.0;
    bool applyingLayout_ = false;
    QColor gridColor_;

    // Fill-handle drag: the source block and the block it is extended over.
    std::optional<SelectionRange> fillSource_;
    std::optional<SelectionRange> fillTarget_;

    // Tab moves along a row; Enter then returns to the column it started in.
    std::optional<int> tabRunStart_;
    // A mouse drag selects from where it was pressed; the active cell stays there.
    QPersistentModelIndex dragAnchor_;
    // The same for a drag along a header.
    QPersistentModelIndex headerAnchor_;

    bool picking_ = false;
    std::optional<QModelIndex> pickAnchor_;
    std::optional<SelectionRange> picked_;
};

} // namespace sumora::app
