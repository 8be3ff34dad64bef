#pragma once
// Trace Precedents and Trace Dependents: arrows over one window's grid from
// the cells a formula reads to the formula, and from a cell to the formulas
// that read it. Each press on the same cell adds one level; a range is drawn
// as a box with one arrow; references to other sheets meet the cell at a
// sheet marker whose menu lists them and goes to each. The arrows follow
// scrolling and resizing, and go with Remove Arrows, a switch of sheet, or an
// edit that changes one of the formulas they were drawn from.
#include <QObject>
#include <map>
#include <string>
#include <vector>

#include "app/DocumentContext.h"
#include "engine/WorkbookDependencies.h"

class QToolButton;

namespace sumora::app {

class SheetGridView;
class TraceOverlay;

// The formula `to` reads `from` (a cell or a range, on any sheet).
struct TraceArrow {
    SheetArea from;
    SheetCell to;
};

// Where references to or from other sheets meet a cell of the traced sheet.
struct SheetMarker {
    SheetCell cell;
    bool incoming = true;          // precedents on other sheets (else dependents there)
    std::vector<SheetArea> others; // the references, in the order found
};

class TraceArrows : public QObject {
    Q_OBJECT
  public:
    TraceArrows(DocumentContext& context, SheetGridView& grid);

    // One level more from the active cell; false (and nothing new drawn)
    // when there is no further level.
    bool tracePrecedents() { return trace(false); }
    bool traceDependents() { return trace(true); }
    void clear();

    const std::vector<TraceArrow>& arrows() const { return arrows_; }
    const std::vector<SheetMarker>& markers() const { return markers_; }
    // The marker buttons over the grid, in the order of markers().
    const std::vector<QToolButton*>& markerButtons() const { return buttons_; }
    // The sheet traces are drawn on (the active sheet when they were made).
    size_t sheet() const { return sheet_; }

    // Selects the reference, switching to its sheet first when needed.
    void goTo(const SheetArea& area);
    // The arrows' cells in viewport pixels, for the overlay.
    QRect cellRect(int32_t col, int32_t row) const;
    QRect areaRect(const CellRect& rect) const;
    QRect markerRect(const SheetMarker& marker) const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    struct Trace {
        SheetCell origin;
        bool dependents = false;
        int levels = 0;
    };

    bool trace(bool dependents);
    // Recomputes arrows and markers from the traces.
    void rebuild(const WorkbookDependencies& deps);
    // The arrows of one trace, and the formulas they were drawn from.
    void collect(const WorkbookDependencies& deps, const Trace& trace, std::vector<TraceArrow>& out,
                 std::map<SheetCell, std::string>& formulas) const;
    static void addArrow(std::vector<TraceArrow>& out, const TraceArrow& arrow);
    void showArrows();
    void rebuildMarkers();
    void place();
    // Clears when the sheet changed or a traced formula was edited.
    void checkDocument();
    std::string formulaAt(const SheetCell& cell) const;

    DocumentContext& context_;
    SheetGridView& grid_;
    TraceOverlay* overlay_;
    size_t sheet_ = 0;
    std::vector<Trace> traces_;
    std::vector<TraceArrow> arrows_;
    std::vector<SheetMarker> markers_;
    std::vector<QToolButton*> buttons_;
    // The formulas the arrows were drawn from, as they read then.
    std::map<SheetCell, std::string> tracedFormulas_;
};

} // namespace sumora::app
