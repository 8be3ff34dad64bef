#pragma once
// The formula side of conditional formats: expression rules and formula
// thresholds are evaluated against the workbook as it stands, each formula
// moved from the rule's top-left cell to the cell it is asked for, and read
// as a number the way a formula reads a cell (TRUE is 1, FALSE 0).
#include <cstddef>
#include <cstdint>
#include <optional>

#include "document/ConditionalFormatEvaluation.h"
#include "document/SumoraDocument.h"

namespace sumora {

// For a ConditionalFormatEvaluator over document.sheets[sheetIndex]; the
// document must outlive what is returned. Formulas are parsed once per
// position and kept for the returned object's lifetime.
ConditionalFormulaNumber conditionalFormulaNumbers(const SumoraDocument& document, size_t sheetIndex);

// The merged conditional format of one cell, formulas included.
std::optional<ConditionalFormat> conditionalFormatAt(const SumoraDocument& document, size_t sheetIndex,
                                                     CellPosition at);

} // namespace sumora
