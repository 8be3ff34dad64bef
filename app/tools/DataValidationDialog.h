#pragma once
// Data validation for a range: what is allowed (each ValidationType with its
// bounds, entries or formula), the input message shown when a covered cell
// is selected, and the error alert (style "Stop", "Warning" or "Info", with
// title and message). Opening on a covered cell edits that cell's rule. OK
// writes the sheet's rule list as one undoable step; "Clear All" removes the
// rules that touch the range.
#include <QDialog>
#include <optional>
#include <string>

#include "app/DocumentContext.h"
#include "document/WorkbookRecords.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

namespace sumora::app {

class DataValidationDialog : public QDialog {
    Q_OBJECT
  public:
    explicit DataValidationDialog(DocumentContext& context, QWidget* parent = nullptr);

    QLineEdit* rangeField() const { return range_; }
    // Allow: the index of the ValidationType case (whole number … custom).
    QComboBox* typeBox() const { return type_; }
    QLineEdit* minimumField() const { return minimum_; }
    QLineEdit* maximumField() const { return maximum_; }
    QLineEdit* sourceField() const { return source_; }
    QLineEdit* formulaField() const { return formula_; }
    QCheckBox* dropdownCheck() const { return dropdown_; }
    QLineEdit* inputTitleField() const { return inputTitle_; }
    QPlainTextEdit* inputMessageField() const { return inputMessage_; }
    QComboBox* errorStyleBox() const { return errorStyle_; }
    QLineEdit* errorTitleField() const { return errorTitle_; }
    QPlainTextEdit* errorMessageField() const { return errorMessage_; }
    QLabel* messageLabel() const { return message_; }

    void loadRule(const DataValidationRule& rule);
    // The rule as entered, or nothing with the reason shown.
    std::optional<DataValidationRule> rule();
    bool apply();
    void clearAll();

  private:
    void showFieldsForType();

    DocumentContext& context_;
    std::optional<std::string> editingId_;
    QLineEdit* range_;
    QComboBox* type_;
    QLabel* minimumLabel_;
    QLineEdit* minimum_;
    QLabel* maximumLabel_;
    QLineEdit* maximum_;
    QLabel* sourceLabel_;
    QLineEdit* source_;
    QLabel* formulaLabel_;
    QLineEdit* formula_;
    QCheckBox* dropdown_;
    QLineEdit* inputTitle_;
    QPlainTextEdit* inputMessage_;
    QComboBox* errorStyle_;
    QLineEdit* errorTitle_;
    QPlainTextEdit* errorMessage_;
    QLabel* message_;
};

} // namespace sumora::app
