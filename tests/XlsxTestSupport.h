#pragma once
// Helpers for tests of written XLSX packages: the parts of a package by path,
// and cells filled by address.
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "document/ColumnLetters.h"
#include "document/Sheet.h"
#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"

namespace sumora::test {

struct Package {
    std::vector<std::string> paths; // in archive order
    std::map<std::string, std::string> parts;

    explicit Package(std::string_view bytes) {
        ZipReader zip(bytes);
        for (const ZipEntry& e : zip.entries()) {
            paths.push_back(e.path);
            parts[e.path] = zip.read(e.path);
        }
    }
    bool has(const std::string& path) const { return parts.count(path) > 0; }
    const std::string& operator[](const std::string& path) const {
        static const std::string missing;
        auto it = parts.find(path);
        return it == parts.end() ? missing : it->second;
    }
};

inline size_t occurrences(std::string_view text, std::string_view needle) {
    size_t n = 0;
    for (size_t at = text.find(needle); at != std::string_view::npos; at = text.find(needle, at + 1))
        ++n;
    return n;
}

// Throws XmlError when `xml` is not well-formed.
inline void parseXml(std::string_view xml) {
    XmlHandler ignore;
    XmlReader::parse(xml, ignore);
}

inline Cell& at(Sheet& sheet, std::string_view address) {
    auto p = parseCellAddress(address);
    return sheet.cellForWriting(p->row, p->col);
}

// A constant as the editor stores it.
inline void put(Sheet& sheet, std::string_view address, std::string_view text) {
    at(sheet, address).setValue(text);
}

// A formula with its last result.
inline void putFormula(Sheet& sheet, std::string_view address, std::string_view formula,
                       std::string_view result) {
    Cell& c = at(sheet, address);
    c.setFormula(formula);
    c.setComputedValue(result);
}

} // namespace sumora::test
