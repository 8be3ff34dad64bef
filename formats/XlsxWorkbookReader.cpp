#include "formats/XlsxWorkbookReader.h"

#include <string_view>
#include <unordered_map>

#include "document/ColumnLetters.h"
#include "formats/XlsxPackage.h"
#include "formats/XlsxText.h"
#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"

namespace sumora::xlsx {

namespace {

constexpr std::string_view kDefaultWorkbookPath = "xl/workbook.xml";

struct ParsedSheet {
    std::string relationshipId;
    std::optional<std::string> name;
    bool isHidden = false;
};

// The typed view of the workbook: the sheets with their relationship ids.
// Names and states are taken from the raw text (sheetElements) and only fall
// back to these when that finds fewer elements (prefixed markup).
class WorkbookHandler : public XmlHandler {
  public:
    std::vector<ParsedSheet> sheets;
    bool date1904 = false;

    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        if (name == "workbookPr")
            if (auto v = attributes.get("date1904")) date1904 = parseBoolean(*v).value_or(false);
        if (name == "sheets") inSheets_ = true;
        if (name != "sheet" || !inSheets_) return;
        ParsedSheet s;
        s.relationshipId = std::string(attributes.get("id").value_or(""));
        if (auto n = attributes.get("name")) s.name = std::string(*n);
        auto state = attributes.get("state").value_or("");
        s.isHidden = state == "hidden" || state == "veryHidden";
        sheets.push_back(std::move(s));
    }
    void endElement(std::string_view name) override {
        if (name == "sheets") inSheets_ = false;
    }

  private:
    bool inSheets_ = false;
};

std::string findWorkbookPath(ZipReader& archive) {
    for (const Relationship& r : readRelationships(archive, ""))
        if (!r.isExternal && hasType(r, "officeDocument") && archive.contains(r.target)) return r.target;
    return std::string(kDefaultWorkbookPath);
}

std::string pathOf(const std::vector<Relationship>& relationships, std::string_view kind,
                   std::string_view fallback) {
    const Relationship* r = findRelationship(relationships, kind);
    return r ? r->target : std::string(fallback);
}

// 'It''s' → It's
std::string unquoteSheetName(std::string_view text) {
    if (text.size() >= 2 && text.front() == '\'' && text.back() == '\'') {
        std::string out;
        text = text.substr(1, text.size() - 2);
        for (size_t i = 0; i < text.size(); ++i) {
            out += text[i];
            if (text[i] == '\'' && i + 1 < text.size() && text[i + 1] == '\'') ++i;
        }
        return out;
    }
    return std::string(text);
}

} // namespace

std::vector<SheetElement> sheetElements(std::string_view xml) {
    static const TextPattern elementPattern(R"re(<sheet\s[^>]*>)re");
    static const TextPattern namePattern(R"re(name="([^"]+)")re");
    std::vector<SheetElement> out;
    elementPattern.forEachMatch(xml, [&](const TextPattern::Match& m) {
        std::string_view element = m.group(0).value_or("");
        SheetElement e;
        if (auto name = namePattern.firstGroup(element)) e.name = decodeXmlEntities(*name);
        e.isHidden = element.find("state=\"hidden\"") != std::string_view::npos ||
                     element.find("state=\"veryHidden\"") != std::string_view::npos;
        out.push_back(std::move(e));
    });
    return out;
}

std::vector<NamedRange> definedNames(std::string_view xml) {
    // Producers that write other attributes before the name (LibreOffice
    // writes function="false" first) are read too; for the usual order this
    // is <definedName\s+name="([^"]+)"[^>]*>([^<]+)</definedName>.
    static const TextPattern pattern(
        R"re(<definedName\s+(?:[^>]*?\s)?name="([^"]+)"[^>]*>([^<]+)</definedName>)re");
    std::vector<NamedRange> out;
    pattern.forEachMatch(xml, [&](const TextPattern::Match& m) {
        std::string name = decodeXmlEntities(m.group(1).value_or(""));
        if (name.rfind("_xlnm", 0) == 0) return;
        std::string reference = decodeXmlEntities(m.group(2).value_or(""));
        std::erase(reference, '$');
        std::string_view ref = reference;
        NamedRange range;
        range.name = std::move(name);
        // The sheet part ends at the last "!" so that a quoted name may hold one.
        if (size_t bang = ref.rfind('!'); bang != std::string_view::npos) {
            range.sheetName = unquoteSheetName(ref.substr(0, bang));
            ref = ref.substr(bang + 1);
        }
        size_t colon = ref.find(':');
        auto start = parseCellAddress(ref.substr(0, colon));
        auto end = colon == std::string_view::npos ? start : parseCellAddress(ref.substr(colon + 1));
        if (!start || !end) return;
        range.startCol = start->col;
        range.startRow = start->row;
        range.endCol = end->col;
        range.endRow = end->row;
        out.push_back(std::move(range));
    });
    return out;
}

WorkbookInfo readWorkbook(ZipReader& archive) {
    WorkbookInfo info;
    info.path = findWorkbookPath(archive);
    if (!archive.contains(info.path))
        throw ArchiveError("The ZIP archive has no workbook part (" + std::string(kDefaultWorkbookPath) +
                           ").");
    info.rawXml = readPart(archive, info.path);

    WorkbookHandler handler;
    XmlReader::parse(info.rawXml, handler);
    std::vector<SheetElement> elements = sheetElements(info.rawXml);
    info.date1904 = handler.date1904;

    std::vector<Relationship> relationships = readRelationships(archive, info.path);
    std::string folder = resolveTarget(info.path, ".");
    auto inFolder = [&](std::string name) { return folder.empty() ? name : folder + "/" + name; };
    info.sharedStringsPath = pathOf(relationships, "sharedStrings", inFolder("sharedStrings.xml"));
    info.stylesPath = pathOf(relationships, "styles", inFolder("styles.xml"));
    info.themePath = pathOf(relationships, "theme", inFolder("theme/theme1.xml"));

    // By id, the last internal one winning as before; a workbook of many
    // sheets must not search the list once per sheet.
    std::unordered_map<std::string_view, const Relationship*> byId;
    byId.reserve(relationships.size());
    for (const Relationship& r : relationships)
        if (!r.isExternal) byId[r.id] = &r;
    for (size_t i = 0; i < handler.sheets.size(); ++i) {
        const ParsedSheet& parsed = handler.sheets[i];
        WorksheetEntry entry;
        auto found = byId.find(parsed.relationshipId);
        const Relationship* target = found == byId.end() ? nullptr : found->second;
        if (target) {
            if (!hasType(*target, "worksheet")) continue; // chart sheets, dialog and macro sheets
            entry.path = target->target;
        } else if (relationships.empty()) {
            // Without workbook relationships, the conventional part names.
            entry.path = inFolder("worksheets/sheet" + std::to_string(i + 1) + ".xml");
            if (!archive.contains(entry.path)) continue;
        } else {
            continue;
        }
        if (i < elements.size()) {
            entry.name = elements[i].name;
            entry.isHidden = elements[i].isHidden;
        } else {
            entry.name = parsed.name;
            entry.isHidden = parsed.isHidden;
        }
        info.worksheets.push_back(std::move(entry));
    }
    return info;
}

} // namespace sumora::xlsx
