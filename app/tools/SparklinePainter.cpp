#include "app/tools/SparklinePainter.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "app/CellAppearance.h"
#include "app/CellOverlayPainters.h"
#include "editing/ChartSeries.h"

namespace sumora::app {

namespace {

constexpr double kPadding = 3;

QColor markerColor(const SparklineData& data, const Sparkline& s, size_t i, const QColor& base) {
    if (s.showHighPoint && data.high == i) return kSparklineHighColor;
    if (s.showLowPoint && data.low == i) return kSparklineLowColor;
    if ((s.showFirstPoint && data.first == i) || (s.showLastPoint && data.last == i)) return base.darker(160);
    return QColor();
}

void paintLine(QPainter& p, const QRectF& r, const Sparkline& s, const SparklineData& data,
               const QColor& color) {
    const size_t n = data.values.size();
    const double span = data.maximum - data.minimum;
    auto at = [&](size_t i) {
        const double x = n > 1 ? r.left() + r.width() * static_cast<double>(i) / static_cast<double>(n - 1)
                               : r.center().x();
        const double y =
            span > 0 ? r.bottom() - r.height() * (*data.values[i] - data.minimum) / span : r.center().y();
        return QPointF(x, y);
    };
    QPainterPath path;
    bool drawing = false;
    for (size_t i = 0; i < n; ++i) {
        if (!data.values[i]) continue; // gaps join their neighbours
        if (!drawing)
            path.moveTo(at(i));
        else
            path.lineTo(at(i));
        drawing = true;
    }
    p.setPen(QPen(color, std::max(0.5, s.lineWidth), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(path);
    const double radius = std::max(1.8, s.lineWidth + 0.8);
    for (size_t i = 0; i < n; ++i) {
        if (!data.values[i]) continue;
        const QColor marker = markerColor(data, s, i, color);
        if (!marker.isValid()) continue;
        p.setPen(Qt::NoPen);
        p.setBrush(marker);
        p.drawEllipse(at(i), radius, radius);
    }
}

void paintColumns(QPainter& p, const QRectF& r, const Sparkline& s, const SparklineData& data,
                  const QColor& color, bool winLoss) {
    const size_t n = data.values.size();
    if (n == 0) return;
    const double slot = r.width() / static_cast<double>(n);
    const double barWidth = std::max(1.0, slot * 0.7);
    // Bars grow from zero; win/loss blocks are all the same height.
    const double top = winLoss ? 1 : std::max(0.0, data.maximum);
    const double bottom = winLoss ? -1 : std::min(0.0, data.minimum);
    const double span = top - bottom > 0 ? top - bottom : 1;
    const double zeroY = r.top() + r.height() * top / span;
    p.setPen(Qt::NoPen);
    for (size_t i = 0; i < n; ++i) {
        if (!data.values[i]) continue;
        double v = *data.values[i];
        if (winLoss) v = v > 0 ? 1 : v < 0 ? -1 : 0;
        if (v == 0) continue;
        const double height = r.height() * std::fabs(v) / span;
        const double x = r.left() + slot * static_cast<double>(i) + (slot - barWidth) / 2;
        const QRectF bar(x, v > 0 ? zeroY - height : zeroY, barWidth, std::max(1.0, height));
        QColor fill = markerColor(data, s, i, color);
        if (!fill.isValid()) fill = v < 0 && winLoss ? kSparklineLowColor : color;
        p.setBrush(fill);
        p.drawRect(bar);
    }
}

} // namespace

void paintSparkline(QPainter& painter, const QRectF& cellRect, const Sparkline& sparkline,
                    const Sheet& sheet) {
    const SparklineData data = sparklineData(sparkline, sheet);
    if (!data.first) return;
    QColor color = colorFromHex(sparkline.colorHex);
    if (!color.isValid()) color = QColor(0x00, 0x7A, 0xFF);
    const QRectF r = cellRect.adjusted(kPadding, kPadding, -kPadding, -kPadding);
    if (r.width() < 2 || r.height() < 2) return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(cellRect);
    switch (sparkline.type) {
    case SparklineType::line:
        paintLine(painter, r, sparkline, data, color);
        break;
    case SparklineType::bar:
        paintColumns(painter, r, sparkline, data, color, false);
        break;
    case SparklineType::winLoss:
        paintColumns(painter, r, sparkline, data, color, true);
        break;
    }
    painter.restore();
}

void registerSparklinePainter() {
    static bool registered = false;
    if (registered) return;
    registered = true;
    registerCellOverlayPainter(
        [](QPainter& painter, const QRect& rect, const Sheet& sheet, int64_t row, int64_t col) {
            if (sheet.sparklines.empty()) return;
            if (const Sparkline* s = sparklineAt(sheet, {col, row})) paintSparkline(painter, rect, *s, sheet);
        });
}

} // namespace sumora::app
