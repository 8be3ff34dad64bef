#pragma once
// Built-ins of the text family that live outside TextFunctions.cpp, which
// registers them: conversions between numbers and text (TextConversion.cpp)
// and splitting at delimiters (TextSplitting.cpp).
#include <optional>
#include <string_view>

#include "engine/FunctionContext.h"

namespace sumora::textfn {

FormulaValue text(FunctionContext& c);
FormulaValue value(FunctionContext& c);
FormulaValue numberValue(FunctionContext& c);
FormulaValue fixed(FunctionContext& c);
FormulaValue dollar(FunctionContext& c);
FormulaValue valueToText(FunctionContext& c);
FormulaValue arrayToText(FunctionContext& c);

FormulaValue textBefore(FunctionContext& c);
FormulaValue textAfter(FunctionContext& c);
FormulaValue textSplit(FunctionContext& c);

// The number a text spells as a user would type it: surrounding blanks,
// a sign or parentheses for negatives, "$", thousands commas and a trailing
// "%" are allowed ("1,234", "(5)", "$5", "50%"); so are dates and times.
std::optional<double> parseNumberText(std::string_view text);

} // namespace sumora::textfn
