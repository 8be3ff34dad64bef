#pragma once
// The style sheet of an XLSX package, reduced to what cells use: one
// interned CellFormat (and the protection flag) per cell format record, and
// the differential formats that conditional rules refer to.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/CellFormat.h"
#include "document/WorkbookRecords.h"

namespace sumora::xlsx {

class ColorResolver;

struct StyleTable {
    // Indexed by a cell's `s` attribute; nullptr is the default format.
    std::vector<const CellFormat*> formats;
    // Cell format records whose protection says locked="0".
    std::vector<bool> unlocked;
    // Cell format records whose number format shows a date or time.
    std::vector<bool> dated;
    // Indexed by a conditional rule's `dxfId`.
    std::vector<ConditionalFormat> differentialFormats;

    const CellFormat* format(size_t index) const { return index < formats.size() ? formats[index] : nullptr; }
    bool isUnlocked(size_t index) const { return index < unlocked.size() && unlocked[index]; }
    bool isDated(size_t index) const { return index < dated.size() && dated[index]; }
};

// Parses the text of the styles part. Colours are resolved with `colors`,
// whose palette the part may redefine. Throws XmlError on malformed XML.
StyleTable readStyles(std::string_view stylesXml, ColorResolver& colors);

// The raw font colours: the part's text is cut into the pieces from each
// "<font>" to the next "</font>", and the n-th piece gives font n the value of
// its first rgb="…" (ARGB reduced to six digits), if it has one.
std::vector<std::optional<std::string>> rawFontColors(std::string_view stylesXml);

} // namespace sumora::xlsx
