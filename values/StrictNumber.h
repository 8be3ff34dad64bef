#pragma once
// How a text reads as a number, the one rule for every layer: a formula
// operand, a conditional format's cell, a chart's data and an entry all read
// a cell's text the same way.
#include <optional>
#include <string_view>

namespace sumora {

// The number a text spells, read as C strtod reads it in the POSIX locale,
// consuming the whole text; leading white space or an empty text gives none.
std::optional<double> parseStrictNumber(std::string_view text);

} // namespace sumora
