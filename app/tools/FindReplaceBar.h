#pragma once
// The find and replace bar: the search and replacement texts, the four
// options, stepping through matches, replacing one or all, and the editor's
// status text ("No matches", "2 of 5"). Every button hands the bar's fields
// to the matching editor command as one FindRequest.
#include <QWidget>

#include "app/DocumentContext.h"
#include "editing/FindReplace.h"

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
    // The bar's fields as the editor's find operations take them.
    FindRequest request() const;
    void showResult(const FindResult& result, bool changedCells);

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
