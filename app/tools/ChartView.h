#pragma once
// Draws an embedded chart with Qt Charts: every ChartType (a combination
// chart as bars with a line over them, a waterfall as floating bars), its
// title, legend, grid lines, palette, trendlines and secondary value axis.
// The numbers come from editing/ChartSeries, read from the chart's cells.
#include <QWidget>

#include "document/Sheet.h"
#include "editing/ChartSeries.h"

class QPainter;

#if SUMORA_HAVE_QT_CHARTS
class QChart;
class QChartView;
#endif

namespace sumora::app {

#if SUMORA_HAVE_QT_CHARTS
// A new chart (the caller owns it) for `chart`'s record and data.
QChart* buildChart(const EmbeddedChart& chart, const ChartData& data);
#endif

// Paints the chart into `target` (PDF export and printing). The chart is laid
// out as on screen, `layoutScale` screen pixels to one unit of `target`, and
// scaled into it, so its text keeps its size relative to the plot.
void renderChart(QPainter& painter, const QRectF& target, const EmbeddedChart& chart, const Sheet& sheet,
                 double layoutScale = 1.0);

class ChartView : public QWidget {
    Q_OBJECT
  public:
    explicit ChartView(QWidget* parent = nullptr);

    // Rebuilds the drawing when the record or its numbers changed.
    void showChart(const EmbeddedChart& chart, const Sheet& sheet);
#if SUMORA_HAVE_QT_CHARTS
    QChart* chart() const;
    QChartView* chartView() const {
        return view_;
    }
#endif

  private:
#if SUMORA_HAVE_QT_CHARTS
    QChartView* view_ = nullptr;
#endif
    std::optional<EmbeddedChart> shown_;
    ChartData shownData_;
};

} // namespace sumora::app
