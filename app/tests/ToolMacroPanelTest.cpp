// The macro panel in a window: the example script, a run writing cells back
// as one undo step, output and errors, the clear control, and stopping a
// script that would never end.
#include <QDockWidget>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeWidget>

#include "AppTestSupport.h"
#include "app/tools/MacroPanel.h"
#include "app/tools/ToolHost.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class ToolMacroPanelTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    MacroPanel* panel() { return ToolHost::of(window)->macroPanel(); }

    // Runs the panel's script and waits for the run to end.
    bool runAndWait(int timeoutMs = 20000) {
        QSignalSpy finished(panel(), &MacroPanel::runFinished);
        if (!panel()->run()) return false;
        return finished.wait(timeoutMs);
    }

  private slots:
    void init() { window = openWindow(); }
    void cleanup() { discardWindow(window); }

    void panelOffersTheExampleReferenceAndEmptyOutput() {
        window->action(QStringLiteral("showMacros"))->trigger();
        QVERIFY(ToolHost::of(window)->macroDock()->isVisible());
        QVERIFY(panel()->scriptEditor()->toPlainText().startsWith(
            QStringLiteral("// Example: Fill column A with row numbers")));
        QCOMPARE(panel()->referenceList()->topLevelItemCount(), 9);
        QCOMPARE(panel()->referenceList()->topLevelItem(2)->text(1),
                 QStringLiteral("Read as number (0 if not numeric)"));
        QVERIFY(panel()->placeholderLabel()->isVisible());
        QCOMPARE(panel()->placeholderLabel()->text(), QStringLiteral("Run a macro to see output here."));
        QVERIFY(panel()
                    ->findChild<QLabel*>(QStringLiteral("macroOutputHeading"))
                    ->text()
                    .contains(QStringLiteral("Output")));

        panel()->scriptEditor()->clear();
        QVERIFY(!panel()->run()); // an empty script brings the example back instead
        QVERIFY(panel()->scriptEditor()->toPlainText().contains(QStringLiteral("setRef(")));
    }

    void exampleFillsColumnAAsOneUndoStep() {
        window->action(QStringLiteral("showMacros"))->trigger();
        QVERIFY(runAndWait());
        for (int r = 0; r < 10; ++r)
            QCOMPARE(shown(window, r, 0), QString::number(r + 1));
        QCOMPARE(panel()->outputLines(), QStringList({"Filled 10 rows in column A"}));
        QVERIFY(panel()->outputList()->isVisible());
        QCOMPARE(*window->undoManager().undoActionName(), std::string("Run Macro"));
        window->undo();
        QCOMPARE(shown(window, 0, 0), QString());
        QCOMPARE(shown(window, 9, 0), QString());
        window->redo();
        QCOMPARE(shown(window, 9, 0), QStringLiteral("10"));
    }

    void scriptsReadCellsAndFormulasFollowTheirWrites() {
        window->editor().setCellValue({1, 0}, "=A1*2");
        window->editor().setCellValue({2, 0}, "12.5");
        panel()->scriptEditor()->setPlainText(
            QStringLiteral("setRef('A1', num('C1') * 2); console.log('B1 was ' + cell('B1'));"));
        QVERIFY(runAndWait());
        QCOMPARE(shown(window, 0, 0), QStringLiteral("25"));
        QCOMPARE(shown(window, 0, 1), QStringLiteral("50"));
        QCOMPARE(panel()->outputLines(), QStringList({"B1 was 50"})); // a write is entered as typed
    }

    void errorsAndSilentScriptsAreReportedAndClearEmpties() {
        panel()->scriptEditor()->setPlainText(QStringLiteral("setRef('A1', 'kept'); log('a'); throw 'x';"));
        QVERIFY(runAndWait());
        QCOMPARE(panel()->outputLines(), QStringList({"a", "Error: x"}));
        QCOMPARE(shown(window, 0, 0), QStringLiteral("kept")); // writes before the error stay
        panel()->scriptEditor()->setPlainText(QStringLiteral("var quiet = 1;"));
        QVERIFY(runAndWait());
        QCOMPARE(panel()->outputLines().last(), QStringLiteral("(script completed with no output)"));
        panel()->clearButton()->click();
        QCOMPARE(panel()->outputList()->count(), 0);
        window->action(QStringLiteral("showMacros"))->trigger();
        QVERIFY(panel()->placeholderLabel()->isVisible());
    }

    void longRunningScriptCanBeStoppedWhileTheWindowStaysAlive() {
        panel()->scriptEditor()->setPlainText(QStringLiteral("setRef('A1', 'started'); while (true) {}"));
        QSignalSpy finished(panel(), &MacroPanel::runFinished);
        QVERIFY(panel()->run());
        QVERIFY(panel()->isRunning());
        QVERIFY(panel()->stopButton()->isEnabled());
        QVERIFY(!panel()->runButton()->isEnabled());
        QTest::qWait(200); // the event loop turns while the script spins
        panel()->stopButton()->click();
        QVERIFY(finished.wait(10000));
        QVERIFY(!panel()->isRunning());
        QVERIFY(panel()->outputLines().last().startsWith(QStringLiteral("Error: ")));
        QCOMPARE(shown(window, 0, 0), QStringLiteral("started"));
    }

    void editsMadeWhileAScriptRunsAreKept() {
        panel()->scriptEditor()->setPlainText(
            QStringLiteral("var t = Date.now(); while (Date.now() - t < 300) {} setRef('A1', 'macro');"));
        QSignalSpy finished(panel(), &MacroPanel::runFinished);
        QVERIFY(panel()->run());
        window->editor().setCellValue({3, 3}, "typed meanwhile");
        QVERIFY(finished.wait(10000));
        QCOMPARE(shown(window, 0, 0), QStringLiteral("macro"));
        QCOMPARE(shown(window, 3, 3), QStringLiteral("typed meanwhile"));
    }
};

SUMORA_APP_TEST_MAIN(ToolMacroPanelTest)
#include "ToolMacroPanelTest.moc"
