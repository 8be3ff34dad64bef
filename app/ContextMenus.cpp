#include "app/ContextMenus.h"

#include <QAction>
#include <QHeaderView>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>

#include "app/FormatCellsDialog.h"
#include "app/MainWindow.h"
#include "app/SheetGridView.h"
#include "app/SheetTableModel.h"
#include "app/tools/ChartLayer.h"
#include "app/tools/ToolHost.h"
#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"

namespace sumora::app {

namespace {

// Rows or columns a header command acts on: the selection's, capped so
// that a whole-sheet selection does not write a million entries.
constexpr int64_t kMaxSizedSections = 100000;

Sheet* activeSheet(MainWindow& window) {
    return window.editor().activeSheet();
}

void addActions(QMenu& menu, MainWindow& window, std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (!*name) {
            menu.addSeparator();
        } else if (QAction* a = window.action(QString::fromLatin1(name))) {
            menu.addAction(a);
        } else if (auto* sub = window.findChild<QMenu*>(QString::fromLatin1(name))) {
            menu.addMenu(sub);
        }
    }
}

void askRowHeight(MainWindow& window) {
    const Sheet* sheet = activeSheet(window);
    const auto& sel = window.editor().selection;
    if (!sheet || !sel) return;
    auto it = sheet->rowHeights.find(sel->minRow());
    bool ok = false;
    const double h = QInputDialog::getDouble(
        &window, QObject::tr("Row Height"), QObject::tr("Row height (pixels):"),
        it != sheet->rowHeights.end() ? it->second : kDefaultRowHeight, 2, 1000, 0, &ok);
    if (ok) setSelectedRowHeight(window, h);
}

void askColumnWidth(MainWindow& window) {
    const Sheet* sheet = activeSheet(window);
    const auto& sel = window.editor().selection;
    if (!sheet || !sel) return;
    auto it = sheet->columnWidths.find(sel->minCol());
    bool ok = false;
    const double w = QInputDialog::getDouble(
        &window, QObject::tr("Column Width"), QObject::tr("Column width (pixels):"),
        it != sheet->columnWidths.end()
            ? it->second
            : window.grid()->horizontalHeader()->defaultSectionSize() / window.grid()->zoom(),
        2, 2000, 0, &ok);
    if (ok) setSelectedColumnWidth(window, w);
}

void askComment(MainWindow& window) {
    const Sheet* sheet = activeSheet(window);
    const auto& cell = window.editor().activeCell;
    if (!sheet || !cell) return;
    auto it = sheet->cellComments.find(cellAddress(*cell));
    bool ok = false;
    const QString text = QInputDialog::getMultiLineText(
        &window, QObject::tr("Comment"),
        QObject::tr("Comment on %1:").arg(QString::fromStdString(cellAddress(*cell))),
        it != sheet->cellComments.end() ? QString::fromStdString(it->second) : QString(), &ok);
    if (ok) setActiveCellComment(window, text);
}

void showCellMenu(MainWindow& window, const QPoint& globalPos) {
    QMenu menu(&window);
    menu.setObjectName(QStringLiteral("cellContextMenu"));
    addActions(menu, window,
               {"cut", "copy", "paste", "pasteSpecialMenu", "", "insertRowAbove", "insertColumnLeft",
                "deleteRow", "deleteColumn", "clearContents", "", "formatCells", "editComment"});
    menu.exec(globalPos);
}

void showHeaderMenu(MainWindow& window, Qt::Orientation orientation, const QPoint& globalPos) {
    QMenu menu(&window);
    if (orientation == Qt::Vertical) {
        menu.setObjectName(QStringLiteral("rowHeaderContextMenu"));
        addActions(menu, window,
                   {"cut", "copy", "paste", "", "insertRowAbove", "deleteRow", "clearContents", "",
                    "formatCells", "rowHeight", "hideRows", "unhideRows"});
    } else {
        menu.setObjectName(QStringLiteral("columnHeaderContextMenu"));
        addActions(menu, window,
                   {"cut", "copy", "paste", "", "insertColumnLeft", "deleteColumn", "clearContents", "",
                    "formatCells", "columnWidth", "hideColumns", "unhideColumns"});
    }
    menu.exec(globalPos);
}

void showChartMenu(MainWindow& window, const std::string& chartId, const QPoint& globalPos) {
    ToolHost* host = ToolHost::of(&window);
    if (!host || !host->chartLayer()) return;
    ChartLayer* layer = host->chartLayer();
    QMenu menu(&window);
    menu.setObjectName(QStringLiteral("chartContextMenu"));
    menu.addAction(QObject::tr("Edit Chart…"), &window, [layer, chartId] { layer->editChart(chartId); })
        ->setObjectName(QStringLiteral("editChart"));
    menu.addAction(QObject::tr("Delete Chart"), &window, [layer, chartId] { layer->deleteChart(chartId); })
        ->setObjectName(QStringLiteral("deleteChart"));
    menu.exec(globalPos);
}

// Right-clicking outside the selection selects what was clicked first: a
// header selects its whole row or column unless that is already selected.
void selectForMenu(SheetGridView& grid, int row, int column, bool wholeRow, bool wholeColumn) {
    const auto sel = grid.selectedRange();
    const int lastRow = grid.model()->rowCount() - 1, lastCol = grid.model()->columnCount() - 1;
    const bool rowInside = sel && row >= sel->minRow() && row <= sel->maxRow();
    const bool columnInside = sel && column >= sel->minCol() && column <= sel->maxCol();
    if (wholeRow) {
        if (rowInside && sel->minCol() == 0 && sel->maxCol() == lastCol) return;
        grid.selectCell(row, 0);
        grid.selectWholeRows();
    } else if (wholeColumn) {
        if (columnInside && sel->minRow() == 0 && sel->maxRow() == lastRow) return;
        grid.selectCell(0, column);
        grid.selectWholeColumns();
    } else if (!rowInside || !columnInside) {
        grid.selectCell(row, column);
    }
}

} // namespace

