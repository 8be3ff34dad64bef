// The grid driven by keys and the mouse, as a user does: typing and
// committing values and formulas, undo and redo through the Edit menu,
// cancelling, clearing, keyboard movement and the fill handle.
#include <QAction>
#include <QHeaderView>
#include <QLabel>

#include "AppTestSupport.h"
#include "app/FormulaBar.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class GridEditingTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SheetGridView* grid() { return window->grid(); }
    const Sheet& sheet() { return window->document().sheets[0]; }

    void enter(int row, int column, const QString& text) {
        grid()->selectCell(row, column);
        grid()->setFocus();
        typeText(grid(), text);
        pressKey(grid(), Qt::Key_Return);
    }

  private slots:
    void init() { window = openWindow(); }
    void cleanup() { discardWindow(window); }

    void typedValuesAndFormulaCommitAndRecalculate() {
        enter(0, 0, QStringLiteral("12"));
        enter(1, 0, QStringLiteral("30"));
        enter(2, 0, QStringLiteral("=A1+A2"));
        QCOMPARE(shown(window, 2, 0), QStringLiteral("42"));
        QCOMPARE(QString::fromUtf8(sheet().cell(2, 0).formula().value_or("").data()),
                 QStringLiteral("A1+A2"));
        // Enter moved the active cell down after the commit.
        QCOMPARE(grid()->currentIndex().row(), 3);
        enter(0, 0, QStringLiteral("100"));
        QCOMPARE(shown(window, 2, 0), QStringLiteral("130"));
        QVERIFY(window->isWindowModified());
    }

    void undoAndRedoNameTheStepAndRestoreTheCell() {
        enter(0, 1, QStringLiteral("7"));
        QAction* undo = window->action(QStringLiteral("undo"));
        QAction* redo = window->action(QStringLiteral("redo"));
        QCOMPARE(undo->text(), QStringLiteral("Undo Typing"));
        undo->trigger();
        QCOMPARE(shown(window, 0, 1), QString());
        QCOMPARE(redo->text(), QStringLiteral("Redo Typing"));
        redo->trigger();
        QCOMPARE(shown(window, 0, 1), QStringLiteral("7"));
    }

    void escapeCancelsTheEditAndTypingReplacesTheContent() {
        enter(0, 0, QStringLiteral("5"));
        grid()->selectCell(0, 0);
        typeText(grid(), QStringLiteral("99"));
        pressKey(grid(), Qt::Key_Escape);
        QCOMPARE(shown(window, 0, 0), QStringLiteral("5"));
        // Typing over a cell replaces it rather than appending.
        grid()->selectCell(0, 0);
        typeText(grid(), QStringLiteral("8"));
        pressKey(grid(), Qt::Key_Return);
        QCOMPARE(shown(window, 0, 0), QStringLiteral("8"));
    }

    void f2EditsTheExistingContent() {
        enter(0, 0, QStringLiteral("=1+1"));
        grid()->selectCell(0, 0);
        pressKey(grid(), Qt::Key_F2);
        auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        QVERIFY(editor);
        QCOMPARE(editor->text(), QStringLiteral("=1+1"));
        typeText(editor, QStringLiteral("0"));
        pressKey(editor, Qt::Key_Return);
        QCOMPARE(shown(window, 0, 0), QStringLiteral("11"));
    }

    void deleteClearsTheSelection() {
        enter(0, 0, QStringLiteral("1"));
        enter(1, 0, QStringLiteral("2"));
        grid()->selectRange(0, 0, 1, 0);
        pressKey(grid(), Qt::Key_Delete);
        QCOMPARE(shown(window, 0, 0), QString());
        QCOMPARE(shown(window, 1, 0), QString());
    }

    void tabMovesRightAndControlArrowsStopAtTheDataEdge() {
        grid()->selectCell(0, 0);
        typeText(grid(), QStringLiteral("a"));
        pressKey(grid(), Qt::Key_Tab);
        QCOMPARE(grid()->currentIndex().column(), 1);
        for (int r = 3; r <= 6; ++r)
            enter(r, 2, QString::number(r));
        grid()->selectCell(0, 2);
        pressKey(grid(), Qt::Key_Down, Qt::ControlModifier);
        QCOMPARE(grid()->currentIndex().row(), 3); // the next filled cell
        pressKey(grid(), Qt::Key_Down, Qt::ControlModifier);
        QCOMPARE(grid()->currentIndex().row(), 6); // the end of the run
        pressKey(grid(), Qt::Key_Down, Qt::ControlModifier);
        QCOMPARE(grid()->currentIndex().row(), window->sheetModel()->rowCount() - 1);
        pressKey(grid(), Qt::Key_Up, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(window->editor().selection->minRow(), 6);
        QCOMPARE(window->editor().selection->maxRow(), window->sheetModel()->rowCount() - 1);
    }

    void fillHandleDragExtendsASeries() {
        enter(0, 0, QStringLiteral("1"));
        enter(1, 0, QStringLiteral("2"));
        grid()->selectRange(0, 0, 1, 0);
        QApplication::processEvents();
        const QRect last = grid()->visualRect(window->sheetModel()->index(1, 0));
        const QPoint handle(last.right(), last.bottom());
        const QPoint target = grid()->visualRect(window->sheetModel()->index(4, 0)).center();
        QTest::mousePress(grid()->viewport(), Qt::LeftButton, {}, handle);
        QMouseEvent move(QEvent::MouseMove, target, grid()->viewport()->mapToGlobal(target), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(grid()->viewport(), &move);
        QTest::mouseRelease(grid()->viewport(), Qt::LeftButton, {}, target);
        QCOMPARE(shown(window, 2, 0), QStringLiteral("3"));
        QCOMPARE(shown(window, 4, 0), QStringLiteral("5"));
        QCOMPARE(window->editor().selection->maxRow(), 4);
    }

    void statusBarShowsSelectionStatistics() {
        enter(0, 0, QStringLiteral("10"));
        enter(1, 0, QStringLiteral("20"));
        grid()->selectRange(0, 0, 1, 0);
        const QString status = window->statusLabel()->text();
        QVERIFY2(status.contains(QStringLiteral("Sum: 30.00")), qPrintable(status));
        QVERIFY(status.contains(QStringLiteral("Average: 15.00")));
        QVERIFY(status.contains(QStringLiteral("Count: 2")));
    }

    void formulaBarShowsAndCommitsTheActiveCell() {
        enter(0, 0, QStringLiteral("=2*3"));
        grid()->selectCell(0, 0);
        FormulaBar* bar = window->formulaBar();
        QCOMPARE(bar->addressField()->text(), QStringLiteral("A1"));
        QCOMPARE(bar->formulaField()->text(), QStringLiteral("=2*3"));
        bar->formulaField()->setFocus();
        bar->formulaField()->setText(QStringLiteral("=2*4"));
        QTest::keyClick(bar->formulaField(), Qt::Key_Return);
        QCOMPARE(shown(window, 0, 0), QStringLiteral("8"));
        bar->addressField()->setText(QStringLiteral("c5:d7"));
        QTest::keyClick(bar->addressField(), Qt::Key_Return);
        QCOMPARE(window->editor().selection->minCol(), 2);
        QCOMPARE(window->editor().selection->maxRow(), 6);
    }

    void resizingAColumnIsKeptInTheSheet() {
        grid()->horizontalHeader()->resizeSection(1, 150);
        QCOMPARE(sheet().columnWidths.at(1), 150.0);
        QVERIFY(window->isWindowModified());
    }
};

SUMORA_APP_TEST_MAIN(GridEditingTest)
#include "GridEditingTest.moc"
