#pragma once
// The solver: objective cell, goal (maximise, minimise or reach a value),
// the variable cells, and the constraint list (cell, operator, bound). Solve
// hands them to runSolver as one request and shows its status.
#include <QDialog>

#include "app/DocumentContext.h"

class QButtonGroup;
class QLabel;
class QLineEdit;
class QTableWidget;

namespace sumora::app {

class SolverDialog : public QDialog {
    Q_OBJECT
  public:
    explicit SolverDialog(DocumentContext& context, QWidget* parent = nullptr);

    QLineEdit* objectiveField() const { return objective_; }
    // "max", "min" or "value".
    void setGoal(const QString& goal);
    QLineEdit* targetField() const { return target_; }
    QLineEdit* variablesField() const { return variables_; }
    void addConstraint(const QString& cell, const QString& op, const QString& value);
    void removeSelectedConstraint();
    int constraintCount() const;
    QLabel* statusLabel() const { return status_; }
    void apply();

  private:
    QString goal() const;

    DocumentContext& context_;
    QLineEdit* objective_;
    QButtonGroup* goals_;
    QLineEdit* target_;
    QLineEdit* variables_;
    QTableWidget* constraints_;
    QLabel* status_;
};

} // namespace sumora::app
