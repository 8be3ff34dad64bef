// Built only where the JavaScript interpreter is available.
#ifdef SUMORA_HAVE_MACROS
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <mutex>
#include <sstream>
#include <thread>

#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"
#include "editing/SumoraEditorView.h"
#include "macros/MacroRunner.h"

namespace sumora::cli {

namespace {

// The interpreter checks its time limit only while a piece of script runs
// long enough to be checked; a chain of promise jobs that each queue the
// next never is. Past the limit and a grace period the command ends itself
// the way a failed script ends it: status 2, nothing written.
class RunDeadline {
  public:
    explicit RunDeadline(double seconds)
        : watcher_([this, seconds] {
              std::unique_lock lock(mutex_);
              auto limit = std::chrono::duration<double>(seconds + kGraceSeconds);
              if (finished_.wait_for(lock, limit, [this] { return done_; })) return;
              std::printf("Error: Script timed out after %g seconds\n", seconds);
              std::fflush(stdout);
              std::fputs("The script did not finish; nothing was written.\n", stderr);
              std::_Exit(2);
          }) {}
    ~RunDeadline() {
        {
            std::lock_guard lock(mutex_);
            done_ = true;
        }
        finished_.notify_one();
        watcher_.join();
    }

  private:
    static constexpr double kGraceSeconds = 2;
    std::mutex mutex_;
    std::condition_variable finished_;
    bool done_ = false;
    std::thread watcher_;
};

} // namespace

// macro IN SCRIPT.js [-o OUT]: runs a JavaScript macro against the first
// sheet as the macro panel would, prints its output lines, then writes OUT.
// A script that fails (an uncaught error, a time-out) exits with status 2 and
// leaves OUT as it was: a batch run should not publish half-done work.
void addMacroCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("macro", "Run a JavaScript macro against the first sheet");
    auto input = std::make_shared<std::string>();
    auto scriptPath = std::make_shared<std::string>();
    auto output = std::make_shared<std::string>();
    auto timeLimit = std::make_shared<double>(SumoraScriptEngine::kDefaultTimeLimitSeconds);
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("script", *scriptPath, "JavaScript file to run")->required();
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->add_option("--time-limit", *timeLimit, "Seconds the script may run (default 10)")
        ->check(CLI::PositiveNumber);
    cmd->callback([input, scriptPath, output, timeLimit] {
        std::ifstream in(*scriptPath, std::ios::binary);
        if (!in) {
            std::cerr << "Cannot read the script " << *scriptPath << '\n';
            throw CLI::RuntimeError(1);
        }
        std::ostringstream script;
        script << in.rdbuf();

        reserveOutput(*output);
        SumoraDocument& doc = heldUntilExit(openWorkbookForEditing(*input));
        SumoraEditorView editor(doc);
        editor.activeSheetIndex = 0;
        MacroRunner runner(editor);
        runner.timeLimitSeconds = *timeLimit;
        MacroRunResult result;
        {
            RunDeadline deadline(*timeLimit);
            result = runner.run(script.str());
        }
        for (const std::string& line : result.lines)
            std::cout << line << '\n';
        if (!result.completed) {
            if (!output->empty()) std::cerr << "The script failed; " << *output << " was not written.\n";
            throw CLI::RuntimeError(2);
        }
        if (!output->empty()) saveEditedWorkbook(doc, *output);
    });
}

} // namespace sumora::cli

#endif // SUMORA_HAVE_MACROS
