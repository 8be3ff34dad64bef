#pragma once
// What the tool dialogs, panels and charts need from a document window,
// without depending on the window class itself.
#include <QString>

class QWidget;
class QMenuBar;

namespace sumora {
class SumoraEditorView;
}

namespace sumora::app {

struct ToolInputs;

class DocumentContext {
  public:
    virtual ~DocumentContext() = default;
    virtual SumoraEditorView& editor() = 0;
    // The window that parents dialogs.
    virtual QWidget* window() = 0;
    // The grid viewport, over which charts float.
    virtual QWidget* gridViewport() = 0;
    // Redraws the grid, formula bar, tabs and status bar after the editor changed cells.
    virtual void documentChanged() = 0;
    // Marks the document edited (title mark, autosave).
    virtual void markEdited() = 0;
    virtual QString documentTitle() const = 0;
    // What the tool dialogs last ran with in this window.
    virtual ToolInputs& toolInputs() = 0;
};

} // namespace sumora::app
