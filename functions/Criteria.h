#pragma once
// The criteria language of the conditional aggregates (SUMIF, COUNTIFS, …),
// the database functions and the editor's tools. A criterion is a text:
// ">=", "<=", ">", "<" followed by a strictly read number compare numerically;
// "<>" and "=" compare the value's text form exactly; anything else is a bare
// criterion that compares text forms ignoring case. There are no wildcards.
#include <optional>
#include <string>
#include <string_view>

#include "engine/FormulaValue.h"

namespace sumora {

// Whether `value` satisfies `criterion`. Parses the criterion on every call;
// loops over many values should compile it once with CompiledCriterion.
bool matchesCriteria(const FormulaValue& value, std::string_view criterion);

// A criterion parsed once, to be matched against many values without
// allocating per value.
class CompiledCriterion {
  public:
    explicit CompiledCriterion(std::string_view criterion);

    bool matches(const FormulaValue& value) const;

  private:
    enum class Op { greaterOrEqual, lessOrEqual, notEqual, greater, less, equal, bare };

    bool matchesText(std::string_view text) const;
    bool matchesNumber(double x) const;

    Op op_;
    // The operand text for "<>" and "="; lower-cased for a bare criterion.
    std::string operand_;
    // The number after a comparison operator; none when it does not read as
    // one, in which case nothing matches.
    std::optional<double> number_;
    // For text comparisons: whether any number's text form could equal the
    // operand (a text form always reads back as a number), so numbers that
    // cannot match skip formatting.
    bool operandReadsAsNumber_ = false;
    bool operandIsAscii_ = true;
    // Reused buffer for the text form of numbers and other non-text values.
    mutable std::string scratch_;
};

} // namespace sumora
