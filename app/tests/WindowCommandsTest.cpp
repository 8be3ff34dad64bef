// Window commands around the grid: the type Save As writes, the in-cell
// function popup with a single match, the right-click menus and the row
// height, column width and comment commands they offer.
#include <QAction>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QListWidget>
#include <QMenu>
#include <QScrollBar>
#include <QSpinBox>
#include <QTimer>

#include "AppTestSupport.h"
#include "app/ContextMenus.h"
#include "app/FormatCellsDialog.h"
#include "app/SaveAsTarget.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class WindowCommandsTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SheetGridView* grid() { return window->grid(); }

    // Right-clicks `target` at `pos` and returns the object names of the
    // menu's entries (submenus by their own names), closing it unseen.
    QStringList menuAt(QWidget* target, const QPoint& pos) {
        QStringList names;
        QTimer::singleShot(0, [&names] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu) return;
            names << menu->objectName();
            for (QAction* a : menu->actions())
                if (!a->isSeparator()) names << (a->menu() ? a->menu()->objectName() : a->objectName());
            menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, pos, target->mapToGlobal(pos));
        QApplication::sendEvent(target, &event);
        return names;
    }

  private slots:
    void init() { window = openWindow(); }
    void cleanup() { discardWindow(window); }

    void saveAsFollowsAKnownExtensionElseTheFilter_data() {
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<int>("filter");
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("type");
        const int xlsx = 0, ods = 1, csv = 2;
        QTest::newRow("ods name under the xlsx filter") << "/t/a.ods" << xlsx << "/t/a.ods" << ods;
        QTest::newRow("upper-case extension") << "/t/a.CSV" << ods << "/t/a.CSV" << csv;
        QTest::newRow("no extension takes the filter's") << "/t/a" << ods << "/t/a.ods" << ods;
        QTest::newRow("unknown extension gets the filter's") << "/t/a.v2" << xlsx << "/t/a.v2.xlsx" << xlsx;
    }
    void saveAsFollowsAKnownExtensionElseTheFilter() {
        QFETCH(QString, chosen);
        QFETCH(int, filter);
        QFETCH(QString, path);
        QFETCH(int, type);
        const SaveAsTarget target = saveAsTarget(chosen, saveFilters().at(filter).filter);
        QCOMPARE(target.path, path);
        QCOMPARE(static_cast<int>(target.type), static_cast<int>(saveFilters().at(type).type));
    }

    void aSingleFunctionMatchIsShownInItsPopup() {
        grid()->selectCell(0, 0);
        typeText(grid(), QStringLiteral("=VLOOKU"));
        auto* popup = window->findChild<QListWidget*>(QStringLiteral("formulaAutocompletePopup"));
        QVERIFY(popup && popup->isVisible());
        QCOMPARE(popup->count(), 1);
        QVERIFY(!popup->horizontalScrollBar()->isVisible());
        const QRect row = popup->visualItemRect(popup->item(0));
        // The row may be wider than the popup (its text is elided), never cut off below.
        QVERIFY2(row.top() >= 0 && row.bottom() <= popup->viewport()->rect().bottom(),
                 "the only match must be visible");
        pressKey(grid(), Qt::Key_Escape);
    }

    void rightClicksOfferTheCommandsOfWhatWasClicked() {
        const QPoint cell = grid()->visualRect(window->sheetModel()->index(3, 2)).center();
        const QStringList cellMenu = menuAt(grid()->viewport(), cell);
        QCOMPARE(window->editor().activeCell, (CellPosition{2, 3})); // the clicked cell is selected first
        for (const char* name : {"cellContextMenu", "cut", "copy", "paste", "pasteSpecialMenu",
                                 "insertRowAbove", "deleteColumn", "clearContents", "editComment"})
            QVERIFY2(cellMenu.contains(QLatin1String(name)), name);

        QHeaderView* rows = grid()->verticalHeader();
        const QPoint rowFive(rows->width() / 2, rows->sectionViewportPosition(4) + 3);
        const QStringList rowMenu = menuAt(rows->viewport(), rowFive);
        QCOMPARE(rowMenu.value(0), QStringLiteral("rowHeaderContextMenu"));
        QVERIFY(rowMenu.contains(QStringLiteral("rowHeight")));
        QCOMPARE(grid()->selectedRange(), (SelectionRange{0, 4, 16383, 4}));

        QHeaderView* columns = grid()->horizontalHeader();
        const QPoint columnB(columns->sectionViewportPosition(1) + 3, columns->height() / 2);
        const QStringList columnMenu = menuAt(columns->viewport(), columnB);
        QCOMPARE(columnMenu.value(0), QStringLiteral("columnHeaderContextMenu"));
        QVERIFY(columnMenu.contains(QStringLiteral("columnWidth")));
        QCOMPARE(grid()->selectedRange(), (SelectionRange{1, 0, 1, 1048575}));
    }

    void formatCellsPreviewsAndAppliesOnlyWhatChanged() {
        window->editor().setCellValue({1, 1}, "1234.5678");
        grid()->selectRange(1, 1, 2, 2);
        window->editor().setAlignment(CellAlignment::center);
        FormatCellsDialog dialog(window->editor(), window);
        dialog.categories()->setCurrentRow(2); // Currency
        QCOMPARE(dialog.numberFormatCode(), QStringLiteral("$#,##0.00"));
        QCOMPARE(dialog.previewText(), QStringLiteral("$1,234.57"));
        dialog.categories()->setCurrentRow(3);
        dialog.decimals()->setValue(1);
        QCOMPARE(dialog.previewText(), QStringLiteral("123456.8%"));
        dialog.wrapText()->setChecked(true);
        dialog.border(1)->setChecked(true);
        dialog.chooseFill("FFF2CC");
        dialog.apply();
        const CellFormat& f = window->document().sheets[0].cell(2, 2).format();
        QCOMPARE(f.numberFormat.value_or(""), std::string("0.0%"));
        QVERIFY(f.wrapText && f.borderBottom && !f.borderTop);
        QCOMPARE(f.fillColor.value_or(""), std::string("FFF2CC"));
        QCOMPARE(f.alignment, CellAlignment::center); // untouched parts stay
        QCOMPARE(*window->undoManager().undoActionName(), std::string("Format Cells"));
    }

    void sizeAndCommentCommandsChangeTheSheet() {
        grid()->selectRange(1, 1, 2, 3);
        setSelectedRowHeight(*window, 40);
        setSelectedColumnWidth(*window, 150);
        const Sheet& sheet = window->document().sheets[0];
        QCOMPARE(sheet.rowHeights, (std::map<int64_t, double>{{1, 40.0}, {2, 40.0}}));
        QCOMPARE(sheet.columnWidths.size(), size_t(3));
        QCOMPARE(grid()->rowHeight(2), 40);
        QCOMPARE(grid()->columnWidth(3), 150);
        setActiveCellComment(*window, QStringLiteral("check"));
        QCOMPARE(sheet.cellComments.at("B2"), std::string("check"));
        setActiveCellComment(*window, QString());
        QVERIFY(sheet.cellComments.empty());
    }
};

SUMORA_APP_TEST_MAIN(WindowCommandsTest)
#include "WindowCommandsTest.moc"
