// Math functions beyond the core family: rounding to a multiple with the
// sign of the significance ignored, the reciprocal trigonometric and
// hyperbolic functions, further combinatorics and power series. An error
// argument passes through; a non-numeric one is "#VALUE!"; domain errors are
// "#NUM!" and a pole is "#DIV/0!".
#include <cmath>
#include <numbers>
#include <vector>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/MathSupport.h"

namespace sumora {

namespace {

FormulaValue numError() {
    return err(ErrorKind::invalidNumber);
}
FormulaValue divError() {
    return err(ErrorKind::divisionByZero);
}

template <FormulaValue (*Rule)(double)> FormulaValue unary(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    return Rule(*x);
}

template <FormulaValue (*Rule)(double, double)> FormulaValue binary(FunctionContext& c) {
    auto a = declaredNumber(c, 0);
    if (!a) return a.failure;
    auto b = declaredNumber(c, 1);
    if (!b) return b.failure;
    return Rule(*a, *b);
}

// ---- Rounding to a multiple -----------------------------------------------

// FLOOR.PRECISE(number, [significance]) and CEILING.PRECISE, ISO.CEILING:
// toward −∞ or +∞ to a multiple of |significance| (1 by default); a zero
// significance gives 0
template <bool Up> FormulaValue roundToMultiplePrecise(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto significance = declaredNumberOr(c, 1, 1);
    if (!significance) return significance.failure;
    const double step = std::fabs(*significance);
    if (step == 0) return num(0);
    const double q = approxValue(*x / step);
    return finiteOrNumError(snapMultiple((Up ? std::ceil(q) : std::floor(q)) * step) + 0.0);
}

// ---- Reciprocal trigonometry ------------------------------------------------

// Beyond 2^27 radians the circular functions have lost every digit.
constexpr double kAngleLimit = 134217728.0;

// COT(number) — 1 / tan
FormulaValue cotRule(double x) {
    if (std::fabs(x) >= kAngleLimit) return numError();
    if (x == 0) return divError();
    return finiteOrNumError(std::cos(x) / std::sin(x));
}

// CSC(number) — 1 / sin
FormulaValue cscRule(double x) {
    if (std::fabs(x) >= kAngleLimit) return numError();
    if (x == 0) return divError();
    return finiteOrNumError(1 / std::sin(x));
}

// SEC(number) — 1 / cos
FormulaValue secRule(double x) {
    if (std::fabs(x) >= kAngleLimit) return numError();
    return finiteOrNumError(1 / std::cos(x));
}

// COTH(number) — 1 / tanh
FormulaValue cothRule(double x) {
    if (std::fabs(x) >= kAngleLimit) return numError();
    if (x == 0) return divError();
    return finiteOrNumError(1 / std::tanh(x));
}

// CSCH(number) — 1 / sinh
FormulaValue cschRule(double x) {
    if (std::fabs(x) >= kAngleLimit) return numError();
    if (x == 0) return divError();
    return finiteOrNumError(1 / std::sinh(x));
}

// SECH(number) — 1 / cosh, which underflows to 0 for large numbers
FormulaValue sechRule(double x) {
    if (std::fabs(x) >= kAngleLimit) return numError();
    return finiteOrNumError(1 / std::cosh(x));
}

// ACOTH(number) — inverse hyperbolic cotangent, for |number| > 1
FormulaValue acothRule(double x) {
    if (std::fabs(x) <= 1) return numError();
    return finiteOrNumError(0.5 * std::log((x + 1) / (x - 1)));
}

// SQRTPI(number) — √(number·π)
FormulaValue sqrtPiRule(double x) {
    if (x < 0) return numError();
    return finiteOrNumError(std::sqrt(x * std::numbers::pi));
}

// ---- Combinatorics -----------------------------------------------------------

// COMBINA(number, chosen) — combinations with repetition, C(n + k − 1, k)
FormulaValue combinaRule(double n, double k) {
    n = std::trunc(n);
    k = std::trunc(k);
    if (n < 0 || k < 0) return numError();
    if (k == 0) return num(1);
    return finiteOrNumError(combinDouble(n + k - 1, k));
}

// PERMUTATIONA(number, chosen) — permutations with repetition, n^k
FormulaValue permutationaRule(double n, double k) {
    n = std::trunc(n);
    k = std::trunc(k);
    if (n < 0 || k < 0) return numError();
    return finiteOrNumError(std::pow(n, k));
}

// FACTDOUBLE(number) — n·(n−2)·(n−4)…; 0 gives 1, negatives "#NUM!"
FormulaValue factDoubleRule(double x) {
    const double n = std::trunc(x);
    if (n < 0 || n > 300) return numError(); // 301!! overflows
    double result = 1;
    for (double i = n; i > 1; i -= 2)
        result *= i;
    return finiteOrNumError(result);
}

// MULTINOMIAL(number1, ...) — (Σn)! / Πn!, built as a product of binomial
// coefficients so that it stays exact while it can
FormulaValue multinomial(FunctionContext& c) {
    double total = 0, result = 1;
    for (size_t i = 0; i < c.argCount(); ++i) {
        for (const FormulaValue& v : c.resolveValues(i)) {
            if (v.isError()) return v;
            if (v.isEmpty()) continue;
            auto x = v.asNumber();
            if (!x || v.isBool()) return err(ErrorKind::invalidValue);
            const double n = std::trunc(*x);
            if (n < 0) return numError();
            total += n;
            result *= combinDouble(total, n);
            if (!std::isfinite(result)) return numError();
        }
    }
    return finiteOrNumError(result);
}

// SERIESSUM(x, n, m, coefficients) — Σ aᵢ·x^(n + i·m)
FormulaValue seriesSum(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto n = declaredNumber(c, 1);
    if (!n) return n.failure;
    auto m = declaredNumber(c, 2);
    if (!m) return m.failure;
    double sum = 0, power = *n;
    for (const FormulaValue& v : c.resolveValues(3)) {
        if (v.isError()) return v;
        auto a = v.asNumber();
        if (!a || v.isText()) return err(ErrorKind::invalidValue);
        sum += *a * std::pow(*x, power);
        power += *m;
    }
    return finiteOrNumError(sum);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kMathExtraFunctions[] = {
    {"FLOOR.PRECISE", roundToMultiplePrecise<false>, between(1, 2), numberArgRule, none, "FLOOR.PRECISE(number, [significance])", "Rounds a number down to the nearest multiple, whatever the sign."},
    {"CEILING.PRECISE", roundToMultiplePrecise<true>, between(1, 2), numberArgRule, none, "CEILING.PRECISE(number, [significance])", "Rounds a number up to the nearest multiple, whatever the sign."},
    {"ISO.CEILING", roundToMultiplePrecise<true>, between(1, 2), numberArgRule, none, "ISO.CEILING(number, [significance])", "Rounds a number up to the nearest multiple, whatever the sign."},
    {"COT", unary<cotRule>, exactly(1), numberArgRule, none, "COT(number)", "Returns the cotangent of an angle."},
    {"CSC", unary<cscRule>, exactly(1), numberArgRule, none, "CSC(number)", "Returns the cosecant of an angle."},
    {"SEC", unary<secRule>, exactly(1), numberArgRule, none, "SEC(number)", "Returns the secant of an angle."},
    {"COTH", unary<cothRule>, exactly(1), numberArgRule, none, "COTH(number)", "Returns the hyperbolic cotangent."},
    {"CSCH", unary<cschRule>, exactly(1), numberArgRule, none, "CSCH(number)", "Returns the hyperbolic cosecant."},
    {"SECH", unary<sechRule>, exactly(1), numberArgRule, none, "SECH(number)", "Returns the hyperbolic secant."},
    {"ACOTH", unary<acothRule>, exactly(1), numberArgRule, none, "ACOTH(number)", "Returns the inverse hyperbolic cotangent."},
    {"SQRTPI", unary<sqrtPiRule>, exactly(1), numberArgRule, none, "SQRTPI(number)", "Returns the square root of a number times pi."},
    {"COMBINA", binary<combinaRule>, exactly(2), numberArgRule, none, "COMBINA(number, chosen)", "Returns the number of combinations with repetitions."},
    {"PERMUTATIONA", binary<permutationaRule>, exactly(2), numberArgRule, none, "PERMUTATIONA(number, chosen)", "Returns the number of permutations with repetitions."},
    {"FACTDOUBLE", unary<factDoubleRule>, exactly(1), numberArgRule, none, "FACTDOUBLE(number)", "Returns the double factorial of a number."},
    {"MULTINOMIAL", multinomial, atLeast(1), numberArgRule, none, "MULTINOMIAL(number1, number2, ...)", "Returns the multinomial coefficient of a set of numbers."},
    {"SERIESSUM", seriesSum, exactly(4), numberArgRule, none, "SERIESSUM(x, n, m, coefficients)", "Returns the sum of a power series."},
};
// clang-format on

} // namespace

void registerMathExtraFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::math, kMathExtraFunctions);
}

} // namespace sumora
