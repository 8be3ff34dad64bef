#pragma once
// Which conditional formats apply to a cell. Rules are applied in list order
// and merged field by field, so later rules override earlier ones. Rules that
// compare a cell with its whole range (top N, averages, scales, duplicates)
// summarise the range once per evaluator, not once per cell.
//
// Formulas (expression rules, formula thresholds) are evaluated by the formula
// layer above the document: whoever builds the evaluator hands it a
// ConditionalFormulaNumber; without one, such rules match nothing.
#include <functional>
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

// The result of `formula`, written for the rule's top-left cell, evaluated as
// if it stood in `at`, read as a number (TRUE is 1); nothing for an
// error, a text or a formula that does not parse.
using ConditionalFormulaNumber = std::function<std::optional<double>(
    std::string_view formula, const ConditionalFormatRule& rule, CellPosition at)>;

// The icon an icon-set rule shows in a cell: `index` 0 is the set's first icon.
struct ConditionalIcon {
    IconSetStyle style = IconSetStyle::arrows3;
    int index = 0;
    bool showValue = true;
    bool operator==(const ConditionalIcon&) const = default;
};

// The bar colour of a data-bar rule of either kind.
std::optional<std::string> dataBarColor(const ConditionalRuleType& type);

class ConditionalFormatEvaluator {
  public:
    explicit ConditionalFormatEvaluator(const Sheet& sheet, ConditionalFormulaNumber formulas = {})
        : sheet_(sheet), formulas_(std::move(formulas)) {}

    // The merged format of every matching rule of the sheet at `at`.
    std::optional<ConditionalFormat> evaluate(CellPosition at);
    // Whether one rule matches, and the format it contributes there (colour
    // scales contribute their blended fill).
    std::optional<ConditionalFormat> evaluateRule(const ConditionalFormatRule& rule, CellPosition at);
    // For data-bar rules: the bar's length as a fraction 0…1 of the cell width.
    std::optional<double> dataBarFraction(const ConditionalFormatRule& rule, CellPosition at);
    // For icon-set rules: the icon of the cell, when it holds a number.
    std::optional<ConditionalIcon> icon(const ConditionalFormatRule& rule, CellPosition at);
    // The icon of the first icon-set rule of the sheet that gives one.
    std::optional<ConditionalIcon> icon(CellPosition at);

  private:
    struct RangeSummary {
        std::vector<double> sortedNumbers;
        double mean = 0;
        std::unordered_map<std::string, int> textCounts; // case-folded display text → occurrences
    };
    const RangeSummary& summary(const ConditionalFormatRule& rule);
    // Where a threshold lies among the rule's numbers; nothing when the
    // range has no numbers or a formula gives none.
    std::optional<double> thresholdValue(const ConditionalFormatRule& rule, const Threshold& threshold);
    std::optional<std::string> scaleColor(const ConditionalFormatRule& rule,
                                          const rule::CustomColorScale& scale, double number);
    bool formulaHolds(const ConditionalFormatRule& rule, const std::string& formula, CellPosition at);

    const Sheet& sheet_;
    ConditionalFormulaNumber formulas_;
    std::unordered_map<const ConditionalFormatRule*, RangeSummary> summaries_;
};

// One-shot form used by tools and tests.
std::optional<ConditionalFormat> evaluateConditionalFormats(const std::vector<ConditionalFormatRule>& rules,
                                                            CellPosition at, const Sheet& sheet,
                                                            const ConditionalFormulaNumber& formulas = {});

} // namespace sumora
