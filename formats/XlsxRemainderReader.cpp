#include "formats/XlsxRemainderReader.h"

#include <algorithm>
#include <map>
#include <set>

#include "document/SumoraDocument.h"
#include "formats/XlsxCarriedPaths.h"
#include "formats/XlsxChartReader.h"
#include "formats/XlsxDrawingReader.h"
#include "formats/XlsxPackage.h"
#include "formats/XlsxWorkbookReader.h"
#include "formats/XmlFragments.h"
#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora::xlsx {

namespace {

std::string lower(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
    return out;
}

class ContentTypesHandler : public XmlHandler {
  public:
    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        std::string type(attributes.get("ContentType").value_or(""));
        if (name == "Default") defaults[lower(attributes.get("Extension").value_or(""))] = type;
        if (name == "Override") {
            std::string_view part = attributes.get("PartName").value_or("");
            if (!part.empty() && part.front() == '/') part.remove_prefix(1);
            overrides[lower(part)] = type;
        }
    }
    std::map<std::string, std::string> defaults, overrides;
};

// Sheet relationships the model reads and the writer writes itself.
bool isModelledSheetLink(const Relationship& r) {
    return hasType(r, "comments") || hasType(r, "hyperlink");
}

// Workbook relationships the model reads or the writer rebuilds, and the
// ones whose parts mean nothing without what the model leaves out.
bool isModelledWorkbookLink(const Relationship& r) {
    for (std::string_view kind :
         {"worksheet", "sharedStrings", "styles", "theme", "calcChain", "sheetMetadata", "person"})
        if (hasType(r, kind)) return true;
    return false;
}

bool isModelledPackageLink(const Relationship& r) {
    return hasType(r, "officeDocument") || hasType(r, "extended-properties") || hasType(r, "core-properties");
}

// Worksheet children that may name carried parts, in the format's order
// after the cell data.
bool isCarriableWorksheetElement(std::string_view local) {
    for (std::string_view name :
         {"printOptions", "pageMargins",      "pageSetup",       "headerFooter",  "rowBreaks",
          "colBreaks",    "customProperties", "cellWatches",     "ignoredErrors", "smartTags",
          "drawing",      "legacyDrawing",    "legacyDrawingHF", "drawingHF",     "picture",
          "oleObjects",   "controls",         "webPublishItems", "tableParts",    "AlternateContent"})
        if (local == name) return true;
    return false;
}

// The root start tag of a worksheet and the text after its cell data,
// streamed so that a big sheet is never held whole.
struct WorksheetTail {
    std::string rootStartTag;
    std::string tail;
};

WorksheetTail worksheetTail(ZipReader& archive, std::string_view path) {
    WorksheetTail out;
    std::string head, window;
    archive.stream(path, [&](std::string_view chunk) {
        if (out.rootStartTag.empty() && head.size() < (64u << 10)) {
            head.append(chunk.substr(0, (64u << 10) - head.size()));
            if (auto start = xml::firstStartTag(head)) out.rootStartTag = std::string(*start);
        }
        window.append(chunk);
        size_t at = window.rfind("sheetData");
        if (at != std::string::npos)
            window.erase(0, at);
        else if (window.size() > 16)
            window.erase(0, window.size() - 16);
    });
    size_t at = window.find("sheetData");
    size_t close = at == std::string::npos ? std::string::npos : window.find('>', at);
    if (close != std::string::npos) out.tail = window.substr(close + 1);
    return out;
}

class RemainderReader {
  public:
    RemainderReader(ZipReader& archive, SumoraDocument& document) : archive_(archive), document_(document) {
        try {
            if (archive_.contains("[Content_Types].xml")) {
                ContentTypesHandler handler;
                parseXmlEntry(archive_, "[Content_Types].xml", handler);
                contentTypes_ = std::move(handler);
            }
        } catch (const std::exception& e) {
            Log::progress(std::string("  Content types unreadable (non-fatal): ") + e.what());
        }
    }

