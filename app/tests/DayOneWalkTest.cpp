// A new user's first day, as keys and clicks on a fresh window: type a small
// table, format it, fill, sort, chart it, save it (and reopen the file in
// LibreOffice), open a large workbook and move around it, the everyday keys,
// the right-click menus, and printing.
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#if SUMORA_HAVE_QT_PRINTSUPPORT
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#endif

#include "AppTestSupport.h"
#include "app/DocumentWindows.h"
#include "app/FormatCellsDialog.h"
#include "app/SheetTabBar.h"
#include "app/tools/ChartInsertion.h"
#include "app/tools/ChartLayer.h"
#include "app/tools/SortDialog.h"
#include "app/tools/ToolHost.h"
#include "formats/XlsxFormat.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class DayOneWalkTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    MainWindow* window = nullptr;
    SheetGridView* grid() { return window->grid(); }
    Sheet& sheet() { return window->document().sheets[0]; }
    CellPosition active() { return *window->editor().activeCell; }
    QPoint cellPoint(int row, int col) {
        return grid()->visualRect(window->sheetModel()->index(row, col)).center();
    }
    void click(int row, int col, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(grid()->viewport(), Qt::LeftButton, modifiers, cellPoint(row, col));
    }
    // Types `keys` into the grid: "\t" is Tab, "\n" is Enter.
    void type(const QString& keys) {
        for (QChar c : keys) {
            if (c == QLatin1Char('\t'))
                pressKey(grid(), Qt::Key_Tab);
            else if (c == QLatin1Char('\n'))
                pressKey(grid(), Qt::Key_Return);
            else
                QTest::keyClick(focused(grid()), c.toLatin1());
        }
    }
    // Item and price, with a total by formula, typed from A1.
    void typeTheTable() {
        click(0, 0);
        type(QStringLiteral("Item\tPrice\nPens\t2.5\nInk\t4\nPaper\t3\nTotal\t=SUM(B2:B4)\n"));
    }
    // The offscreen platform does not give the window back its activation
    // when a dialog closes, as a desktop does; its shortcuts need it.
    void reactivate() {
        QApplication::setActiveWindow(window);
        QVERIFY(QTest::qWaitForWindowActive(window));
    }
    static void clickButton(QDialog* dialog, QDialogButtonBox::StandardButton which) {
        QTest::mouseClick(dialog->findChild<QDialogButtonBox*>()->button(which), Qt::LeftButton);
    }
    // Answers the next number prompt (row height, column width) by typing.
    static void answerNumberPrompt(const QString& value) {
        whenShown<QInputDialog>([value](QInputDialog* d) {
            auto* spin = d->findChild<QDoubleSpinBox*>();
            spin->selectAll();
            QTest::keyClicks(spin, value);
            QTest::keyClick(spin, Qt::Key_Return);
        });
    }
    // Runs File ▸ `action` and names `path` in its file dialog.
    void runWithFile(const char* action, const QString& path) {
        whenShown<QFileDialog>([path](QFileDialog* d) {
            d->selectFile(path);
            static_cast<QDialog*>(d)->accept(); // QFileDialog's own accept is protected
        });
        window->action(QString::fromLatin1(action))->trigger();
    }

  private slots:
    void init() { window = openWindow(); }
    void cleanup() {
        for (MainWindow* w : DocumentWindows::windows())
            discardWindow(w);
    }

    void typingNumbersTextAndAFormula() {
        typeTheTable();
        QCOMPARE(shown(window, 4, 1), QStringLiteral("9.5"));
        QCOMPARE(shown(window, 2, 0), QStringLiteral("Ink"));
        QCOMPARE(active(), (CellPosition{0, 5})); // Enter after Tab went back to column A
        QCOMPARE(window->sheetModel()->editText(4, 1), QStringLiteral("=SUM(B2:B4)"));
        QCOMPARE(sheet().cell(1, 1).value(), "2.5");
    }

    void formattingWithTheDialogTheKeysAndTheHeaders() {
        typeTheTable();
        click(1, 1);
        click(3, 1, Qt::ShiftModifier);
        QString preview;
        whenShown<FormatCellsDialog>([&preview](FormatCellsDialog* d) {
            QListWidget* categories = d->categories();
            QTest::mouseClick(categories->viewport(), Qt::LeftButton, {},
                              categories->visualItemRect(categories->item(2)).center()); // Currency
            preview = d->findChild<QLabel*>(QStringLiteral("numberFormatPreview"))->text();
            auto* tabs = d->findChild<QTabWidget*>();
            QTest::mouseClick(tabs->tabBar(), Qt::LeftButton, {},
                              tabs->tabBar()->tabRect(4).center()); // Fill
            QTest::mouseClick(d->findChild<QToolButton*>(QStringLiteral("fill_FFF2CC")), Qt::LeftButton);
            QTest::mouseClick(tabs->tabBar(), Qt::LeftButton, {},
                              tabs->tabBar()->tabRect(2).center()); // Font
            auto* size = d->findChild<QDoubleSpinBox*>();
            size->selectAll();
            QTest::keyClicks(size, QStringLiteral("14"));
            clickButton(d, QDialogButtonBox::Ok);
        });
        pressKey(grid(), Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(preview, QStringLiteral("$2.50")); // the active cell's value as a sample
        QCOMPARE(shown(window, 1, 1), QStringLiteral("$2.50"));
        const CellFormat& f = sheet().cell(3, 1).format();
        QCOMPARE(f.fillColor.value_or(""), std::string("FFF2CC"));
        QCOMPARE(f.fontSize.value_or(0), 14.0);
        QVERIFY2(!f.fontName, f.fontName.value_or("").c_str()); // only the size was changed

        reactivate();
        click(0, 0);
        click(0, 1, Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_B, Qt::ControlModifier);
        QVERIFY(sheet().cell(0, 0).format().isBold && sheet().cell(0, 1).format().isBold);

        answerNumberPrompt(QStringLiteral("30"));
        QVERIFY(chooseFromContextMenu(grid()->verticalHeader()->viewport(), rowHeaderPoint(grid(), 0),
                                      QStringLiteral("rowHeight")));
        QCOMPARE(grid()->rowHeight(0), 30);
        answerNumberPrompt(QStringLiteral("150"));
        QVERIFY(chooseFromContextMenu(grid()->horizontalHeader()->viewport(), columnHeaderPoint(grid(), 0),
                                      QStringLiteral("columnWidth")));
        QCOMPARE(grid()->columnWidth(0), 150);
        QCOMPARE(sheet().columnWidths.at(0), 150.0);
    }

    void fillingDownRightAndWithTheHandle() {
        click(1, 3);
        type(QStringLiteral("7\n"));
        click(1, 3);
        click(3, 3, Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_D, Qt::ControlModifier);
        QCOMPARE(shown(window, 3, 3), QStringLiteral("7"));
        click(1, 4);
        type(QStringLiteral("x\n"));
        click(1, 4);
        click(1, 6, Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(shown(window, 1, 6), QStringLiteral("x"));

        click(0, 7);
        type(QStringLiteral("Jan\n"));
        click(0, 7);
        const QRect h1 = grid()->visualRect(window->sheetModel()->index(0, 7));
        QTest::mousePress(grid()->viewport(), Qt::LeftButton, {}, h1.bottomRight());
        QTest::mouseMove(grid()->viewport(), cellPoint(2, 7));
        QTest::mouseRelease(grid()->viewport(), Qt::LeftButton, {}, cellPoint(2, 7));
        QCOMPARE(shown(window, 1, 7), QStringLiteral("Feb"));
        QCOMPARE(shown(window, 2, 7), QStringLiteral("Mar"));
    }

    void sortingABlockByItsSecondColumn() {
        typeTheTable();
        click(0, 0);
        click(3, 1, Qt::ShiftModifier);
        whenShown<SortDialog>([](SortDialog* d) {
            if (!d->headerCheck()->isChecked()) QTest::mouseClick(d->headerCheck(), Qt::LeftButton);
            auto boxes = d->findChildren<QComboBox*>();
            QComboBox* column = boxes.at(0);
            QComboBox* order = boxes.at(1);
            column->setFocus();
            QTest::keyClick(column, Qt::Key_End); // the last column of the block: Price
            order->setFocus();
            QTest::keyClick(order, Qt::Key_Down); // descending
            clickButton(d, QDialogButtonBox::Ok);
        });
        window->action(QStringLiteral("sortDialog"))->trigger();
        const QStringList items{shown(window, 1, 0), shown(window, 2, 0), shown(window, 3, 0)};
        QCOMPARE(items, (QStringList{"Ink", "Paper", "Pens"}));
        QCOMPARE(shown(window, 0, 0), QStringLiteral("Item")); // the header stays
        QCOMPARE(shown(window, 4, 1), QStringLiteral("9.5"));
    }

    void insertingAChartFromTheSelection() {
        typeTheTable();
        click(0, 0);
        click(3, 1, Qt::ShiftModifier);
        whenShown<ChartInsertionDialog>([](ChartInsertionDialog* d) {
            QCOMPARE(d->rangeField()->text(), QStringLiteral("A1:B4"));
            clickButton(d, QDialogButtonBox::Ok);
        });
        window->action(QStringLiteral("insertChart"))->trigger();
        QCOMPARE(sheet().charts.size(), size_t(1));
        ChartFrame* frame = ToolHost::of(window)->chartLayer()->frameFor(sheet().charts[0].id);
        QVERIFY(frame && frame->isVisible());
    }

    void savedWorkbookReopensInLibreOffice() {
        const QByteArray soffice = qgetenv("SUMORA_LIBREOFFICE");
        if (soffice.isEmpty()) QSKIP("set SUMORA_LIBREOFFICE (ctest app.DayOneWalkLibreOffice)");
        typeTheTable();
        const QString xlsx = dir.filePath(QStringLiteral("first day.xlsx"));
        runWithFile("saveAs", xlsx);
        QVERIFY(QFileInfo::exists(xlsx));
        QCOMPARE(window->filePath(), xlsx);

        QProcess lo;
        lo.start(QString::fromLocal8Bit(soffice),
                 {QStringLiteral("-env:UserInstallation=file://") + dir.filePath(QStringLiteral("profile")),
                  QStringLiteral("--headless"), QStringLiteral("--convert-to"), QStringLiteral("csv"),
                  QStringLiteral("--outdir"), dir.path(), xlsx});
        QVERIFY(lo.waitForFinished(240000));
        QFile csv(dir.filePath(QStringLiteral("first day.csv")));
        QVERIFY2(csv.open(QIODevice::ReadOnly), lo.readAllStandardError().constData());
        const QStringList lines =
            QString::fromUtf8(csv.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines, (QStringList{"Item,Price", "Pens,2.5", "Ink,4", "Paper,3", "Total,9.5"}));
    }

    void aLargeWorkbookOpensAndTheKeysReachItsEnds() {
        SumoraDocument doc;
        Sheet& big = doc.sheets[0];
        for (int64_t r = 0; r < 200000; ++r) {
            big.cellForWriting(r, 0).setValue(std::to_string(r + 1));
            big.cellForWriting(r, 1).setValue(r % 2 ? "odd" : "even");
        }
        big.cellForWriting(199999, 3).setValue("last");
        const QString path = dir.filePath(QStringLiteral("large.xlsx"));
        const std::string bytes = writeXlsx(doc);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes.data(), static_cast<qint64>(bytes.size()));
        file.close();

        MainWindow* opened = DocumentWindows::openFile(path, window);
        QCOMPARE(opened, window); // the untouched blank window is reused
        grid()->setFocus();
        pressKey(grid(), Qt::Key_End, Qt::ControlModifier);
        QCOMPARE(active(), (CellPosition{3, 199999}));
        QVERIFY(grid()->rowAt(grid()->viewport()->height() - 1) >= 199999 ||
                grid()->rowAt(grid()->viewport()->height() - 1) == -1);
        QCOMPARE(grid()->rowAt(0) > 199900, true);
        pressKey(grid(), Qt::Key_Home, Qt::ControlModifier);
        QCOMPARE(active(), (CellPosition{0, 0}));
        QCOMPARE(grid()->verticalScrollBar()->value(), 0);
        pressKey(grid(), Qt::Key_PageDown);
        const int64_t page = active().row;
        QVERIFY2(page > 10, qPrintable(QString::number(page)));
        pressKey(grid(), Qt::Key_PageDown);
        QCOMPARE(active().row, 2 * page);
        QCOMPARE(shown(window, static_cast<int>(2 * page), 0), QString::number(2 * page + 1));
    }

    void everydayKeys() {
        click(0, 0);
        type(QStringLiteral("10\t=A1*2\n"));
        QCOMPARE(shown(window, 0, 1), QStringLiteral("20"));
        click(0, 0);
        pressKey(grid(), Qt::Key_F2);
        type(QStringLiteral("0\n")); // F2 keeps the content: 100
        QCOMPARE(shown(window, 0, 1), QStringLiteral("200"));
        pressKey(grid(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(shown(window, 0, 0), QStringLiteral("10"));
        pressKey(grid(), Qt::Key_Y, Qt::ControlModifier);
        QCOMPARE(shown(window, 0, 0), QStringLiteral("100"));
        pressKey(grid(), Qt::Key_Z, Qt::ControlModifier);
        pressKey(grid(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier); // the other redo habit
        QCOMPARE(shown(window, 0, 0), QStringLiteral("100"));
        QCOMPARE(shown(window, 0, 1), QStringLiteral("200"));

        click(0, 0);
        click(0, 1, Qt::ShiftModifier);
        pressKey(grid(), Qt::Key_C, Qt::ControlModifier);
        click(2, 0);
        pressKey(grid(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(shown(window, 2, 0), QStringLiteral("100"));
        QCOMPARE(window->sheetModel()->editText(2, 1), QStringLiteral("=A3*2")); // references follow

        click(2, 1);
        type(QStringLiteral("abc"));
        pressKey(grid(), Qt::Key_Escape);
        QCOMPARE(shown(window, 2, 1), QStringLiteral("200"));
        pressKey(grid(), Qt::Key_Delete);
        QCOMPARE(shown(window, 2, 1), QString());
        pressKey(grid(), Qt::Key_Up);
        pressKey(grid(), Qt::Key_Up);
        QCOMPARE(active(), (CellPosition{1, 0}));
    }

    void rightClickMenusOfferAndRunTheirCommands() {
        typeTheTable();
        // Cell: insert a row above B3.
        QVERIFY(chooseFromContextMenu(grid()->viewport(), cellPoint(2, 1), QStringLiteral("insertRowAbove")));
        QCOMPARE(shown(window, 3, 0), QStringLiteral("Ink"));
        // Row header: hide row 4 (Ink), then show it again from a selection around it.
        QHeaderView* rows = grid()->verticalHeader();
        QVERIFY(
            chooseFromContextMenu(rows->viewport(), rowHeaderPoint(grid(), 3), QStringLiteral("hideRows")));
        QVERIFY(rows->isSectionHidden(3));
        QTest::mouseClick(rows->viewport(), Qt::LeftButton, {}, rowHeaderPoint(grid(), 2));
        QTest::mouseClick(rows->viewport(), Qt::LeftButton, Qt::ShiftModifier, rowHeaderPoint(grid(), 4));
        QVERIFY(
            chooseFromContextMenu(rows->viewport(), rowHeaderPoint(grid(), 4), QStringLiteral("unhideRows")));
        QVERIFY(!rows->isSectionHidden(3));
        // Column header: clear column B's contents.
        QHeaderView* columns = grid()->horizontalHeader();
        QVERIFY(chooseFromContextMenu(columns->viewport(), columnHeaderPoint(grid(), 1),
                                      QStringLiteral("clearContents")));
        QCOMPARE(shown(window, 1, 1), QString());
        QCOMPARE(shown(window, 1, 0), QStringLiteral("Pens"));
        // Sheet tab: insert a sheet.
        QTabBar* tabs = window->sheetTabs()->findChild<QTabBar*>();
        QVERIFY(chooseFromContextMenu(tabs, tabs->tabRect(0).center(), QStringLiteral("insertSheet")));
        QCOMPARE(window->document().sheets.size(), size_t(2));
        // Chart: delete it.
        window->editor().activeSheetIndex = 0;
        window->sheetTabs()->activateSheet(0);
        click(0, 0);
        whenShown<ChartInsertionDialog>(
            [](ChartInsertionDialog* d) { clickButton(d, QDialogButtonBox::Ok); });
        window->action(QStringLiteral("insertChart"))->trigger();
        ChartFrame* frame = ToolHost::of(window)->chartLayer()->frameFor(sheet().charts.at(0).id);
        QVERIFY(frame);
        const QPoint onChart = frame->geometry().center();
        QVERIFY(chooseFromContextMenu(grid()->viewport(), onChart, QStringLiteral("deleteChart")));
        QVERIFY(sheet().charts.empty());
    }

    void printingToPdfAndThePreview() {
        typeTheTable();
        const QString pdf = dir.filePath(QStringLiteral("first day.pdf"));
        runWithFile("exportPdf", pdf);
        QFile file(pdf);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.read(5), QByteArray("%PDF-"));
#if SUMORA_HAVE_QT_PRINTSUPPORT
        int pages = 0;
        whenShown<QPrintPreviewDialog>([&pages](QPrintPreviewDialog* d) {
            auto* preview = d->findChild<QPrintPreviewWidget*>();
            QTRY_VERIFY(preview && preview->pageCount() > 0);
            pages = preview->pageCount();
            d->reject();
        });
        window->action(QStringLiteral("printPreview"))->trigger();
        QCOMPARE(pages, 1);
#endif
    }
};

SUMORA_APP_TEST_MAIN(DayOneWalkTest)
#include "DayOneWalkTest.moc"
