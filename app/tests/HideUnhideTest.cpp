// Hide and Unhide of rows and columns from the header context menus, the
// Format menu and Ctrl+9, with undo: only the hidden flags change.
#include <QHeaderView>
#include <QMenu>
#include <QTimer>

#include "AppTestSupport.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class HideUnhideTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SheetGridView* grid() { return window->grid(); }
    Sheet& sheet() { return window->document().sheets[0]; }

    void chooseFromHeaderMenu(QHeaderView* header, const QPoint& pos, const QString& action) {
        QVERIFY2(chooseFromContextMenu(header->viewport(), pos, action), qPrintable(action));
    }

  private slots:
    void init() {
        window = openWindow();
        for (int r = 0; r < 6; ++r)
            window->editor().setCellValue({0, r}, "r" + std::to_string(r + 1));
        window->editor().setCellValue({4, 0}, "=A5");
        window->documentChanged();
    }
    void cleanup() { discardWindow(window); }

    void rowHeaderMenuHidesAndUnhidesRows() {
        QHeaderView* rows = grid()->verticalHeader();
        chooseFromHeaderMenu(rows, rowHeaderPoint(grid(), 4), QStringLiteral("hideRows"));
        QVERIFY(rows->isSectionHidden(4));
        QVERIFY(sheet().hiddenRows.contains(4));
        QCOMPARE(sheet().hiddenRows.countWithin(0, 1048575), int64_t{1});
        // Nothing moved: the cells and the formula that reads the hidden row stay.
        QCOMPARE(shown(window, 4, 0), QStringLiteral("r5"));
        QCOMPARE(shown(window, 0, 4), QStringLiteral("r5"));

        // Selecting the neighbours (rows 4 to 6) and Unhide shows it.
        QTest::mouseClick(rows->viewport(), Qt::LeftButton, {}, rowHeaderPoint(grid(), 3));
        QTest::mouseClick(rows->viewport(), Qt::LeftButton, Qt::ShiftModifier, rowHeaderPoint(grid(), 5));
        QCOMPARE(grid()->selectedRange(), (SelectionRange{0, 3, 16383, 5}));
        QCOMPARE(window->editor().activeCell, (CellPosition{0, 3}));
        chooseFromHeaderMenu(rows, rowHeaderPoint(grid(), 5), QStringLiteral("unhideRows"));
        QVERIFY(!rows->isSectionHidden(4));
        QVERIFY(sheet().hiddenRows.empty());

        // Undo takes back the unhide, then the hide.
        QApplication::setActiveWindow(window); // back from the popup menu
        QVERIFY(QTest::qWaitForWindowActive(window));
        pressKey(grid(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(rows->isSectionHidden(4));
        pressKey(grid(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(!rows->isSectionHidden(4));
        QVERIFY(sheet().hiddenRows.empty());
    }

    void columnHeaderMenuAndFormatMenuHideColumns() {
        QHeaderView* columns = grid()->horizontalHeader();
        const double widthOfC = 140;
        sheet().columnWidths[2] = widthOfC;
        QTest::mouseClick(columns->viewport(), Qt::LeftButton, {}, columnHeaderPoint(grid(), 3));
        QTest::mouseClick(columns->viewport(), Qt::LeftButton, Qt::ShiftModifier,
                          columnHeaderPoint(grid(), 1));
        QCOMPARE(grid()->selectedRange(), (SelectionRange{1, 0, 3, 1048575}));
        QCOMPARE(window->editor().activeCell, (CellPosition{3, 0}));
        chooseFromHeaderMenu(columns, columnHeaderPoint(grid(), 2), QStringLiteral("hideColumns"));
        for (int c : {1, 2, 3})
            QVERIFY(columns->isSectionHidden(c));
        QVERIFY(!columns->isSectionHidden(0) && !columns->isSectionHidden(4));
        QCOMPARE(sheet().columnWidths.at(2), widthOfC); // widths are kept for unhiding

        // The whole sheet selected (Ctrl+A twice) and Format ▸ Unhide Columns.
        pressKey(grid(), Qt::Key_A, Qt::ControlModifier);
        pressKey(grid(), Qt::Key_A, Qt::ControlModifier);
        window->action(QStringLiteral("unhideColumns"))->trigger();
        QVERIFY(sheet().hiddenColumns.empty());
        QVERIFY(!columns->isSectionHidden(2));
        QCOMPARE(columns->sectionSize(2), static_cast<int>(widthOfC * grid()->zoom()));
    }

    void ctrlNineHidesTheActiveCellsRow() {
        grid()->selectCell(2, 0);
        pressKey(grid(), Qt::Key_9, Qt::ControlModifier);
        QVERIFY(sheet().hiddenRows.contains(2));
        QCOMPARE(sheet().hiddenRows.countWithin(0, 1048575), int64_t{1});
        // Unhide with nothing hidden in the selection changes nothing and adds no undo step.
        grid()->selectCell(0, 0);
        window->action(QStringLiteral("unhideRows"))->trigger();
        pressKey(grid(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(sheet().hiddenRows.empty());
    }
};

SUMORA_APP_TEST_MAIN(HideUnhideTest)
#include "HideUnhideTest.moc"
