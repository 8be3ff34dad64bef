#pragma once
// The conditional aggregates of the statistical family: SUMIF, SUMIFS,
// COUNTIF, COUNTIFS, AVERAGEIF, AVERAGEIFS, MAXIFS and MINIFS. Ranges are
// flattened row-major and paired by position; each criterion is compiled
// once per call. Registered from StatisticalFunctions.cpp.
#include "engine/FunctionContext.h"

namespace sumora::conditional {

FormulaValue sumIf(FunctionContext& c);
FormulaValue sumIfs(FunctionContext& c);
FormulaValue countIf(FunctionContext& c);
FormulaValue countIfs(FunctionContext& c);
FormulaValue averageIf(FunctionContext& c);
FormulaValue averageIfs(FunctionContext& c);
FormulaValue maxIfs(FunctionContext& c);
FormulaValue minIfs(FunctionContext& c);

} // namespace sumora::conditional
