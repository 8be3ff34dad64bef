#pragma once
// One document window: it owns the document, its editor and undo manager,
// and lays out the format bar, formula bar, grid, sheet tabs, the Insert
// Function panel and the status bar. Every command goes through the editor;
// afterwards the window re-reads the document into its views.
//
// Implementation files: MainWindow.cpp (layout, refresh, settings),
// MainWindowMenus.cpp (menus and shortcuts), MainWindowFiles.cpp (open,
// save, close, drag and drop).
#include <QMainWindow>
#include <memory>
#include <optional>
#include <set>

#include "app/DocumentContext.h"
#include "app/SystemClipboard.h"
#include "app/tools/ToolInputs.h"
#include "document/SumoraDocument.h"
#include "editing/UndoManager.h"
#include "formats/DocumentIO.h"

class QAction;
class QDockWidget;
class QLabel;
class QMenu;

namespace sumora::app {

class Autosaver;
class DocumentRead;
class FormatBar;
class FormulaBar;
class InsertFunctionPanel;
class SheetGridView;
class SheetTabBar;
class SheetTableModel;

class MainWindow : public QMainWindow, public DocumentContext {
    Q_OBJECT
  public:
    // A window over `document`; `untitledName` names a document without a file.
    explicit MainWindow(SumoraDocument document = SumoraDocument(), const QString& untitledName = QString());
    ~MainWindow() override;

    // ---- DocumentContext ----------------------------------------------------
    SumoraEditorView& editor() override { return *editor_; }
    QWidget* window() override { return this; }
    QWidget* gridViewport() override;
    void documentChanged() override;
    void markEdited() override;
    QString documentTitle() const override;
    ToolInputs& toolInputs() override { return toolInputs_; }

    SumoraDocument& document() { return *document_; }
    UndoManager& undoManager() { return undo_; }
    SheetTableModel* sheetModel() const { return model_; }
    SheetGridView* grid() const { return grid_; }
    FormulaBar* formulaBar() const { return formulaBar_; }
    FormatBar* formatBar() const { return formatBar_; }
    SheetTabBar* sheetTabs() const { return tabs_; }
    InsertFunctionPanel* insertFunctionPanel() const { return functionPanel_; }
    QDockWidget* insertFunctionDock() const { return functionDock_; }
    QLabel* statusLabel() const { return status_; }
    Autosaver* autosaver() const { return autosaver_; }
    // The action with this object name (menus are built by name: "undo", "bold" …).
    QAction* action(const QString& name) const;

    // ---- files (MainWindowFiles.cpp) ---------------------------------------
    const QString& filePath() const { return filePath_; }
    bool isEdited() const { return edited_; }
    // Whether the window still shows the untouched blank document it opened with.
    bool isPristine() const { return filePath_.isEmpty() && !edited_; }
    // Reads a file into this window (on a worker thread); alerts and returns
    // false when the reader fails.
    bool loadFile(const QString& path);
    // The same with a read already under way.
    bool loadFile(DocumentRead& read);
    // Shows a recovered copy as unsaved work under `name`.
    bool loadRecovered(const QString& recoveryPath, const QString& name);
    bool save();
    // The save panel, its type preselected from the settings or by `preferred`.
    bool saveAs(std::optional<FileType> preferred = std::nullopt);
    // Writes the document to `path` as `type` (on a worker thread), after
    // asking, once per document and format, about what `type` will not keep.
    bool saveTo(const QString& path, FileType type);

    // ---- commands used by menus and tests ----------------------------------
    void undo();
    void redo();
    void setZoomPercent(int percent);
    void showInsertFunction();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void buildLayout();
    void buildMenus();
    void buildFileMenu();
    void buildEditMenu();
    void buildInsertMenu();
    void buildFormatMenu();
    void buildDataMenu();
    void buildViewMenu();
    QAction* addCommand(QMenu* menu, const QString& name, const QString& text, const QKeySequence& shortcut,
                        std::function<void()> command);
    // Runs an editor command from a menu and refreshes the views.
    void runCommand(const std::function<void()>& command, bool structural = false);
    void connectSettings();
    void applySetting(const QString& key);
    void updateTitle();
    void updateStatus();
    void updateUndoActions();
    void setToolbarFaded(bool faded);
    void freezePanes(int rows, int columns);
    // A hash of what the grid's layout is made of: sizes, merges, hidden and frozen lines.
    size_t layoutSignature() const;
    // Re-applies sizes, merges and hidden rows when any of them changed.
    void applyLayoutIfChanged();
    // The active sheet changed, or its rows and columns moved.
    void reloadSheet();
    void followInternalLink(const QString& location);
    void sheetSwitched();
    // Ctrl+PgUp / Ctrl+PgDn: the neighbouring visible sheet in tab order.
    void stepSheet(int step);
    void replaceDocument(SumoraDocument document);

    std::unique_ptr<SumoraDocument> document_;
    UndoManager undo_;
    ToolInputs toolInputs_;
    SystemClipboard clipboard_;
    std::unique_ptr<SumoraEditorView> editor_;

    SheetTableModel* model_ = nullptr;
    SheetGridView* grid_ = nullptr;
    FormulaBar* formulaBar_ = nullptr;
    FormatBar* formatBar_ = nullptr;
    SheetTabBar* tabs_ = nullptr;
    InsertFunctionPanel* functionPanel_ = nullptr;
    QDockWidget* functionDock_ = nullptr;
    QLabel* status_ = nullptr;
    QLabel* zoomLabel_ = nullptr;
    Autosaver* autosaver_ = nullptr;

    QString filePath_;
    std::optional<FileType> fileType_;
    // Formats whose losses the user agreed to for this document.
    std::set<FileType> acceptedLosses_;
    QString untitledName_;
    bool edited_ = false;
    size_t layoutSignature_ = 0;
};

} // namespace sumora::app
