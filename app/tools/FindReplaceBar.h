#pragma once
// The find and replace bar: the search and replacement texts, the four
// options, stepping through matches, replacing one or all, and the editor's
// status text ("No matches", "2 of 5"). Every button copies the bar's inputs
// into the editor and calls the matching editor command.
#include <QWidget>

#include "app/DocumentContext.h"

class QCheckBox;
class QLabel;
class QLineEdit;

namespace sumora::app {

class FindReplaceBar : public QWidget {
    Q_OBJECT
  public:
    explicit FindReplaceBar(DocumentContext& context, QWidget* parent = nullptr);

    QLineEdit* findField() const { return find_; }
    QLineEdit* replaceField() const { return replace_; }
    QCheckBox* matchCaseCheck() const { return matchCase_; }
    QCheckBox* entireCellCheck() const { return entireCell_; }
    QCheckBox* formulasCheck() const { return formulas_; }
    QCheckBox* regexCheck() const { return regex_; }
    QLabel* statusLabel() const { return status_; }

    // Focuses the search field with its text selected.
    void activate();
    void findNext();
    void findPrevious();
    void replaceCurrent();
    void replaceAll();

  signals:
    void closeRequested();

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    // Copies the inputs into the editor; true when they differ from the last search's.
    bool syncInputs();
    void showResult(bool changedCells);

    DocumentContext& context_;
    QLineEdit* find_;
    QLineEdit* replace_;
    QCheckBox* matchCase_;
    QCheckBox* entireCell_;
    QCheckBox* formulas_;
    QCheckBox* regex_;
    QLabel* status_;
};

} // namespace sumora::app
