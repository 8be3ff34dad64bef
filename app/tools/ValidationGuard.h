#pragma once
// Data validation at work in one window: the input message of the selected
// cell's rule, the drop-down of list rules, and the check of every entry
// against its rule with the error style's behaviour — Stop refuses the
// entry, Warning asks whether to keep it, Info keeps it and says why it is
// unusual. The checks themselves are editing/DataValidation's.
//
// Entries are checked before they are stored: the guard is the entry
// approver of the grid's model and of the formula bar, so a refused or
// declined entry never reaches the sheet (and leaves no undo step).
#include <QObject>
#include <QPointer>
#include <functional>
#include <optional>

#include "app/DocumentContext.h"
#include "editing/DataValidation.h"

class QLabel;
class QToolButton;

namespace sumora::app {

class SheetGridView;

class ValidationGuard : public QObject {
    Q_OBJECT
  public:
    ValidationGuard(DocumentContext& context, SheetGridView* grid);

    // Shows the verdict to the user; its answer counts only for a warning
    // (true keeps the entry). Tests replace it so that no box waits for a click.
    using Prompter = std::function<bool(const ValidationVerdict& verdict)>;
    static void setPrompter(Prompter prompter);

    // Before storing `text` at (col, row) of the active sheet: false refuses.
    bool approve(CellPosition at, const QString& text);

    // The input message and drop-down for the active cell.
    void showCellAids();
    QLabel* promptLabel() const { return prompt_; }
    QToolButton* dropdownButton() const { return dropdown_; }
    // Enters a drop-down choice into the active cell.
    void chooseEntry(const QString& entry);

  private:
    bool ask(const ValidationVerdict& verdict) const;
    void openDropdown();

    DocumentContext& context_;
    QPointer<SheetGridView> grid_;
    QLabel* prompt_ = nullptr;
    QToolButton* dropdown_ = nullptr;
};

} // namespace sumora::app
