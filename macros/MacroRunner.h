#pragma once
// Running a macro against the active sheet of an editor: the command behind
// the macro panel's Run button, and the texts the panel shows.
//
// Cell writes go through SumoraEditorView::setCellValue, so a written text
// behaves as if typed ("=…" becomes a formula, numbers are normalised, locked
// cells of a protected sheet refuse it). Positions outside the grid read as
// "" (getRange keeps them, so its rows always span the columns asked for) and
// are never written: a macro does not grow the sheet. A run registers at most
// one undo step, "Run Macro", that puts back every cell the macro changed and
// recomputes the sheet; the writes themselves register none.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "macros/SumoraScriptEngine.h"

namespace sumora {

class SumoraEditorView;

inline constexpr std::string_view kMacroOutputHeading = "Output";
inline constexpr std::string_view kMacroOutputPlaceholder = "Run a macro to see output here.";
inline constexpr std::string_view kMacroNoOutputLine = "(script completed with no output)";
inline constexpr std::string_view kMacroUndoActionName = "Run Macro";

// The script the panel offers when its text is empty.
std::string_view macroExampleScript();

// One line of the panel's reference list.
struct MacroReferenceEntry {
    std::string_view entry;
    std::string_view description;
};
const std::vector<MacroReferenceEntry>& macroReferenceEntries();

struct MacroRunResult {
    std::vector<std::string> lines; // what this run appended to the output
    bool completed = true;          // false after an error, time-out or stop
};

class MacroRunner {
  public:
    explicit MacroRunner(SumoraEditorView& editor);

    // Runs `script` in a fresh engine against the active sheet, appends its
    // lines to `output` and recalculates the sheet afterwards.
    MacroRunResult run(std::string_view script);
    // Ends the running script at its next check; callable from any thread.
    void requestStop() { stopSwitch_->stop(); }

    // The panel's output list; the panel's clear control empties it.
    std::vector<std::string> output;
    double timeLimitSeconds = SumoraScriptEngine::kDefaultTimeLimitSeconds;

  private:
    SumoraEditorView& editor_;
    std::shared_ptr<ScriptStopSwitch> stopSwitch_ = std::make_shared<ScriptStopSwitch>();
};

} // namespace sumora
