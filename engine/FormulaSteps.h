#pragma once
// One formula's evaluation as the steps a person can follow: every part that
// is computed (a reference, an operator, a function call, a sign or percent),
// innermost first, in the order the evaluator computes them, each with the
// formula as it reads just before the step (earlier parts replaced by their
// values) and the value the part gives. Literals and ranges passed to
// functions are not steps. Branches a function skips (IF's other branch) are
// not steps either, and a part evaluated more than once (a LAMBDA body) is
// shown only through the call around it.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"
#include "engine/FormulaValue.h"

namespace sumora {

class FunctionRegistry;

// A cell of the workbook that holds a formula of its own.
struct StepTarget {
    size_t sheet = 0;
    int64_t col = 0, row = 0;
    bool operator==(const StepTarget&) const = default;
};

struct FormulaStep {
    std::string expression;    // "=…" as it reads before the step
    size_t begin = 0, end = 0; // the part computed now: bytes [begin, end) of `expression`
    std::string value;         // what the part gives, as stepValueText shows it
    // A reference to a cell whose own formula can be followed ("step in").
    std::optional<StepTarget> stepIn;

    std::string_view part() const { return std::string_view(expression).substr(begin, end - begin); }
};

struct FormulaSteps {
    std::string formula;            // "=…" as written
    std::vector<FormulaStep> steps; // in evaluation order
    std::string result;             // the final value, as stepValueText shows it
    std::string failure;            // the parser's message when the formula does not parse
    bool truncated = false;         // more than kMaxFormulaSteps parts were computed
};

inline constexpr size_t kMaxFormulaSteps = 2000;

// A value as a step shows it: numbers and booleans as cells show them, text
// in double quotes, errors by their text, arrays as {1,2;3,4} (long ones
// cut with "…"), an empty cell as "(empty)".
std::string stepValueText(const FormulaValue& value);

// The steps of the formula in the given cell, read against the workbook as it
// stands (other cells contribute their computed texts). A cell without a
// formula gives no steps and its own text as the result.
FormulaSteps formulaSteps(const SumoraDocument& document, size_t sheet, CellPosition at,
                          const FunctionRegistry& registry);

} // namespace sumora
