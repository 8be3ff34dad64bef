#pragma once
// Evaluate Formula: one cell's formula computed a part at a time. The part
// about to be computed is underlined; Evaluate replaces it with its value
// (shown in italics), Step In follows a reference into the formula of the
// cell it names, Step Out returns with that value, Restart begins again from
// the workbook as it stands. The steps come from engine/FormulaSteps.
#include <QWidget>
#include <vector>

#include "app/DocumentContext.h"
#include "engine/FormulaSteps.h"

class QLabel;
class QListWidget;
class QPushButton;

namespace sumora::app {

class EvaluateFormulaPanel : public QWidget {
    Q_OBJECT
  public:
    EvaluateFormulaPanel(DocumentContext& context, QWidget* parent = nullptr);

    // Starts over on the given cell (the active cell from the menu).
    void showCell(size_t sheet, CellPosition at);

    void evaluate();
    void stepIn();
    void stepOut();
    void restart();

    // What the panel shows, for tests: the expression as plain text, the part
    // underlined in it, and the lines of the steps done at this level.
    QString expressionText() const;
    QString underlinedPart() const;
    QStringList doneSteps() const;
    int levelCount() const { return static_cast<int>(levels_.size()); }
    QPushButton* evaluateButton() const { return evaluate_; }
    QPushButton* stepInButton() const { return stepIn_; }
    QPushButton* stepOutButton() const { return stepOut_; }

  private:
    struct Level {
        StepTarget cell;
        FormulaSteps steps;
        size_t position = 0; // the step about to be computed
    };

    void pushLevel(const StepTarget& cell);
    void refresh();
    const FormulaStep* currentStep() const;
    QString cellLabelOf(const StepTarget& cell) const;

    DocumentContext& context_;
    std::vector<Level> levels_;
    QString shownText_; // the expression as shown, without its styling
    QLabel* reference_;
    QLabel* expression_;
    QListWidget* history_;
    QPushButton* evaluate_;
    QPushButton* stepIn_;
    QPushButton* stepOut_;
    QPushButton* restart_;
};

} // namespace sumora::app
