#include "formats/XlsxCarriedPaths.h"

#include <algorithm>
#include <array>

namespace sumora::xlsx {

namespace {

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
}

// Names the writer gives its parts (exactly, or as a prefix followed by a number).
constexpr std::array<std::string_view, 8> kWrittenExactly = {
    "[Content_Types].xml",  "docProps/app.xml", "docProps/core.xml", "xl/workbook.xml",
    "xl/sharedStrings.xml", "xl/styles.xml",    "_rels/.rels",       "xl/_rels/workbook.xml.rels"};
constexpr std::array<std::string_view, 5> kWrittenNumbered = {
    "xl/worksheets/", "xl/drawings/drawing", "xl/drawings/vmlDrawing", "xl/charts/chart", "xl/comments"};

} // namespace

std::string carriedPartPath(std::string_view path) {
    bool taken = false;
    for (std::string_view name : kWrittenExactly)
        taken = taken || (path.size() == name.size() && startsWithIgnoringCase(path, name));
    for (std::string_view prefix : kWrittenNumbered)
        taken = taken || startsWithIgnoringCase(path, prefix);
    if (!taken) return std::string(path);
    size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return "carried/" + std::string(path);
    return std::string(path.substr(0, slash + 1)) + "carried/" + std::string(path.substr(slash + 1));
}

std::string relativeTarget(std::string_view from, std::string_view to) {
    size_t fromSlash = from.rfind('/');
    std::string_view fromDir =
        fromSlash == std::string_view::npos ? std::string_view() : from.substr(0, fromSlash + 1);
    // Shared leading folders.
    size_t common = 0;
    for (size_t i = 0; i < fromDir.size() && i < to.size() && fromDir[i] == to[i]; ++i)
        if (fromDir[i] == '/') common = i + 1;
    std::string out;
    for (size_t i = common; i < fromDir.size(); ++i)
        if (fromDir[i] == '/') out += "../";
    out += to.substr(common);
    return out;
}

} // namespace sumora::xlsx
