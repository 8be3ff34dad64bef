#pragma once
// Whole-workbook recalculation entry points used by readers, tools and the
// command line.
#include <cstddef>

#include "document/SumoraDocument.h"

namespace sumora {

class RecalcProfiler;

// Recalculates every formula of one sheet.
void recalculateSheet(SumoraDocument& document, size_t sheetIndex, RecalcProfiler* profiler = nullptr);
// Recalculates every sheet, in tab order; a profiler times every formula.
void recalculateDocument(SumoraDocument& document, RecalcProfiler* profiler = nullptr);

} // namespace sumora
