#include "engine/Recalculation.h"

#include "engine/SheetCalculator.h"

namespace sumora {

void recalculateSheet(SumoraDocument& document, size_t sheetIndex, RecalcProfiler* profiler) {
    if (sheetIndex >= document.sheets.size()) return;
    SheetCalculator calculator(document, sheetIndex);
    calculator.setProfiler(profiler);
    calculator.recalculateAll();
}

void recalculateDocument(SumoraDocument& document, RecalcProfiler* profiler) {
    for (size_t i = 0; i < document.sheets.size(); ++i)
        recalculateSheet(document, i, profiler);
}

} // namespace sumora
