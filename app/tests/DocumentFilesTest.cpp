// Document windows and files: opening an XLSX written by the writer, the
// title and its unsaved mark, saving and reopening in every format, the
// reader's message in an alert, one window per file, recent files, and the
// question before closing unsaved work.
#include <QFile>
#include <QTemporaryDir>

#include "AppTestSupport.h"
#include "app/DocumentWindows.h"
#include "app/RecentFiles.h"
#include "formats/XlsxFormat.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class DocumentFilesTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;

    QString writeSampleXlsx(const QString& name) {
        SumoraDocument doc;
        Sheet& sheet = doc.sheets[0];
        sheet.name = "Figures";
        sheet.cellForWriting(0, 0).setValue("Price");
        sheet.cellForWriting(1, 0).setValue("19.5");
        sheet.cellForWriting(2, 0).setValue("20.5");
        sheet.cellForWriting(3, 0).setFormula("SUM(A2:A3)");
        sheet.cellForWriting(1, 0).updateFormat([](CellFormat& f) { f.numberFormat = "0.00"; });
        doc.sheets.push_back(SumoraDocument::makeNewSheet("Second"));
        const std::string bytes = writeXlsx(doc);
        const QString path = dir.filePath(name);
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(bytes.data(), static_cast<qint64>(bytes.size()));
        return path;
    }

  private slots:
    void cleanup() {
        alerts() = {};
        const QList<MainWindow*> open = DocumentWindows::windows();
        for (MainWindow* w : open)
            discardWindow(w);
    }

    void openingShowsTheWorkbookAndTitlesTheWindow() {
        const QString path = writeSampleXlsx(QStringLiteral("prices.xlsx"));
        MainWindow* window = DocumentWindows::openFile(path);
        QVERIFY(window);
        QCOMPARE(shown(window, 0, 0), QStringLiteral("Price"));
        QCOMPARE(shown(window, 1, 0), QStringLiteral("19.50"));
        QCOMPARE(shown(window, 3, 0), QStringLiteral("40"));
        QCOMPARE(window->document().sheets.size(), size_t(2));
        QVERIFY(window->windowTitle().startsWith(QStringLiteral("prices.xlsx")));
        QVERIFY(!window->isWindowModified());
        QCOMPARE(RecentFiles::instance().paths().value(0), QFileInfo(path).absoluteFilePath());
        // The same file again raises the same window.
        QCOMPARE(DocumentWindows::openFile(path), window);
        QCOMPARE(DocumentWindows::windows().size(), 1);
    }

    // The workbook the README's run command opens.
    void theShippedSampleOpensFormatted() {
        MainWindow* window =
            DocumentWindows::openFile(QStringLiteral(SUMORA_SOURCE_DIR "/examples/budget.xlsx"));
        QVERIFY(window);
        QVERIFY(alerts().titles.isEmpty());
        const struct {
            int row, column;
            const char* text;
        } cells[] = {{0, 0, "Household Budget 2024"}, {3, 1, "$1,200.00"}, {8, 3, "-$120.00"},
                     {9, 5, "$9,465.75"},           {10, 1, "54.4%"},     {12, 1, "Q4"}};
        for (const auto& c : cells)
            QCOMPARE(shown(window, c.row, c.column), QString::fromUtf8(c.text));
        const Sheet& sheet = window->document().sheets[0];
        QVERIFY(!sheet.mergedRegions.empty());
        QVERIFY(sheet.cell(9, 0).format().isBold);
        QCOMPARE(sheet.conditionalFormats.size(), size_t(2)); // the colour scale and the data bars
    }

    void editsAreMarkedAndSurviveSaveAndReopen_data() {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("sheets");
        QTest::newRow("xlsx") << "xlsx" << int(FileType::xlsx) << 2;
        QTest::newRow("ods") << "ods" << int(FileType::ods) << 2;
        QTest::newRow("csv") << "csv" << int(FileType::csv) << 1;
    }
    void editsAreMarkedAndSurviveSaveAndReopen() {
        QFETCH(QString, suffix);
        QFETCH(int, type);
        QFETCH(int, sheets);
        MainWindow* window =
            DocumentWindows::openFile(writeSampleXlsx(QStringLiteral("book-%1.xlsx").arg(suffix)));
        QVERIFY(window);
        window->grid()->selectCell(2, 0);
        typeText(window->grid(), QStringLiteral("30.5"));
        pressKey(window->grid(), Qt::Key_Return);
        QCOMPARE(shown(window, 3, 0), QStringLiteral("50"));
        QVERIFY(window->isWindowModified());

        const QString saved = dir.filePath(QStringLiteral("saved.") + suffix);
        QVERIFY(window->saveTo(saved, static_cast<FileType>(type)));
        QVERIFY(!window->isWindowModified());
        QVERIFY(window->windowTitle().startsWith(QStringLiteral("saved.") + suffix));
        discardWindow(window);

        MainWindow* reopened = DocumentWindows::openFile(saved);
        QVERIFY(reopened);
        QCOMPARE(shown(reopened, 2, 0), QStringLiteral("30.5"));
        QCOMPARE(shown(reopened, 3, 0), QStringLiteral("50"));
        QCOMPARE(reopened->document().sheets.size(), size_t(sheets));
    }

    void aFileTheReaderRefusesIsReportedWithItsMessage() {
        const QString path = dir.filePath(QStringLiteral("broken.xlsx"));
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write("PK\x03\x04 this is not really a zip archive");
        file.close();
        QVERIFY(!DocumentWindows::openFile(path));
        QCOMPARE(alerts().titles.size(), 1);
        QVERIFY(alerts().titles[0].contains(QStringLiteral("broken.xlsx")));
        QVERIFY(!alerts().messages[0].isEmpty());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(DocumentWindows::windows().isEmpty());
    }

    void anUntouchedBlankWindowIsReusedByOpen() {
        MainWindow* blank = openWindow();
        QVERIFY(blank->isPristine());
        MainWindow* opened = DocumentWindows::openFile(writeSampleXlsx(QStringLiteral("reuse.xlsx")), blank);
        QCOMPARE(opened, blank);
        QCOMPARE(shown(blank, 0, 0), QStringLiteral("Price"));
    }

    void closingUnsavedWorkAsksFirst() {
        MainWindow* window = openWindow();
        window->editor().setCellValue({0, 0}, "x");
        window->markEdited();
        alerts().saveChoice = SaveChoice::cancel;
        QVERIFY(!window->close());
        QCOMPARE(alerts().saveQuestions, 1);
        alerts().saveChoice = SaveChoice::discard;
        QVERIFY(window->close());
        QCOMPARE(alerts().saveQuestions, 2);
    }
};

SUMORA_APP_TEST_MAIN(DocumentFilesTest)
#include "DocumentFilesTest.moc"
