#pragma once
// What one cfRule element of a worksheet means in the model. Comparisons
// with bounds that are not plain numbers, and the rule types that carry their
// own test as a formula (errors, time periods), become expression rules that
// test the same thing; what the model cannot state at all is named, so the
// reader can say what it left out.
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "document/WorkbookRecords.h"

namespace sumora::xlsx {

// A cfvo element: where a breakpoint of a scale, bar or icon set lies.
struct ValueObject {
    std::string type;
    std::optional<std::string> val;
    bool gte = true;
};

// What one cfRule element says, before it is understood.
struct ConditionalRuleElement {
    std::string type, op;
    std::optional<std::string> text;
    std::optional<int64_t> priority, dxfId, rank;
    bool bottom = false, percent = false, above = true, equalAverage = false, deviations = false;
    std::vector<std::string> formulas;
    std::vector<std::optional<std::string>> colors;
    std::vector<ValueObject> valueObjects;
    std::string iconSet = "3TrafficLights1";
    bool reverse = false, showValue = true;
    bool damaged = false;
};

// The rule, or why there is none ("icon set '3Stars'").
using RuleReading = std::variant<ConditionalRuleType, std::string>;

// `topLeft` is the reference ("B2") of the cell formulas are written for.
RuleReading readRuleType(const ConditionalRuleElement& element, const std::string& topLeft);

} // namespace sumora::xlsx
