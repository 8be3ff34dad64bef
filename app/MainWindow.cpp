#include "app/MainWindow.h"

#include <QAction>
#include <QDockWidget>
#include <QFileInfo>
#include <QGraphicsOpacityEffect>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QVBoxLayout>

#include "app/Autosave.h"
#include "app/CellDelegate.h"
#include "app/ContextMenus.h"
#include "app/DocumentWindows.h"
#include "app/FormatBar.h"
#include "app/FormulaBar.h"
#include "app/FrozenPanes.h"
#include "app/FunctionArgumentsPage.h"
#include "app/InsertFunctionPanel.h"
#include "app/Settings.h"
#include "app/SheetGridView.h"
#include "app/SheetTabBar.h"
#include "app/SheetTableModel.h"
#include "app/tools/ToolActions.h"
#include "editing/HyperlinkTarget.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

namespace {

template <class T> void hashCombine(size_t& seed, const T& value) {
    seed ^= std::hash<T>{}(value) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}

} // namespace

MainWindow::MainWindow(SumoraDocument document, const QString& untitledName)
    : document_(std::make_unique<SumoraDocument>(std::move(document))), untitledName_(untitledName) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAcceptDrops(true);
    if (untitledName_.isEmpty()) untitledName_ = tr("Untitled");
    if (document_->sheets.empty()) *document_ = SumoraDocument();
    editor_ = std::make_unique<SumoraEditorView>(*document_);
    editor_->undoManager = &undo_;
    editor_->clipboard = &clipboard_;
    editor_->activeCell = CellPosition{0, 0};
    editor_->selection = SelectionRange{0, 0, 0, 0};
    autosaver_ = new Autosaver([this] { return std::make_shared<const SumoraDocument>(*document_); },
                               untitledName_, this);
    autosaver_->setInterval(Settings::instance().real(settingsKey::autoSaveInterval));

    buildLayout();
    buildMenus();
    installToolActions(*this, menuBar());
    installContextMenus(*this);
    connectSettings();

    grid_->selectCell(0, 0);
    updateTitle();
    updateStatus();
    updateUndoActions();
    resize(1200, 760);
    DocumentWindows::registerWindow(this);
}

MainWindow::~MainWindow() {
    DocumentWindows::unregisterWindow(this);
    // Views and tools read the editor while they go away (focus changes,
    // closing editors): they go before the editor and the document do.
    const auto children = findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    for (QWidget* child : children)
        delete child;
}

QWidget* MainWindow::gridViewport() {
    return grid_->viewport();
}

