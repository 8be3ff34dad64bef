// What the grid draws for a cell (text through its number format, colours,
// conditional formats, marks), keyboard targets on the sheet, and the grid's
// sheet layout: merges, frozen panes, filtered rows and a million rows.
#include <QFontDatabase>
#include <QHeaderView>

#include "AppTestSupport.h"
#include "app/CellAppearance.h"
#include "app/FrozenPanes.h"
#include "editing/GridNavigation.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class GridRenderingTest : public QObject {
    Q_OBJECT

    static Sheet sheetWith(const std::vector<std::tuple<int, int, std::string, std::string>>& cells) {
        Sheet sheet("S", 20, 6);
        for (const auto& [row, col, text, code] : cells) {
            Cell& c = sheet.cellForWriting(row, col);
            c.setValue(text);
            c.setComputedValue(text);
            if (!code.empty()) c.updateFormat([&](CellFormat& f) { f.numberFormat = code; });
        }
        return sheet;
    }

  private slots:
    void displayTextGoesThroughTheNumberFormat_data() {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("isNumber");
        QTest::newRow("general number") << "1234.5"
                                        << ""
                                        << "1234.5" << true;
        QTest::newRow("general long number") << "1234567890123"
                                             << ""
                                             << "1.23457E+12" << true;
        QTest::newRow("thousands") << "1234.5"
                                   << "#,##0.00"
                                   << "1,234.50" << true;
        QTest::newRow("percent") << "0.125"
                                 << "0.0%"
                                 << "12.5%" << true;
        QTest::newRow("date") << "45292"
                              << "yyyy-mm-dd"
                              << "2024-01-01" << true;
        QTest::newRow("text section") << "abc"
                                      << "0;0;0;\"<\"@\">\""
                                      << "<abc>" << false;
        QTest::newRow("text without code") << "hello"
                                           << ""
                                           << "hello" << false;
        QTest::newRow("empty") << ""
                               << "0.00"
                               << "" << false;
    }
    void displayTextGoesThroughTheNumberFormat() {
        QFETCH(QString, value);
        QFETCH(QString, code);
        QFETCH(QString, expected);
        QFETCH(bool, isNumber);
        const Sheet sheet = sheetWith({{0, 0, value.toStdString(), code.toStdString()}});
        CellAppearanceBuilder builder;
        bool number = false;
        QCOMPARE(builder.displayText(sheet, {0, 0}, &number), expected);
        QCOMPARE(number, isNumber);
    }

    void sectionColourAndConditionalFormatsColourTheCell() {
        Sheet sheet = sheetWith({{0, 0, "-5", "0;[Red]-0"}, {1, 0, "50", ""}, {2, 0, "1", ""}});
        ConditionalFormatRule rule;
        rule.ruleType = rule::GreaterThan{10};
        rule.format.fillColor = "FFC7CE";
        rule.format.isBold = true;
        rule.endRow = 2;
        sheet.conditionalFormats.push_back(rule);
        sheet.cellComments["A3"] = "note";
        CellAppearanceBuilder builder;
        builder.beginPaint(&sheet);
        const CellAppearance negative = builder.build(sheet, {0, 0});
        QCOMPARE(negative.text, QStringLiteral("-5"));
        QCOMPARE(negative.textColor, QColor(Qt::red));
        QCOMPARE(negative.alignment & Qt::AlignHorizontal_Mask, Qt::AlignRight);
        const CellAppearance big = builder.build(sheet, {0, 1});
        QCOMPARE(big.fill, QColor(0xFF, 0xC7, 0xCE));
        QVERIFY(big.font.bold());
        const CellAppearance small = builder.build(sheet, {0, 2});
        QVERIFY(!small.fill.isValid());
        QVERIFY(small.hasComment);
        QVERIFY(!big.hasComment);
    }

    void aFillInTheCodeIsHandedToThePainter() {
        const Sheet sheet = sheetWith({{0, 0, "1234.5", "$* #,##0.00"}, {1, 0, "5", "0.00"}});
        CellAppearanceBuilder builder;
        const CellAppearance accounting = builder.build(sheet, {0, 0});
        QCOMPARE(accounting.text, QStringLiteral("$1,234.50"));
        QCOMPARE(accounting.fillPosition, 1);
        QCOMPARE(accounting.fillText, QStringLiteral(" "));
        QCOMPARE(builder.build(sheet, {0, 1}).fillPosition, -1);
    }

    void generalNumbersLoseDecimalsBeforeTheyTurnIntoHashes() {
        const QFontMetrics metrics(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        const int digit = metrics.horizontalAdvance(QLatin1Char('0'));
        QCOMPARE(fitGeneralNumber(0.7359706, metrics, digit * 20), QStringLiteral("0.7359706"));
        QCOMPARE(fitGeneralNumber(0.7359706, metrics, digit * 5 + 1), QStringLiteral("0.736"));
        QCOMPARE(fitGeneralNumber(2.5001, metrics, digit * 4), QStringLiteral("2.5"));
        QCOMPARE(fitGeneralNumber(123456, metrics, digit * 3), QString());
    }

    void dataBarsReportTheirLength() {
        Sheet sheet = sheetWith({{0, 0, "0", ""}, {1, 0, "5", ""}, {2, 0, "10", ""}});
        ConditionalFormatRule bars;
        bars.ruleType = rule::DataBar{"638EC6"};
        bars.endRow = 2;
        sheet.conditionalFormats.push_back(bars);
        CellAppearanceBuilder builder;
        builder.beginPaint(&sheet);
        const auto full = builder.build(sheet, {0, 2}).dataBarFraction;
        QVERIFY(full);
        QVERIFY(*full > builder.build(sheet, {0, 1}).dataBarFraction.value_or(1));
        QCOMPARE(builder.build(sheet, {0, 2}).dataBarColor, QColor(0x63, 0x8E, 0xC6));
    }

    void controlArrowsFindTheDataEdge_data() {
        QTest::addColumn<int>("fromRow");
        QTest::addColumn<int>("dRow");
        QTest::addColumn<int>("expectedRow");
        // Filled rows: 2, 3, 4 and 8 of column 0 on a 20-row sheet.
        QTest::newRow("empty to next filled") << 0 << 1 << 2;
        QTest::newRow("inside a run to its end") << 2 << 1 << 4;
        QTest::newRow("end of run to next block") << 4 << 1 << 8;
        QTest::newRow("last filled to the edge") << 8 << 1 << 19;
        QTest::newRow("upwards into a run") << 7 << -1 << 4;
        QTest::newRow("upwards from run start") << 2 << -1 << 0;
        QTest::newRow("at the edge stays") << 0 << -1 << 0;
    }
    void controlArrowsFindTheDataEdge() {
        QFETCH(int, fromRow);
        QFETCH(int, dRow);
        QFETCH(int, expectedRow);
        const Sheet sheet = sheetWith({{2, 0, "a", ""}, {3, 0, "b", ""}, {4, 0, "c", ""}, {8, 0, "d", ""}});
        QCOMPARE(dataEdge(sheet, {0, fromRow}, dRow, 0).row, expectedRow);
    }

    void sheetLayoutAppliesMergesSizesAndFrozenPanes() {
        SumoraDocument doc;
        Sheet& sheet = doc.sheets[0];
        sheet.mergedRegions.push_back({1, 1, 3, 2});
        sheet.columnWidths[0] = 180;
        sheet.rowHeights[4] = 40;
        sheet.frozenRows = 2;
        sheet.frozenColumns = 1;
        MainWindow* window = openWindow(std::move(doc));
        SheetGridView* grid = window->grid();
        QCOMPARE(grid->rowSpan(1, 1), 2);
        QCOMPARE(grid->columnSpan(1, 1), 3);
        QCOMPARE(grid->columnWidth(0), 180);
        QCOMPARE(grid->rowHeight(4), 40);
        QCOMPARE(grid->frozenPanes().rows(), 2);
        QCOMPARE(grid->frozenPanes().height(), 2 * static_cast<int>(kDefaultRowHeight));
        QCOMPARE(grid->frozenPanes().width(), 180);
        // Zoom scales the sheet's sizes, not the stored ones.
        window->setZoomPercent(200);
        QCOMPARE(grid->columnWidth(0), 360);
        QCOMPARE(window->document().sheets[0].columnWidths.at(0), 180.0);
        discardWindow(window);
    }

    void commentsShowAsToolTips() {
        SumoraDocument doc;
        doc.sheets[0].cellComments["B2"] = "Checked by Ann";
        MainWindow* window = openWindow(std::move(doc));
        SheetTableModel* model = window->sheetModel();
        QCOMPARE(model->data(model->index(1, 1), Qt::ToolTipRole).toString(),
                 QStringLiteral("Checked by Ann"));
        QVERIFY(model->data(model->index(1, 2), Qt::ToolTipRole).isNull());
        QVERIFY(model->appearance(model->index(1, 1)).hasComment);
        discardWindow(window);
    }

    void hiddenLinesHideAndLinksFollow() {
        SumoraDocument doc;
        doc.sheets.push_back(SumoraDocument::makeNewSheet("Data"));
        Sheet& sheet = doc.sheets[0];
        sheet.hiddenRows.add(2, 3);
        sheet.hiddenColumns.add(1);
        sheet.hyperlinks["A1"] = {"", "Data!C5", std::nullopt};
        sheet.hyperlinks["C1"] = {"https://example.org", "", std::nullopt};
        sheet.cellForWriting(0, 0).setValue("jump");
        MainWindow* window = openWindow(std::move(doc));
        SheetGridView* grid = window->grid();
        QVERIFY(grid->isRowHidden(2) && grid->isRowHidden(3) && !grid->isRowHidden(4));
        QVERIFY(grid->isColumnHidden(1) && !grid->isColumnHidden(2));
        const CellAppearance link = window->sheetModel()->appearance(window->sheetModel()->index(0, 0));
        QVERIFY(link.isLink);
        QVERIFY(link.font.underline());
        QVERIFY(!window->sheetModel()->appearance(window->sheetModel()->index(0, 3)).isLink);
        // Ctrl+click on a link into the workbook shows its sheet and cell.
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          grid->visualRect(window->sheetModel()->index(0, 0)).center());
        QCOMPARE(window->editor().activeSheetIndex, int64_t{1});
        QCOMPARE(grid->currentIndex().row(), 4);
        QCOMPARE(grid->currentIndex().column(), 2);
        discardWindow(window);
    }

    void filteredRowsAreHidden() {
        SumoraDocument doc;
        for (int r = 0; r < 4; ++r)
            doc.sheets[0].cellForWriting(r, 0).setValue(r % 2 ? "keep" : "drop");
        MainWindow* window = openWindow(std::move(doc));
        window->editor().autoFilter = {true, {{0, {"keep"}}}};
        window->documentChanged();
        QVERIFY(window->grid()->isRowHidden(0));
        QVERIFY(!window->grid()->isRowHidden(1));
        window->editor().autoFilter.enabled = false;
        window->documentChanged();
        QVERIFY(!window->grid()->isRowHidden(0));
        discardWindow(window);
    }

    void aMillionRowSheetIsShownWithoutLoadingEveryRow() {
        SumoraDocument doc;
        doc.sheets[0].growTo(1'000'000, 26);
        doc.sheets[0].cellForWriting(999'999, 0).setValue("last");
        MainWindow* window = openWindow(std::move(doc));
        QCOMPARE(window->sheetModel()->rowCount(), 1'048'576); // the whole grid is shown
        window->grid()->selectCell(0, 0);
        pressKey(window->grid(), Qt::Key_Down, Qt::ControlModifier);
        QCOMPARE(window->grid()->currentIndex().row(), 999'999);
        QCOMPARE(shown(window, 999'999, 0), QStringLiteral("last"));
        QVERIFY(!window->grid()->grab().isNull());
        discardWindow(window);
    }
};

SUMORA_APP_TEST_MAIN(GridRenderingTest)
#include "GridRenderingTest.moc"
