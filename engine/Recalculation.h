#pragma once
// Whole-workbook recalculation entry points used by readers, tools and the
// command line.
#include <cstddef>

#include "document/SumoraDocument.h"

namespace sumora {

class FunctionRegistry;

// Recalculates every formula of one sheet, parsing against `registry`.
void recalculateSheet(SumoraDocument& document, size_t sheetIndex, const FunctionRegistry& registry);
// Recalculates every sheet, in tab order.
void recalculateDocument(SumoraDocument& document, const FunctionRegistry& registry);

} // namespace sumora
