// The document window's menus and keyboard shortcuts. Each command is one
// editor call (or a window action such as zoom), run through runCommand so
// the views re-read the document afterwards. Menus carry object names
// ("fileMenu", "editMenu", "insertMenu", "formatMenu", "dataMenu",
// "viewMenu", "helpMenu") so the tools can add their entries beside these.
#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>

#include "app/Alerts.h"
#include "app/DocumentWindows.h"
#include "app/FormatBar.h"
#include "app/FormulaBar.h"
#include "app/MainWindow.h"
#include "app/PasteGuard.h"
#include "app/RecentFiles.h"
#include "app/Settings.h"
#include "app/SettingsWindow.h"
#include "app/SheetGridView.h"
#include "app/SheetTabBar.h"
#include "app/SheetTableModel.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

QAction* MainWindow::addCommand(QMenu* menu, const QString& name, const QString& text,
                                const QKeySequence& shortcut, std::function<void()> command) {
    QAction* a = menu->addAction(text);
    a->setObjectName(name);
    if (!shortcut.isEmpty()) a->setShortcut(shortcut);
    connect(a, &QAction::triggered, this, std::move(command));
    return a;
}

QAction* MainWindow::action(const QString& name) const {
    return findChild<QAction*>(name);
}

void MainWindow::buildMenus() {
    buildFileMenu();
    buildEditMenu();
    buildInsertMenu();
    buildFormatMenu();
    buildDataMenu();
    buildViewMenu();
    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->setObjectName(QStringLiteral("helpMenu"));
    addCommand(help, QStringLiteral("about"), tr("About Sumora"), {}, [this] {
        QMessageBox::about(this, tr("About Sumora"),
                           tr("Sumora %1\nA spreadsheet for workbooks in XLSX, ODS and CSV.")
                               .arg(QApplication::applicationVersion()));
    });
}

void MainWindow::buildFileMenu() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->setObjectName(QStringLiteral("fileMenu"));
    addCommand(file, QStringLiteral("new"), tr("New"), QKeySequence::New,
               [] { DocumentWindows::newWindow(); });
    addCommand(file, QStringLiteral("open"), tr("Open…"), QKeySequence::Open,
               [this] { DocumentWindows::showOpenDialog(this); });
    QMenu* recent = file->addMenu(tr("Open Recent"));
    recent->setObjectName(QStringLiteral("recentMenu"));
    connect(recent, &QMenu::aboutToShow, this, [this, recent] {
        recent->clear();
        for (const QString& path : RecentFiles::instance().paths())
            recent->addAction(path, this, [this, path] { DocumentWindows::openFile(path, this); });
        if (!recent->isEmpty()) recent->addSeparator();
        QAction* clear = recent->addAction(tr("Clear Menu"), this, [] { RecentFiles::instance().clear(); });
        clear->setEnabled(!RecentFiles::instance().paths().isEmpty());
    });
    file->addSeparator();
    addCommand(file, QStringLiteral("save"), tr("Save"), QKeySequence::Save, [this] { save(); });
    addCommand(file, QStringLiteral("saveAs"), tr("Save As…"), QKeySequence::SaveAs, [this] { saveAs(); });
    file->addSeparator();
    addCommand(file, QStringLiteral("close"), tr("Close"), QKeySequence::Close, [this] { close(); });
    file->addSeparator();
    QAction* settings = addCommand(file, QStringLiteral("settings"), tr("Settings…"),
                                   QKeySequence::Preferences, [this] { SettingsWindow::showShared(this); });
    settings->setMenuRole(QAction::PreferencesRole);
    if (settings->shortcut().isEmpty()) settings->setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
    addCommand(file, QStringLiteral("quit"), tr("Quit"), QKeySequence::Quit,
               [] { DocumentWindows::closeAll(); });
}

