#pragma once
// The JavaScript interpreter behind macros: one JavaScriptCore global context
// in a context group of its own, the five host functions through which a
// script reads and writes cells, a short prelude of helpers, and the lines
// the script logs. The engine knows nothing of documents: whoever runs a
// macro supplies the cell callbacks (MacroRunner.h for the editor).
//
// A bare global context offers the language and nothing else: no file system,
// network, timers or process access. Nothing here adds any.
#include <JavaScriptCore/JavaScript.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/CellArea.h"

namespace sumora {

// Lets another thread (the macro panel's Stop button) end a running script.
class ScriptStopSwitch {
  public:
    void stop() { requested_.store(true); }
    void reset() { requested_.store(false); }
    bool requested() const { return requested_.load(); }

  private:
    std::atomic<bool> requested_{false};
};

class SumoraScriptEngine {
  public:
    using GetCellHandler = std::function<std::string(CellPosition at)>;
    using SetCellHandler = std::function<void(CellPosition at, std::string_view value)>;
    using GetRangeHandler = std::function<std::vector<std::vector<std::string>>(const CellArea& area)>;
    using RecalcHandler = std::function<void()>;

    static constexpr double kDefaultTimeLimitSeconds = 10;
    // What a run may log before its output is cut off with one
    // kOutputTruncatedLine, and how much the process may grow while a script
    // runs before the script is stopped.
    static constexpr size_t kMaxLogBytes = size_t{10} << 20;
    static constexpr size_t kDefaultMemoryLimitBytes = size_t{1} << 30;
    static constexpr std::string_view kOutputTruncatedLine = "(output truncated: more than 10 MB logged)";

    // Why macros cannot run in this process, or nothing. The interpreter
    // reserves several gigabytes of address space when it starts and aborts
    // the process if it cannot; under a smaller address-space limit
    // (ulimit -v) this answers a message instead, and the constructor throws
    // it as std::runtime_error.
    static std::optional<std::string> unavailableReason();

    // Creates the context, installs the host functions and runs the prelude.
    SumoraScriptEngine();
    // Functions still reachable through a retained context do nothing from
    // then on and return undefined.
    ~SumoraScriptEngine();
    SumoraScriptEngine(const SumoraScriptEngine&) = delete;
    SumoraScriptEngine& operator=(const SumoraScriptEngine&) = delete;

    JSGlobalContextRef context() const { return context_; }
    // Column and row numbers are zero-based. Unset handlers make getCell
    // return "", getRange an empty array, and the others do nothing.
    GetCellHandler getCellHandler;
    SetCellHandler setCellHandler;
    GetRangeHandler getRangeHandler;
    RecalcHandler recalcHandler;
    // Lines logged by scripts, and "Error: …" for each script that failed.
    std::vector<std::string> logOutput;
    // What log() does: appends the line, unless the run has logged
    // kMaxLogBytes already (then one kOutputTruncatedLine, then nothing).
    void appendLog(std::string line);
    bool logTruncated() const { return logTruncated_; }

    // Wall-clock seconds a script may run before it is terminated; a script
    // that waits in a host callback is only stopped once it runs again.
    double timeLimitSeconds = kDefaultTimeLimitSeconds;
    // Growth of the process's resident memory, in bytes, at which a running
    // script is stopped ("Script stopped: out of memory"); 0 for none.
    size_t memoryLimitBytes = kDefaultMemoryLimitBytes;
    // Checked while a script runs; shared so that a caller can hand out the
    // switch before the engine exists.
    std::shared_ptr<ScriptStopSwitch> stopSwitch = std::make_shared<ScriptStopSwitch>();

    // Runs a script in the context. An uncaught exception (or a time-out or
    // stop) ends it and appends "Error: " + message to logOutput; whatever the
    // script did before stays done. Returns false when the script failed.
    bool evaluate(std::string_view script);

    // The prelude, evaluated in this order by the constructor.
    static std::string_view consolePrelude();
    static std::string_view helperPrelude();

    // What the host functions hold (weakly) to reach their engine.
    struct Link;

  private:
    struct RunWatch;
    static bool shouldTerminate(JSContextRef ctx, void* watch);
    void installHostFunctions();

    size_t loggedBytes_ = 0;
    bool logTruncated_ = false;

    JSContextGroupRef group_ = nullptr;
    JSGlobalContextRef context_ = nullptr;
    // The host functions reach the engine only through this block; the
    // destructor empties it, so late calls find no engine.
    std::shared_ptr<Link> link_;
};

} // namespace sumora
