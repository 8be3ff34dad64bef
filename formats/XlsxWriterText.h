#pragma once
// Text helpers of the XLSX writer: numbers, cell references, colours and
// strings as the package's parts spell them. The hot ones (integers, cell
// references, string text) append to a caller's buffer so that a worksheet
// of millions of cells is built without temporaries.
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

#include "document/CellPosition.h"

namespace sumora::xlsx {

inline void appendInt(std::string& out, int64_t value) {
    char buffer[24];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, end);
}

// ` name="value"` with the value escaped for an attribute.
void appendAttribute(std::string& out, std::string_view name, std::string_view value);

// The shortest text that reads back as the same double; non-finite values,
// which the format cannot hold, are written as 0.
void appendXmlDouble(std::string& out, double value);
std::string xmlDouble(double value);

// "B7" for column 1, row 6 (zero-based); "$B$7" for the absolute form.
void appendCellRef(std::string& out, CellPosition at);
void appendAbsoluteRef(std::string& out, CellPosition at);
// "A1:C4", or "A1" when the range is one cell; corners are put in order.
std::string rangeRef(int64_t startCol, int64_t startRow, int64_t endCol, int64_t endRow);
// "$A$1:$C$4" (one cell: "$A$1").
std::string absoluteRangeRef(int64_t startCol, int64_t startRow, int64_t endCol, int64_t endRow);

// A sheet name as a formula names it: bare when it cannot be mistaken for
// anything else, otherwise in apostrophes with inner ones doubled.
std::string formulaSheetName(std::string_view name);

// Six hex digits for a model colour ("#1a2b3c", "1A2B3C", an ARGB
// "FF1A2B3C" or a short "abc"), in the case they were given so that a colour
// read from a file is written back unchanged; anything unreadable is black.
std::string hexColor(std::string_view text);

// True when a constant's text is written as a number: it passes the strict
// number rule and is also a decimal the format's number type can hold (no
// hexadecimal, infinity or "nan" spellings, nothing that overflows).
bool isXmlNumber(std::string_view text);

// True when writing the text as a number loses nothing: reading the number
// back and showing it gives the same text. "00123", "+5", "1.50", "1." and
// a 20-digit identifier fail, so cells holding them stay texts.
bool isExactNumberText(std::string_view text);

// `<element>text</element>` with the text escaped (formulas of rules).
void appendTextElement(std::string& out, std::string_view element, std::string_view text);
// A text as a formula's string literal: "a""b" for a"b.
std::string formulaStringLiteral(std::string_view text);

// Appends string content (shared strings, formula results, comments) as XML
// element text. Characters XML cannot carry become "_xHHHH_" escapes and a
// literal "_xHHHH_" in the text has its underscore escaped, which is how
// spreadsheet readers expect them.
void appendStringText(std::string& out, std::string_view text);
// Whether a text element needs xml:space="preserve" to keep its outer spaces.
bool needsSpacePreserve(std::string_view text);

} // namespace sumora::xlsx
