// Renders the tools' documentation screenshots — a chart over the grid, a
// colour scale with data bars, and the macro panel after a run — and checks
// that each shows what it should. With SUMORA_SCREENSHOT_DIR set (run under
// Xvfb for real fonts) the images are saved there, from the project root:
//   SUMORA_SCREENSHOT_DIR=docs xvfb-run -a -s "-screen 0 1600x1000x24" build/app/app_ToolScreenshotsTest
#include <QDir>
#include <QDockWidget>
#include <QSignalSpy>

#include "AppTestSupport.h"
#include "app/tools/ChartLayer.h"
#include "app/tools/MacroPanel.h"
#include "app/tools/ToolHost.h"
#include <QPlainTextEdit>

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

SumoraDocument monthlyBook() {
    SumoraDocument doc;
    Sheet& s = doc.sheets[0];
    s.name = "Sales";
    const char* header[] = {"Month", "Revenue", "Costs", "Margin %"};
    const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const int revenue[] = {120, 135, 128, 150, 171, 166, 182, 195, 188, 210, 232, 251};
    const int costs[] = {80, 84, 90, 92, 101, 99, 104, 110, 113, 118, 121, 130};
    for (int c = 0; c < 4; ++c)
        s.cellForWriting(0, c).setValue(header[c]);
    for (int r = 0; r < 12; ++r) {
        s.cellForWriting(r + 1, 0).setValue(months[r]);
        s.cellForWriting(r + 1, 1).setValue(std::to_string(revenue[r]));
        s.cellForWriting(r + 1, 2).setValue(std::to_string(costs[r]));
        s.cellForWriting(r + 1, 3).setFormula("ROUND((B" + std::to_string(r + 2) + "-C" +
                                              std::to_string(r + 2) + ")/B" + std::to_string(r + 2) +
                                              "*100,1)");
    }
    for (int c = 0; c < 4; ++c)
        s.cellForWriting(0, c).updateFormat([](CellFormat& f) { f.isBold = true; });
    return doc;
}

bool save(QWidget* widget, const QString& name) {
    for (int i = 0; i < 5; ++i) {
        QApplication::processEvents();
        QTest::qWait(30);
    }
    const QImage image = widget->grab().toImage();
    if (image.isNull()) return false;
    const QString dir = qEnvironmentVariable("SUMORA_SCREENSHOT_DIR");
    if (dir.isEmpty()) return true;
    QDir().mkpath(dir);
    return image.save(QDir(dir).filePath(name));
}

} // namespace

class ToolScreenshotsTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;

  private slots:
    void init() {
        window = new MainWindow(monthlyBook(), QStringLiteral("Sales 2025"));
        window->resize(1280, 720);
        window->show();
        window->editor().recalculateAllFormulas();
        window->documentChanged();
    }
    void cleanup() { discardWindow(window); }

    void chart() {
        EmbeddedChart chart;
        chart.chartType = ChartType::combo;
        chart.title = "Revenue and costs";
        chart.dataEndCol = 2;
        chart.dataEndRow = 12;
        chart.anchorCol = 5;
        chart.anchorRow = 1;
        chart.widthCols = 6;
        chart.heightRows = 16;
        chart.showTrendline = true;
        window->document().sheets[0].charts.push_back(chart);
        window->documentChanged();
        QVERIFY(ToolHost::of(window)->chartLayer()->frameFor(chart.id));
        QVERIFY(save(window, QStringLiteral("screenshot-chart.png")));
    }

    void colorScale() {
        ConditionalFormatRule scale;
        scale.ruleType = rule::ColorScale3{"F8696B", "FFEB84", "63BE7B"};
        scale.startCol = scale.endCol = 3;
        scale.startRow = 1;
        scale.endRow = 12;
        ConditionalFormatRule bars;
        bars.ruleType = rule::DataBar{"638EC6"};
        bars.startCol = bars.endCol = 1;
        bars.startRow = 1;
        bars.endRow = 12;
        window->document().sheets[0].conditionalFormats = {scale, bars};
        window->documentChanged();
        const CellAppearance top = window->sheetModel()->appearance(window->sheetModel()->index(12, 3));
        QVERIFY(top.fill.isValid());
        QVERIFY(save(window, QStringLiteral("screenshot-color-scale.png")));
    }

    void macroPanel() {
        ToolHost* host = ToolHost::of(window);
        host->showMacroPanel();
        host->macroDock()->setMinimumWidth(460);
        host->macroPanel()->scriptEditor()->setPlainText(
            QStringLiteral("// Total the year and write its margin below the table\n"
                           "var revenue = 0, costs = 0;\n"
                           "for (var r = 2; r <= 13; r++) {\n"
                           "    revenue += num(\"B\" + r);\n"
                           "    costs += num(\"C\" + r);\n"
                           "}\n"
                           "setRef(\"A15\", \"Total\");\n"
                           "setRef(\"B15\", revenue);\n"
                           "setRef(\"C15\", costs);\n"
                           "setRef(\"D15\", \"=ROUND((B15-C15)/B15*100,1)\");\n"
                           "console.log(\"Revenue: \" + revenue);\n"
                           "console.log(\"Costs: \" + costs);\n"
                           "console.log(\"Margin in D15: \" + cell(\"D15\") + \"%\");\n"));
        QSignalSpy finished(host->macroPanel(), &MacroPanel::runFinished);
        QVERIFY(host->macroPanel()->run());
        QVERIFY(finished.wait(20000));
        QCOMPARE(shown(window, 14, 1), QStringLiteral("2128"));
        QCOMPARE(host->macroPanel()->outputLines().last(), QStringLiteral("Margin in D15: 41.6%"));
        QVERIFY(save(window, QStringLiteral("screenshot-macro-panel.png")));
    }
};

SUMORA_APP_TEST_MAIN(ToolScreenshotsTest)
#include "ToolScreenshotsTest.moc"
