#include "formats/XlsxRemainderWriter.h"

#include <deque>
#include <map>
#include <set>

#include "formats/XlsxCarriedPaths.h"
#include "formats/XlsxPackage.h"
#include "formats/XlsxWorksheetWriter.h"
#include "formats/XmlFragments.h"
#include "formats/XmlReader.h"
#include "formats/XmlWriter.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora::xlsx {

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr std::string_view kRelationshipsOpen =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";

bool isKind(const CarriedRelationship& r, std::string_view kind) {
    return hasType(Relationship{r.id, r.type, r.target, r.isExternal}, kind);
}

// Worksheet elements that come before the drawing in the format's order.
bool comesBeforeDrawing(std::string_view local) {
    for (std::string_view name :
         {"printOptions", "pageMargins", "pageSetup", "headerFooter", "rowBreaks", "colBreaks",
          "customProperties", "cellWatches", "ignoredErrors", "smartTags"})
        if (local == name) return true;
    return false;
}

std::string_view elementLocalName(std::string_view element) {
    size_t end = element.find_first_of(" \t\r\n/>", 1);
    return xmlLocalName(element.substr(1, end == std::string_view::npos ? element.size() : end - 1));
}

// `text` inserted before the last end tag of `xml` (its root's).
std::string insertBeforeRootEnd(std::string xml, std::string_view text) {
    size_t at = xml.rfind("</");
    if (at == std::string::npos) return xml;
    xml.insert(at, text);
    return xml;
}

void appendRelationship(std::string& out, const CarriedRelationship& r, std::string_view fromPart) {
    out += "<Relationship Id=\"";
    appendXmlEscaped(out, r.id, XmlContext::attribute);
    out += "\" Type=\"";
    appendXmlEscaped(out, r.type, XmlContext::attribute);
    out += "\" Target=\"";
    appendXmlEscaped(out, r.isExternal ? r.target : relativeTarget(fromPart, r.target),
                     XmlContext::attribute);
    out += r.isExternal ? "\" TargetMode=\"External\"/>" : "\"/>";
}

// The writer's relationship part with `extra` added (or a new one).
std::string withRelationships(std::string written, const std::vector<const CarriedRelationship*>& extra,
                              std::string_view fromPart) {
    if (extra.empty()) return written;
    std::string added;
    for (const CarriedRelationship* r : extra)
        appendRelationship(added, *r, fromPart);
    if (written.empty())
        return std::string(kDeclaration) + std::string(kRelationshipsOpen) + added + "</Relationships>";
    return insertBeforeRootEnd(std::move(written), added);
}

std::vector<const CarriedRelationship*> all(const std::vector<CarriedRelationship>& list) {
    std::vector<const CarriedRelationship*> out;
    for (const CarriedRelationship& r : list)
        out.push_back(&r);
    return out;
}

} // namespace

RemainderWriter::RemainderWriter(const PackageRemainder& remainder, const std::vector<Sheet>& sheets)
    : remainder_(remainder), sheets_(sheets) {
    if (remainder.empty()) return;
    std::map<std::string, const CarriedPart*> byPath;
    for (const CarriedPart& part : remainder.parts)
        byPath.emplace(part.path, &part);
    std::set<std::string> seen;
    std::deque<const CarriedRelationship*> queue;
    auto follow = [&](const std::vector<CarriedRelationship>& list) {
        for (const CarriedRelationship& r : list)
            if (!r.isExternal) queue.push_back(&r);
    };
    for (size_t i = 0; i < sheets.size(); ++i)
        if (const CarriedLinks* links = linksOf(i)) follow(links->relationships);
    follow(remainder.workbook.relationships);
    follow(remainder.package.relationships);
    while (!queue.empty()) {
        const CarriedRelationship* r = queue.front();
        queue.pop_front();
        auto part = byPath.find(r->target);
        if (part == byPath.end() || !seen.insert(r->target).second) continue;
        reached_.push_back(part->second);
        follow(part->second->relationships);
    }
}

const CarriedLinks* RemainderWriter::linksOf(size_t sheet) const {
    if (sheet >= sheets_.size()) return nullptr;
    auto it = remainder_.sheets.find(sheets_[sheet].id);
    return it == remainder_.sheets.end() ? nullptr : &it->second;
}

const CarriedPart* RemainderWriter::carriedDrawing(size_t sheet) const {
    const CarriedLinks* links = linksOf(sheet);
    if (!links) return nullptr;
    for (const CarriedRelationship& r : links->relationships) {
        if (r.isExternal || !isKind(r, "drawing")) continue;
        for (const CarriedPart* part : reached_)
            if (part->path == r.target) return part;
    }
    return nullptr;
}

