#pragma once
// The shared-string table of an XLSX package.
#include <string>
#include <string_view>
#include <vector>

namespace sumora {
class ZipReader;
}

namespace sumora::xlsx {

// The items in order; a rich-text item gives its runs' texts joined with
// nothing between them (phonetic guides are left out). Throws ArchiveError or
// XmlError.
std::vector<std::string> readSharedStrings(ZipReader& archive, std::string_view path);

} // namespace sumora::xlsx
