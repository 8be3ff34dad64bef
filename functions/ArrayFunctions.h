#pragma once
// The dynamic-array functions: each builds a whole array (rows outer,
// columns inner) that the recalculation spills. Registered by
// registerLookupFunctions.
//
// Where common spreadsheets answer "#CALC!" (a result with no cells, such as
// FILTER with nothing left and no if_empty), this system, which has no such
// error, answers "#N/A" for a search that found nothing (FILTER, UNIQUE with
// exactly_once, TOCOL/TOROW ignoring everything) and "#VALUE!" for a size
// argument of 0 (SEQUENCE, TAKE, DROP of everything). Results larger than
// kMaxArrayCells (engine/CellResolver.h) are "#NUM!".
#include <cstdint>

#include "engine/FunctionContext.h"
#include "functions/ArgumentValues.h"

namespace sumora {

// Argument i as rectangular rows (short rows padded with empties); a single
// error value, a missing argument or a range with no cells is the failure.
ArgValue<ValueRows> rowsArg(FunctionContext& c, size_t i);
ValueRows transposeRows(const ValueRows& rows);
// Whether a rows × cols result is beyond kMaxArrayCells.
bool isTooLarge(int64_t rows, int64_t cols);

// The distinct rows, keyed by the text forms of their values joined with
// tabs (so 1 and "1" are one row, "a" and "A" two), first occurrence first;
// with exactlyOnce, only the rows whose key occurs once.
ValueRows uniqueRows(const ValueRows& rows, bool exactlyOnce);

// ArrayFunctions.cpp
FormulaValue evaluateFilter(FunctionContext& c);
FormulaValue evaluateSort(FunctionContext& c);
FormulaValue evaluateUnique(FunctionContext& c);
FormulaValue evaluateSequence(FunctionContext& c);
FormulaValue evaluateTranspose(FunctionContext& c);
FormulaValue evaluateMakeArray(FunctionContext& c);

// ArrayShapeFunctions.cpp
FormulaValue evaluateWrapRows(FunctionContext& c);
FormulaValue evaluateWrapCols(FunctionContext& c);
FormulaValue evaluateToCol(FunctionContext& c);
FormulaValue evaluateToRow(FunctionContext& c);
FormulaValue evaluateHStack(FunctionContext& c);
FormulaValue evaluateVStack(FunctionContext& c);
FormulaValue evaluateTake(FunctionContext& c);
FormulaValue evaluateDrop(FunctionContext& c);
FormulaValue evaluateExpand(FunctionContext& c);
FormulaValue evaluateChooseCols(FunctionContext& c);
FormulaValue evaluateChooseRows(FunctionContext& c);

} // namespace sumora
