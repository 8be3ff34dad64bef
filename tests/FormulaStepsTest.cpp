// The evaluate-formula steps: formula → each computed part, as it reads in
// the formula at that moment, with its value. The values are those of the
// operators' and functions' definitions over the small book below.
#include "engine/FormulaSteps.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "engine/Recalculation.h"

namespace sumora {
namespace {

// Sheet1: A1 5, A2 3, B1 =A1+1, C1 "x"; Data: A1 =2*2.
test::TestBook stepsBook() {
    test::TestBook book;
    book.set("A1", "5").set("A2", "3").set("B1", "=A1+1").set("C1", "x");
    book.addSheet("Data");
    book.set("A1", "=2*2", 1);
    recalculateWorkbook(book.doc, builtinFunctions());
    return book;
}

// "part → value | …", the parts as the expression reads before each step.
std::string describe(const FormulaSteps& s) {
    std::string out;
    for (const FormulaStep& step : s.steps)
        out += (out.empty() ? "" : " | ") + std::string(step.part()) + " → " + step.value;
    return out;
}

TEST(FormulaSteps, InnermostFirstInEvaluationOrder) {
    const struct {
        const char* formula;
        const char* steps;
        const char* result;
    } cases[] = {
        {"=1+2*3", "2*3 → 6 | 1+6 → 7", "7"},
        {"=(1+2)*3", "(1+2) → 3 | 3*3 → 9", "9"},
        {"=A1*2+B1", "A1 → 5 | 5*2 → 10 | B1 → 6 | 10+6 → 16", "16"},
        {"=-A1%", "A1 → 5 | -5 → -5 | -5% → -0.05", "-0.05"},
        {"=A1&\" \"&C1", "A1 → 5 | 5&\" \" → \"5 \" | C1 → \"x\" | \"5 \"&\"x\" → \"5 x\"", "\"5 x\""},
        // The branch IF does not take is never computed, so it is no step.
        {"=IF(A1>3,\"big\",1/0)", "A1 → 5 | 5>3 → TRUE | IF(TRUE,\"big\",1/0) → \"big\"", "\"big\""},
        // A range argument is read by the function, not shown as a value.
        {"=SUM(A1:A2, 4)/2", "SUM(A1:A2, 4) → 12 | 12/2 → 6", "6"},
        {"=1/0+1", "1/0 → #DIV/0! | #DIV/0!+1 → #DIV/0!", "#DIV/0!"},
        {"=C9+1", "C9 → (empty) | (empty)+1 → 1", "1"},
        {"=Data!A1*2", "Data!A1 → 4 | 4*2 → 8", "8"},
        {"=SEQUENCE(2,2)", "SEQUENCE(2,2) → {1,2;3,4}", "{1,2;3,4}"},
        {"=SEQUENCE(1,20)", "SEQUENCE(1,20) → {1,2,3,4,5,6,7,8,9,10,11,12…}",
         "{1,2,3,4,5,6,7,8,9,10,11,12…}"},
        {"=TRUE()", "", "TRUE"},
        // Quotes inside a text value are doubled, as a formula writes them.
        {"=\"say \"\"hi\"\"\"&\"\"", "\"say \"\"hi\"\"\"&\"\" → \"say \"\"hi\"\"\"", "\"say \"\"hi\"\"\""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.formula);
        test::TestBook book = stepsBook();
        book.set("D1", c.formula);
        FormulaSteps s = formulaSteps(book.doc, 0, {3, 0}, builtinFunctions());
        EXPECT_EQ(s.formula, c.formula);
        EXPECT_EQ(describe(s), c.steps);
        EXPECT_EQ(s.result, c.result);
        EXPECT_TRUE(s.failure.empty());
    }
}

TEST(FormulaSteps, ExpressionShowsEarlierValuesInPlace) {
    test::TestBook book = stepsBook();
    book.set("D1", "=ROUND(A1/A2, 1) * (A2 + 1)");
    FormulaSteps s = formulaSteps(book.doc, 0, {3, 0}, builtinFunctions());
    std::vector<std::string> expressions;
    for (const FormulaStep& step : s.steps)
        expressions.push_back(step.expression);
    EXPECT_EQ(expressions, (std::vector<std::string>{
                               "=ROUND(A1/A2, 1) * (A2 + 1)",
                               "=ROUND(5/A2, 1) * (A2 + 1)",
                               "=ROUND(5/3, 1) * (A2 + 1)",
                               "=ROUND(1.6666666666666667, 1) * (A2 + 1)",
                               "=1.7 * (A2 + 1)",
                               "=1.7 * (3 + 1)",
                               "=1.7 * 4",
                           }));
    EXPECT_EQ(s.result, "6.8");
}

TEST(FormulaSteps, ReferencesToFormulasCanBeSteppedInto) {
    test::TestBook book = stepsBook();
    book.set("D1", "=A1+B1+Data!A1");
    FormulaSteps s = formulaSteps(book.doc, 0, {3, 0}, builtinFunctions());
    ASSERT_EQ(s.steps.size(), 5u);
    EXPECT_FALSE(s.steps[0].stepIn); // A1 holds a constant
    EXPECT_EQ(s.steps[1].stepIn, (StepTarget{0, 1, 0}));
    EXPECT_EQ(s.steps[3].stepIn, (StepTarget{1, 0, 0}));
    FormulaSteps inner = formulaSteps(book.doc, 1, {0, 0}, builtinFunctions());
    EXPECT_EQ(describe(inner), "2*2 → 4");
}

TEST(FormulaSteps, CellsWithoutAWorkingFormulaGiveNoSteps) {
    test::TestBook book = stepsBook();
    book.set("D1", "=1+");
    FormulaSteps broken = formulaSteps(book.doc, 0, {3, 0}, builtinFunctions());
    EXPECT_TRUE(broken.steps.empty());
    EXPECT_EQ(broken.failure, "#ERROR: Unexpected end of formula");
    FormulaSteps constant = formulaSteps(book.doc, 0, {2, 0}, builtinFunctions());
    EXPECT_TRUE(constant.steps.empty());
    EXPECT_EQ(constant.result, "x");
    EXPECT_TRUE(formulaSteps(book.doc, 7, {0, 0}, builtinFunctions()).steps.empty());
    EXPECT_TRUE(formulaSteps(book.doc, 0, {-1, 0}, builtinFunctions()).steps.empty());
}

} // namespace
} // namespace sumora
