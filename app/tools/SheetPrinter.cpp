#include "app/tools/SheetPrinter.h"

#include <QPainter>

#include "app/SheetGridView.h"
#include "app/tools/ChartView.h"
#include "app/tools/SparklinePainter.h"
#include "editing/ChartSeries.h"

namespace sumora::app {

namespace {

// The grid's pixels at 100 % are taken as screen pixels of 1/96 inch.
constexpr double kPointsPerPixel = 0.75;
constexpr double kTextPadding = 3;

// Cuts `sizes` into consecutive runs that fit `available`; every run holds
// at least one entry, so an oversized column or row gets a page of its own.
template <class SizeOf, class Shown>
std::vector<std::pair<int64_t, int64_t>> runs(int64_t first, int64_t count, double available, SizeOf sizeOf,
                                              Shown shown) {
    std::vector<std::pair<int64_t, int64_t>> out;
    int64_t start = first;
    double used = 0;
    for (int64_t i = first; i < count; ++i) {
        if (!shown(i)) continue;
        const double size = sizeOf(i);
        if (used > 0 && used + size > available) {
            out.emplace_back(start, i - 1);
            start = i;
            used = 0;
        }
        used += size;
    }
    if (start < count) out.emplace_back(start, count - 1);
    return out;
}

bool insideMerge(const Sheet& sheet, CellPosition at) {
    for (const MergedRegion& m : sheet.mergedRegions)
        if (m.contains(at)) return true;
    return false;
}

} // namespace

SheetPrinter::SheetPrinter(const Sheet& sheet, const PageSetup& setup, CellRenderDefaults defaults,
                           double defaultColumnWidth, QString title)
    : sheet_(sheet), setup_(setup), defaults_(defaults), defaultColumnWidth_(defaultColumnWidth),
      title_(std::move(title)) {
    defaults_.zoom = 1.0;
    appearances_.setDefaults(defaults_);
    const Sheet::Extent used = sheet.usedExtent();
    rows_ = std::max<int64_t>(1, used.rows);
    cols_ = std::max<int64_t>(1, used.cols);
    if (setup_.includeCharts)
        for (const EmbeddedChart& chart : sheet.charts) {
            rows_ = std::max(rows_, chart.anchorRow + chart.heightRows);
            cols_ = std::max(cols_, chart.anchorCol + chart.widthCols);
        }
    for (const Sparkline& s : sheet.sparklines) {
        rows_ = std::max(rows_, s.locationRow + 1);
        cols_ = std::max(cols_, s.locationCol + 1);
    }
}

double SheetPrinter::columnWidth(int64_t col) const {
    auto it = sheet_.columnWidths.find(col);
    return (it != sheet_.columnWidths.end() ? it->second : defaultColumnWidth_) * kPointsPerPixel *
           setup_.scale;
}

double SheetPrinter::rowHeight(int64_t row) const {
    auto it = sheet_.rowHeights.find(row);
    return (it != sheet_.rowHeights.end() ? it->second : kDefaultRowHeight) * kPointsPerPixel * setup_.scale;
}

bool SheetPrinter::rowShown(int64_t row) const {
    return !sheet_.hiddenRows.contains(row) && (!rowVisible_ || rowVisible_(row));
}

bool SheetPrinter::repeatsHeader(const Page& page) const {
    return setup_.repeatHeaderRow && page.firstRow > 0 && rowShown(0);
}

void SheetPrinter::paginate(const QSizeF& content) {
    content_ = content;
    pages_.clear();
    const double height = std::max(10.0, content.height() - kFooterHeight);
    const auto columnRuns = runs(
        0, cols_, content.width(), [this](int64_t c) { return columnWidth(c); },
        [this](int64_t c) { return columnShown(c); });
    // The first run of rows has the whole height; later ones lose the header row to the repeat.
    std::vector<std::pair<int64_t, int64_t>> rowRuns;
    const double header = setup_.repeatHeaderRow ? rowHeight(0) : 0;
    auto shown = [this](int64_t r) { return rowShown(r); };
    auto sizeOf = [this](int64_t r) { return rowHeight(r); };
    auto first = runs(0, rows_, height, sizeOf, shown);
    if (!first.empty()) {
        rowRuns.push_back(first.front());
        auto rest = runs(first.front().second + 1, rows_, std::max(10.0, height - header), sizeOf, shown);
        rowRuns.insert(rowRuns.end(), rest.begin(), rest.end());
    }
    // Down, then across.
    for (const auto& [c1, c2] : columnRuns)
        for (const auto& [r1, r2] : rowRuns)
            pages_.push_back({c1, c2, r1, r2});
    if (pages_.empty()) pages_.push_back({0, 0, 0, 0});
}

void SheetPrinter::paintPage(QPainter& p, int pageIndex, double fontScale) {
    if (pageIndex < 0 || pageIndex >= static_cast<int>(pages_.size())) return;
    const Page& page = pages_[static_cast<size_t>(pageIndex)];
    appearances_.beginPaint(&sheet_);
    Placed rows, cols;
    double y = 0, x = 0;
    if (repeatsHeader(page)) {
        rows.emplace_back(0, y);
        y += rowHeight(0);
    }
    for (int64_t row = page.firstRow; row <= page.lastRow; ++row)
        if (rowShown(row)) {
            rows.emplace_back(row, y);
            y += rowHeight(row);
        }
    for (int64_t col = page.firstCol; col <= page.lastCol; ++col)
        if (columnShown(col)) {
            cols.emplace_back(col, x);
            x += columnWidth(col);
        }

    p.save();
    p.setClipRect(QRectF(QPointF(0, 0), QSizeF(content_.width(), content_.height() - kFooterHeight)));
    for (const auto& [row, top] : rows)
        for (const auto& [col, left] : cols)
            paintCell(p, QRectF(left, top, columnWidth(col), rowHeight(row)), {col, row},
                      insideMerge(sheet_, {col, row}), fontScale);
    paintMerges(p, rows, cols, fontScale);
    if (setup_.includeCharts) paintCharts(p, page);
    p.restore();

    // Footer: the title and the page number, small and grey, in a font of its
    // own rather than the painter's inherited one.
    p.save();
    QFont footer(QStringLiteral("Sans Serif"));
    footer.setPointSizeF(8 * fontScale);
    p.setFont(footer);
    p.setPen(QColor(0x80, 0x80, 0x80));
    const QRectF footerRect(0, content_.height() - kFooterHeight + 4, content_.width(), kFooterHeight - 4);
    p.drawText(footerRect, Qt::AlignCenter,
               QObject::tr("%1 — Page %2 of %3").arg(title_).arg(pageIndex + 1).arg(pages_.size()));
    p.restore();
}

// A cell inside a merged region gets only its own fill here: the region's
// box, text and grid line are drawn over it by paintMerges.
void SheetPrinter::paintCell(QPainter& p, const QRectF& r, CellPosition at, bool inMerge, double fontScale) {
    if (inMerge) return;
    const CellAppearance a = appearances_.build(sheet_, at);
    if (a.fill.isValid()) p.fillRect(r, a.fill);
    if (a.dataBarFraction) {
        QRectF bar = r.adjusted(1, 2, -1, -2);
        bar.setWidth(bar.width() * std::clamp(*a.dataBarFraction, 0.0, 1.0));
        QColor color = a.dataBarColor;
        color.setAlpha(170);
        p.fillRect(bar, color);
    }
    if (setup_.showGridLines) {
        p.setPen(QPen(QColor(0xD2, 0xD2, 0xD7), 0.5));
        p.drawRect(r);
    }
    paintText(p, r, a, fontScale);
    if (const Sparkline* s = sparklineAt(sheet_, at)) paintSparkline(p, r, *s, sheet_);
}

void SheetPrinter::paintText(QPainter& p, const QRectF& r, const CellAppearance& a, double fontScale) {
    if (!a.text.isEmpty()) {
        p.save();
        QFont font = a.font;
        font.setPointSizeF(font.pointSizeF() * setup_.scale * fontScale);
        p.setFont(font);
        p.setPen(a.textColor);
        p.setClipRect(r, Qt::IntersectClip);
        int flags = static_cast<int>(a.alignment) | (a.wrap ? Qt::TextWordWrap : Qt::TextSingleLine);
        p.drawText(r.adjusted(kTextPadding, 0, -kTextPadding, 0), flags, a.text);
        p.restore();
    }
    if (a.borderTop || a.borderBottom || a.borderLeft || a.borderRight || a.thickBottom) {
        p.setPen(QPen(Qt::black, 0.75));
        if (a.borderTop) p.drawLine(r.topLeft(), r.topRight());
        if (a.borderLeft) p.drawLine(r.topLeft(), r.bottomLeft());
        if (a.borderRight) p.drawLine(r.topRight(), r.bottomRight());
        if (a.borderBottom || a.thickBottom) {
            p.setPen(QPen(Qt::black, a.thickBottom ? 1.5 : 0.75));
            p.drawLine(r.bottomLeft(), r.bottomRight());
        }
    }
}

// Each merged region that reaches the page is one box with the top-left
// cell's fill, text and borders. A region cut by the page edge is placed
// where it would stand whole, so each page shows its part of the text.
void SheetPrinter::paintMerges(QPainter& p, const Placed& rows, const Placed& cols, double fontScale) {
    if (rows.empty() || cols.empty()) return;
    // The start of the box along one axis: the first printed line inside it,
    // less the shown lines of the region before that line.
    auto boxStart = [](const Placed& placed, int64_t first, int64_t last, auto shown, auto size,
                       double* start) {
        for (const auto& [line, at] : placed) {
            if (line < first || line > last) continue;
            double before = 0;
            for (int64_t i = first; i < line; ++i)
                if (shown(i)) before += size(i);
            *start = at - before;
            return true;
        }
        return false;
    };
    auto span = [](int64_t first, int64_t last, auto shown, auto size) {
        double total = 0;
        for (int64_t i = first; i <= last; ++i)
            if (shown(i)) total += size(i);
        return total;
    };
    auto rowShownAt = [this](int64_t r) { return rowShown(r); };
    auto colShownAt = [this](int64_t c) { return columnShown(c); };
    auto height = [this](int64_t r) { return rowHeight(r); };
    auto width = [this](int64_t c) { return columnWidth(c); };
    for (const MergedRegion& m : sheet_.mergedRegions) {
        double top = 0, left = 0;
        if (!boxStart(rows, m.startRow, m.endRow, rowShownAt, height, &top) ||
            !boxStart(cols, m.startCol, m.endCol, colShownAt, width, &left))
            continue;
        // Regions of a whole row or column stop at the printed range.
        const int64_t lastRow = std::min(m.endRow, rows_ - 1), lastCol = std::min(m.endCol, cols_ - 1);
        const QRectF box(left, top, span(m.startCol, lastCol, colShownAt, width),
                         span(m.startRow, lastRow, rowShownAt, height));
        const CellAppearance a = appearances_.build(sheet_, m.start());
        p.fillRect(box, a.fill.isValid() ? a.fill : QColor(Qt::white));
        if (setup_.showGridLines) {
            p.setPen(QPen(QColor(0xD2, 0xD2, 0xD7), 0.5));
            p.drawRect(box);
        }
        paintText(p, box, a, fontScale);
    }
}

void SheetPrinter::paintCharts(QPainter& p, const Page& page) {
    for (const EmbeddedChart& chart : sheet_.charts) {
        if (chart.anchorCol < page.firstCol || chart.anchorCol > page.lastCol ||
            chart.anchorRow < page.firstRow || chart.anchorRow > page.lastRow || !rowShown(chart.anchorRow))
            continue;
        double x = 0, y = repeatsHeader(page) ? rowHeight(0) : 0, width = 0, height = 0;
        for (int64_t c = page.firstCol; c < chart.anchorCol; ++c)
            x += columnWidth(c);
        for (int64_t r = page.firstRow; r < chart.anchorRow; ++r)
            if (rowShown(r)) y += rowHeight(r);
        for (int64_t c = chart.anchorCol; c < chart.anchorCol + chart.widthCols; ++c)
            width += columnWidth(c);
        for (int64_t r = chart.anchorRow; r < chart.anchorRow + chart.heightRows; ++r)
            if (rowShown(r)) height += rowHeight(r);
        const QRectF target(x, y, std::max(40.0, width), std::max(30.0, height));
        p.fillRect(target, Qt::white);
        renderChart(p, target, chart, sheet_, 1.0 / (kPointsPerPixel * setup_.scale));
    }
}

} // namespace sumora::app
