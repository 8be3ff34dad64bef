#pragma once
// The package structure of an XLSX file: relationship parts and the paths
// they point to. Relationship types are compared by their last segment, so
// the transitional and the strict namespaces read alike.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {
class ZipReader;
}

namespace sumora::xlsx {

struct Relationship {
    std::string id;
    std::string type;   // as written
    std::string target; // resolved to a path inside the package (no leading "/")
    bool isExternal = false;
};

// A part's bytes, gathered as they come out of the archive: unlike
// ZipReader::read nothing is reserved from the size the archive declares,
// which a damaged or hostile package may state far too large.
std::string readPart(ZipReader& archive, std::string_view path);

// "xl/worksheets/sheet1.xml" → "xl/worksheets/_rels/sheet1.xml.rels".
std::string relationshipsPathFor(std::string_view partPath);

// A relationship target resolved against the part that names it: absolute
// targets ("/xl/…") start at the package root, relative ones at the part's
// folder; "." and ".." segments are folded.
std::string resolveTarget(std::string_view sourcePart, std::string_view target);

// The relationships of `partPath` ("" for the package's own "_rels/.rels").
// A missing relationship part gives an empty list; malformed XML throws
// XmlError.
std::vector<Relationship> readRelationships(ZipReader& archive, std::string_view partPath);

// True when the relationship type's last segment is `kind` ("worksheet",
// "sharedStrings", "comments", …).
bool hasType(const Relationship& relationship, std::string_view kind);

// The first internal relationship of that kind, if any.
const Relationship* findRelationship(const std::vector<Relationship>& relationships, std::string_view kind);

} // namespace sumora::xlsx
