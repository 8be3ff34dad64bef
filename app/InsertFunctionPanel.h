#pragma once
// The Insert Function panel: browse the catalogue by category, search it,
// see the number of results, and choose an entry; then fill its argument
// slots (FunctionArgumentsPage) and commit the formula into the cell that
// was active when the function was chosen.
#include <QWidget>

#include "editing/SumoraEditorView.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QStackedWidget;

namespace sumora::app {

class FunctionArgumentsPage;

inline constexpr const char* kInsertFunctionHeader =
    "Browse or search for a function to insert into your formula.";

class InsertFunctionPanel : public QWidget {
    Q_OBJECT
  public:
    explicit InsertFunctionPanel(SumoraEditorView& editor, QWidget* parent = nullptr);

    QLabel* headerLabel() const { return header_; }
    QLineEdit* searchField() const { return search_; }
    QComboBox* categoryBox() const { return category_; }
    QLabel* resultCountLabel() const { return count_; }
    QListWidget* functionList() const { return list_; }
    FunctionArgumentsPage* argumentsPage() const { return arguments_; }
    bool isShowingArguments() const;

    // Back to browsing (search and category are kept).
    void showBrowser();
    // Opens the argument slots of `name` for the active cell.
    void beginArguments(const QString& name);
    // A reference picked on the grid, for the selected argument slot.
    void fillSelectedArgument(const QString& reference);

  signals:
    // The grid should (not) turn clicks into references.
    void pickingChanged(bool picking);
    // A formula was stored; the window refreshes.
    void formulaCommitted();
    void closeRequested();

  private:
    void updateList();
    void insertSelected();

    SumoraEditorView& editor_;
    QStackedWidget* pages_;
    QLabel* header_;
    QLineEdit* search_;
    QComboBox* category_;
    QLabel* count_;
    QListWidget* list_;
    QLabel* description_;
    FunctionArgumentsPage* arguments_;
};

} // namespace sumora::app