void MainWindow::buildLayout() {
    model_ = new SheetTableModel(*editor_, this);
    formatBar_ = new FormatBar(*editor_, this);
    addToolBar(Qt::TopToolBarArea, formatBar_);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    formulaBar_ = new FormulaBar(*editor_, central);
    grid_ = new SheetGridView(*model_, central);
    tabs_ = new SheetTabBar(*editor_, central);
    layout->addWidget(formulaBar_);
    layout->addWidget(grid_, 1);
    layout->addWidget(tabs_);
    setCentralWidget(central);

    functionPanel_ = new InsertFunctionPanel(*editor_, this);
    functionDock_ = new QDockWidget(tr("Insert Function"), this);
    functionDock_->setObjectName(QStringLiteral("insertFunctionDock"));
    functionDock_->setWidget(functionPanel_);
    functionDock_->setMinimumWidth(300);
    addDockWidget(Qt::RightDockWidgetArea, functionDock_);
    functionDock_->hide();

    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("selectionStatus"));
    zoomLabel_ = new QLabel(this);
    statusBar()->addWidget(status_, 1);
    statusBar()->addPermanentWidget(zoomLabel_);

    connect(grid_, &SheetGridView::selectionMoved, this, [this] {
        formulaBar_->refresh();
        formatBar_->refresh();
        updateStatus();
    });
    connect(grid_, &SheetGridView::cellsEdited, this, [this] {
        markEdited();
        documentChanged();
    });
    connect(grid_, &SheetGridView::layoutEdited, this, &MainWindow::markEdited);
    connect(grid_, &SheetGridView::internalLinkActivated, this, &MainWindow::followInternalLink);
    connect(model_, &SheetTableModel::cellCommitted, this, [this](int row) {
        grid_->fitWrappedRows(row, row);
        markEdited();
        documentChanged();
    });
    connect(&grid_->cellDelegate(), &CellDelegate::editorTextChanged, formulaBar_,
            &FormulaBar::showEditorText);
    connect(&grid_->cellDelegate(), &CellDelegate::editingStarted, this, [this] { setToolbarFaded(true); });
    connect(&grid_->cellDelegate(), &QAbstractItemDelegate::closeEditor, this, [this] {
        setToolbarFaded(false);
        formulaBar_->refresh();
    });

    connect(formulaBar_, &FormulaBar::committed, this, [this] {
        markEdited();
        documentChanged();
        grid_->setFocus();
    });
    connect(formulaBar_, &FormulaBar::cancelled, grid_, qOverload<>(&QWidget::setFocus));
    connect(formulaBar_, &FormulaBar::editingChanged, this, &MainWindow::setToolbarFaded);
    connect(formulaBar_, &FormulaBar::insertFunctionRequested, this, &MainWindow::showInsertFunction);
    connect(formulaBar_, &FormulaBar::sheetEntered, this,
            [this](int sheet) { tabs_->activateSheet(static_cast<size_t>(sheet)); });
    connect(grid_, &SheetGridView::sheetStepRequested, this, &MainWindow::stepSheet);
    connect(grid_, &SheetGridView::zoomStepRequested, this,
            [this](int steps) { setZoomPercent(qRound(grid_->zoom() * 100) + 10 * steps); });
    connect(formulaBar_, &FormulaBar::rangeEntered, this, [this](int top, int left, int bottom, int right) {
        grid_->selectRange(top, left, bottom, right);
        grid_->setFocus();
    });

    connect(formatBar_, &FormatBar::commandRan, this, [this](bool) {
        markEdited();
        documentChanged();
    });

    connect(tabs_, &SheetTabBar::activeSheetChanged, this, &MainWindow::sheetSwitched);
    connect(tabs_, &SheetTabBar::sheetsEdited, this, [this](bool sheetDeleted) {
        // Steps name their sheet by id, so added and moved tabs keep the
        // history; a deleted sheet's "#REF!" rewrite cannot be undone.
        if (sheetDeleted) undo_.clear();
        markEdited();
        updateUndoActions();
    });

    connect(functionPanel_, &InsertFunctionPanel::pickingChanged, grid_, &SheetGridView::setPickingMode);
    connect(grid_, &SheetGridView::rangePicked, functionPanel_, &InsertFunctionPanel::fillSelectedArgument);
    connect(grid_, &SheetGridView::pickingCommitRequested, this,
            [this] { functionPanel_->argumentsPage()->enterPressed(); });
    connect(grid_, &SheetGridView::pickingCancelRequested, this,
            [this] { functionPanel_->argumentsPage()->escapePressed(); });
    connect(functionPanel_, &InsertFunctionPanel::formulaCommitted, this, [this] {
        markEdited();
        documentChanged();
        grid_->setFocus();
    });
    connect(functionPanel_, &InsertFunctionPanel::closeRequested, functionDock_, &QDockWidget::hide);
    connect(functionDock_, &QDockWidget::visibilityChanged, this, [this](bool visible) {
        if (!visible) functionPanel_->showBrowser();
    });
}

void MainWindow::showInsertFunction() {
    functionPanel_->showBrowser();
    functionDock_->show();
    functionDock_->raise();
    functionPanel_->searchField()->setFocus();
}

void MainWindow::documentChanged() {
    model_->refreshCells();
    applyLayoutIfChanged();
    // Wrapping or typing may have changed what the selected rows need; a
    // whole-column selection refits only the rows the sheet stores.
    if (editor_->selection)
        grid_->fitWrappedRows(editor_->selection->minRow(),
                              std::min(editor_->selection->maxRow(), editor_->selection->minRow() + 10000));
    tabs_->refresh();
    formulaBar_->refresh();
    formatBar_->refresh();
    updateStatus();
    updateUndoActions();
}

