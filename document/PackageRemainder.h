#pragma once
// What an opened package held that the model does not describe (pivot
// tables, images, macros, custom XML, charts of kinds the model cannot
// hold…), kept byte for byte so that saving in the same format writes it
// back. Parts are linked to the sheet that owns them by the sheet's id, so
// renaming or moving a sheet keeps them and deleting it drops them. The
// bytes are shared, so copying a document (undo snapshots, saves on a
// worker thread) does not copy them.
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace sumora {

struct CarriedRelationship {
    std::string id;
    std::string type;
    // The path of a carried part inside the package, or the URL of an
    // external target.
    std::string target;
    bool isExternal = false;
};

struct CarriedPart {
    std::string path; // inside the package, no leading "/"
    std::string contentType;
    std::shared_ptr<const std::string> bytes;
    std::vector<CarriedRelationship> relationships;
};

// How an owner (a sheet, the workbook) refers to carried parts: its
// relationships, and the elements of its own XML that name them, each a
// self-contained fragment with its namespaces declared.
struct CarriedLinks {
    std::vector<CarriedRelationship> relationships;
    std::vector<std::string> elements;
    bool empty() const { return relationships.empty() && elements.empty(); }
};

struct PackageRemainder {
    std::vector<CarriedPart> parts;
    std::map<std::string, CarriedLinks> sheets; // by Sheet::id
    CarriedLinks workbook;
    CarriedLinks package; // the package's own relationships (custom properties…)

    bool empty() const { return parts.empty(); }
};

} // namespace sumora