void MainWindow::buildEditMenu() {
    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    edit->setObjectName(QStringLiteral("editMenu"));
    addCommand(edit, QStringLiteral("undo"), tr("Undo"), QKeySequence::Undo, [this] { undo(); });
    QAction* redoAction =
        addCommand(edit, QStringLiteral("redo"), tr("Redo"), QKeySequence::Redo, [this] { redo(); });
    // Both habits redo, whichever the platform names; a key listed twice
    // would be ambiguous and do nothing.
    QList<QKeySequence> redoKeys = QKeySequence::keyBindings(QKeySequence::Redo);
    for (const QKeySequence& key :
         {QKeySequence(QStringLiteral("Ctrl+Y")), QKeySequence(QStringLiteral("Ctrl+Shift+Z"))})
        if (!redoKeys.contains(key)) redoKeys << key;
    redoAction->setShortcuts(redoKeys);
    edit->addSeparator();
    addCommand(edit, QStringLiteral("cut"), tr("Cut"), QKeySequence::Cut,
               [this] { runCommand([this] { editor_->cutSelection(); }); });
    addCommand(edit, QStringLiteral("copy"), tr("Copy"), QKeySequence::Copy,
               [this] { editor_->copySelection(); });
    // A block that would reach past the sheet's last row or column is refused whole.
    auto pasteIfFits = [this](const std::function<void()>& paste) {
        const QString text = QString::fromStdString(editor_->clipboard->text().value_or(std::string()));
        if (auto refusal = pasteRefusal(*editor_, text))
            return showAlert(this, tr("The cells cannot be pasted here."), *refusal);
        runCommand(paste);
    };
    addCommand(edit, QStringLiteral("paste"), tr("Paste"), QKeySequence::Paste,
               [this, pasteIfFits] { pasteIfFits([this] { editor_->paste(); }); });
    QMenu* special = edit->addMenu(tr("Paste Special"));
    special->setObjectName(QStringLiteral("pasteSpecialMenu"));
    addCommand(special, QStringLiteral("pasteValues"), tr("Paste only cell values"),
               QKeySequence(QStringLiteral("Ctrl+Shift+V")), [this, pasteIfFits] {
                   pasteIfFits([this] { editor_->pasteSpecial(PasteMode::valuesOnly); });
               });
    addCommand(special, QStringLiteral("pasteFormulas"), tr("Paste only formulas"), {}, [this, pasteIfFits] {
        pasteIfFits([this] { editor_->pasteSpecial(PasteMode::formulasOnly); });
    });
    addCommand(
        special, QStringLiteral("pasteFormatting"), tr("Paste only formatting"), {},
        [this, pasteIfFits] { pasteIfFits([this] { editor_->pasteSpecial(PasteMode::formattingOnly); }); });
    addCommand(edit, QStringLiteral("clearContents"), tr("Clear Contents"), {},
               [this] { runCommand([this] { editor_->clearContents(); }); });
    edit->addSeparator();
    addCommand(edit, QStringLiteral("fillDown"), tr("Fill Down"), QKeySequence(QStringLiteral("Ctrl+D")),
               [this] { runCommand([this] { editor_->fillDown(); }); });
    addCommand(edit, QStringLiteral("fillRight"), tr("Fill Right"), QKeySequence(QStringLiteral("Ctrl+R")),
               [this] { runCommand([this] { editor_->fillRight(); }); });
    edit->addSeparator();
    addCommand(edit, QStringLiteral("selectAll"), tr("Select All"), QKeySequence::SelectAll,
               [this] { grid_->selectAllStep(); });
    addCommand(edit, QStringLiteral("goTo"), tr("Go To…"), QKeySequence(QStringLiteral("Ctrl+G")), [this] {
        bool ok = false;
        const QString text =
            QInputDialog::getText(this, tr("Go To"), tr("Reference or name:"), QLineEdit::Normal,
                                  formulaBar_->addressField()->text(), &ok);
        if (ok && !text.trimmed().isEmpty()) formulaBar_->goTo(text);
    })->setShortcuts({QKeySequence(QStringLiteral("Ctrl+G")), QKeySequence(Qt::Key_F5)});
    addCommand(edit, QStringLiteral("editCell"), tr("Edit Cell"), QKeySequence(Qt::Key_F2), [this] {
        grid_->startEditing();
    })->setShortcutContext(Qt::WidgetShortcut); // the grid handles F2 itself
}

