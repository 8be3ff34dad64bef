#pragma once
// Shifts the relative references in a formula's text when the formula is
// copied elsewhere (paste, fill): "$" parts stay, the others move by the
// distance between source and target, clamped at column A and row 1.
//
// It works on the text with one regular expression, deliberately blind to
// string literals and function names: any run of one to three capitals
// followed by digits moves, so with one row down LOG10(A1) becomes
// LOG11(A2), and lower-case references stay as they are.
#include <cstdint>
#include <string>
#include <string_view>

namespace sumora {

class FormulaAdjuster {
  public:
    // A leading "=" is kept; text without one is adjusted all the same.
    static std::string adjustReferences(std::string_view text, int64_t rowDelta, int64_t colDelta);
};

} // namespace sumora