    void readSheet(const WorksheetEntry& entry, Sheet& sheet) {
        std::vector<Relationship> relationships = relationshipsOf(entry.path);
        bool hasComments = std::any_of(relationships.begin(), relationships.end(),
                                       [](const Relationship& r) { return hasType(r, "comments"); });
        CarriedLinks links;
        std::map<std::string, std::string> renames;
        auto link = [&](const Relationship& r, const std::string& target) {
            std::string id = "rIdC" + std::to_string(links.relationships.size() + 1);
            renames[r.id] = id;
            links.relationships.push_back({id, r.type, target, r.isExternal});
        };
        for (const Relationship& r : relationships) {
            if (isModelledSheetLink(r) || (hasType(r, "vmlDrawing") && hasComments)) continue;
            if (hasType(r, "threadedComment")) {
                drop("Threaded comments on sheet \"" + sheet.name + "\" were left out; their notes remain.");
                continue;
            }
            if (r.isExternal) {
                link(r, r.target);
            } else if (hasType(r, "drawing")) {
                if (auto target = readDrawing(r.target, sheet)) link(r, *target);
            } else if (auto target = carry(r.target, sheet.name)) {
                link(r, *target);
            }
        }
        if (links.relationships.empty()) return;
        links.elements = worksheetElements(entry.path, renames);
        document_.carriedParts.sheets[sheet.id] = std::move(links);
    }

    void readWorkbook(const WorkbookInfo& workbook) {
        CarriedLinks& links = document_.carriedParts.workbook;
        std::map<std::string, std::string> renames;
        bool externalLinks = false;
        for (const Relationship& r : relationshipsOf(workbook.path)) {
            if (isModelledWorkbookLink(r)) continue;
            if (hasType(r, "chartsheet") || hasType(r, "dialogsheet") || hasType(r, "macrosheet")) {
                drop("A sheet of a kind Sumora cannot show (" + r.type.substr(r.type.rfind('/') + 1) +
                     ") was left out.");
                continue;
            }
            if (hasType(r, "externalLink")) {
                externalLinks = true;
                continue;
            }
            std::optional<std::string> target = r.isExternal ? r.target : carry(r.target, {});
            if (!target) continue;
            std::string id = "rIdC" + std::to_string(links.relationships.size() + 1);
            renames[r.id] = id;
            links.relationships.push_back({id, r.type, *target, r.isExternal});
        }
        if (externalLinks) drop("Links to other workbooks were left out.");
        if (renames.empty()) return;
        auto root = xml::rootChildren(workbook.rawXml);
        if (!root) return;
        xml::Namespaces scope = xml::namespaceDeclarations(root->rootStartTag);
        std::string_view text = workbook.rawXml;
        for (const xml::ElementSpan& child : root->children) {
            std::string_view local = child.localName();
            if (local != "pivotCaches" && local != "extLst") continue;
            appendLinkedElement(links.elements, text.substr(child.begin, child.end - child.begin), scope,
                                renames);
        }
    }

    void readPackage() {
        CarriedLinks& links = document_.carriedParts.package;
        for (const Relationship& r : relationshipsOf({})) {
            if (isModelledPackageLink(r)) continue;
            std::optional<std::string> target = r.isExternal ? r.target : carry(r.target, {});
            if (!target) continue;
            links.relationships.push_back(
                {"rIdC" + std::to_string(links.relationships.size() + 1), r.type, *target, r.isExternal});
        }
    }

  private:
    void drop(const std::string& sentence) {
        Log::progress("  Skipped: " + sentence);
        document_.droppedOnOpen.push_back(sentence);
    }

    std::vector<Relationship> relationshipsOf(std::string_view part) {
        try {
            return readRelationships(archive_, part);
        } catch (const std::exception& e) {
            Log::progress("  Relationships of '" + std::string(part) +
                          "' unreadable (non-fatal): " + e.what());
            return {};
        }
    }

    std::string contentTypeOf(const std::string& path) const {
        auto it = contentTypes_.overrides.find(lower(path));
        if (it != contentTypes_.overrides.end()) return it->second;
        size_t dot = path.rfind('.');
        if (dot != std::string::npos) {
            auto d = contentTypes_.defaults.find(lower(path.substr(dot + 1)));
            if (d != contentTypes_.defaults.end()) return d->second;
        }
        return "application/octet-stream";
    }

