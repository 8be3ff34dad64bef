// The Formulas menu in a window: trace arrows one level per press, sheet
// markers that lead to other sheets, arrows that go with an edit; the
// Evaluate Formula panel stepping through a nested formula and into the cell
// it reads; Check Workbook listing the stale result of a file LibreOffice
// wrote (tests/data/tools/stale.xlsx) and selecting its cell on a click.
#include <QDockWidget>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QTreeWidget>

#include "AppTestSupport.h"
#include "app/tools/CheckWorkbookPanel.h"
#include "app/tools/EvaluateFormulaPanel.h"
#include "app/tools/FormulaAuditing.h"
#include "app/tools/TraceArrows.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"
#include "functions/ReferenceSupport.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// Sheet 1: A1 1, A2 =A1*2, B1 3, B2 4, A3 =A2+SUM(B1:B2)+Data!A1, C1 =ROUND(A2/4,1)*2; Data: A1 10.
SumoraDocument auditBook() {
    SumoraDocument doc;
    Sheet& sheet = doc.sheets[0];
    sheet.cellForWriting(0, 0).setValue("1");
    sheet.cellForWriting(1, 0).setFormula("A1*2");
    sheet.cellForWriting(0, 1).setValue("3");
    sheet.cellForWriting(1, 1).setValue("4");
    sheet.cellForWriting(2, 0).setFormula("A2+SUM(B1:B2)+Data!A1");
    sheet.cellForWriting(0, 2).setFormula("ROUND(A2/3,1)*2");
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Data"));
    doc.sheets[1].cellForWriting(0, 0).setValue("10");
    recalculateWorkbook(doc, builtinFunctions());
    return doc;
}

// The arrows as "from→to" labels, in the order drawn.
QStringList arrowLabels(MainWindow* window) {
    QStringList out;
    const SumoraDocument& doc = window->document();
    for (const TraceArrow& a : FormulaAuditing::of(window)->traceArrows()->arrows()) {
        const CellRect& r = a.from.rect;
        out << QString::fromStdString(
            rangeLabel(doc.sheets[a.from.sheet].name, r.col1, r.row1, r.col2, r.row2) + "→" +
            cellLabel(doc.sheets[a.to.sheet].name, {a.to.col, a.to.row}));
    }
    return out;
}

} // namespace

class ToolFormulaAuditingTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    FormulaAuditing* auditing() { return FormulaAuditing::of(window); }
    void trigger(const char* action) { window->action(QString::fromLatin1(action))->trigger(); }

  private slots:
    void init() { window = openWindow(auditBook()); }
    void cleanup() { discardWindow(window); }

    void eachPressTracesOneLevelMore() {
        window->grid()->selectCell(2, 0); // A3
        trigger("tracePrecedents");
        QCOMPARE(arrowLabels(window), QStringList({"'Sheet 1'!A2→'Sheet 1'!A3",
                                                   "'Sheet 1'!B1:B2→'Sheet 1'!A3", "Data!A1→'Sheet 1'!A3"}));
        trigger("tracePrecedents");
        QCOMPARE(arrowLabels(window).size(), 4);
        QCOMPARE(arrowLabels(window).last(), QStringLiteral("'Sheet 1'!A1→'Sheet 1'!A2"));
        trigger("tracePrecedents"); // A1 is a constant: nothing further
        QCOMPARE(arrowLabels(window).size(), 4);

        trigger("removeArrows");
        QVERIFY(arrowLabels(window).isEmpty());

        window->grid()->selectCell(0, 0); // A1: its dependents, a level per press
        trigger("traceDependents");
        QCOMPARE(arrowLabels(window), QStringList({"'Sheet 1'!A1→'Sheet 1'!A2"}));
        trigger("traceDependents");
        QCOMPARE(arrowLabels(window), QStringList({"'Sheet 1'!A1→'Sheet 1'!A2", "'Sheet 1'!A2→'Sheet 1'!A3",
                                                   "'Sheet 1'!A2→'Sheet 1'!C1"}));
        trigger("removeArrows");
        QVERIFY(arrowLabels(window).isEmpty());
    }

    void sheetMarkerListsOtherSheetsAndGoesThere() {
        window->grid()->selectCell(2, 0);
        trigger("tracePrecedents");
        TraceArrows* arrows = auditing()->traceArrows();
        QCOMPARE(arrows->markerButtons().size(), size_t(1));
        QToolButton* marker = arrows->markerButtons().front();
        QVERIFY(marker->isVisible());
        const QList<QAction*> refs = marker->menu()->actions();
        QCOMPARE(refs.size(), 1);
        QCOMPARE(refs.front()->text(), QStringLiteral("Data!A1"));
        refs.front()->trigger();
        QCOMPARE(window->editor().activeSheetIndex, int64_t(1));
        QCOMPARE(window->editor().activeCell, (CellPosition{0, 0}));
        QVERIFY(arrows->arrows().empty()); // the arrows belonged to the other sheet
    }

    void editingATracedFormulaRemovesTheArrows() {
        window->grid()->selectCell(2, 0);
        trigger("tracePrecedents");
        window->editor().setCellValue({1, 0}, "5"); // B1 is read, not traced: arrows stay
        window->documentChanged();
        QCOMPARE(arrowLabels(window).size(), 3);
        window->editor().setCellValue({0, 2}, "=A1+1"); // A3's formula changes
        window->documentChanged();
        QVERIFY(arrowLabels(window).isEmpty());
    }

    void evaluateStepsThroughANestedFormulaAndIntoItsReference() {
        window->grid()->selectCell(0, 2); // C1 =ROUND(A2/3,1)*2
        trigger("evaluateFormula");
        EvaluateFormulaPanel* panel = auditing()->evaluatePanel();
        QVERIFY(window->findChild<QDockWidget*>(QStringLiteral("evaluateFormulaDock"))->isVisible());
        QCOMPARE(panel->expressionText(), QStringLiteral("=ROUND(A2/3,1)*2"));
        QCOMPARE(panel->underlinedPart(), QStringLiteral("A2"));
        QVERIFY(panel->stepInButton()->isEnabled());

        panel->stepIn(); // A2 =A1*2
        QCOMPARE(panel->levelCount(), 2);
        QCOMPARE(panel->underlinedPart(), QStringLiteral("A1"));
        panel->evaluate();
        QCOMPARE(panel->expressionText(), QStringLiteral("=1*2"));
        panel->evaluate();
        QCOMPARE(panel->expressionText(), QStringLiteral("=2"));
        panel->evaluate(); // at the end of the inner formula: back out with its value
        QCOMPARE(panel->levelCount(), 1);
        QCOMPARE(panel->expressionText(), QStringLiteral("=ROUND(2/3,1)*2"));

        const QStringList parts = {"2/3", "ROUND(0.6666666666666666,1)", "0.7*2"};
        for (const QString& part : parts) {
            QCOMPARE(panel->underlinedPart(), part);
            panel->evaluate();
        }
        QCOMPARE(panel->expressionText(), QStringLiteral("=1.4"));
        QCOMPARE(panel->doneSteps(), QStringList({"A2 → 2", "2/3 → 0.6666666666666666",
                                                  "ROUND(0.6666666666666666,1) → 0.7", "0.7*2 → 1.4"}));
        QVERIFY(!panel->evaluateButton()->isEnabled());

        QTest::mouseClick(panel->findChild<QPushButton*>(QStringLiteral("evaluateRestart")), Qt::LeftButton);
        QCOMPARE(panel->underlinedPart(), QStringLiteral("A2"));
        QVERIFY(panel->doneSteps().isEmpty());
    }

    void checkListsTheStaleCellAndAClickSelectsIt() {
        discardWindow(window);
        window = openWindow();
        QVERIFY(window->loadFile(QStringLiteral(SUMORA_SOURCE_DIR "/tests/data/tools/stale.xlsx")));
        trigger("checkWorkbook");
        CheckWorkbookPanel* panel = auditing()->checkPanel();
        QTreeWidget* list = panel->list();
        QCOMPARE(list->topLevelItemCount(), 1);
        QTreeWidgetItem* stale = list->topLevelItem(0)->child(0);
        QCOMPARE(stale->text(0), QStringLiteral("Calc!A2"));
        QCOMPARE(stale->text(1), QStringLiteral("999"));
        QCOMPARE(stale->text(2), QStringLiteral("183"));
        QVERIFY(panel->summary()->text().startsWith(QStringLiteral("1 of 7 formulas differ")));

        QVERIFY(QTest::qWaitForWindowExposed(list));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(stale).center());
        const auto calc = window->document().sheetIndex("Calc");
        QVERIFY(calc);
        QCOMPARE(window->editor().activeSheetIndex, int64_t(*calc));
        QCOMPARE(window->editor().activeCell, (CellPosition{0, 1}));
    }

    void checkSaysAllAgreeAndKeepsVolatileCellsApart() {
        discardWindow(window);
        window = openWindow();
        QVERIFY(window->loadFile(QStringLiteral(SUMORA_SOURCE_DIR "/tests/data/tools/volatile.xlsx")));
        trigger("checkWorkbook");
        CheckWorkbookPanel* panel = auditing()->checkPanel();
        QVERIFY(panel->summary()->text().startsWith(QStringLiteral("All agree")));
        QCOMPARE(panel->list()->topLevelItemCount(), 1);
        QVERIFY(panel->list()->topLevelItem(0)->text(0).startsWith(QStringLiteral("Volatile")));
        QCOMPARE(panel->list()->topLevelItem(0)->childCount(), 2);
    }
};

SUMORA_APP_TEST_MAIN(ToolFormulaAuditingTest)
#include "ToolFormulaAuditingTest.moc"
