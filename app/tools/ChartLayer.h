#pragma once
// The charts of the active sheet, floating over one window's grid. Each
// chart sits at its anchor cell and spans its widthCols × heightRows; it
// follows scrolling and column or row resizing, redraws when its cells
// change, and can be dragged to a new place or resized from its lower right
// corner — on release it snaps to whole cells and the record's anchorCol,
// anchorRow, widthCols and heightRows change as one undoable step.
// Double-click edits a chart; Delete removes the selected one.
#include <QFrame>
#include <QObject>
#include <QPointer>
#include <map>
#include <string>

#include "app/DocumentContext.h"
#include "document/WorkbookRecords.h"

namespace sumora::app {

class ChartView;
class SheetGridView;

class ChartFrame : public QFrame {
    Q_OBJECT
  public:
    ChartFrame(std::string chartId, QWidget* parent);
    const std::string& chartId() const { return id_; }
    ChartView* view() const { return view_; }
    void setSelected(bool selected);

  signals:
    void pressed();
    // The user let go after moving or resizing; `geometry` is where it ended.
    void released(const QRect& geometry);
    void editRequested();
    void deleteRequested();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    enum class Drag { none, move, resize };
    std::string id_;
    ChartView* view_;
    Drag drag_ = Drag::none;
    QPoint grabOffset_;
    QRect startGeometry_;
};

class ChartLayer : public QObject {
    Q_OBJECT
  public:
    ChartLayer(DocumentContext& context, SheetGridView& grid);

    // Re-reads the sheet's charts: new frames, gone frames, new numbers.
    void refresh();
    ChartFrame* frameFor(const std::string& chartId) const;
    // Where a chart's cells put it in the viewport.
    QRect geometryFor(const EmbeddedChart& chart) const;
    // Snaps a frame released at `geometry` and stores the new anchor and size.
    void commitGeometry(const std::string& chartId, const QRect& geometry);
    void deleteChart(const std::string& chartId);
    void editChart(const std::string& chartId);

  private:
    void place();
    void select(const std::string& chartId);

    DocumentContext& context_;
    SheetGridView& grid_;
    std::map<std::string, QPointer<ChartFrame>> frames_;
    std::string selected_;
};

// Replaces the chart with `chart.id` on the active sheet (or appends it when
// absent, or removes it when `remove`) as one undo step named `actionName`.
void storeChart(DocumentContext& context, const EmbeddedChart& chart, const std::string& actionName,
                bool remove = false);

} // namespace sumora::app
