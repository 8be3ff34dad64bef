// Moving around the whole grid with keys, the mouse and the Name Box: the
// grid shows XFD1048576 while the sheet stores only what was written; typed
// entries commit with arrows, Tab runs return with Enter, Shift gestures
// extend from the active cell, and the shortcuts that select, insert the
// date, zoom and switch sheets.
#include <QAction>
#include <QDate>
#include <QTime>
#include <QWheelEvent>

#include "AppTestSupport.h"
#include "app/FormulaBar.h"
#include "app/SheetTabBar.h"
#include "editing/GoToTarget.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class GridNavigationTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SheetGridView* grid() { return window->grid(); }
    SumoraEditorView& editor() { return window->editor(); }
    const Sheet& sheet(size_t i = 0) { return window->document().sheets[i]; }
    QPoint active() { return {grid()->currentIndex().column(), grid()->currentIndex().row()}; }
    QString stored(int row, int col) {
        const std::string_view v = sheet().cell(row, col).value();
        return QString::fromUtf8(v.data(), static_cast<qsizetype>(v.size()));
    }
    void goTo(const QString& text) {
        QLineEdit* box = window->formulaBar()->addressField();
        box->setText(text);
        QTest::keyClick(box, Qt::Key_Return);
        QApplication::processEvents();
    }

  private slots:
    void init() {
        SumoraDocument doc;
        doc.sheets.push_back(SumoraDocument::makeNewSheet("Data"));
        NamedRange named;
        named.name = "Totals";
        named.sheetName = "Data";
        named.startCol = 1, named.startRow = 1, named.endCol = 2, named.endRow = 3;
        doc.namedRanges.push_back(named);
        window = openWindow(std::move(doc));
        alerts().titles.clear();
    }
    void cleanup() { discardWindow(window); }

    void theGridShowsXfd1048576AndStoresOnlyWhatIsWritten() {
        QCOMPARE(window->sheetModel()->rowCount(), 1048576);
        QCOMPARE(window->sheetModel()->columnCount(), 16384);
        QCOMPARE(window->sheetModel()->headerData(16383, Qt::Horizontal, Qt::DisplayRole).toString(),
                 QStringLiteral("XFD"));
        QCOMPARE(sheet().rowCount(), 500);
        pressKey(grid(), Qt::Key_Down, Qt::ControlModifier);
        pressKey(grid(), Qt::Key_Right, Qt::ControlModifier);
        QCOMPARE(active(), QPoint(16383, 1048575));
        QCOMPARE(sheet().rowCount(), 500); // moving writes nothing
        typeText(grid(), QStringLiteral("end"));
        pressKey(grid(), Qt::Key_Return);
        QCOMPARE(sheet().rowCount(), 1048576);
        QCOMPARE(sheet().columnCount(), 16384);
        QCOMPARE(stored(1048575, 16383), QStringLiteral("end"));
    }

    void nameBoxGoesToCellsSheetsAndNamesAndRefusesTheRest() {
        goTo(QStringLiteral("AB1000"));
        QCOMPARE(active(), QPoint(27, 999));
        goTo(QStringLiteral("Data!C3"));
        QCOMPARE(editor().activeSheetIndex, 1);
        QCOMPARE(active(), QPoint(2, 2));
        goTo(QStringLiteral("'Sheet 1'!B2"));
        QCOMPARE(editor().activeSheetIndex, 0);
        goTo(QStringLiteral("totals"));
        QCOMPARE(editor().activeSheetIndex, 1);
        QCOMPARE(*editor().selection, (SelectionRange{1, 1, 2, 3}));
        QVERIFY(alerts().titles.isEmpty());
        goTo(QStringLiteral("no such place"));
        QCOMPARE(alerts().titles.size(), 1);
        QCOMPARE(editor().activeSheetIndex, 1);
        QCOMPARE(*editor().selection, (SelectionRange{1, 1, 2, 3}));
        QCOMPARE(window->formulaBar()->addressField()->text(), QStringLiteral("B2:C4"));
    }

    void arrowsCommitANewEntryButMoveTheCaretWhileEditing() {
        grid()->selectCell(1, 1);
        typeText(grid(), QStringLiteral("ab"));
        pressKey(grid(), Qt::Key_Right);
        QCOMPARE(stored(1, 1), QStringLiteral("ab"));
        QCOMPARE(active(), QPoint(2, 1));
        typeText(grid(), QStringLiteral("up"));
        pressKey(grid(), Qt::Key_Up);
        QCOMPARE(stored(1, 2), QStringLiteral("up"));
        QCOMPARE(active(), QPoint(2, 0));
        // F2 edits: Left moves the caret, the text is still being edited.
        grid()->selectCell(1, 1);
        pressKey(grid(), Qt::Key_F2);
        pressKey(grid(), Qt::Key_Left);
        typeText(grid(), QStringLiteral("X"));
        pressKey(grid(), Qt::Key_Down);
        QVERIFY(grid()->isEditing());
        pressKey(grid(), Qt::Key_Return);
        QCOMPARE(stored(1, 1), QStringLiteral("aXb"));
        QCOMPARE(active(), QPoint(1, 2));
    }

    void enterAfterARunOfTabsReturnsToItsFirstColumn() {
        grid()->selectCell(4, 2);
        for (const char* text : {"a", "b", "c"}) {
            typeText(grid(), QString::fromLatin1(text));
            pressKey(grid(), Qt::Key_Tab);
        }
        QCOMPARE(active(), QPoint(5, 4));
        pressKey(grid(), Qt::Key_Return);
        QCOMPARE(active(), QPoint(2, 5));
        QCOMPARE(stored(4, 4), QStringLiteral("c"));
        // An arrow ends the run: Enter then goes straight down.
        pressKey(grid(), Qt::Key_Tab);
        pressKey(grid(), Qt::Key_Right);
        pressKey(grid(), Qt::Key_Return);
        QCOMPARE(active(), QPoint(4, 6));
    }

    void shiftGesturesExtendWhileTheActiveCellStays() {
        grid()->selectCell(2, 2);
        pressKey(grid(), Qt::Key_Right, Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_Down, Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(*editor().selection, (SelectionRange{2, 2, 3, 4}));
        QCOMPARE(editor().activeCell, (CellPosition{2, 2}));
        pressKey(grid(), Qt::Key_Left, Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(*editor().selection, (SelectionRange{1, 2, 2, 4}));
        QCOMPARE(editor().activeCell, (CellPosition{2, 2}));
        const QPoint at = grid()->visualRect(window->sheetModel()->index(6, 5)).center();
        QTest::mouseClick(grid()->viewport(), Qt::LeftButton, Qt::ShiftModifier, at);
        QCOMPARE(*editor().selection, (SelectionRange{2, 2, 5, 6}));
        QCOMPARE(editor().activeCell, (CellPosition{2, 2}));
    }

    void selectionShortcutsCoverColumnsRowsAndTheUsedAreaFirst() {
        grid()->selectCell(3, 1);
        typeText(grid(), QStringLiteral("x"));
        pressKey(grid(), Qt::Key_Return);
        grid()->selectCell(1, 1);
        pressKey(grid(), Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(grid()->selectedRange(), (SelectionRange{1, 0, 1, 1048575}));
        // Commands see the column cut to the sheet's grid.
        QCOMPARE(*editor().selection, (SelectionRange{1, 0, 1, 499}));
        QCOMPARE(editor().activeCell, (CellPosition{1, 1}));
        grid()->selectCell(1, 1);
        pressKey(grid(), Qt::Key_Space, Qt::ShiftModifier);
        QCOMPARE(grid()->selectedRange(), (SelectionRange{0, 1, 16383, 1}));
        QVERIFY(!grid()->isEditing());
        pressKey(grid(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(grid()->selectedRange(), (SelectionRange{0, 0, 1, 3}));
        pressKey(grid(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(grid()->selectedRange(), (SelectionRange{0, 0, 16383, 1048575}));
    }

    void dateAndTimeShortcutsEnterText() {
        grid()->selectCell(0, 0);
        pressKey(grid(), Qt::Key_Semicolon, Qt::ControlModifier);
        pressKey(grid(), Qt::Key_Return);
        QCOMPARE(stored(0, 0), QDate::currentDate().toString(Qt::ISODate));
        QVERIFY(!sheet().cell(0, 0).formula());
        grid()->selectCell(0, 1);
        pressKey(grid(), Qt::Key_Colon, Qt::ControlModifier | Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_Return);
        QVERIFY2(QTime::fromString(stored(0, 1), QStringLiteral("HH:mm")).isValid(),
                 qPrintable(stored(0, 1)));
    }

    void controlWheelZoomsAndControlPageKeysSwitchSheets() {
        const QPoint at = grid()->viewport()->rect().center();
        QWheelEvent wheel(at, grid()->viewport()->mapToGlobal(at), {}, QPoint(0, 240), Qt::NoButton,
                          Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(grid()->viewport(), &wheel);
        QCOMPARE(qRound(grid()->zoom() * 100), 120);
        pressKey(grid(), Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(editor().activeSheetIndex, 1);
        pressKey(grid(), Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(editor().activeSheetIndex, 1); // the last sheet stays
        pressKey(grid(), Qt::Key_PageUp, Qt::ControlModifier);
        QCOMPARE(editor().activeSheetIndex, 0);
    }

    void pastingPastTheSheetsEdgeIsRefused() {
        editor().clipboard->setText("1\t2\t3\n4\t5\t6\n");
        grid()->selectCell(1048575, 0);
        window->action(QStringLiteral("paste"))->trigger();
        QCOMPARE(alerts().titles.size(), 1);
        QCOMPARE(sheet().rowCount(), 500);
        grid()->selectCell(1048574, 16381);
        window->action(QStringLiteral("paste"))->trigger();
        QCOMPARE(alerts().titles.size(), 1);
        QCOMPARE(stored(1048575, 16383), QStringLiteral("6"));
    }
};

SUMORA_APP_TEST_MAIN(GridNavigationTest)
#include "GridNavigationTest.moc"
