#include "app/tools/FormulaAuditing.h"

#include <QAction>
#include <QDockWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

#include "app/SheetGridView.h"
#include "app/SheetTabBar.h"
#include "app/tools/CheckWorkbookPanel.h"
#include "app/tools/EvaluateFormulaPanel.h"
#include "app/tools/ToolSupport.h"
#include "app/tools/TraceArrows.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

FormulaAuditing::FormulaAuditing(DocumentContext& context, QMenuBar* menuBar)
    : QObject(context.window()), context_(context) {
    setObjectName(QStringLiteral("formulaAuditing"));
    if (SheetGridView* grid = gridOf(context_)) arrows_ = new TraceArrows(context_, *grid);
    evaluatePanel_ = new EvaluateFormulaPanel(context_);
    evaluateDock_ = dock(evaluatePanel_, QStringLiteral("evaluateFormulaDock"), tr("Evaluate Formula"));
    checkPanel_ = new CheckWorkbookPanel(context_);
    checkDock_ = dock(checkPanel_, QStringLiteral("checkWorkbookDock"), tr("Check Workbook"));
    if (menuBar) buildMenu(menuBar);
}

FormulaAuditing* FormulaAuditing::of(QWidget* window) {
    return window ? window->findChild<FormulaAuditing*>(QStringLiteral("formulaAuditing"),
                                                        Qt::FindDirectChildrenOnly)
                  : nullptr;
}

QDockWidget* FormulaAuditing::dock(QWidget* panel, const QString& name, const QString& title) {
    auto* mainWindow = qobject_cast<QMainWindow*>(context_.window());
    if (!mainWindow) {
        panel->setParent(context_.window(), Qt::Tool);
        panel->setWindowTitle(title);
        panel->hide();
        return nullptr;
    }
    auto* dock = new QDockWidget(title, mainWindow);
    dock->setObjectName(name);
    dock->setWidget(panel);
    dock->setMinimumWidth(340);
    mainWindow->addDockWidget(Qt::RightDockWidgetArea, dock);
    dock->hide();
    return dock;
}

void FormulaAuditing::showPanel(QWidget* panel, QDockWidget* dock) {
    if (dock) {
        dock->show();
        dock->raise();
    } else {
        panel->show();
    }
}

void FormulaAuditing::buildMenu(QMenuBar* bar) {
    auto* menu = new QMenu(tr("Fo&rmulas"), bar);
    menu->setObjectName(QStringLiteral("formulasMenu"));
    // Before Tools (or Help), after the menus that edit.
    QMenu* before = bar->findChild<QMenu*>(QStringLiteral("toolsMenu"));
    if (!before) before = bar->findChild<QMenu*>(QStringLiteral("helpMenu"));
    if (before)
        bar->insertMenu(before->menuAction(), menu);
    else
        bar->addMenu(menu);

    auto add = [&](const QString& name, const QString& text, const QKeySequence& key,
                   std::function<void()> command) {
        QAction* action = menu->addAction(text);
        action->setObjectName(name);
        if (!key.isEmpty()) action->setShortcut(key);
        connect(action, &QAction::triggered, this, std::move(command));
        return action;
    };
    auto say = [this](const QString& text) {
        if (auto* mainWindow = qobject_cast<QMainWindow*>(context_.window()))
            mainWindow->statusBar()->showMessage(text, 4000);
    };
    add(QStringLiteral("tracePrecedents"), tr("Trace Precedents"), QKeySequence(QStringLiteral("Shift+F9")),
        [this, say] {
            if (arrows_ && !arrows_->tracePrecedents()) say(tr("No further precedents to trace."));
        });
    add(QStringLiteral("traceDependents"), tr("Trace Dependents"), QKeySequence(QStringLiteral("Shift+F5")),
        [this, say] {
            if (arrows_ && !arrows_->traceDependents()) say(tr("No further dependents to trace."));
        });
    add(QStringLiteral("removeArrows"), tr("Remove Arrows"), {}, [this] {
        if (arrows_) arrows_->clear();
    });
    menu->addSeparator();
    add(QStringLiteral("evaluateFormula"), tr("Evaluate Formula…"), {}, [this] { showEvaluateFormula(); });
    add(QStringLiteral("checkWorkbook"), tr("Check Workbook…"), {}, [this] { checkWorkbook(); });
}

void FormulaAuditing::showEvaluateFormula() {
    SumoraEditorView& editor = context_.editor();
    if (editor.activeCell && editor.activeSheetIndex >= 0)
        evaluatePanel_->showCell(static_cast<size_t>(editor.activeSheetIndex), *editor.activeCell);
    showPanel(evaluatePanel_, evaluateDock_);
}

void FormulaAuditing::checkWorkbook() {
    showPanel(checkPanel_, checkDock_);
    checkPanel_->check(context_.window()->windowFilePath());
}

void installFormulaAuditing(DocumentContext& context, QMenuBar* menuBar) {
    new FormulaAuditing(context, menuBar);
}

void selectOnSheet(DocumentContext& context, size_t sheet, const CellRect& cells) {
    SumoraEditorView& editor = context.editor();
    if (sheet >= editor.document.sheets.size()) return;
    if (static_cast<int64_t>(sheet) != editor.activeSheetIndex) {
        if (auto* tabs = context.window()->findChild<SheetTabBar*>()) tabs->activateSheet(sheet);
        if (static_cast<int64_t>(sheet) != editor.activeSheetIndex) return; // hidden sheet
    }
    SheetGridView* grid = gridOf(context);
    if (!grid) {
        editor.activeCell = CellPosition{cells.col1, cells.row1};
        editor.selection = SelectionRange{cells.col1, cells.row1, cells.col2, cells.row2};
        return;
    }
    const int lastRow = grid->model()->rowCount() - 1, lastCol = grid->model()->columnCount() - 1;
    if (cells.row1 > lastRow || cells.col1 > lastCol) return;
    if (cells.isCell())
        grid->selectCell(cells.row1, cells.col1);
    else
        grid->selectRange(cells.row1, cells.col1, std::min(cells.row2, lastRow),
                          std::min(cells.col2, lastCol));
    grid->setFocus();
}

} // namespace sumora::app
