// The editor's data tools at scale: sorting 100,000 rows (by a text column,
// which goes through locale collation, and by a number column), finding a
// text among 1,000,000 cells, removing duplicates among 100,000 rows, and a
// 200-round goal seek on a sheet of 100,000 formulas that do not depend on
// the changing cell. Each sort and removal starts from a fresh copy of the
// sheet (not timed); the times include the recalculation the tools end with.
#include <benchmark/benchmark.h>

#include <string>

#include "document/SumoraDocument.h"
#include "editing/SumoraEditorView.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

namespace {

using namespace sumora;

constexpr int64_t kRows = 100000;

void put(Sheet& sheet, int64_t row, int64_t col, const std::string& text) {
    Cell& c = sheet.cellForWriting(row, col);
    c.setValue(text);
    c.setComputedValue(text);
}

// A: a name (mixed case, many repeats), B: a number, C: B*2 as a formula.
const SumoraDocument& tableDocument() {
    static const SumoraDocument doc = [] {
        SumoraDocument d;
        d.ensureGridSize(0, kRows, 26);
        Sheet& sheet = d.sheets.front();
        const char* names[] = {"alpha", "Bravo", "charlie", "Delta", "echo", "Foxtrot", "golf", "Hotel"};
        uint64_t seed = 12345;
        for (int64_t row = 0; row < kRows; ++row) {
            seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
            put(sheet, row, 0,
                std::string(names[(seed >> 33) % 8]) + " " + std::to_string((seed >> 40) % 5000));
            put(sheet, row, 1, std::to_string((seed >> 20) % 100000));
            sheet.cellForWriting(row, 2).setFormula("B" + std::to_string(row + 1) + "*2");
        }
        recalculateSheet(d, 0, builtinFunctions());
        return d;
    }();
    return doc;
}

// 100,000 rows × 10 columns of short texts; "needle" in a few of them.
const SumoraDocument& millionCellDocument() {
    static const SumoraDocument doc = [] {
        SumoraDocument d;
        d.ensureGridSize(0, kRows, 26);
        Sheet& sheet = d.sheets.front();
        for (int64_t row = 0; row < kRows; ++row)
            for (int64_t col = 0; col < 10; ++col)
                put(sheet, row, col,
                    (row * 10 + col) % 99991 == 0 ? "a Needle here"
                                                  : "item " + std::to_string(row * 10 + col));
        return d;
    }();
    return doc;
}

void sortBy(benchmark::State& state, int64_t column) {
    Log::setEnabled(false);
    for (auto _ : state) {
        state.PauseTiming();
        SumoraDocument doc = tableDocument();
        SumoraEditorView editor(doc);
        editor.activeCell = CellPosition{column, 0};
        state.ResumeTiming();
        editor.sortColumn(true);
        benchmark::DoNotOptimize(doc.sheets[0].cell(0, 0));
        state.PauseTiming();
        // The copy is freed outside the timing too.
        doc = SumoraDocument();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void BM_SortTextColumn100kRows(benchmark::State& state) {
    sortBy(state, 0);
}
BENCHMARK(BM_SortTextColumn100kRows)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_SortNumberColumn100kRows(benchmark::State& state) {
    sortBy(state, 1);
}
BENCHMARK(BM_SortNumberColumn100kRows)->Unit(benchmark::kMillisecond)->Iterations(3);

void findIn(benchmark::State& state, bool matchCase) {
    Log::setEnabled(false);
    SumoraDocument doc = millionCellDocument();
    SumoraEditorView editor(doc);
    FindRequest request;
    request.findText = matchCase ? "Needle" : "needle";
    request.matchCase = matchCase;
    for (auto _ : state)
        benchmark::DoNotOptimize(editor.performFind(request).matches.size());
    state.counters["matches"] = static_cast<double>(editor.findResult().matches.size());
    state.SetItemsProcessed(state.iterations() * kRows * 10);
}

void BM_FindMillionCellsIgnoringCase(benchmark::State& state) {
    findIn(state, false);
}
BENCHMARK(BM_FindMillionCellsIgnoringCase)->Unit(benchmark::kMillisecond);

void BM_FindMillionCellsMatchingCase(benchmark::State& state) {
    findIn(state, true);
}
BENCHMARK(BM_FindMillionCellsMatchingCase)->Unit(benchmark::kMillisecond);

void BM_RemoveDuplicates100kRows(benchmark::State& state) {
    Log::setEnabled(false);
    for (auto _ : state) {
        state.PauseTiming();
        SumoraDocument doc = tableDocument();
        SumoraEditorView editor(doc);
        state.ResumeTiming();
        benchmark::DoNotOptimize(editor.performRemoveDuplicates({false, {0}}));
        state.PauseTiming();
        state.counters["removed"] = static_cast<double>(kRows - doc.sheets[0].usedExtent().rows);
        doc = SumoraDocument();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_RemoveDuplicates100kRows)->Unit(benchmark::kMillisecond)->Iterations(3);

// The target is out of reach, so all 200 rounds run.
void BM_GoalSeek200RoundsBeside100kFormulas(benchmark::State& state) {
    Log::setEnabled(false);
    for (auto _ : state) {
        state.PauseTiming();
        SumoraDocument doc = tableDocument();
        SumoraEditorView editor(doc);
        editor.setCellValue({4, 0}, "=D1*2");
        state.ResumeTiming();
        benchmark::DoNotOptimize(editor.performGoalSeek({"E1", "1e9", "D1"}));
        state.PauseTiming();
        doc = SumoraDocument();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_GoalSeek200RoundsBeside100kFormulas)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
