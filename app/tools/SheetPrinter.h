#pragma once
// Lays a sheet out on pages and paints them: the used range (grown to take
// in the charts) cut into pages down, then across; cells drawn as the grid
// draws them (number formats, fonts, fills, conditional formats, data bars,
// borders, sparklines), merged cells as one box with their text across it,
// optional grid lines, hidden rows and columns left out, the first row
// repeated at the top of each page when asked, charts at their anchors, and
// a footer with the title and page number. Painting is in points from the page's content
// corner; the PDF export and the printer set up the painter.
#include <QString>
#include <functional>
#include <vector>

#include "app/CellAppearance.h"
#include "app/tools/PageSetup.h"
#include "document/Sheet.h"

class QPainter;

namespace sumora::app {

class SheetPrinter {
  public:
    struct Page {
        int64_t firstCol = 0, lastCol = 0, firstRow = 0, lastRow = 0;
    };

    SheetPrinter(const Sheet& sheet, const PageSetup& setup, CellRenderDefaults defaults,
                 double defaultColumnWidth, QString title);
    // Rows the automatic filter hides are left out.
    void setRowFilter(std::function<bool(int64_t row)> visible) { rowVisible_ = std::move(visible); }

    // Cuts the sheet into pages whose content area is `content` points.
    void paginate(const QSizeF& content);
    const std::vector<Page>& pages() const { return pages_; }

    // `fontScale` turns the cells' point sizes into the painter's units
    // (72 / the device's resolution when the painter was scaled to points).
    void paintPage(QPainter& painter, int pageIndex, double fontScale);

    static constexpr double kFooterHeight = 18;

  private:
    double columnWidth(int64_t col) const;
    double rowHeight(int64_t row) const;
    // Where each printed line of a page starts, in points from the content corner.
    using Placed = std::vector<std::pair<int64_t, double>>;
    bool rowShown(int64_t row) const;
    bool columnShown(int64_t col) const { return !sheet_.hiddenColumns.contains(col); }
    bool repeatsHeader(const Page& page) const;
    void paintCell(QPainter& p, const QRectF& r, CellPosition at, bool inMerge, double fontScale);
    void paintText(QPainter& p, const QRectF& r, const CellAppearance& a, double fontScale);
    void paintMerges(QPainter& p, const Placed& rows, const Placed& cols, double fontScale);
    void paintCharts(QPainter& p, const Page& page);

    const Sheet& sheet_;
    PageSetup setup_;
    CellRenderDefaults defaults_;
    double defaultColumnWidth_;
    QString title_;
    std::function<bool(int64_t)> rowVisible_;
    CellAppearanceBuilder appearances_;
    int64_t rows_ = 1, cols_ = 1;
    QSizeF content_;
    std::vector<Page> pages_;
};

} // namespace sumora::app
