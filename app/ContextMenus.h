#pragma once
// Right-click menus of a document window: on cells, on row and column
// headers and on charts (the sheet tabs bring their own). Each entry runs
// the same action or command as the menu bar, so both behave alike. Also
// adds Row Height…, Column Width… and Hide/Unhide of rows and columns to
// the Format menu.
class QMenu;
class QString;

namespace sumora::app {

class MainWindow;

void installContextMenus(MainWindow& window);

// Sets the height of every selected row / the width of every selected
// column, in grid pixels at 100 %, and refreshes the window.
void setSelectedRowHeight(MainWindow& window, double pixels);
void setSelectedColumnWidth(MainWindow& window, double pixels);
// Stores `text` as the active cell's comment; an empty text removes it.
void setActiveCellComment(MainWindow& window, const QString& text);

} // namespace sumora::app
