#include "values/Log.h"

#include <atomic>
#include <cstdio>
#include <mutex>

namespace sumora {
namespace {

std::mutex& sinkMutex() {
    static std::mutex m;
    return m;
}
Log::Sink& currentSink() {
    static Log::Sink sink;
    return sink;
}
std::atomic<bool>& enabledFlag() {
    static std::atomic<bool> flag{true};
    return flag;
}

void emit(LogLevel level, std::string_view message) {
    if (!enabledFlag().load(std::memory_order_relaxed)) return;
    std::string line = level == LogLevel::debug ? "[Sumora-DEBUG] " : "[Sumora] ";
    line.append(message);
    std::lock_guard lock(sinkMutex());
    if (currentSink()) {
        currentSink()(level, line);
        return;
    }
    line.push_back('\n');
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void Log::info(std::string_view message) { emit(LogLevel::info, message); }
void Log::debug(std::string_view message) { emit(LogLevel::debug, message); }

void Log::setSink(Sink sink) {
    std::lock_guard lock(sinkMutex());
    currentSink() = std::move(sink);
}

void Log::setEnabled(bool enabled) { enabledFlag().store(enabled); }
bool Log::enabled() { return enabledFlag().load(); }

LogCapture::LogCapture() {
    Log::setSink([this](LogLevel, std::string_view line) { lines_.emplace_back(line); });
}
LogCapture::~LogCapture() { Log::setSink(nullptr); }

bool LogCapture::contains(std::string_view fragment) const {
    for (const auto& l : lines_)
        if (l.find(fragment) != std::string::npos) return true;
    return false;
}

} // namespace sumora
