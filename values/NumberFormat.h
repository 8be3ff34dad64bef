#pragma once
// Rendering of values through spreadsheet number-format codes: the TEXT
// function and the grid draw every number and text through here.
//
// A code has up to four sections separated by ";" (positive; negative; zero;
// text), each with optional [Color] and [condition] brackets. The dialect is
// the one users of common spreadsheets write: digit placeholders 0 # ?,
// grouping and scaling commas, %, E+00, fractions, "quoted" and \escaped
// literals, _x spacing, *x fill, @, dates and times (d m y h s, AM/PM,
// elapsed [h] [m] [s], fractional seconds) and "General". Rendering never
// fails: letters without a meaning are shown literally, and a code that cannot
// be read at all (unterminated quote or bracket, a dangling \ * _, more than
// four sections) shows numbers in General and texts unchanged, as does an
// empty code. Dates before serial 0 or after 9999-12-31 show as "########".
//
// Parsed codes are cached per thread, so rendering many cells with the same
// code parses it once.
#include <optional>
#include <string>
#include <string_view>

namespace sumora {

// A *x fill: `character` (one UTF-8 character) is repeated at byte `offset`
// of the text until the text fills the cell. TEXT() and other places without
// a width show the text without it.
struct FormatFill {
    std::string character;
    size_t offset = 0;

    bool operator==(const FormatFill&) const = default;
};

struct FormattedText {
    std::string text;
    // Six hexadecimal digits (upper case, no '#') when the chosen section
    // names a colour.
    std::optional<std::string> colorHex;
    // The section's first *x fill; further ones show nothing.
    std::optional<FormatFill> fill;

    bool operator==(const FormattedText&) const = default;
};

// A number through its section of the code. The negative section receives the
// absolute value; a negative number shown by a section meant for all values
// gets a leading "-".
FormattedText formatValue(double number, std::string_view formatCode);

// A text through the code's text section ("@" stands for the text); a code
// without a text section shows the text unchanged.
FormattedText formatText(std::string_view text, std::string_view formatCode);

// The General rendering: at most 11 characters besides the sign, switching to
// scientific notation when fixed notation would not fit or would keep too few
// significant digits (1234567890123 -> "1.23457E+12", 1/3 -> "0.333333333").
// Infinities and NaN, which no cell should hold, show as "#NUM!" under every
// code.
std::string formatGeneralNumber(double number);

// Whether the code's first section shows a date or a time, i.e. whether
// numbers under it are serial dates.
bool isDateTimeFormat(std::string_view formatCode);

} // namespace sumora
