// Printing as a user meets it: the menus look the same after Print and
// Export as PDF (on the offscreen platform through widget grabs; under Xvfb,
// run by menus-after-printing-xvfb.sh, from the screen itself), merged
// cells print as one box, hidden lines stay off paper, and the print
// preview shows the pages.
#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QTimer>

#if SUMORA_HAVE_QT_PRINTSUPPORT
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPrinter>
#endif

#include "AppTestSupport.h"
#include "app/tools/PageSetup.h"
#include "app/tools/PdfExport.h"
#include "app/tools/SheetPrinter.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// What the user sees of a widget: the screen's pixels where a real display
// is there to read, else the widget painted into an image.
QImage seen(QWidget* widget) {
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        const QPoint at = widget->mapToGlobal(QPoint(0, 0));
        return widget->screen()->grabWindow(0, at.x(), at.y(), widget->width(), widget->height()).toImage();
    }
    return widget->grab().toImage();
}

// A page of `printer` painted at 2 pixels per point on white.
QImage pageImage(SheetPrinter& printer, int page) {
    const QSizeF content(540, 720);
    printer.paginate(content);
    QImage image((content * 2).toSize(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter p(&image);
    p.scale(2, 2);
    printer.paintPage(p, page, 72.0 / (2 * image.logicalDpiY()));
    return image;
}

bool hasInk(const QImage& image, const QRect& area) {
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (qGray(image.pixel(x, y)) < 160) return true;
    return false;
}

} // namespace

class PrintingTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    MainWindow* window = nullptr;
    SumoraEditorView& editor() { return window->editor(); }

    // The menu bar and each menu as the mouse opens it.
    QList<QImage> menuImages() {
        QList<QImage> images{seen(window->menuBar())};
        for (QAction* entry : window->menuBar()->actions()) {
            QMenu* menu = entry->menu();
            if (!menu) continue;
            QTest::mouseClick(window->menuBar(), Qt::LeftButton, {},
                              window->menuBar()->actionGeometry(entry).center());
            if (!QTest::qWaitForWindowExposed(menu)) return {};
            QTest::qWait(50);
            images << seen(menu);
            QTest::keyClick(menu, Qt::Key_Escape);
            if (!QTest::qWaitFor([menu] { return !menu->isVisible(); })) return {};
        }
        return images;
    }

  private slots:
    void init() {
        window = openWindow();
        editor().setCellValue({0, 0}, "Quarterly report for the whole region");
        editor().setCellValue({0, 2}, "Rent");
        editor().setCellValue({1, 2}, "1250");
        window->documentChanged();
    }
    void cleanup() { discardWindow(window); }

    void menusLookTheSameAfterPrinting() {
        const QFont appFont = QApplication::font();
        const QList<QImage> before = menuImages();
        QVERIFY(before.size() > 5);

        // Export as PDF from the File menu, answering its save dialog.
        const QString pdf = dir.filePath(QStringLiteral("export.pdf"));
        whenShown<QFileDialog>([pdf](QFileDialog* d) {
            d->selectFile(pdf);
            static_cast<QDialog*>(d)->accept(); // QFileDialog's own accept is protected
        });
        window->action(QStringLiteral("exportPdf"))->trigger();
        QVERIFY(QFileInfo(pdf).size() > 0);

#if SUMORA_HAVE_QT_PRINTSUPPORT
        // Print with Ctrl+P, the dialog's printer sent to a file.
        const QString printed = dir.filePath(QStringLiteral("printed.pdf"));
        whenShown<QPrintDialog>([printed](QPrintDialog* d) {
            d->printer()->setOutputFormat(QPrinter::PdfFormat);
            d->printer()->setOutputFileName(printed);
            d->done(QDialog::Accepted); // accept() would take the printer back from the dialog's fields
        });
        QApplication::setActiveWindow(window);
        QVERIFY(QTest::qWaitForWindowActive(window));
        QTest::keyClick(focused(window), Qt::Key_P, Qt::ControlModifier);
        QVERIFY(QFileInfo(printed).size() > 0);
#endif

        QCOMPARE(QApplication::font(), appFont);
        const QList<QImage> after = menuImages();
        QCOMPARE(after.size(), before.size());
        for (qsizetype i = 0; i < before.size(); ++i) {
            if (after[i] == before[i]) continue;
            const QString stem = QDir::temp().filePath(QStringLiteral("sumora-menu-%1").arg(i));
            before[i].save(stem + QStringLiteral("-before.png"));
            after[i].save(stem + QStringLiteral("-after.png"));
            QFAIL(qPrintable(QStringLiteral("menu image %1 changed; see %2-*.png").arg(i).arg(stem)));
        }
    }

    void mergedCellsPrintAsOneBox() {
        PageSetup setup = PageSetup::defaultsFor(QStringLiteral("in"));
        SheetPrinter loose = makeSheetPrinter(*window, setup);
        const QImage unmerged = pageImage(loose, 0);
        editor().selection = SelectionRange{0, 0, 2, 0};
        editor().toggleMergeCells();
        SheetPrinter merged = makeSheetPrinter(*window, setup);
        const QImage image = pageImage(merged, 0);

        // Columns are 75 pt, rows 16.5 pt: at 2 px per point, B1 spans x 150…300, y 0…33.
        const QRect insideB1(160, 4, 130, 25);
        QVERIFY(!hasInk(unmerged, insideB1)); // the text stops at A1's edge
        QVERIFY(hasInk(image, insideB1));     // and runs on across the merged box
        // No grid line between A1 and B1 inside the box; one still between A3 and B3.
        const auto gridLineAt = [](const QImage& img, int y) {
            return qGray(img.pixel(150, y)) < 250 || qGray(img.pixel(151, y)) < 250;
        };
        QVERIFY(gridLineAt(unmerged, 30));
        QVERIFY(!gridLineAt(image, 30));
        QVERIFY(gridLineAt(image, 85));
    }

    void hiddenRowsAndColumnsStayOffPaper() {
        Sheet& sheet = window->document().sheets[0];
        sheet.hiddenColumns.add(0);
        sheet.hiddenRows.add(1);
        SheetPrinter printer = makeSheetPrinter(*window, PageSetup::defaultsFor(QStringLiteral("in")));
        const QImage image = pageImage(printer, 0);
        // Column B now comes first and row 3 second: "1250" is right-aligned in the first column.
        QVERIFY(hasInk(image, QRect(100, 37, 48, 25)));
        QVERIFY(!hasInk(image, QRect(4, 4, 140, 25))); // A1's text is hidden with its column
    }

#if SUMORA_HAVE_QT_PRINTSUPPORT
    void printPreviewShowsThePages() {
        int pages = -1;
        whenShown<QPrintPreviewDialog>([&pages](QPrintPreviewDialog* d) {
            auto* preview = d->findChild<QPrintPreviewWidget*>();
            QTRY_VERIFY(preview && preview->pageCount() > 0);
            pages = preview->pageCount();
            d->reject();
        });
        QMenu* file = window->findChild<QMenu*>(QStringLiteral("fileMenu"));
        QAction* preview = window->action(QStringLiteral("printPreview"));
        QVERIFY(file && preview && file->actions().contains(preview));
        preview->trigger();
        QCOMPARE(pages, 1);
    }
#endif
};

SUMORA_APP_TEST_MAIN(PrintingTest)
#include "PrintingTest.moc"
