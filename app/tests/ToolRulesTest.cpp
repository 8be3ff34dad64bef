// Conditional formats and data validation in a window: the dialogs write the
// sheet's rule lists as undoable steps, the grid shows what the rules say,
// and typed entries meet their validation rule's error style.
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QTimer>
#include <QToolButton>

#include "AppTestSupport.h"
#include "app/FormulaBar.h"
#include "app/SheetTableModel.h"
#include "app/tools/ColorButton.h"
#include "app/tools/ConditionalFormatDialog.h"
#include "app/tools/ConditionalRuleEditor.h"
#include "app/tools/DataValidationDialog.h"
#include "app/tools/ToolActions.h"
#include "app/tools/ToolHost.h"
#include "app/tools/ValidationGuard.h"

using namespace sumora;
using namespace sumora::app;
using namespace sumora::app::test;

namespace {

// What the validation alerts were asked, and what the user answers.
struct Answers {
    QList<ValidationOutcome> asked;
    bool keepWarnings = false;
};
Answers& answers() {
    static Answers a;
    return a;
}

} // namespace

class ToolRulesTest : public QObject {
    Q_OBJECT

    MainWindow* window = nullptr;
    SumoraEditorView& editor() { return window->editor(); }
    const Sheet& sheet() { return window->document().sheets[0]; }

    void enter(int row, int column, const QString& text) {
        window->grid()->selectCell(row, column);
        window->grid()->setFocus();
        typeText(window->grid(), text);
        pressKey(window->grid(), Qt::Key_Return);
    }

    // A rule editor filled for `type` over A1:A5 with a red fill.
    static void fill(ConditionalRuleEditor* e, int type, const QString& v1 = {}, const QString& v2 = {}) {
        e->rangeField()->setText(QStringLiteral("A1:A5"));
        e->typeBox()->setCurrentIndex(type);
        e->firstValueField()->setText(v1);
        e->secondValueField()->setText(v2);
        e->textField()->setText(v1);
        e->fillCheck()->setChecked(true);
        e->fillButton()->setHex("FF0000");
    }

  private slots:
    void initTestCase() {
        ValidationGuard::setPrompter([](const ValidationVerdict& v) {
            answers().asked << v.outcome;
            return v.outcome == ValidationOutcome::inform || answers().keepWarnings;
        });
    }
    void init() {
        window = openWindow();
        answers() = {};
        for (int r = 0; r < 5; ++r)
            editor().setCellValue({0, r}, std::to_string((r + 1) * 10)); // 10 … 50
        window->documentChanged();
    }
    void cleanup() { discardWindow(window); }

    void ruleEditorBuildsEveryRuleType() {
        ConditionalRuleEditor e;
        const std::size_t types = std::variant_size_v<ConditionalRuleType>;
        for (std::size_t t = 0; t < types; ++t) {
            fill(&e, static_cast<int>(t), QStringLiteral("3"), QStringLiteral("1"));
            e.countField()->setValue(2);
            auto built = e.rule();
            QVERIFY2(built, qPrintable(ruleTypeLabel(t)));
            QCOMPARE(built->ruleType.index(), t);
            QCOMPARE(built->endRow, 4);
            QCOMPARE(*built->format.fillColor, std::string("FF0000"));
            // Loading a rule and reading it back gives the same rule.
            e.setRule(*built);
            QVERIFY(*e.rule() == *built);
        }
        fill(&e, 3, QStringLiteral("9"), QStringLiteral("2"));
        QVERIFY(std::get<rule::Between>(e.rule()->ruleType) == (rule::Between{2, 9})); // ordered
        fill(&e, 0, QStringLiteral("ten"));
        QVERIFY(!e.rule());
        e.rangeField()->setText(QStringLiteral("not a range"));
        QVERIFY(!e.rule());
    }

    void boldAndItalicCanBeLeftAsTheCellHasThem() {
        ConditionalRuleEditor e;
        fill(&e, 0, QStringLiteral("1"));
        e.boldCheck()->setCheckState(Qt::PartiallyChecked);
        e.italicCheck()->setCheckState(Qt::Unchecked);
        e.fillCheck()->setChecked(false);
        auto built = e.rule();
        QVERIFY(!built->format.isBold);
        QVERIFY(built->format.isItalic == std::optional<bool>(false));
        QVERIFY(!built->format.fillColor);
    }

