#pragma once
// The sheet tabs under the grid: switching sheets, adding, renaming,
// deleting, reordering by drag, hiding and showing, and tab colours. The
// commands are public so menus and tests use the same paths as the tabs'
// context menu.
#include <QWidget>
#include <optional>
#include <vector>

class QTabBar;
class QToolButton;

namespace sumora {
class SumoraEditorView;
}

namespace sumora::app {

class SheetTabBar : public QWidget {
    Q_OBJECT
  public:
    explicit SheetTabBar(SumoraEditorView& editor, QWidget* parent = nullptr);

    // Rebuilds the tabs from the document (names, order, colours, hidden).
    void refresh();
    QTabBar* tabBar() const { return tabs_; }
    // Tab index → sheet index.
    const std::vector<size_t>& tabSheets() const { return tabSheets_; }

    void activateSheet(size_t sheetIndex);
    void addSheet();
    // Returns the reason when the name is refused.
    std::optional<QString> renameSheet(size_t sheetIndex, const QString& name);
    bool deleteSheet(size_t sheetIndex);
    void moveSheet(size_t from, size_t to);
    bool setSheetHidden(size_t sheetIndex, bool hidden);
    void setTabColor(size_t sheetIndex, std::optional<QString> hex);

    // Interactive forms (dialogs) of rename, delete and colour.
    void promptRename(size_t sheetIndex);
    void confirmDelete(size_t sheetIndex);
    void chooseTabColor(size_t sheetIndex);

  signals:
    // Another sheet is active: the grid reloads.
    void activeSheetChanged();
    // The workbook's sheets changed; `sheetDeleted` when one went away: its
    // references elsewhere turned into "#REF!", which undo cannot take back,
    // so the window forgets its undo history (as after a delete elsewhere).
    void sheetsEdited(bool sheetDeleted);

  private:
    void showContextMenu(const QPoint& pos);
    void onCurrentTabChanged(int tab);
    void onTabMoved(int from, int to);
    size_t activeSheet() const;

    SumoraEditorView& editor_;
    QTabBar* tabs_;
    QToolButton* addButton_;
    std::vector<size_t> tabSheets_;
    bool rebuilding_ = false;
};

} // namespace sumora::app
