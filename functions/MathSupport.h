#pragma once
// Numeric helpers of the math functions that other families reuse: the
// binomial coefficient, spreadsheet-style decimal rounding and Roman numerals.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sumora {

// A digit, code or radix argument as an int: truncated toward zero and
// clamped, so that absurd values stay absurd without overflowing.
int truncatedInt(double x, int limit = 1'000'000);

// n choose k as a double, for whole n and k; 0 when k is outside 0..n.
// Exact while the coefficient stays below 2^53, infinite on overflow.
double combinDouble(double n, double k);

// x reduced to the 15 significant decimal digits that spreadsheets carry,
// so that 0.3 / 0.1 is 3 again before it is floored or ceiled.
double approxValue(double x);
// Whole multiples that come out as 0.30000000000000004 are cut back to
// 15 digits; whole results are left as they are.
double snapMultiple(double x);

enum class RoundingDirection { nearest, awayFromZero, towardZero };

// x rounded to `digits` decimals (negative digits: tens, hundreds, ...),
// working on its 15-digit decimal form so that ROUND(2.675, 2) is 2.68 and
// not the 2.67 the binary value would give; ties go away from zero.
double roundDecimal(double x, int digits, RoundingDirection direction);

// `value` (0..3999) in Roman numerals; form 0 is the classic notation, forms
// 1 to 4 allow ever longer subtractive pairs (499: CDXCIX, LDVLIV, XDIX,
// VDIV, ID). 0 is the empty text.
std::string intToRoman(int value, int form = 0);
// The value of Roman numerals, read leniently (IIII is 4, IM is 999); blanks
// around the text are ignored and a leading "-" negates. Nothing when a
// character is not a Roman digit.
std::optional<int64_t> romanToInt(std::string_view text);

} // namespace sumora
