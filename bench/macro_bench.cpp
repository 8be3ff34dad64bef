// A macro that writes 100,000 cells with setCell and then calls recalculate()
// once (target: under 2 s per run). Every write goes through the editor's
// setCellValue, which recalculates its cell; the run ends with the final
// recalculation and the one undo step of the macro.
//   Plain             — an empty column A of a 100,000-row sheet.
//   WithDependents    — column B holds =A{n}*2 on every row, so each write
//                       also recomputes the formula that reads it.
//   WithLogging       — as Plain, but the two diagnostic lines of every entry
//                       are formatted and handed to a sink (the app logs them;
//                       the command line only with --verbose).
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "editing/SumoraEditorView.h"
#include "macros/MacroRunner.h"
#include "values/Log.h"

namespace {

using namespace sumora;

constexpr int64_t kRows = 100000;

constexpr std::string_view kScript = R"JS(
for (var i = 0; i < 100000; i++) {
    setCell(0, i, String(i));
}
recalculate();
console.log("done");
)JS";

struct Book {
    SumoraDocument doc;
    std::unique_ptr<SumoraEditorView> editor;

    explicit Book(bool withDependents) {
        Sheet& sheet = doc.sheets[0];
        sheet.growTo(kRows, 26);
        if (withDependents)
            for (int64_t r = 0; r < kRows; ++r)
                sheet.cellForWriting(r, 1).setFormula("A" + std::to_string(r + 1) + "*2");
        editor = std::make_unique<SumoraEditorView>(doc);
        editor->recalculateAllFormulas();
    }
};

void runMacro(benchmark::State& state, bool withDependents, bool logging) {
    Log::setEnabled(logging);
    if (logging) Log::setSink([](LogLevel, std::string_view line) { benchmark::DoNotOptimize(line.data()); });
    for (auto _ : state) {
        state.PauseTiming();
        auto book = std::make_unique<Book>(withDependents);
        MacroRunner runner(*book->editor);
        state.ResumeTiming();
        MacroRunResult result = runner.run(kScript);
        if (!result.completed || book->doc.sheets[0].cell(kRows - 1, 0).displayValue() != "99999")
            state.SkipWithError("the macro did not write every cell");
        state.PauseTiming();
        book.reset();
        state.ResumeTiming();
    }
    Log::setSink(nullptr);
    Log::setEnabled(false);
}

void BM_MacroWrites100kCellsPlain(benchmark::State& state) {
    runMacro(state, false, false);
}
void BM_MacroWrites100kCellsWithDependents(benchmark::State& state) {
    runMacro(state, true, false);
}
void BM_MacroWrites100kCellsWithLogging(benchmark::State& state) {
    runMacro(state, false, true);
}

BENCHMARK(BM_MacroWrites100kCellsPlain)->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MacroWrites100kCellsWithDependents)->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MacroWrites100kCellsWithLogging)->Iterations(3)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
