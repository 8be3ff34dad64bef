#pragma once
// One worksheet part ("xl/worksheets/sheetN.xml"), with numbers and
// references formatted by hand: a big sheet's part is tens of megabytes and
// this is the hot path of saving. The text is deflated in pieces on the
// other cores while the rows are written, so it is never held whole.
#include <optional>
#include <string>
#include <vector>

#include "formats/DeflatePieces.h"

namespace sumora {
class Sheet;
}

namespace sumora::xlsx {

class SharedStringTable;
class StylesWriter;

// Relationship ids of the sheet's other parts, when it has them.
struct WorksheetLinks {
    std::optional<std::string> drawing;       // the charts
    std::optional<std::string> legacyDrawing; // the comments' note shapes
    std::vector<std::string> hyperlinks;      // one per hyperlink with an address, in the sheet's order
    // Elements kept from the opened file that go before and after the two
    // above (see XlsxRemainderWriter), in the format's order.
    std::string carriedBeforeDrawings, carriedAfterDrawings;
};

// Deflated at `level`, or at `smallPartLevel` when it stays under a piece
// (see PieceDeflater).
DeflatedPart deflatedWorksheet(const Sheet& sheet, SharedStringTable& strings, StylesWriter& styles,
                               const WorksheetLinks& links, int level, int smallPartLevel);

} // namespace sumora::xlsx
