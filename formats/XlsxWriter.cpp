// Saving as an Office Open XML package. The worksheets are built first,
// because they fill the shared-string table and the style sheet that come
// before them in the package; then every part is added in the package's
// order and the archive is checked.
#include <ctime>

#include "formats/FileErrors.h"
#include "formats/XlsxChartWriter.h"
#include "formats/XlsxCommentsWriter.h"
#include "formats/XlsxFormat.h"
#include "formats/XlsxPackage.h"
#include "formats/XlsxPackageParts.h"
#include "formats/XlsxRemainderWriter.h"
#include "formats/XlsxSharedStringsWriter.h"
#include "formats/XlsxSheetNames.h"
#include "formats/XlsxStylesWriter.h"
#include "formats/XlsxWorksheetWriter.h"
#include "formats/ZipArchive.h"

namespace sumora {

namespace {

using namespace xlsx;

// Parts past a piece's size are deflated at a fast level: a big worksheet
// compresses several times faster and only a few percent larger.
constexpr size_t kBigPartBytes = kDeflatePieceBytes;
constexpr int kBigPartLevel = 1;

void addPart(ZipWriter& zip, const std::string& path, std::string&& xml) {
    int level = xml.size() > kBigPartBytes ? kBigPartLevel : -1;
    zip.add(path, std::move(xml), Compression::deflate, level);
}

std::string buildPackage(const std::vector<Sheet>& sheets, const WorkbookExtras& extras,
                         const PackageRemainder& remainder) {
    std::vector<SheetParts> plan = planSheetParts(sheets);
    RemainderWriter carried(remainder, sheets);
    std::vector<bool> drawingSheets;
    for (const SheetParts& parts : plan)
        drawingSheets.push_back(!parts.chartNumbers.empty());
    SharedStringTable strings;
    StylesWriter styles;
    std::vector<DeflatedPart> worksheets;
    worksheets.reserve(sheets.size());
    for (size_t i = 0; i < sheets.size(); ++i) {
        WorksheetLinks links{plan[i].drawingId, plan[i].legacyDrawingId, plan[i].hyperlinkIds(), {}, {}};
        carried.addWorksheetElements(i, links);
        worksheets.push_back(deflatedWorksheet(sheets[i], strings, styles, links, kBigPartLevel, -1));
    }

    ZipWriter zip;
    addPart(zip, "[Content_Types].xml", carried.contentTypes(contentTypesXml(plan), drawingSheets));
    addPart(zip, "_rels/.rels", carried.packageRelationships(rootRelsXml()));
    addPart(zip, "docProps/app.xml", appPropertiesXml());
    addPart(zip, "docProps/core.xml", corePropertiesXml(std::time(nullptr)));
    addPart(zip, "xl/workbook.xml", carried.workbook(workbookXml(sheets, extras)));
    addPart(zip, "xl/_rels/workbook.xml.rels", carried.workbookRelationships(workbookRelsXml(sheets.size())));
    addPart(zip, "xl/sharedStrings.xml", strings.xml());
    addPart(zip, "xl/styles.xml", styles.xml());
    for (size_t i = 0; i < sheets.size(); ++i) {
        const Sheet& sheet = sheets[i];
        const SheetParts& parts = plan[i];
        std::string n = std::to_string(parts.number);
        std::string sheetPath = "xl/worksheets/sheet" + n + ".xml";
        zip.addDeflated(sheetPath, std::move(worksheets[i]));
        std::string rels = carried.sheetRelationships(i, parts.hasRelationships() ? sheetRelsXml(parts) : "",
                                                      drawingSheets[i], parts.hasComments, sheetPath);
        if (!rels.empty()) addPart(zip, relationshipsPathFor(sheetPath), std::move(rels));
        if (!parts.chartNumbers.empty()) {
            std::string drawingPath = "xl/drawings/drawing" + n + ".xml";
            addPart(zip, drawingPath, carried.drawing(i, drawingXml(sheet.charts, parts.chartNumbers)));
            addPart(zip, relationshipsPathFor(drawingPath),
                    carried.drawingRelationships(i, drawingRelsXml(parts.chartNumbers), drawingPath));
            for (size_t k = 0; k < sheet.charts.size(); ++k)
                addPart(zip, "xl/charts/chart" + std::to_string(parts.chartNumbers[k]) + ".xml",
                        chartXml(sheet.charts[k], sheet));
        }
        if (parts.hasComments) {
            std::vector<SheetComment> comments = sheetComments(sheet);
            addPart(zip, "xl/comments" + n + ".xml", commentsXml(comments));
            addPart(zip, "xl/drawings/vmlDrawing" + n + ".vml", vmlDrawingXml(comments, parts.number));
        }
    }
    carried.addParts(zip, drawingSheets);
    try {
        return zip.finish();
    } catch (const ArchiveError& e) {
        throw FileWriteError(std::string("XLSX export could not build its archive: ") + e.what());
    }
}

// Sheets whose names the format cannot hold are written from a copy that
// carries the file's names, with the formulas and defined names that refer
// to them rewritten; the common case writes the document's sheets as they are.
std::string packageWithFileNames(const std::vector<Sheet>& sheets, WorkbookExtras extras,
                                 const PackageRemainder& remainder, LossReport* losses) {
    std::vector<std::string> names = fileSheetNames(sheets, losses);
    bool renamed = false;
    for (size_t i = 0; i < sheets.size(); ++i)
        renamed = renamed || names[i] != sheets[i].name;
    if (!renamed) return buildPackage(sheets, extras, remainder);

    std::vector<Sheet> renamedSheets = sheets;
    for (size_t i = 0; i < renamedSheets.size(); ++i) {
        renamedSheets[i].name = names[i];
        renamedSheets[i].forEachStoredCell([&](int64_t, int64_t, Cell& cell) {
            if (!cell.hasFormula()) return;
            if (auto formula = renamedSheetReferences(*cell.formula(), sheets, names))
                cell.setFormula(*formula);
        });
    }
    std::vector<NamedRange> namedRanges;
    if (extras.namedRanges) {
        namedRanges = *extras.namedRanges;
        for (NamedRange& range : namedRanges) {
            if (!range.sheetName) continue;
            for (size_t i = 0; i < sheets.size(); ++i)
                if (sheets[i].name == *range.sheetName) {
                    range.sheetName = names[i];
                    break;
                }
        }
        extras.namedRanges = &namedRanges;
    }
    return buildPackage(renamedSheets, extras, remainder);
}

std::string checkedPackage(const std::vector<Sheet>& sheets, const WorkbookExtras& extras,
                           const PackageRemainder& remainder, LossReport* losses) {
    // A workbook needs a sheet; a document always has one, a bare list may not.
    std::vector<Sheet> fallback;
    if (sheets.empty()) fallback.push_back(SumoraDocument::makeNewSheet("Sheet 1"));
    std::string bytes = packageWithFileNames(sheets.empty() ? fallback : sheets, extras, remainder, losses);
    verifyPackageBytes(bytes);
    return bytes;
}

} // namespace

std::string writeXlsx(const std::vector<Sheet>& sheets, LossReport* losses) {
    return checkedPackage(sheets, {}, PackageRemainder(), losses);
}

std::string writeXlsx(const SumoraDocument& document, LossReport* losses) {
    WorkbookExtras extras;
    extras.namedRanges = &document.namedRanges;
    extras.isProtected = document.isWorkbookProtected;
    extras.password = document.workbookPassword;
    return checkedPackage(document.sheets, extras, document.carriedParts, losses);
}

} // namespace sumora
