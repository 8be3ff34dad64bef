// Opening an XLSX package: repair, shared parts (strings, theme, styles),
// the workbook's sheets in tab order, defined names. Calculating the formulas
// is left to the open (openDocument), as for every format.
// Each worksheet is streamed straight into its Sheet; only the small parts
// (workbook, styles) are held as text, because a few of their details are
// read from the raw markup.
#include <atomic>
#include <memory>
#include <optional>

#include "engine/Recalculation.h"
#include "formats/XlsxColors.h"
#include "formats/XlsxCommentsReader.h"
#include "formats/XlsxFormat.h"
#include "formats/XlsxPackage.h"
#include "formats/XlsxRemainderReader.h"
#include "formats/XlsxSanitizer.h"
#include "formats/XlsxSharedStringsReader.h"
#include "formats/XlsxStylesReader.h"
#include "formats/XlsxWorkbookReader.h"
#include "formats/XlsxWorksheetReader.h"
#include "formats/ZipArchive.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

namespace sumora {

namespace {

using namespace xlsx;

struct Package {
    std::unique_ptr<ZipReader> archive;
    std::string repairedBytes;
    std::string_view bytes; // what the archive was opened from
};

// Opens the package, repaired when a part needs it; falls back to the
// original bytes when the repair fails (opening those then reports why).
Package openPackage(std::string_view bytes) {
    Package package;
    package.bytes = bytes;
    try {
        try {
            package.archive = std::make_unique<ZipReader>(BorrowedBytes{bytes});
        } catch (const std::exception& e) {
            Log::progress(std::string("  sanitizeXLSX: could not open source archive: ") + e.what());
            throw;
        }
        std::optional<std::string> repaired = repairDoubledDeclarations(*package.archive);
        size_t outputSize = repaired ? repaired->size() : bytes.size();
        Log::progress("  Sanitized XLSX: " + std::to_string(bytes.size()) + " -> " +
                      std::to_string(outputSize) + " bytes");
        if (repaired) {
            package.repairedBytes = std::move(*repaired);
            package.bytes = package.repairedBytes;
            package.archive = std::make_unique<ZipReader>(package.bytes);
        }
        return package;
    } catch (const std::exception& e) {
        Log::progress(std::string("  Sanitize failed, using original: ") + e.what());
    }
    package.bytes = bytes;
    package.archive = std::make_unique<ZipReader>(BorrowedBytes{bytes});
    return package;
}

std::optional<SharedStringTable> readSharedStringTable(ZipReader& archive, const std::string& path) {
    if (!archive.contains(path)) return SharedStringTable();
    try {
        auto items = readSharedStrings(archive, path);
        Log::progress("  SharedStrings: " + std::to_string(items.size()) + " items");
        return items;
    } catch (const std::exception& e) {
        Log::progress(std::string("  SharedStrings parse failed (non-fatal): ") + e.what());
        return std::nullopt;
    }
}

// The theme only supplies colours; a damaged one leaves the default theme.
void readTheme(ZipReader& archive, const std::string& path, ColorResolver& colors) {
    try {
        if (auto theme = readThemeColors(archive, path)) colors.setThemeColors(*theme);
    } catch (const std::exception& e) {
        Log::progress(std::string("  Theme parse failed (non-fatal): ") + e.what());
    }
}

std::optional<StyleTable> readStyleTable(ZipReader& archive, const std::string& path, ColorResolver& colors) {
    if (!archive.contains(path)) return std::nullopt;
    try {
        std::string xml = readPart(archive, path);
        return readStyles(xml, colors);
    } catch (const std::exception& e) {
        Log::progress(std::string("  Styles parse failed (non-fatal): ") + e.what());
        return std::nullopt;
    }
}

void readSheetComments(ZipReader& archive, const std::string& path, Sheet& sheet) {
    try {
        sheet.cellComments = readComments(archive, path);
    } catch (const std::exception& e) {
        Log::progress(std::string("  Comments parse failed (non-fatal): ") + e.what());
    }
}

// A damaged relationship part costs the sheet its links, not the sheet.
std::vector<Relationship> readSheetRelationships(ZipReader& archive, const std::string& path) {
    try {
        return readRelationships(archive, path);
    } catch (const std::exception& e) {
        Log::progress(std::string("  Worksheet relationships parse failed (non-fatal): ") + e.what());
        return {};
    }
}

} // namespace

SumoraDocument readXlsxDocument(std::string_view bytes) {
    Package package = openPackage(bytes);
    std::unique_ptr<ZipReader>& archive = package.archive;
    WorkbookInfo workbook = readWorkbook(*archive);

    std::optional<SharedStringTable> sharedStrings =
        readSharedStringTable(*archive, workbook.sharedStringsPath);
    ColorResolver colors;
    readTheme(*archive, workbook.themePath, colors);
    std::optional<StyleTable> styles = readStyleTable(*archive, workbook.stylesPath, colors);

    Log::progress("  Workbooks: 1");
    Log::progress("  Worksheets: " + std::to_string(workbook.worksheets.size()));

    WorksheetContext context;
    context.sharedStrings = sharedStrings ? &*sharedStrings : nullptr;
    context.styles = styles ? &*styles : nullptr;
    context.colors = &colors;
    context.date1904 = workbook.date1904;
    std::atomic<int64_t> storedTextBytes{0};
    context.storedTextBytes = &storedTextBytes;
    context.packageBytes = package.bytes;

    SumoraDocument document = SumoraDocument::empty();
    context.dropped = &document.droppedOnOpen;
    document.sheets.reserve(workbook.worksheets.size());
    for (size_t i = 0; i < workbook.worksheets.size(); ++i) {
        const WorksheetEntry& entry = workbook.worksheets[i];
        Log::progress("  Parsing sheet '" + entry.name.value_or("unnamed") + "' at " + entry.path);
        Sheet sheet(entry.name.value_or("Sheet " + std::to_string(i + 1)), 0, 0);
        sheet.isHidden = entry.isHidden;
        std::vector<Relationship> relationships = readSheetRelationships(*archive, entry.path);
        context.relationships = &relationships;
        readWorksheet(*archive, entry.path, context, sheet);
        context.relationships = nullptr;
        readSheetComments(*archive, entry.path, sheet);
        Log::progress("  Sheet parsed, rows=" + std::to_string(sheet.rowCount()));
        document.sheets.push_back(std::move(sheet));
    }
    document.namedRanges = definedNames(workbook.rawXml);
    try {
        readChartsAndRemainder(*archive, workbook, document);
    } catch (const std::exception& e) {
        Log::progress(std::string("  Charts and kept parts unreadable (non-fatal): ") + e.what());
        document.droppedOnOpen.push_back(
            "The file's charts, pictures and other parts Sumora does not edit could "
            "not be read and were left out.");
    }
    if (document.sheets.empty()) document.sheets.push_back(SumoraDocument::makeNewSheet("Sheet 1"));

    return document;
}

} // namespace sumora
