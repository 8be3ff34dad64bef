#pragma once
// Which sheets of a workbook read which others, and an order to calculate
// them in: a sheet's formulas see other sheets' results as they stand, so a
// sheet is best calculated after the sheets it reads.
#include <cstddef>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

// For each sheet, the other sheets its formulas read: references with a
// sheet prefix and named ranges that lie on a sheet. Reads made through text
// (INDIRECT) are not seen. A value typed as "=…" counts as a formula.
std::vector<std::vector<size_t>> sheetsReadBy(const SumoraDocument& document);

// Every sheet once, each after the sheets it reads where that is possible;
// sheets that read each other, directly or not, come in tab order.
std::vector<size_t> sheetCalculationOrder(const std::vector<std::vector<size_t>>& reads);

} // namespace sumora
