#pragma once
// Cell comments of a worksheet: the legacy comments part that the sheet's
// relationships name (threaded comments are written there too, as text).
#include <map>
#include <string>
#include <string_view>

namespace sumora {
class ZipReader;
}

namespace sumora::xlsx {

// Comment text per cell address ("B7"), read from the comments part of the
// worksheet at `sheetPath`; empty when the sheet has none. References that
// are not cell addresses are skipped. Throws XmlError or ArchiveError.
std::map<std::string, std::string> readComments(ZipReader& archive, std::string_view sheetPath);

} // namespace sumora::xlsx
