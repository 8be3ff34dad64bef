#pragma once
// The conditional formats of the active sheet, in evaluation order: add,
// edit, reorder and delete rules. The dialog works on a copy of the list and
// writes it back on OK as one undoable step; the grid draws the result
// through the document's conditional-format evaluation.
#include <QDialog>
#include <vector>

#include "app/DocumentContext.h"
#include "document/WorkbookRecords.h"

class QListWidget;

namespace sumora::app {

class ConditionalRuleEditor;

class ConditionalFormatDialog : public QDialog {
    Q_OBJECT
  public:
    explicit ConditionalFormatDialog(DocumentContext& context, QWidget* parent = nullptr);

    const std::vector<ConditionalFormatRule>& rules() const { return rules_; }
    QListWidget* ruleList() const { return list_; }
    // The editor used for Add and Edit; tests fill it before calling these.
    ConditionalRuleEditor* ruleEditor() const { return editor_; }

    // Add and Edit show the rule editor modally unless `interactive` is false,
    // in which case they take what the editor holds.
    bool addRule(bool interactive = true);
    bool editSelectedRule(bool interactive = true);
    void deleteSelectedRule();
    void moveSelectedRule(int delta);
    // Writes the list to the sheet ("Conditional Formatting" undo step).
    void apply();

  private:
    void reloadList(int select);

    DocumentContext& context_;
    std::vector<ConditionalFormatRule> rules_;
    QListWidget* list_;
    ConditionalRuleEditor* editor_;
};

} // namespace sumora::app
