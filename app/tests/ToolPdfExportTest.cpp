// PDF export read back with pdftotext: the cells' display texts (through
// their number formats), pagination with the first row repeated, charts on
// the page, and page setup shown in the user's measurement unit.
#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QProcess>
#include <QStandardPaths>

#include "AppTestSupport.h"
#include "app/Settings.h"
#include "app/tools/PageSetup.h"
#include "app/tools/PdfExport.h"
#include "app/tools/SheetPrinter.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// The text of a PDF, page by page (form feeds between pages).
QString pdfText(const QString& path) {
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), path, QStringLiteral("-")});
    if (!p.waitForFinished(30000)) return {};
    return QString::fromUtf8(p.readAllStandardOutput());
}

} // namespace

class ToolPdfExportTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    MainWindow* window = nullptr;
    SumoraEditorView& editor() { return window->editor(); }

  private slots:
    void initTestCase() {
        if (QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty())
            QSKIP("pdftotext (poppler-utils) is not installed");
    }
    void init() { window = openWindow(); }
    void cleanup() { discardWindow(window); }

    void exportHoldsTheCellsDisplayTexts() {
        editor().setCellValue({0, 0}, "Item");
        editor().setCellValue({1, 0}, "Amount");
        editor().setCellValue({0, 1}, "Rent");
        editor().setCellValue({1, 1}, "1234.5");
        editor().setCellValue({0, 2}, "Total");
        editor().setCellValue({1, 2}, "=B2*2");
        editor().selection = SelectionRange{1, 1, 1, 2};
        editor().setNumberFormat("#,##0.00", 4);
        window->documentChanged();

        const QString path = dir.filePath(QStringLiteral("budget.pdf"));
        QString error;
        QVERIFY2(exportActiveSheetToPdf(*window, PageSetup::defaultsFor(QStringLiteral("in")), path, &error),
                 qPrintable(error));
        const QString text = pdfText(path);
        for (const char* expected :
             {"Item", "Amount", "Rent", "1,234.50", "Total", "2,469.00", "Page 1 of 1"})
            QVERIFY2(text.contains(QString::fromUtf8(expected)), expected);
        QVERIFY(!text.contains(QStringLiteral("1234.5"))); // the value, not its display
    }

    void longSheetsRepeatTheirHeaderRowOnEveryPage() {
        editor().setCellValue({0, 0}, "Header");
        for (int r = 1; r < 120; ++r)
            editor().setCellValue({0, r}, "row" + std::to_string(r));
        window->documentChanged();
        PageSetup setup = PageSetup::defaultsFor(QStringLiteral("cm"));
        const QString once = dir.filePath(QStringLiteral("once.pdf"));
        QVERIFY(exportActiveSheetToPdf(*window, setup, once));
        setup.repeatHeaderRow = true;
        const QString repeated = dir.filePath(QStringLiteral("repeated.pdf"));
        QVERIFY(exportActiveSheetToPdf(*window, setup, repeated));

        const QStringList pages = pdfText(repeated).split(QLatin1Char('\f'), Qt::SkipEmptyParts);
        QVERIFY(pages.size() >= 2);
        for (const QString& page : pages)
            if (page.trimmed().size() > 0) QVERIFY(page.contains(QStringLiteral("Header")));
        QCOMPARE(pdfText(once).count(QStringLiteral("Header")), 1);
        QVERIFY(pdfText(repeated).contains(QStringLiteral("row119")));
    }

    void paginationKeepsEveryColumnAndRow() {
        for (int c = 0; c < 12; ++c)
            editor().setCellValue({c, 0}, "c" + std::to_string(c));
        for (int r = 0; r < 90; ++r)
            editor().setCellValue({0, r}, "r" + std::to_string(r));
        SheetPrinter printer = makeSheetPrinter(*window, PageSetup::defaultsFor(QStringLiteral("in")));
        printer.paginate(QSizeF(540, 720)); // Letter inside 0.75 in margins
        const auto& pages = printer.pages();
        QVERIFY(pages.size() >= 4); // 12 columns of 75 pt and 90 rows of 16.5 pt
        int64_t cells = 0;
        for (const auto& page : pages)
            cells += (page.lastCol - page.firstCol + 1) * (page.lastRow - page.firstRow + 1);
        QCOMPARE(cells, int64_t{12 * 90});
        // Down, then across: the second page continues the first page's columns.
        QCOMPARE(pages[1].firstCol, pages[0].firstCol);
        QCOMPARE(pages[1].firstRow, pages[0].lastRow + 1);
    }

    void chartsAreDrawnOnTheirPage() {
        editor().setCellValue({0, 0}, "Month");
        editor().setCellValue({1, 0}, "Sales");
        editor().setCellValue({0, 1}, "Jan");
        editor().setCellValue({1, 1}, "10");
        EmbeddedChart chart;
        chart.title = "Sales Chart Title";
        chart.dataEndCol = 1;
        chart.dataEndRow = 1;
        chart.anchorCol = 3;
        chart.widthCols = 4;
        chart.heightRows = 10;
        window->document().sheets[0].charts.push_back(chart);
        const QString path = dir.filePath(QStringLiteral("chart.pdf"));
        PageSetup setup = PageSetup::defaultsFor(QStringLiteral("in"));
        setup.orientation = QPageLayout::Landscape;
        QVERIFY(exportActiveSheetToPdf(*window, setup, path));
        QVERIFY(pdfText(path).contains(QStringLiteral("Sales Chart Title")));
        setup.includeCharts = false;
        QVERIFY(exportActiveSheetToPdf(*window, setup, path));
        QVERIFY(!pdfText(path).contains(QStringLiteral("Sales Chart Title")));
    }

    void unwritableFileIsReported() {
        QString error;
        QVERIFY(!exportActiveSheetToPdf(*window, PageSetup(),
                                        dir.filePath(QStringLiteral("no/such/dir/x.pdf")), &error));
        QVERIFY(error.contains(QStringLiteral("could not be written")));
    }

    void pageSetupShowsMarginsInTheMeasurementUnit() {
        PageSetup setup = PageSetup::defaultsFor(QStringLiteral("in"));
        QCOMPARE(setup.paper, QPageSize::Letter);
        PageSetupDialog inches(setup, QStringLiteral("in"));
        QCOMPARE(inches.marginField(0)->value(), 0.75);
        QCOMPARE(inches.marginField(0)->suffix(), QStringLiteral(" in"));
        PageSetupDialog centimetres(setup, QStringLiteral("cm"));
        QCOMPARE(centimetres.marginField(0)->value(), 1.91);
        centimetres.marginField(2)->setValue(2.5);
        centimetres.repeatHeaderCheck()->setChecked(true);
        const PageSetup edited = centimetres.setup();
        QCOMPARE(edited.marginLeftMm, 25.0);
        QVERIFY(edited.repeatHeaderRow);
        QCOMPARE(PageSetup::defaultsFor(QStringLiteral("cm")).paper, QPageSize::A4);
        // The window's page setup starts from the setting.
        QCOMPARE(Settings::instance().measurementUnit(), QStringLiteral("in"));
    }
};

SUMORA_APP_TEST_MAIN(ToolPdfExportTest)
#include "ToolPdfExportTest.moc"
