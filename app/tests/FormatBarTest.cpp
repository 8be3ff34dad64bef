// The format bar's controls change the selected cells through the editor's
// formatting commands, register named undo steps, and the grid draws the
// result.
#include <QAction>
#include <QComboBox>

#include "AppTestSupport.h"
#include "app/CellAppearance.h"
#include "app/FormatBar.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

class FormatBarTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    FormatBar* bar() { return window->formatBar(); }
    const CellFormat& format(int row, int col) {
        return window->document().sheets[0].cell(row, col).format();
    }

    void choosePreset(const QString& label) {
        QComboBox* box = bar()->numberFormatBox();
        box->setCurrentIndex(box->findText(label));
        emit box->activated(box->currentIndex());
    }

  private slots:
    void init() {
        window = openWindow();
        window->editor().setCellValue({0, 0}, "1234.5");
        window->editor().setCellValue({0, 1}, "-2");
        window->documentChanged();
        window->grid()->selectRange(0, 0, 1, 0);
    }
    void cleanup() { discardWindow(window); }

    void boldAppliesToTheSelectionAndUndoesAsOneStep() {
        bar()->boldAction()->trigger();
        QVERIFY(format(0, 0).isBold);
        QVERIFY(format(1, 0).isBold);
        QVERIFY(bar()->boldAction()->isChecked());
        QVERIFY(window->sheetModel()->appearance(window->sheetModel()->index(0, 0)).font.bold());
        QCOMPARE(window->action(QStringLiteral("undo"))->text(), QStringLiteral("Undo Bold"));
        window->undo();
        QVERIFY(!format(0, 0).isBold);
        QVERIFY(!format(1, 0).isBold);
        QVERIFY(!bar()->boldAction()->isChecked());
    }

    void theFormatMenuSharesTheBarsCommands() {
        window->action(QStringLiteral("italic"))->trigger();
        QVERIFY(format(0, 0).isItalic);
        QVERIFY(bar()->italicAction()->isChecked());
        window->action(QStringLiteral("strikethrough"))->trigger();
        QVERIFY(format(1, 0).isStrikethrough);
    }

    void numberFormatPresetsChangeWhatTheGridShows_data() {
        QTest::addColumn<QString>("preset");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("Currency") << "Currency"
                                  << "$1,234.50"
                                  << "-$2.00";
        QTest::newRow("Percent") << "Percent"
                                 << "123450.00%"
                                 << "-200.00%";
        QTest::newRow("Number") << "Number"
                                << "1234.50"
                                << "-2.00";
        QTest::newRow("General") << "General"
                                 << "1234.5"
                                 << "-2";
    }
    void numberFormatPresetsChangeWhatTheGridShows() {
        QFETCH(QString, preset);
        QFETCH(QString, first);
        QFETCH(QString, second);
        choosePreset(preset);
        QCOMPARE(shown(window, 0, 0), first);
        QCOMPARE(shown(window, 1, 0), second);
    }

    void decimalsFontSizeAndFillReachTheCell() {
        window->grid()->selectCell(0, 0);
        choosePreset(QStringLiteral("Number"));
        bar()->increaseDecimalAction()->trigger();
        QCOMPARE(shown(window, 0, 0), QStringLiteral("1234.500"));
        bar()->sizeBox()->setCurrentText(QStringLiteral("16"));
        emit bar()->sizeBox()->textActivated(QStringLiteral("16"));
        QCOMPARE(format(0, 0).fontSize.value_or(0), 16.0);
        bar()->applyFillColor(QStringLiteral("FFFF00"));
        QCOMPARE(format(0, 0).fillColor.value_or(""), std::string("FFFF00"));
        QCOMPARE(window->sheetModel()->appearance(window->sheetModel()->index(0, 0)).fill,
                 QColor(Qt::yellow));
        bar()->applyFontColor(QStringLiteral("FF0000"));
        QCOMPARE(window->sheetModel()->appearance(window->sheetModel()->index(0, 0)).textColor,
                 QColor(Qt::red));
    }

    void alignmentOverridesTheGeneralRule() {
        auto alignmentOf = [&](int row) {
            return window->sheetModel()->appearance(window->sheetModel()->index(row, 0)).alignment &
                   Qt::AlignHorizontal_Mask;
        };
        QCOMPARE(alignmentOf(0), Qt::AlignRight); // numbers go right under general alignment
        bar()->alignCenterAction()->trigger();
        QCOMPARE(format(0, 0).alignment, CellAlignment::center);
        QCOMPARE(alignmentOf(0), Qt::AlignHCenter);
        bar()->alignCenterAction()->trigger(); // unchecking returns to general
        QCOMPARE(format(0, 0).alignment, CellAlignment::general);
    }

    void mergeSpansTheGridAndClearFormattingResets() {
        window->grid()->selectRange(0, 0, 1, 1);
        bar()->mergeAction()->trigger();
        QCOMPARE(window->document().sheets[0].mergedRegions.size(), size_t(1));
        QCOMPARE(window->grid()->rowSpan(0, 0), 2);
        QCOMPARE(window->grid()->columnSpan(0, 0), 2);
        bar()->boldAction()->trigger();
        bar()->clearFormattingAction()->trigger();
        QVERIFY(format(0, 0).isDefault());
    }
};

SUMORA_APP_TEST_MAIN(FormatBarTest)
#include "FormatBarTest.moc"
