// COUNTIFS and SUMIFS with two criteria over 100,000 rows: the criteria are
// parsed once per call, so the cost is reading the ranges and matching.
#include <benchmark/benchmark.h>

#include <string>

#include "document/SumoraDocument.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/WorkbookResolver.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

namespace {

using namespace sumora;

constexpr int64_t kRows = 100000;

// Column A a region (text), B a quantity, C a price; constants are stored
// as value and computed text, as the editor and the CSV reader store them.
const SumoraDocument& salesDocument() {
    static const SumoraDocument doc = [] {
        SumoraDocument d;
        Sheet& sheet = d.sheets.front();
        const char* regions[] = {"East", "West", "North", "South"};
        for (int64_t row = 0; row < kRows; ++row) {
            auto put = [&](int64_t col, const std::string& text) {
                Cell& c = sheet.cellForWriting(row, col);
                c.setValue(text);
                c.setComputedValue(text);
            };
            put(0, regions[row % 4]);
            put(1, std::to_string(row % 1000));
            put(2, std::to_string(row % 97) + ".25");
        }
        return d;
    }();
    return doc;
}

void evaluateRepeatedly(benchmark::State& state, const char* formula) {
    Log::setEnabled(false);
    const SumoraDocument& doc = salesDocument();
    WorkbookResolver resolver(doc, 0, CellRef{10, 0, std::nullopt});
    FormulaEvaluator evaluator(resolver);
    FormulaTree tree = parseFormula(formula, builtinFunctions());
    for (auto _ : state) {
        FormulaValue v = evaluator.evaluate(tree);
        benchmark::DoNotOptimize(v);
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void BM_CountIfsTwoCriteria(benchmark::State& state) {
    evaluateRepeatedly(state, "=COUNTIFS(A1:A100000,\"east\",B1:B100000,\">500\")");
}
BENCHMARK(BM_CountIfsTwoCriteria)->Unit(benchmark::kMillisecond);

void BM_SumIfsTwoCriteria(benchmark::State& state) {
    evaluateRepeatedly(state, "=SUMIFS(C1:C100000,A1:A100000,\"east\",B1:B100000,\">500\")");
}
BENCHMARK(BM_SumIfsTwoCriteria)->Unit(benchmark::kMillisecond);

// A text criterion against numbers: every number's text form is compared.
void BM_CountIfsNumberTextForms(benchmark::State& state) {
    evaluateRepeatedly(state, "=COUNTIFS(B1:B100000,\"=250\",C1:C100000,\"<>3.25\")");
}
BENCHMARK(BM_CountIfsNumberTextForms)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
