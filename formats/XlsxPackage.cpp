#include "formats/XlsxPackage.h"

#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"

namespace sumora::xlsx {

namespace {

class RelationshipsHandler : public XmlHandler {
  public:
    RelationshipsHandler(std::string_view sourcePart, std::vector<Relationship>& out)
        : sourcePart_(sourcePart), out_(out) {}

    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        if (name != "Relationship") return;
        Relationship r;
        r.id = std::string(attributes.get("Id").value_or(""));
        r.type = std::string(attributes.get("Type").value_or(""));
        r.isExternal = attributes.get("TargetMode").value_or("") == "External";
        std::string_view target = attributes.get("Target").value_or("");
        r.target = r.isExternal ? std::string(target) : resolveTarget(sourcePart_, target);
        out_.push_back(std::move(r));
    }

  private:
    std::string_view sourcePart_;
    std::vector<Relationship>& out_;
};

} // namespace

std::string readPart(ZipReader& archive, std::string_view path) {
    std::string bytes;
    archive.stream(path, [&](std::string_view chunk) { bytes.append(chunk); });
    return bytes;
}

std::string relationshipsPathFor(std::string_view partPath) {
    if (!partPath.empty() && partPath.front() == '/') partPath.remove_prefix(1);
    size_t slash = partPath.rfind('/');
    if (slash == std::string_view::npos) return "_rels/" + std::string(partPath) + ".rels";
    return std::string(partPath.substr(0, slash + 1)) + "_rels/" + std::string(partPath.substr(slash + 1)) +
           ".rels";
}

std::string resolveTarget(std::string_view sourcePart, std::string_view target) {
    std::string joined;
    std::string_view t = target;
    // Some producers write Windows separators.
    std::string normalized(t);
    for (char& c : normalized)
        if (c == '\\') c = '/';
    t = normalized;
    if (!t.empty() && t.front() == '/') {
        joined = std::string(t.substr(1));
    } else {
        size_t slash = sourcePart.rfind('/');
        if (slash != std::string_view::npos) joined = std::string(sourcePart.substr(0, slash + 1));
        if (!joined.empty() && joined.front() == '/') joined.erase(0, 1);
        joined += t;
    }
    std::vector<std::string_view> segments;
    std::string_view rest = joined;
    while (!rest.empty()) {
        size_t slash = rest.find('/');
        std::string_view segment = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (segment.empty() || segment == ".") continue;
        if (segment == "..") {
            if (!segments.empty()) segments.pop_back();
            continue;
        }
        segments.push_back(segment);
    }
    std::string path;
    for (std::string_view s : segments) {
        if (!path.empty()) path += '/';
        path += s;
    }
    return path;
}

std::vector<Relationship> readRelationships(ZipReader& archive, std::string_view partPath) {
    std::string relsPath = partPath.empty() ? std::string("_rels/.rels") : relationshipsPathFor(partPath);
    std::vector<Relationship> out;
    if (!archive.contains(relsPath)) return out;
    RelationshipsHandler handler(partPath, out);
    parseXmlEntry(archive, relsPath, handler);
    return out;
}

bool hasType(const Relationship& relationship, std::string_view kind) {
    std::string_view type = relationship.type;
    size_t slash = type.rfind('/');
    std::string_view last = slash == std::string_view::npos ? type : type.substr(slash + 1);
    return last == kind;
}

const Relationship* findRelationship(const std::vector<Relationship>& relationships, std::string_view kind) {
    for (const Relationship& r : relationships)
        if (!r.isExternal && hasType(r, kind)) return &r;
    return nullptr;
}

} // namespace sumora::xlsx
