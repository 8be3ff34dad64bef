#pragma once
// Key gestures of the grid that are not plain movement, shared by the grid
// (which handles them between edits) and the cell editor (which handles the
// ones that make sense while typing).
#include <QString>
#include <optional>

class QKeyEvent;

namespace sumora::app {

// Ctrl+; gives today's date, Ctrl+Shift+; the time of day, as the text a
// user would type ("2026-11-25", "14:05"): entry keeps both as text.
std::optional<QString> dateTimeShortcutText(const QKeyEvent* event);

} // namespace sumora::app
