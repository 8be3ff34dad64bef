#pragma once
// The common shapes of OpenDocument table rows and cells, read straight from
// the bytes of the content part where the generic XML events would cost more
// than the cells themselves:
//
//   row       := "<table:table-row" attribute* blank* ">" cell* blank* "</table:table-row>"
//   cell      := blank* "<" name attribute* blank* ( "/>" | ">" content "</" name ">" )
//   name      := "table:table-cell" | "table:covered-table-cell"
//   attribute := blank+ prefix ":" [a-z-]+ "=" quoted value        prefix: table | office | calcext
//   content   := ( blank | "<text:p/>" | "<text:p>" text "</text:p>" )*
//
// blanks being spaces, tabs and line feeds, values and texts plain ASCII
// (XmlBytes.h: no reference, no control byte but tab and line feed in
// text). Anything else (references, spans, spaces, links, annotations, text
// outside ASCII) is left to the generic events. Whatever this takes is
// well-formed XML whose events would say the same.
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sumora::ods {

// What a cell's start tag says, gathered attribute by attribute by local
// name, however the tag was read.
struct CellTag {
    std::string_view valueType, value, formula, styleName;
    bool hasValueType = false, hasValue = false, hasFormula = false, hasStyle = false;
    std::optional<std::string_view> dateValue, booleanValue, stringValue;
    int64_t repeat = 1, spannedColumns = 1, spannedRows = 1, matrixColumns = 1, matrixRows = 1;

    // Defined with the content handler, whose limits the counts keep to.
    void add(std::string_view localName, std::string_view value);
};

struct PlainCell {
    static constexpr std::size_t kMaxAttributes = 12;
    static constexpr std::size_t kMaxParagraphs = 8;

    bool covered = false; // a table:covered-table-cell
    CellTag tag;
    std::size_t paragraphCount = 0;
    std::array<std::string_view, kMaxParagraphs> paragraphs;
};

// Reads the cell element at the head of `data`, after blanks; returns the
// length of both, or 0 when the cell is not whole there or not of the plain
// shape.
std::size_t readPlainCell(const char* data, std::size_t size, PlainCell& cell);

// A row's start tag, "<table:table-row" attribute* blank* ">", its
// attributes as the name/value pairs XmlAttributes reads.
struct PlainRowStart {
    std::size_t attributeCount = 0;
    std::array<const char*, 2 * PlainCell::kMaxAttributes> pairs{};
    std::array<std::size_t, 2 * PlainCell::kMaxAttributes> lengths{};
};

// The length of the plain row start tag at the head of `data`, or 0.
std::size_t readPlainRowStart(const char* data, std::size_t size, PlainRowStart& row);
// The length of blanks and "</table:table-row>" at the head of `data`, or 0.
std::size_t readPlainRowEnd(const char* data, std::size_t size);

} // namespace sumora::ods