void MainWindow::buildInsertMenu() {
    QMenu* insert = menuBar()->addMenu(tr("&Insert"));
    insert->setObjectName(QStringLiteral("insertMenu"));
    addCommand(insert, QStringLiteral("insertRowAbove"), tr("Row Above"), {},
               [this] { runCommand([this] { editor_->insertRowAbove(); }, true); });
    addCommand(insert, QStringLiteral("insertColumnLeft"), tr("Column Left"), {},
               [this] { runCommand([this] { editor_->insertColumnLeft(); }, true); });
    addCommand(insert, QStringLiteral("deleteRow"), tr("Delete Row"), {},
               [this] { runCommand([this] { editor_->deleteSelectedRow(); }, true); });
    addCommand(insert, QStringLiteral("deleteColumn"), tr("Delete Column"), {},
               [this] { runCommand([this] { editor_->deleteSelectedColumn(); }, true); });
    insert->addSeparator();
    addCommand(insert, QStringLiteral("autoSum"), tr("AutoSum"), QKeySequence(QStringLiteral("Alt+=")),
               [this] { runCommand([this] { editor_->insertAutoSum(); }); });
    addCommand(insert, QStringLiteral("insertFunction"), tr("Function…"),
               QKeySequence(QStringLiteral("Ctrl+Shift+I")), [this] { showInsertFunction(); });
    insert->addSeparator();
    addCommand(insert, QStringLiteral("addSheet"), tr("Sheet"), QKeySequence(QStringLiteral("Shift+F11")),
               [this] { tabs_->addSheet(); });
    addCommand(insert, QStringLiteral("renameSheet"), tr("Rename Sheet…"), {},
               [this] { tabs_->promptRename(static_cast<size_t>(editor_->activeSheetIndex)); });
    addCommand(insert, QStringLiteral("deleteSheet"), tr("Delete Sheet…"), {},
               [this] { tabs_->confirmDelete(static_cast<size_t>(editor_->activeSheetIndex)); });
}

void MainWindow::buildFormatMenu() {
    QMenu* format = menuBar()->addMenu(tr("F&ormat"));
    format->setObjectName(QStringLiteral("formatMenu"));
    // The bar's actions carry the commands; the menu gives them shortcuts.
    auto share = [&](QAction* a, const QString& name, const QString& text, const QKeySequence& key) {
        QAction* item = addCommand(format, name, text, key, [a] { a->trigger(); });
        item->setCheckable(a->isCheckable());
        connect(a, &QAction::toggled, item, &QAction::setChecked);
    };
    share(formatBar_->boldAction(), QStringLiteral("bold"), tr("Bold"), QKeySequence::Bold);
    share(formatBar_->italicAction(), QStringLiteral("italic"), tr("Italic"), QKeySequence::Italic);
    share(formatBar_->underlineAction(), QStringLiteral("underline"), tr("Underline"),
          QKeySequence::Underline);
    share(formatBar_->strikethroughAction(), QStringLiteral("strikethrough"), tr("Strikethrough"),
          QKeySequence(QStringLiteral("Ctrl+5")));
    format->addSeparator();
    share(formatBar_->alignLeftAction(), QStringLiteral("alignLeft"), tr("Align Left"),
          QKeySequence(QStringLiteral("Ctrl+Shift+L")));
    share(formatBar_->alignCenterAction(), QStringLiteral("alignCenter"), tr("Align Center"),
          QKeySequence(QStringLiteral("Ctrl+Shift+E")));
    share(formatBar_->alignRightAction(), QStringLiteral("alignRight"), tr("Align Right"),
          QKeySequence(QStringLiteral("Ctrl+Shift+R")));
    share(formatBar_->wrapAction(), QStringLiteral("wrapText"), tr("Wrap Text"), {});
    share(formatBar_->mergeAction(), QStringLiteral("mergeCells"), tr("Merge Cells"),
          QKeySequence(QStringLiteral("Ctrl+Shift+M")));
    format->addSeparator();
    share(formatBar_->increaseDecimalAction(), QStringLiteral("increaseDecimal"), tr("Increase Decimal"), {});
    share(formatBar_->decreaseDecimalAction(), QStringLiteral("decreaseDecimal"), tr("Decrease Decimal"), {});
    share(formatBar_->clearFormattingAction(), QStringLiteral("clearFormatting"), tr("Clear Formatting"),
          QKeySequence(QStringLiteral("Ctrl+\\")));
    format->addSeparator();
    QMenu* freeze = format->addMenu(tr("Freeze Panes"));
    freeze->setObjectName(QStringLiteral("freezeMenu"));
    addCommand(freeze, QStringLiteral("freezeAtSelection"), tr("Freeze Above and Left of Active Cell"), {},
               [this] {
                   if (editor_->activeCell)
                       freezePanes(static_cast<int>(editor_->activeCell->row),
                                   static_cast<int>(editor_->activeCell->col));
               });
    addCommand(freeze, QStringLiteral("freezeTopRow"), tr("Freeze Top Row"), {},
               [this] { freezePanes(1, 0); });
    addCommand(freeze, QStringLiteral("freezeFirstColumn"), tr("Freeze First Column"), {},
               [this] { freezePanes(0, 1); });
    addCommand(freeze, QStringLiteral("unfreeze"), tr("Unfreeze Panes"), {}, [this] { freezePanes(0, 0); });
}

