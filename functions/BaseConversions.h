#pragma once
// The numeral conversions of the math family: BASE, DECIMAL, the
// engineering conversions between binary, octal, decimal and hexadecimal,
// and Roman numerals. registerMathFunctions registers them.
#include "engine/FormulaValue.h"

namespace sumora {

class FunctionContext;

// BASE(number, radix, [min_length])
FormulaValue baseFunction(FunctionContext& c);
// DECIMAL(text, radix)
FormulaValue decimalFunction(FunctionContext& c);
// DEC2BIN, BIN2HEX, HEX2OCT, ... with `from` and `to` among 2, 8, 10, 16:
// (number or digits, [places]).
FormulaValue convertRadix(FunctionContext& c, int from, int to);
// ROMAN(number, [form]): 0..3999, form 0 (classic) to 4 (simplest); else "#VALUE!".
FormulaValue romanFunction(FunctionContext& c);
// ARABIC(text): Roman numerals to a number; an empty text is 0.
FormulaValue arabicFunction(FunctionContext& c);

} // namespace sumora
