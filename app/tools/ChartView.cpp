#include "app/tools/ChartView.h"

#include <QGraphicsLayout>
#include <QGraphicsScene>
#include <QPainter>
#include <QVBoxLayout>

#include "app/CellAppearance.h"
#include "app/tools/ToolSupport.h"

#if SUMORA_HAVE_QT_CHARTS
#include <QAreaSeries>
#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QLegend>
#include <QLegendMarker>
#include <QLineSeries>
#include <QPieSeries>
#include <QPieSlice>
#include <QScatterSeries>
#include <QStackedBarSeries>
#include <QValueAxis>
#endif

namespace sumora::app {

#if SUMORA_HAVE_QT_CHARTS

namespace {

QColor seriesColor(const ChartSeries& s) {
    return colorFromHex(s.colorHex);
}

// Places a chart's series on its axes, adding trendlines beside them.
class ChartBuilder {
  public:
    ChartBuilder(const EmbeddedChart& chart, const ChartData& data) : record_(chart), data_(data) {
        chart_ = new QChart;
        chart_->setTitle(toQString(chart.title));
        chart_->legend()->setVisible(chart.showLegend);
        chart_->legend()->setAlignment(Qt::AlignBottom);
        chart_->setAnimationOptions(QChart::NoAnimation);
        chart_->setBackgroundRoundness(0);
        chart_->layout()->setContentsMargins(0, 0, 0, 0);
    }

    QChart* build() {
        if (data_.series.empty()) return chart_;
        switch (record_.chartType) {
        case ChartType::bar:
            bars(allSeries(), secondaryWanted());
            break;
        case ChartType::line:
            lines(allSeries(), false);
            break;
        case ChartType::area:
            areas();
            break;
        case ChartType::pie:
            pie();
            break;
        case ChartType::scatter:
            scatter();
            break;
        case ChartType::combo:
            combo();
            break;
        case ChartType::waterfall:
            waterfall();
            break;
        }
        // Round tick values (0, 50, 100) rather than the data's own extremes.
        for (QValueAxis* axis : {primary_, secondary_})
            if (axis) {
                axis->applyNiceNumbers();
                axis->setLabelFormat(QStringLiteral("%g"));
            }
        if (auto* x = qobject_cast<QValueAxis*>(scatterX_)) x->applyNiceNumbers();
        return chart_;
    }

  private:
    std::vector<size_t> allSeries() const {
        std::vector<size_t> all(data_.series.size());
        for (size_t i = 0; i < all.size(); ++i)
            all[i] = i;
        // With a secondary axis the last series moves there and is drawn as a line.
        if (secondaryWanted()) all.pop_back();
        return all;
    }
    bool secondaryWanted() const {
        return record_.useSecondaryYAxis && data_.series.size() > 1 && record_.chartType != ChartType::combo;
    }

    QBarCategoryAxis* categoryAxis() {
        if (!categories_) {
            categories_ = new QBarCategoryAxis;
            for (const std::string& c : data_.categories)
                categories_->append(toQString(c));
            categories_->setGridLineVisible(record_.showGridLines);
            chart_->addAxis(categories_, Qt::AlignBottom);
        }
        return categories_;
    }
    QValueAxis* valueAxis(Qt::Alignment side) {
        QValueAxis*& axis = side == Qt::AlignRight ? secondary_ : primary_;
        if (!axis) {
            axis = new QValueAxis;
            axis->setGridLineVisible(record_.showGridLines && side == Qt::AlignLeft);
            chart_->addAxis(axis, side);
        }
        return axis;
    }
    void attach(QAbstractSeries* s, QAbstractAxis* x, QAbstractAxis* y) {
        chart_->addSeries(s);
        s->attachAxis(x);
        s->attachAxis(y);
    }

    void bars(const std::vector<size_t>& which, bool withSecondaryLine) {
        auto* series = new QBarSeries;
        for (size_t i : which) {
            const ChartSeries& s = data_.series[i];
            auto* set = new QBarSet(toQString(s.name));
            for (const auto& v : s.values)
                *set << v.value_or(0);
            set->setColor(seriesColor(s));
            set->setBorderColor(seriesColor(s));
            series->append(set);
        }
        attach(series, categoryAxis(), valueAxis(Qt::AlignLeft));
        for (size_t i : which)
            trendline(i, Qt::AlignLeft);
        if (withSecondaryLine) secondaryLine();
    }

