#pragma once
// Whole-workbook recalculation entry points used by readers, tools and the
// command line.
#include <cstddef>

#include "document/SumoraDocument.h"

namespace sumora {

// Recalculates every formula of one sheet.
void recalculateSheet(SumoraDocument& document, size_t sheetIndex);
// Recalculates every sheet, in tab order.
void recalculateDocument(SumoraDocument& document);

} // namespace sumora
