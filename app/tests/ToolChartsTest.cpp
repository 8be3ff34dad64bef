// Charts and sparklines in a window: insertion from the selection, the
// drawing of every chart type, moving and resizing over the grid, following
// the cells, and sparklines painted inside their cells.
#include <QAbstractBarSeries>
#include <QBarSet>
#include <QChart>
#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QLineSeries>
#include <QPainter>
#include <QPieSeries>
#include <QStackedBarSeries>
#include <QValueAxis>

#include "AppTestSupport.h"
#include "app/tools/ChartInsertion.h"
#include "app/tools/ChartLayer.h"
#include "app/tools/ChartView.h"
#include "app/tools/SparklineDialog.h"
#include "app/tools/SparklinePainter.h"
#include "app/tools/ToolHost.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// A1:C5 — months, sales and costs under a header row.
SumoraDocument salesBook() {
    SumoraDocument doc;
    const char* rows[][3] = {{"Month", "Sales", "Costs"},
                             {"Jan", "10", "4"},
                             {"Feb", "20", "6"},
                             {"Mar", "15", "9"},
                             {"Apr", "30", "5"}};
    for (int r = 0; r < 5; ++r)
        for (int c = 0; c < 3; ++c) {
            Cell& cell = doc.sheets[0].cellForWriting(r, c);
            cell.setValue(rows[r][c]);
            cell.setComputedValue(rows[r][c]);
        }
    return doc;
}

int countSeries(QChart* chart, QAbstractSeries::SeriesType type) {
    int n = 0;
    for (QAbstractSeries* s : chart->series())
        n += s->type() == type;
    return n;
}

// How many pixels of `image` are near `color`.
int pixelsNear(const QImage& image, const QColor& color) {
    int n = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            n += std::abs(c.red() - color.red()) + std::abs(c.green() - color.green()) +
                     std::abs(c.blue() - color.blue()) <
                 60;
        }
    return n;
}

} // namespace

class ToolChartsTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    const Sheet& sheet() { return window->document().sheets[0]; }
    ChartLayer* layer() { return ToolHost::of(window)->chartLayer(); }

    const EmbeddedChart& insertChart(ChartType type) {
        window->grid()->selectRange(0, 0, 4, 2);
        ChartInsertionDialog dialog(*window);
        dialog.typeBox()->setCurrentIndex(static_cast<int>(type));
        dialog.titleField()->setText(QStringLiteral("Quarter"));
        dialog.apply();
        return window->document().sheets[0].charts.back();
    }

  private slots:
    void init() { window = openWindow(salesBook()); }
    void cleanup() { discardWindow(window); }

    void insertingUsesTheSelectionAndGuessesItsLabels() {
        const EmbeddedChart& chart = insertChart(ChartType::bar);
        QCOMPARE(sheet().charts.size(), std::size_t{1});
        QCOMPARE(chart.dataEndCol, 2);
        QCOMPARE(chart.dataEndRow, 4);
        QVERIFY(chart.hasHeaderRow);
        QVERIFY(chart.hasCategoryColumn);
        QCOMPARE(chart.anchorCol, 4); // beside the block, one column apart
        QCOMPARE(chart.title, std::string("Quarter"));
        QCOMPARE(*window->undoManager().undoActionName(), std::string("Insert Chart"));
        ChartFrame* frame = layer()->frameFor(chart.id);
        QVERIFY(frame);
        QVERIFY(frame->isVisible());
        QCOMPARE(frame->geometry(), layer()->geometryFor(chart));
        window->undo();
        QVERIFY(sheet().charts.empty());
        QVERIFY(!layer()->frameFor(chart.id));
    }

    void everyChartTypeIsDrawnWithItsSeries() {
        ChartData data = extractChartData(insertChart(ChartType::bar), sheet());
        EmbeddedChart chart = sheet().charts.back();
        struct Case {
            ChartType type;
            QAbstractSeries::SeriesType series;
            int count;
        };
        const QList<Case> cases = {
            {ChartType::bar, QAbstractSeries::SeriesTypeBar, 1},
            {ChartType::line, QAbstractSeries::SeriesTypeLine, 2},
            {ChartType::pie, QAbstractSeries::SeriesTypePie, 1},
            {ChartType::area, QAbstractSeries::SeriesTypeArea, 2},
            {ChartType::scatter, QAbstractSeries::SeriesTypeScatter, 2},
            {ChartType::combo, QAbstractSeries::SeriesTypeLine, 1},
            {ChartType::waterfall, QAbstractSeries::SeriesTypeStackedBar, 1},
        };
        for (const Case& c : cases) {
            chart.chartType = c.type;
            std::unique_ptr<QChart> drawn(buildChart(chart, data));
            QCOMPARE(drawn->title(), QStringLiteral("Quarter"));
            QCOMPARE(countSeries(drawn.get(), c.series), c.count);
        }
        // Combination: bars for all but the last series.
        chart.chartType = ChartType::combo;
        std::unique_ptr<QChart> combo(buildChart(chart, data));
        QCOMPARE(countSeries(combo.get(), QAbstractSeries::SeriesTypeBar), 1);
        // Waterfall: an invisible base under the rises and falls of the first series.
        chart.chartType = ChartType::waterfall;
        std::unique_ptr<QChart> waterfall(buildChart(chart, data));
        auto* stacked = static_cast<QStackedBarSeries*>(waterfall->series().front());
        QCOMPARE(stacked->barSets().size(), 3);
        QCOMPARE(stacked->barSets()[0]->at(3), 45.0); // April's step stands on 10 + 20 + 15
        QCOMPARE(stacked->barSets()[1]->at(3), 30.0);
        QCOMPARE(stacked->barSets()[0]->color(), QColor(Qt::transparent));
    }

    void legendGridTrendlineAndSecondaryAxisFollowTheRecord() {
        EmbeddedChart chart = insertChart(ChartType::line);
        chart.showLegend = false;
        chart.showGridLines = false;
        chart.showTrendline = true;
        chart.trendlineType = TrendlineType::linear;
        chart.useSecondaryYAxis = true;
        chart.colorPalette = {"112233", "445566"};
        std::unique_ptr<QChart> drawn(buildChart(chart, extractChartData(chart, sheet())));
        QVERIFY(!drawn->legend()->isVisible());
        // Two series and one dashed trendline each.
        QCOMPARE(countSeries(drawn.get(), QAbstractSeries::SeriesTypeLine), 4);
        QCOMPARE(drawn->axes(Qt::Vertical).size(), 2);
        for (QAbstractAxis* axis : drawn->axes())
            QVERIFY(!axis->isGridLineVisible());
        auto* first = static_cast<QLineSeries*>(drawn->series().front());
        QCOMPARE(first->pen().color(), QColor(0x11, 0x22, 0x33));
    }

    void movingAndResizingSnapToCellsAndCanBeUndone() {
        const EmbeddedChart chart = insertChart(ChartType::bar);
        const std::string id = chart.id;
        SheetGridView* grid = window->grid();
        // Dropped a little right of column G's left edge and below row 3's top.
        QRect target = layer()->geometryFor(chart);
        target.moveTo(grid->columnViewportPosition(6) + 5, grid->rowViewportPosition(2) + 3);
        layer()->commitGeometry(id, target);
        QCOMPARE(sheet().charts[0].anchorCol, 6);
        QCOMPARE(sheet().charts[0].anchorRow, 2);
        QCOMPARE(sheet().charts[0].widthCols, chart.widthCols); // a move keeps the size
        QCOMPARE(*window->undoManager().undoActionName(), std::string("Move Chart"));

        // Resized to end at the right edge of column I and the bottom of row 8.
        QRect resized(grid->columnViewportPosition(6), grid->rowViewportPosition(2),
                      grid->columnViewportPosition(9) - grid->columnViewportPosition(6),
                      grid->rowViewportPosition(8) - grid->rowViewportPosition(2));
        layer()->commitGeometry(id, resized);
        QCOMPARE(sheet().charts[0].widthCols, 3);
        QCOMPARE(sheet().charts[0].heightRows, 6);
        QCOMPARE(layer()->frameFor(id)->geometry(), layer()->geometryFor(sheet().charts[0]));
        window->undo();
        window->undo();
        QCOMPARE(sheet().charts[0].anchorCol, chart.anchorCol);
    }

    void chartFollowsItsCells() {
        const EmbeddedChart chart = insertChart(ChartType::bar);
        ChartView* view = layer()->frameFor(chart.id)->view();
        auto bars = [view] {
            auto* series = static_cast<QAbstractBarSeries*>(view->chart()->series().front());
            return series->barSets().front()->at(0);
        };
        QCOMPARE(bars(), 10.0);
        window->editor().setCellValue({1, 1}, "44");
        window->documentChanged();
        QCOMPARE(bars(), 44.0);
    }

    void sparklinesAreStoredAndPaintedInTheirCell() {
        window->grid()->selectRange(1, 1, 4, 1);
        SparklineDialog dialog(*window);
        QCOMPARE(dialog.dataField()->text(), QStringLiteral("B2:B5"));
        QCOMPARE(dialog.locationField()->text(), QStringLiteral("C2"));
        dialog.locationField()->setText(QStringLiteral("E2"));
        dialog.highCheck()->setChecked(true);
        QVERIFY(dialog.apply());
        QCOMPARE(sheet().sparklines.size(), std::size_t{1});
        QVERIFY(sheet().sparklines[0].showHighPoint);

        for (SparklineType type : {SparklineType::line, SparklineType::bar, SparklineType::winLoss}) {
            Sparkline s = sheet().sparklines[0];
            s.type = type;
            s.colorHex = "0000FF";
            QImage image(120, 30, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter p(&image);
            paintSparkline(p, QRectF(0, 0, 120, 30), s, sheet());
            p.end();
            QVERIFY2(pixelsNear(image, Qt::blue) > 20, rawText(type).data());
            if (type != SparklineType::winLoss) QVERIFY(pixelsNear(image, kSparklineHighColor) > 3);
        }

        // A second sparkline for the same cell replaces the first.
        window->grid()->selectCell(1, 4);
        SparklineDialog again(*window);
        QCOMPARE(again.dataField()->text(), QStringLiteral("B2:B5")); // opens on the cell's sparkline
        again.typeBox()->setCurrentIndex(1);
        QVERIFY(again.apply());
        QCOMPARE(sheet().sparklines.size(), std::size_t{1});
        QCOMPARE(sheet().sparklines[0].type, SparklineType::bar);
        removeSparklineAtActiveCell(*window);
        QVERIFY(sheet().sparklines.empty());
    }
};

SUMORA_APP_TEST_MAIN(ToolChartsTest)
#include "ToolChartsTest.moc"