    void lines(const std::vector<size_t>& which, bool onSecondary) {
        const Qt::Alignment side = onSecondary ? Qt::AlignRight : Qt::AlignLeft;
        for (size_t i : which) {
            const ChartSeries& s = data_.series[i];
            auto* line = new QLineSeries;
            line->setName(toQString(s.name));
            line->setPen(QPen(seriesColor(s), 2.5));
            for (size_t k = 0; k < s.values.size(); ++k)
                if (s.values[k]) line->append(static_cast<double>(k), *s.values[k]);
            line->setPointsVisible(true);
            attach(line, categoryAxis(), valueAxis(side));
            trendline(i, side);
        }
        if (!onSecondary && secondaryWanted()) secondaryLine();
    }

    void secondaryLine() { lines({data_.series.size() - 1}, true); }

    void areas() {
        for (size_t i : allSeries()) {
            const ChartSeries& s = data_.series[i];
            auto* upper = new QLineSeries;
            for (size_t k = 0; k < s.values.size(); ++k)
                upper->append(static_cast<double>(k), s.values[k].value_or(0));
            auto* area = new QAreaSeries(upper);
            area->setName(toQString(s.name));
            QColor fill = seriesColor(s);
            area->setPen(QPen(fill, 2));
            fill.setAlpha(120);
            area->setBrush(fill);
            attach(area, categoryAxis(), valueAxis(Qt::AlignLeft));
            trendline(i, Qt::AlignLeft);
        }
        if (secondaryWanted()) secondaryLine();
    }

    // The first series, one slice per category in the palette's colours.
    void pie() {
        auto* series = new QPieSeries;
        const ChartSeries& s = data_.series.front();
        for (size_t k = 0; k < s.values.size(); ++k) {
            const double v = s.values[k].value_or(0);
            if (v <= 0) continue;
            QPieSlice* slice = series->append(toQString(data_.categories[k]), v);
            slice->setColor(colorFromHex(chartSeriesColor(record_, k)));
            slice->setLabelVisible(true);
        }
        chart_->addSeries(series);
    }

    void scatter() {
        const bool numericX = !data_.xValues.empty();
        auto* x = new QValueAxis;
        x->setGridLineVisible(record_.showGridLines);
        chart_->addAxis(x, Qt::AlignBottom);
        scatterX_ = x;
        for (size_t i : allSeries()) {
            const ChartSeries& s = data_.series[i];
            auto* dots = new QScatterSeries;
            dots->setName(toQString(s.name));
            dots->setColor(seriesColor(s));
            dots->setBorderColor(seriesColor(s));
            dots->setMarkerSize(9);
            for (const ChartPoint& p : seriesPoints(data_, i, numericX))
                dots->append(p.x, p.y);
            attach(dots, x, valueAxis(Qt::AlignLeft));
            trendline(i, Qt::AlignLeft);
        }
        if (secondaryWanted()) {
            const size_t last = data_.series.size() - 1;
            auto* dots = new QScatterSeries;
            dots->setName(toQString(data_.series[last].name));
            dots->setColor(seriesColor(data_.series[last]));
            for (const ChartPoint& p : seriesPoints(data_, last, numericX))
                dots->append(p.x, p.y);
            attach(dots, x, valueAxis(Qt::AlignRight));
        }
    }

    void combo() {
        const ComboSplit split = comboSplit(data_);
        bars(split.bars, false);
        if (split.line) lines({*split.line}, record_.useSecondaryYAxis);
    }

