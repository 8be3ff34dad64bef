// Hide and Unhide of rows and columns: the sheet's hidden-line sets change,
// nothing else, and one undo step puts the previous set back.
#include "editing/SumoraEditorView.h"

namespace sumora {

void SumoraEditorView::setSelectedRowsHidden(bool hidden) {
    if (const auto range = targetRange())
        setLinesHidden(&Sheet::hiddenRows, range->minRow(), range->maxRow(), hidden,
                       hidden ? "Hide Rows" : "Unhide Rows");
}

void SumoraEditorView::setSelectedColumnsHidden(bool hidden) {
    if (const auto range = targetRange())
        setLinesHidden(&Sheet::hiddenColumns, range->minCol(), range->maxCol(), hidden,
                       hidden ? "Hide Columns" : "Unhide Columns");
}

void SumoraEditorView::setLinesHidden(LineSet Sheet::*lines, int64_t first, int64_t last, bool hidden,
                                      std::string actionName) {
    Sheet* sheet = activeSheet();
    if (!sheet || first < 0 || last < first) return;
    const LineSet before = sheet->*lines;
    if (hidden)
        (sheet->*lines).add(first, last);
    else
        (sheet->*lines).remove(first, last);
    if (sheet->*lines == before) return;
    auto put = [this, lines, sheetId = sheet->id](const LineSet& set) {
        if (auto index = document.sheetIndexById(sheetId)) document.sheets[*index].*lines = set;
    };
    registerUndoStep(
        std::move(actionName), [put, before] { put(before); }, [put, after = sheet->*lines] { put(after); });
}

} // namespace sumora
