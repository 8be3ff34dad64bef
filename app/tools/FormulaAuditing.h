#pragma once
// The Formulas menu of a document window: Trace Precedents, Trace
// Dependents, Remove Arrows, Evaluate Formula and Check Workbook, with the
// arrows over the grid and the two panels they show. Installed once per
// window by installToolActions.
#include <QObject>

#include "app/DocumentContext.h"
#include "engine/RangeIndex.h"

class QDockWidget;
class QMenuBar;

namespace sumora::app {

class CheckWorkbookPanel;
class EvaluateFormulaPanel;
class TraceArrows;

class FormulaAuditing : public QObject {
    Q_OBJECT
  public:
    FormulaAuditing(DocumentContext& context, QMenuBar* menuBar);

    // The auditing tools of a window, if they were installed there.
    static FormulaAuditing* of(QWidget* window);

    TraceArrows* traceArrows() const { return arrows_; }
    EvaluateFormulaPanel* evaluatePanel() const { return evaluatePanel_; }
    CheckWorkbookPanel* checkPanel() const { return checkPanel_; }

    // Shows the Evaluate Formula panel on the active cell.
    void showEvaluateFormula();
    // Checks the window's file and shows the Check Workbook panel.
    void checkWorkbook();

  private:
    void buildMenu(QMenuBar* bar);
    // Shows `panel` in a dock of the window (its own window without one).
    QDockWidget* dock(QWidget* panel, const QString& name, const QString& title);
    void showPanel(QWidget* panel, QDockWidget* dock);

    DocumentContext& context_;
    TraceArrows* arrows_ = nullptr;
    EvaluateFormulaPanel* evaluatePanel_ = nullptr;
    QDockWidget* evaluateDock_ = nullptr;
    CheckWorkbookPanel* checkPanel_ = nullptr;
    QDockWidget* checkDock_ = nullptr;
};

void installFormulaAuditing(DocumentContext& context, QMenuBar* menuBar);

// Selects the cells on the given sheet of the window, switching to the sheet
// through its tabs first when another one is showing.
void selectOnSheet(DocumentContext& context, size_t sheet, const CellRect& cells);

} // namespace sumora::app