void setSelectedRowHeight(MainWindow& window, double pixels) {
    Sheet* sheet = activeSheet(window);
    const auto& sel = window.editor().selection;
    if (!sheet || !sel || pixels <= 0) return;
    for (int64_t r = sel->minRow(); r <= std::min(sel->maxRow(), sel->minRow() + kMaxSizedSections); ++r)
        sheet->rowHeights[r] = pixels;
    window.markEdited();
    window.documentChanged();
}

void setSelectedColumnWidth(MainWindow& window, double pixels) {
    Sheet* sheet = activeSheet(window);
    const auto& sel = window.editor().selection;
    if (!sheet || !sel || pixels <= 0) return;
    for (int64_t c = sel->minCol(); c <= std::min(sel->maxCol(), sel->minCol() + kMaxSizedSections); ++c)
        sheet->columnWidths[c] = pixels;
    window.markEdited();
    window.documentChanged();
}

void setActiveCellComment(MainWindow& window, const QString& text) {
    Sheet* sheet = activeSheet(window);
    const auto& cell = window.editor().activeCell;
    if (!sheet || !cell) return;
    const std::string key = cellAddress(*cell);
    if (text.trimmed().isEmpty())
        sheet->cellComments.erase(key);
    else
        sheet->cellComments[key] = text.toStdString();
    window.markEdited();
    window.documentChanged();
}

void installContextMenus(MainWindow& window) {
    SheetGridView* grid = window.grid();
    if (QMenu* format = window.findChild<QMenu*>(QStringLiteral("formatMenu"))) {
        format->addSeparator();
        auto add = [&](const char* name, const QString& text, std::function<void()> run) {
            QAction* a = format->addAction(text);
            a->setObjectName(QString::fromLatin1(name));
            QObject::connect(a, &QAction::triggered, &window, std::move(run));
        };
        add("formatCells", QObject::tr("Format Cells…"), [&window] {
            FormatCellsDialog dialog(window.editor(), &window);
            if (dialog.exec() != QDialog::Accepted) return;
            window.markEdited();
            window.documentChanged();
        });
        format->actions().constLast()->setShortcut(QKeySequence(QStringLiteral("Ctrl+1")));
        add("rowHeight", QObject::tr("Row Height…"), [&window] { askRowHeight(window); });
        add("columnWidth", QObject::tr("Column Width…"), [&window] { askColumnWidth(window); });
        add("editComment", QObject::tr("Comment…"), [&window] { askComment(window); });
        format->addSeparator();
        // Unhide acts on the hidden lines inside the selection, so selecting
        // the neighbours of a hidden row (or the whole sheet) brings it back.
        auto hiding = [&window](bool rows, bool hidden) {
            return [&window, rows, hidden] {
                if (rows)
                    window.editor().setSelectedRowsHidden(hidden);
                else
                    window.editor().setSelectedColumnsHidden(hidden);
                window.markEdited();
                window.documentChanged();
            };
        };
        add("hideRows", QObject::tr("Hide Rows"), hiding(true, true));
        format->actions().constLast()->setShortcut(QKeySequence(QStringLiteral("Ctrl+9")));
        add("unhideRows", QObject::tr("Unhide Rows"), hiding(true, false));
        format->actions().constLast()->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+9")));
        add("hideColumns", QObject::tr("Hide Columns"), hiding(false, true));
        add("unhideColumns", QObject::tr("Unhide Columns"), hiding(false, false));
    }

    // A scroll area reports its viewport's right-clicks, in viewport coordinates.
    grid->setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(grid, &QWidget::customContextMenuRequested, &window, [&window, grid](const QPoint& pos) {
        const QPoint global = grid->viewport()->mapToGlobal(pos);
        for (QWidget* w = grid->viewport()->childAt(pos); w && w != grid->viewport(); w = w->parentWidget())
            if (auto* frame = qobject_cast<ChartFrame*>(w))
                return showChartMenu(window, frame->chartId(), global);
        const QModelIndex at = grid->indexAt(pos);
        if (at.isValid()) selectForMenu(*grid, at.row(), at.column(), false, false);
        showCellMenu(window, global);
    });
    for (QHeaderView* header : {grid->verticalHeader(), grid->horizontalHeader()}) {
        header->setContextMenuPolicy(Qt::CustomContextMenu);
        QObject::connect(header, &QWidget::customContextMenuRequested, &window,
                         [&window, grid, header](const QPoint& pos) {
                             const int section = header->logicalIndexAt(pos);
                             if (section < 0) return;
                             const bool rows = header->orientation() == Qt::Vertical;
                             selectForMenu(*grid, rows ? section : 0, rows ? 0 : section, rows, !rows);
                             showHeaderMenu(window, header->orientation(),
                                            header->viewport()->mapToGlobal(pos));
                         });
    }
}

} // namespace sumora::app
