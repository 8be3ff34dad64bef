#pragma once
// What the tools keep per window: the find bar, the filter arrows, the
// charts over the grid, the validation guard, the macro panel and the page
// setup. Created by installToolActions as a child of the window, so it goes
// when the window does.
#include <QObject>
#include <QPointer>

#include "app/DocumentContext.h"
#include "app/tools/PageSetup.h"

class QAction;
class QDockWidget;
class QMenuBar;
class QToolBar;

namespace sumora::app {

class AutoFilterButtons;
class ChartLayer;
class FindReplaceBar;
class MacroPanel;
class ValidationGuard;

class ToolHost : public QObject {
    Q_OBJECT
  public:
    ToolHost(DocumentContext& context, QMenuBar* menuBar);

    // The host of a window, if the tools were installed there.
    static ToolHost* of(QWidget* window);

    DocumentContext& context() { return context_; }
    FindReplaceBar* findBar() const { return findBar_; }
    ChartLayer* chartLayer() const { return charts_; }
    ValidationGuard* validationGuard() const { return guard_; }
    MacroPanel* macroPanel() const { return macroPanel_; }
    QDockWidget* macroDock() const { return macroDock_; }
    PageSetup& pageSetup() { return pageSetup_; }

    void showFindBar();
    void hideFindBar();
    void toggleFilter();
    void showMacroPanel();
    // Asks for a file name and writes the PDF.
    void exportPdf();

  private:
    void buildMenus(QMenuBar* menuBar);
    void buildFindBar();
    void buildMacroDock();
    // Runs a modal tool dialog over the window.
    template <class Dialog> void runDialog();

    DocumentContext& context_;
    PageSetup pageSetup_;
    FindReplaceBar* findBar_ = nullptr;
    QToolBar* findToolBar_ = nullptr;
    AutoFilterButtons* filterButtons_ = nullptr;
    ChartLayer* charts_ = nullptr;
    ValidationGuard* guard_ = nullptr;
    MacroPanel* macroPanel_ = nullptr;
    QDockWidget* macroDock_ = nullptr;
    QAction* filterAction_ = nullptr;
};

} // namespace sumora::app
