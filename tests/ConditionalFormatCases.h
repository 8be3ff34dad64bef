#pragma once
// One rule of every kind the model has, with every kind of threshold and
// formats that set each field on or off: what both file formats must keep.
#include <string>
#include <vector>

#include "document/WorkbookRecords.h"

namespace sumora::test {

inline ConditionalFormatRule makeRule(ConditionalRuleType type, ConditionalFormat format, int64_t startCol,
                                      int64_t startRow, int64_t endCol, int64_t endRow) {
    ConditionalFormatRule r;
    r.ruleType = std::move(type);
    r.format = std::move(format);
    r.startCol = startCol, r.startRow = startRow, r.endCol = endCol, r.endRow = endRow;
    return r;
}

inline Threshold formulaAt(std::string formula) {
    Threshold t = makeThreshold(ThresholdKind::formula);
    t.formula = std::move(formula);
    return t;
}

// Every kind of threshold, and one that the value must pass, not reach.
inline const std::vector<Threshold> fiveThresholds = {
    makeThreshold(ThresholdKind::percent, 0), makeThreshold(ThresholdKind::number, 2.5),
    makeThreshold(ThresholdKind::percentile, 50), formulaAt("$A$1"), [] {
        Threshold t = makeThreshold(ThresholdKind::max);
        t.inclusive = false;
        return t;
    }()};

inline std::vector<ConditionalFormatRule> everyRuleKind() {
    const ConditionalFormat red{"FFC7CE", "9C0006", true, std::nullopt};
    const ConditionalFormat italicOnly{std::nullopt, std::nullopt, std::nullopt, true};
    const ConditionalFormat notBold{std::nullopt, "1F497D", false, false};
    const ConditionalFormat fillOnly{"C6EFCE", std::nullopt, std::nullopt, std::nullopt};
    // Scales and bars paint by themselves and carry no format.
    return {
        makeRule(rule::GreaterThan{2.5}, red, 0, 0, 0, 9),
        makeRule(rule::LessThan{-1e-7}, italicOnly, 1, 1, 1, 1), // a single cell
        makeRule(rule::EqualTo{1234567.891}, notBold, 2, 0, 4, 99),
        makeRule(rule::Between{10, 20}, fillOnly, 0, 0, 3, 3),
        makeRule(rule::NotBetween{-5, 5.25}, red, 0, 0, 3, 3),
        makeRule(rule::TextContains{"a\"b&<c"}, red, 0, 0, 0, 5),
        makeRule(rule::TextNotContains{"draft"}, italicOnly, 0, 0, 0, 5),
        makeRule(rule::TextStartsWith{"Q1 "}, fillOnly, 0, 0, 0, 5),
        makeRule(rule::TextEndsWith{"%"}, notBold, 0, 0, 0, 5),
        makeRule(rule::TopN{3}, red, 5, 0, 5, 19),
        makeRule(rule::BottomN{7}, fillOnly, 5, 0, 5, 19),
        makeRule(rule::ColorScale2{"FFFFFF", "63BE7B"}, {}, 6, 0, 6, 19),
        makeRule(rule::ColorScale3{"F8696B", "FFEB84", "63BE7B"}, {}, 7, 0, 7, 19),
        makeRule(rule::DataBar{"638EC6"}, {}, 8, 0, 8, 19),
        makeRule(rule::DuplicateValues{}, red, 0, 0, 0, 49),
        makeRule(rule::UniqueValues{}, italicOnly, 0, 0, 0, 49),
        makeRule(rule::IsBlank{}, fillOnly, 16383, 1048575, 16383, 1048575), // the grid's last cell
        makeRule(rule::IsNotBlank{}, notBold, 0, 0, 2, 2),
        makeRule(rule::AboveAverage{}, red, 3, 3, 9, 9),
        makeRule(rule::BelowAverage{}, fillOnly, 3, 3, 9, 9),
        makeRule(rule::GreaterOrEqual{-0.5}, red, 0, 0, 0, 9),
        makeRule(rule::LessOrEqual{1e300}, italicOnly, 0, 0, 0, 9),
        makeRule(rule::NotEqualTo{0}, notBold, 0, 0, 0, 9),
        makeRule(rule::TopPercent{15}, red, 5, 0, 5, 19),
        makeRule(rule::BottomPercent{100}, fillOnly, 5, 0, 5, 19),
        makeRule(rule::Expression{"AND($A2>0,ISNUMBER(SEARCH(\"<&>\",B2)),TODAY()>1)"}, red, 1, 1, 4, 9),
        makeRule(rule::IconSet{IconSetStyle::quarters5, fiveThresholds, true, false}, {}, 2, 2, 2, 30),
        makeRule(rule::CustomColorScale{{{makeThreshold(ThresholdKind::number, -5), "FF0000"},
                                         {formulaAt("$B$1*2"), "FFFFFF"}}},
                 {}, 6, 0, 6, 19),
        makeRule(rule::CustomDataBar{"638EC6", makeThreshold(ThresholdKind::percentile, 10),
                                     makeThreshold(ThresholdKind::percent, 90)},
                 {}, 8, 0, 8, 19),
    };
}

} // namespace sumora::test
