#pragma once
// Whole-workbook recalculation entry points used by readers, tools and the
// command line.
#include <cstddef>

#include "document/SumoraDocument.h"

namespace sumora {

class FunctionRegistry;
class RecalcProfiler;

// Recalculates every formula of one sheet, parsing against `registry`.
void recalculateSheet(SumoraDocument& document, size_t sheetIndex, const FunctionRegistry& registry,
                      RecalcProfiler* profiler = nullptr);
// Recalculates every sheet, in tab order; a profiler times every formula.
void recalculateDocument(SumoraDocument& document, const FunctionRegistry& registry,
                         RecalcProfiler* profiler = nullptr);
// Recalculates every sheet after the sheets its formulas read, so that every
// formula shows what its inputs produce; sheets that read each other are
// calculated again, a bounded number of rounds, while their results change.
// Opening a file ends with it. (An edit recalculates its own sheet only.)
void recalculateWorkbook(SumoraDocument& document, const FunctionRegistry& registry,
                         RecalcProfiler* profiler = nullptr);

} // namespace sumora