    // Keeps the part at `path` and everything it links to; the path it is
    // kept under, or nothing when the package does not hold it.
    std::optional<std::string> carry(const std::string& path, std::string_view sheetName,
                                     std::shared_ptr<const std::string> bytes = nullptr,
                                     std::vector<CarriedRelationship> relationships = {},
                                     bool readLinks = true) {
        if (auto seen = carried_.find(lower(path)); seen != carried_.end()) return seen->second;
        if (!bytes) {
            if (!archive_.contains(path)) {
                drop((sheetName.empty() ? std::string("The workbook")
                                        : "Sheet \"" + std::string(sheetName) + "\"") +
                     " links to \"" + path + "\", which the file does not hold; the link was left out.");
                return std::nullopt;
            }
            try {
                bytes = std::make_shared<const std::string>(readPart(archive_, path));
            } catch (const std::exception& e) {
                drop("The part \"" + path + "\" could not be read and was left out.");
                Log::progress(std::string("  ") + e.what());
                return std::nullopt;
            }
        }
        std::string keptPath = carriedPartPath(path);
        carried_[lower(path)] = keptPath;
        if (readLinks) {
            for (const Relationship& r : relationshipsOf(path)) {
                std::optional<std::string> target = r.isExternal ? r.target : carry(r.target, sheetName);
                if (target) relationships.push_back({r.id, r.type, *target, r.isExternal});
            }
        }
        document_.carriedParts.parts.push_back(
            {keptPath, contentTypeOf(path), std::move(bytes), std::move(relationships)});
        return keptPath;
    }

    // Charts the model holds go to the sheet; the drawing is kept (without
    // them) when anything else is left on it. The path it is kept under.
    std::optional<std::string> readDrawing(const std::string& path, Sheet& sheet) {
        std::string where = "Sheet \"" + sheet.name + "\"";
        if (!archive_.contains(path)) {
            drop(where + " names a drawing the file does not hold; its charts and pictures were left out.");
            return std::nullopt;
        }
        std::string xmlText;
        std::optional<DrawingPart> drawing;
        try {
            xmlText = readPart(archive_, path);
            drawing = readDrawingPart(xmlText);
        } catch (const std::exception& e) {
            Log::progress(std::string("  ") + e.what());
            drawing.reset();
        }
        if (!drawing) {
            drop("The drawing of sheet \"" + sheet.name +
                 "\" could not be read; its charts and pictures were "
                 "left out.");
            return std::nullopt;
        }
        std::vector<Relationship> relationships = relationshipsOf(path);
        xml::Namespaces scope = xml::namespaceDeclarations(drawing->rootStartTag);
        std::vector<std::string> kept;
        for (const DrawingAnchor& anchor : drawing->anchors) {
            std::string_view text =
                std::string_view(xmlText).substr(anchor.span.begin, anchor.span.end - anchor.span.begin);
            if (!anchor.chartId) {
                kept.emplace_back(text);
                continue;
            }
            auto r = std::find_if(relationships.begin(), relationships.end(),
                                  [&](const Relationship& x) { return x.id == *anchor.chartId; });
            if (r == relationships.end() || r->isExternal || !archive_.contains(r->target)) {
                drop(where + ": a chart names a part the file does not hold; it was left out.");
                continue;
            }
            if (!anchor.withinGrid) {
                drop(where + ": a chart placed outside the grid was left out.");
                continue;
            }
            std::optional<EmbeddedChart> chart;
            try {
                chart = modelledChart(readChartPart(readPart(archive_, r->target)), sheet.name);
            } catch (const std::exception& e) {
                Log::progress(std::string("  ") + e.what());
                drop(where + ": the chart \"" + r->target + "\" could not be read and was left out.");
                continue;
            }
            if (!chart) {
                kept.emplace_back(text);
                continue;
            }
            chart->anchorCol = anchor.col;
            chart->anchorRow = anchor.row;
            chart->widthCols = anchor.widthCols;
            chart->heightRows = anchor.heightRows;
            sheet.charts.push_back(std::move(*chart));
        }
        if (kept.empty()) return std::nullopt;

        // The kept anchors' links get ids of their own, apart from the ones
        // the writer numbers for the charts it adds to this drawing.
        std::map<std::string, std::string> renames;
        std::vector<CarriedRelationship> links;
        std::string rebuilt(
            xmlText.substr(0, drawing->anchors.empty() ? 0 : drawing->anchors.front().span.begin));
        for (const std::string& anchor : kept) {
            for (const std::string& id : xml::relationshipIds(anchor, scope)) {
                if (renames.count(id)) continue;
                auto r = std::find_if(relationships.begin(), relationships.end(),
                                      [&](const Relationship& x) { return x.id == id; });
                if (r == relationships.end()) continue;
                std::optional<std::string> target = r->isExternal ? r->target : carry(r->target, sheet.name);
                if (!target) continue;
                std::string newId = "rIdC" + std::to_string(links.size() + 1);
                renames[id] = newId;
                links.push_back({newId, r->type, *target, r->isExternal});
            }
            rebuilt += xml::selfContained(anchor, scope, renames);
        }
        size_t close = xmlText.rfind("</");
        rebuilt += close == std::string::npos ? std::string() : xmlText.substr(close);
        return carry(path, sheet.name, std::make_shared<const std::string>(std::move(rebuilt)),
                     std::move(links), false);
    }

