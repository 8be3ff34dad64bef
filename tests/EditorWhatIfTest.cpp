// Goal seek, the solver and scenarios: their results, every status text, and
// the cells they leave behind.
#include <gtest/gtest.h>

#include <array>

#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"
#include "engine/FormulaValue.h"
#include "tests/TestSupport.h"
#include "values/Log.h"
#include "values/StrictNumber.h"

namespace sumora {
namespace {

class WhatIf : public test::EditorTest {
  protected:
    void SetUp() override { Log::setEnabled(false); }
    void TearDown() override { Log::setEnabled(true); }

    double number(std::string_view address) {
        return parseStrictNumber(cell(address).displayValue()).value_or(-1);
    }

    std::string goalSeek(std::string set, std::string target, std::string changing) {
        return editor.performGoalSeek({std::move(set), std::move(target), std::move(changing)}).statusText;
    }
    void constrain(std::string ref, std::string op, std::string value = "") {
        SolverConstraint c;
        c.cellRef = std::move(ref);
        c.op = std::move(op);
        c.value = std::move(value);
        solver.constraints.push_back(std::move(c));
    }
    std::string solve() { return editor.runSolver(solver).statusText; }

    SolverRequest solver;
};

// ---- goal seek -------------------------------------------------------------------

TEST_F(WhatIf, GoalSeekFindsTheInputOfALinearFormula) {
    type("B1", "=A1*2");
    EXPECT_EQ(goalSeek("B1", "10", "A1"), "Found solution: 5.000000");
    EXPECT_NEAR(number("A1"), 5.0, 1e-8);
    EXPECT_NEAR(number("B1"), 10.0, 1e-8);
    EXPECT_EQ(editor.undoManager->undoActionName(), "Typing"); // the tool itself registers nothing
}

TEST_F(WhatIf, GoalSeekWritesTheValueAndKeepsAFormula) {
    type("A1", "=3");
    type("B1", "=A1+1");
    const std::string status = goalSeek("B1", "7", "A1");
    // The changing cell's formula wins over the value written beside it.
    EXPECT_EQ(*cell("A1").formula(), "3");
    EXPECT_EQ(status, "Approximate solution: 100000.000000 (may not be exact)");
}

TEST_F(WhatIf, GoalSeekRejectsInputsThatDoNotParse) {
    type("A1", "1");
    type("B1", "=A1*2");
    const std::vector<std::array<std::string, 3>> cases = {
        {"", "10", "A1"}, {"B1", "ten", "A1"}, {"B1", "10", "1A"}, {"B1", " 10", "A1"}, {"B1:B2", "10", "A1"},
    };
    for (const auto& [set, target, changing] : cases) {
        EXPECT_EQ(goalSeek(set, target, changing), "Invalid input. Use cell references like A1, B2.")
            << set << target;
        EXPECT_EQ(cell("A1").value(), "1");
    }
}

TEST_F(WhatIf, GoalSeekReportsCellsOutsideTheGrid) {
    type("B1", "=A1*2");
    EXPECT_EQ(goalSeek("B1", "10", "A501"), "Changing cell out of range.");
    EXPECT_EQ(goalSeek("AA1", "10", "A1"), "Target cell out of range.");
    // One round was written before the check, as the shortest decimal text.
    EXPECT_EQ(cell("A1").value(), "0.0");
}

TEST_F(WhatIf, GoalSeekOutsideTheBracketEndsApproximately) {
    type("B1", "=A1*2");
    EXPECT_EQ(goalSeek("B1", "1000000", "A1"), "Approximate solution: 100000.000000 (may not be exact)");
    EXPECT_NEAR(number("A1"), 100000.0, 1e-6);
}

TEST_F(WhatIf, GoalSeekOnAFallingFormulaMovesTheWrongWay) {
    type("B1", "=10-A1");
    EXPECT_EQ(goalSeek("B1", "4", "A1"), "Approximate solution: -100000.000000 (may not be exact)");
}

TEST_F(WhatIf, GoalSeekFollowsAChainOfFormulas) {
    type("B1", "=A1*A1");
    type("C1", "=B1+1");
    type("D1", "=C1*3");
    EXPECT_EQ(goalSeek("D1", "30", "A1"), "Found solution: 3.000000");
    EXPECT_NEAR(number("B1"), 9.0, 1e-8);
}

// ---- solver ------------------------------------------------------------------------

TEST_F(WhatIf, FormatSolverValueUsesShortFormOnlyForWholeNumbers) {
    const std::vector<std::pair<double, std::string>> cases = {
        {3.0, "3"},
        {-2.0, "-2"},
        {1.0 / 3.0, "0.333333"},
        {2.5, "2.500000"},
        {1e16, "10000000000000000.000000"},
        {1234567.0, "1.23457e+06"},
    };
    for (const auto& [number, text] : cases)
        EXPECT_EQ(SumoraEditorView::formatSolverValue(number), text) << number;
}

TEST_F(WhatIf, SolverMaximisesUnderUpperBounds) {
    type("C1", "=A1+B1");
    solver.objectiveCell = "C1";
    solver.goal = "max";
    solver.variableCells = "A1, B1";
    constrain("A1", "<=", "3");
    constrain("B1", "<=", "4");
    EXPECT_EQ(solve(), "Solution found. Objective = 7");
    EXPECT_EQ(shown("A1"), "3");
    EXPECT_EQ(shown("B1"), "4");
    EXPECT_EQ(shown("C1"), "7");
}

TEST_F(WhatIf, SolverMinimisesAndHonoursIntegerConstraints) {
    type("A1", "5");
    type("B1", "=(A1-1.3)*(A1-1.3)");
    solver.objectiveCell = "B1";
    solver.goal = "min";
    solver.variableCells = "A1,";
    constrain("A1", "int");
    constrain("Z9", "<=", "not a number"); // skipped
    const std::string status = solve();
    EXPECT_EQ(shown("A1"), "1");
    EXPECT_EQ(status, "Solution found. Objective = 0.090000");
}

TEST_F(WhatIf, SolverReachesATargetValue) {
    type("B1", "=A1*A1");
    solver.objectiveCell = "B1";
    solver.goal = "value";
    solver.targetValue = "9";
    solver.variableCells = "A1";
    EXPECT_EQ(solve(), "Solution found. Objective = 9");
    EXPECT_EQ(shown("A1"), "3");
}

TEST_F(WhatIf, SolverReportsTheBestWhenTheTargetIsOutOfReach) {
    type("B1", "=A1*0+5");
    solver.objectiveCell = "B1";
    solver.goal = "value";
    solver.targetValue = "9";
    solver.variableCells = "A1";
    EXPECT_EQ(solve(), "Best solution: objective = 5 (target was 9)");
}

TEST_F(WhatIf, SolverWithoutAFeasibleCandidateRestoresTheInputs) {
    type("A1", "0");
    type("B1", "=A1");
    solver.objectiveCell = "B1";
    solver.goal = "min";
    solver.variableCells = "A1";
    constrain("A1", ">=", "2.5");
    EXPECT_EQ(solve(), "No feasible solution found.");
    EXPECT_EQ(cell("A1").value(), "0");
    EXPECT_EQ(shown("B1"), "0");
}

TEST_F(WhatIf, SolverBinaryVariablesStayZeroOrOne) {
    type("C1", "=A1*3+B1*2");
    solver.objectiveCell = "C1";
    solver.variableCells = "A1,B1";
    constrain("A1", "bin");
    constrain("B1", "bin");
    EXPECT_EQ(solve(), "Solution found. Objective = 5");
}

TEST_F(WhatIf, SolverReportsBadReferences) {
    solver.objectiveCell = "C";
    EXPECT_EQ(solve(), "Invalid objective cell reference.");
    solver.objectiveCell = "C1";
    solver.variableCells = "A1, 2B ,B1";
    EXPECT_EQ(solve(), "Invalid variable cell: 2B");
}

// ---- scenarios -----------------------------------------------------------------------

TEST_F(WhatIf, ScenariosSaveApplyAndRestore) {
    type("A1", "100");
    type("A2", "0.05");
    type("B1", "=A1*A2");
    editor.saveScenario({"Base", "as planned", "A1, A2, A999, x", std::nullopt});
    ASSERT_EQ(doc.scenarios.size(), 1u);
    const Scenario saved = doc.scenarios[0];
    EXPECT_EQ(saved.changingCells, (std::map<std::string, std::string>{{"A1", "100"}, {"A2", "0.05"}}));
    EXPECT_EQ(saved.comment, "as planned");

    Scenario high;
    high.changingCells = {{"A1", "200"}, {"A2", "0.1"}, {"B900", "1"}};
    editor.applyScenario(high);
    EXPECT_EQ(shown("B1"), "20");
    EXPECT_EQ(editor.savedOriginalValues(),
              (std::map<std::string, std::string>{{"A1", "100"}, {"A2", "0.05"}}));

    editor.restoreOriginalValues();
    EXPECT_EQ(shown("B1"), "5");
    EXPECT_TRUE(editor.savedOriginalValues().empty());
    EXPECT_EQ(editor.undoManager->undoActionName(), "Typing");
}

TEST_F(WhatIf, SavingAnEditedScenarioReplacesItInPlace) {
    type("A1", "1");
    editor.saveScenario({"First", "", "A1", std::nullopt});
    editor.saveScenario({"Second", "", "A1", std::nullopt});
    ASSERT_EQ(doc.scenarios.size(), 2u);
    EXPECT_NE(doc.scenarios[0].id, doc.scenarios[1].id);

    type("A1", "2");
    const std::string editedId = doc.scenarios[0].id;
    editor.saveScenario({"First, revised", "", "A1", editedId});
    ASSERT_EQ(doc.scenarios.size(), 2u);
    EXPECT_EQ(doc.scenarios[0].name, "First, revised");
    EXPECT_EQ(doc.scenarios[0].id, editedId);
    EXPECT_EQ(doc.scenarios[0].changingCells.at("A1"), "2");
    EXPECT_EQ(doc.scenarios[1].name, "Second");
}

} // namespace
} // namespace sumora