void RemainderWriter::addWorksheetElements(size_t sheet, WorksheetLinks& links) const {
    const CarriedLinks* carried = linksOf(sheet);
    if (!carried) return;
    for (const std::string& element : carried->elements) {
        std::string_view local = elementLocalName(element);
        if (local == "drawing") {
            if (!links.drawing) links.carriedBeforeDrawings += element;
        } else if (local == "legacyDrawing") {
            if (!links.legacyDrawing) links.carriedAfterDrawings += element;
        } else if (comesBeforeDrawing(local)) {
            links.carriedBeforeDrawings += element;
        } else {
            links.carriedAfterDrawings += element;
        }
    }
}

std::string RemainderWriter::sheetRelationships(size_t sheet, std::string written, bool writerDraws,
                                                bool writerNotes, const std::string& sheetPath) const {
    const CarriedLinks* links = linksOf(sheet);
    if (!links) return written;
    std::vector<const CarriedRelationship*> extra;
    for (const CarriedRelationship& r : links->relationships) {
        if (writerDraws && isKind(r, "drawing")) continue;
        if (writerNotes && isKind(r, "vmlDrawing")) continue;
        extra.push_back(&r);
    }
    return withRelationships(std::move(written), extra, sheetPath);
}

std::string RemainderWriter::drawing(size_t sheet, std::string written) const {
    const CarriedPart* carried = carriedDrawing(sheet);
    if (!carried) return written;
    auto root = xml::rootChildren(written);
    if (!root) return *carried->bytes;
    xml::Namespaces scope = xml::namespaceDeclarations(root->rootStartTag);
    std::string anchors;
    for (const xml::ElementSpan& child : root->children)
        anchors += xml::selfContained(std::string_view(written).substr(child.begin, child.end - child.begin),
                                      scope, {});
    return insertBeforeRootEnd(*carried->bytes, anchors);
}

std::string RemainderWriter::drawingRelationships(size_t sheet, std::string written,
                                                  const std::string& drawingPath) const {
    const CarriedPart* carried = carriedDrawing(sheet);
    if (!carried) return written;
    return withRelationships(std::move(written), all(carried->relationships), drawingPath);
}

std::string RemainderWriter::contentTypes(std::string written, const std::vector<bool>& drawingSheets) const {
    std::set<const CarriedPart*> merged = mergedDrawings(drawingSheets);
    std::string added;
    for (const CarriedPart* part : reached_) {
        if (merged.count(part)) continue;
        added += "<Override PartName=\"/";
        appendXmlEscaped(added, part->path, XmlContext::attribute);
        added += "\" ContentType=\"";
        appendXmlEscaped(added, part->contentType, XmlContext::attribute);
        added += "\"/>";
    }
    return added.empty() ? written : insertBeforeRootEnd(std::move(written), added);
}

std::string RemainderWriter::packageRelationships(std::string written) const {
    return withRelationships(std::move(written), all(remainder_.package.relationships), "");
}

std::string RemainderWriter::workbook(std::string written) const {
    std::string added;
    for (const std::string& element : remainder_.workbook.elements)
        added += element;
    return added.empty() ? written : insertBeforeRootEnd(std::move(written), added);
}

std::string RemainderWriter::workbookRelationships(std::string written) const {
    return withRelationships(std::move(written), all(remainder_.workbook.relationships), "xl/workbook.xml");
}

std::set<const CarriedPart*> RemainderWriter::mergedDrawings(const std::vector<bool>& drawingSheets) const {
    std::set<const CarriedPart*> merged;
    for (size_t i = 0; i < drawingSheets.size(); ++i)
        if (drawingSheets[i])
            if (const CarriedPart* part = carriedDrawing(i)) merged.insert(part);
    return merged;
}

void RemainderWriter::addParts(ZipWriter& zip, const std::vector<bool>& drawingSheets) const {
    std::set<const CarriedPart*> merged = mergedDrawings(drawingSheets);
    for (const CarriedPart* part : reached_) {
        if (merged.count(part)) continue;
        try {
            zip.add(part->path, std::string_view(*part->bytes));
            if (!part->relationships.empty())
                zip.add(relationshipsPathFor(part->path),
                        withRelationships({}, all(part->relationships), part->path));
        } catch (const ArchiveError& e) {
            // Two parts of one name: the first one stays.
            Log::info("XLSX export left out a second part named " + part->path + ": " + e.what());
        }
    }
}

} // namespace sumora::xlsx
