// Formatting commands: each changes the format of the selected cells (or the
// active cell) and registers one undo step under the command's name.
#include <memory>
#include <utility>
#include <vector>

#include "document/HexColor.h"
#include "editing/SumoraEditorView.h"

namespace sumora {

void SumoraEditorView::withFormattingUndo(std::string_view actionName,
                                          const std::function<void(CellFormat&)>& body) {
    Sheet* sheet = activeSheet();
    auto range = targetRange();
    if (!sheet || !range) return;
    const bool lockedRefused = sheet->isProtected && !sheet->protectionOptions.allowFormatCells;

    // Formats are interned, so a snapshot is one pointer per cell.
    struct Change {
        int64_t row, col;
        const CellFormat* before;
        const CellFormat* after;
    };
    std::vector<Change> changes;
    for (int64_t r = std::max<int64_t>(range->minRow(), 0); r <= range->maxRow(); ++r)
        for (int64_t c = std::max<int64_t>(range->minCol(), 0); c <= range->maxCol(); ++c) {
            if (lockedRefused && sheet->cell(r, c).isLocked()) continue;
            const CellFormat* before = sheet->cell(r, c).formatHandle();
            CellFormat f = sheet->cell(r, c).format();
            body(f);
            const CellFormat* after = CellFormat::intern(f);
            if (after == before) continue;
            sheet->cellForWriting(r, c).setFormatHandle(after);
            changes.push_back({r, c, before, after});
        }
    if (changes.empty()) return;

    auto apply = [this, sheetId = sheet->id](const std::vector<Change>& list, bool undo) {
        auto index = document.sheetIndexById(sheetId);
        if (!index) return;
        Sheet& s = document.sheets[*index];
        for (const Change& ch : list)
            s.cellForWriting(ch.row, ch.col).setFormatHandle(undo ? ch.before : ch.after);
    };
    auto shared = std::make_shared<const std::vector<Change>>(std::move(changes));
    registerUndoStep(
        std::string(actionName), [apply, shared] { apply(*shared, true); },
        [apply, shared] { apply(*shared, false); });
}

namespace {

// The state a toggle switches to: the opposite of the active cell's (or the
// range's first cell's), applied to every cell so a mixed range becomes uniform.
bool toggledState(SumoraEditorView& editor, bool CellFormat::*field) {
    Sheet* sheet = editor.activeSheet();
    if (!sheet) return true;
    int64_t col = 0, row = 0;
    if (editor.activeCell) {
        col = editor.activeCell->col;
        row = editor.activeCell->row;
    } else if (editor.selection) {
        col = editor.selection->minCol();
        row = editor.selection->minRow();
    }
    return !(sheet->cell(row, col).format().*field);
}

void toggleField(SumoraEditorView& editor, std::string_view actionName, bool CellFormat::*field) {
    const bool on = toggledState(editor, field);
    editor.withFormattingUndo(actionName, [on, field](CellFormat& f) { f.*field = on; });
}

} // namespace

void SumoraEditorView::toggleBold() {
    toggleField(*this, "Bold", &CellFormat::isBold);
}

void SumoraEditorView::toggleItalic() {
    toggleField(*this, "Italic", &CellFormat::isItalic);
}

void SumoraEditorView::toggleUnderline() {
    toggleField(*this, "Underline", &CellFormat::isUnderline);
}

void SumoraEditorView::toggleStrikethrough() {
    toggleField(*this, "Strikethrough", &CellFormat::isStrikethrough);
}

void SumoraEditorView::setFontName(std::optional<std::string> name) {
    withFormattingUndo("Font", [&](CellFormat& f) { f.fontName = name; });
}

void SumoraEditorView::setFontSize(std::optional<double> size) {
    withFormattingUndo("Font Size", [&](CellFormat& f) { f.fontSize = size; });
}

namespace {

// Colours are stored as six hexadecimal digits; a leading "#" is accepted.
std::optional<std::string> storedColor(std::optional<std::string> hex) {
    if (hex) *hex = std::string(withoutHash(*hex));
    return hex;
}

} // namespace

void SumoraEditorView::setFontColor(std::optional<std::string> hex) {
    hex = storedColor(std::move(hex));
    withFormattingUndo("Font Color", [&](CellFormat& f) { f.fontColor = hex; });
}

void SumoraEditorView::setFillColor(std::optional<std::string> hex) {
    hex = storedColor(std::move(hex));
    withFormattingUndo("Fill Color", [&](CellFormat& f) { f.fillColor = hex; });
}

void SumoraEditorView::setBorders(bool top, bool bottom, bool left, bool right, bool thickBottom) {
    withFormattingUndo("Borders", [=](CellFormat& f) {
        f.borderTop = top;
        f.borderBottom = bottom;
        f.borderLeft = left;
        f.borderRight = right;
        f.borderThickBottom = thickBottom;
    });
}

void SumoraEditorView::setAlignment(CellAlignment alignment) {
    withFormattingUndo("Alignment", [=](CellFormat& f) { f.alignment = alignment; });
}

void SumoraEditorView::toggleWrapText() {
    toggleField(*this, "Wrap Text", &CellFormat::wrapText);
}

void SumoraEditorView::setNumberFormat(std::optional<std::string> code, int64_t numberFormatId) {
    withFormattingUndo("Number Format", [&](CellFormat& f) {
        f.numberFormat = code;
        f.numberFormatId = numberFormatId;
    });
}

void SumoraEditorView::clearFormatting() {
    withFormattingUndo("Clear Formatting", [](CellFormat& f) { f = CellFormat(); });
}

} // namespace sumora
