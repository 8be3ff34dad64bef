// Copy, cut and paste of cells, paste special, clearing contents and the fill
// handle's series.
#include <gtest/gtest.h>

#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

class EditorClipboard : public test::EditorTest {
  protected:
    std::optional<std::string> formula(std::string_view address, size_t sheet = 0) {
        auto f = cell(address, sheet).formula();
        return f ? std::optional<std::string>(*f) : std::nullopt;
    }
    // Selects the block and makes `from` the active cell.
    void select(std::string_view from, std::string_view to) {
        EditorTest::select(from, to);
        editor.activeCell = at(from);
    }
    void bold(std::string_view address) {
        auto p = at(address);
        doc.sheets[0].cellForWriting(p.row, p.col).updateFormat([](CellFormat& f) { f.isBold = true; });
    }
};

TEST_F(EditorClipboard, PasteAdjustsReferencesAndCarriesFormats) {
    type("B1", "10");
    type("C1", "1");
    type("A1", "=B1+$C$1");
    bold("A1");
    select("A1", "A1");
    editor.copySelection();
    EXPECT_EQ(editor.clipboard->text(), "11");
    type("C3", "5");
    select("B3", "B3");
    size_t steps = undo().undoCount();
    editor.paste();
    EXPECT_EQ(formula("B3"), "C3+$C$1");
    EXPECT_EQ(shown("B3"), "6");
    EXPECT_TRUE(cell("B3").format().isBold);
    EXPECT_EQ(undo().undoCount(), steps + 1);
    EXPECT_EQ(undo().undoActionName(), "Paste");
    undo().undo();
    EXPECT_FALSE(formula("B3"));
    EXPECT_EQ(shown("B3"), "");
    undo().redo();
    EXPECT_EQ(shown("B3"), "6");
}

TEST_F(EditorClipboard, BlocksPasteAcrossSheetsAndTileOverMultiples) {
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Sheet 2"));
    type("A1", "1");
    type("A2", "=A1*2");
    select("A1", "A2");
    editor.copySelection();
    EXPECT_EQ(editor.clipboard->text(), "1\n2");
    editor.activeSheetIndex = 1;
    select("C1", "D4"); // twice down, twice across
    editor.paste();
    for (const char* col : {"C", "D"}) {
        EXPECT_EQ(shown(std::string(col) + "1", 1), "1");
        EXPECT_EQ(shown(std::string(col) + "2", 1), "2");
        EXPECT_EQ(shown(std::string(col) + "4", 1), "2");
    }
    EXPECT_EQ(formula("D4", 1), "D3*2");
    EXPECT_EQ(shown("E1", 1), "");
    EXPECT_EQ(undo().undoCount(), 3u); // two entries and one paste
}

TEST_F(EditorClipboard, CutMovesCellsOnceAndKeepsTheirReferences) {
    type("A1", "3");
    type("B1", "=A1+1");
    select("B1", "B1");
    editor.cutSelection();
    EXPECT_EQ(shown("B1"), "4"); // nothing moves before the paste
    select("D5", "D5");
    editor.paste();
    EXPECT_EQ(formula("D5"), "A1+1");
    EXPECT_EQ(shown("D5"), "4");
    EXPECT_TRUE(cell("B1").isDefault());
    undo().undo();
    EXPECT_EQ(formula("B1"), "A1+1");
    EXPECT_EQ(shown("D5"), "");
    undo().redo();
    // The cut cells went once; a further paste has nothing of ours to paste.
    select("E5", "E5");
    editor.paste();
    EXPECT_EQ(shown("E5"), "4"); // the clipboard's text remains
    EXPECT_FALSE(formula("E5"));
}

TEST_F(EditorClipboard, PasteSpecialTakesOnePartOfTheCells) {
    type("A1", "2");
    type("B1", "=A1*10");
    bold("B1");
    select("B1", "B1");
    editor.copySelection();
    type("D1", "old");
    doc.sheets[0].cellForWriting(0, 3).updateFormat([](CellFormat& f) { f.isItalic = true; });

    select("D1", "D1");
    editor.pasteSpecial(PasteMode::valuesOnly);
    EXPECT_FALSE(formula("D1"));
    EXPECT_EQ(cell("D1").value(), "20");
    EXPECT_TRUE(cell("D1").format().isItalic);
    EXPECT_FALSE(cell("D1").format().isBold);
    EXPECT_EQ(undo().undoActionName(), "Paste Special");

    editor.pasteSpecial(PasteMode::formulasOnly);
    EXPECT_EQ(formula("D1"), "C1*10");
    EXPECT_TRUE(cell("D1").format().isItalic);

    undo().undo();
    undo().undo();
    editor.pasteSpecial(PasteMode::formattingOnly);
    EXPECT_EQ(shown("D1"), "old");
    EXPECT_TRUE(cell("D1").format().isBold);
    EXPECT_FALSE(cell("D1").format().isItalic);
}

