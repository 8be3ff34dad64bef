// The criteria language: operator prefixes, strict numbers, text-form
// comparison and its two case rules, and no wildcards.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"
#include "functions/Criteria.h"

namespace sumora {
namespace {

struct MatchCase {
    FormulaValue value;
    const char* criterion;
    bool expected;
};

void expectMatches(const std::vector<MatchCase>& cases) {
    for (const MatchCase& c : cases) {
        SCOPED_TRACE("value '" + c.value.description() + "', criterion '" + c.criterion + "'");
        EXPECT_EQ(matchesCriteria(c.value, c.criterion), c.expected);
        // The compiled form must agree with the one-shot form, value after value.
        CompiledCriterion compiled(c.criterion);
        EXPECT_EQ(compiled.matches(c.value), c.expected);
        EXPECT_EQ(compiled.matches(c.value), c.expected);
    }
}

FormulaValue text(const char* s) {
    return FormulaValue::text(s);
}
FormulaValue number(double x) {
    return FormulaValue::number(x);
}

TEST(Criteria, BareCriterionIgnoresCase) {
    expectMatches({
        {text("abc"), "abc", true},
        {text("ABC"), "abc", true},
        {text("Abc"), "aBC", true},
        {text("abcd"), "abc", false},
        {text("ÄBC"), "äbc", true},
        {text("äbc"), "ÄBC", true},
        {text("ab"), "äb", false},
    });
}

TEST(Criteria, EqualsAndNotEqualsCompareTextFormsExactly) {
    expectMatches({
        {text("abc"), "=abc", true},
        {text("ABC"), "=abc", false},
        {text("ÄBC"), "=äbc", false},
        {text("ABC"), "<>abc", true},
        {text("abc"), "<>abc", false},
        // No numeric reading: the number 5.5 differs from 5, the text 5.0 too.
        {number(5), "<>5", false},
        {number(5.5), "<>5", true},
        {text("5.0"), "<>5", true},
        {number(5), "=5", true},
        {number(5), "=5.0", false},
        // "=" is tested after "<>", ">" and "<": "=>5" wants the text ">5".
        {text(">5"), "=>5", true},
        {number(6), "=>5", false},
    });
}

TEST(Criteria, ComparisonsNeedAStrictNumberAfterTheOperator) {
    expectMatches({
        {number(5), ">=5", true},
        {number(5), ">5", false},
        {number(5), "<=5", true},
        {number(4.9), "<5", true},
        {number(5), ">= 5", false},
        {number(5), "> 5", false},
        {number(5), ">=5 ", false},
        {number(5), ">=", false},
        {number(1000), ">=1e3", true},
        {text("abc"), ">=abc", false},
        // Values are read as numbers: numeric text and booleans take part,
        // other text does not.
        {text("10"), ">9", true},
        {text("5.0"), ">=5", true},
        {text("abc"), "<5", false},
        {FormulaValue::boolean(true), ">=1", true},
        {FormulaValue::error(ErrorKind::divisionByZero), "<5", false},
    });
}

TEST(Criteria, StarAndQuestionMarkAreLiteral) {
    expectMatches({
        {text("a*"), "a*", true},
        {text("A*"), "a*", true},
        {text("abc"), "a*", false},
        {text("ab"), "a?", false},
        {text("a?"), "=a?", true},
        {text("~"), "~", true},
    });
}

TEST(Criteria, NumbersMatchThroughTheirTextForm) {
    expectMatches({
        {number(1000000), "1e+06", true},
        {number(1000000), "1E+06", true},
        {number(1000000), "1000000", false},
        {number(1000000), "=1e+06", true},
        {number(1234567), "1.23457e+06", true},
        {number(0.5), "0.5", true},
        {number(0.5), ".5", false},
        {number(12), "abc", false},
        {text("12"), "12", true},
    });
}

TEST(Criteria, EmptyValueIsTheEmptyTextAndTheNumberZero) {
    FormulaValue empty = FormulaValue::empty();
    expectMatches({
        {empty, "", true},
        {empty, "=", true},
        {empty, "0", false},
        {empty, ">=0", true},
        {empty, "<>", false},
        {text("x"), "<>", true},
        {text("x"), "", false},
    });
}

TEST(Criteria, BooleansMatchTheirUpperCaseTextForm) {
    FormulaValue yes = FormulaValue::boolean(true);
    expectMatches({
        {yes, "true", true},
        {yes, "TRUE", true},
        {yes, "=TRUE", true},
        {yes, "=true", false},
        {yes, "1", false},
        {FormulaValue::boolean(false), "false", true},
    });
}

TEST(Criteria, ConditionalFunctionsFollowTheLanguage) {
    test::TestBook book;
    book.set("A1", "ABC").set("A2", "abc").set("A3", "7");
    book.set("B1", "ABC").set("B2", "abc").set("B3", "Abc");
    book.set("C1", "a*").set("C2", "A*").set("C3", "abc");
    book.set("D1", "5").set("D2", "5.5").set("D3", "5.0");
    book.set("E1", "1").set("E2", "2").set("E3", "3");
    book.set("F1", "TRUE").set("F2", "true").set("F3", "FALSE");
    const std::vector<test::FormulaCase> cases = {
        // The texts match but hold no number; 7 does not match.
        {"=SUMIF(A1:A3,\"abc\")", "0"},
        {"=COUNTIF(B1:B3,\"=abc\")", "1"},
        {"=COUNTIF(B1:B3,\"abc\")", "3"},
        {"=COUNTIF(C1:C3,\"a*\")", "2"},
        {"=COUNTIF(D1:D3,\">= 5\")", "0"},
        {"=COUNTIF(D1:D3,\">=5\")", "3"},
        // The cell 5.0 reads as the number 5, whose text form is 5.
        {"=COUNTIF(D1:D3,\"<>5\")", "1"},
        // A number criterion is its text form.
        {"=COUNTIF(D1:D3,5)", "2"},
        {"=SUMIF(D1:D3,\"5\",E1:E3)", "4"},
        {"=COUNTIF(F1:F3,\"true\")", "2"},
        {"=COUNTIF(F1:F3,TRUE)", "2"},
        {"=COUNTIF(G1:G3,\"\")", "3"},
        {"=COUNTIF(G1:G3,\"0\")", "0"},
        {"=COUNTIF(G1:G3,\">=0\")", "3"},
        {"=SUMIF(A1:A3)", "#VALUE!"},
        {"=COUNTIF(A1:A3)", "#VALUE!"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(Criteria, SumIfSkipsMatchesBeyondAShortSumRange) {
    test::TestBook book;
    for (int i = 1; i <= 4; ++i)
        book.set("A" + std::to_string(i), "x").set("B" + std::to_string(i), std::to_string(i * 10));
    EXPECT_EQ(book.eval("=SUMIF(A1:A4,\"x\",B1:B2)"), "30");
    EXPECT_EQ(book.eval("=SUMIF(A1:A2,\"x\",B1:B4)"), "30");
}

} // namespace
} // namespace sumora
