#include "app/ConditionalIconPainter.h"

#include <QPainterPath>
#include <QTransform>
#include <algorithm>
#include <array>

namespace sumora::app {

namespace {

const QColor kRed(0xE0, 0x3C, 0x31), kAmber(0xF5, 0xB8, 0x00), kGreen(0x2E, 0x9E, 0x4F);
const QColor kGray(0x80, 0x80, 0x80), kBlack(0x30, 0x30, 0x30), kPink(0xF0, 0x9C, 0x9C);
const QColor kSilver(0xC0, 0xC0, 0xC0), kBlue(0x3A, 0x75, 0xC4);

enum class Shape { arrow, flag, light, rimmedLight, diamond, triangle, cross, bang, check, bars, quarter };

struct Icon {
    Shape shape;
    QColor color;
    int degrees = 0; // arrows: 0 points up, 90 right, 180 down; bars and quarters: how many filled
};

// The icons of a set, for the lowest values first.
std::vector<Icon> iconsOf(IconSetStyle style) {
    using S = Shape;
    switch (style) {
    case IconSetStyle::arrows3:
        return {{S::arrow, kRed, 180}, {S::arrow, kAmber, 90}, {S::arrow, kGreen, 0}};
    case IconSetStyle::arrowsGray3:
        return {{S::arrow, kGray, 180}, {S::arrow, kGray, 90}, {S::arrow, kGray, 0}};
    case IconSetStyle::flags3:
        return {{S::flag, kRed}, {S::flag, kAmber}, {S::flag, kGreen}};
    case IconSetStyle::trafficLights3:
        return {{S::light, kRed}, {S::light, kAmber}, {S::light, kGreen}};
    case IconSetStyle::trafficLightsRimmed3:
        return {{S::rimmedLight, kRed}, {S::rimmedLight, kAmber}, {S::rimmedLight, kGreen}};
    case IconSetStyle::signs3:
        return {{S::diamond, kRed}, {S::triangle, kAmber}, {S::light, kGreen}};
    case IconSetStyle::symbols3:
    case IconSetStyle::symbolsPlain3:
        return {{S::cross, kRed}, {S::bang, kAmber}, {S::check, kGreen}};
    case IconSetStyle::arrows4:
        return {
            {S::arrow, kRed, 180}, {S::arrow, kAmber, 135}, {S::arrow, kAmber, 45}, {S::arrow, kGreen, 0}};
    case IconSetStyle::arrowsGray4:
        return {{S::arrow, kGray, 180}, {S::arrow, kGray, 135}, {S::arrow, kGray, 45}, {S::arrow, kGray, 0}};
    case IconSetStyle::redToBlack4:
        return {{S::light, kBlack}, {S::light, kGray}, {S::light, kPink}, {S::light, kRed}};
    case IconSetStyle::rating4:
        return {{S::bars, kBlue, 1}, {S::bars, kBlue, 2}, {S::bars, kBlue, 3}, {S::bars, kBlue, 4}};
    case IconSetStyle::trafficLights4:
        return {{S::light, kBlack}, {S::light, kRed}, {S::light, kAmber}, {S::light, kGreen}};
    case IconSetStyle::arrows5:
        return {{S::arrow, kRed, 180},
                {S::arrow, kAmber, 135},
                {S::arrow, kAmber, 90},
                {S::arrow, kAmber, 45},
                {S::arrow, kGreen, 0}};
    case IconSetStyle::arrowsGray5:
        return {{S::arrow, kGray, 180},
                {S::arrow, kGray, 135},
                {S::arrow, kGray, 90},
                {S::arrow, kGray, 45},
                {S::arrow, kGray, 0}};
    case IconSetStyle::rating5:
        return {{S::bars, kBlue, 0},
                {S::bars, kBlue, 1},
                {S::bars, kBlue, 2},
                {S::bars, kBlue, 3},
                {S::bars, kBlue, 4}};
    case IconSetStyle::quarters5:
        return {{S::quarter, kBlack, 0},
                {S::quarter, kBlack, 1},
                {S::quarter, kBlack, 2},
                {S::quarter, kBlack, 3},
                {S::quarter, kBlack, 4}};
    }
    return {};
}

void paint(QPainter& p, const QRectF& box, const Icon& icon) {
    const double s = box.width();
    const QPointF c = box.center();
    p.setPen(Qt::NoPen);
    p.setBrush(icon.color);
    switch (icon.shape) {
    case Shape::arrow: {
        // Pointing up, then turned about the centre.
        QPainterPath path;
        path.moveTo(0, -0.5);
        path.lineTo(0.45, 0);
        path.lineTo(0.15, 0);
        path.lineTo(0.15, 0.5);
        path.lineTo(-0.15, 0.5);
        path.lineTo(-0.15, 0);
        path.lineTo(-0.45, 0);
        path.closeSubpath();
        QTransform t;
        t.translate(c.x(), c.y());
        t.rotate(icon.degrees);
        t.scale(s, s);
        p.drawPath(t.map(path));
        break;
    }
    case Shape::flag: {
        p.fillRect(QRectF(box.left() + s * 0.2, box.top(), s * 0.1, s), kBlack);
        QPolygonF cloth({QPointF(box.left() + s * 0.3, box.top()), QPointF(box.right(), box.top() + s * 0.25),
                         QPointF(box.left() + s * 0.3, box.top() + s * 0.5)});
        p.drawPolygon(cloth);
        break;
    }
    case Shape::rimmedLight:
        p.setPen(QPen(kBlack, std::max(1.0, s / 10)));
        [[fallthrough]];
    case Shape::light:
        p.drawEllipse(box.adjusted(s * 0.05, s * 0.05, -s * 0.05, -s * 0.05));
        break;
    case Shape::diamond:
        p.drawPolygon(QPolygonF({QPointF(c.x(), box.top()), QPointF(box.right(), c.y()),
                                 QPointF(c.x(), box.bottom()), QPointF(box.left(), c.y())}));
        break;
    case Shape::triangle:
        p.drawPolygon(QPolygonF({QPointF(c.x(), box.top()), QPointF(box.right(), box.bottom()),
                                 QPointF(box.left(), box.bottom())}));
        break;
    case Shape::cross:
    case Shape::bang:
    case Shape::check: {
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(icon.color, std::max(1.5, s / 6), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const double l = box.left() + s * 0.2, r = box.right() - s * 0.2, t = box.top() + s * 0.2,
                     b = box.bottom() - s * 0.2;
        if (icon.shape == Shape::cross) {
            p.drawLine(QPointF(l, t), QPointF(r, b));
            p.drawLine(QPointF(l, b), QPointF(r, t));
        } else if (icon.shape == Shape::bang) {
            p.drawLine(QPointF(c.x(), t), QPointF(c.x(), c.y() + s * 0.1));
            p.drawPoint(QPointF(c.x(), b));
        } else {
            p.drawPolyline(QPolygonF({QPointF(l, c.y()), QPointF(c.x() - s * 0.05, b), QPointF(r, t)}));
        }
        break;
    }
    case Shape::bars:
        for (int i = 0; i < 4; ++i) {
            const double h = s * (0.25 + 0.25 * i);
            QRectF bar(box.left() + i * s / 4 + s * 0.03, box.bottom() - h, s / 4 - s * 0.06, h);
            p.fillRect(bar, i < icon.degrees ? icon.color : kSilver);
        }
        break;
    case Shape::quarter: {
        const QRectF disc = box.adjusted(s * 0.05, s * 0.05, -s * 0.05, -s * 0.05);
        p.setPen(QPen(icon.color, 1));
        p.setBrush(Qt::white);
        p.drawEllipse(disc);
        p.setBrush(icon.color);
        if (icon.degrees >= 4)
            p.drawEllipse(disc);
        else if (icon.degrees > 0)
            p.drawPie(disc, 90 * 16, -icon.degrees * 90 * 16); // clockwise from twelve o'clock
        break;
    }
    }
}

} // namespace

int conditionalIconWidth(const QRect& cell) {
    return std::clamp(cell.height() - 4, 6, 16) + 4;
}

void paintConditionalIcon(QPainter& painter, const QRect& cell, const ConditionalIcon& icon) {
    const std::vector<Icon> icons = iconsOf(icon.style);
    if (icon.index < 0 || icon.index >= static_cast<int>(icons.size())) return;
    const int side = conditionalIconWidth(cell) - 4;
    const QRectF box(cell.left() + 2, cell.top() + (cell.height() - side) / 2.0, side, side);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    paint(painter, box, icons[static_cast<size_t>(icon.index)]);
    painter.restore();
}

} // namespace sumora::app
