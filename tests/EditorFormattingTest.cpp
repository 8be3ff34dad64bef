// Formatting commands: what each sets, its single named undo step, toggles
// over mixed selections, and protected sheets.
#include <gtest/gtest.h>

#include "editing/SumoraEditorView.h"

namespace sumora {
namespace {

class EditorFormatting : public ::testing::Test {
  protected:
    SumoraDocument doc;
    SumoraEditorView editor{doc};

    void SetUp() override {
        doc.sheets[0].cellForWriting(0, 0).setValue("keep");
        editor.activeCell = CellPosition{0, 0};
        editor.selection = SelectionRange{0, 0, 1, 1}; // A1:B2
    }
    const CellFormat& format(int64_t col, int64_t row) { return doc.sheets[0].cell(row, col).format(); }
};

TEST_F(EditorFormatting, EachCommandSetsItsFieldAsOneNamedStep) {
    using Editor = SumoraEditorView;
    const struct {
        const char* actionName;
        std::function<void(Editor&)> command;
        std::function<bool(const CellFormat&)> applied;
    } cases[] = {
        {"Bold", [](Editor& e) { e.toggleBold(); }, [](const CellFormat& f) { return f.isBold; }},
        {"Italic", [](Editor& e) { e.toggleItalic(); }, [](const CellFormat& f) { return f.isItalic; }},
        {"Underline", [](Editor& e) { e.toggleUnderline(); },
         [](const CellFormat& f) { return f.isUnderline; }},
        {"Strikethrough", [](Editor& e) { e.toggleStrikethrough(); },
         [](const CellFormat& f) { return f.isStrikethrough; }},
        {"Font", [](Editor& e) { e.setFontName("Menlo"); },
         [](const CellFormat& f) { return f.fontName == "Menlo"; }},
        {"Font Size", [](Editor& e) { e.setFontSize(18); },
         [](const CellFormat& f) { return f.fontSize == 18.0; }},
        {"Font Color", [](Editor& e) { e.setFontColor("#FF0000"); },
         [](const CellFormat& f) { return f.fontColor == "FF0000"; }},
        {"Fill Color", [](Editor& e) { e.setFillColor("00FF00"); },
         [](const CellFormat& f) { return f.fillColor == "00FF00"; }},
        {"Borders", [](Editor& e) { e.setBorders(true, true, false, true, true); },
         [](const CellFormat& f) {
             return f.borderTop && f.borderBottom && !f.borderLeft && f.borderRight && f.borderThickBottom;
         }},
        {"Alignment", [](Editor& e) { e.setAlignment(CellAlignment::center); },
         [](const CellFormat& f) { return f.alignment == CellAlignment::center; }},
        {"Wrap Text", [](Editor& e) { e.toggleWrapText(); }, [](const CellFormat& f) { return f.wrapText; }},
        {"Number Format", [](Editor& e) { e.setNumberFormat("0.00%", 10); },
         [](const CellFormat& f) { return f.numberFormat == "0.00%" && f.numberFormatId == 10; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.actionName);
        UndoManager& undo = *editor.undoManager;
        size_t before = undo.undoCount();
        c.command(editor);
        EXPECT_EQ(undo.undoCount(), before + 1);
        EXPECT_EQ(undo.undoActionName(), c.actionName);
        for (int64_t r = 0; r < 2; ++r)
            for (int64_t col = 0; col < 2; ++col)
                EXPECT_TRUE(c.applied(format(col, r)));
        EXPECT_FALSE(c.applied(format(2, 0)));
        undo.undo();
        EXPECT_FALSE(c.applied(format(1, 1)));
        undo.redo();
        EXPECT_TRUE(c.applied(format(1, 1)));
    }
    EXPECT_EQ(doc.sheets[0].cell(0, 0).value(), "keep");

    editor.clearFormatting();
    EXPECT_EQ(editor.undoManager->undoActionName(), "Clear Formatting");
    EXPECT_TRUE(format(1, 1).isDefault());
    editor.undoManager->undo();
    EXPECT_TRUE(format(1, 1).isBold);
}

TEST_F(EditorFormatting, ToggleFollowsTheActiveCellAcrossAMixedSelection) {
    doc.sheets[0].cellForWriting(1, 1).updateFormat([](CellFormat& f) { f.isBold = true; });
    editor.toggleBold();
    for (int64_t r = 0; r < 2; ++r)
        for (int64_t c = 0; c < 2; ++c)
            EXPECT_TRUE(format(c, r).isBold);
    editor.toggleBold();
    for (int64_t r = 0; r < 2; ++r)
        for (int64_t c = 0; c < 2; ++c)
            EXPECT_FALSE(format(c, r).isBold);
    editor.undoManager->undo();
    editor.undoManager->undo();
    EXPECT_TRUE(format(1, 1).isBold);
    EXPECT_FALSE(format(0, 0).isBold);
}

TEST_F(EditorFormatting, WithoutTargetOrChangeNoStepIsRegistered) {
    editor.setAlignment(CellAlignment::general); // already so everywhere
    EXPECT_FALSE(editor.undoManager->canUndo());
    editor.selection.reset();
    editor.activeCell.reset();
    editor.toggleItalic();
    EXPECT_FALSE(editor.undoManager->canUndo());
    editor.activeCell = CellPosition{3, 3};
    editor.toggleItalic();
    EXPECT_TRUE(format(3, 3).isItalic);
    EXPECT_FALSE(format(0, 0).isItalic);
}

TEST_F(EditorFormatting, ProtectedSheetFormatsOnlyUnlockedCellsUnlessAllowed) {
    Sheet& sheet = doc.sheets[0];
    sheet.isProtected = true;
    sheet.cellForWriting(1, 1).setLocked(false);
    editor.toggleBold();
    EXPECT_FALSE(format(0, 0).isBold);
    EXPECT_TRUE(format(1, 1).isBold);
    sheet.protectionOptions.allowFormatCells = true;
    editor.setFillColor("123456");
    EXPECT_EQ(format(0, 0).fillColor, "123456");
}

} // namespace
} // namespace sumora