size_t MainWindow::layoutSignature() const {
    const Sheet* sheet = editor_->activeSheet();
    size_t signature = 0;
    if (!sheet) return signature;
    hashCombine(signature, sheet->id);
    hashCombine(signature, sheet->frozenRows);
    hashCombine(signature, sheet->frozenColumns);
    for (const MergedRegion& m : sheet->mergedRegions)
        for (int64_t v : {m.startCol, m.startRow, m.endCol, m.endRow})
            hashCombine(signature, v);
    for (const auto& [i, w] : sheet->columnWidths)
        hashCombine(signature, i * 31 + static_cast<int64_t>(w));
    for (const auto& [i, h] : sheet->rowHeights)
        hashCombine(signature, i * 37 + static_cast<int64_t>(h));
    for (const LineSet* hidden : {&sheet->hiddenRows, &sheet->hiddenColumns})
        for (const auto& [first, last] : hidden->spans())
            hashCombine(signature, first * 41 + last);
    hashCombine(signature, static_cast<int64_t>(editor_->autoFilter.enabled));
    hashCombine(signature, static_cast<int64_t>(model_->rowCount()));
    hashCombine(signature, static_cast<int64_t>(model_->columnCount()));
    return signature;
}

void MainWindow::applyLayoutIfChanged() {
    const size_t signature = layoutSignature();
    // With a filter on, any change of cells may change which rows show.
    if (signature != layoutSignature_ || editor_->autoFilter.enabled) {
        layoutSignature_ = signature;
        grid_->applySheetLayout();
    }
}

void MainWindow::reloadSheet() {
    model_->reload(); // the grid applies the sheet's layout on the model's reset
    layoutSignature_ = layoutSignature();
}

// A link to a place in the workbook: its sheet becomes active and the cell selected.
void MainWindow::followInternalLink(const QString& location) {
    const size_t current = static_cast<size_t>(std::max<int64_t>(editor_->activeSheetIndex, 0));
    auto destination = linkDestination(editor_->document, location.toStdString(), current);
    if (!destination || editor_->document.sheets[destination->sheetIndex].isHidden) {
        statusBar()->showMessage(tr("The link's destination \"%1\" does not exist.").arg(location), 5000);
        return;
    }
    if (destination->sheetIndex != current) tabs_->activateSheet(destination->sheetIndex);
    grid_->selectCell(static_cast<int>(std::min<int64_t>(destination->row, model_->rowCount() - 1)),
                      static_cast<int>(std::min<int64_t>(destination->col, model_->columnCount() - 1)));
}

void MainWindow::sheetSwitched() {
    reloadSheet();
    grid_->selectCell(0, 0);
    formulaBar_->refresh();
    formatBar_->refresh();
    updateStatus();
}

void MainWindow::stepSheet(int step) {
    const std::vector<size_t>& order = tabs_->tabSheets();
    auto at = std::find(order.begin(), order.end(), static_cast<size_t>(editor_->activeSheetIndex));
    if (at == order.end()) return;
    const auto index = (at - order.begin()) + step;
    if (index >= 0 && index < static_cast<std::ptrdiff_t>(order.size()))
        tabs_->activateSheet(order[static_cast<size_t>(index)]);
}

void MainWindow::replaceDocument(SumoraDocument document) {
    if (document.sheets.empty()) document = SumoraDocument();
    *document_ = std::move(document);
    editor_->activeSheetIndex = 0;
    for (size_t i = 0; i < document_->sheets.size(); ++i)
        if (!document_->sheets[i].isHidden) {
            editor_->activeSheetIndex = static_cast<int64_t>(i);
            break;
        }
    editor_->invalidateCalculators();
    editor_->autoFilter = {};
    undo_.clear();
    tabs_->refresh();
    sheetSwitched();
    updateUndoActions();
}

void MainWindow::markEdited() {
    ++document_->changeCount;
    if (!edited_) {
        edited_ = true;
        updateTitle();
    }
    autosaver_->markEdited();
}

QString MainWindow::documentTitle() const {
    return filePath_.isEmpty() ? untitledName_ : QFileInfo(filePath_).fileName();
}

