#pragma once
// The bar above the grid: the active cell's address (type an address or a
// range to go there), the Insert Function button, and the active cell's
// formula ("=" + formula) or value, editable with formula autocomplete.
#include <QWidget>

#include "app/EntryApprover.h"

class QLineEdit;
class QToolButton;

namespace sumora {
class SumoraEditorView;
}

namespace sumora::app {

class FormulaAutocomplete;

class FormulaBar : public QWidget {
    Q_OBJECT
  public:
    explicit FormulaBar(SumoraEditorView& editor, QWidget* parent = nullptr);

    // Shows the active cell again (after a move or a command).
    void refresh();
    // Mirrors the text being typed in the cell editor.
    void showEditorText(const QString& text);

    QLineEdit* addressField() const { return address_; }
    QLineEdit* formulaField() const { return formula_; }
    QToolButton* functionButton() const { return function_; }
    FormulaAutocomplete* autocomplete() const { return autocomplete_; }
    void setEntryApprover(EntryApprover approver) { approver_ = std::move(approver); }
    // Goes to a cell, a block (on another sheet when named "Sheet2!C3") or a
    // workbook name; anything else is reported and changes nothing.
    bool goTo(const QString& text);

  signals:
    // The formula field's text was entered into the active cell.
    void committed();
    // Escape in the formula field: the grid takes the focus back.
    void cancelled();
    void insertFunctionRequested();
    // The address field named a cell or a block (zero-based, inclusive).
    void rangeEntered(int top, int left, int bottom, int right);
    // Emitted before rangeEntered when the destination is on another sheet.
    void sheetEntered(int sheetIndex);
    void editingChanged(bool editing);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void commit();
    void goToAddress();

    SumoraEditorView& editor_;
    QLineEdit* address_;
    QToolButton* function_;
    QLineEdit* formula_;
    FormulaAutocomplete* autocomplete_;
    EntryApprover approver_;
    // While the approval dialog is up, focus loss is not the end of editing.
    bool approving_ = false;
};

} // namespace sumora::app
