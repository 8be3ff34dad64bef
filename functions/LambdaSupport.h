#pragma once
// LAMBDA as an argument of the functions that call it (MAP, REDUCE, SCAN,
// BYROW, BYCOL, MAKEARRAY). A LAMBDA is not a value: the calling function
// finds the LAMBDA call among its argument nodes and evaluates its body once
// per call with the parameters bound as formula variables.
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "engine/FunctionContext.h"

namespace sumora {

struct LambdaCall {
    std::vector<std::string_view> parameters;
    uint32_t body = 0;
};

// Argument i when it is a LAMBDA(param1, ..., body) call with `parameters`
// bare parameter names; nothing otherwise.
std::optional<LambdaCall> lambdaArg(FunctionContext& c, size_t i, size_t parameters);
// Whether argument i is a LAMBDA call at all (of whatever shape).
bool isLambdaArg(FunctionContext& c, size_t i);

// The body's value with the parameters bound to `values` in order; "#VALUE!"
// when the counts differ.
FormulaValue applyLambda(FunctionContext& c, const LambdaCall& lambda, std::span<const FormulaValue> values);

} // namespace sumora
