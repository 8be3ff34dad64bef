#pragma once
// The one diagnostic channel of the system. Every line carries the "[Sumora]"
// prefix (or "[Sumora-DEBUG]" for interface tracing) and goes to stderr by
// default, so that the command-line front end's standard output stays clean.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

enum class LogLevel { info, debug };

class Log {
public:
    using Sink = std::function<void(LogLevel, std::string_view line)>;

    // Writes "[Sumora] " + message (or "[Sumora-DEBUG] " for debug).
    static void info(std::string_view message);
    static void debug(std::string_view message);
    // A file reader's progress line: written as "[Sumora] " + message, where the
    // message already begins with its two-space indentation.
    static void progress(std::string_view message) { info(message); }

    // Replaces the sink (tests capture lines; nullptr restores stderr).
    static void setSink(Sink sink);
    // Silences everything (benchmarks, fuzzers).
    static void setEnabled(bool enabled);
    static bool enabled();
};

// Collects log lines while alive; used by tests that check log output.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    const std::vector<std::string>& lines() const { return lines_; }
    bool contains(std::string_view fragment) const;

private:
    std::vector<std::string> lines_;
};

} // namespace sumora
