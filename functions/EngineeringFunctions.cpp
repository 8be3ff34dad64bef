// Engineering and special functions: the error function and its complement,
// gamma and its logarithm, the Bessel functions, DELTA/GESTEP and the
// bitwise functions on 48-bit unsigned integers. The special functions come
// from Boost.Math under a policy that answers NaN or infinity instead of
// throwing, which the bodies turn into "#NUM!". An error argument passes
// through; a non-numeric one is "#VALUE!".
#include <cmath>
#include <cstdint>

#include <boost/math/special_functions/bessel.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"

namespace sumora {

namespace {

namespace policies = boost::math::policies;
using QuietPolicy =
    policies::policy<policies::domain_error<policies::ignore_error>,
                     policies::pole_error<policies::ignore_error>,
                     policies::overflow_error<policies::ignore_error>,
                     policies::evaluation_error<policies::ignore_error>, policies::promote_double<false>>;
constexpr QuietPolicy kQuiet{};

FormulaValue numError() {
    return err(ErrorKind::invalidNumber);
}

// Bodies of one-number functions whose rule maps x to a result.
template <FormulaValue (*Rule)(double)> FormulaValue unary(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    return Rule(*x);
}

// ---- Error function and gamma ---------------------------------------------

// ERF(lower_limit, [upper_limit]) — erf(lower), or the integral between the limits
FormulaValue erfFunction(FunctionContext& c) {
    auto lower = declaredNumber(c, 0);
    if (!lower) return lower.failure;
    if (!c.hasArg(1)) return finiteOrNumError(boost::math::erf(*lower, kQuiet));
    auto upper = declaredNumber(c, 1);
    if (!upper) return upper.failure;
    return finiteOrNumError(boost::math::erf(*upper, kQuiet) - boost::math::erf(*lower, kQuiet));
}

// ERF.PRECISE(x) — erf(x)
FormulaValue erfRule(double x) {
    return finiteOrNumError(boost::math::erf(x, kQuiet));
}

// ERFC(x), ERFC.PRECISE(x) — 1 − erf(x), without the cancellation
FormulaValue erfcRule(double x) {
    return finiteOrNumError(boost::math::erfc(x, kQuiet));
}

// GAMMA(x) — Γ(x); 0 and negative integers are poles
FormulaValue gammaRule(double x) {
    if (x <= 0 && x == std::floor(x)) return numError();
    return finiteOrNumError(boost::math::tgamma(x, kQuiet));
}

// GAMMALN(x), GAMMALN.PRECISE(x) — ln Γ(x) for positive x
FormulaValue gammaLnRule(double x) {
    if (x <= 0) return numError();
    return finiteOrNumError(boost::math::lgamma(x, kQuiet));
}

// ---- Bessel functions -----------------------------------------------------

enum class BesselKind { i, j, k, y };

// BESSELI/J/K/Y(x, n) — the order n is truncated and must not be negative;
// K and Y are defined for positive x only
template <BesselKind Kind> FormulaValue bessel(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto n = declaredNumber(c, 1);
    if (!n) return n.failure;
    const double order = std::trunc(*n);
    if (order < 0 || order > 1e6) return numError();
    switch (Kind) {
    case BesselKind::i:
        return finiteOrNumError(boost::math::cyl_bessel_i(order, *x, kQuiet));
    case BesselKind::j:
        return finiteOrNumError(boost::math::cyl_bessel_j(order, *x, kQuiet));
    case BesselKind::k:
        if (*x <= 0) return numError();
        return finiteOrNumError(boost::math::cyl_bessel_k(order, *x, kQuiet));
    case BesselKind::y:
        if (*x <= 0) return numError();
        return finiteOrNumError(boost::math::cyl_neumann(order, *x, kQuiet));
    }
    return numError();
}

// ---- Comparisons ------------------------------------------------------------

// DELTA(number1, [number2]) — 1 when the numbers are equal (number2 defaults to 0)
FormulaValue delta(FunctionContext& c) {
    auto a = declaredNumber(c, 0);
    if (!a) return a.failure;
    auto b = declaredNumberOr(c, 1, 0);
    if (!b) return b.failure;
    return num(*a == *b ? 1 : 0);
}

// GESTEP(number, [step]) — 1 when number ≥ step (step defaults to 0)
FormulaValue geStep(FunctionContext& c) {
    auto a = declaredNumber(c, 0);
    if (!a) return a.failure;
    auto step = declaredNumberOr(c, 1, 0);
    if (!step) return step.failure;
    return num(*a >= *step ? 1 : 0);
}

// ---- Bitwise functions ----------------------------------------------------

constexpr double kBitLimit = 281474976710656.0; // 2^48

// Argument i as a whole number in 0 .. 2^48 − 1; a fraction or anything
// outside is "#NUM!".
ArgValue<uint64_t> bitOperand(FunctionContext& c, size_t i) {
    auto x = declaredNumber(c, i);
    if (!x) return {std::nullopt, x.failure};
    if (*x < 0 || *x >= kBitLimit || *x != std::floor(*x)) return {std::nullopt, numError()};
    return {static_cast<uint64_t>(*x), {}};
}

enum class BitOperation { bitAnd, bitOr, bitXor };

// BITAND/BITOR/BITXOR(number1, number2) — bitwise on 48-bit unsigned integers
template <BitOperation Op> FormulaValue bitwise(FunctionContext& c) {
    auto a = bitOperand(c, 0);
    if (!a) return a.failure;
    auto b = bitOperand(c, 1);
    if (!b) return b.failure;
    switch (Op) {
    case BitOperation::bitAnd:
        return num(static_cast<double>(*a & *b));
    case BitOperation::bitOr:
        return num(static_cast<double>(*a | *b));
    case BitOperation::bitXor:
        return num(static_cast<double>(*a ^ *b));
    }
    return numError();
}

// BITLSHIFT/BITRSHIFT(number, shift_amount) — shifts by a truncated amount of
// at most 53 places, a negative amount shifting the other way; only the
// number is held to 48 bits, not the result
template <bool Left> FormulaValue bitShift(FunctionContext& c) {
    auto value = bitOperand(c, 0);
    if (!value) return value.failure;
    auto amount = declaredNumber(c, 1);
    if (!amount) return amount.failure;
    const double places = std::trunc(*amount);
    if (std::fabs(places) > 53) return numError();
    const int shift = static_cast<int>(Left ? places : -places);
    return num(shift >= 0 ? std::ldexp(static_cast<double>(*value), shift)
                          : static_cast<double>(*value >> -shift));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kEngineeringFunctions[] = {
    {"ERF", erfFunction, between(1, 2), numberArgRule, none, "ERF(lower_limit, [upper_limit])", "Returns the error function, or its integral between two limits."},
    {"ERF.PRECISE", unary<erfRule>, exactly(1), numberArgRule, none, "ERF.PRECISE(x)", "Returns the error function."},
    {"ERFC", unary<erfcRule>, exactly(1), numberArgRule, none, "ERFC(x)", "Returns the complementary error function."},
    {"ERFC.PRECISE", unary<erfcRule>, exactly(1), numberArgRule, none, "ERFC.PRECISE(x)", "Returns the complementary error function."},
    {"BESSELI", bessel<BesselKind::i>, exactly(2), numberArgRule, none, "BESSELI(x, n)", "Returns the modified Bessel function In(x)."},
    {"BESSELJ", bessel<BesselKind::j>, exactly(2), numberArgRule, none, "BESSELJ(x, n)", "Returns the Bessel function Jn(x)."},
    {"BESSELK", bessel<BesselKind::k>, exactly(2), numberArgRule, none, "BESSELK(x, n)", "Returns the modified Bessel function Kn(x)."},
    {"BESSELY", bessel<BesselKind::y>, exactly(2), numberArgRule, none, "BESSELY(x, n)", "Returns the Bessel function Yn(x)."},
    {"DELTA", delta, between(1, 2), numberArgRule, none, "DELTA(number1, [number2])", "Tests whether two numbers are equal."},
    {"GESTEP", geStep, between(1, 2), numberArgRule, none, "GESTEP(number, [step])", "Tests whether a number is at least a threshold."},
    {"BITAND", bitwise<BitOperation::bitAnd>, exactly(2), numberArgRule, none, "BITAND(number1, number2)", "Returns the bitwise AND of two numbers."},
    {"BITOR", bitwise<BitOperation::bitOr>, exactly(2), numberArgRule, none, "BITOR(number1, number2)", "Returns the bitwise OR of two numbers."},
    {"BITXOR", bitwise<BitOperation::bitXor>, exactly(2), numberArgRule, none, "BITXOR(number1, number2)", "Returns the bitwise exclusive OR of two numbers."},
    {"BITLSHIFT", bitShift<true>, exactly(2), numberArgRule, none, "BITLSHIFT(number, shift_amount)", "Returns a number shifted left by some bits."},
    {"BITRSHIFT", bitShift<false>, exactly(2), numberArgRule, none, "BITRSHIFT(number, shift_amount)", "Returns a number shifted right by some bits."},
};

constexpr FunctionDeclaration kGammaFunctions[] = {
    {"GAMMA", unary<gammaRule>, exactly(1), numberArgRule, none, "GAMMA(number)", "Returns the gamma function value."},
    {"GAMMALN", unary<gammaLnRule>, exactly(1), numberArgRule, none, "GAMMALN(x)", "Returns the natural logarithm of the gamma function."},
    {"GAMMALN.PRECISE", unary<gammaLnRule>, exactly(1), numberArgRule, none, "GAMMALN.PRECISE(x)", "Returns the natural logarithm of the gamma function."},
};
// clang-format on

} // namespace

void registerEngineeringFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::math, kEngineeringFunctions);
    r.add(FunctionFamily::statistical, kGammaFunctions);
}

} // namespace sumora
