#include "app/tools/ColorButton.h"

#include <QColorDialog>
#include <QPainter>
#include <QPixmap>

#include "app/CellAppearance.h"

namespace sumora::app {

ColorButton::ColorButton(const QString& hex, QWidget* parent) : QPushButton(parent) {
    setHex(hex.toStdString());
    setMinimumWidth(56);
    connect(this, &QPushButton::clicked, this, &ColorButton::pick);
}

std::string ColorButton::hex() const {
    return color_.name(QColor::HexRgb).mid(1).toUpper().toStdString();
}

void ColorButton::setHex(std::string_view hex) {
    QColor c = colorFromHex(hex);
    color_ = c.isValid() ? c : QColor(Qt::black);
    paintSwatch();
    emit colorChanged();
}

void ColorButton::pick() {
    const QColor c = QColorDialog::getColor(color_, this);
    if (!c.isValid()) return;
    color_ = c;
    paintSwatch();
    emit colorChanged();
}

void ColorButton::paintSwatch() {
    QPixmap swatch(28, 14);
    swatch.fill(color_);
    QPainter p(&swatch);
    p.setPen(Qt::darkGray);
    p.drawRect(swatch.rect().adjusted(0, 0, -1, -1));
    setIcon(swatch);
    setIconSize(swatch.size());
    setToolTip(QLatin1Char('#') + color_.name(QColor::HexRgb).mid(1).toUpper());
}

} // namespace sumora::app
