// Core figures: memory per stored cell of a large numeric sheet, the memory
// of a new document, and how many short formulas parse per second.
//
// The memory figures are printed before the timed benchmarks run; targets:
// under 64 bytes per stored cell, under 1 MB for a new document, over a
// million short formulas parsed per second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <malloc.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "document/SumoraDocument.h"
#include "engine/FormulaParser.h"
#include "engine/FormulaTokenizer.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

namespace {

using namespace sumora;

// Resident set size from /proc/self/statm, in bytes.
size_t residentBytes() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return static_cast<size_t>(resident) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Bytes the allocator has handed out (small blocks plus mmapped ones).
size_t heapBytes() {
    struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

void reportLargeSheet() {
    constexpr int64_t kRows = 1'000'000, kCols = 10;
    malloc_trim(0);
    const size_t rssBefore = residentBytes(), heapBefore = heapBytes();
    Sheet sheet("Numbers", 500, 26);
    char text[32];
    for (int64_t r = 0; r < kRows; ++r)
        for (int64_t c = 0; c < kCols; ++c) {
            // A constant as readers store it: value and computed text alike.
            int n = std::snprintf(text, sizeof text, "%lld.25", static_cast<long long>(r * kCols + c));
            Cell& cell = sheet.cellForWriting(r, c);
            cell.setValue(std::string_view(text, static_cast<size_t>(n)));
            cell.setComputedValue(std::string_view(text, static_cast<size_t>(n)));
        }
    const double cells = static_cast<double>(kRows * kCols);
    const double rssPerCell = static_cast<double>(residentBytes() - rssBefore) / cells;
    const double heapPerCell = static_cast<double>(heapBytes() - heapBefore) / cells;
    std::printf("large sheet (1,000,000 x 10 numeric cells): %.1f bytes/cell resident, %.1f bytes/cell heap "
                "(target < 64; sizeof(Cell) = %zu)\n",
                rssPerCell, heapPerCell, sizeof(Cell));
    benchmark::DoNotOptimize(sheet.cell(kRows - 1, kCols - 1).value().data());
}

void reportNewDocument() {
    malloc_trim(0);
    const size_t heapBefore = heapBytes();
    auto* doc = new SumoraDocument();
    const size_t bytes = heapBytes() - heapBefore;
    std::printf("new document (500 x 26 grid): %zu bytes heap (target < 1 MB)\n", bytes);
    delete doc;
}

const std::vector<std::string>& shortFormulas() {
    static const std::vector<std::string> formulas{
        "A1*2+1",        "SUM(B1:B100)",    "IF(A1>0,A1,-A1)", "B2/C2-1",      "AVERAGE(A1:A10)*100",
        "A1&\" units\"", "ROUND(C3*1.2,2)", "MAX(A1,B1,C1)",   "Sheet2!A1+B7", "(A1+B1)/2",
    };
    return formulas;
}

void BM_ParseShortFormulas(benchmark::State& state) {
    const auto& formulas = shortFormulas();
    size_t i = 0;
    for (auto _ : state) {
        FormulaTree tree = parseFormula(formulas[i], builtinFunctions());
        benchmark::DoNotOptimize(tree.root);
        if (++i == formulas.size()) i = 0;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParseShortFormulas);

void BM_TokenizeShortFormulas(benchmark::State& state) {
    const auto& formulas = shortFormulas();
    size_t i = 0;
    for (auto _ : state) {
        auto tokens = FormulaTokenizer(formulas[i]).tokenize();
        benchmark::DoNotOptimize(tokens.data());
        if (++i == formulas.size()) i = 0;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_TokenizeShortFormulas);

} // namespace

int main(int argc, char** argv) {
    Log::setEnabled(false);
    reportNewDocument();
    reportLargeSheet();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
