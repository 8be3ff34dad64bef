#pragma once
// Which conditional formats apply to a cell. Rules are applied in list order
// and merged field by field, so later rules override earlier ones. Rules that
// compare a cell with its whole range (top N, averages, scales, duplicates)
// summarise the range once per evaluator, not once per cell.
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "document/Sheet.h"
#include "document/WorkbookRecords.h"

namespace sumora {

// The numbers among the display texts of the rule's range, row-major (cells
// beyond the grid are left out; texts read as formulas read them).
std::vector<double> collectRangeNumbers(const ConditionalFormatRule& rule, const Sheet& sheet);

class ConditionalFormatEvaluator {
public:
    explicit ConditionalFormatEvaluator(const Sheet& sheet) : sheet_(sheet) {}

    // The merged format of every matching rule of the sheet at (col, row).
    std::optional<ConditionalFormat> evaluate(int64_t col, int64_t row);
    // Whether one rule matches, and the format it contributes there (colour
    // scales contribute their blended fill).
    std::optional<ConditionalFormat> evaluateRule(const ConditionalFormatRule& rule, int64_t col, int64_t row);
    // For data-bar rules: the bar's length as a fraction 0…1 of the cell width.
    std::optional<double> dataBarFraction(const ConditionalFormatRule& rule, int64_t col, int64_t row);

private:
    struct RangeSummary {
        std::vector<double> sortedNumbers;
        double mean = 0;
        std::unordered_map<std::string, int> textCounts; // case-folded display text → occurrences
    };
    const RangeSummary& summary(const ConditionalFormatRule& rule);

    const Sheet& sheet_;
    std::unordered_map<const ConditionalFormatRule*, RangeSummary> summaries_;
};

// One-shot form used by tools and tests.
std::optional<ConditionalFormat> evaluateConditionalFormats(const std::vector<ConditionalFormatRule>& rules,
                                                            int64_t col, int64_t row, const Sheet& sheet);

} // namespace sumora
