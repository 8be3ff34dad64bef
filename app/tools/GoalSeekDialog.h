#pragma once
// Goal seek: "Set cell", "To value" and "By changing cell" make the request
// that Solve hands to performGoalSeek; the dialog shows its status text.
#include <QDialog>

#include "app/DocumentContext.h"

class QLabel;
class QLineEdit;

namespace sumora::app {

class GoalSeekDialog : public QDialog {
    Q_OBJECT
  public:
    explicit GoalSeekDialog(DocumentContext& context, QWidget* parent = nullptr);

    QLineEdit* setCellField() const { return setCell_; }
    QLineEdit* targetField() const { return target_; }
    QLineEdit* changingCellField() const { return changing_; }
    QLabel* statusLabel() const { return status_; }
    void apply();

  private:
    DocumentContext& context_;
    QLineEdit* setCell_;
    QLineEdit* target_;
    QLineEdit* changing_;
    QLabel* status_;
};

} // namespace sumora::app
