// COMPLEX and the IM… functions on complex numbers written as text. An
// argument may be a complex text, a number (its real part) or an empty cell
// (0); a text that is no complex number is "#NUM!", a boolean "#VALUE!", and
// an error passes through. Arguments that mix the suffixes i and j are
// "#VALUE!"; a result keeps the suffix its arguments used.
#include <cmath>
#include <complex>
#include <limits>
#include <string>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/ComplexNumbers.h"

namespace sumora {

namespace {

using Complex = std::complex<double>;

FormulaValue numError() {
    return err(ErrorKind::invalidNumber);
}

ArgValue<ComplexNumber> complexOf(const FormulaValue& v) {
    if (v.isError()) return {std::nullopt, v};
    if (v.isEmpty()) return {ComplexNumber{}, {}};
    if (v.isNumber()) return {ComplexNumber{{*v.asNumber(), 0}, 0}, {}};
    if (!v.isText()) return {std::nullopt, err(ErrorKind::invalidValue)};
    if (auto z = parseComplex(v.description())) return {*z, {}};
    return {std::nullopt, numError()};
}

ArgValue<ComplexNumber> complexArg(FunctionContext& c, size_t i) {
    return complexOf(scalarOf(c.evaluate(i)));
}

// Folds another argument's suffix into the result's; false when i meets j.
bool mergeSuffix(char& into, char other) {
    if (!other) return true;
    if (into && into != other) return false;
    into = other;
    return true;
}

// The result as text, or "#NUM!" when a part is not finite.
FormulaValue complexResult(Complex z, char suffix) {
    if (!std::isfinite(z.real()) || !std::isfinite(z.imag())) return numError();
    return txt(formatComplex(z, suffix));
}

// COMPLEX(real_num, i_num, [suffix]) — the text of real + i·imaginary;
// the suffix is "i" (default) or "j", in lower case
FormulaValue complexFunction(FunctionContext& c) {
    auto real = declaredNumber(c, 0);
    if (!real) return real.failure;
    auto imaginary = declaredNumber(c, 1);
    if (!imaginary) return imaginary.failure;
    auto suffix = textArg(c, 2);
    if (!suffix) return suffix.failure;
    if (!suffix->empty() && *suffix != "i" && *suffix != "j") return err(ErrorKind::invalidValue);
    return complexResult({*real, *imaginary}, suffix->empty() ? 'i' : suffix->front());
}

// Functions of one complex number: Rule answers a complex number, or NaN
// parts for a domain error.
template <Complex (*Rule)(Complex)> FormulaValue complexUnary(FunctionContext& c) {
    auto z = complexArg(c, 0);
    if (!z) return z.failure;
    return complexResult(Rule(z->value), z->suffix);
}

// Functions of one complex number with a real result.
template <double (*Rule)(Complex)> FormulaValue complexToReal(FunctionContext& c) {
    auto z = complexArg(c, 0);
    if (!z) return z.failure;
    return finiteOrNumError(Rule(z->value) + 0.0);
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr Complex kUndefined{kNaN, kNaN};

double realPart(Complex z) {
    return z.real();
}
double imaginaryPart(Complex z) {
    return z.imag();
}
double modulus(Complex z) {
    return std::hypot(z.real(), z.imag());
}

// IMARGUMENT(inumber) — the angle θ in (−π, π]; 0 has none ("#DIV/0!")
FormulaValue complexArgument(FunctionContext& c) {
    auto z = complexArg(c, 0);
    if (!z) return z.failure;
    if (z->value == Complex{}) return err(ErrorKind::divisionByZero);
    return num(std::atan2(z->value.imag(), z->value.real()) + 0.0);
}

Complex conjugate(Complex z) {
    return std::conj(z);
}
Complex exponential(Complex z) {
    return std::exp(z);
}
Complex naturalLog(Complex z) {
    return z == Complex{} ? kUndefined : std::log(z);
}
Complex log10Of(Complex z) {
    return z == Complex{} ? kUndefined : std::log(z) / std::log(10.0);
}
Complex log2Of(Complex z) {
    return z == Complex{} ? kUndefined : std::log(z) / std::log(2.0);
}
Complex sine(Complex z) {
    return std::sin(z);
}
Complex cosine(Complex z) {
    return std::cos(z);
}
Complex tangent(Complex z) {
    return std::tan(z);
}
Complex hyperbolicSine(Complex z) {
    return std::sinh(z);
}
Complex hyperbolicCosine(Complex z) {
    return std::cosh(z);
}
// A reciprocal with a zero denominator is a domain error, not an infinity.
Complex reciprocal(Complex z) {
    return z == Complex{} ? kUndefined : 1.0 / z;
}
Complex cotangent(Complex z) {
    return z == Complex{} ? kUndefined : std::cos(z) / std::sin(z);
}
Complex cosecant(Complex z) {
    return reciprocal(std::sin(z));
}
Complex secant(Complex z) {
    return reciprocal(std::cos(z));
}
Complex hyperbolicCosecant(Complex z) {
    return reciprocal(std::sinh(z));
}
Complex hyperbolicSecant(Complex z) {
    return reciprocal(std::cosh(z));
}

// z^n through the polar form, r^n·(cos nθ + i·sin nθ), as spreadsheets
// compute it (so IMSQRT("-4") carries a rounding residue in its real part).
Complex polarPower(Complex z, double n) {
    const double r = std::hypot(z.real(), z.imag());
    if (r == 0) return n > 0 ? Complex{} : kUndefined;
    const double theta = std::atan2(z.imag(), z.real());
    return std::polar(std::pow(r, n), n * theta);
}
Complex squareRoot(Complex z) {
    return polarPower(z, 0.5);
}

// IMPOWER(inumber, number) — z to a real power
FormulaValue complexPower(FunctionContext& c) {
    auto z = complexArg(c, 0);
    if (!z) return z.failure;
    auto n = declaredNumber(c, 1);
    if (!n) return n.failure;
    return complexResult(polarPower(z->value, *n), z->suffix);
}

// IMDIV(inumber1, inumber2) and IMSUB: the two-number operations
template <bool Divide> FormulaValue complexBinary(FunctionContext& c) {
    auto a = complexArg(c, 0);
    if (!a) return a.failure;
    auto b = complexArg(c, 1);
    if (!b) return b.failure;
    char suffix = a->suffix;
    if (!mergeSuffix(suffix, b->suffix)) return err(ErrorKind::invalidValue);
    if (!Divide) return complexResult(a->value - b->value, suffix);
    if (b->value == Complex{}) return numError();
    return complexResult(a->value / b->value, suffix);
}

// IMSUM(inumber1, ...) and IMPRODUCT: over every value of every argument,
// ranges included (empty cells left out)
template <bool Multiply> FormulaValue complexFold(FunctionContext& c) {
    Complex total = Multiply ? Complex{1, 0} : Complex{};
    char suffix = 0;
    for (size_t i = 0; i < c.argCount(); ++i) {
        for (const FormulaValue& v : c.resolveValues(i)) {
            if (v.isEmpty()) continue;
            auto z = complexOf(v);
            if (!z) return z.failure;
            if (!mergeSuffix(suffix, z->suffix)) return err(ErrorKind::invalidValue);
            total = Multiply ? total * z->value : total + z->value;
        }
    }
    return complexResult(total, suffix);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kComplexFunctions[] = {
    {"COMPLEX", complexFunction, between(2, 3), numberArgRule, none, "COMPLEX(real_num, i_num, [suffix])", "Converts real and imaginary coefficients into a complex number."},
    {"IMABS", complexToReal<modulus>, exactly(1), numberArgRule, none, "IMABS(inumber)", "Returns the absolute value of a complex number."},
    {"IMAGINARY", complexToReal<imaginaryPart>, exactly(1), numberArgRule, none, "IMAGINARY(inumber)", "Returns the imaginary coefficient of a complex number."},
    {"IMREAL", complexToReal<realPart>, exactly(1), numberArgRule, none, "IMREAL(inumber)", "Returns the real coefficient of a complex number."},
    {"IMARGUMENT", complexArgument, exactly(1), numberArgRule, none, "IMARGUMENT(inumber)", "Returns the angle of a complex number in radians."},
    {"IMCONJUGATE", complexUnary<conjugate>, exactly(1), numberArgRule, none, "IMCONJUGATE(inumber)", "Returns the complex conjugate."},
    {"IMEXP", complexUnary<exponential>, exactly(1), numberArgRule, none, "IMEXP(inumber)", "Returns the exponential of a complex number."},
    {"IMLN", complexUnary<naturalLog>, exactly(1), numberArgRule, none, "IMLN(inumber)", "Returns the natural logarithm of a complex number."},
    {"IMLOG10", complexUnary<log10Of>, exactly(1), numberArgRule, none, "IMLOG10(inumber)", "Returns the base-10 logarithm of a complex number."},
    {"IMLOG2", complexUnary<log2Of>, exactly(1), numberArgRule, none, "IMLOG2(inumber)", "Returns the base-2 logarithm of a complex number."},
    {"IMSQRT", complexUnary<squareRoot>, exactly(1), numberArgRule, none, "IMSQRT(inumber)", "Returns the square root of a complex number."},
    {"IMPOWER", complexPower, exactly(2), numberArgRule, none, "IMPOWER(inumber, number)", "Returns a complex number raised to a power."},
    {"IMSIN", complexUnary<sine>, exactly(1), numberArgRule, none, "IMSIN(inumber)", "Returns the sine of a complex number."},
    {"IMCOS", complexUnary<cosine>, exactly(1), numberArgRule, none, "IMCOS(inumber)", "Returns the cosine of a complex number."},
    {"IMTAN", complexUnary<tangent>, exactly(1), numberArgRule, none, "IMTAN(inumber)", "Returns the tangent of a complex number."},
    {"IMCOT", complexUnary<cotangent>, exactly(1), numberArgRule, none, "IMCOT(inumber)", "Returns the cotangent of a complex number."},
    {"IMCSC", complexUnary<cosecant>, exactly(1), numberArgRule, none, "IMCSC(inumber)", "Returns the cosecant of a complex number."},
    {"IMSEC", complexUnary<secant>, exactly(1), numberArgRule, none, "IMSEC(inumber)", "Returns the secant of a complex number."},
    {"IMSINH", complexUnary<hyperbolicSine>, exactly(1), numberArgRule, none, "IMSINH(inumber)", "Returns the hyperbolic sine of a complex number."},
    {"IMCOSH", complexUnary<hyperbolicCosine>, exactly(1), numberArgRule, none, "IMCOSH(inumber)", "Returns the hyperbolic cosine of a complex number."},
    {"IMCSCH", complexUnary<hyperbolicCosecant>, exactly(1), numberArgRule, none, "IMCSCH(inumber)", "Returns the hyperbolic cosecant of a complex number."},
    {"IMSECH", complexUnary<hyperbolicSecant>, exactly(1), numberArgRule, none, "IMSECH(inumber)", "Returns the hyperbolic secant of a complex number."},
    {"IMDIV", complexBinary<true>, exactly(2), numberArgRule, none, "IMDIV(inumber1, inumber2)", "Returns the quotient of two complex numbers."},
    {"IMSUB", complexBinary<false>, exactly(2), numberArgRule, none, "IMSUB(inumber1, inumber2)", "Returns the difference of two complex numbers."},
    {"IMSUM", complexFold<false>, atLeast(1), numberArgRule, none, "IMSUM(inumber1, inumber2, ...)", "Returns the sum of complex numbers."},
    {"IMPRODUCT", complexFold<true>, atLeast(1), numberArgRule, none, "IMPRODUCT(inumber1, inumber2, ...)", "Returns the product of complex numbers."},
};
// clang-format on

} // namespace

void registerComplexFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::math, kComplexFunctions);
}

} // namespace sumora
