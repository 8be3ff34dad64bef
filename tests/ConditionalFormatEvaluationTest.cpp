#include <gtest/gtest.h>

#include "document/ConditionalFormatEvaluation.h"
#include "document/SumoraDocument.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

ConditionalFormatRule ruleOver(ConditionalRuleType type, std::string fill = "FF0000") {
    ConditionalFormatRule r;
    r.ruleType = std::move(type);
    r.format.fillColor = std::move(fill);
    r.startCol = 0;
    r.endCol = 0;
    r.startRow = 0;
    r.endRow = 4;
    return r;
}

Sheet columnOf(std::vector<std::string> texts) {
    Sheet s = SumoraDocument::makeNewSheet("S");
    for (size_t i = 0; i < texts.size(); ++i) {
        if (texts[i].empty()) continue;
        Cell& c = s.cellForWriting(static_cast<int64_t>(i), 0);
        c.setValue(texts[i]);
        c.setComputedValue(texts[i]);
    }
    return s;
}

struct Case {
    const char* name;
    ConditionalRuleType type;
    std::vector<bool> matches; // per row 0..4 of column A = 10, 20, 30, apple, (empty)
};

TEST(ConditionalFormats, EachRuleTypeMatchesTheCellsUsersExpect) {
    Sheet sheet = columnOf({"10", "20", "30", "Apple pie", ""});
    const std::vector<Case> cases = {
        {"greaterThan", rule::GreaterThan{15}, {false, true, true, false, false}},
        {"lessThan", rule::LessThan{15}, {true, false, false, false, false}},
        {"equalTo", rule::EqualTo{20}, {false, true, false, false, false}},
        {"between inclusive", rule::Between{20, 30}, {false, true, true, false, false}},
        {"notBetween", rule::NotBetween{20, 30}, {true, false, false, false, false}},
        {"contains ignores case", rule::TextContains{"PIE"}, {false, false, false, true, false}},
        {"notContains", rule::TextNotContains{"pie"}, {true, true, true, false, true}},
        {"startsWith", rule::TextStartsWith{"app"}, {false, false, false, true, false}},
        {"endsWith", rule::TextEndsWith{"0"}, {true, true, true, false, false}},
        {"top 2", rule::TopN{2}, {false, true, true, false, false}},
        {"bottom 1", rule::BottomN{1}, {true, false, false, false, false}},
        {"blank", rule::IsBlank{}, {false, false, false, false, true}},
        {"not blank", rule::IsNotBlank{}, {true, true, true, true, false}},
        {"above average", rule::AboveAverage{}, {false, false, true, false, false}},
        {"below average", rule::BelowAverage{}, {true, false, false, false, false}},
        {"at least", rule::GreaterOrEqual{20}, {false, true, true, false, false}},
        {"at most", rule::LessOrEqual{20}, {true, true, false, false, false}},
        {"unequal: a text differs, a blank is nothing",
         rule::NotEqualTo{20},
         {true, false, true, true, false}},
        {"top 50% of three is one", rule::TopPercent{50}, {false, false, true, false, false}},
        {"bottom 10% of three is still one", rule::BottomPercent{10}, {true, false, false, false, false}},
        {"bottom 100%", rule::BottomPercent{100}, {true, true, true, false, false}},
    };
    for (const auto& c : cases) {
        auto rule = ruleOver(c.type);
        for (int64_t row = 0; row < 5; ++row) {
            bool matched = evaluateConditionalFormats({rule}, {0, row}, sheet).has_value();
            EXPECT_EQ(matched, c.matches[static_cast<size_t>(row)]) << c.name << " row " << row;
        }
    }
}

TEST(ConditionalFormats, DuplicatesCompareDisplayTextsIgnoringCase) {
    Sheet sheet = columnOf({"a", "A", "b", "", ""});
    auto dup = ruleOver(rule::DuplicateValues{});
    auto uni = ruleOver(rule::UniqueValues{});
    EXPECT_TRUE(evaluateConditionalFormats({dup}, {0, 0}, sheet));
    EXPECT_FALSE(evaluateConditionalFormats({dup}, {0, 2}, sheet));
    EXPECT_TRUE(evaluateConditionalFormats({uni}, {0, 2}, sheet));
    EXPECT_FALSE(evaluateConditionalFormats({uni}, {0, 3}, sheet)) << "blank cells are neither";
}

