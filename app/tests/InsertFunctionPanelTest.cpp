// The Insert Function panel (filtering, counts, argument slots filled from
// the grid, Enter and Escape with their log lines) and the formula
// autocomplete of the cell editor and the formula bar.
#include <QComboBox>
#include <QLabel>
#include <QListWidget>

#include "AppTestSupport.h"
#include "app/FormulaAutocomplete.h"
#include "app/FormulaBar.h"
#include "app/FunctionArgumentsPage.h"
#include "app/InsertFunctionPanel.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// Log lines are captured only while one of these lives.
struct CapturedLog {
    CapturedLog() { Log::setEnabled(true); }
    ~CapturedLog() { Log::setEnabled(false); }
    LogCapture capture;
};

} // namespace

class InsertFunctionPanelTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    InsertFunctionPanel* panel() { return window->insertFunctionPanel(); }
    FunctionArgumentsPage* arguments() { return panel()->argumentsPage(); }

    void clickCell(int row, int column) {
        const QRect r = window->grid()->visualRect(window->sheetModel()->index(row, column));
        QTest::mouseClick(window->grid()->viewport(), Qt::LeftButton, {}, r.center());
    }

  private slots:
    void init() {
        window = openWindow();
        for (int r = 0; r < 3; ++r)
            window->editor().setCellValue({0, r}, std::to_string((r + 1) * 10));
        window->documentChanged();
        window->showInsertFunction();
    }
    void cleanup() { discardWindow(window); }

    void browsingFiltersByCategoryAndSearch() {
        QCOMPARE(panel()->headerLabel()->text(),
                 QStringLiteral("Browse or search for a function to insert into your formula."));
        QCOMPARE(panel()->resultCountLabel()->text(), QStringLiteral("161 results"));
        panel()->categoryBox()->setCurrentText(QStringLiteral("Logical"));
        QCOMPARE(panel()->resultCountLabel()->text(), QStringLiteral("11 results"));
        QCOMPARE(panel()->functionList()->item(0)->text(), QStringLiteral("IF"));
        panel()->categoryBox()->setCurrentText(QStringLiteral("All"));
        panel()->searchField()->setText(QStringLiteral("sumproduct"));
        QCOMPARE(panel()->resultCountLabel()->text(), QStringLiteral("1 result"));
        panel()->searchField()->setText(QStringLiteral("zzzz"));
        QCOMPARE(panel()->resultCountLabel()->text(), QStringLiteral("0 results"));
    }

    void gridClicksAndDragsFillTheSelectedSlotAndEnterCommits() {
        window->grid()->selectCell(3, 0);
        CapturedLog log;
        panel()->searchField()->setText(QStringLiteral("SUMIF"));
        panel()->functionList()->setCurrentRow(0);
        emit panel()->functionList()->itemActivated(panel()->functionList()->currentItem());
        QVERIFY(panel()->isShowingArguments());
        QCOMPARE(arguments()->fields().size(), size_t(3));
        QVERIFY(window->grid()->isPickingMode());
        QVERIFY(log.capture.contains("[Sumora-DEBUG] insertFunction called: SUMIF, argCount=3"));

        // A drag names the range; the active cell stays the target.
        const QRect top = window->grid()->visualRect(window->sheetModel()->index(0, 0));
        const QRect bottom = window->grid()->visualRect(window->sheetModel()->index(2, 0));
        QTest::mousePress(window->grid()->viewport(), Qt::LeftButton, {}, top.center());
        QMouseEvent move(QEvent::MouseMove, bottom.center(),
                         window->grid()->viewport()->mapToGlobal(bottom.center()), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window->grid()->viewport(), &move);
        QTest::mouseRelease(window->grid()->viewport(), Qt::LeftButton, {}, bottom.center());
        QCOMPARE(arguments()->fields()[0]->text(), QStringLiteral("A1:A3"));
        QCOMPARE(window->editor().activeCell->row, 3);

        arguments()->selectField(1);
        arguments()->fields()[1]->setText(QStringLiteral("\">15\""));
        QTest::keyClick(arguments()->fields()[1], Qt::Key_Return);
        QVERIFY(log.capture.contains("[Sumora-DEBUG] Enter pressed - committing function args"));
        QVERIFY(
            log.capture.contains("commitFunctionArgs: formula==SUMIF(A1:A3,\">15\"), target=A4, argCount=2"));
        QCOMPARE(shown(window, 3, 0), QStringLiteral("50"));
        QVERIFY(!panel()->isShowingArguments());
        QVERIFY(!window->grid()->isPickingMode());
    }

    void aClickNamesOneCellAndEnterOnTheGridCommits() {
        window->grid()->selectCell(4, 1);
        panel()->beginArguments(QStringLiteral("ABS"));
        clickCell(1, 0);
        QCOMPARE(arguments()->fields()[0]->text(), QStringLiteral("A2"));
        CapturedLog log;
        QTest::keyClick(window->grid(), Qt::Key_Return);
        QVERIFY(log.capture.contains("[Sumora-DEBUG] Enter pressed - committing function args"));
        QCOMPARE(shown(window, 4, 1), QStringLiteral("20"));
    }

    void escapeCancelsWithoutTouchingTheCell() {
        window->grid()->selectCell(5, 0);
        panel()->beginArguments(QStringLiteral("SUM"));
        arguments()->fillSelectedField(QStringLiteral("A1:A3"));
        CapturedLog log;
        QTest::keyClick(arguments()->fields()[0], Qt::Key_Escape);
        QVERIFY(log.capture.contains("[Sumora-DEBUG] Escape pressed - cancelling function args"));
        QCOMPARE(shown(window, 5, 0), QString());
        QVERIFY(!panel()->isShowingArguments());
        QVERIFY(!window->grid()->isPickingMode());
    }

    void formulaBarAutocompleteOffersAndCompletesNames() {
        FormulaBar* bar = window->formulaBar();
        window->grid()->selectCell(6, 0);
        bar->formulaField()->setFocus();
        bar->formulaField()->clear();
        QTest::keyClicks(bar->formulaField(), QStringLiteral("=A1+su"));
        QVERIFY(bar->autocomplete()->isPopupVisible());
        const QStringList offered = bar->autocomplete()->suggestions();
        QVERIFY(!offered.isEmpty());
        for (const QString& name : offered)
            QVERIFY(name.startsWith(QStringLiteral("SU")));
        QTest::keyClick(bar->formulaField(), Qt::Key_Return); // takes the first suggestion
        QCOMPARE(bar->formulaField()->text(), QStringLiteral("=A1+SUM("));
        QVERIFY(!bar->autocomplete()->isPopupVisible());
        QTest::keyClicks(bar->formulaField(), QStringLiteral("A2:A3)"));
        QTest::keyClick(bar->formulaField(), Qt::Key_Return);
        QCOMPARE(shown(window, 6, 0), QStringLiteral("60"));
    }

    void completionReplacesOnlyTheWordBeingTyped_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("completed");
        QTest::newRow("after equals") << "=su"
                                      << "=SUM(";
        QTest::newRow("after operator") << "=A1*ro"
                                        << "=A1*SUM(";
        QTest::newRow("inside a call") << "=IF(A1,co"
                                       << "=IF(A1,SUM(";
        QTest::newRow("trailing space") << "=ab "
                                        << "=SUM(";
    }
    void completionReplacesOnlyTheWordBeingTyped() {
        QFETCH(QString, typed);
        QFETCH(QString, completed);
        QCOMPARE(FormulaAutocomplete::completedText(typed, QStringLiteral("SUM")), completed);
    }

    void cellEditorAutocompleteTakesEnterBeforeTheCommit() {
        window->grid()->selectCell(7, 0);
        window->grid()->setFocus();
        typeText(window->grid(), QStringLiteral("=ro"));
        auto* editor = qobject_cast<QLineEdit*>(focused(window->grid()));
        QVERIFY(editor);
        QTest::keyClick(editor, Qt::Key_Down);
        QTest::keyClick(editor, Qt::Key_Return); // second suggestion: ROUNDUP
        QCOMPARE(editor->text(), QStringLiteral("=ROUNDUP("));
        typeText(window->grid(), QStringLiteral("A1/3,0)"));
        pressKey(window->grid(), Qt::Key_Return);
        QCOMPARE(shown(window, 7, 0), QStringLiteral("4"));
    }
};

SUMORA_APP_TEST_MAIN(InsertFunctionPanelTest)
#include "InsertFunctionPanelTest.moc"