    // The worksheet's elements that name a kept part, made self-contained.
    std::vector<std::string> worksheetElements(const std::string& path,
                                               const std::map<std::string, std::string>& renames) {
        std::vector<std::string> out;
        WorksheetTail sheet;
        try {
            sheet = worksheetTail(archive_, path);
        } catch (const std::exception& e) {
            Log::progress(std::string("  Worksheet re-read failed (non-fatal): ") + e.what());
            return out;
        }
        xml::Namespaces scope = xml::namespaceDeclarations(sheet.rootStartTag);
        std::string_view tail = sheet.tail;
        for (const xml::ElementSpan& child : xml::siblingElements(tail)) {
            std::string_view text = tail.substr(child.begin, child.end - child.begin);
            if (child.localName() == "extLst" || isCarriableWorksheetElement(child.localName()))
                appendLinkedElement(out, text, scope, renames);
        }
        return out;
    }

    // Adds `element` when it names one of the renamed relationships; of an
    // extension list only the extensions that do are kept.
    static void appendLinkedElement(std::vector<std::string>& out, std::string_view element,
                                    const xml::Namespaces& scope,
                                    const std::map<std::string, std::string>& renames) {
        auto names = [&](std::string_view text) {
            for (const std::string& id : xml::relationshipIds(text, scope))
                if (renames.count(id)) return true;
            return false;
        };
        if (!names(element)) return;
        if (xmlLocalName(element.substr(1, element.find_first_of(" />") - 1)) != "extLst") {
            out.push_back(xml::selfContained(element, scope, renames));
            return;
        }
        size_t open = element.find('>');
        std::string list = "<extLst>";
        std::string_view inner = element.substr(open + 1);
        for (const xml::ElementSpan& ext : xml::siblingElements(inner)) {
            std::string_view text = inner.substr(ext.begin, ext.end - ext.begin);
            if (names(text)) list += xml::selfContained(text, scope, renames);
        }
        out.push_back(list + "</extLst>");
    }

    ZipReader& archive_;
    SumoraDocument& document_;
    ContentTypesHandler contentTypes_;
    std::map<std::string, std::string> carried_; // lower-case source path → kept path
};

} // namespace

void readChartsAndRemainder(ZipReader& archive, const WorkbookInfo& workbook, SumoraDocument& document) {
    RemainderReader reader(archive, document);
    for (size_t i = 0; i < workbook.worksheets.size() && i < document.sheets.size(); ++i)
        reader.readSheet(workbook.worksheets[i], document.sheets[i]);
    reader.readWorkbook(workbook);
    reader.readPackage();
    if (!document.carriedParts.empty())
        Log::progress("  Kept " + std::to_string(document.carriedParts.parts.size()) +
                      " parts Sumora does not edit, for saving back");
}

} // namespace sumora::xlsx