TEST_F(EditorClipboard, TextCopiedElsewhereReplacesCopiedCells) {
    type("A1", "=1+1");
    select("A1", "A1");
    editor.copySelection();
    editor.clipboard->setText("x\ty");
    select("B2", "B2");
    editor.paste();
    EXPECT_EQ(shown("B2"), "x");
    EXPECT_EQ(shown("C2"), "y");
    editor.pasteSpecial(PasteMode::formattingOnly); // no cells of ours: nothing
    EXPECT_EQ(undo().undoActionName(), "Paste");
}

TEST_F(EditorClipboard, ClearContentsKeepsFormatsAsOneStep) {
    type("A1", "1");
    type("A2", "2");
    type("B1", "=SUM(A1:A2)");
    bold("A1");
    select("A1", "A2");
    editor.clearContents();
    EXPECT_EQ(shown("A1"), "");
    EXPECT_TRUE(cell("A1").format().isBold);
    EXPECT_EQ(shown("B1"), "0");
    EXPECT_EQ(undo().undoActionName(), "Clear Contents");
    undo().undo();
    EXPECT_EQ(shown("A2"), "2");
    EXPECT_EQ(shown("B1"), "3");
}

TEST_F(EditorClipboard, AutoFillValueExtendsSeries) {
    const struct {
        std::vector<std::string> seeds;
        int64_t step;
        const char* expected;
    } cases[] = {
        {{"January"}, 1, "February"},
        {{" dec "}, 1, "jan"}, // trimmed, matched ignoring case, style kept
        {{"DEC"}, 2, "FEB"},
        {{"Mar"}, -3, "Dec"},       // counting back wraps too
        {{"Jan", "Mar"}, 1, "May"}, // the seeds' own step
        {{"Saturday"}, 1, "Sunday"},
        {{"tue"}, 7, "tue"},
        {{"5"}, 3, "8"}, // a lone number counts up by one
        {{"1", "3"}, 2, "7"},
        {{"1.5", "2"}, 1, "2.5"},
        {{"0.1", "0.2"}, 1, "0.3"}, // no binary noise
        {{"10", "8"}, 5, "-2"},
        {{"Item 9"}, 1, "Item 10"},
        {{"File 007"}, 1, "File 008"},
        {{"Q1", "Q3"}, 1, "Q5"},
        {{"alpha", "beta"}, 1, "alpha"}, // plain texts repeat
        {{"alpha", "beta"}, 4, "beta"},
        {{"Jan", "x"}, 1, "Jan"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.seeds.front() + " +" + std::to_string(c.step));
        EXPECT_EQ(SumoraEditorView::autoFillValue(c.seeds, c.step), c.expected);
    }
}

TEST_F(EditorClipboard, FillHandleExtendsSeriesAndCopiesFormulas) {
    type("A1", "Mon");
    type("A2", "Tue");
    type("B1", "2");
    type("B2", "4");
    type("C1", "=B1*2");
    type("C2", "=B2*2");
    bold("A1");
    size_t steps = undo().undoCount();
    editor.performFill({0, 0, 2, 1}, {0, 0, 2, 4}); // A1:C2 over A1:C5
    EXPECT_EQ(shown("A3"), "Wed");
    EXPECT_EQ(shown("A5"), "Fri");
    EXPECT_EQ(shown("B5"), "10");
    EXPECT_EQ(formula("C5"), "B5*2");
    EXPECT_EQ(shown("C5"), "20");
    EXPECT_TRUE(cell("A5").format().isBold); // formats repeat with the seeds
    EXPECT_FALSE(cell("A4").format().isBold);
    EXPECT_EQ(undo().undoCount(), steps + 1);
    EXPECT_EQ(undo().undoActionName(), "AutoFill");
    undo().undo();
    EXPECT_EQ(shown("A3"), "");
    EXPECT_FALSE(formula("C5"));
    undo().redo();
    EXPECT_EQ(shown("C4"), "16");
}

TEST_F(EditorClipboard, FillHandleRunsBackwardsAndSideways) {
    type("B3", "Item 5");
    editor.performFill({1, 2, 1, 2}, {1, 0, 1, 2}); // B3 up to B1
    EXPECT_EQ(shown("B2"), "Item 4");
    EXPECT_EQ(shown("B1"), "Item 3");
    type("A5", "=A4+1");
    editor.performFill({0, 4, 0, 4}, {0, 4, 2, 4}); // A5 right to C5
    EXPECT_EQ(formula("C5"), "C4+1");
    editor.performFill({0, 4, 0, 4}, {1, 5, 1, 5}); // not an extension: nothing
    EXPECT_EQ(shown("B6"), "");
}

} // namespace
} // namespace sumora
