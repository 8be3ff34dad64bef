#include "formats/XlsxPackageParts.h"

#include <algorithm>

#include "formats/FileErrors.h"
#include "formats/XlsxCommentsWriter.h"
#include "formats/XlsxSheetRulesWriter.h"
#include "formats/XlsxWriterText.h"
#include "formats/XmlWriter.h"
#include "values/Log.h"

namespace sumora::xlsx {

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr std::string_view kRelationshipsOpen =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
constexpr std::string_view kOfficeRelationships =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";

void appendOverride(std::string& out, std::string_view partName, std::string_view contentType) {
    out += "<Override PartName=\"";
    out += partName;
    out += "\" ContentType=\"";
    out += contentType;
    out += "\"/>";
}

void appendRelationship(std::string& out, std::string_view id, std::string_view type,
                        std::string_view target) {
    out += "<Relationship Id=\"";
    out += id;
    out += "\" Type=\"";
    out += type;
    out += "\" Target=\"";
    out += target;
    out += "\"/>";
}

std::string rid(size_t n) {
    return "rId" + std::to_string(n);
}

} // namespace

std::vector<SheetParts> planSheetParts(const std::vector<Sheet>& sheets) {
    std::vector<SheetParts> plan;
    int64_t chart = 0;
    for (size_t i = 0; i < sheets.size(); ++i) {
        SheetParts parts;
        parts.number = static_cast<int64_t>(i + 1);
        size_t next = 1;
        if (!sheets[i].charts.empty()) {
            parts.drawingId = rid(next++);
            for (size_t k = 0; k < sheets[i].charts.size(); ++k)
                parts.chartNumbers.push_back(++chart);
        }
        if (!sheetComments(sheets[i]).empty()) {
            parts.hasComments = true;
            parts.commentsId = rid(next++);
            parts.legacyDrawingId = rid(next++);
        }
        for (const auto& [address, link] : sheets[i].hyperlinks)
            if (!link.target.empty()) parts.hyperlinks.emplace_back(rid(next++), link.target);
        plan.push_back(std::move(parts));
    }
    return plan;
}

std::string contentTypesXml(const std::vector<SheetParts>& sheets) {
    bool comments =
        std::any_of(sheets.begin(), sheets.end(), [](const SheetParts& s) { return s.hasComments; });
    std::string out(kDeclaration);
    out += "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
           "<Default Extension=\"rels\" "
           "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
           "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
    if (comments)
        out += "<Default Extension=\"vml\" "
               "ContentType=\"application/vnd.openxmlformats-officedocument.vmlDrawing\"/>";
    appendOverride(out, "/xl/workbook.xml",
                   "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml");
    appendOverride(out, "/xl/sharedStrings.xml",
                   "application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml");
    appendOverride(out, "/xl/styles.xml",
                   "application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml");
    appendOverride(out, "/docProps/app.xml",
                   "application/vnd.openxmlformats-officedocument.extended-properties+xml");
    appendOverride(out, "/docProps/core.xml", "application/vnd.openxmlformats-package.core-properties+xml");
    for (const SheetParts& s : sheets)
        appendOverride(out, "/xl/worksheets/sheet" + std::to_string(s.number) + ".xml",
                       "application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml");
    for (const SheetParts& s : sheets) {
        if (s.chartNumbers.empty()) continue;
        appendOverride(out, "/xl/drawings/drawing" + std::to_string(s.number) + ".xml",
                       "application/vnd.openxmlformats-officedocument.drawing+xml");
        for (int64_t k : s.chartNumbers)
            appendOverride(out, "/xl/charts/chart" + std::to_string(k) + ".xml",
                           "application/vnd.openxmlformats-officedocument.drawingml.chart+xml");
    }
    for (const SheetParts& s : sheets)
        if (s.hasComments)
            appendOverride(out, "/xl/comments" + std::to_string(s.number) + ".xml",
                           "application/vnd.openxmlformats-officedocument.spreadsheetml.comments+xml");
    out += "</Types>";
    return out;
}

std::string rootRelsXml() {
    std::string out(kDeclaration);
    out += kRelationshipsOpen;
    appendRelationship(out, "rId1", std::string(kOfficeRelationships) + "officeDocument", "xl/workbook.xml");
    appendRelationship(out, "rId2", std::string(kOfficeRelationships) + "extended-properties",
                       "docProps/app.xml");
    appendRelationship(
        out, "rId3", "http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties",
        "docProps/core.xml");
    out += "</Relationships>";
    return out;
}

std::string appPropertiesXml() {
    return std::string(kDeclaration) +
           "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\">"
           "<Application>Sumora</Application></Properties>";
}

