#include "app/tools/PdfExport.h"

#include <QFile>
#include <QPainter>
#include <QPdfWriter>

#if SUMORA_HAVE_QT_PRINTSUPPORT
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#endif

#include "app/Settings.h"
#include "app/tools/SheetPrinter.h"
#include "app/tools/ToolSupport.h"
#include "values/Log.h"

namespace sumora::app {

SheetPrinter makeSheetPrinter(DocumentContext& context, const PageSetup& setup) {
    Settings& settings = Settings::instance();
    CellRenderDefaults defaults;
    defaults.fontName = settings.text(settingsKey::defaultFontName);
    defaults.fontSize = settings.real(settingsKey::defaultFontSize);
    defaults.numberFormat = settings.text(settingsKey::defaultNumberFormat);
    SumoraEditorView& editor = context.editor();
    static const Sheet kEmpty;
    const Sheet* sheet = editor.activeSheet();
    SheetPrinter printer(sheet ? *sheet : kEmpty, setup, defaults,
                         settings.real(settingsKey::defaultColumnWidth), context.documentTitle());
    if (editor.autoFilter.enabled)
        printer.setRowFilter([&editor](int64_t row) { return editor.filteredRowVisible(row); });
    return printer;
}

int paintPages(SheetPrinter& printer, QPagedPaintDevice& device) {
    const QPageLayout layout = device.pageLayout();
    const QRectF content = layout.paintRect(QPageLayout::Point);
    printer.paginate(content.size());
    QPainter painter;
    if (!painter.begin(&device)) return 0;
    // Work in points whatever the device's resolution; fonts are given in
    // points too, so their sizes are scaled back by the same factor.
    const double unitsPerPoint = device.logicalDpiX() / 72.0;
    const int count = static_cast<int>(printer.pages().size());
    for (int i = 0; i < count; ++i) {
        if (i > 0) device.newPage();
        painter.save();
        painter.scale(unitsPerPoint, unitsPerPoint);
        printer.paintPage(painter, i, 72.0 / device.logicalDpiY());
        painter.restore();
    }
    painter.end();
    return count;
}

bool exportActiveSheetToPdf(DocumentContext& context, const PageSetup& setup, const QString& path,
                            QString* error) {
    {
        QFile probe(path);
        if (!probe.open(QIODevice::WriteOnly)) {
            if (error)
                *error = QObject::tr("The file “%1” could not be written: %2").arg(path, probe.errorString());
            return false;
        }
    }
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageLayout(setup.pageLayout());
    writer.setTitle(context.documentTitle());
    writer.setCreator(QStringLiteral("Sumora"));
    SheetPrinter printer = makeSheetPrinter(context, setup);
    const int pages = paintPages(printer, writer);
    Log::info("Exported PDF: " + toStdString(path) + " (" + std::to_string(pages) + " page(s))");
    if (pages == 0 && error) *error = QObject::tr("The PDF could not be drawn.");
    return pages > 0;
}

void printActiveSheet(DocumentContext& context, const PageSetup& setup) {
#if SUMORA_HAVE_QT_PRINTSUPPORT
    QPrinter device(QPrinter::HighResolution);
    device.setPageLayout(setup.pageLayout());
    device.setDocName(context.documentTitle());
    QPrintDialog dialog(&device, context.window());
    dialog.setWindowTitle(QObject::tr("Print"));
    if (dialog.exec() != QDialog::Accepted) return;
    SheetPrinter printer = makeSheetPrinter(context, setup);
    const int pages = paintPages(printer, device);
    Log::info("Printed " + std::to_string(pages) + " page(s)");
#else
    (void)context;
    (void)setup;
#endif
}

void previewActiveSheet(DocumentContext& context, const PageSetup& setup) {
#if SUMORA_HAVE_QT_PRINTSUPPORT
    QPrinter device(QPrinter::HighResolution);
    device.setPageLayout(setup.pageLayout());
    device.setDocName(context.documentTitle());
    QPrintPreviewDialog dialog(&device, context.window());
    dialog.setObjectName(QStringLiteral("printPreview"));
    dialog.setWindowTitle(QObject::tr("Print Preview"));
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog, [&context, &setup](QPrinter* p) {
        SheetPrinter printer = makeSheetPrinter(context, setup);
        paintPages(printer, *p);
    });
    dialog.exec();
#else
    (void)context;
    (void)setup;
#endif
}

} // namespace sumora::app