    void dialogAddsEditsReordersAndDeletesAsOneUndoStep() {
        ConditionalFormatDialog dialog(*window);
        fill(dialog.ruleEditor(), 0, QStringLiteral("25")); // greater than 25
        QVERIFY(dialog.addRule(false));
        fill(dialog.ruleEditor(), 11); // colour scale
        QVERIFY(dialog.addRule(false));
        QCOMPARE(dialog.ruleList()->count(), 2);
        QCOMPARE(dialog.ruleList()->item(0)->text(), QStringLiteral("A1:A5 — Greater Than 25"));

        dialog.ruleList()->setCurrentRow(1);
        dialog.moveSelectedRule(-1);
        QCOMPARE(dialog.rules().front().ruleType.index(), std::size_t{11});
        dialog.ruleList()->setCurrentRow(1);
        fill(dialog.ruleEditor(), 1, QStringLiteral("15")); // now less than 15
        QVERIFY(dialog.editSelectedRule(false));
        QVERIFY(std::holds_alternative<rule::LessThan>(dialog.rules()[1].ruleType));
        dialog.apply();
        QCOMPARE(sheet().conditionalFormats.size(), std::size_t{2});
        QCOMPARE(*window->undoManager().undoActionName(), std::string("Conditional Formatting"));

        // The grid draws them: 10 is below 15 and red; 50 only takes the scale's top colour.
        const CellAppearance low = window->sheetModel()->appearance(window->sheetModel()->index(0, 0));
        QCOMPARE(low.fill, QColor(0xFF, 0x00, 0x00));
        const CellAppearance high = window->sheetModel()->appearance(window->sheetModel()->index(4, 0));
        QCOMPARE(high.fill,
                 colorFromHex(std::get<rule::ColorScale2>(sheet().conditionalFormats[0].ruleType).high));

        ConditionalFormatDialog again(*window);
        again.ruleList()->setCurrentRow(0);
        again.deleteSelectedRule();
        again.apply();
        QCOMPARE(sheet().conditionalFormats.size(), std::size_t{1});
        window->undo();
        QCOMPARE(sheet().conditionalFormats.size(), std::size_t{2});
    }

    void validationDialogWritesEveryType() {
        struct Case {
            int type;
            QString min, max, source, formula;
            std::size_t index;
        };
        const QList<Case> cases = {
            {0, "1", "10", {}, {}, 0}, {1, "0.5", {}, {}, {}, 1},        {2, {}, {}, "Low, High", {}, 2},
            {3, "2", "5", {}, {}, 3},  {4, "2024-01-01", {}, {}, {}, 4}, {5, {}, {}, {}, "=B1>0", 5},
        };
        for (const Case& c : cases) {
            window->grid()->selectRange(0, 1, 4, 1);
            DataValidationDialog dialog(*window);
            dialog.typeBox()->setCurrentIndex(c.type);
            dialog.minimumField()->setText(c.min);
            dialog.maximumField()->setText(c.max);
            dialog.sourceField()->setText(c.source);
            dialog.formulaField()->setText(c.formula);
            QVERIFY(dialog.apply());
            QCOMPARE(sheet().dataValidations.size(), std::size_t{1}); // the same block is replaced
            QCOMPARE(sheet().dataValidations[0].validationType.index(), c.index);
        }
        QCOMPARE(std::get<validation::Custom>(sheet().dataValidations[0].validationType).formula,
                 std::string("B1>0"));

        window->grid()->selectCell(0, 1);
        DataValidationDialog edit(*window); // opens on the cell's rule
        QCOMPARE(edit.typeBox()->currentIndex(), 5);
        QCOMPARE(edit.rangeField()->text(), QStringLiteral("B1:B5"));
        edit.typeBox()->setCurrentIndex(0);
        edit.minimumField()->setText(QStringLiteral("ten"));
        QVERIFY(!edit.apply());
        QCOMPARE(edit.messageLabel()->text(), QStringLiteral("The bounds must be numbers."));
        edit.clearAll();
        QVERIFY(sheet().dataValidations.empty());
    }

    // The open cell editor, if any.
    QLineEdit* cellEditor() { return window->grid()->findChild<QLineEdit*>(QStringLiteral("cellEditor")); }
    bool editing() { return cellEditor() && cellEditor()->isVisible(); }

    void stopRefusesWarningAsksAndInfoInforms() {
        DataValidationRule rule;
        rule.validationType = validation::WholeNumber{1, 10};
        rule.startCol = rule.endCol = 1;
        rule.endRow = 9;
        window->document().sheets[0].dataValidations.push_back(rule);
        UndoManager& undo = *editor().undoManager;

        enter(0, 1, QStringLiteral("5"));
        QCOMPARE(shown(window, 0, 1), QStringLiteral("5"));
        QVERIFY(answers().asked.isEmpty());
        const size_t steps = undo.undoCount();

        // A refused entry never reaches the sheet: the editor stays open on
        // the selected text for correction, and no undo step is left behind.
        enter(0, 1, QStringLiteral("50"));
        QCOMPARE(answers().asked, QList<ValidationOutcome>{ValidationOutcome::refuse});
        QCOMPARE(shown(window, 0, 1), QStringLiteral("5"));
        QVERIFY(editing());
        QCOMPARE(cellEditor()->selectedText(), QStringLiteral("50"));
        QCOMPARE(undo.undoCount(), steps);
        QVERIFY(!undo.canRedo());
        typeText(window->grid(), QStringLiteral("7"));
        pressKey(window->grid(), Qt::Key_Return);
        QVERIFY(!editing());
        QCOMPARE(shown(window, 0, 1), QStringLiteral("7"));
        QCOMPARE(answers().asked.size(), 1); // a valid correction is not asked about

        window->document().sheets[0].dataValidations[0].errorStyle = ValidationErrorStyle::warning;
        enter(1, 1, QStringLiteral("70"));
        QCOMPARE(shown(window, 1, 1), QString()); // declined
        QVERIFY(editing());
        pressKey(window->grid(), Qt::Key_Escape);
        QVERIFY(!editing());
        answers().keepWarnings = true;
        enter(1, 1, QStringLiteral("70"));
        QCOMPARE(shown(window, 1, 1), QStringLiteral("70"));

        window->document().sheets[0].dataValidations[0].errorStyle = ValidationErrorStyle::information;
        enter(2, 1, QStringLiteral("0"));
        QCOMPARE(shown(window, 2, 1), QStringLiteral("0"));
        QCOMPARE(answers().asked.back(), ValidationOutcome::inform);

        // Unchanged content is not checked again.
        window->document().sheets[0].dataValidations[0].errorStyle = ValidationErrorStyle::stop;
        const qsizetype asked = answers().asked.size();
        QVERIFY(approveCellEntry(*window, {1, 1}, QStringLiteral("70")) == false);
        QVERIFY(window->sheetModel()->approveEntry(1, 1, QStringLiteral("70")));
        QCOMPARE(answers().asked.size(), asked + 1);
    }

