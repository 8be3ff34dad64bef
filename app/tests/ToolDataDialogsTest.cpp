// The data dialogs over a real window: each fills the editor's inputs, runs
// its command and shows the editor's status text; the document changes as
// the command says.
#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPlainTextEdit>

#include "AppTestSupport.h"
#include "app/tools/AutoFilterPopup.h"
#include "app/tools/FindReplaceBar.h"
#include "app/tools/GoalSeekDialog.h"
#include "app/tools/RemoveDuplicatesDialog.h"
#include "app/tools/ScenarioDialog.h"
#include "app/tools/SolverDialog.h"
#include "app/tools/SortDialog.h"
#include "app/tools/TextToColumnsDialog.h"
#include "app/tools/ToolHost.h"
#include "app/tools/ToolSupport.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// Name, city, score — with a header row.
SumoraDocument peopleBook() {
    SumoraDocument doc;
    const char* rows[][3] = {{"Name", "City", "Score"}, {"Cleo", "Oslo", "9"}, {"Abe", "Rome", "10"},
                             {"Bea", "Oslo", "100"},    {"Abe", "Oslo", "7"},  {"cleo", "Rome", "9"}};
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 3; ++c) {
            Cell& cell = doc.sheets[0].cellForWriting(r, c);
            cell.setValue(rows[r][c]);
        }
    return doc;
}

QString text(const Sheet& sheet, int row, int col) {
    return toQString(sheet.cell(row, col).displayValue());
}

} // namespace

class ToolDataDialogsTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SumoraEditorView& editor() { return window->editor(); }
    const Sheet& sheet() { return window->document().sheets[0]; }
    QStringList column(int col, int rows) {
        QStringList out;
        for (int r = 0; r < rows; ++r)
            out << text(sheet(), r, col);
        return out;
    }

  private slots:
    void init() { window = openWindow(peopleBook()); }
    void cleanup() { discardWindow(window); }

    void toolsAreInTheWindowsMenus() {
        for (const char* name :
             {"sortDialog", "toggleFilter", "findReplace", "textToColumns", "removeDuplicates",
              "dataValidation", "goalSeek", "solver", "scenarios", "conditionalFormatting", "insertChart",
              "insertSparkline", "exportPdf", "pageSetup", "print", "showMacros"})
            QVERIFY2(window->action(QString::fromLatin1(name)), name);
        QVERIFY(window->menuBar()->findChild<QMenu*>(QStringLiteral("toolsMenu")));
    }

    void sortDialogSortsByEveryKeyAndKeepsTheHeader() {
        window->grid()->selectCell(1, 0);
        SortDialog dialog(*window);
        dialog.headerCheck()->setChecked(true);
        QCOMPARE(dialog.keyCount(), 1); // the active column, ascending
        dialog.addKey(2, false);        // then by score, largest first
        dialog.apply();
        QCOMPARE(column(0, 6), QStringList({"Name", "Abe", "Abe", "Bea", "Cleo", "cleo"}));
        // Abe's two rows by score descending; Cleo and cleo compare equal by name.
        QCOMPARE(column(2, 3), QStringList({"Score", "10", "7"}));
        QCOMPARE(*window->undoManager().undoActionName(), std::string("Sort"));
    }

    void filterPopupHidesRowsButKeepsTheHeader() {
        window->action(QStringLiteral("toggleFilter"))->trigger();
        QVERIFY(editor().autoFilter.enabled);
        AutoFilterPopup popup(*window, 1);
        QCOMPARE(popup.texts(), QStringList({"Oslo", "Rome"}));
        popup.setTextChecked(QStringLiteral("Oslo"), false);
        QVERIFY(!popup.selectAllCheck()->isChecked());
        popup.apply();
        QVERIFY(!window->grid()->isRowHidden(0));  // header
        QVERIFY(window->grid()->isRowHidden(1));   // Oslo
        QVERIFY(!window->grid()->isRowHidden(2));  // Rome
        QVERIFY(!window->grid()->isRowHidden(10)); // the empty rows below the data

        // Ticking everything again lifts the column's condition.
        AutoFilterPopup again(*window, 1);
        QVERIFY(!again.isTextChecked(QStringLiteral("Oslo")));
        again.selectAllCheck()->setChecked(true);
        again.apply();
        QVERIFY(!editor().autoFilter.allowed.contains(1));
        QVERIFY(!window->grid()->isRowHidden(1));

        window->action(QStringLiteral("toggleFilter"))->trigger();
        QVERIFY(!editor().autoFilter.enabled);
    }

    void findBarStepsThroughMatchesAndReplaces() {
        ToolHost* host = ToolHost::of(window);
        QVERIFY(host);
        window->action(QStringLiteral("findReplace"))->trigger();
        FindReplaceBar* bar = host->findBar();
        QVERIFY(bar->isVisible());

        bar->findField()->setText(QStringLiteral("cleo"));
        bar->findNext();
        QCOMPARE(bar->statusLabel()->text(), QStringLiteral("1 of 2")); // case ignored
        QCOMPARE(window->grid()->currentIndex().row(), 1);
        bar->findNext();
        QCOMPARE(bar->statusLabel()->text(), QStringLiteral("2 of 2"));
        QCOMPARE(window->grid()->currentIndex().row(), 5);

        bar->matchCaseCheck()->setChecked(true); // a new search at once
        QCOMPARE(bar->statusLabel()->text(), QStringLiteral("1 of 1"));
        bar->entireCellCheck()->setChecked(true);
        bar->findField()->setText(QStringLiteral("cle"));
        bar->findNext();
        QCOMPARE(bar->statusLabel()->text(), QStringLiteral("No matches"));

        bar->matchCaseCheck()->setChecked(false);
        bar->entireCellCheck()->setChecked(false);
        bar->findField()->setText(QStringLiteral("Oslo"));
        bar->replaceField()->setText(QStringLiteral("Bergen"));
        bar->replaceAll();
        QCOMPARE(column(1, 6), QStringList({"City", "Bergen", "Rome", "Bergen", "Bergen", "Rome"}));
        QCOMPARE(bar->statusLabel()->text(), QStringLiteral("Replaced 3 cells"));
        QCOMPARE(*window->undoManager().undoActionName(), std::string("Replace All"));
    }

    void findBarSearchesFormulasWhenAsked() {
        editor().setCellValue({4, 0}, "=SUM(C2:C3)");
        ToolHost::of(window)->showFindBar();
        FindReplaceBar* bar = ToolHost::of(window)->findBar();
        bar->findField()->setText(QStringLiteral("SUM"));
        bar->findNext();
        QCOMPARE(bar->statusLabel()->text(), QStringLiteral("No matches"));
        bar->formulasCheck()->setChecked(true);
        QCOMPARE(bar->statusLabel()->text(), QStringLiteral("1 of 1"));
    }

    void textToColumnsSplitsTheSelectionWithTheChosenDelimiter() {
        editor().setCellValue({4, 1}, "a;;b; c");
        window->grid()->selectCell(1, 4);
        TextToColumnsDialog dialog(*window);
        dialog.setDelimiter(TextToColumnsDelimiter::semicolon);
        dialog.consecutiveCheck()->setChecked(true);
        QCOMPARE(dialog.previewLabel()->text(), QStringLiteral("Preview: [a] [b] [c]"));
        dialog.apply();
        QCOMPARE(text(sheet(), 1, 4), QStringLiteral("a"));
        QCOMPARE(text(sheet(), 1, 5), QStringLiteral("b"));
        QCOMPARE(text(sheet(), 1, 6), QStringLiteral("c"));
    }

    void removeDuplicatesComparesOnlyTheCheckedColumns() {
        RemoveDuplicatesDialog dialog(*window);
        QCOMPARE(dialog.messageLabel()->text(),
                 QStringLiteral("This action cannot be undone. Consider saving your workbook first."));
        QCOMPARE(dialog.columnCount(), 3);
        dialog.headerCheck()->setChecked(true);
        dialog.setColumnChecked(1, false);
        dialog.setColumnChecked(2, false);
        dialog.apply(); // by name: the second Abe goes; cleo differs from Cleo
        QCOMPARE(dialog.messageLabel()->text(),
                 QStringLiteral("1 duplicate row(s) removed, 4 unique row(s) remain."));
        QCOMPARE(column(0, 6), QStringList({"Name", "Cleo", "Abe", "Bea", "cleo", ""}));
    }

    void goalSeekShowsTheEditorsStatus() {
        editor().setCellValue({4, 0}, "=D1*2");
        GoalSeekDialog dialog(*window);
        dialog.setCellField()->setText(QStringLiteral("E1"));
        dialog.targetField()->setText(QStringLiteral("10"));
        dialog.changingCellField()->setText(QStringLiteral("D1"));
        dialog.apply();
        QCOMPARE(dialog.statusLabel()->text(), QStringLiteral("Found solution: 5.000000"));
        QVERIFY(qAbs(shown(window, 0, 4).toDouble() - 10) < 1e-6);

        dialog.setCellField()->setText(QStringLiteral("nowhere"));
        dialog.apply();
        QCOMPARE(dialog.statusLabel()->text(),
                 QStringLiteral("Invalid input. Use cell references like A1, B2."));
    }

    void solverHonoursItsConstraintList() {
        editor().setCellValue({4, 0}, "1");
        editor().setCellValue({5, 0}, "=E1*3");
        SolverDialog dialog(*window);
        dialog.objectiveField()->setText(QStringLiteral("F1"));
        dialog.setGoal(QStringLiteral("max"));
        dialog.variablesField()->setText(QStringLiteral("E1,"));
        dialog.addConstraint(QStringLiteral("E1"), QStringLiteral("<="), QStringLiteral("4"));
        dialog.addConstraint(QStringLiteral("E1"), QStringLiteral("int"), QString());
        QCOMPARE(dialog.constraintCount(), 2);
        dialog.apply();
        QCOMPARE(dialog.statusLabel()->text(), QStringLiteral("Solution found. Objective = 12"));
        QCOMPARE(text(sheet(), 0, 4), QStringLiteral("4"));
        QCOMPARE(window->toolInputs().solver.constraints.size(), size_t{2});

        dialog.removeSelectedConstraint();
        dialog.removeSelectedConstraint();
        dialog.addConstraint(QStringLiteral("F1"), QStringLiteral(">="), QStringLiteral("100"));
        dialog.addConstraint(QStringLiteral("F1"), QStringLiteral("<="), QStringLiteral("0"));
        dialog.apply();
        QCOMPARE(dialog.statusLabel()->text(), QStringLiteral("No feasible solution found."));
        QCOMPARE(text(sheet(), 0, 4), QStringLiteral("4")); // put back
    }

    void scenariosSaveApplyRestoreAndList() {
        editor().setCellValue({4, 0}, "100");
        editor().setCellValue({5, 0}, "=E1+1");
        ScenarioDialog dialog(*window);
        dialog.nameField()->setText(QStringLiteral("Base"));
        dialog.cellsField()->setText(QStringLiteral("E1"));
        dialog.commentField()->setPlainText(QStringLiteral("today"));
        dialog.addScenario();
        editor().setCellValue({4, 0}, "500");
        dialog.nameField()->setText(QStringLiteral("High"));
        dialog.addScenario();
        QCOMPARE(dialog.scenarioList()->count(), 2);
        QCOMPARE(dialog.scenarioList()->item(0)->text(), QStringLiteral("Base — E1 (today)"));

        dialog.scenarioList()->setCurrentRow(0);
        QCOMPARE(dialog.nameField()->text(), QStringLiteral("Base"));
        dialog.showSelected();
        QCOMPARE(shown(window, 0, 5), QStringLiteral("101"));
        dialog.restoreOriginals();
        QCOMPARE(shown(window, 0, 5), QStringLiteral("501"));

        // Saving over the selected one replaces it in place.
        dialog.scenarioList()->setCurrentRow(1);
        dialog.nameField()->setText(QStringLiteral("Higher"));
        dialog.saveSelected();
        QCOMPARE(window->document().scenarios.size(), size_t{2});
        QCOMPARE(window->document().scenarios[1].name, std::string("Higher"));
        dialog.deleteSelected();
        QCOMPARE(window->document().scenarios.size(), size_t{1});
    }
};

SUMORA_APP_TEST_MAIN(ToolDataDialogsTest)
#include "ToolDataDialogsTest.moc"
