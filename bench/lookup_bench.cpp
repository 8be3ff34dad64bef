// Lookup and dynamic-array functions over a 100,000-row table: 10,000
// exact VLOOKUPs and XLOOKUPs evaluated as one recalculation pass would (one
// resolver, one lookup cache scope), SORT and UNIQUE of the whole table.
// The *_Uncached variants run 100 lookups without a cache scope, to show
// what each call costs when it has to read the table itself.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "document/SumoraDocument.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/WorkbookResolver.h"
#include "functions/BuiltinFunctions.h"
#include "functions/LookupCache.h"

namespace {

using namespace sumora;

constexpr int kRows = 100'000;
constexpr int kLookups = 10'000;

// A: distinct numbers in scrambled order; B: "Item n" texts (also distinct,
// scrambled by A); C: 50,000 distinct texts, each twice.
const SumoraDocument& table() {
    static const std::unique_ptr<SumoraDocument> doc = [] {
        auto d = std::make_unique<SumoraDocument>();
        Sheet& s = d->sheets[0];
        for (int r = 0; r < kRows; ++r) {
            long long key = (static_cast<long long>(r) * 7919) % kRows;
            s.cellForWriting(r, 0).setValue(std::to_string(key));
            s.cellForWriting(r, 1).setValue("Item " + std::to_string(key));
            s.cellForWriting(r, 2).setValue("Group " + std::to_string((r * 31) % (kRows / 2)));
        }
        return d;
    }();
    return *doc;
}

std::vector<FormulaTree> lookups(int count, bool xlookup) {
    std::vector<FormulaTree> trees;
    std::string last = std::to_string(kRows);
    for (int i = 0; i < count; ++i) {
        int key = (i * 9973) % kRows;
        std::string f =
            xlookup ? "=XLOOKUP(\"item " + std::to_string(key) + "\",B1:B" + last + ",A1:A" + last + ")"
                    : "=VLOOKUP(" + std::to_string(key) + ",A1:B" + last + ",2,FALSE)";
        trees.push_back(parseFormula(f, builtinFunctions()));
    }
    return trees;
}

void runPass(benchmark::State& state, const std::vector<FormulaTree>& trees, bool cached) {
    const SumoraDocument& doc = table();
    for (auto _ : state) {
        WorkbookResolver resolver(doc, 0);
        FormulaEvaluator evaluator(resolver);
        std::optional<LookupCacheScope> scope;
        if (cached) scope.emplace();
        for (const FormulaTree& t : trees) {
            FormulaValue v = evaluator.evaluate(t);
            if (v.isError()) state.SkipWithError("lookup failed");
            benchmark::DoNotOptimize(v);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(trees.size()));
}

void BM_VLookupExact10kInto100kRows(benchmark::State& state) {
    runPass(state, lookups(kLookups, false), true);
}
void BM_XLookupExact10kInto100kRows(benchmark::State& state) {
    runPass(state, lookups(kLookups, true), true);
}
void BM_VLookupExact100Uncached(benchmark::State& state) {
    runPass(state, lookups(100, false), false);
}
void BM_XLookupExact100Uncached(benchmark::State& state) {
    runPass(state, lookups(100, true), false);
}

void evaluateOne(benchmark::State& state, const std::string& formula, size_t expectedRows) {
    const SumoraDocument& doc = table();
    FormulaTree tree = parseFormula(formula, builtinFunctions());
    for (auto _ : state) {
        WorkbookResolver resolver(doc, 0);
        FormulaEvaluator evaluator(resolver);
        FormulaValue v = evaluator.evaluate(tree);
        if (!v.isArray() || v.arrayRows().size() != expectedRows)
            state.SkipWithError("unexpected result shape");
        benchmark::DoNotOptimize(v);
    }
}

void BM_Sort100kRows(benchmark::State& state) {
    evaluateOne(state, "=SORT(B1:C" + std::to_string(kRows) + ")", kRows);
}
void BM_SortDescendingByNumber100kRows(benchmark::State& state) {
    evaluateOne(state, "=SORT(A1:C" + std::to_string(kRows) + ",1,-1)", kRows);
}
void BM_Unique100kRows(benchmark::State& state) {
    evaluateOne(state, "=UNIQUE(C1:C" + std::to_string(kRows) + ")", kRows / 2);
}

} // namespace

BENCHMARK(BM_VLookupExact10kInto100kRows)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XLookupExact10kInto100kRows)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VLookupExact100Uncached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XLookupExact100Uncached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sort100kRows)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortDescendingByNumber100kRows)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Unique100kRows)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
