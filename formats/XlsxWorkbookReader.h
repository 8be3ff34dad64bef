#pragma once
// The workbook part of an XLSX package: which worksheets there are, in tab
// order, what they are called and whether they are hidden, where the shared
// parts live, and the workbook's defined names.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/WorkbookRecords.h"

namespace sumora {
class ZipReader;
}

namespace sumora::xlsx {

struct WorksheetEntry {
    std::optional<std::string> name; // absent when the workbook gives none
    bool isHidden = false;
    std::string path; // inside the package, no leading "/"
};

struct WorkbookInfo {
    std::string path;
    std::string rawXml; // the workbook part's text (defined names are read from it)
    std::vector<WorksheetEntry> worksheets;
    std::string sharedStringsPath;
    std::string stylesPath;
    std::string themePath;
    // Serial dates count from 1 January 1904 instead of 30 December 1899.
    bool date1904 = false;
};

// Finds the workbook through the package relationships (falling back to
// "xl/workbook.xml"), reads it and resolves its sheets. A package without a
// workbook part is an ArchiveError; malformed XML an XmlError.
WorkbookInfo readWorkbook(ZipReader& archive);

// One entry per `<sheet …>` element of the raw workbook text, in order: the
// name from name="…" (entities decoded) and the hidden flag from
// state="hidden" / state="veryHidden".
struct SheetElement {
    std::optional<std::string> name;
    bool isHidden = false;
};
std::vector<SheetElement> sheetElements(std::string_view workbookXml);

// The defined names of the raw workbook text that name one cell or one
// rectangle; reserved "_xlnm" names and other references are skipped.
std::vector<NamedRange> definedNames(std::string_view workbookXml);

} // namespace sumora::xlsx
