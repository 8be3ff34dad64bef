#pragma once
// Edits one conditional-format rule: the range it covers, its type (every
// ConditionalRuleType, with the values, text, count or colours the type
// takes) and the format it applies (fill, font colour, bold, italic — each
// either set or left as the cell has it).
#include <QDialog>
#include <optional>

#include "document/WorkbookRecords.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;

namespace sumora::app {

class ColorButton;

// The list's wording of a rule type ("Greater Than", "2-Color Scale", …),
// by the type's index in ConditionalRuleType.
QString ruleTypeLabel(size_t typeIndex);
// One line for the rule list: "B2:B10 — Greater Than 10".
QString describeRule(const ConditionalFormatRule& rule);

class ConditionalRuleEditor : public QDialog {
    Q_OBJECT
  public:
    explicit ConditionalRuleEditor(QWidget* parent = nullptr);

    void setRule(const ConditionalFormatRule& rule);
    // The rule as entered; nothing (and a message shown) when the range or a
    // number does not read. The identifier of the rule set last is kept.
    std::optional<ConditionalFormatRule> rule();

    QLineEdit* rangeField() const { return range_; }
    QComboBox* typeBox() const { return type_; }
    QLineEdit* firstValueField() const { return value1_; }
    QLineEdit* secondValueField() const { return value2_; }
    QLineEdit* textField() const { return text_; }
    QSpinBox* countField() const { return count_; }
    ColorButton* colorButton(int index) const { return colors_[index]; }
    QCheckBox* fillCheck() const { return fillOn_; }
    ColorButton* fillButton() const { return fill_; }
    QCheckBox* fontColorCheck() const { return fontOn_; }
    ColorButton* fontColorButton() const { return font_; }
    // Tri-state: partially checked leaves the cell's own setting.
    QCheckBox* boldCheck() const { return bold_; }
    QCheckBox* italicCheck() const { return italic_; }

  private:
    void showFieldsForType();

    // A rule whose breakpoints the editor has no fields for keeps those of
    // the rule set last, when its type stays the same.
    ConditionalRuleType keptOrDefault(int index) const;

    std::string id_;
    ConditionalRuleType kept_;
    QLineEdit* range_;
    QComboBox* type_;
    QLabel* value1Label_;
    QLineEdit* value1_;
    QLabel* value2Label_;
    QLineEdit* value2_;
    QLabel* textLabel_;
    QLineEdit* text_;
    QLabel* countLabel_;
    QSpinBox* count_;
    QLabel* colorLabels_[3];
    ColorButton* colors_[3];
    QCheckBox* fillOn_;
    ColorButton* fill_;
    QCheckBox* fontOn_;
    ColorButton* font_;
    QCheckBox* bold_;
    QCheckBox* italic_;
    QLabel* message_;
};

} // namespace sumora::app
