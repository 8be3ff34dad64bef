#pragma once
// The macro panel: the script (the example when empty), Run and Stop, the
// reference list of the macro functions, and the output under the heading
// "Output" ("Run a macro to see output here." while empty) with a control
// that empties it.
//
// A run must not freeze the window and must be stoppable, so the script runs
// on a worker thread — against a copy of the document, through a
// MacroRunner over that copy, so that no cell is ever touched from two
// threads. When the run ends, the cells it changed on the active sheet are
// written back on the main thread as one "Run Macro" undo step, and the
// sheet is recalculated. Stop ends the script at its next check through the
// runner's stop switch; a time limit ends runaway scripts as well.
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "app/DocumentContext.h"

class QLabel;
class QListWidget;
class QPlainTextEdit;
class QPushButton;
class QStackedLayout;
class QTreeWidget;

namespace sumora {
class MacroRunner;
struct MacroRunResult;
} // namespace sumora

namespace sumora::app {

class MacroPanel : public QWidget {
    Q_OBJECT
  public:
    explicit MacroPanel(DocumentContext& context, QWidget* parent = nullptr);
    ~MacroPanel() override;

    QPlainTextEdit* scriptEditor() const { return script_; }
    QPushButton* runButton() const { return run_; }
    QPushButton* stopButton() const { return stop_; }
    QPushButton* clearButton() const { return clear_; }
    QListWidget* outputList() const { return output_; }
    QLabel* placeholderLabel() const { return placeholder_; }
    QTreeWidget* referenceList() const { return reference_; }
    QStringList outputLines() const;

    // Starts the script in the editor (fills in the example when it is
    // empty, without running it). Returns false when nothing was started.
    bool run();
    void stop();
    bool isRunning() const { return running_; }
    void clearOutput();
    // Seconds a script may run; 0 means the engine's default.
    void setTimeLimit(double seconds) { timeLimit_ = seconds; }

  signals:
    void runFinished();

  private:
    struct Run;
    void finish(const MacroRunResult& result);
    // Writes the cells the run changed on its sheet back into the document.
    void writeBack(const Run& run);
    void appendLines(const std::vector<std::string>& lines);
    void setRunning(bool running);

    DocumentContext& context_;
    QPlainTextEdit* script_;
    QPushButton* run_;
    QPushButton* stop_;
    QPushButton* clear_;
    QListWidget* output_;
    QLabel* placeholder_;
    QStackedLayout* stack_;
    QLabel* state_;
    QTreeWidget* reference_;
    std::shared_ptr<Run> current_;
    bool running_ = false;
    double timeLimit_ = 120;
};

} // namespace sumora::app
