#pragma once
// Small pieces every tool dialog shares: text conversion, range texts, the
// refresh after a command, column labels for pickers, and rule-list edits of
// the active sheet registered as one undo step.
#include <QString>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/DocumentContext.h"
#include "document/Sheet.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

class SheetGridView;

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::string toStdString(const QString& text) {
    return text.toStdString();
}

// After a tool changed the document: the title mark, autosave and every view.
void refreshAfterCommand(DocumentContext& context);

// The window's grid, when the context has one (tests often do not).
SheetGridView* gridOf(DocumentContext& context);
// Moves the grid's selection to the editor's (after find, for instance).
void followEditorSelection(DocumentContext& context);

// "B2" for one cell, "B2:D9" for a block (corners ordered).
QString rangeText(const SelectionRange& range);
// Reads "B2" or "B2:D9" (with or without "$"); nothing for anything else.
std::optional<SelectionRange> parseRangeText(const QString& text);
// The selection, else the active cell, as a block.
std::optional<SelectionRange> currentRange(const SumoraEditorView& editor);

// "Column B", or "Column B (Price)" when the first row holds a header.
QString columnLabel(const Sheet& sheet, int64_t column, bool firstRowIsHeader);
// The columns a picker offers: through the used width, at least one.
int64_t pickerColumnCount(const Sheet& sheet);

// Replaces one rule list of the active sheet and registers the step that puts
// the old list back. The sheet is found again by its id when undoing.
template <class Rule>
void replaceSheetRules(DocumentContext& context, std::vector<Rule> Sheet::*list, std::vector<Rule> rules,
                       const std::string& actionName) {
    SumoraEditorView& editor = context.editor();
    Sheet* sheet = editor.activeSheet();
    if (!sheet) return;
    std::vector<Rule> before = sheet->*list;
    sheet->*list = rules;
    if (editor.undoManager) {
        auto put = [&editor, id = sheet->id, list, ctx = &context](const std::vector<Rule>& value) {
            for (Sheet& s : editor.document.sheets)
                if (s.id == id) s.*list = value;
            ctx->documentChanged();
        };
        editor.undoManager->registerStep(
            actionName, [put, before = std::move(before)] { put(before); },
            [put, rules = std::move(rules)] { put(rules); });
    }
    refreshAfterCommand(context);
}

} // namespace sumora::app
