#pragma once
// Cell-level differences between two workbooks of any readable types: sheets
// added, removed or renamed, and cells whose formula, constant or format
// differs. Contents are compared, never cached results or package bytes, so
// the same workbook saved as XLSX and as ODS compares equal.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

enum class DiffAspect : unsigned { values = 1, formulas = 2, formats = 4 };

struct CellChange {
    std::string sheet; // the sheet's name in the second workbook
    int64_t col = 0, row = 0;
    DiffAspect aspect = DiffAspect::values;
    std::string before, after; // "=formula", a constant, or a format summary; "" for empty
};

struct SheetRename {
    std::string from, to;
};

struct WorkbookDiff {
    std::vector<std::string> sheetsRemoved; // in the first workbook only
    std::vector<std::string> sheetsAdded;   // in the second only
    std::vector<SheetRename> sheetsRenamed; // same contents, another name
    std::vector<CellChange> cells;          // by sheet of the second workbook, row, column
    bool empty() const {
        return sheetsRemoved.empty() && sheetsAdded.empty() && sheetsRenamed.empty() && cells.empty();
    }
};

// `aspects` is a combination of DiffAspect bits. A cell counts as a formula
// change when either side holds a formula, otherwise as a value change.
WorkbookDiff diffWorkbooks(const SumoraDocument& a, const SumoraDocument& b, unsigned aspects);

// The cell's content as the diff shows it: "=" + formula, or the constant.
std::string cellContentText(const Cell& cell);
// The fields in which `format` differs from `other`, with the values
// `format` has: "bold yes, fill FF0000".
std::string formatFieldsText(const CellFormat& format, const CellFormat& other);

} // namespace sumora
