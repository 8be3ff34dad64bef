#include "app/PasteGuard.h"

#include <QObject>
#include <QStringList>

#include "editing/GoToTarget.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

std::optional<QString> pasteRefusal(const SumoraEditorView& editor, const QString& text) {
    if (!editor.activeCell || text.isEmpty()) return std::nullopt;
    // Copied cells travel as tab-separated lines too, so the text gives the block's size.
    QStringList lines = text.split(QLatin1Char('\n'));
    while (!lines.isEmpty() && lines.back().isEmpty())
        lines.removeLast();
    qsizetype width = 0;
    for (const QString& line : lines)
        width = std::max(width, line.count(QLatin1Char('\t')) + 1);
    const int64_t lastRow = editor.activeCell->row + static_cast<int64_t>(lines.size()) - 1;
    const int64_t lastCol = editor.activeCell->col + static_cast<int64_t>(width) - 1;
    if (lastRow < kSheetRowLimit && lastCol < kSheetColumnLimit) return std::nullopt;
    return QObject::tr(
               "The copied block of %1 × %2 cells does not fit between the active cell and the edge of the "
               "sheet (%3 rows, %4 columns). Select a cell further up or left and paste again.")
        .arg(lines.size())
        .arg(width)
        .arg(kSheetRowLimit)
        .arg(kSheetColumnLimit);
}

} // namespace sumora::app
