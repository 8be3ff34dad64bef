#pragma once
// A paste must fit the grid: a block that would reach past the last row or
// column a sheet can address is refused as a whole rather than cut short.
#include <QString>
#include <optional>

namespace sumora {
class SumoraEditorView;
}

namespace sumora::app {

// Why pasting the clipboard's `text` at the active cell is refused, or
// nothing when it fits.
std::optional<QString> pasteRefusal(const SumoraEditorView& editor, const QString& text);

} // namespace sumora::app
