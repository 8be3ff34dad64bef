#include "engine/Recalculation.h"

#include "engine/SheetCalculator.h"

namespace sumora {

void recalculateSheet(SumoraDocument& document, size_t sheetIndex, const FunctionRegistry& registry) {
    if (sheetIndex >= document.sheets.size()) return;
    SheetCalculator(document, sheetIndex, registry).recalculateAll();
}

void recalculateDocument(SumoraDocument& document, const FunctionRegistry& registry) {
    for (size_t i = 0; i < document.sheets.size(); ++i)
        recalculateSheet(document, i, registry);
}

} // namespace sumora
