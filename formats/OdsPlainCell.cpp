#include "formats/OdsPlainCell.h"

#include "formats/XmlElementCursor.h"

namespace sumora::ods {

namespace {

constexpr std::string_view kCell = "table:table-cell";
constexpr std::string_view kCoveredCell = "table:covered-table-cell";

// The prefixes producers use for a cell's attributes; other names, namespace
// declarations among them, are left to the generic events.
bool isCellAttributeName(std::string_view name) {
    return name.starts_with("table:") || name.starts_with("office:") || name.starts_with("calcext:");
}

} // namespace

std::size_t readPlainCell(const char* data, std::size_t size, PlainCell& cell) {
    XmlElementCursor in(data, size);
    cell.covered = !in.startTag(kCell);
    if (cell.covered && !in.startTag(kCoveredCell)) return 0;
    const std::string_view element = cell.covered ? kCoveredCell : kCell;

    cell.attributeCount = 0;
    std::string_view name, value;
    while (in.attribute(name, value)) {
        if (cell.attributeCount == PlainCell::kMaxAttributes || !isCellAttributeName(name)) return 0;
        std::size_t k = 2 * cell.attributeCount;
        for (std::size_t other = 0; other < k; other += 2)
            if (name == std::string_view(cell.pairs[other], cell.lengths[other])) return 0;
        cell.pairs[k] = name.data();
        cell.lengths[k] = name.size();
        cell.pairs[k + 1] = value.data();
        cell.lengths[k + 1] = value.size();
        ++cell.attributeCount;
    }
    bool empty = false;
    if (!in.tagEnd(empty)) return 0;
    cell.paragraphCount = 0;
    if (empty) return in.consumed();

    for (;;) {
        in.skipBlanks();
        if (in.endTag(element)) return in.consumed();
        if (cell.paragraphCount == PlainCell::kMaxParagraphs || !in.startTag("text:p") || !in.tagEnd(empty))
            return 0;
        std::string_view& paragraph = cell.paragraphs[cell.paragraphCount++];
        paragraph = {};
        if (!empty && (!in.text(paragraph) || !in.endTag("text:p"))) return 0;
    }
}

} // namespace sumora::ods
