#pragma once
// The second pass over an opened XLSX package, after the sheets are read:
// charts the model can hold go into their sheet's chart list; every other
// part a sheet, the workbook or the package links to (pivot tables, images,
// macros, custom XML, other charts, printer settings…) is kept in the
// document's PackageRemainder with the links that reach it, so that saving
// as XLSX writes it back. What can be neither (a chart part that does not
// parse, an object outside the grid, a link to a missing part) is logged
// once and described in droppedOnOpen; the rest of the file still opens.
namespace sumora {
class SumoraDocument;
class ZipReader;
} // namespace sumora

namespace sumora::xlsx {

struct WorkbookInfo;

// document.sheets[i] was read from workbook.worksheets[i].
void readChartsAndRemainder(ZipReader& archive, const WorkbookInfo& workbook, SumoraDocument& document);

} // namespace sumora::xlsx
