#pragma once
// Argument readers for function bodies:
// `auto x = declaredNumber(c, 0); if (!x) return x.failure;`.
// FunctionContext's evalStr/evalNum turn errors into texts or into "no
// number"; these keep the error, so IFERROR sees what went wrong, except
// where the function declares the `evalNum` rule. For many arguments use
// `c.resolveNumbers()` (numbers of cells, ranges and arrays; text and booleans
// inside ranges are skipped) or `c.resolveValues(i)`; ArrayFunctions.h reads
// and builds arrays (`rowsArg`, `FormulaValue::array`).
#include <cmath>
#include <optional>
#include <string>

#include "engine/FunctionContext.h"

namespace sumora {

template <class T> struct ArgValue {
    std::optional<T> value;
    FormulaValue failure; // the result to return when value is missing

    explicit operator bool() const { return value.has_value(); }
    const T& operator*() const { return *value; }
    const T* operator->() const { return &*value; }
};

// The first element of an array stands for the array.
inline FormulaValue scalarOf(FormulaValue v) {
    if (!v.isArray()) return v;
    const ValueRows& rows = v.arrayRows();
    if (rows.empty() || rows.front().empty()) return FormulaValue::empty();
    return rows.front().front();
}

// Argument i as text ("" when missing); an error is the failure.
inline ArgValue<std::string> textArg(FunctionContext& c, size_t i) {
    FormulaValue v = scalarOf(c.evaluate(i));
    if (v.isError()) return {std::nullopt, std::move(v)};
    return {v.description(), {}};
}

// Argument i as a number; missing or not numeric is "#VALUE!", an error is
// passed through.
inline ArgValue<double> numberArg(FunctionContext& c, size_t i) {
    if (!c.hasArg(i)) return {std::nullopt, err(ErrorKind::invalidValue)};
    FormulaValue v = scalarOf(c.evaluate(i));
    if (v.isError()) return {std::nullopt, std::move(v)};
    if (auto x = v.asNumber()) return {*x, {}};
    return {std::nullopt, err(ErrorKind::invalidValue)};
}

// As numberArg, with `fallback` when the argument is missing.
inline ArgValue<double> numberArgOr(FunctionContext& c, size_t i, double fallback) {
    if (!c.hasArg(i)) return {fallback, {}};
    return numberArg(c, i);
}

// Argument i as a number by the rule the function declares: under `evalNum`
// an error is "#VALUE!" like any non-number; otherwise (`numberArg`) it is
// passed through. Missing is "#VALUE!" under both.
inline ArgValue<double> declaredNumber(FunctionContext& c, size_t i) {
    const FunctionDeclaration* declaration = c.declaration();
    if (declaration && declaration->rule == ArgumentRule::evalNum) {
        if (auto x = c.evalNum(i)) return {*x, {}};
        return {std::nullopt, err(ErrorKind::invalidValue)};
    }
    return numberArg(c, i);
}

// As declaredNumber, with `fallback` when the argument is missing.
inline ArgValue<double> declaredNumberOr(FunctionContext& c, size_t i, double fallback) {
    if (!c.hasArg(i)) return {fallback, {}};
    return declaredNumber(c, i);
}

// Argument i as a truth value, `fallback` when missing; an empty cell is
// FALSE, a text other than TRUE/FALSE is "#VALUE!".
inline ArgValue<bool> boolArgOr(FunctionContext& c, size_t i, bool fallback) {
    if (!c.hasArg(i)) return {fallback, {}};
    FormulaValue v = scalarOf(c.evaluate(i));
    if (v.isError()) return {std::nullopt, std::move(v)};
    if (v.isEmpty()) return {false, {}};
    if (auto b = v.asBool()) return {*b, {}};
    return {std::nullopt, err(ErrorKind::invalidValue)};
}

// Argument i as a 0/1 switch (VALUETOTEXT's format, TEXTBEFORE's match_mode):
// truncated, 0 when missing; any other number is "#VALUE!".
inline ArgValue<bool> zeroOrOneArg(FunctionContext& c, size_t i) {
    auto x = numberArgOr(c, i, 0);
    if (!x) return {std::nullopt, x.failure};
    const double n = std::trunc(*x);
    if (n != 0 && n != 1) return {std::nullopt, err(ErrorKind::invalidValue)};
    return {n == 1, {}};
}

} // namespace sumora
