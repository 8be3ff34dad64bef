#pragma once
// The common shape of an OpenDocument table cell, read straight from the
// bytes of the content part where the generic XML events would cost more
// than the cell itself:
//
//   cell      := "<" name attribute* ( "/>" | ">" content "</" name ">" )
//   name      := "table:table-cell" | "table:covered-table-cell"
//   attribute := prefix ":" local "=" quoted value        prefix: table | office | calcext
//   content   := ( blank | "<text:p/>" | "<text:p>" text "</text:p>" )*
//
// in the plain forms XmlElementCursor reads. Anything else (references,
// spans, spaces, links, annotations, text outside ASCII) is left to the
// generic events.
#include <array>
#include <cstddef>
#include <string_view>

namespace sumora::ods {

struct PlainCell {
    static constexpr std::size_t kMaxAttributes = 12;
    static constexpr std::size_t kMaxParagraphs = 8;

    bool covered = false; // a table:covered-table-cell
    std::size_t attributeCount = 0;
    // Qualified name, value, qualified name, value, ... with their lengths,
    // the form XmlAttributes reads.
    std::array<const char*, 2 * kMaxAttributes> pairs{};
    std::array<std::size_t, 2 * kMaxAttributes> lengths{};
    std::size_t paragraphCount = 0;
    std::array<std::string_view, kMaxParagraphs> paragraphs;
};

// Reads the cell element at the head of `data`; returns its length, or 0
// when it is not whole there or not of the plain shape.
std::size_t readPlainCell(const char* data, std::size_t size, PlainCell& cell);

} // namespace sumora::ods
