// The editor's data tools: sort, automatic filter, find and replace, text to
// columns and removal of duplicate rows, with undo where they register it.
#include <gtest/gtest.h>

#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"
#include "tests/TestSupport.h"
#include "values/Log.h"

namespace sumora {
namespace {

class DataTools : public test::EditorTest {
  protected:
    void SetUp() override { Log::setEnabled(false); }
    void TearDown() override { Log::setEnabled(true); }

    // Types one column's texts from row 1 down.
    void column(std::string_view letters, const std::vector<std::string>& texts) {
        for (size_t i = 0; i < texts.size(); ++i)
            type(std::string(letters) + std::to_string(i + 1), texts[i]);
    }
    std::vector<std::string> shownColumn(std::string_view letters, size_t rows) {
        std::vector<std::string> out;
        for (size_t i = 0; i < rows; ++i)
            out.push_back(shown(std::string(letters) + std::to_string(i + 1)));
        return out;
    }
    std::vector<std::string> matchAddresses() {
        std::vector<std::string> out;
        for (const CellPosition& p : editor.findResult().matches)
            out.push_back(cellAddress(p));
        return out;
    }
    Sheet& sheet() { return doc.sheets[0]; }

    FindRequest find; // the find bar's fields
};

using Texts = std::vector<std::string>;

// ---- sorting -----------------------------------------------------------------------

TEST_F(DataTools, SortComparesNumbersNumericallyAndTextsIgnoringCase) {
    struct Case {
        Texts input;
        bool ascending;
        Texts expected;
    };
    const Case cases[] = {
        {{"10", "9", "100"}, true, {"9", "10", "100"}},
        {{"10", "9", "100"}, false, {"100", "10", "9"}},
        {{"banana", "Cherry", "apple"}, true, {"apple", "banana", "Cherry"}},
        {{"b", "", "a"}, true, {"", "a", "b"}},
        {{"b", "", "a"}, false, {"b", "a", ""}},
        {{"x", "10", "9"}, true, {"9", "10", "x"}},
        {{"2.5", "-1", "1e1"}, true, {"-1", "2.5", "1e1"}},
    };
    for (const Case& c : cases) {
        SumoraDocument fresh;
        SumoraEditorView e(fresh);
        for (size_t i = 0; i < c.input.size(); ++i)
            e.setCellValue({0, static_cast<int64_t>(i)}, c.input[i]);
        e.activeCell = CellPosition{0, 1};
        e.sortColumn(c.ascending);
        Texts got;
        for (size_t i = 0; i < c.input.size(); ++i)
            got.emplace_back(fresh.sheets[0].cell(static_cast<int64_t>(i), 0).displayValue());
        EXPECT_EQ(got, c.expected) << "input " << ::testing::PrintToString(c.input);
    }
}

TEST_F(DataTools, SortMovesWholeRowsAndLeavesHeaderAmongTheData) {
    column("A", {"Name", "b", "a"});
    column("B", {"Score", "2", "1"});
    editor.activeCell = at("A2");
    editor.sortColumn(true);
    EXPECT_EQ(shownColumn("A", 3), (Texts{"a", "b", "Name"}));
    EXPECT_EQ(shownColumn("B", 3), (Texts{"1", "2", "Score"}));
}

TEST_F(DataTools, SortKeepsFormulaTextsAndRecalculatesTheMovedCells) {
    column("A", {"3", "1"});
    type("B1", "=A1*10");
    type("B2", "=A2*10");
    editor.activeCell = at("A1");
    editor.sortColumn(true);
    // Rows moved, formulas were not rewritten: each now reads the other row.
    EXPECT_EQ(*sheet().cell(0, 1).formula(), "A2*10");
    EXPECT_EQ(shown("B1"), "30");
    EXPECT_EQ(shown("B2"), "10");
    // The kept calculator saw the move: an edit reaches the right formula.
    type("A2", "7");
    EXPECT_EQ(shown("B1"), "70");
}

TEST_F(DataTools, SortIsOneUndoableStep) {
    column("A", {"c", "a", "b"});
    type("D1", "=A2");
    editor.activeCell = at("A1");
    const size_t before = editor.undoManager->undoCount();
    editor.sortColumn(false);
    EXPECT_EQ(editor.undoManager->undoCount(), before + 1);
    EXPECT_EQ(editor.undoManager->undoActionName(), "Sort");
    EXPECT_EQ(shownColumn("A", 3), (Texts{"c", "b", "a"}));
    EXPECT_EQ(shown("D1"), "b");

    editor.undoManager->undo();
    EXPECT_EQ(shownColumn("A", 3), (Texts{"c", "a", "b"}));
    EXPECT_EQ(shown("D1"), "a");
    editor.undoManager->redo();
    EXPECT_EQ(shownColumn("A", 3), (Texts{"c", "b", "a"}));
    EXPECT_EQ(shown("D1"), "b");
}

TEST_F(DataTools, SortOfASelectedBlockLeavesTheRowsOutsideIt) {
    column("A", {"Item", "b", "c", "a", "Total"});
    column("B", {"Price", "2", "3", "1", "6"});
    editor.selection = SelectionRange{0, 0, 1, 3};
    editor.activeCell = at("B1");
    editor.performMultiSort({{{1, false}}, true});
    EXPECT_EQ(shownColumn("A", 5), (Texts{"Item", "c", "b", "a", "Total"}));
    editor.selection = SelectionRange{0, 1, 0, 2};
    editor.sortColumn(true);
    EXPECT_EQ(shownColumn("A", 5), (Texts{"Item", "b", "c", "a", "Total"}));
}

TEST_F(DataTools, MultiSortBreaksTiesWithTheNextKeyAndKeepsTheHeader) {
    column("A", {"K", "x", "y", "x", "y", "x"});
    column("B", {"V", "1", "2", "3", "1", "1"});
    column("C", {"id", "r1", "r2", "r3", "r4", "r5"});
    editor.performMultiSort({{{0, true}, {1, false}}, true});
    EXPECT_EQ(shownColumn("C", 6), (Texts{"id", "r3", "r1", "r5", "r2", "r4"}));
    EXPECT_EQ(editor.undoManager->undoActionName(), "Sort");

    // One key: rows that tie keep their present order.
    editor.performMultiSort({{{0, false}}, true});
    EXPECT_EQ(shownColumn("C", 6), (Texts{"id", "r2", "r4", "r3", "r1", "r5"}));
}

// ---- automatic filter ----------------------------------------------------------------

TEST_F(DataTools, FilterMatchesExactTextsOfEveryFilteredColumn) {
    column("A", {"apple", "Apple", "pear", ""});
    column("B", {"1", "1", "2", "1"});
    struct Case {
        bool enabled;
        std::map<int64_t, std::set<std::string>> allowed;
        int64_t row;
        bool visible;
    };
    const Case cases[] = {
        {false, {{0, {"pear"}}}, 0, true},
        {true, {}, 0, true},
        {true, {{0, {"apple"}}}, 0, true},
        {true, {{0, {"apple"}}}, 1, false}, // case matters
        {true, {{0, {"apple", "Apple"}}, {1, {"2"}}}, 1, false},
        {true, {{0, {"pear"}}, {1, {"2"}}}, 2, true},
        {true, {{0, {}}, {1, {"1"}}}, 2, false}, // an empty set places no condition
        {true, {{0, {""}}}, 3, true},
        {true, {{0, {"pear"}}}, 600, true}, // beyond the sheet
    };
    for (const Case& c : cases) {
        editor.autoFilter = {c.enabled, c.allowed};
        EXPECT_EQ(editor.filteredRowVisible(c.row), c.visible) << "row " << c.row;
    }
}

// ---- find --------------------------------------------------------------------------

TEST_F(DataTools, FindHonoursItsFourOptions) {
    type("A1", "Apple");
    type("B1", "apple pie");
    type("A2", "=SUM(B2:B3)");
    type("B2", "5");
    type("B3", "APPLE");
    type("C3", "École");
    struct Case {
        std::string text;
        bool matchCase, entire, inFormulas, regex;
        Texts expected;
    };
    const Case cases[] = {
        {"apple", false, false, false, false, {"A1", "B1", "B3"}},
        {"apple", true, false, false, false, {"B1"}},
        {"apple", false, true, false, false, {"A1", "B3"}},
        {"Apple", true, true, false, false, {"A1"}},
        {"pie", true, true, false, false, {}},
        {"SUM", false, false, true, false, {"A2"}},
        {"SUM", false, false, false, false, {}},
        {"5", false, false, false, false, {"A2", "B2"}}, // the formula's result and the constant
        {"b2", false, false, true, false, {"A2"}},
        {"^app", false, false, false, true, {"A1", "B1", "B3"}},
        {"^app", true, false, false, true, {"B1"}},
        {"p+le?", false, true, false, true, {}},
        {"a.*e", false, true, false, true, {"A1", "B1", "B3"}},
        {"(", false, false, false, true, {}},
        {"éCOLE", false, true, false, false, {"C3"}},
        {"COL", false, false, false, false, {"C3"}},
    };
    for (const Case& c : cases) {
        const FindResult& result =
            editor.performFind({c.text, "", c.matchCase, c.entire, c.inFormulas, c.regex});
        EXPECT_EQ(matchAddresses(), c.expected) << "searching " << c.text;
        EXPECT_EQ(result.statusText,
                  c.expected.empty() ? "No matches" : "1 of " + std::to_string(c.expected.size()))
            << "searching " << c.text;
    }
}

TEST_F(DataTools, FindWithEmptyTextSearchesNothing) {
    type("A1", "x");
    const FindResult& result = editor.performFind(find);
    EXPECT_TRUE(result.matches.empty());
    EXPECT_EQ(result.statusText, "");
}

TEST_F(DataTools, FindNextAndPreviousWrapAround) {
    column("A", {"k1", "k2", "k3"});
    find.findText = "k";
    editor.performFind(find);
    EXPECT_EQ(editor.activeCell, at("A1"));
    editor.findNext(find);
    EXPECT_EQ(editor.findNext(find).statusText, "3 of 3");
    EXPECT_EQ(editor.findNext(find).statusText, "1 of 3");
    EXPECT_EQ(editor.findPrevious(find).statusText, "3 of 3");
    EXPECT_EQ(editor.activeCell, at("A3"));
}

// ---- replace ----------------------------------------------------------------------

TEST_F(DataTools, ReplaceCurrentRewritesOneCellAndMovesOn) {
    column("A", {"red apple", "Apple", "pear"});
    find.findText = "apple";
    find.replaceText = "plum";
    editor.performFind(find);
    EXPECT_EQ(editor.replaceCurrentMatch(find).statusText, "1 of 1");
    EXPECT_EQ(shownColumn("A", 3), (Texts{"red plum", "Apple", "pear"}));
    EXPECT_EQ(editor.activeCell, at("A2"));
    EXPECT_EQ(editor.replaceCurrentMatch(find).statusText, "No matches");
    EXPECT_EQ(shown("A2"), "plum");

    editor.undoManager->undo();
    EXPECT_EQ(shown("A2"), "Apple");
}

TEST_F(DataTools, ReplaceAllIsOneUndoStepAndRecalculates) {
    column("A", {"x5", "x7", "y"});
    type("B1", "=A1*2");
    type("B2", "=A1+A2");
    find.findText = "X";
    const size_t before = editor.undoManager->undoCount();
    editor.replaceAllMatches(find);
    EXPECT_EQ(shownColumn("A", 3), (Texts{"5", "7", "y"}));
    EXPECT_EQ(shown("B1"), "10");
    EXPECT_EQ(shown("B2"), "12");
    EXPECT_EQ(editor.undoManager->undoCount(), before + 1);
    EXPECT_EQ(editor.undoManager->undoActionName(), "Replace All");

    editor.undoManager->undo();
    EXPECT_EQ(shownColumn("A", 2), (Texts{"x5", "x7"}));
    EXPECT_EQ(shown("B1"), "#VALUE!");
    editor.undoManager->redo();
    EXPECT_EQ(shownColumn("A", 2), (Texts{"5", "7"}));
    EXPECT_EQ(shown("B2"), "12");
}

TEST_F(DataTools, ReplaceRewritesFormulasOnlyWhenSearchingInFormulas) {
    column("A", {"1", "2", "3"});
    type("B1", "=SUM(A1:A2)");
    type("C1", "3");
    find.findText = "3";
    find.replaceText = "4";
    editor.replaceAllMatches(find);
    // B1 shows 3 but holds a formula: its result is not rewritten.
    EXPECT_EQ(*sheet().cell(0, 1).formula(), "SUM(A1:A2)");
    EXPECT_EQ(shown("C1"), "4");
    EXPECT_EQ(shown("A3"), "4");

    find.findText = "A2";
    find.replaceText = "A3";
    find.searchInFormulas = true;
    editor.replaceAllMatches(find);
    EXPECT_EQ(*sheet().cell(0, 1).formula(), "SUM(A1:A3)");
    EXPECT_EQ(shown("B1"), "7");
}

TEST_F(DataTools, ReplaceKeepsCaseRulesAndExpandsRegexGroups) {
    type("A1", "Apple apple APPLE");
    type("A2", "2024-05-01");
    find.findText = "apple";
    find.replaceText = "pear";
    find.matchCase = true;
    editor.replaceAllMatches(find);
    EXPECT_EQ(shown("A1"), "Apple pear APPLE");
    find.matchCase = false;
    editor.replaceAllMatches(find);
    EXPECT_EQ(shown("A1"), "pear pear pear");

    find.findText = "(\\d+)-(\\d+)-(\\d+)";
    find.replaceText = "$3/$2/$1";
    find.useRegularExpression = true;
    find.matchEntireCell = true;
    editor.replaceAllMatches(find);
    EXPECT_EQ(shown("A2"), "01/05/2024");
}

// ---- text to columns ---------------------------------------------------------------

TEST_F(DataTools, SplitTextCutsAtTheChosenDelimiter) {
    struct Case {
        TextToColumnsDelimiter delimiter;
        std::string custom;
        bool consecutive;
        std::string text;
        Texts pieces;
    };
    using D = TextToColumnsDelimiter;
    const Case cases[] = {
        {D::comma, "", false, "a,b,,c", {"a", "b", "", "c"}},
        {D::comma, "", true, ",a,b,,c,", {"a", "b", "c"}},
        {D::semicolon, "", false, "a;b,c", {"a", "b,c"}},
        {D::space, "", true, "a  b", {"a", "b"}},
        {D::space, "", false, "a  b", {"a", "", "b"}},
        {D::pipe, "", false, "a|b", {"a", "b"}},
        {D::custom, "::", false, "a::b:c", {"a", "b:c"}},
        {D::custom, "", false, "a,b", {"a,b"}},
        {D::comma, "", false, "", {""}},
        {D::comma, "", true, "", {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(splitText(c.text, {c.delimiter, c.custom, c.consecutive}), c.pieces) << c.text;
    }
}

TEST_F(DataTools, TextToColumnsWritesTrimmedPiecesToTheRight) {
    type("B1", " Smith ,\tJohn , 42");
    type("B2", "Doe,Jane");
    type("D2", "old");
    type("E1", "=D1+1");
    editor.selection = SelectionRange{1, 0, 1, 1};
    editor.performTextToColumns({});
    EXPECT_EQ(shown("B1"), "Smith");
    EXPECT_EQ(shown("C1"), "John");
    EXPECT_EQ(shown("D1"), "42");
    EXPECT_EQ(shown("E1"), "43");
    EXPECT_EQ(shown("B2"), "Doe");
    EXPECT_EQ(shown("C2"), "Jane");
    EXPECT_EQ(shown("D2"), "old");

    EXPECT_EQ(editor.undoManager->undoActionName(), "Text to Columns");
    editor.undoManager->undo();
    EXPECT_EQ(shown("B1"), " Smith ,\tJohn , 42");
    EXPECT_EQ(shown("D1"), "");
    EXPECT_EQ(shown("E1"), "1");
}

TEST_F(DataTools, TextToColumnsGrowsTheGridAndNeedsASelection) {
    type("Z1", "a,b,c");
    editor.performTextToColumns({});
    EXPECT_EQ(shown("Z1"), "a,b,c");

    editor.selection = SelectionRange{25, 0, 25, 0};
    editor.performTextToColumns({});
    EXPECT_EQ(sheet().columnCount(), 28);
    EXPECT_EQ(shown("AB1"), "c");
}

// ---- remove duplicates ---------------------------------------------------------------

TEST_F(DataTools, RemoveDuplicatesComparesCheckedValueTexts) {
    struct Case {
        Texts a, b;
        std::set<int64_t> columns;
        bool headers;
        Texts remainingA;
        std::string status;
    };
    const Case cases[] = {
        {{"apple", "Apple", "apple"},
         {"1", "2", "3"},
         {0},
         false,
         {"apple", "Apple", ""},
         "1 duplicate row(s) removed, 2 unique row(s) remain."},
        {{"x", "x", "y"},
         {"1", "2", "1"},
         {0, 1},
         false,
         {"x", "x", "y"},
         "0 duplicate row(s) removed, 3 unique row(s) remain."},
        {{"x", "x", "x"},
         {"1", "1", "2"},
         {1},
         true,
         {"x", "x", "x"},
         "0 duplicate row(s) removed, 2 unique row(s) remain."},
        {{"h", "h", "h", "q"},
         {"v", "v", "v", "v"},
         {0, 1},
         true,
         {"h", "h", "q", ""},
         "1 duplicate row(s) removed, 2 unique row(s) remain."},
        {{"=1+1", "=2+2", "3"},
         {"", "", ""},
         {0},
         false,
         {"2", "3", ""},
         "1 duplicate row(s) removed, 2 unique row(s) remain."},
    };
    for (const Case& c : cases) {
        SumoraDocument fresh;
        SumoraEditorView e(fresh);
        for (size_t i = 0; i < c.a.size(); ++i) {
            e.setCellValue({0, static_cast<int64_t>(i)}, c.a[i]);
            e.setCellValue({1, static_cast<int64_t>(i)}, c.b[i]);
        }
        const size_t steps = e.undoManager->undoCount();
        const RemoveDuplicatesResult result = e.performRemoveDuplicates({c.headers, c.columns});
        Texts got;
        for (size_t i = 0; i < c.remainingA.size(); ++i)
            got.emplace_back(fresh.sheets[0].cell(static_cast<int64_t>(i), 0).displayValue());
        EXPECT_EQ(got, c.remainingA) << ::testing::PrintToString(c.a);
        EXPECT_EQ(result.statusText, c.status);
        EXPECT_EQ(e.undoManager->undoCount(), steps);
    }
}

TEST_F(DataTools, RemoveDuplicatesMovesLaterRowsUp) {
    column("A", {"k", "k", "m"});
    type("B4", "tail");
    type("C5", "=B4");
    ASSERT_EQ(shown("C5"), "tail");
    EXPECT_EQ(editor.performRemoveDuplicates({false, {0, 1}}).statusText,
              "1 duplicate row(s) removed, 4 unique row(s) remain.");
    EXPECT_EQ(shownColumn("A", 2), (Texts{"k", "m"}));
    EXPECT_EQ(shown("B3"), "tail");
    EXPECT_EQ(sheet().rowCount(), 499);
    // C5 moved to C4 and still reads B4, which is empty now.
    EXPECT_EQ(*sheet().cell(3, 2).formula(), "B4");
    EXPECT_EQ(shown("C4"), "");
}

TEST_F(DataTools, RemoveDuplicatesWithNothingToExamineDoesNothing) {
    type("A1", "only");
    EXPECT_EQ(editor.performRemoveDuplicates({true, {0}}).statusText, "");
}

} // namespace
} // namespace sumora
