#include "formats/SaveLosses.h"

#include <array>
#include <exception>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "formats/XlsxSheetNames.h"

namespace sumora {

namespace {

// What a document holds, counted over the sheets a format would write.
struct Holdings {
    int64_t formulas = 0, numberFormats = 0, borders = 0, fontsAndFills = 0, comments = 0, merges = 0,
            charts = 0, conditionalFormats = 0, validations = 0, sparklines = 0, pivotTables = 0,
            outlineGroups = 0, frozenPanes = 0, protectedSheets = 0, hiddenSheets = 0, tabColors = 0,
            columnWidths = 0, rowHeights = 0, hiddenRows = 0, hiddenColumns = 0, columnGroups = 0,
            hyperlinks = 0, namedRanges = 0, scenarios = 0, workbookProtection = 0, carriedParts = 0;
};

// The kinds of formatting one cell format uses, in counts of 0 or 1.
struct FormatKinds {
    int64_t numberFormat = 0, border = 0, fontOrFill = 0;
};

FormatKinds kindsOf(const CellFormat& f) {
    FormatKinds k;
    k.numberFormat = f.numberFormat.has_value() || f.numberFormatId != 0;
    k.border = f.borderTop || f.borderBottom || f.borderLeft || f.borderRight || f.borderThickBottom;
    k.fontOrFill = f.isBold || f.isItalic || f.isUnderline || f.isStrikethrough || f.fontName || f.fontSize ||
                   f.fontColor || f.fillColor || f.alignment != CellAlignment::general || f.wrapText;
    return k;
}

// What the stored cells of some rows hold.
struct CellTally {
    int64_t formulas = 0, numberFormats = 0, borders = 0, fontsAndFills = 0;
};

CellTally tallyCells(const Sheet& sheet, int64_t firstRow, int64_t endRow) {
    CellTally t;
    std::unordered_map<const CellFormat*, FormatKinds> kinds;
    const CellFormat* lastHandle = nullptr;
    FormatKinds last;
    // Row by row rather than through a callback: this runs before every
    // save, over every stored cell.
    for (int64_t r = firstRow; r < endRow; ++r) {
        for (const Cell& cell : sheet.storedRow(r)) {
            t.formulas += cell.hasFormula();
            const CellFormat* handle = cell.formatHandle();
            if (!handle) continue;
            if (handle != lastHandle) { // neighbours mostly share a format
                auto it = kinds.find(handle);
                if (it == kinds.end()) it = kinds.emplace(handle, kindsOf(*handle)).first;
                lastHandle = handle;
                last = it->second;
            }
            t.numberFormats += last.numberFormat;
            t.borders += last.border;
            t.fontsAndFills += last.fontOrFill;
        }
    }
    return t;
}

// From this many stored rows the first half is tallied on a second thread.
constexpr int64_t kRowsForTwoThreads = 20000;

void count(const Sheet& sheet, Holdings& h) {
    const int64_t rows = sheet.storedRowCount();
    CellTally first, second;
    if (rows >= kRowsForTwoThreads && std::thread::hardware_concurrency() >= 2) {
        std::exception_ptr failure;
        std::thread helper;
        try {
            helper = std::thread([&] {
                try {
                    first = tallyCells(sheet, 0, rows / 2);
                } catch (...) {
                    failure = std::current_exception();
                }
            });
        } catch (const std::system_error&) {
            first = tallyCells(sheet, 0, rows / 2); // no thread to be had
        }
        try {
            second = tallyCells(sheet, rows / 2, rows);
        } catch (...) {
            if (helper.joinable()) helper.join();
            throw;
        }
        if (helper.joinable()) helper.join();
        if (failure) std::rethrow_exception(failure);
    } else {
        first = tallyCells(sheet, 0, rows);
    }
    h.formulas += first.formulas + second.formulas;
    h.numberFormats += first.numberFormats + second.numberFormats;
    h.borders += first.borders + second.borders;
    h.fontsAndFills += first.fontsAndFills + second.fontsAndFills;
    h.comments += static_cast<int64_t>(sheet.cellComments.size());
    h.merges += static_cast<int64_t>(sheet.mergedRegions.size());
    h.charts += static_cast<int64_t>(sheet.charts.size());
    h.conditionalFormats += static_cast<int64_t>(sheet.conditionalFormats.size());
    h.validations += static_cast<int64_t>(sheet.dataValidations.size());
    h.sparklines += static_cast<int64_t>(sheet.sparklines.size());
    h.pivotTables += static_cast<int64_t>(sheet.pivotTables.size());
    h.outlineGroups += static_cast<int64_t>(sheet.outlineGroups.size());
    h.frozenPanes += sheet.frozenRows > 0 || sheet.frozenColumns > 0;
    h.protectedSheets += sheet.isProtected;
    h.hiddenSheets += sheet.isHidden;
    h.tabColors += sheet.tabColorHex.has_value();
    h.columnWidths += static_cast<int64_t>(sheet.columnWidths.size());
    h.rowHeights += static_cast<int64_t>(sheet.rowHeights.size());
    // Spans, not lines: "columns X to XFD hidden" is one thing the user did.
    h.hiddenRows += static_cast<int64_t>(sheet.hiddenRows.spans().size());
    h.hiddenColumns += static_cast<int64_t>(sheet.hiddenColumns.spans().size());
    h.columnGroups += static_cast<int64_t>(sheet.columnOutlineGroups.size());
    h.hyperlinks += static_cast<int64_t>(sheet.hyperlinks.size());
}

int64_t carriedPartsOf(const SumoraDocument& document) {
    if (document.carriedParts.empty()) return 0;
    // Parts of deleted sheets go with them; those of the workbook stay.
    bool reached = !document.carriedParts.workbook.empty() || !document.carriedParts.package.empty();
    for (const Sheet& sheet : document.sheets)
        reached = reached || document.carriedParts.sheets.count(sheet.id);
    return reached ? static_cast<int64_t>(document.carriedParts.parts.size()) : 0;
}

struct Feature {
    const char* what; // sentence start, before the count
    int64_t Holdings::*count;
    std::array<bool, 3> kept; // by XLSX, ODS, CSV
    const char* consequence = "";
};

// One row per thing the model holds; a format that cannot keep it loses it.
constexpr Feature kFeatures[] = {
    {"Formulas", &Holdings::formulas, {true, true, false}, "; their results are saved instead"},
    {"Number formats", &Holdings::numberFormats, {true, false, false}},
    {"Cell borders", &Holdings::borders, {true, false, false}},
    {"Fonts, fills and alignment", &Holdings::fontsAndFills, {true, true, false}},
    {"Comments", &Holdings::comments, {true, false, false}},
    {"Merged cells", &Holdings::merges, {true, false, false}},
    {"Charts", &Holdings::charts, {true, false, false}},
    {"Conditional formats", &Holdings::conditionalFormats, {true, false, false}},
    {"Data validations", &Holdings::validations, {true, false, false}},
    {"Sparklines", &Holdings::sparklines, {false, false, false}},
    {"Pivot tables", &Holdings::pivotTables, {false, false, false}},
    {"Row groups", &Holdings::outlineGroups, {true, false, false}},
    {"Column groups", &Holdings::columnGroups, {true, false, false}},
    {"Hidden row ranges", &Holdings::hiddenRows, {true, false, false}, "; they are saved visible"},
    {"Hidden column ranges", &Holdings::hiddenColumns, {true, false, false}, "; they are saved visible"},
    {"Hyperlinks", &Holdings::hyperlinks, {true, false, false}, "; the cells keep their text"},
    {"Frozen panes", &Holdings::frozenPanes, {true, false, false}},
    {"Sheet protection", &Holdings::protectedSheets, {true, false, false}},
    {"Hidden sheets", &Holdings::hiddenSheets, {true, false, false}, "; they are saved visible"},
    {"Tab colours", &Holdings::tabColors, {true, false, false}},
    {"Column widths", &Holdings::columnWidths, {true, true, false}},
    {"Row heights", &Holdings::rowHeights, {true, false, false}},
    {"Named ranges", &Holdings::namedRanges, {true, false, false}},
    {"Scenarios", &Holdings::scenarios, {false, false, false}},
    {"Workbook protection", &Holdings::workbookProtection, {true, false, false}},
    {"Parts of the original file that Sumora does not edit (pictures, pivot tables, macros and the like)",
     &Holdings::carriedParts,
     {true, false, false}},
};

const char* formatName(FileType type) {
    switch (type) {
    case FileType::xlsx:
        return "XLSX";
    case FileType::ods:
        return "ODS";
    case FileType::csv:
        return "CSV";
    }
    return "";
}

} // namespace

LossReport lossesOnSave(const SumoraDocument& document, FileType type) {
    LossReport report = document.droppedOnOpen;
    const std::string format = formatName(type);
    Holdings holdings;
    if (type == FileType::csv) {
        // Only the first sheet is written; the others go whole.
        if (document.sheets.size() > 1) {
            std::string names;
            for (size_t i = 1; i < document.sheets.size(); ++i)
                names += (i > 1 ? ", \"" : "\"") + document.sheets[i].name + "\"";
            report.push_back("CSV keeps only the first sheet; " + names + " will not be saved.");
        }
        if (!document.sheets.empty()) count(document.sheets.front(), holdings);
    } else {
        for (const Sheet& sheet : document.sheets)
            count(sheet, holdings);
    }
    holdings.namedRanges = static_cast<int64_t>(document.namedRanges.size());
    holdings.scenarios = static_cast<int64_t>(document.scenarios.size());
    holdings.workbookProtection = document.isWorkbookProtected;
    holdings.carriedParts = carriedPartsOf(document);

    size_t column = static_cast<size_t>(type);
    for (const Feature& feature : kFeatures) {
        int64_t n = holdings.*feature.count;
        if (n == 0 || feature.kept[column]) continue;
        report.push_back(std::string(feature.what) + " (" + std::to_string(n) + ") will not be kept in " +
                         format + feature.consequence + ".");
    }
    if (type == FileType::xlsx) xlsx::fileSheetNames(document.sheets, &report);
    return report;
}

} // namespace sumora
