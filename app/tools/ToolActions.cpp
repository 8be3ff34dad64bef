#include "app/tools/ToolActions.h"

#include <QAction>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include "app/Alerts.h"
#include "app/Settings.h"
#include "app/SheetGridView.h"
#include "app/tools/AutoFilterPopup.h"
#include "app/tools/ChartInsertion.h"
#include "app/tools/ChartLayer.h"
#include "app/tools/ConditionalFormatDialog.h"
#include "app/tools/DataValidationDialog.h"
#include "app/tools/FindReplaceBar.h"
#include "app/tools/FormulaAuditing.h"
#include "app/tools/GoalSeekDialog.h"
#include "app/tools/MacroPanel.h"
#include "app/tools/PdfExport.h"
#include "app/tools/RemoveDuplicatesDialog.h"
#include "app/tools/ScenarioDialog.h"
#include "app/tools/SolverDialog.h"
#include "app/tools/SortDialog.h"
#include "app/tools/SparklineDialog.h"
#include "app/tools/SparklinePainter.h"
#include "app/tools/TextToColumnsDialog.h"
#include "app/tools/ToolHost.h"
#include "app/tools/ToolSupport.h"
#include "app/tools/ValidationGuard.h"
#include "values/Log.h"

namespace sumora::app {

namespace {

QMenu* menuNamed(QMenuBar* bar, const QString& name, const QString& title) {
    if (auto* menu = bar->findChild<QMenu*>(name)) return menu;
    auto* menu = bar->addMenu(title);
    menu->setObjectName(name);
    return menu;
}

// Adds a command to `menu`, before `before` when given.
QAction* addTool(QMenu* menu, QObject* owner, const QString& name, const QString& text,
                 const QKeySequence& key, std::function<void()> command, QAction* before = nullptr) {
    auto* action = new QAction(text, menu);
    action->setObjectName(name);
    if (!key.isEmpty()) action->setShortcut(key);
    QObject::connect(action, &QAction::triggered, owner, std::move(command));
    if (before)
        menu->insertAction(before, action);
    else
        menu->addAction(action);
    return action;
}

} // namespace

// Dialogs that act through their own buttons get their effect there; the
// others apply on OK.
template <class Dialog> void ToolHost::runDialog() {
    Dialog dialog(context_, context_.window());
    dialog.exec();
}

ToolHost::ToolHost(DocumentContext& context, QMenuBar* menuBar)
    : QObject(context.window()), context_(context),
      pageSetup_(PageSetup::defaultsFor(Settings::instance().measurementUnit())) {
    setObjectName(QStringLiteral("toolHost"));
    registerSparklinePainter();
    if (SheetGridView* grid = gridOf(context_)) {
        filterButtons_ = new AutoFilterButtons(context_, *grid);
        charts_ = new ChartLayer(context_, *grid);
    }
    guard_ = new ValidationGuard(context_, gridOf(context_));
    buildFindBar();
    buildMacroDock();
    if (menuBar) buildMenus(menuBar);
}

ToolHost* ToolHost::of(QWidget* window) {
    return window ? window->findChild<ToolHost*>(QStringLiteral("toolHost"), Qt::FindDirectChildrenOnly)
                  : nullptr;
}

void ToolHost::buildMenus(QMenuBar* bar) {
    QObject* o = this;
    DocumentContext& ctx = context_;

    QMenu* file = menuNamed(bar, QStringLiteral("fileMenu"), tr("&File"));
    QAction* close = file->findChild<QAction*>(QStringLiteral("close"));
    addTool(
        file, o, QStringLiteral("exportPdf"), tr("Export as PDF…"), {}, [this] { exportPdf(); }, close);
    addTool(
        file, o, QStringLiteral("pageSetup"), tr("Page Setup…"), {},
        [this] {
            PageSetupDialog dialog(pageSetup_, Settings::instance().measurementUnit(), context_.window());
            if (dialog.exec() == QDialog::Accepted) pageSetup_ = dialog.setup();
        },
        close);
    addTool(
        file, o, QStringLiteral("printPreview"), tr("Print Preview…"), {},
        [this] { previewActiveSheet(context_, pageSetup_); }, close);
    addTool(
        file, o, QStringLiteral("print"), tr("Print…"), QKeySequence::Print,
        [this] { printActiveSheet(context_, pageSetup_); }, close);
    if (close) file->insertSeparator(close);

    QMenu* edit = menuNamed(bar, QStringLiteral("editMenu"), tr("&Edit"));
    edit->addSeparator();
    addTool(edit, o, QStringLiteral("findReplace"), tr("Find and Replace…"), QKeySequence::Find,
            [this] { showFindBar(); });
    addTool(edit, o, QStringLiteral("findNext"), tr("Find Next"), QKeySequence::FindNext, [this] {
        showFindBar();
        findBar_->findNext();
    });
    addTool(edit, o, QStringLiteral("findPrevious"), tr("Find Previous"), QKeySequence::FindPrevious, [this] {
        showFindBar();
        findBar_->findPrevious();
    });

    QMenu* insert = menuNamed(bar, QStringLiteral("insertMenu"), tr("&Insert"));
    insert->addSeparator();
    addTool(insert, o, QStringLiteral("insertChart"), tr("Chart…"), {}, [&ctx] {
        ChartInsertionDialog dialog(ctx, ctx.window());
        if (dialog.exec() == QDialog::Accepted) dialog.apply();
    });
    addTool(insert, o, QStringLiteral("insertSparkline"), tr("Sparkline…"), {}, [&ctx] {
        SparklineDialog dialog(ctx, ctx.window());
        dialog.exec();
    });
    addTool(insert, o, QStringLiteral("removeSparkline"), tr("Remove Sparkline"), {},
            [&ctx] { removeSparklineAtActiveCell(ctx); });

    QMenu* format = menuNamed(bar, QStringLiteral("formatMenu"), tr("F&ormat"));
    format->addSeparator();
    addTool(format, o, QStringLiteral("conditionalFormatting"), tr("Conditional Formatting…"), {},
            [this] { runDialog<ConditionalFormatDialog>(); });

    QMenu* data = menuNamed(bar, QStringLiteral("dataMenu"), tr("&Data"));
    data->addSeparator();
    addTool(data, o, QStringLiteral("sortDialog"), tr("Sort…"), {}, [this] { runDialog<SortDialog>(); });
    filterAction_ = addTool(data, o, QStringLiteral("toggleFilter"), tr("Filter"),
                            QKeySequence(QStringLiteral("Ctrl+Shift+F")), [this] { toggleFilter(); });
    filterAction_->setCheckable(true);
    data->addSeparator();
    addTool(data, o, QStringLiteral("textToColumns"), tr("Text to Columns…"), {},
            [this] { runDialog<TextToColumnsDialog>(); });
    addTool(data, o, QStringLiteral("removeDuplicates"), tr("Remove Duplicates…"), {},
            [this] { runDialog<RemoveDuplicatesDialog>(); });
    addTool(data, o, QStringLiteral("dataValidation"), tr("Data Validation…"), {},
            [this] { runDialog<DataValidationDialog>(); });
    data->addSeparator();
    addTool(data, o, QStringLiteral("goalSeek"), tr("Goal Seek…"), {},
            [this] { runDialog<GoalSeekDialog>(); });
    addTool(data, o, QStringLiteral("solver"), tr("Solver…"), {}, [this] { runDialog<SolverDialog>(); });
    addTool(data, o, QStringLiteral("scenarios"), tr("Scenarios…"), {},
            [this] { runDialog<ScenarioDialog>(); });

    auto* tools = new QMenu(tr("&Tools"), bar);
    tools->setObjectName(QStringLiteral("toolsMenu"));
    QMenu* help = bar->findChild<QMenu*>(QStringLiteral("helpMenu"));
    if (help)
        bar->insertMenu(help->menuAction(), tools);
    else
        bar->addMenu(tools);
    addTool(tools, o, QStringLiteral("showMacros"), tr("Macros"), QKeySequence(QStringLiteral("Alt+F8")),
            [this] { showMacroPanel(); });
}

void ToolHost::buildFindBar() {
    findBar_ = new FindReplaceBar(context_, context_.window());
    auto* mainWindow = qobject_cast<QMainWindow*>(context_.window());
    if (!mainWindow) {
        findBar_->hide();
        return;
    }
    findToolBar_ = new QToolBar(tr("Find and Replace"), mainWindow);
    findToolBar_->setObjectName(QStringLiteral("findToolBar"));
    findToolBar_->setMovable(false);
    findToolBar_->addWidget(findBar_);
    mainWindow->addToolBarBreak(Qt::TopToolBarArea);
    mainWindow->addToolBar(Qt::TopToolBarArea, findToolBar_);
    findToolBar_->hide();
    connect(findBar_, &FindReplaceBar::closeRequested, this, &ToolHost::hideFindBar);
}

void ToolHost::showFindBar() {
    if (findToolBar_)
        findToolBar_->show();
    else
        findBar_->show();
    findBar_->activate();
}

void ToolHost::hideFindBar() {
    if (findToolBar_)
        findToolBar_->hide();
    else
        findBar_->hide();
    if (SheetGridView* grid = gridOf(context_)) grid->setFocus();
}

void ToolHost::toggleFilter() {
    toggleAutoFilter(context_);
    if (filterAction_) filterAction_->setChecked(context_.editor().autoFilter.enabled);
    if (filterButtons_) filterButtons_->refresh();
}

void ToolHost::buildMacroDock() {
    auto* mainWindow = qobject_cast<QMainWindow*>(context_.window());
    macroPanel_ = new MacroPanel(context_, nullptr);
    if (!mainWindow) {
        macroPanel_->setParent(context_.window());
        macroPanel_->hide();
        return;
    }
    macroDock_ = new QDockWidget(tr("Macros"), mainWindow);
    macroDock_->setObjectName(QStringLiteral("macroDock"));
    macroDock_->setWidget(macroPanel_);
    macroDock_->setMinimumWidth(340);
    mainWindow->addDockWidget(Qt::RightDockWidgetArea, macroDock_);
    macroDock_->hide();
}

void ToolHost::showMacroPanel() {
    if (macroDock_) {
        macroDock_->show();
        macroDock_->raise();
    } else {
        macroPanel_->show();
    }
    macroPanel_->setFocus();
}

void ToolHost::exportPdf() {
    QString suggested = QFileInfo(context_.documentTitle()).completeBaseName();
    if (suggested.isEmpty()) suggested = tr("Untitled");
    const QString path = QFileDialog::getSaveFileName(context_.window(), tr("Export as PDF"),
                                                      suggested + QStringLiteral(".pdf"), tr("PDF (*.pdf)"));
    if (path.isEmpty()) return;
    QString error;
    if (!exportActiveSheetToPdf(context_, pageSetup_, path, &error))
        showAlert(context_.window(), tr("The PDF could not be exported."), error);
}

void installToolActions(DocumentContext& context, QMenuBar* menuBar) {
    new ToolHost(context, menuBar);
    installFormulaAuditing(context, menuBar);
    Log::debug("Tools installed");
}

bool approveCellEntry(DocumentContext& context, CellPosition at, const QString& text) {
    ToolHost* host = ToolHost::of(context.window());
    if (!host || !host->validationGuard()) return true;
    return host->validationGuard()->approve(at, text);
}

} // namespace sumora::app