void MainWindow::updateTitle() {
    setWindowTitle(documentTitle() + QStringLiteral("[*] — Sumora"));
    setWindowFilePath(filePath_);
    setWindowModified(edited_);
    autosaver_->setDisplayName(documentTitle());
}

void MainWindow::updateStatus() {
    QStringList parts;
    for (const std::string& text : editor_->statusTexts())
        parts << QString::fromStdString(text);
    status_->setText(parts.join(QStringLiteral("     ")));
    zoomLabel_->setText(tr("Zoom %1%").arg(qRound(grid_->zoom() * 100)));
}

void MainWindow::setToolbarFaded(bool faded) {
    if (faded && !Settings::instance().flag(settingsKey::fadeToolbarWhileTyping)) faded = false;
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(formatBar_->graphicsEffect());
    if (!faded) {
        if (effect) formatBar_->setGraphicsEffect(nullptr);
        return;
    }
    if (!effect) {
        effect = new QGraphicsOpacityEffect(formatBar_);
        formatBar_->setGraphicsEffect(effect);
    }
    effect->setOpacity(0.35);
}

void MainWindow::setZoomPercent(int percent) {
    grid_->setZoom(std::clamp(percent, 25, 400) / 100.0);
    updateStatus();
}

void MainWindow::freezePanes(int rows, int columns) {
    const int64_t index = editor_->activeSheetIndex;
    if (index < 0 || static_cast<size_t>(index) >= document_->sheets.size()) return;
    Sheet& sheet = document_->sheets[static_cast<size_t>(index)];
    sheet.frozenRows = std::max(0, rows);
    sheet.frozenColumns = std::max(0, columns);
    markEdited();
    documentChanged();
}

void MainWindow::connectSettings() {
    connect(&Settings::instance(), &Settings::changed, this, &MainWindow::applySetting);
    for (const QString& key :
         {settingsKey::defaultFontName, settingsKey::showGridLines, settingsKey::gridLineColorHex,
          settingsKey::showRowColHeaders, settingsKey::defaultColumnWidth})
        applySetting(key);
    grid_->setZoom(Settings::instance().defaultZoomFactor());
}

void MainWindow::applySetting(const QString& key) {
    Settings& s = Settings::instance();
    if (key == settingsKey::defaultFontName || key == settingsKey::defaultFontSize ||
        key == settingsKey::defaultNumberFormat) {
        CellRenderDefaults d;
        d.fontName = s.text(settingsKey::defaultFontName);
        d.fontSize = s.real(settingsKey::defaultFontSize);
        d.numberFormat = s.text(settingsKey::defaultNumberFormat);
        grid_->setRenderDefaults(d);
        formatBar_->refresh();
    } else if (key == settingsKey::showGridLines) {
        grid_->setShowGrid(s.flag(key));
        grid_->frozenPanes().updateGeometry();
    } else if (key == settingsKey::gridLineColorHex) {
        grid_->setGridLineColor(s.gridLineColor());
    } else if (key == settingsKey::showRowColHeaders) {
        grid_->setHeadersVisible(s.flag(key));
    } else if (key == settingsKey::defaultColumnWidth) {
        grid_->setDefaultColumnWidth(s.real(key));
    } else if (key == settingsKey::autoSaveInterval) {
        autosaver_->setInterval(s.real(key));
    } else if (key == settingsKey::fadeToolbarWhileTyping && !s.flag(key)) {
        setToolbarFaded(false);
    }
}

void MainWindow::undo() {
    if (grid_->isEditing()) return;
    if (undo_.undo()) {
        editor_->invalidateCalculators();
        markEdited();
        documentChanged();
    }
}

void MainWindow::redo() {
    if (grid_->isEditing()) return;
    if (undo_.redo()) {
        editor_->invalidateCalculators();
        markEdited();
        documentChanged();
    }
}

void MainWindow::runCommand(const std::function<void()>& command, bool structural) {
    if (grid_->isEditing()) grid_->setFocus();
    command();
    if (structural) {
        editor_->invalidateCalculators();
        reloadSheet();
        if (editor_->activeCell)
            grid_->selectCell(static_cast<int>(editor_->activeCell->row),
                              static_cast<int>(editor_->activeCell->col));
    }
    markEdited();
    documentChanged();
}

} // namespace sumora::app
