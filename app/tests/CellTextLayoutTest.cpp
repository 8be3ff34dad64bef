// How cell text takes its room: long text runs on over empty neighbours
// (right for left-aligned, left for right-aligned) and stops at the next
// value, even when only the neighbour is repainted, and no grid line crosses
// it (in frozen panes too, and selected); wrapped text makes its row taller and unwrapping shrinks it back;
// the default font is the settings' font.
#include <QAction>
#include <QImage>

#include "AppTestSupport.h"
#include "app/Settings.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

const char* const kLong = "WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW";

} // namespace

class CellTextLayoutTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SheetGridView* grid() { return window->grid(); }

    // Dark pixels inside the cell, painted on their own: a repaint of just that cell.
    int inkIn(int row, int col) {
        const QRect cell = grid()->visualRect(window->sheetModel()->index(row, col)).adjusted(3, 3, -3, -3);
        const QImage image = grid()->viewport()->grab(cell).toImage();
        int dark = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (qGray(image.pixel(x, y)) < 128) ++dark;
        return dark;
    }

  private slots:
    void init() {
        SumoraDocument doc;
        Sheet& s = doc.sheets[0];
        s.cellForWriting(0, 0).setValue(kLong); // runs over B1…
        s.cellForWriting(1, 0).setValue(kLong); // …but not over B2, which holds a value
        s.cellForWriting(1, 1).setValue("x");
        s.cellForWriting(2, 0).setValue("123456789012345678901234567890"); // numbers never run on
        Cell& right = s.cellForWriting(3, 4);
        right.setValue(kLong);
        right.updateFormat([](CellFormat& f) { f.alignment = CellAlignment::right; });
        window = openWindow(std::move(doc));
        grid()->selectCell(10, 10);
        QApplication::processEvents();
    }
    void cleanup() { discardWindow(window); }

    void longTextRunsOverEmptyNeighboursOnly() {
        QVERIFY(inkIn(0, 1) > 0); // A1's text in B1
        QVERIFY(inkIn(0, 2) > 0); // and C1
        QCOMPARE(inkIn(2, 1), 0); // the number stays in A3
        QVERIFY(inkIn(3, 3) > 0); // right-aligned E4 runs left into D4
        QCOMPARE(inkIn(3, 5), 0); // not right
        // B2 shows only its own "x": much less ink than a run of W's.
        QVERIFY(inkIn(1, 1) < inkIn(0, 1) / 2);
    }

    void gridLinesDoNotCrossTextThatRunsOn_data() {
        QTest::addColumn<int>("frozenRows");
        QTest::addColumn<bool>("selected");
        QTest::newRow("scrolling part") << 0 << false;
        QTest::newRow("frozen rows") << 2 << false;
        QTest::newRow("selected") << 0 << true;
    }
    void gridLinesDoNotCrossTextThatRunsOn() {
        QFETCH(int, frozenRows);
        QFETCH(bool, selected);
        window->document().sheets[0].frozenRows = frozenRows;
        window->documentChanged();
        if (selected) { // A1:F6 by a Shift+click
            grid()->selectCell(0, 0);
            const QPoint f6 = grid()->visualRect(window->sheetModel()->index(5, 5)).center();
            QTest::mouseClick(grid()->viewport(), Qt::LeftButton, Qt::ShiftModifier, f6);
        }
        QApplication::processEvents();
        // The grid with the frozen panes over it, in viewport coordinates.
        const QPoint origin = grid()->viewport()->geometry().topLeft();
        const QImage image = grid()->grab(QRect(origin, grid()->viewport()->size())).toImage();
        const QColor line(0xD2, 0xD2, 0xD7);
        // Pixels of the grid line right of column `col` in row `row` that show the grid's colour,
        // and those that differ from the inside of the cell right of it (tinted or not).
        auto seam = [&](int row, int col) {
            const int x = grid()->columnViewportPosition(col) + grid()->columnWidth(col) - 1;
            const int top = grid()->rowViewportPosition(row);
            QPair<int, int> count{0, 0};
            for (int y = top + 2; y < top + grid()->rowHeight(row) - 2; ++y)
                count.first += image.pixelColor(x, y) == line;
            for (int y : {top + 1, top + grid()->rowHeight(row) - 3})
                count.second += image.pixel(x, y) != image.pixel(x + 3, y);
            return count;
        };
        const int full = grid()->rowHeight(5) - 4;
        QCOMPARE(seam(5, 0).first, full);      // an empty row keeps its lines
        QCOMPARE(seam(1, 0).first, full);      // A2 stops at B2's value: the line stays
        QCOMPARE(seam(0, 0), qMakePair(0, 0)); // A1 runs over B1 and C1: no line, no strip
        QCOMPARE(seam(0, 1), qMakePair(0, 0));
        QCOMPARE(seam(3, 3), qMakePair(0, 0)); // right-aligned E4 runs left over D4
        QCOMPARE(seam(3, 4).first, full);
    }

    void wrappedTextGrowsItsRowAndUnwrappingShrinksIt() {
        const int standard = grid()->rowHeight(0);
        window->editor().setCellValue({0, 0},
                                      "words that need several lines in a column of the default width");
        window->documentChanged();
        QCOMPARE(grid()->rowHeight(0), standard);
        grid()->selectCell(0, 0);
        window->action(QStringLiteral("wrapText"))->trigger();
        QVERIFY2(grid()->rowHeight(0) > 2 * standard, qPrintable(QString::number(grid()->rowHeight(0))));
        QVERIFY(!window->document().sheets[0].rowHeights.count(0)); // nothing stored
        window->action(QStringLiteral("wrapText"))->trigger();
        QCOMPARE(grid()->rowHeight(0), standard);
    }

    void cellsUseTheSettingsFont() {
        Settings::instance().setValue(settingsKey::defaultFontName, QStringLiteral("DejaVu Serif"));
        Settings::instance().setValue(settingsKey::defaultFontSize, 15.0);
        const CellAppearance a = window->sheetModel()->appearance(window->sheetModel()->index(0, 0));
        QCOMPARE(a.font.family(), QStringLiteral("DejaVu Serif"));
        QCOMPARE(a.font.pointSizeF(), 15.0);
        Settings::instance().setValue(settingsKey::defaultFontName, QStringLiteral("SF Mono"));
        Settings::instance().setValue(settingsKey::defaultFontSize, 12.0);
    }
};

SUMORA_APP_TEST_MAIN(CellTextLayoutTest)
#include "CellTextLayoutTest.moc"
