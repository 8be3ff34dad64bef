#pragma once
// The icons of icon-set conditional formats, drawn as simple shapes in the
// icons' colours (arrows, flags, lights, signs, marks, bars and quarters), so
// the grid needs no image assets.
#include <QPainter>
#include <QRect>

#include "document/ConditionalFormatEvaluation.h"

namespace sumora::app {

// The width an icon takes at the left of a cell of this rectangle.
int conditionalIconWidth(const QRect& cell);
// Draws the icon at the cell's left edge, centred vertically.
void paintConditionalIcon(QPainter& painter, const QRect& cell, const ConditionalIcon& icon);

} // namespace sumora::app
