#pragma once
// PDF export and printing of the active sheet through SheetPrinter: a PDF
// file written with QPdfWriter, or the system print dialog and its printer.
// The cells are drawn with the window's render settings (default font,
// size, number format and column width) so paper shows what the grid shows.
#include <QString>

#include "app/DocumentContext.h"
#include "app/tools/PageSetup.h"

class QPagedPaintDevice;

namespace sumora::app {

class SheetPrinter;

// The printer of the context's active sheet, laid out for `setup`.
SheetPrinter makeSheetPrinter(DocumentContext& context, const PageSetup& setup);

// Writes the active sheet to `path`; false, with the reason in `error`, when
// the file cannot be written.
bool exportActiveSheetToPdf(DocumentContext& context, const PageSetup& setup, const QString& path,
                            QString* error = nullptr);

// Paints every page on `device` (a QPdfWriter or QPrinter already set up
// with the page layout). Returns the number of pages.
int paintPages(SheetPrinter& printer, QPagedPaintDevice& device);

// Shows the system print dialog and prints the active sheet.
void printActiveSheet(DocumentContext& context, const PageSetup& setup);
// Shows the pages of the active sheet in a print preview, from which they
// can be printed.
void previewActiveSheet(DocumentContext& context, const PageSetup& setup);

} // namespace sumora::app
