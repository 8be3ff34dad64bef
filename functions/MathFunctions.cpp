// The math family: sums and products, rounding, powers and logarithms,
// trigonometry, combinatorics, SUBTOTAL/AGGREGATE, random numbers and radix
// conversions. Number arguments that are missing or not numeric give
// "#VALUE!", domain errors "#NUM!", zero divisors "#DIV/0!".
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/BaseConversions.h"
#include "functions/ConditionalAggregates.h"
#include "functions/MathSupport.h"
#include "values/Log.h"

namespace sumora {

namespace {

constexpr double kPi = std::numbers::pi;

// Every numeric result: "#NUM!" unless finite, and never a negative zero
// (ROUND(-0.0001, 2) shows 0, not -0).
FormulaValue numberResult(double x) {
    return finiteOrNumError(x + 0.0);
}

FormulaValue valueError() {
    return err(ErrorKind::invalidValue);
}
FormulaValue numError() {
    return err(ErrorKind::invalidNumber);
}
FormulaValue divError() {
    return err(ErrorKind::divisionByZero);
}

// Rounds a result to the nearest integer when it is one up to the last bits
// (log(8)/log(2) lands a hair beside 3).
double snapToInteger(double x) {
    const double n = std::nearbyint(x);
    return std::fabs(x - n) <= 4 * DBL_EPSILON * std::fabs(n) ? n : x;
}

// Bodies of one- and two-number functions: a missing or non-numeric
// argument is "#VALUE!", the rule decides the rest.
template <FormulaValue (*Rule)(double)> FormulaValue unary(FunctionContext& c) {
    auto x = c.evalNum(0);
    if (!x) return valueError();
    return Rule(*x);
}

template <FormulaValue (*Rule)(double, double)> FormulaValue binary(FunctionContext& c) {
    auto a = c.evalNum(0);
    auto b = c.evalNum(1);
    if (!a || !b) return valueError();
    return Rule(*a, *b);
}

// ---- Sums and products ----------------------------------------------------

void logSum(const std::vector<double>& numbers) {
    if (!Log::enabled()) return;
    // The list reads like a printed array of doubles: [1.0, 2.5].
    std::string message = "SUM: resolveNumbers returned " + std::to_string(numbers.size()) + " values: [";
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (i) message += ", ";
        message += shortestNumberText(numbers[i]);
    }
    message += ']';
    Log::info(message);
}

// Whether reading every argument's numbers evaluates nothing: each is a cell
// reference or a range, read from cells, so no other call can run meanwhile.
bool onlyReferences(const FunctionContext& c) {
    for (size_t i = 0; i < c.argCount(); ++i)
        if (c.argNode(i).kind != NodeKind::cellRef && c.argNode(i).kind != NodeKind::range) return false;
    return true;
}

// SUM(number1, number2, ...) — numeric text in cells counts, other text not
FormulaValue sum(FunctionContext& c) {
    // A column of window sums reads a list of numbers per call: references
    // alone cannot nest another SUM, so they share one list per thread.
    thread_local std::vector<double> shared;
    std::vector<double> own;
    std::vector<double>& numbers = onlyReferences(c) ? shared : own;
    numbers.clear();
    for (size_t i = 0; i < c.argCount(); ++i)
        c.appendNumbers(i, numbers);
    logSum(numbers);
    double total = 0;
    for (double x : numbers)
        total += x;
    return numberResult(total);
}

// PRODUCT(number1, number2, ...) — 0 when there are no numbers
FormulaValue product(FunctionContext& c) {
    std::vector<double> numbers = c.resolveNumbers();
    if (numbers.empty()) return num(0);
    double result = 1;
    for (double x : numbers)
        result *= x;
    return numberResult(result);
}

// SUMSQ(number1, number2, ...)
FormulaValue sumSquares(FunctionContext& c) {
    double total = 0;
    for (double x : c.resolveNumbers())
        total += x * x;
    return numberResult(total);
}

// SUMPRODUCT(array1, array2, ...) — arrays of one shape; non-numbers count 0
FormulaValue sumProduct(FunctionContext& c) {
    std::vector<ValueRows> arrays;
    for (size_t i = 0; i < c.argCount(); ++i)
        arrays.push_back(c.resolve2DValues(i));
    const ValueRows& shape = arrays.front();
    for (const ValueRows& rows : arrays) {
        if (rows.size() != shape.size()) return valueError();
        for (size_t r = 0; r < rows.size(); ++r) {
            if (rows[r].size() != shape[r].size()) return valueError();
            if (const FormulaValue* e = FunctionContext::firstError(rows[r])) return *e;
        }
    }
    double total = 0;
    for (size_t r = 0; r < shape.size(); ++r) {
        for (size_t col = 0; col < shape[r].size(); ++col) {
            double term = 1;
            for (const ValueRows& rows : arrays) {
                const FormulaValue& v = rows[r][col];
                term *= v.isNumber() ? v.numberValue() : 0.0;
            }
            total += term;
        }
    }
    return numberResult(total);
}

double differenceSquared(double x, double y) {
    return (x - y) * (x - y);
}
double differenceOfSquares(double x, double y) {
    return x * x - y * y;
}
double sumOfSquares(double x, double y) {
    return x * x + y * y;
}

// SUMXMY2, SUMX2MY2, SUMX2PY2(array_x, array_y) — over positions where both
// hold numbers; arrays of different sizes are "#VALUE!"
template <double (*Term)(double, double)> FormulaValue pairedSum(FunctionContext& c) {
    std::vector<FormulaValue> xs = c.resolveValues(0);
    std::vector<FormulaValue> ys = c.resolveValues(1);
    if (xs.size() != ys.size()) return valueError();
    if (const FormulaValue* e = FunctionContext::firstError(xs)) return *e;
    if (const FormulaValue* e = FunctionContext::firstError(ys)) return *e;
    double total = 0;
    for (size_t i = 0; i < xs.size(); ++i)
        if (xs[i].isNumber() && ys[i].isNumber()) total += Term(xs[i].numberValue(), ys[i].numberValue());
    return numberResult(total);
}

// ---- SUBTOTAL and AGGREGATE -----------------------------------------------

// The aggregate a SUBTOTAL code names. 101..111 are the same as 1..11 (hidden
// rows are not told apart), and every code without its own aggregate, 7, 8,
// 10 and 11 included, sums: that fallback is deliberate.
FormulaValue aggregateByCode(int code, const std::vector<FormulaValue>& values) {
    std::vector<double> numbers;
    size_t nonEmpty = 0;
    for (const FormulaValue& v : values) {
        if (!v.isEmpty()) ++nonEmpty;
        if (v.isNumber()) numbers.push_back(v.numberValue());
    }
    if (code >= 101 && code <= 111) code -= 100;
    switch (code) {
    case 1: {
        if (numbers.empty()) return divError();
        double total = 0;
        for (double x : numbers)
            total += x;
        return numberResult(total / static_cast<double>(numbers.size()));
    }
    case 2:
        return num(static_cast<double>(numbers.size()));
    case 3:
        return num(static_cast<double>(nonEmpty));
    case 4:
        return num(numbers.empty() ? 0 : *std::max_element(numbers.begin(), numbers.end()));
    case 5:
        return num(numbers.empty() ? 0 : *std::min_element(numbers.begin(), numbers.end()));
    case 6: {
        if (numbers.empty()) return num(0);
        double result = 1;
        for (double x : numbers)
            result *= x;
        return numberResult(result);
    }
    default: {
        double total = 0;
        for (double x : numbers)
            total += x;
        return numberResult(total);
    }
    }
}

// SUBTOTAL(function_num, ref1, ...) — only ref1 is aggregated
FormulaValue subtotal(FunctionContext& c) {
    auto code = c.evalNum(0);
    if (!code) return valueError();
    return aggregateByCode(truncatedInt(*code), c.resolveValues(1));
}

// AGGREGATE(function_num, options, ref1, ...) — SUBTOTAL over ref1; options unused
FormulaValue aggregate(FunctionContext& c) {
    auto code = c.evalNum(0);
    if (!code) return valueError();
    return aggregateByCode(truncatedInt(*code), c.resolveValues(2));
}

// ---- Rounding -------------------------------------------------------------

// ROUND, ROUNDUP, ROUNDDOWN(number, digits) — nearest (ties away from zero),
// away from zero, toward zero
template <RoundingDirection Direction> FormulaValue roundTo(FunctionContext& c) {
    auto x = c.evalNum(0);
    auto digits = c.evalNum(1);
    if (!x || !digits) return valueError();
    return numberResult(roundDecimal(*x, truncatedInt(*digits), Direction));
}

// TRUNC(number, [digits]) — toward zero
FormulaValue truncate(FunctionContext& c) {
    auto x = c.evalNum(0);
    auto digits = c.evalNumOr(1, 0);
    if (!x || !digits) return valueError();
    return numberResult(roundDecimal(*x, truncatedInt(*digits), RoundingDirection::towardZero));
}

// INT(number) — down, toward minus infinity
FormulaValue intRule(double x) {
    return numberResult(std::floor(x));
}

// CEILING(number, significance) — up to a multiple; a negative number with a
// negative significance rounds away from zero
FormulaValue ceilingRule(double x, double significance) {
    if (significance == 0) return num(0);
    if (x > 0 && significance < 0) return numError();
    return numberResult(snapMultiple(std::ceil(approxValue(x / significance)) * significance));
}

// FLOOR(number, significance) — down to a multiple; zero significance is
// "#DIV/0!" unless the number is 0
FormulaValue floorRule(double x, double significance) {
    if (significance == 0) return x == 0 ? num(0) : divError();
    if (x > 0 && significance < 0) return numError();
    return numberResult(snapMultiple(std::floor(approxValue(x / significance)) * significance));
}

// CEILING.MATH(number, [significance], [mode]) and FLOOR.MATH: the sign of
// significance is ignored; a nonzero mode turns the rounding of negative
// numbers around (away from zero for CEILING.MATH, toward it for FLOOR.MATH)
template <bool Up> FormulaValue roundToMultipleMath(FunctionContext& c) {
    auto x = c.evalNum(0);
    auto significance = c.evalNumOr(1, 1);
    auto mode = c.evalNumOr(2, 0);
    if (!x || !significance || !mode) return valueError();
    const double step = std::fabs(*significance);
    if (step == 0) return num(0);
    const double q = approxValue(*x / step);
    const bool up = (*x < 0 && *mode != 0) ? !Up : Up;
    return numberResult(snapMultiple((up ? std::ceil(q) : std::floor(q)) * step));
}

// MROUND(number, multiple) — nearest multiple; signs must agree
FormulaValue mroundRule(double x, double multiple) {
    if (multiple == 0) return num(0);
    if ((x > 0 && multiple < 0) || (x < 0 && multiple > 0)) return numError();
    return numberResult(snapMultiple(std::round(approxValue(x / multiple)) * multiple));
}

// EVEN(number) — away from zero to an even integer
FormulaValue evenRule(double x) {
    const double m = std::ceil(std::fabs(x) / 2) * 2;
    return numberResult(x < 0 ? -m : m);
}

// ODD(number) — away from zero to an odd integer (ODD(0) is 1)
FormulaValue oddRule(double x) {
    double m = std::ceil(std::fabs(x));
    if (std::fmod(m, 2) == 0) m += 1;
    return numberResult(x < 0 ? -m : m);
}

// MOD(number, divisor) — takes the sign of the divisor
FormulaValue modRule(double x, double divisor) {
    if (divisor == 0) return divError();
    double r = std::fmod(x, divisor);
    if (r != 0 && (r < 0) != (divisor < 0)) r += divisor;
    // A remainder within rounding noise of 0 or of the divisor is a whole
    // multiple (MOD(0.3, 0.1) is 0, not 0.09999999999999998).
    const double noise = std::max(std::fabs(x), std::fabs(divisor)) * 0x1p-48;
    if (std::fabs(r) <= noise || std::fabs(divisor - r) <= noise) return num(0);
    return numberResult(r);
}

// QUOTIENT(numerator, denominator) — integer part of the quotient
FormulaValue quotientRule(double x, double divisor) {
    if (divisor == 0) return divError();
    return numberResult(std::trunc(approxValue(x / divisor)));
}

// ---- Powers, logarithms, signs --------------------------------------------

// ABS(number)
FormulaValue absRule(double x) {
    return numberResult(std::fabs(x));
}

// SIGN(number) — -1, 0 or 1
FormulaValue signRule(double x) {
    return num(x > 0 ? 1 : x < 0 ? -1 : 0);
}

// POWER(number, power) — a negative base with a fractional power is "#NUM!"
FormulaValue powerRule(double base, double exponent) {
    return numberResult(std::pow(base, exponent));
}

// SQRT(number) — negative is "#NUM!"
FormulaValue sqrtRule(double x) {
    return x < 0 ? numError() : numberResult(std::sqrt(x));
}

// EXP(number)
FormulaValue expRule(double x) {
    return numberResult(std::exp(x));
}

// LN(number) — positive numbers only
FormulaValue lnRule(double x) {
    return x <= 0 ? numError() : numberResult(std::log(x));
}

// LOG10(number) — positive numbers only
FormulaValue log10Rule(double x) {
    return x <= 0 ? numError() : numberResult(snapToInteger(std::log10(x)));
}

// LOG(number, [base]) — base 10 when omitted; base 1 is "#DIV/0!"
FormulaValue logarithm(FunctionContext& c) {
    auto x = c.evalNum(0);
    auto base = c.evalNumOr(1, 10);
    if (!x || !base) return valueError();
    if (*x <= 0 || *base <= 0) return numError();
    if (*base == 1) return divError();
    const double value = *base == 10  ? std::log10(*x)
                         : *base == 2 ? std::log2(*x)
                                      : std::log(*x) / std::log(*base);
    return numberResult(snapToInteger(value));
}

// PI()
FormulaValue piValue(FunctionContext&) {
    return num(kPi);
}

// ---- Random numbers -------------------------------------------------------

std::mt19937_64& randomEngine() {
    thread_local std::mt19937_64 engine{std::random_device{}()};
    return engine;
}

// Uniform in [0, 1): 53 random bits, so 1 itself never comes out.
double randomUnit() {
    return static_cast<double>(randomEngine()() >> 11) * 0x1p-53;
}

// RAND() — uniform in [0, 1)
FormulaValue randomNumber(FunctionContext&) {
    return num(randomUnit());
}

// RANDBETWEEN(bottom, top) — a uniform integer among those from bottom to top
FormulaValue randBetweenRule(double bottom, double top) {
    const double low = std::ceil(bottom);
    const double high = std::floor(top);
    if (low > high || !std::isfinite(high - low)) return numError();
    return numberResult(std::min(high, low + std::floor(randomUnit() * (high - low + 1))));
}

// ---- Combinatorics ----------------------------------------------------------

// FACT(number) — of the integer part; negative is "#NUM!"
FormulaValue factRule(double x) {
    if (x < 0) return numError();
    const double n = std::trunc(x);
    if (n > 170) return numError();
    double result = 1;
    for (double i = 2; i <= n; ++i)
        result *= i;
    return num(result);
}

double gcdOf(double a, double b) {
    while (b != 0) {
        const double r = std::fmod(a, b);
        a = b;
        b = r;
    }
    return a;
}

// The integer parts of every number of every argument into `out`; the
// error when one is negative ("#NUM!") or there are none ("#VALUE!").
std::optional<FormulaValue> wholeNumbers(FunctionContext& c, std::vector<double>& out) {
    out = c.resolveNumbers();
    if (out.empty()) return valueError();
    for (double& x : out) {
        if (x < 0 || !std::isfinite(x)) return numError();
        x = std::trunc(x);
    }
    return std::nullopt;
}

// GCD(number1, number2, ...)
FormulaValue gcd(FunctionContext& c) {
    std::vector<double> numbers;
    if (auto error = wholeNumbers(c, numbers)) return *error;
    double result = 0;
    for (double x : numbers)
        result = gcdOf(result, x);
    return numberResult(result);
}

// LCM(number1, number2, ...) — 0 when any number is 0
FormulaValue lcm(FunctionContext& c) {
    std::vector<double> numbers;
    if (auto error = wholeNumbers(c, numbers)) return *error;
    double result = 1;
    for (double x : numbers) {
        if (x == 0) return num(0);
        result = result / gcdOf(result, x) * x;
    }
    return numberResult(result);
}

// COMBIN(number, chosen) — of the integer parts; chosen above number is "#NUM!"
FormulaValue combinRule(double n, double k) {
    n = std::trunc(n);
    k = std::trunc(k);
    if (n < 0 || k < 0 || k > n) return numError();
    return numberResult(combinDouble(n, k));
}

// PERMUT(number, chosen) — ordered selections, of the integer parts
FormulaValue permutRule(double n, double k) {
    n = std::trunc(n);
    k = std::trunc(k);
    if (n < 0 || k < 0 || k > n) return numError();
    double result = 1;
    for (double i = 0; i < k && std::isfinite(result); ++i)
        result *= n - i;
    return numberResult(result);
}

// ---- Trigonometry -------------------------------------------------------------

// DEGREES(angle), RADIANS(angle)
FormulaValue degreesRule(double x) {
    return numberResult(x * 180 / kPi);
}
FormulaValue radiansRule(double x) {
    return numberResult(x * kPi / 180);
}

// SIN, COS, TAN, ATAN, SINH, COSH, TANH, ASINH(number)
FormulaValue sinRule(double x) {
    return numberResult(std::sin(x));
}
FormulaValue cosRule(double x) {
    return numberResult(std::cos(x));
}
FormulaValue tanRule(double x) {
    return numberResult(std::tan(x));
}
FormulaValue atanRule(double x) {
    return numberResult(std::atan(x));
}
FormulaValue sinhRule(double x) {
    return numberResult(std::sinh(x));
}
FormulaValue coshRule(double x) {
    return numberResult(std::cosh(x));
}
FormulaValue tanhRule(double x) {
    return numberResult(std::tanh(x));
}
FormulaValue asinhRule(double x) {
    return numberResult(std::asinh(x));
}

// ASIN, ACOS(number) — only from -1 to 1
FormulaValue asinRule(double x) {
    return std::fabs(x) > 1 ? numError() : numberResult(std::asin(x));
}
FormulaValue acosRule(double x) {
    return std::fabs(x) > 1 ? numError() : numberResult(std::acos(x));
}

// ACOT(number) — in (0, pi)
FormulaValue acotRule(double x) {
    return numberResult(kPi / 2 - std::atan(x));
}

// ACOSH(number) — 1 or more
FormulaValue acoshRule(double x) {
    return x < 1 ? numError() : numberResult(std::acosh(x));
}

// ATANH(number) — strictly between -1 and 1
FormulaValue atanhRule(double x) {
    return std::fabs(x) >= 1 ? numError() : numberResult(std::atanh(x));
}

// ATAN2(x_num, y_num) — the angle of the point (x, y); the origin has none
FormulaValue atan2Rule(double x, double y) {
    if (x == 0 && y == 0) return divError();
    return numberResult(std::atan2(y, x));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kMathFunctions[] = {
    {"SUM", sum, anyCount, evalNumRule, listed, "SUM(number1, number2, ...)", "Adds all the numbers in a range."},
    {"SUMIF", conditional::sumIf, atLeast(2), evalNumRule, listed, "SUMIF(range, criteria, sum_range)", "Adds cells that meet a condition."},
    {"SUMIFS", conditional::sumIfs, anyCount, evalNumRule, listed, "SUMIFS(sum_range, range1, criteria1, ...)", "Adds cells that meet multiple conditions."},
    {"SUMPRODUCT", sumProduct, atLeast(1), numberArgRule, listed, "SUMPRODUCT(array1, array2, ...)", "Returns the sum of products of corresponding ranges."},
    {"PRODUCT", product, anyCount, evalNumRule, listed, "PRODUCT(number1, number2, ...)", "Multiplies all the numbers together."},
    {"ABS", unary<absRule>, anyCount, evalNumRule, listed, "ABS(number)", "Returns the absolute value of a number."},
    {"ROUND", roundTo<RoundingDirection::nearest>, anyCount, evalNumRule, listed, "ROUND(number, digits)", "Rounds a number to a given number of digits."},
    {"ROUNDUP", roundTo<RoundingDirection::awayFromZero>, anyCount, evalNumRule, listed, "ROUNDUP(number, digits)", "Rounds a number up, away from zero."},
    {"ROUNDDOWN", roundTo<RoundingDirection::towardZero>, anyCount, evalNumRule, listed, "ROUNDDOWN(number, digits)", "Rounds a number down, toward zero."},
    {"CEILING", binary<ceilingRule>, anyCount, evalNumRule, listed, "CEILING(number, significance)", "Rounds a number up to the nearest multiple."},
    {"FLOOR", binary<floorRule>, anyCount, evalNumRule, listed, "FLOOR(number, significance)", "Rounds a number down to the nearest multiple."},
    {"INT", unary<intRule>, anyCount, evalNumRule, listed, "INT(number)", "Rounds a number down to the nearest integer."},
    {"TRUNC", truncate, anyCount, evalNumRule, listed, "TRUNC(number, digits)", "Truncates a number to an integer."},
    {"MOD", binary<modRule>, anyCount, evalNumRule, listed, "MOD(number, divisor)", "Returns the remainder after division."},
    {"POWER", binary<powerRule>, anyCount, evalNumRule, listed, "POWER(number, power)", "Returns a number raised to a power."},
    {"SQRT", unary<sqrtRule>, anyCount, evalNumRule, listed, "SQRT(number)", "Returns the positive square root."},
    {"EXP", unary<expRule>, anyCount, evalNumRule, listed, "EXP(number)", "Returns e raised to the power of number."},
    {"LN", unary<lnRule>, anyCount, evalNumRule, listed, "LN(number)", "Returns the natural logarithm."},
    {"LOG", logarithm, anyCount, evalNumRule, listed, "LOG(number, base)", "Returns the logarithm of a number."},
    {"LOG10", unary<log10Rule>, anyCount, evalNumRule, listed, "LOG10(number)", "Returns the base-10 logarithm."},
    {"SIGN", unary<signRule>, anyCount, evalNumRule, listed, "SIGN(number)", "Returns the sign of a number (-1, 0, or 1)."},
    {"PI", piValue, anyCount, evalNumRule, listed, "PI()", "Returns the value of pi (3.14159...)."},
    {"RAND", randomNumber, anyCount, evalNumRule, listed | volatileResult, "RAND()", "Returns a random number between 0 and 1."},
    {"RANDBETWEEN", binary<randBetweenRule>, anyCount, evalNumRule, listed | volatileResult, "RANDBETWEEN(bottom, top)", "Returns a random integer between two values."},
    {"FACT", unary<factRule>, anyCount, evalNumRule, listed, "FACT(number)", "Returns the factorial of a number."},
    {"GCD", gcd, anyCount, evalNumRule, listed, "GCD(number1, number2, ...)", "Returns the greatest common divisor."},
    {"LCM", lcm, anyCount, evalNumRule, listed, "LCM(number1, number2, ...)", "Returns the least common multiple."},
    {"MROUND", binary<mroundRule>, anyCount, evalNumRule, listed, "MROUND(number, multiple)", "Rounds to the nearest specified multiple."},
    {"COMBIN", binary<combinRule>, anyCount, evalNumRule, listed, "COMBIN(number, chosen)", "Returns the number of combinations."},
    {"PERMUT", binary<permutRule>, anyCount, evalNumRule, listed, "PERMUT(number, chosen)", "Returns the number of permutations."},
    {"DEGREES", unary<degreesRule>, anyCount, evalNumRule, listed, "DEGREES(angle)", "Converts radians to degrees."},
    {"RADIANS", unary<radiansRule>, anyCount, evalNumRule, listed, "RADIANS(angle)", "Converts degrees to radians."},
    {"SIN", unary<sinRule>, anyCount, evalNumRule, listed, "SIN(number)", "Returns the sine of an angle."},
    {"COS", unary<cosRule>, anyCount, evalNumRule, listed, "COS(number)", "Returns the cosine of an angle."},
    {"TAN", unary<tanRule>, anyCount, evalNumRule, listed, "TAN(number)", "Returns the tangent of an angle."},
    {"ASIN", unary<asinRule>, anyCount, evalNumRule, listed, "ASIN(number)", "Returns the arcsine."},
    {"ACOS", unary<acosRule>, anyCount, evalNumRule, listed, "ACOS(number)", "Returns the arccosine."},
    {"ATAN", unary<atanRule>, anyCount, evalNumRule, listed, "ATAN(number)", "Returns the arctangent."},
    {"SINH", unary<sinhRule>, anyCount, evalNumRule, listed, "SINH(number)", "Returns the hyperbolic sine."},
    {"COSH", unary<coshRule>, anyCount, evalNumRule, listed, "COSH(number)", "Returns the hyperbolic cosine."},
    {"TANH", unary<tanhRule>, anyCount, evalNumRule, listed, "TANH(number)", "Returns the hyperbolic tangent."},
    {"SUBTOTAL", subtotal, atLeast(2), evalNumRule, listed, "SUBTOTAL(function_num, ref1, ...)", "Returns a subtotal using a specified function."},
    {"AGGREGATE", aggregate, atLeast(3), evalNumRule, listed, "AGGREGATE(function_num, options, ...)", "Returns an aggregate, ignoring errors/hidden rows."},
    {"SUMSQ", sumSquares, anyCount, evalNumRule, none},
    {"SUMXMY2", pairedSum<differenceSquared>, atLeast(2), numberArgRule, none},
    {"SUMX2MY2", pairedSum<differenceOfSquares>, atLeast(2), numberArgRule, none},
    {"SUMX2PY2", pairedSum<sumOfSquares>, atLeast(2), numberArgRule, none},
    {"CEILING.MATH", roundToMultipleMath<true>, anyCount, evalNumRule, none},
    {"FLOOR.MATH", roundToMultipleMath<false>, anyCount, evalNumRule, none},
    {"EVEN", unary<evenRule>, anyCount, evalNumRule, none},
    {"ODD", unary<oddRule>, anyCount, evalNumRule, none},
    {"QUOTIENT", binary<quotientRule>, anyCount, evalNumRule, none},
    {"ATAN2", binary<atan2Rule>, anyCount, evalNumRule, none},
    {"ACOT", unary<acotRule>, anyCount, evalNumRule, none},
    {"ASINH", unary<asinhRule>, anyCount, evalNumRule, none},
    {"ACOSH", unary<acoshRule>, anyCount, evalNumRule, none},
    {"ATANH", unary<atanhRule>, anyCount, evalNumRule, none},
    {"BASE", baseFunction, anyCount, evalNumRule, none},
    {"DECIMAL", decimalFunction, atLeast(2), numberArgRule, none},
    {"ROMAN", romanFunction, anyCount, evalNumRule, none},
    {"ARABIC", arabicFunction, atLeast(1), numberArgRule, none},
    {"DEC2BIN", [](FunctionContext& c) { return convertRadix(c, 10, 2); }, atLeast(1), evalNumRule, none},
    {"DEC2OCT", [](FunctionContext& c) { return convertRadix(c, 10, 8); }, atLeast(1), evalNumRule, none},
    {"DEC2HEX", [](FunctionContext& c) { return convertRadix(c, 10, 16); }, atLeast(1), evalNumRule, none},
    {"BIN2DEC", [](FunctionContext& c) { return convertRadix(c, 2, 10); }, atLeast(1), numberArgRule, none},
    {"BIN2OCT", [](FunctionContext& c) { return convertRadix(c, 2, 8); }, atLeast(1), numberArgRule, none},
    {"BIN2HEX", [](FunctionContext& c) { return convertRadix(c, 2, 16); }, atLeast(1), numberArgRule, none},
    {"OCT2DEC", [](FunctionContext& c) { return convertRadix(c, 8, 10); }, atLeast(1), numberArgRule, none},
    {"OCT2BIN", [](FunctionContext& c) { return convertRadix(c, 8, 2); }, atLeast(1), numberArgRule, none},
    {"OCT2HEX", [](FunctionContext& c) { return convertRadix(c, 8, 16); }, atLeast(1), numberArgRule, none},
    {"HEX2DEC", [](FunctionContext& c) { return convertRadix(c, 16, 10); }, atLeast(1), numberArgRule, none},
    {"HEX2BIN", [](FunctionContext& c) { return convertRadix(c, 16, 2); }, atLeast(1), numberArgRule, none},
    {"HEX2OCT", [](FunctionContext& c) { return convertRadix(c, 16, 8); }, atLeast(1), numberArgRule, none},
};
// clang-format on

} // namespace

void registerMathFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::math, kMathFunctions);
}

} // namespace sumora
