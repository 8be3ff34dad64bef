// JavaScript macros: the engine's host functions, prelude and error rule, and
// running a macro against the editor's active sheet.
#ifdef SUMORA_HAVE_MACROS
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"
#include "macros/MacroRunner.h"
#include "macros/SumoraScriptEngine.h"
#include "values/Log.h"

namespace {

using namespace sumora;
using Lines = std::vector<std::string>;

// A new document (500 × 26) with a few cells typed in, and a runner on it.
struct Workbook {
    SumoraDocument doc;
    SumoraEditorView editor{doc};
    MacroRunner runner{editor};

    Workbook() {
        Log::setEnabled(false);
        for (auto [at, text] :
             {std::pair{"A1", "1"}, {"B1", "2"}, {"A2", "3"}, {"B2", "abc"}, {"C2", "12.5"}})
            type(at, text);
        editor.undoManager->clear();
    }
    ~Workbook() { Log::setEnabled(true); }

    void type(std::string_view address, std::string_view text) {
        auto at = parseCellAddress(address);
        editor.setCellValue({at->col, at->row}, text);
    }
    const Cell& cell(std::string_view address) const {
        auto at = parseCellAddress(address);
        return doc.sheets[0].cell(at->row, at->col);
    }
    std::string display(std::string_view address) const { return std::string(cell(address).displayValue()); }
    Lines run(std::string_view script) { return runner.run(script).lines; }
};

// ---- what a script leaves in the output ---------------------------------------

TEST(Macro, OutputLinesFollowTheScript) {
    const struct {
        const char* script;
        Lines expected;
    } cases[] = {
        {"var x = 1 + 1;", {"(script completed with no output)"}},
        {"throw \"x\"", {"Error: x"}},
        {"log(\"a\"); throw \"x\"; log(\"b\")", {"a", "Error: x"}},
        {"console.log(1); console.warn(\"w\"); console.error(\"e\")", {"1", "w", "e"}},
        {"throw new TypeError(\"bad\")", {"Error: TypeError: bad"}},
        {"throw Symbol()", {"Error: Unknown JS error"}},
        {"throw { toString: function() { throw 1; } }", {"Error: Unknown JS error"}},
        {"log(Symbol())", {"Error: TypeError: Cannot convert a symbol to a string"}},
        {"log(num(\"B2\")); log(num(\"C2\")); log(num(\"Z99\"))", {"0", "12.5", "0"}},
        {"log(cell(\"a1\") + cell(\"B1\") + cell(\"A2\"))", {"123"}},
        {"log([cell(\"$A$1\"), cell(\"Sheet1!A1\"), cell(\"A\"), cell(\"A0\"), cell(\"1A\")].join(\"|\"))",
         {"||||"}},
        {"log([colIndex(\"A\"), colIndex(\"z\"), colIndex(\"AA\"), colIndex(\"AZ\")].join())",
         {"0,25,26,51"}},
        // Arguments become integers by truncation; outside the grid reads "".
        {"log(getCell(1.9, 0.99) + getCell(\"0\", \"1\") + getCell())", {"231"}},
        {"log(getCell(-1, 0) + getCell(26, 0) + getCell(0, 500) + getCell(Infinity, 0) + \"|\")", {"|"}},
        {"log(JSON.stringify(getRange(0, 0, 1, 1)))", {"[[\"1\",\"2\"],[\"3\",\"abc\"]]"}},
        {"log(JSON.stringify(getRange(1, 1, 2, 1)))", {"[[\"abc\",\"12.5\"]]"}},
        {"log(JSON.stringify(getRange(1, 0, 0, 0)) + JSON.stringify(getRange(0, 1, 0, 0)))", {"[][]"}},
        {"log(JSON.stringify(getRange(25, 499, 26, 500)))", {"[[\"\",\"\"],[\"\",\"\"]]"}},
        {"getRange(0, 0, 99999, 99999)",
         {"Error: Error: getRange: the rectangle holds more than 2000000 cells"}},
        {"log(\"h\\u00e9llo \\u20ac \\u65e5\")", {"h\xC3\xA9llo \xE2\x82\xAC \xE6\x97\xA5"}},
        {"log([typeof require, typeof process, typeof fetch, typeof XMLHttpRequest, typeof "
         "setTimeout].join())",
         {"undefined,undefined,undefined,undefined,undefined"}},
    };
    for (const auto& c : cases) {
        Workbook book;
        EXPECT_EQ(book.run(c.script), c.expected) << c.script;
    }
}

TEST(Macro, OutputListCollectsEveryRun) {
    Workbook book;
    book.runner.run("log(\"a\")");
    book.runner.run("");
    EXPECT_EQ(book.runner.output, (Lines{"a", "(script completed with no output)"}));
}

// ---- what a script does to the sheet ----------------------------------------

TEST(Macro, WritesBehaveAsTyping) {
    const struct {
        const char* script;
        const char* address;
        const char* display;
        const char* formula; // "" when the cell must hold no formula
    } cases[] = {
        {"setRef(\"a1\", 5)", "A1", "5", ""},
        {"setRef(\"C1\", \"=A1+B1\")", "C1", "3", "A1+B1"},
        {"setCell(2, 0, \"=A1*10\"); log(cell(\"C1\"))", "C1", "10", "A1*10"},
        {"setRef(\"A1\", \"hello\")", "A1", "hello", ""},
        {"setCell(0, 0, 7.5)", "A1", "7.5", ""},
        // Bad references and positions outside the grid change nothing.
        {"setRef(\"$A$1\", 9); setRef(\"Sheet1!A1\", 9); setRef(\"A\", 9); setRef(\"A0\", 9)", "A1", "1", ""},
        {"setCell(-1, 0, \"x\"); setCell(0, -1, \"x\"); setCell(26, 0, \"x\"); setCell(0, 500, \"x\")", "A1",
         "1", ""},
    };
    for (const auto& c : cases) {
        Workbook book;
        book.run(c.script);
        EXPECT_EQ(book.display(c.address), c.display) << c.script;
        EXPECT_EQ(book.cell(c.address).formula().value_or(""), c.formula) << c.script;
        EXPECT_EQ(book.doc.sheets[0].rowCount(), 500) << c.script;
        EXPECT_EQ(book.doc.sheets[0].columnCount(), 26) << c.script;
    }
}

TEST(Macro, WritesBeforeAnErrorStay) {
    Workbook book;
    book.type("D1", "=A1*2");
    MacroRunResult result = book.runner.run("setRef(\"A1\", 4); undefinedFunction(); setRef(\"A2\", 8)");
    EXPECT_FALSE(result.completed);
    ASSERT_EQ(result.lines.size(), 1u);
    EXPECT_TRUE(result.lines[0].starts_with("Error: ReferenceError")) << result.lines[0];
    EXPECT_EQ(book.display("A1"), "4");
    EXPECT_EQ(book.display("D1"), "8");
    EXPECT_EQ(book.display("A2"), "3");
}

TEST(Macro, RecalculateAndTheFinalPassComputeFormulasNoEntryTouched) {
    // Formulas stored without their results: only a full recalculation computes them.
    Workbook book;
    book.doc.sheets[0].cellForWriting(0, 4).setFormula("1+1");
    book.doc.sheets[0].cellForWriting(1, 4).setFormula("A1+B1");
    EXPECT_EQ(book.run("log(cell(\"E1\") + \"|\"); recalculate(); log(cell(\"E1\"))"), (Lines{"|", "2"}));

    Workbook idle;
    idle.doc.sheets[0].cellForWriting(1, 4).setFormula("A2*2");
    idle.run("throw 1");
    EXPECT_EQ(idle.display("E2"), "6");
}

TEST(Macro, ExampleScriptFillsColumnA) {
    Workbook book;
    EXPECT_EQ(book.run(macroExampleScript()), (Lines{"Filled 10 rows in column A"}));
    for (int row = 1; row <= 10; ++row)
        EXPECT_EQ(book.display("A" + std::to_string(row)), std::to_string(row));
    EXPECT_EQ(book.display("A11"), "");
}

TEST(Macro, LockedCellsOfAProtectedSheetRefuseWrites) {
    Workbook book;
    book.doc.sheets[0].isProtected = true;
    book.run("setRef(\"A1\", 99)");
    EXPECT_EQ(book.display("A1"), "1");
    EXPECT_FALSE(book.editor.undoManager->canUndo());
}

// ---- undo -------------------------------------------------------------------

TEST(Macro, RunIsOneUndoStepThatRestoresEveryCell) {
    Workbook book;
    book.type("D1", "=A1*2");
    book.editor.undoManager->clear();
    book.run("setRef(\"A1\", 5); setRef(\"A1\", 6); setRef(\"E5\", \"=D1+1\"); setRef(\"B2\", \"\")");
    UndoManager& undo = *book.editor.undoManager;
    EXPECT_EQ(undo.undoCount(), 1u);
    EXPECT_EQ(undo.undoActionName(), "Run Macro");
    EXPECT_EQ(book.display("E5"), "13");

    ASSERT_TRUE(undo.undo());
    EXPECT_EQ(book.display("A1"), "1");
    EXPECT_EQ(book.display("D1"), "2");
    EXPECT_EQ(book.display("B2"), "abc");
    EXPECT_FALSE(book.cell("E5").hasContent());

    ASSERT_TRUE(undo.redo());
    EXPECT_EQ(book.display("A1"), "6");
    EXPECT_EQ(book.display("E5"), "13");
    EXPECT_EQ(book.display("B2"), "");

    // Later entries see the restored cells: the calculators were told.
    book.type("A1", "10");
    EXPECT_EQ(book.display("E5"), "21");
}

TEST(Macro, RunWithoutChangesRegistersNoUndoStep) {
    Workbook book;
    book.run("log(cell(\"A1\")); setRef(\"A1\", \"1\")");
    EXPECT_FALSE(book.editor.undoManager->canUndo());
}

// ---- time limit and stopping -------------------------------------------------

TEST(Macro, EndlessScriptIsTerminatedAndKeepsItsWrites) {
    Workbook book;
    book.runner.timeLimitSeconds = 0.5;
    // The termination cannot be caught by the script.
    MacroRunResult result =
        book.runner.run("setRef(\"A1\", \"before\"); while (true) { try { for (;;) {} } catch (e) {} }");
    EXPECT_FALSE(result.completed);
    EXPECT_EQ(result.lines, (Lines{"Error: Script timed out after 0.5 seconds"}));
    EXPECT_EQ(book.display("A1"), "before");
    // The next run starts with a fresh allowance.
    EXPECT_EQ(book.run("log(\"again\")"), (Lines{"again"}));
}

TEST(Macro, StopFromAnotherThreadEndsTheScript) {
    Workbook book;
    book.runner.timeLimitSeconds = 120;
    std::atomic<bool> finished{false};
    // A stop asked before the run starts is forgotten, so keep asking.
    std::thread stopper([&] {
        while (!finished.load()) {
            book.runner.requestStop();
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    MacroRunResult result = book.runner.run("setRef(\"A1\", \"started\"); for (;;) {}");
    finished.store(true);
    stopper.join();
    EXPECT_EQ(result.lines, (Lines{"Error: Script stopped"}));
    EXPECT_EQ(book.display("A1"), "started");
}

TEST(Macro, ScriptStoppedAfterAnAwaitFails) {
    Workbook book;
    book.runner.timeLimitSeconds = 0.5;
    // The loop runs as a queued promise job, after the script itself returned.
    MacroRunResult result = book.runner.run("async function f() { await null; for (;;) {} } f();");
    EXPECT_FALSE(result.completed);
    EXPECT_EQ(result.lines, (Lines{"Error: Script timed out after 0.5 seconds"}));
}

// ---- bounds on what a script may take ----------------------------------------

TEST(ScriptEngine, LoggingStopsAtTenMegabytesWithOneLine) {
    SumoraScriptEngine engine;
    ASSERT_TRUE(engine.evaluate("var s = 'x'.repeat(999); for (var i = 0; i < 20000; i++) log(s);"));
    ASSERT_FALSE(engine.logOutput.empty());
    EXPECT_EQ(engine.logOutput.back(), SumoraScriptEngine::kOutputTruncatedLine);
    size_t bytes = 0;
    for (size_t i = 0; i + 1 < engine.logOutput.size(); ++i)
        bytes += engine.logOutput[i].size() + 1;
    EXPECT_LE(bytes, SumoraScriptEngine::kMaxLogBytes);
    EXPECT_GT(bytes, SumoraScriptEngine::kMaxLogBytes - 1000);
}

TEST(ScriptEngine, ScriptGrowingWithoutBoundIsStoppedWithAMessage) {
    SumoraScriptEngine engine;
    engine.memoryLimitBytes = size_t{64} << 20;
    EXPECT_FALSE(engine.evaluate("var kept = []; for (;;) kept.push(new Array(100000).fill(1.5));"));
    EXPECT_EQ(engine.logOutput.back(), "Error: Script stopped: it used more than 64 MB of memory");
}

// ---- the engine on its own ---------------------------------------------------

TEST(ScriptEngine, WithoutHandlersFunctionsReturnEmptyValues) {
    SumoraScriptEngine engine;
    EXPECT_TRUE(engine.evaluate("log(JSON.stringify([getCell(0, 0), getRange(0, 0, 1, 1), "
                                "setCell(0, 0, \"x\"), recalculate()]))"));
    EXPECT_EQ(engine.logOutput, (Lines{"[\"\",[],null,null]"}));
}

TEST(ScriptEngine, ArgumentsAreConvertedToIntegersAndText) {
    SumoraScriptEngine engine;
    std::vector<std::string> calls;
    engine.getCellHandler = [&](CellPosition at) {
        calls.push_back("get " + std::to_string(at.col) + "," + std::to_string(at.row));
        return std::string();
    };
    engine.setCellHandler = [&](CellPosition at, std::string_view value) {
        calls.push_back("set " + std::to_string(at.col) + "," + std::to_string(at.row) + "=" +
                        std::string(value));
    };
    engine.getRangeHandler = [&](const CellArea& a) {
        calls.push_back("range " + std::to_string(a.startCol) + "," + std::to_string(a.startRow) + "," +
                        std::to_string(a.endCol) + "," + std::to_string(a.endRow));
        return std::vector<std::vector<std::string>>{};
    };
    EXPECT_TRUE(engine.evaluate("getCell(2.7, -0.5); getCell(\"3\", \"x\"); setCell(1, 2, 42); setCell(0, 0);"
                                "setCell(-1.5, 1e300, true); getRange(1, 2, 3)"));
    EXPECT_EQ(calls, (Lines{"get 2,0", "get 3,0", "set 1,2=42", "set 0,0=undefined",
                            "set -1,9000000000000000=true", "range 1,2,3,0"}));
}

TEST(ScriptEngine, FailingHandlerRaisesACatchableError) {
    SumoraScriptEngine engine;
    engine.getCellHandler = [](CellPosition) -> std::string { throw std::runtime_error("no sheet"); };
    EXPECT_TRUE(engine.evaluate("try { getCell(0, 0) } catch (e) { log(e.message) }"));
    EXPECT_EQ(engine.logOutput, (Lines{"no sheet"}));
}

TEST(ScriptEngine, FunctionsOutlivingTheirEngineDoNothing) {
    int calls = 0;
    JSGlobalContextRef context;
    {
        SumoraScriptEngine engine;
        engine.getCellHandler = [&](CellPosition) {
            ++calls;
            return std::string("live");
        };
        EXPECT_TRUE(engine.evaluate("log(getCell(0, 0))"));
        context = JSGlobalContextRetain(engine.context());
    }
    JSStringRef script = JSStringCreateWithUTF8CString(
        "log('x'); setCell(0, 0, 'y'); recalculate(); [getCell(0, 0), getRange(0, 0, 1, 1)]");
    JSValueRef thrown = nullptr;
    JSValueRef result = JSEvaluateScript(context, script, nullptr, nullptr, 1, &thrown);
    JSStringRelease(script);
    ASSERT_EQ(thrown, nullptr);
    JSObjectRef array = JSValueToObject(context, result, nullptr);
    EXPECT_TRUE(JSValueIsUndefined(context, JSObjectGetPropertyAtIndex(context, array, 0, nullptr)));
    EXPECT_TRUE(JSValueIsUndefined(context, JSObjectGetPropertyAtIndex(context, array, 1, nullptr)));
    EXPECT_EQ(calls, 1);
    JSGlobalContextRelease(context);
}

TEST(ScriptEngine, PreludeIsTheConsoleLineThenTheHelpersInOrder) {
    EXPECT_EQ(SumoraScriptEngine::consolePrelude(), "var console = { log: log, warn: log, error: log };");
    const std::string_view helpers = SumoraScriptEngine::helperPrelude();
    size_t last = 0;
    for (std::string_view piece : {
             "// Convert column letter to index: colIndex(\"A\") = 0\nfunction colIndex(letter) {",
             "// Get cell by reference string: cell(\"A1\") -> value\nfunction cell(ref) {",
             "/^([A-Za-z]+)(\\d+)$/",
             "return getCell(colIndex(match[1]), parseInt(match[2]) - 1);",
             "// Set cell by reference string: setRef(\"A1\", \"hello\")\nfunction setRef(ref, value) {",
             "setCell(colIndex(match[1]), parseInt(match[2]) - 1, String(value));",
             "// Get numeric value\nfunction num(ref) {\n    return parseFloat(cell(ref)) || 0;",
         }) {
        size_t at = helpers.find(piece, last);
        ASSERT_NE(at, std::string_view::npos) << piece;
        last = at + piece.size();
    }
}

// ---- the command line ---------------------------------------------------------

class MacroCli : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = std::filesystem::temp_directory_path() / ("sumora-macro-" + std::to_string(::getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    std::string file(const std::string& name, const std::string& text) {
        std::ofstream(dir_ / name, std::ios::binary) << text;
        return (dir_ / name).string();
    }
    std::string slurp(const std::string& name) {
        std::ifstream in(dir_ / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    // Exit status (-1 after a signal); standard output lands in "stdout".
    // `limits` are shell commands run first, such as a ulimit.
    int run(const std::string& args, const std::string& limits = "") {
        std::string command = limits + std::string(SUMORA_CLI_PATH) + " macro " + args + " >" +
                              (dir_ / "stdout").string() + " 2>" + (dir_ / "stderr").string();
        int raw = std::system(("bash -c '" + command + "'").c_str());
        return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    }
    std::filesystem::path dir_;
};

TEST_F(MacroCli, RunsTheScriptAndWritesTheResult) {
    std::string in = file("in.csv", "2,=A1*3\n");
    std::string script = file("fill.js", "setRef(\"A1\", 5); console.log(cell(\"B1\"));");
    std::string out = (dir_ / "out.csv").string();
    EXPECT_EQ(run(in + " " + script + " -o " + out), 0) << slurp("stderr");
    EXPECT_EQ(slurp("stdout"), "15\n");
    EXPECT_TRUE(slurp("out.csv").starts_with("5,15,")) << slurp("out.csv");
}

TEST_F(MacroCli, FailingScriptLeavesTheOutputFileAlone) {
    std::string in = file("in.csv", "2\n");
    std::string script = file("bad.js", "setRef(\"A1\", 5); throw \"nope\";");
    file("out.csv", "previous\n");
    EXPECT_EQ(run(in + " " + script + " -o " + (dir_ / "out.csv").string()), 2);
    EXPECT_EQ(slurp("stdout"), "Error: nope\n");
    EXPECT_EQ(slurp("out.csv"), "previous\n");
}

TEST_F(MacroCli, EndlessPromiseChainEndsTheRunWithoutWriting) {
    std::string in = file("in.csv", "2\n");
    std::string script =
        file("loop.js", "setRef(\"A1\", 5); function f() { Promise.resolve().then(f); } f();");
    file("out.csv", "previous\n");
    EXPECT_EQ(run(in + " " + script + " --time-limit 0.5 -o " + (dir_ / "out.csv").string()), 2);
    EXPECT_EQ(slurp("stdout"), "Error: Script timed out after 0.5 seconds\n");
    EXPECT_EQ(slurp("out.csv"), "previous\n");
}

TEST_F(MacroCli, AddressSpaceLimitGivesAMessageNotAnAbort) {
    std::string in = file("in.csv", "2\n");
    std::string script = file("log.js", "log(\"ran\");");
    // The interpreter reserves more address space than 4 GB at its start.
    EXPECT_EQ(run(in + " " + script, "ulimit -v 4194304; "), 2);
    EXPECT_TRUE(slurp("stdout").starts_with("Error: Macros cannot run under this process's memory limit"))
        << slurp("stdout");
}

} // namespace
#endif // SUMORA_HAVE_MACROS