    // With the real alert box up, the editor loses the focus: that must not
    // commit the refused text behind the box's back.
    void realAlertBoxKeepsTheEditorOpen() {
        DataValidationRule rule;
        rule.validationType = validation::WholeNumber{1, 10};
        rule.startCol = rule.endCol = 1;
        rule.endRow = 9;
        window->document().sheets[0].dataValidations.push_back(rule);
        ValidationGuard::setPrompter({});
        int closed = 0;
        QTimer closer;
        connect(&closer, &QTimer::timeout, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                box->accept();
                ++closed;
            }
        });
        closer.start(20);
        enter(0, 1, QStringLiteral("50"));
        QCOMPARE(closed, 1);
        QCOMPARE(shown(window, 0, 1), QString());
        QVERIFY(editing());
        pressKey(window->grid(), Qt::Key_Escape);
        QVERIFY(!editing());

        // Leaving the editor for another cell asks too, and drops a refused entry.
        window->grid()->selectCell(0, 1);
        window->grid()->setFocus();
        typeText(window->grid(), QStringLiteral("60"));
        window->grid()->selectCell(4, 4);
        QApplication::processEvents();
        closer.stop();
        initTestCase(); // the recording prompter again
        QCOMPARE(closed, 2);
        QVERIFY(!editing());
        QCOMPARE(shown(window, 0, 1), QString());
    }

    void formulaBarEntriesAreCheckedBeforeTheyAreStored() {
        DataValidationRule rule;
        rule.validationType = validation::Decimal{std::nullopt, 1000};
        rule.startCol = rule.endCol = 1;
        rule.endRow = 9;
        window->document().sheets[0].dataValidations.push_back(rule);
        QLineEdit* field = window->formulaBar()->formulaField();
        window->grid()->selectCell(0, 1);
        const size_t steps = editor().undoManager->undoCount();

        // Checked as it would be stored: "=A5*100" is 5000, "1,234" is 1234.
        for (const QString& text : {QStringLiteral("=A5*100"), QStringLiteral("1,234")}) {
            field->setFocus();
            field->setText(text);
            QTest::keyClick(field, Qt::Key_Return);
            QCOMPARE(shown(window, 0, 1), QString());
            QVERIFY(field->hasFocus());
        }
        QCOMPARE(answers().asked.size(), 2);
        QCOMPARE(editor().undoManager->undoCount(), steps);
        field->setText(QStringLiteral("=A5*10"));
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(shown(window, 0, 1), QStringLiteral("500"));
    }

    void selectedCellShowsItsPromptAndDropdown() {
        DataValidationRule rule;
        rule.validationType = validation::List{{"Low", "High"}};
        rule.startCol = rule.endCol = 2;
        rule.endRow = 3;
        rule.inputTitle = "Priority";
        rule.inputMessage = "Pick one";
        rule.showDropdown = true;
        window->document().sheets[0].dataValidations.push_back(rule);
        ValidationGuard* guard = ToolHost::of(window)->validationGuard();

        window->grid()->selectCell(1, 2);
        QVERIFY(guard->promptLabel()->isVisible());
        QVERIFY(guard->promptLabel()->text().contains(QStringLiteral("Pick one")));
        QVERIFY(guard->dropdownButton()->isVisible());
        guard->chooseEntry(QStringLiteral("High"));
        QCOMPARE(shown(window, 1, 2), QStringLiteral("High"));

        window->grid()->selectCell(1, 3);
        QVERIFY(!guard->promptLabel()->isVisible());
        QVERIFY(!guard->dropdownButton()->isVisible());
    }
};

SUMORA_APP_TEST_MAIN(ToolRulesTest)
#include "ToolRulesTest.moc"