TEST(ConditionalFormats, ColorScalesBlendByPositionInRange) {
    Sheet sheet = columnOf({"0", "50", "100", "", ""});
    auto two = ruleOver(rule::ColorScale2{"000000", "FFFFFF"});
    EXPECT_EQ(evaluateConditionalFormats({two}, {0, 0}, sheet)->fillColor, "000000");
    EXPECT_EQ(evaluateConditionalFormats({two}, {0, 1}, sheet)->fillColor, "7F7F7F");
    EXPECT_EQ(evaluateConditionalFormats({two}, {0, 2}, sheet)->fillColor, "FFFFFF");
    auto three = ruleOver(rule::ColorScale3{"FF0000", "FFFF00", "00FF00"});
    EXPECT_EQ(evaluateConditionalFormats({three}, {0, 1}, sheet)->fillColor, "FFFF00");
    EXPECT_EQ(evaluateConditionalFormats({three}, {0, 2}, sheet)->fillColor, "00FF00");
}

TEST(ConditionalFormats, LaterRulesOverrideEarlierOnesFieldByField) {
    Sheet sheet = columnOf({"10"});
    auto first = ruleOver(rule::GreaterThan{0}, "111111");
    first.format.isBold = true;
    auto second = ruleOver(rule::GreaterThan{5}, "222222");
    auto merged = evaluateConditionalFormats({first, second}, {0, 0}, sheet);
    ASSERT_TRUE(merged);
    EXPECT_EQ(merged->fillColor, "222222");
    EXPECT_EQ(merged->isBold, true);
}

TEST(ConditionalFormats, DataBarsGiveAFractionNotAFill) {
    Sheet sheet = columnOf({"0", "50", "100"});
    ConditionalFormatEvaluator eval(sheet);
    auto bar = ruleOver(rule::DataBar{"638EC6"});
    EXPECT_FALSE(eval.evaluateRule(bar, {0, 1}));
    EXPECT_DOUBLE_EQ(*eval.dataBarFraction(bar, {0, 1}), 0.5);
    EXPECT_EQ(collectRangeNumbers(bar, sheet), (std::vector<double>{0, 50, 100}));
}

Threshold passing(Threshold t) {
    t.inclusive = false;
    return t;
}

// An icon set shows icon i when the value reaches threshold i (passes it, for
// a threshold that is not inclusive); reversed sets count from the other end.
TEST(ConditionalFormats, IconSetsPickTheHighestThresholdReached) {
    using K = ThresholdKind;
    const std::vector<std::string> values = {"0", "32", "33", "66", "67", "100", "text"};
    struct IconCase {
        const char* name;
        rule::IconSet set;
        std::vector<int> icons; // per value; -1: none
    };
    const std::vector<IconCase> cases = {
        {"percent",
         {IconSetStyle::arrows3,
          {makeThreshold(K::percent, 0), makeThreshold(K::percent, 33), makeThreshold(K::percent, 67)}},
         {0, 0, 1, 1, 2, 2, -1}},
        {"greater than, not equal",
         {IconSetStyle::arrows3,
          {makeThreshold(K::percent, 0), passing(makeThreshold(K::number, 33)),
           passing(makeThreshold(K::number, 67))}},
         {0, 0, 0, 1, 1, 2, -1}},
        {"reversed",
         {IconSetStyle::flags3,
          {makeThreshold(K::min), makeThreshold(K::number, 33), makeThreshold(K::number, 67)},
          true},
         {2, 2, 1, 1, 0, 0, -1}},
        // Percentiles of 0, 32, 33, 66, 67, 100: the 50th lies between 33 and 66.
        {"percentile",
         {IconSetStyle::rating4,
          {makeThreshold(K::min), makeThreshold(K::percentile, 50), makeThreshold(K::percentile, 80),
           makeThreshold(K::max)}},
         {0, 0, 0, 1, 2, 3, -1}},
    };
    Sheet sheet = SumoraDocument::makeNewSheet("S");
    for (size_t i = 0; i < values.size(); ++i) {
        sheet.cellForWriting(static_cast<int64_t>(i), 0).setValue(values[i]);
    }
    for (const IconCase& c : cases) {
        ConditionalFormatRule rule = ruleOver(c.set);
        rule.endRow = static_cast<int64_t>(values.size()) - 1;
        ConditionalFormatEvaluator eval(sheet);
        for (size_t i = 0; i < values.size(); ++i) {
            auto icon = eval.icon(rule, {0, static_cast<int64_t>(i)});
            EXPECT_EQ(icon ? icon->index : -1, c.icons[i]) << c.name << " at " << values[i];
        }
    }
}

