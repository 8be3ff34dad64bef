#include "app/tools/ToolSupport.h"

#include <QObject>

#include "app/SheetGridView.h"
#include "document/ColumnLetters.h"

namespace sumora::app {

void refreshAfterCommand(DocumentContext& context) {
    context.markEdited();
    context.documentChanged();
}

SheetGridView* gridOf(DocumentContext& context) {
    QWidget* viewport = context.gridViewport();
    return viewport ? qobject_cast<SheetGridView*>(viewport->parentWidget()) : nullptr;
}

void followEditorSelection(DocumentContext& context) {
    SheetGridView* grid = gridOf(context);
    SumoraEditorView& editor = context.editor();
    if (!grid || !editor.activeCell) return;
    if (editor.selection && !editor.selection->isSingleCell()) {
        const SelectionRange& s = *editor.selection;
        grid->selectRange(static_cast<int>(s.minRow()), static_cast<int>(s.minCol()),
                          static_cast<int>(s.maxRow()), static_cast<int>(s.maxCol()));
        return;
    }
    grid->selectCell(static_cast<int>(editor.activeCell->row), static_cast<int>(editor.activeCell->col));
}

QString rangeText(const SelectionRange& range) {
    QString first = toQString(cellAddress({range.minCol(), range.minRow()}));
    if (range.isSingleCell()) return first;
    return first + QLatin1Char(':') + toQString(cellAddress({range.maxCol(), range.maxRow()}));
}

std::optional<SelectionRange> parseRangeText(const QString& text) {
    const QStringList parts = text.trimmed().split(QLatin1Char(':'));
    if (parts.size() > 2) return std::nullopt;
    auto first = parseCellAddress(toStdString(parts.front().trimmed()));
    if (!first) return std::nullopt;
    auto last = parts.size() == 2 ? parseCellAddress(toStdString(parts.back().trimmed())) : first;
    if (!last) return std::nullopt;
    SelectionRange r{first->col, first->row, last->col, last->row};
    return SelectionRange{r.minCol(), r.minRow(), r.maxCol(), r.maxRow()};
}

std::optional<SelectionRange> currentRange(const SumoraEditorView& editor) {
    if (editor.selection) return editor.selection;
    if (editor.activeCell)
        return SelectionRange{editor.activeCell->col, editor.activeCell->row, editor.activeCell->col,
                              editor.activeCell->row};
    return std::nullopt;
}

QString columnLabel(const Sheet& sheet, int64_t column, bool firstRowIsHeader) {
    QString label = QObject::tr("Column %1").arg(toQString(columnLetter(column)));
    if (!firstRowIsHeader) return label;
    const std::string_view header = sheet.cell(0, column).displayValue();
    if (header.empty()) return label;
    return label + QStringLiteral(" (") + toQString(header) + QLatin1Char(')');
}

int64_t pickerColumnCount(const Sheet& sheet) {
    return std::max<int64_t>(1, sheet.usedExtent().cols);
}

} // namespace sumora::app
