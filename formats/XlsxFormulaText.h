#pragma once
// Formula text as a worksheet stores it: without the leading "=", and with
// the prefixes that spreadsheet applications expect in front of functions
// newer than the file format's first edition (a file without them shows
// "#NAME?" there). Reading strips the same prefixes again.
#include <string>
#include <string_view>

namespace sumora::xlsx {

std::string exportedFormula(std::string_view formula);

} // namespace sumora::xlsx
