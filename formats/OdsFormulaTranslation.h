#pragma once
// Formulas between OpenDocument's notation and the engine's A1 notation.
//
// OpenDocument writes references in brackets with a dot before the cell
// ("[.A1]", "[.A1:.B3]", "[$'My Sheet'.$A$1]"), separates arguments with
// ";", writes booleans as the functions TRUE() and FALSE(), and marks the
// functions that came later to the other big spreadsheet family with a
// "COM.MICROSOFT." prefix. Both directions rewrite only those things and copy
// everything else, string literals included, character for character, so a
// formula neither side understands still travels unchanged.
#include <string>
#include <string_view>

namespace sumora::ods {

// The formula of a table:formula attribute without its namespace prefix: the
// first of "of:=", "of:" and "=" that matches is removed; other producers'
// prefixes ("oooc:=", "msoxl:=") are removed as well.
std::string_view stripFormulaPrefix(std::string_view attribute);

// OpenDocument formula text (prefix already removed) → engine formula text.
std::string formulaFromOpenFormula(std::string_view formula);

// Engine formula text (without "=") → OpenDocument formula text, to be
// written after "of:=".
std::string openFormulaFromFormula(std::string_view formula);

} // namespace sumora::ods
