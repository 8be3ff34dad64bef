#pragma once
// One worksheet part of an XLSX package, streamed into a Sheet: cells
// (constants, formulas with their cached results, styles), column widths,
// row heights, hidden rows and columns, outline levels, hyperlinks, frozen panes, the tab colour, merged
// cells, protection, data validations and conditional formats.
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/CellArea.h"
#include "formats/ReaderLimits.h"

namespace sumora {
class Sheet;
class ZipReader;
} // namespace sumora

namespace sumora::xlsx {

using sumora::kMaxStoredTextBytes;

class ColorResolver;
class SharedStringTable;
struct StyleTable;
struct Relationship;

struct WorksheetContext {
    const SharedStringTable* sharedStrings = nullptr; // nullptr when the table is unreadable
    const StyleTable* styles = nullptr;               // nullptr when the style sheet is unreadable
    const ColorResolver* colors = nullptr;
    // The workbook counts dates from 1904: numbers shown as dates are moved
    // to the 1900 count the model uses.
    bool date1904 = false;
    // Bytes of long texts and formulas stored so far, across the workbook's
    // sheets (a shared string repeated in many cells counts each time).
    std::atomic<int64_t>* storedTextBytes = nullptr;
    // The package the archive was opened from: a big worksheet is read in
    // two halves at once, the second through its own reader of these bytes.
    std::string_view packageBytes;
    // Parts at least this big (decompressed, as the archive declares) are
    // read in halves; tests lower it to exercise the split on small parts.
    uint64_t splitThreshold = uint64_t{8} << 20;
    // Counts the parts that were read in halves (for diagnostics and tests).
    int* partsReadInHalves = nullptr;
    // The worksheet's own relationships, which hyperlinks name by id.
    const std::vector<Relationship>* relationships = nullptr;
    // Receives one sentence per kind of thing the sheet's reading skipped
    // (for the document's droppedOnOpen); nullptr when nobody keeps them.
    std::vector<std::string>* dropped = nullptr;
};

// The largest grid a worksheet may address (XFD1048576).
inline constexpr int64_t kMaxRows = 1048576;
inline constexpr int64_t kMaxColumns = 16384;

// Streams the part at `path` into `sheet`, whose grid is then at least
// max(used, 500) rows × max(used, 26) columns. Throws ArchiveError when the
// part is missing or damaged and XmlError when it is not well-formed.
void readWorksheet(ZipReader& archive, std::string_view path, const WorksheetContext& context, Sheet& sheet);

// "AB12" → column 27, row 11 (zero-based); nothing for text that is not a
// plain A1 reference within the grid's limits.
std::optional<CellPosition> parseCellReference(std::string_view text);

// The ranges of a space-separated sqref list ("A1:B3 D5"), corners in
// order; pieces that are not references are skipped. At most `limit`.
std::vector<CellArea> parseSqref(std::string_view list, size_t limit);

// Formula text as the engine reads it: one leading "=" dropped and the
// "_xlfn." / "_xlws." / "_xlpm." prefixes that mark newer functions removed
// (outside string literals).
std::string importedFormula(std::string_view text);

// An ISO 8601 date or date-time (a cell of type "d") as a serial number text.
std::optional<std::string> serialTextFromIsoDate(std::string_view text);

} // namespace sumora::xlsx