void MainWindow::buildDataMenu() {
    QMenu* data = menuBar()->addMenu(tr("&Data"));
    data->setObjectName(QStringLiteral("dataMenu"));
    addCommand(data, QStringLiteral("sortAscending"), tr("Sort Ascending"), {},
               [this] { runCommand([this] { editor_->sortColumn(true); }, true); });
    addCommand(data, QStringLiteral("sortDescending"), tr("Sort Descending"), {},
               [this] { runCommand([this] { editor_->sortColumn(false); }, true); });
    addCommand(data, QStringLiteral("recalculate"), tr("Recalculate"), QKeySequence(Qt::Key_F9),
               [this] { runCommand([this] { editor_->recalculateAllFormulas(); }); });
}

void MainWindow::buildViewMenu() {
    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->setObjectName(QStringLiteral("viewMenu"));
    addCommand(view, QStringLiteral("zoomIn"), tr("Zoom In"), QKeySequence::ZoomIn,
               [this] { setZoomPercent(qRound(grid_->zoom() * 100) + 10); });
    addCommand(view, QStringLiteral("zoomOut"), tr("Zoom Out"), QKeySequence::ZoomOut,
               [this] { setZoomPercent(qRound(grid_->zoom() * 100) - 10); });
    addCommand(view, QStringLiteral("actualSize"), tr("Actual Size"), QKeySequence(QStringLiteral("Ctrl+0")),
               [this] { setZoomPercent(100); });
    view->addSeparator();
    // Bound to the settings keys, so every window and the settings window agree.
    auto toggle = [&](const QString& name, const QString& text, const QString& key) {
        QAction* a = addCommand(view, name, text, {}, [] {});
        a->setCheckable(true);
        a->setChecked(Settings::instance().flag(key));
        connect(a, &QAction::toggled, this, [key](bool on) { Settings::instance().setValue(key, on); });
        connect(&Settings::instance(), &Settings::changed, a, [a, key](const QString& changed) {
            if (changed == key) a->setChecked(Settings::instance().flag(key));
        });
    };
    toggle(QStringLiteral("showGridLines"), tr("Grid Lines"), settingsKey::showGridLines);
    toggle(QStringLiteral("showHeaders"), tr("Row and Column Headers"), settingsKey::showRowColHeaders);
    view->addSeparator();
    QAction* panel = functionDock_->toggleViewAction();
    panel->setObjectName(QStringLiteral("toggleInsertFunction"));
    view->addAction(panel);
}

void MainWindow::updateUndoActions() {
    QAction* undoAction = action(QStringLiteral("undo"));
    QAction* redoAction = action(QStringLiteral("redo"));
    if (!undoAction || !redoAction) return;
    const auto undoName = undo_.undoActionName();
    const auto redoName = undo_.redoActionName();
    undoAction->setText(undoName ? tr("Undo %1").arg(QString::fromStdString(*undoName)) : tr("Undo"));
    redoAction->setText(redoName ? tr("Redo %1").arg(QString::fromStdString(*redoName)) : tr("Redo"));
    undoAction->setEnabled(undo_.canUndo());
    redoAction->setEnabled(undo_.canRedo());
}

} // namespace sumora::app
