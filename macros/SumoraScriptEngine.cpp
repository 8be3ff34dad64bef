#include "macros/SumoraScriptEngine.h"

#include <unicode/unistr.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

#include "macros/JavaScriptCore.h"
#include "values/Log.h"

namespace sumora {

namespace {
// The library's functions. Called only while an engine exists, and no engine
// is made unless the library loaded (createGroup).
const JavaScriptCore& jsc() {
    return *javaScriptCore();
}
} // namespace

struct SumoraScriptEngine::Link {
    SumoraScriptEngine* engine;
};

// What one evaluate() call is watched for; lives on its stack.
struct SumoraScriptEngine::RunWatch {
    enum class Outcome { running, timedOut, stopped, outOfMemory };
    JSContextGroupRef group;
    std::chrono::steady_clock::time_point start;
    double limitSeconds;
    ScriptStopSwitch* stopSwitch;
    size_t memoryLimitBytes;
    size_t residentAtStart;
    Outcome outcome = Outcome::running;
};

namespace {

// How often, in seconds of the script thread's CPU time, a running script is
// checked for its time limit and the stop switch.
constexpr double kCheckIntervalSeconds = 0.05;

// Address space the interpreter reserves when its first context is made
// (a 4 GB structure heap among others), with room for the rest of the
// process; measured, not documented by the library.
constexpr uint64_t kInterpreterAddressSpace = uint64_t{6} << 30;
// Once a context exists the reservation is made; later ones reuse it.
bool interpreterStarted = false;

// Bytes of the process: resident (which == 1) or mapped (which == 0).
size_t processBytes(int which) {
    FILE* f = std::fopen("/proc/self/statm", "r");
    if (!f) return 0;
    unsigned long pages[2] = {0, 0};
    int read = std::fscanf(f, "%lu %lu", &pages[0], &pages[1]);
    std::fclose(f);
    if (read != 2) return 0;
    return static_cast<size_t>(pages[which]) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// ---- text between UTF-8 and the interpreter's UTF-16 ------------------------

JSStringRef makeString(std::string_view utf8) {
    if (utf8.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
        throw std::length_error("The text is too long for a macro.");
    icu::UnicodeString text =
        icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    return jsc().JSStringCreateWithCharacters(reinterpret_cast<const JSChar*>(text.getBuffer()),
                                              static_cast<size_t>(text.length()));
}

std::string toUtf8(JSStringRef string) {
    icu::UnicodeString text(reinterpret_cast<const char16_t*>(jsc().JSStringGetCharactersPtr(string)),
                            static_cast<int32_t>(jsc().JSStringGetLength(string)));
    std::string out;
    text.toUTF8String(out);
    return out;
}

JSValueRef makeValue(JSContextRef ctx, std::string_view utf8) {
    JSStringRef s = makeString(utf8);
    JSValueRef value = jsc().JSValueMakeString(ctx, s);
    jsc().JSStringRelease(s);
    return value;
}

// String(value), or nothing when the conversion throws (a Symbol, or an
// object whose toString throws); `thrown` then holds the exception.
std::optional<std::string> textOf(JSContextRef ctx, JSValueRef value, JSValueRef* thrown) {
    JSStringRef s = jsc().JSValueToStringCopy(ctx, value, thrown);
    if (!s) return std::nullopt;
    std::string text = toUtf8(s);
    jsc().JSStringRelease(s);
    return text;
}

// ---- host functions -----------------------------------------------------------

enum class HostFunction { log, getCell, setCell, getRange, recalculate };

struct HostFunctionData {
    std::weak_ptr<SumoraScriptEngine::Link> link;
    HostFunction kind;
};

// The arguments of one call, with the bridge's conversions.
class Arguments {
  public:
    Arguments(JSContextRef ctx, size_t count, const JSValueRef* values, JSValueRef* thrown)
        : ctx_(ctx), count_(count), values_(values), thrown_(thrown) {}

    JSValueRef at(size_t i) const { return i < count_ ? values_[i] : jsc().JSValueMakeUndefined(ctx_); }

    // Number(value) truncated toward zero; NaN (a missing argument, a
    // non-numeric text) reads as 0, infinities as far outside any grid.
    std::optional<int64_t> integer(size_t i) const {
        double d = jsc().JSValueToNumber(ctx_, at(i), thrown_);
        if (*thrown_) return std::nullopt;
        if (std::isnan(d)) return 0;
        constexpr double kFar = 9.0e15;
        return static_cast<int64_t>(std::trunc(std::clamp(d, -kFar, kFar)));
    }
    std::optional<std::string> text(size_t i) const { return textOf(ctx_, at(i), thrown_); }

  private:
    JSContextRef ctx_;
    size_t count_;
    const JSValueRef* values_;
    JSValueRef* thrown_;
};

// Rows are added to the result as they are built: values held only in C++
// containers would be invisible to the collector.
JSValueRef makeRows(JSContextRef ctx, const std::vector<std::vector<std::string>>& rows, JSValueRef* thrown) {
    JSObjectRef outer = jsc().JSObjectMakeArray(ctx, 0, nullptr, thrown);
    if (*thrown) return nullptr;
    for (size_t r = 0; r < rows.size(); ++r) {
        JSObjectRef row = jsc().JSObjectMakeArray(ctx, 0, nullptr, thrown);
        if (*thrown) return nullptr;
        for (size_t c = 0; c < rows[r].size(); ++c) {
            jsc().JSObjectSetPropertyAtIndex(ctx, row, static_cast<unsigned>(c), makeValue(ctx, rows[r][c]),
                                             thrown);
            if (*thrown) return nullptr;
        }
        jsc().JSObjectSetPropertyAtIndex(ctx, outer, static_cast<unsigned>(r), row, thrown);
        if (*thrown) return nullptr;
    }
    return outer;
}

} // namespace

// One callable object class serves all five functions; the object's private
// data says which function it is and reaches the engine weakly.
static JSValueRef callHostFunction(JSContextRef ctx, JSObjectRef function, JSObjectRef, size_t argumentCount,
                                   const JSValueRef arguments[], JSValueRef* exception) {
    JSValueRef undefined = jsc().JSValueMakeUndefined(ctx);
    auto* data = static_cast<HostFunctionData*>(jsc().JSObjectGetPrivate(function));
    std::shared_ptr<SumoraScriptEngine::Link> held = data ? data->link.lock() : nullptr;
    if (!held) return undefined;
    SumoraScriptEngine* engine = held->engine;

    JSValueRef thrown = nullptr;
    Arguments args(ctx, argumentCount, arguments, &thrown);
    JSValueRef result = undefined;
    try {
        switch (data->kind) {
        case HostFunction::log:
            // Past the cap a line is not even converted.
            if (engine->logTruncated()) break;
            if (auto text = args.text(0)) engine->appendLog(std::move(*text));
            break;
        case HostFunction::getCell: {
            auto col = args.integer(0);
            auto row = col ? args.integer(1) : std::nullopt;
            if (!row) break;
            result =
                makeValue(ctx, engine->getCellHandler ? engine->getCellHandler({*col, *row}) : std::string());
            break;
        }
        case HostFunction::setCell: {
            auto col = args.integer(0);
            auto row = col ? args.integer(1) : std::nullopt;
            auto value = row ? args.text(2) : std::nullopt;
            if (value && engine->setCellHandler) engine->setCellHandler({*col, *row}, *value);
            break;
        }
        case HostFunction::getRange: {
            std::optional<int64_t> bounds[4];
            for (size_t i = 0; i < 4 && !thrown; ++i)
                bounds[i] = args.integer(i);
            if (thrown) break;
            std::vector<std::vector<std::string>> rows;
            if (engine->getRangeHandler)
                rows = engine->getRangeHandler({*bounds[0], *bounds[1], *bounds[2], *bounds[3]});
            JSValueRef made = makeRows(ctx, rows, &thrown);
            if (made) result = made;
            break;
        }
        case HostFunction::recalculate:
            if (engine->recalcHandler) engine->recalcHandler();
            break;
        }
    } catch (const std::exception& e) {
        // A failing callback must not unwind through the interpreter: the
        // script sees an ordinary Error it may catch.
        JSValueRef message = makeValue(ctx, e.what());
        thrown = jsc().JSObjectMakeError(ctx, 1, &message, nullptr);
    } catch (...) {
        JSValueRef message = makeValue(ctx, "A host function failed");
        thrown = jsc().JSObjectMakeError(ctx, 1, &message, nullptr);
    }
    if (thrown) {
        if (exception) *exception = thrown;
        return undefined;
    }
    return result;
}

static void finalizeHostFunction(JSObjectRef function) {
    delete static_cast<HostFunctionData*>(jsc().JSObjectGetPrivate(function));
}

static JSClassRef hostFunctionClass() {
    static JSClassRef cls = [] {
        JSClassDefinition definition{}; // all empty, as kJSClassDefinitionEmpty
        definition.className = "HostFunction";
        definition.callAsFunction = callHostFunction;
        definition.finalize = finalizeHostFunction;
        return jsc().JSClassCreate(&definition);
    }();
    return cls;
}

// ---- the engine -------------------------------------------------------------

std::string_view SumoraScriptEngine::consolePrelude() {
    return "var console = { log: log, warn: log, error: log };";
}

std::string_view SumoraScriptEngine::helperPrelude() {
    return R"JS(
// Convert column letter to index: colIndex("A") = 0
function colIndex(letter) {
    var upper = letter.toUpperCase();
    var result = 0;
    for (var i = 0; i < upper.length; i++) {
        result = result * 26 + (upper.charCodeAt(i) - 64);
    }
    return result - 1;
}

// Get cell by reference string: cell("A1") -> value
function cell(ref) {
    var match = ref.match(/^([A-Za-z]+)(\d+)$/);
    if (!match) return "";
    return getCell(colIndex(match[1]), parseInt(match[2]) - 1);
}

// Set cell by reference string: setRef("A1", "hello")
function setRef(ref, value) {
    var match = ref.match(/^([A-Za-z]+)(\d+)$/);
    if (!match) return;
    setCell(colIndex(match[1]), parseInt(match[2]) - 1, String(value));
}

// Get numeric value
function num(ref) {
    return parseFloat(cell(ref)) || 0;
}
)JS";
}

std::optional<std::string> SumoraScriptEngine::unavailableReason() {
    if (interpreterStarted) return std::nullopt;
    if (std::string whyNot; !javaScriptCore(&whyNot))
        return "Macros cannot run: the JavaScript engine could not be loaded (" + whyNot + ").";
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return std::nullopt;
    const uint64_t needed = processBytes(0) + kInterpreterAddressSpace;
    if (limit.rlim_cur >= needed) return std::nullopt;
    // Raise the soft limit where the hard one allows.
    if (limit.rlim_max == RLIM_INFINITY || limit.rlim_max >= needed) {
        limit.rlim_cur = limit.rlim_max == RLIM_INFINITY ? RLIM_INFINITY : limit.rlim_max;
        if (setrlimit(RLIMIT_AS, &limit) == 0) return std::nullopt;
    }
    return "Macros cannot run under this process's memory limit: the JavaScript engine needs about " +
           std::to_string(kInterpreterAddressSpace >> 30) +
           " GB of address space more than the process uses (see ulimit -v).";
}

static JSContextGroupRef createGroup() {
    if (auto reason = SumoraScriptEngine::unavailableReason()) throw std::runtime_error(*reason);
    JSContextGroupRef group = jsc().JSContextGroupCreate();
    interpreterStarted = true;
    return group;
}

SumoraScriptEngine::SumoraScriptEngine()
    : group_(createGroup()), context_(jsc().JSGlobalContextCreateInGroup(group_, nullptr)),
      link_(std::make_shared<Link>(Link{this})) {
    installHostFunctions();
    for (std::string_view prelude : {consolePrelude(), helperPrelude()}) {
        JSStringRef source = makeString(prelude);
        JSValueRef thrown = nullptr;
        jsc().JSEvaluateScript(context_, source, nullptr, nullptr, 1, &thrown);
        jsc().JSStringRelease(source);
        if (thrown)
            Log::info("Macro prelude failed: " +
                      textOf(context_, thrown, nullptr).value_or("Unknown JS error"));
    }
}

SumoraScriptEngine::~SumoraScriptEngine() {
    link_.reset();
    jsc().JSContextGroupClearExecutionTimeLimit(group_);
    jsc().JSGlobalContextRelease(context_);
    jsc().JSContextGroupRelease(group_);
}

void SumoraScriptEngine::installHostFunctions() {
    static constexpr std::pair<const char*, HostFunction> kFunctions[] = {
        {"log", HostFunction::log},
        {"getCell", HostFunction::getCell},
        {"setCell", HostFunction::setCell},
        {"getRange", HostFunction::getRange},
        {"recalculate", HostFunction::recalculate},
    };
    JSObjectRef global = jsc().JSContextGetGlobalObject(context_);
    for (const auto& [name, kind] : kFunctions) {
        auto* data = new HostFunctionData{link_, kind};
        JSObjectRef function = jsc().JSObjectMake(context_, hostFunctionClass(), data);
        JSStringRef property = jsc().JSStringCreateWithUTF8CString(name);
        jsc().JSObjectSetProperty(context_, global, property, function, kJSPropertyAttributeNone, nullptr);
        jsc().JSStringRelease(property);
    }
}

void SumoraScriptEngine::appendLog(std::string line) {
    if (logTruncated_) return;
    loggedBytes_ += line.size() + 1;
    if (loggedBytes_ > kMaxLogBytes) {
        logTruncated_ = true;
        logOutput.emplace_back(kOutputTruncatedLine);
        return;
    }
    logOutput.push_back(std::move(line));
}

bool SumoraScriptEngine::shouldTerminate(JSContextRef, void* data) {
    auto& watch = *static_cast<RunWatch*>(data);
    // Once stopped, every later check stops again: a termination raised in
    // one queued promise job must not let the next one run on.
    if (watch.outcome != RunWatch::Outcome::running) return true;
    if (watch.stopSwitch && watch.stopSwitch->requested()) {
        watch.outcome = RunWatch::Outcome::stopped;
        return true;
    }
    if (watch.memoryLimitBytes > 0 && processBytes(1) > watch.residentAtStart + watch.memoryLimitBytes) {
        watch.outcome = RunWatch::Outcome::outOfMemory;
        return true;
    }
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - watch.start;
    if (watch.limitSeconds > 0 && elapsed.count() >= watch.limitSeconds) {
        watch.outcome = RunWatch::Outcome::timedOut;
        return true;
    }
    jsc().JSContextGroupSetExecutionTimeLimit(watch.group, kCheckIntervalSeconds, shouldTerminate, data);
    return false;
}

static std::string secondsText(double seconds) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%g", seconds);
    return std::string(buffer) + (seconds == 1 ? " second" : " seconds");
}

bool SumoraScriptEngine::evaluate(std::string_view script) {
    RunWatch watch{group_,           std::chrono::steady_clock::now(),
                   timeLimitSeconds, stopSwitch.get(),
                   memoryLimitBytes, processBytes(1)};
    double interval = kCheckIntervalSeconds;
    if (timeLimitSeconds > 0) interval = std::min(interval, timeLimitSeconds);
    jsc().JSContextGroupSetExecutionTimeLimit(group_, interval, shouldTerminate, &watch);

    JSStringRef source = makeString(script);
    JSValueRef thrown = nullptr;
    jsc().JSEvaluateScript(context_, source, nullptr, nullptr, 1, &thrown);
    jsc().JSStringRelease(source);
    jsc().JSContextGroupClearExecutionTimeLimit(group_);
    // A script stopped while running its queued promise jobs (after an
    // await) returns without an exception; the watch still knows.
    if (!thrown && watch.outcome == RunWatch::Outcome::running) return true;

    std::string message;
    switch (watch.outcome) {
    case RunWatch::Outcome::outOfMemory:
        message =
            "Script stopped: it used more than " + std::to_string(memoryLimitBytes >> 20) + " MB of memory";
        Log::info(message);
        break;
    case RunWatch::Outcome::timedOut:
        message = "Script timed out after " + secondsText(timeLimitSeconds);
        Log::info(message);
        break;
    case RunWatch::Outcome::stopped:
        message = "Script stopped";
        Log::info(message);
        break;
    case RunWatch::Outcome::running:
        message = textOf(context_, thrown, nullptr).value_or("Unknown JS error");
        break;
    }
    logOutput.push_back("Error: " + message);
    return false;
}

} // namespace sumora