    // Stacked: an invisible base lifts each step to the running total; rises
    // and falls are separate sets so they take different colours.
    void waterfall() {
        auto* series = new QStackedBarSeries;
        auto* base = new QBarSet(QStringLiteral("Base"));
        auto* rise = new QBarSet(QObject::tr("Increase"));
        auto* fall = new QBarSet(QObject::tr("Decrease"));
        base->setColor(Qt::transparent);
        base->setBorderColor(Qt::transparent);
        rise->setColor(colorFromHex(chartSeriesColor(record_, 0)));
        fall->setColor(colorFromHex(chartSeriesColor(record_, 1)));
        for (const WaterfallStep& step : waterfallSteps(data_)) {
            *base << step.base;
            *rise << (step.rises() ? step.height : 0);
            *fall << (step.rises() ? 0 : step.height);
        }
        series->append(base);
        series->append(rise);
        series->append(fall);
        attach(series, categoryAxis(), valueAxis(Qt::AlignLeft));
        // The base is a device of the drawing, not something to name.
        if (!chart_->legend()->markers(series).isEmpty())
            chart_->legend()->markers(series).front()->setVisible(false);
    }

    void trendline(size_t index, Qt::Alignment side) {
        if (!record_.showTrendline) return;
        const bool numericX = record_.chartType == ChartType::scatter && !data_.xValues.empty();
        auto points = trendlinePoints(record_.trendlineType, seriesPoints(data_, index, numericX));
        if (points.empty()) return;
        auto* line = new QLineSeries;
        line->setName(toQString(data_.series[index].name) + QObject::tr(" (trend)"));
        QPen pen(seriesColor(data_.series[index]), 1.5, Qt::DashLine);
        line->setPen(pen);
        // Category axes count from 0; the fit counted positions from 1.
        const double shift = record_.chartType == ChartType::scatter ? 0 : 1;
        for (const ChartPoint& p : points)
            line->append(p.x - shift, p.y);
        QAbstractAxis* x = record_.chartType == ChartType::scatter ? scatterX_ : categoryAxis();
        attach(line, x, valueAxis(side));
        for (QLegendMarker* marker : chart_->legend()->markers(line))
            marker->setVisible(false);
    }

    const EmbeddedChart& record_;
    const ChartData& data_;
    QChart* chart_;
    QBarCategoryAxis* categories_ = nullptr;
    QValueAxis* primary_ = nullptr;
    QValueAxis* secondary_ = nullptr;
    QAbstractAxis* scatterX_ = nullptr;
};

} // namespace

QChart* buildChart(const EmbeddedChart& chart, const ChartData& data) {
    return ChartBuilder(chart, data).build();
}

#endif

void renderChart(QPainter& painter, const QRectF& target, const EmbeddedChart& chart, const Sheet& sheet,
                 double layoutScale) {
#if SUMORA_HAVE_QT_CHARTS
    QGraphicsScene scene;
    QChart* built = buildChart(chart, extractChartData(chart, sheet));
    scene.addItem(built); // the scene owns it from here
    const QRectF layout(QPointF(0, 0), target.size() * layoutScale);
    built->setGeometry(layout);
    // Layouts of graphics widgets wait for the event loop; this one is drawn now.
    if (QGraphicsLayout* l = built->layout()) l->activate();
    scene.setSceneRect(layout);
    scene.render(&painter, target, layout);
#else
    (void)sheet;
    (void)layoutScale;
    painter.save();
    painter.setPen(Qt::gray);
    painter.drawRect(target);
    painter.drawText(target, Qt::AlignCenter, toQString(chart.title));
    painter.restore();
#endif
}

ChartView::ChartView(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
#if SUMORA_HAVE_QT_CHARTS
    view_ = new QChartView(this);
    view_->setRenderHint(QPainter::Antialiasing);
    view_->setFrameShape(QFrame::NoFrame);
    layout->addWidget(view_);
#endif
}

#if SUMORA_HAVE_QT_CHARTS
QChart* ChartView::chart() const {
    return view_->chart();
}
#endif

void ChartView::showChart(const EmbeddedChart& chart, const Sheet& sheet) {
    ChartData data = extractChartData(chart, sheet);
    if (shown_ && *shown_ == chart && shownData_ == data) return;
    shown_ = chart;
    shownData_ = std::move(data);
#if SUMORA_HAVE_QT_CHARTS
    QChart* old = view_->chart();
    view_->setChart(buildChart(chart, shownData_));
    delete old;
#endif
    update();
}

} // namespace sumora::app