std::string corePropertiesXml(std::time_t now) {
    std::tm utc{};
    gmtime_r(&now, &utc);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", &utc);
    std::string out(kDeclaration);
    out += "<cp:coreProperties "
           "xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:dcterms=\"http://purl.org/dc/terms/\" "
           "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">";
    out += "<dcterms:created xsi:type=\"dcterms:W3CDTF\">";
    out += stamp;
    out += "</dcterms:created><dcterms:modified xsi:type=\"dcterms:W3CDTF\">";
    out += stamp;
    out += "</dcterms:modified></cp:coreProperties>";
    return out;
}

std::string workbookXml(const std::vector<Sheet>& sheets, const WorkbookExtras& extras) {
    std::string out(kDeclaration);
    out += "<workbook xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
           "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">";
    if (extras.isProtected) {
        out += "<workbookProtection";
        if (extras.password && !extras.password->empty())
            out += " workbookPassword=\"" + legacyPasswordHash(*extras.password) + "\"";
        out += " lockStructure=\"1\"/>";
    }
    // Applications refuse a workbook whose every sheet is hidden, and open on
    // the active tab, which must be a visible one.
    auto firstVisible =
        std::find_if(sheets.begin(), sheets.end(), [](const Sheet& s) { return !s.isHidden; });
    size_t activeTab = firstVisible == sheets.end() ? 0 : static_cast<size_t>(firstVisible - sheets.begin());
    if (firstVisible == sheets.end() && !sheets.empty())
        Log::info("XLSX export shows sheet '" + sheets.front().name + "' because every sheet is hidden");
    out += "<bookViews><workbookView activeTab=\"";
    appendInt(out, static_cast<int64_t>(activeTab));
    out += "\"/></bookViews><sheets>";
    for (size_t i = 0; i < sheets.size(); ++i) {
        out += "<sheet name=\"";
        appendXmlEscaped(out, sheets[i].name, XmlContext::attribute);
        out += "\" sheetId=\"";
        appendInt(out, static_cast<int64_t>(i + 1));
        out += '"';
        if (sheets[i].isHidden && i != activeTab) out += " state=\"hidden\"";
        out += " r:id=\"" + rid(i + 1) + "\"/>";
    }
    out += "</sheets>";
    if (extras.namedRanges && !extras.namedRanges->empty()) {
        out += "<definedNames>";
        for (const NamedRange& name : *extras.namedRanges) {
            out += "<definedName name=\"";
            appendXmlEscaped(out, name.name, XmlContext::attribute);
            out += "\">";
            std::string reference;
            if (name.sheetName) reference = formulaSheetName(*name.sheetName) + "!";
            reference += absoluteRangeRef(name.startCol, name.startRow, name.endCol, name.endRow);
            appendXmlEscaped(out, reference);
            out += "</definedName>";
        }
        out += "</definedNames>";
    }
    out += "</workbook>";
    return out;
}

std::string workbookRelsXml(size_t sheetCount) {
    std::string out(kDeclaration);
    out += kRelationshipsOpen;
    std::string worksheetType = std::string(kOfficeRelationships) + "worksheet";
    for (size_t i = 1; i <= sheetCount; ++i)
        appendRelationship(out, rid(i), worksheetType, "worksheets/sheet" + std::to_string(i) + ".xml");
    appendRelationship(out, rid(sheetCount + 1), std::string(kOfficeRelationships) + "sharedStrings",
                       "sharedStrings.xml");
    appendRelationship(out, rid(sheetCount + 2), std::string(kOfficeRelationships) + "styles", "styles.xml");
    out += "</Relationships>";
    return out;
}

std::string sheetRelsXml(const SheetParts& parts) {
    std::string n = std::to_string(parts.number);
    std::string out(kDeclaration);
    out += kRelationshipsOpen;
    if (parts.drawingId)
        appendRelationship(out, *parts.drawingId, std::string(kOfficeRelationships) + "drawing",
                           "../drawings/drawing" + n + ".xml");
    if (parts.commentsId)
        appendRelationship(out, *parts.commentsId, std::string(kOfficeRelationships) + "comments",
                           "../comments" + n + ".xml");
    if (parts.legacyDrawingId)
        appendRelationship(out, *parts.legacyDrawingId, std::string(kOfficeRelationships) + "vmlDrawing",
                           "../drawings/vmlDrawing" + n + ".vml");
    for (const auto& [id, address] : parts.hyperlinks) {
        out += "<Relationship Id=\"" + id + "\" Type=\"" + std::string(kOfficeRelationships) + "hyperlink\"";
        appendAttribute(out, "Target", address);
        out += " TargetMode=\"External\"/>";
    }
    out += "</Relationships>";
    return out;
}

std::vector<std::string> SheetParts::hyperlinkIds() const {
    std::vector<std::string> ids;
    for (const auto& [id, address] : hyperlinks)
        ids.push_back(id);
    return ids;
}

void verifyPackageBytes(std::string_view bytes) {
    if (bytes.empty()) throw FileWriteError("XLSX export produced empty data.");
    if (!bytes.starts_with("PK"))
        throw FileWriteError("XLSX export produced invalid archive (missing ZIP signature).");
}

} // namespace sumora::xlsx