// Breakpoints placed by number, percent and percentile: colours blend between
// neighbouring stops and hold beyond the outer ones; bars fill between theirs.
TEST(ConditionalFormats, PlacedBreakpointsScaleColoursAndBars) {
    using K = ThresholdKind;
    Sheet sheet = columnOf({"-10", "50", "150", "75", "100"});
    auto scale = ruleOver(rule::CustomColorScale{{{makeThreshold(K::number, 0), "000000"},
                                                  {makeThreshold(K::percent, 50), "FF0000"},
                                                  {makeThreshold(K::number, 100), "FFFFFF"}}});
    // 50% of the way from -10 to 150 is 70.
    const std::vector<std::string> fills = {"000000", "B60000", "FFFFFF", "FF2A2A", "FFFFFF"};
    for (int64_t row = 0; row < 5; ++row)
        EXPECT_EQ(evaluateConditionalFormats({scale}, {0, row}, sheet)->fillColor,
                  fills[static_cast<size_t>(row)])
            << "row " << row;

    ConditionalFormatEvaluator eval(sheet);
    auto bar = ruleOver(
        rule::CustomDataBar{"638EC6", makeThreshold(K::number, 50), makeThreshold(K::percentile, 100)});
    EXPECT_DOUBLE_EQ(*eval.dataBarFraction(bar, {0, 0}), 0.0);
    EXPECT_DOUBLE_EQ(*eval.dataBarFraction(bar, {0, 3}), 0.25);
    EXPECT_DOUBLE_EQ(*eval.dataBarFraction(bar, {0, 2}), 1.0);
    // A formula threshold without the formula layer places nothing.
    Threshold f = makeThreshold(K::formula);
    f.formula = "A1";
    EXPECT_FALSE(
        eval.dataBarFraction(ruleOver(rule::CustomDataBar{"638EC6", f, makeThreshold(K::max)}), {0, 1}));
}

// A rule and a formula read a cell's text as the same number, by C strtod's
// rule in the POSIX locale over the whole text: a sign, a trailing point,
// hexadecimal and out-of-range exponents are numbers; surrounding space is not.
TEST(ConditionalFormats, ReadCellTextsAsFormulasDo) {
    const std::vector<std::pair<const char*, bool>> overMinusOne = {
        {"5", true},    {"+5", true},      {"5.", true},  {".5", true},  {"1e999", true}, {"1e-999", true},
        {"0x10", true}, {"-1e999", false}, {" 5", false}, {"5 ", false}, {"5,0", false},  {"five", false},
    };
    for (const auto& [text, expected] : overMinusOne) {
        test::TestBook book;
        book.set("A1", text);
        auto rule = ruleOver(rule::GreaterThan{-1});
        EXPECT_EQ(evaluateConditionalFormats({rule}, {0, 0}, book.doc.sheets[0]).has_value(), expected)
            << text;
        EXPECT_EQ(book.eval("=IFERROR(A1+0>-1,FALSE)"), expected ? "TRUE" : "FALSE") << text;
    }
}

} // namespace
} // namespace sumora
