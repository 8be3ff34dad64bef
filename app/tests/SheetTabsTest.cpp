// Sheet tabs: adding, renaming (and the names refused), deleting with the
// references to the deleted sheet turning into #REF!, reordering, hiding,
// and colours.
#include <QTabBar>

#include "AppTestSupport.h"
#include "editing/SheetOperations.h"
#include "app/SheetTabBar.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class SheetTabsTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SheetTabBar* tabs() { return window->sheetTabs(); }
    SumoraDocument& doc() { return window->document(); }
    QStringList tabTexts() {
        QStringList texts;
        for (int i = 0; i < tabs()->tabBar()->count(); ++i)
            texts << tabs()->tabBar()->tabText(i);
        return texts;
    }

  private slots:
    void init() { window = openWindow(); }
    void cleanup() { discardWindow(window); }

    void sheetNamesAreCheckedBeforeRenaming_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("plain") << "Budget" << true;
        QTest::newRow("its own name in other case") << "SHEET 1" << true;
        QTest::newRow("empty") << "" << false;
        QTest::newRow("blank") << "   " << false;
        QTest::newRow("taken ignoring case") << "sheet 2" << false;
        QTest::newRow("colon") << "Q1:Q2" << false;
        QTest::newRow("bracket") << "[Data]" << false;
        QTest::newRow("32 characters") << QString(32, QLatin1Char('x')) << false;
    }
    void sheetNamesAreCheckedBeforeRenaming() {
        QFETCH(QString, name);
        QFETCH(bool, accepted);
        SumoraDocument d;
        addSheet(d);
        QCOMPARE(!sheetNameProblem(d, 0, name.toStdString()).has_value(), accepted);
    }

    void newSheetNamesSkipTakenOnes() {
        SumoraDocument d;
        d.sheets.push_back(SumoraDocument::makeNewSheet("Sheet 2"));
        QCOMPARE(nextSheetName(d), std::string("Sheet 3"));
    }

    void addingASheetShowsAndActivatesIt() {
        tabs()->addSheet();
        QCOMPARE(tabTexts(), QStringList({QStringLiteral("Sheet 1"), QStringLiteral("Sheet 2")}));
        QCOMPARE(window->editor().activeSheetIndex, 1);
        QCOMPARE(tabs()->tabBar()->currentIndex(), 1);
        window->editor().setCellValue({0, 0}, "on two");
        window->documentChanged();
        tabs()->tabBar()->setCurrentIndex(0);
        QCOMPARE(window->editor().activeSheetIndex, 0);
        QCOMPARE(shown(window, 0, 0), QString());
        QVERIFY(window->isWindowModified());
    }

    void renamingChangesTheTabOrReportsTheProblem() {
        tabs()->addSheet();
        QVERIFY(!tabs()->renameSheet(0, QStringLiteral("Income")));
        QCOMPARE(tabTexts().first(), QStringLiteral("Income"));
        const auto problem = tabs()->renameSheet(1, QStringLiteral("income"));
        QVERIFY(problem);
        QCOMPARE(*problem, QStringLiteral("A sheet named \"income\" already exists."));
        QCOMPARE(doc().sheets[1].name, std::string("Sheet 2"));
    }

    void deletingASheetTurnsReferencesToItIntoRefErrors() {
        tabs()->addSheet();
        window->editor().setCellValue({0, 0}, "5");
        tabs()->activateSheet(0);
        window->editor().setCellValue({0, 0}, "='Sheet 2'!A1*2");
        window->editor().setCellValue({0, 1}, "=2+2");
        window->documentChanged();
        QCOMPARE(shown(window, 0, 0), QStringLiteral("10"));
        QVERIFY(tabs()->deleteSheet(1));
        QCOMPARE(tabTexts(), QStringList({QStringLiteral("Sheet 1")}));
        QVERIFY(shown(window, 0, 0).contains(QStringLiteral("#REF!")));
        QCOMPARE(shown(window, 1, 0), QStringLiteral("4"));
        // The last sheet stays.
        QVERIFY(!tabs()->deleteSheet(0));
        QCOMPARE(doc().sheets.size(), size_t(1));
    }

    void reorderingKeepsTheActiveSheet() {
        tabs()->addSheet();
        tabs()->addSheet(); // Sheet 1, Sheet 2, Sheet 3 with Sheet 3 active
        tabs()->moveSheet(2, 0);
        QCOMPARE(tabTexts(), QStringList({QStringLiteral("Sheet 3"), QStringLiteral("Sheet 1"),
                                          QStringLiteral("Sheet 2")}));
        QCOMPARE(window->editor().activeSheetIndex, 0);
        QCOMPARE(tabs()->tabBar()->currentIndex(), 0);
    }

    // Undo steps name their sheet, so new and moved tabs keep the history;
    // deleting a sheet (whose #REF! rewrite cannot be undone) forgets it.
    void addedAndMovedTabsKeepTheUndoHistory() {
        window->editor().setCellValue({0, 0}, "typed");
        window->documentChanged();
        QAction* undo = window->action(QStringLiteral("undo"));
        tabs()->addSheet();
        tabs()->moveSheet(1, 0); // Sheet 2, Sheet 1
        QVERIFY(undo->isEnabled());
        QCOMPARE(undo->text(), QStringLiteral("Undo Typing"));
        undo->trigger();
        QVERIFY(doc().sheets[1].cell(0, 0).value().empty());
        QCOMPARE(doc().sheets[1].name, std::string("Sheet 1"));

        window->editor().setCellValue({1, 1}, "again");
        window->documentChanged();
        QVERIFY(tabs()->deleteSheet(1));
        QVERIFY(!undo->isEnabled());
    }

    void hiddenSheetsLeaveTheTabsAndComeBack() {
        tabs()->addSheet();
        QVERIFY(tabs()->setSheetHidden(1, true));
        QCOMPARE(tabTexts(), QStringList({QStringLiteral("Sheet 1")}));
        QCOMPARE(window->editor().activeSheetIndex, 0);
        QVERIFY(!tabs()->setSheetHidden(0, true)); // the last visible one stays
        QVERIFY(tabs()->setSheetHidden(1, false));
        QCOMPARE(tabTexts().size(), 2);
        QCOMPARE(window->editor().activeSheetIndex, 1);
    }

    void tabColourIsStoredAsHex() {
        tabs()->setTabColor(0, QStringLiteral("#70ad47"));
        QCOMPARE(doc().sheets[0].tabColorHex.value_or(""), std::string("70AD47"));
        QVERIFY(!tabs()->tabBar()->tabIcon(0).isNull());
        tabs()->setTabColor(0, std::nullopt);
        QVERIFY(!doc().sheets[0].tabColorHex);
    }
};

SUMORA_APP_TEST_MAIN(SheetTabsTest)
#include "SheetTabsTest.moc"
