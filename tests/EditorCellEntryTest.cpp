// Cell entry and the commands built on it: classification and locale-aware
// normalisation, undo that deliberately skips recalculation, AutoSum, fill,
// text paste, structure commands, merging, statistics and decimals.
#include <gtest/gtest.h>

#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"
#include "tests/TestSupport.h"
#include "values/Log.h"

namespace sumora {
namespace {

using EditorCellEntry = test::EditorTest;

TEST_F(EditorCellEntry, TypedTextIsClassifiedAndNormalisedPerLocale) {
    const struct {
        const char* locale;
        const char* typed;
        const char* value;
        std::optional<std::string> formula;
    } cases[] = {
        {"en_US", "1234.5", "1234.5", {}},
        {"en_US", "+5", "+5", {}}, // fixed notation is kept exactly as typed
        {"en_US", "1.50", "1.50", {}},
        {"en_US", "2e3", "2e3", {}},
        {"en_US", "1,234", "1234", {}}, // grouping honoured, integral: "%.0f"
        {"en_US", "1,234.50", "1234.5", {}},
        {"en_US", "50%", "50%", {}}, // percent, currency, booleans and dates stay text
        {"en_US", "$5", "$5", {}},
        {"en_US", "TRUE", "TRUE", {}},
        {"en_US", "1/2/2024", "1/2/2024", {}},
        {"en_US", "12abc", "12abc", {}},
        {"en_US", "", "", {}},
        {"en_US", "=SUM(1,2)", "", "SUM(1,2)"},
        {"en_US", "=", "", ""},
        {"de_DE", "1.234,5", "1234.5", {}},
        {"de_DE", "1.234", "1234", {}}, // no decimal separator, integral
        {"de_DE", "12,0", "12.0", {}},  // decimal separator present
        {"de_DE", "12,25", "12.25", {}},
        {"de_DE", "-1.234", "-1234", {}},
        {"de_DE", "1,234", "1.234", {}},
        {"de_DE", "1234.5", "1234.5", {}}, // not grouped as de_DE groups: fixed notation
        {"de_DE", "1.5", "1.5", {}},
        {"de_DE", "12,5%", "12,5%", {}},
    };
    for (const auto& c : cases) {
        editor.localeIdentifier = c.locale;
        type("C3", c.typed);
        SCOPED_TRACE(std::string(c.locale) + " " + c.typed);
        EXPECT_EQ(cell("C3").value(), c.value);
        auto formula = cell("C3").formula();
        EXPECT_EQ(formula ? std::optional<std::string>(*formula) : std::nullopt, c.formula);
        if (!c.formula) {
            EXPECT_EQ(cell("C3").computedValue(), std::optional<std::string_view>(c.value));
        }
    }
}

TEST_F(EditorCellEntry, BlanksAroundANumberKeepItText) {
    // Neither parser skips blanks: the fixed parse rejects them, and the
    // strict locale parse does too.
    LogCapture log;
    type("A1", " 12");
    type("A2", "12 ");
    EXPECT_EQ(cell("A1").value(), " 12");
    EXPECT_EQ(cell("A2").value(), "12 ");
    EXPECT_FALSE(log.contains("Locale-parsed"));
}

TEST_F(EditorCellEntry, EntryWritesItsLogLines) {
    editor.localeIdentifier = "de_DE";
    LogCapture log;
    type("B12", "1.234,5");
    type("C1", "=B12*2");
    const std::vector<std::string> expected = {
        "[Sumora] setCellValue: addr=B12, value=\"1.234,5\", sheet=0",
        "[Sumora] Locale-parsed \"1.234,5\" as 1234.5",
        "[Sumora] After recalc: value=\"1234.5\", formula=nil, computed=\"1234.5\", display=\"1234.5\"",
        "[Sumora] setCellValue: addr=C1, value=\"=B12*2\", sheet=0",
        "[Sumora] After recalc: value=\"\", formula=B12*2, computed=\"2469\", display=\"2469\"",
    };
    EXPECT_EQ(log.lines(), expected);
}

TEST_F(EditorCellEntry, OutOfRangeSheetBailsWithoutChange) {
    editor.activeSheetIndex = 3;
    LogCapture log;
    editor.setCellValue({0, 0}, "5");
    EXPECT_TRUE(log.contains("[Sumora] setCellValue BAIL: sheet index out of range"));
    EXPECT_EQ(doc.sheets[0].cell(0, 0).value(), "");
    EXPECT_FALSE(undo().canUndo());
}

TEST_F(EditorCellEntry, LockedCellOfProtectedSheetRefusesSilently) {
    doc.sheets[0].isProtected = true;
    doc.sheets[0].cellForWriting(1, 0).setLocked(false);
    type("A1", "5");
    type("A2", "7");
    EXPECT_EQ(shown("A1"), "");
    EXPECT_EQ(shown("A2"), "7");
    EXPECT_EQ(undo().undoCount(), 1u);
}

TEST_F(EditorCellEntry, EntryGrowsTheGridAndRecalculatesDependents) {
    type("A1", "2");
    type("B1", "=A1*3");
    EXPECT_EQ(shown("B1"), "6");
    type("A1", "4");
    EXPECT_EQ(shown("B1"), "12");
    type("AD900", "x");
    EXPECT_EQ(doc.sheets[0].rowCount(), 900);
    EXPECT_EQ(doc.sheets[0].columnCount(), 30);
}

TEST_F(EditorCellEntry, UndoRestoresTheWholeRecordWithoutRecalculating) {
    doc.sheets[0].cellForWriting(0, 0).updateFormat([](CellFormat& f) { f.isBold = true; });
    type("A1", "2");
    type("B1", "=A1*3");
    type("A1", "5");
    ASSERT_EQ(shown("B1"), "15");
    EXPECT_EQ(undo().undoActionName(), "Typing");

    ASSERT_TRUE(undo().undo());
    EXPECT_EQ(cell("A1").value(), "2");
    EXPECT_TRUE(cell("A1").format().isBold);
    EXPECT_EQ(shown("B1"), "15"); // stale until the next recalculation, deliberately

    // Later edits read the restored record, not what the calculator saw before.
    type("C1", "=A1+1");
    EXPECT_EQ(shown("C1"), "3");
}

TEST_F(EditorCellEntry, RedoReappliesTheEntryWithRecalculation) {
    type("A1", "2");
    type("B1", "=A1*3");
    type("A1", "5");
    undo().undo();
    EXPECT_EQ(shown("B1"), "15");
    ASSERT_TRUE(undo().redo());
    EXPECT_EQ(cell("A1").value(), "5");
    EXPECT_EQ(shown("B1"), "15");
    undo().undo();
    type("A1", "1");
    EXPECT_EQ(shown("B1"), "3");
    EXPECT_FALSE(undo().canRedo());
}

// Steps follow their sheet when tabs are added in front of it.
TEST_F(EditorCellEntry, UndoFindsItsSheetAfterATabIsAddedInFront) {
    type("A1", "1");
    type("B1", "=A1*2");
    select("B1", "B1");
    editor.toggleBold();
    select("A1", "A1");
    editor.copySelection();
    select("C1", "C1");
    editor.pasteCell();
    ASSERT_EQ(cell("C1").value(), "1");

    // A tab added in front moves the edited sheet to the second place.
    doc.sheets.insert(doc.sheets.begin(), SumoraDocument::makeNewSheet("Front"));
    editor.invalidateCalculators();
    const size_t edited = 1;

    ASSERT_TRUE(undo().undo()); // the paste
    EXPECT_EQ(cell("C1", edited).value(), "");
    ASSERT_TRUE(undo().undo()); // bold
    EXPECT_FALSE(cell("B1", edited).format().isBold);
    ASSERT_TRUE(undo().undo()); // the formula
    EXPECT_FALSE(cell("B1", edited).formula());
    ASSERT_TRUE(undo().redo());
    EXPECT_EQ(shown("B1", edited), "2");
    EXPECT_TRUE(doc.sheets[0].cell(0, 1).value().empty()); // the new sheet is untouched
    EXPECT_FALSE(doc.sheets[0].cell(0, 1).formula());

    // A step whose sheet is gone does nothing.
    doc.sheets.erase(doc.sheets.begin() + edited);
    EXPECT_TRUE(undo().undo());
    EXPECT_FALSE(doc.sheets[0].cell(0, 1).formula());
}

TEST_F(EditorCellEntry, UndoneFormulaStopsBeingRecalculated) {
    type("B1", "=A1*3");
    undo().undo();
    EXPECT_FALSE(cell("B1").formula());
    type("A1", "7");
    EXPECT_EQ(shown("B1"), "");
}

TEST_F(EditorCellEntry, FormulaBroughtBackByUndoIsRecalculatedAgain) {
    type("B1", "=A1*3");
    type("B1", "5");
    undo().undo();
    ASSERT_EQ(cell("B1").formula(), "A1*3");
    type("A1", "7");
    EXPECT_EQ(shown("B1"), "21");
}

TEST_F(EditorCellEntry, AutoSumOverASelectionGoesBelowIt) {
    type("B2", "1");
    type("C4", "2");
    select("C4", "B2");
    doc.sheets[0].setGridSize(4, 3);
    editor.insertAutoSum();
    EXPECT_EQ(cell("B5").formula(), "SUM(B2:C4)");
    EXPECT_EQ(shown("B5"), "3");
    EXPECT_EQ(doc.sheets[0].rowCount(), 5);
    EXPECT_EQ(undo().undoActionName(), "AutoSum");
}

TEST_F(EditorCellEntry, AutoSumOfTheActiveCellSumsTheNumbersAbove) {
    type("A1", "1");
    type("A3", "3");
    type("A4", "=A3+1");
    editor.activeCell = at("A5");
    editor.insertAutoSum();
    EXPECT_EQ(cell("A5").formula(), "SUM(A3:A4)"); // the empty A2 ends the run
    EXPECT_EQ(shown("A5"), "7");

    type("B1", "label");
    editor.activeCell = at("B2");
    editor.insertAutoSum();
    EXPECT_FALSE(cell("B2").formula());
    editor.activeCell = at("C1");
    editor.insertAutoSum();
    EXPECT_FALSE(cell("C1").formula());
}

TEST_F(EditorCellEntry, FillDownStoresAdjustedFormulasAsLiteralText) {
    type("B1", "=A1+1");
    type("C1", "plain");
    select("B1", "C4");
    size_t steps = undo().undoCount();
    editor.fillDown();
    for (int r = 2; r <= 4; ++r) {
        const std::string row = std::to_string(r);
        EXPECT_EQ(cell("B" + row).value(), "A" + row + "+1");
        EXPECT_FALSE(cell("B" + row).formula());
        EXPECT_EQ(cell("C" + row).value(), "plain");
    }
    EXPECT_EQ(undo().undoCount(), steps + 1);
    EXPECT_EQ(undo().undoActionName(), "Fill Down");
    undo().undo();
    EXPECT_EQ(shown("B3"), "");
    EXPECT_EQ(shown("C4"), "");
    undo().redo();
    EXPECT_EQ(shown("C4"), "plain");
}

TEST_F(EditorCellEntry, FillRightShiftsColumnsAndNeedsTwoColumns) {
    type("A1", "=A2*2");
    select("A1", "A5");
    editor.fillRight();
    EXPECT_EQ(shown("B1"), "");
    select("A1", "C1");
    editor.fillRight();
    EXPECT_EQ(cell("B1").value(), "B2*2");
    EXPECT_EQ(cell("C1").value(), "C2*2");
    editor.selection.reset();
    editor.fillDown();
    EXPECT_EQ(undo().undoActionName(), "Fill Right");
}

TEST_F(EditorCellEntry, PasteOfTabbedLinesFillsABlock) {
    editor.clipboard->setText("1\t2\n=B2+C2\t4\n\n");
    editor.activeCell = at("B2");
    editor.pasteCell();
    EXPECT_EQ(shown("B2"), "1");
    EXPECT_EQ(shown("C2"), "2");
    EXPECT_EQ(shown("B3"), "3");
    EXPECT_EQ(shown("C3"), "4");
    EXPECT_EQ(shown("B4"), "");
    EXPECT_EQ(undo().undoCount(), 1u);
    EXPECT_EQ(undo().undoActionName(), "Paste");
    undo().undo();
    EXPECT_EQ(shown("B2"), "");
    EXPECT_EQ(shown("C3"), "");
}

TEST_F(EditorCellEntry, PasteOfOneLineEntersItLikeTyping) {
    editor.localeIdentifier = "de_DE";
    editor.clipboard->setText("1.234,5\r\n");
    editor.activeCell = at("A1");
    editor.pasteCell();
    EXPECT_EQ(shown("A1"), "1234.5");
    editor.clipboard->setText("");
    editor.pasteCell();
    EXPECT_EQ(undo().undoCount(), 1u);
}

TEST_F(EditorCellEntry, InsertAndDeleteMoveCellsWithoutRewritingFormulas) {
    type("A3", "x");
    type("C1", "=A5");
    const size_t steps = undo().undoCount();
    editor.activeCell = at("B3");
    editor.insertRowAbove();
    EXPECT_EQ(shown("A4"), "x");
    EXPECT_EQ(shown("A3"), "");
    EXPECT_EQ(cell("C1").formula(), "A5");
    EXPECT_EQ(doc.sheets[0].rowCount(), SumoraDocument::kNewSheetRows + 1);

    editor.activeCell = at("A1");
    editor.insertColumnLeft();
    EXPECT_EQ(shown("B4"), "x");
    EXPECT_EQ(cell("D1").formula(), "A5");
    EXPECT_EQ(doc.sheets[0].columnCount(), SumoraDocument::kNewSheetColumns + 1);

    editor.activeCell = at("A2");
    editor.deleteSelectedColumn();
    editor.deleteSelectedRow();
    EXPECT_EQ(shown("A3"), "x");
    EXPECT_EQ(cell("C1").formula(), "A5");
    EXPECT_EQ(undo().undoCount(), steps);

    // Later edits see the cells where they now are.
    type("E1", "=A3");
    EXPECT_EQ(shown("E1"), "x");
}

TEST_F(EditorCellEntry, DeletingNeedsTwoRowsAndKeepsTheActiveRowInside) {
    Sheet& sheet = doc.sheets[0];
    sheet.setGridSize(1, 1);
    editor.activeCell = at("A1");
    editor.deleteSelectedRow();
    editor.deleteSelectedColumn();
    EXPECT_EQ(sheet.rowCount(), 1);
    EXPECT_EQ(sheet.columnCount(), 1);

    sheet.setGridSize(3, 2);
    editor.activeCell = at("B3");
    editor.deleteSelectedRow();
    EXPECT_EQ(sheet.rowCount(), 2);
    EXPECT_EQ(editor.activeCell->row, 1);
}

TEST_F(EditorCellEntry, MergeTogglesAndReplacesRegionsInside) {
    Sheet& sheet = doc.sheets[0];
    sheet.mergedRegions = {{1, 1, 1, 2}, {3, 3, 5, 5}};
    select("A1", "D4"); // holds the first region, overlaps the second
    editor.toggleMergeCells();
    EXPECT_EQ(sheet.mergedRegions, (std::vector<MergedRegion>{{3, 3, 5, 5}, {0, 0, 3, 3}}));
    EXPECT_EQ(undo().undoActionName(), "Merge Cells");
    editor.toggleMergeCells();
    EXPECT_EQ(sheet.mergedRegions, (std::vector<MergedRegion>{{3, 3, 5, 5}}));
    undo().undo();
    undo().undo();
    EXPECT_EQ(sheet.mergedRegions, (std::vector<MergedRegion>{{1, 1, 1, 2}, {3, 3, 5, 5}}));
    editor.selection.reset();
    editor.toggleMergeCells();
    EXPECT_EQ(sheet.mergedRegions.size(), 2u);
}

TEST_F(EditorCellEntry, StatisticsIgnoreSymbolsAndText) {
    type("A1", "1,000"); // stored as 1000
    type("A2", "$2");
    type("A3", "50%");
    type("A4", "abc");
    type("A5", "=A2"); // "$2" reads as a number: computed "2"
    type("B1", "1,5");
    editor.activeCell = at("A1");
    select("A1", "A6");
    SelectionStats s = editor.selectionStats();
    EXPECT_EQ(s.count, 4);
    EXPECT_DOUBLE_EQ(s.sum, 1054);
    EXPECT_DOUBLE_EQ(*s.average, 263.5);
    EXPECT_DOUBLE_EQ(*s.min, 2);
    EXPECT_DOUBLE_EQ(*s.max, 1000);
    EXPECT_EQ(editor.statusTexts(), (std::vector<std::string>{"Cell: A1", "Sum: 1054.00", "Average: 263.50",
                                                              "Min: 2.00", "Max: 1000.00", "Count: 4"}));
    select("A4", "A4");
    editor.activeCell = at("A4");
    EXPECT_EQ(editor.statusTexts(), std::vector<std::string>{"Cell: A4"});
    EXPECT_FALSE(editor.selectionStats().average);
}

TEST_F(EditorCellEntry, DecimalButtonsEditTheNumberFormat) {
    const struct {
        const char* value;
        std::optional<std::string> format;
        bool increase;
        std::optional<std::string> expected;
    } cases[] = {
        {"3", std::nullopt, true, "0.0"}, // starts from the value's own decimals
        {"3.14", std::nullopt, true, "0.000"},
        {"3.14", "#,##0", true, "#,##0.0"},
        {"3.14", "0.0", true, "0.00"},
        {"3", std::nullopt, false, "0.0"}, // a missing format counts as "0.00"
        {"3", "0.00", false, "0.0"},
        {"3", "0.0", false, "0"},
        {"3", "0.", false, "0"},
        {"3", "#,##0", false, "#,##0"},
        {"abc", std::nullopt, true, std::nullopt}, // not numeric: untouched
    };
    editor.activeCell = at("A1");
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.value) + (c.increase ? " +" : " -"));
        type("A1", c.value);
        doc.sheets[0].cellForWriting(0, 0).updateFormat([&](CellFormat& f) { f.numberFormat = c.format; });
        c.increase ? editor.increaseDecimal() : editor.decreaseDecimal();
        EXPECT_EQ(cell("A1").format().numberFormat, c.expected);
    }
    type("A1", "2");
    doc.sheets[0].cellForWriting(0, 0).setFormat(CellFormat{});
    editor.increaseDecimal();
    EXPECT_EQ(undo().undoActionName(), "Increase Decimal");
    undo().undo();
    EXPECT_EQ(cell("A1").format().numberFormat, std::nullopt);
    EXPECT_EQ(cell("A1").value(), "2");
}

TEST_F(EditorCellEntry, FunctionPanelStoresItsFormulaThroughEntry) {
    type("A1", "4");
    LogCapture log;
    EXPECT_EQ(editor.insertFunction("SUMIF"), 3);
    EXPECT_TRUE(log.contains("[Sumora-DEBUG] insertFunction called: SUMIF, argCount=3"));
    editor.commitFunctionArgs("IF", {"A1>0", "1", "  "}, at("C7"));
    EXPECT_EQ(cell("C7").formula(), "IF(A1>0,1)");
    EXPECT_EQ(shown("C7"), "1");
    EXPECT_TRUE(log.contains("[Sumora] commitFunctionArgs: formula==IF(A1>0,1), target=C7, argCount=2"));
    EXPECT_EQ(undo().undoActionName(), "Typing");
}

} // namespace
} // namespace sumora
