#pragma once
// The reference functions (positions, sizes, references built from text or
// offsets); registered by registerLookupFunctions.
#include "engine/FunctionContext.h"

namespace sumora {

FormulaValue evaluateIndex(FunctionContext& c);
FormulaValue evaluateChoose(FunctionContext& c);
FormulaValue evaluateIndirect(FunctionContext& c);
FormulaValue evaluateOffset(FunctionContext& c);
FormulaValue evaluateRow(FunctionContext& c);
FormulaValue evaluateColumn(FunctionContext& c);
FormulaValue evaluateRows(FunctionContext& c);
FormulaValue evaluateColumns(FunctionContext& c);
FormulaValue evaluateAddress(FunctionContext& c);

} // namespace sumora
