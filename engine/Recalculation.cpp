#include "engine/Recalculation.h"

#include "engine/SheetCalculator.h"

namespace sumora {

void recalculateSheet(SumoraDocument& document, size_t sheetIndex) {
    if (sheetIndex >= document.sheets.size()) return;
    SheetCalculator(document, sheetIndex).recalculateAll();
}

void recalculateDocument(SumoraDocument& document) {
    for (size_t i = 0; i < document.sheets.size(); ++i)
        recalculateSheet(document, i);
}

} // namespace sumora
