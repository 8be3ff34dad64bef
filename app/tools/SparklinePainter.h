#pragma once
// Sparklines drawn inside their cells: a line, bars from a zero baseline, or
// win/loss blocks, in the sparkline's colour and line width, with the high,
// low, first and last markers it asks for. The grid calls the painter for
// every visible cell through its overlay hook; the PDF export calls it too.
#include <QColor>
#include <QRectF>

#include "document/Sheet.h"

class QPainter;

namespace sumora::app {

// Marker colours, as a reader of the sheet expects them: high green, low red,
// the ends a darker shade of the sparkline's own colour.
inline const QColor kSparklineHighColor{0x2E, 0x9E, 0x4F};
inline const QColor kSparklineLowColor{0xD9, 0x30, 0x25};

void paintSparkline(QPainter& painter, const QRectF& cellRect, const Sparkline& sparkline,
                    const Sheet& sheet);
// Registers the grid overlay once per process.
void registerSparklinePainter();

} // namespace sumora::app
