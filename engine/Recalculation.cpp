#include "engine/Recalculation.h"

#include "values/Log.h"
#include "engine/SheetCalculator.h"
#include "engine/SheetDependencies.h"

namespace sumora {

namespace {

// Rounds over sheets that read each other before their results are left as
// they stand; each round follows one more step of a chain that crosses back.
constexpr int kMaxWorkbookRounds = 16;

} // namespace

void recalculateSheet(SumoraDocument& document, size_t sheetIndex, const FunctionRegistry& registry,
                      RecalcProfiler* profiler) {
    if (sheetIndex >= document.sheets.size()) return;
    SheetCalculator calculator(document, sheetIndex, registry);
    calculator.setProfiler(profiler);
    calculator.recalculateAll();
}

void recalculateDocument(SumoraDocument& document, const FunctionRegistry& registry, RecalcProfiler* profiler) {
    for (size_t i = 0; i < document.sheets.size(); ++i)
        recalculateSheet(document, i, registry, profiler);
}

void recalculateWorkbook(SumoraDocument& document, const FunctionRegistry& registry, RecalcProfiler* profiler) {
    const size_t count = document.sheets.size();
    const std::vector<std::vector<size_t>> reads = sheetsReadBy(document);
    const std::vector<size_t> order = sheetCalculationOrder(reads);
    std::vector<size_t> position(count);
    std::vector<std::vector<size_t>> readers(count);
    for (size_t i = 0; i < count; ++i) {
        position[order[i]] = i;
        for (size_t read : reads[i])
            readers[read].push_back(i);
    }
    // A sheet is calculated again when a sheet it reads changed after it.
    std::vector<bool> pending(count, true);
    for (int round = 0; round < kMaxWorkbookRounds; ++round) {
        bool again = false;
        for (size_t s : order) {
            if (!pending[s]) continue;
            pending[s] = false;
            SheetCalculator calculator(document, s, registry);
            calculator.setProfiler(profiler);
            calculator.recalculateAll();
            if (!calculator.resultsChanged()) continue;
            for (size_t reader : readers[s]) {
                pending[reader] = true;
                again = again || position[reader] < position[s];
            }
        }
        if (!again) return;
    }
    Log::info("recalculate: sheets that read each other still change after " +
              std::to_string(kMaxWorkbookRounds) + " rounds; their results are left as they stand");
}

} // namespace sumora
