#include "functions/StatisticalDistributions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "functions/MathSupport.h"

namespace sumora {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kSqrt2 = 1.41421356237309504880;
constexpr double kSqrt2Pi = 2.50662827463100050242;
constexpr double kLogSqrt2Pi = 0.91893853320467274178;

template <size_t N> double polynomial(const double (&coefficients)[N], double x) {
    double sum = 0;
    for (size_t i = N; i-- > 0;)
        sum = sum * x + coefficients[i];
    return sum;
}

// Wichura's algorithm AS 241 (PPND16): about sixteen significant digits over
// the whole open interval. Coefficients in ascending powers.
double wichuraNormInv(double p) {
    static constexpr double a[] = {3.3871328727963666080e0,  1.3314166789178437745e+2,
                                   1.9715909503065514427e+3, 1.3731693765509461125e+4,
                                   4.5921953931549871457e+4, 6.7265770927008700853e+4,
                                   3.3430575583588128105e+4, 2.5090809287301226727e+3};
    static constexpr double b[] = {1.0,
                                   4.2313330701600911252e+1,
                                   6.8718700749205790830e+2,
                                   5.3941960214247511077e+3,
                                   2.1213794301586595867e+4,
                                   3.9307895800092710610e+4,
                                   2.8729085735721942674e+4,
                                   5.2264952788528545610e+3};
    static constexpr double c[] = {1.42343711074968357734e0,  4.63033784615654529590e0,
                                   5.76949722146069140550e0,  3.64784832476320460504e0,
                                   1.27045825245236838258e0,  2.41780725177450611770e-1,
                                   2.27238449892691845833e-2, 7.74545014278341407640e-4};
    static constexpr double d[] = {1.0,
                                   2.05319162663775882187e0,
                                   1.67638483018380384940e0,
                                   6.89767334985100004550e-1,
                                   1.48103976427480074590e-1,
                                   1.51986665636164571966e-2,
                                   5.47593808499534494600e-4,
                                   1.05075007164441684324e-9};
    static constexpr double e[] = {6.65790464350110377720e0,  5.46378491116411436990e0,
                                   1.78482653991729133580e0,  2.96560571828504891230e-1,
                                   2.65321895265761230930e-2, 1.24266094738807843860e-3,
                                   2.71155556874348757815e-5, 2.01033439929228813265e-7};
    static constexpr double f[] = {1.0,
                                   5.99832206555887937690e-1,
                                   1.36929880922735805310e-1,
                                   1.48753612908506148525e-2,
                                   7.86869131145613259100e-4,
                                   1.84631831751005468180e-5,
                                   1.42151175831644588870e-7,
                                   2.04426310338993978564e-15};
    double q = p - 0.5;
    if (std::fabs(q) <= 0.425) {
        double r = 0.180625 - q * q;
        return q * polynomial(a, r) / polynomial(b, r);
    }
    double r = std::sqrt(-std::log(q < 0 ? p : 1 - p));
    double z = r <= 5 ? polynomial(c, r - 1.6) / polynomial(d, r - 1.6)
                      : polynomial(e, r - 5) / polynomial(f, r - 5);
    return q < 0 ? -z : z;
}

// lgamma(z) less its Stirling approximation (z − ½)·ln z − z + ln √(2π).
// Large arguments take the asymptotic series, so that differences of huge
// log-gammas never have to be formed.
double stirlingError(double z) {
    if (z < 15) return std::lgamma(z) - ((z - 0.5) * std::log(z) - z + kLogSqrt2Pi);
    double z2 = z * z;
    return (1.0 / 12 - (1.0 / 360 - (1.0 / 1260 - (1.0 / 1680 - 1.0 / (1188 * z2)) / z2) / z2) / z2) / z;
}

// x·ln(x/m) + m − x, for x, m > 0, without cancellation when x is near m
// (Loader's deviance term).
double deviance(double x, double m) {
    if (std::fabs(x - m) < 0.1 * (x + m)) {
        double v = (x - m) / (x + m);
        double sum = (x - m) * v;
        double term = 2 * x * v;
        for (int j = 1; j < 1000; ++j) {
            term *= v * v;
            double next = sum + term / (2 * j + 1);
            if (next == sum) break;
            sum = next;
        }
        return sum;
    }
    return x * std::log(x / m) + m - x;
}

// x^a · e^(−x) / Γ(a), the factor in front of both incomplete gammas.
double gammaFront(double a, double x) {
    return std::exp(-deviance(a, x) + 0.5 * std::log(a) - kLogSqrt2Pi - stirlingError(a));
}

// x^a · y^b / B(a, b) with y = 1 − x, the factor in front of the incomplete
// beta, in terms that stay small however large a and b are.
double betaFront(double x, double y, double a, double b) {
    double n = a + b;
    double logFront = -deviance(a, n * x) - deviance(b, n * y) + 0.5 * std::log(a * b / n) - kLogSqrt2Pi -
                      stirlingError(a) - stirlingError(b) + stirlingError(n);
    return std::exp(logFront);
}

// Lentz's continued fraction for the incomplete beta function.
double betaContinuedFraction(double x, double a, double b) {
    constexpr double tiny = 1e-300;
    constexpr double eps = 1e-16;
    double qab = a + b, qap = a + 1, qam = a - 1;
    double c = 1, d = 1 - qab * x / qap;
    if (std::fabs(d) < tiny) d = tiny;
    d = 1 / d;
    double h = d;
    for (int m = 1; m <= 100000; ++m) {
        double m2 = 2.0 * m;
        double aa = m * (b - m) * x / ((qam + m2) * (a + m2));
        d = 1 + aa * d;
        if (std::fabs(d) < tiny) d = tiny;
        c = 1 + aa / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        h *= d * c;
        aa = -(a + m) * (qab + m) * x / ((a + m2) * (qap + m2));
        d = 1 + aa * d;
        if (std::fabs(d) < tiny) d = tiny;
        c = 1 + aa / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        double delta = d * c;
        h *= delta;
        if (std::fabs(delta - 1) < eps) break;
    }
    return h;
}

// Series for P(a, x), good for x < a + 1.
double gammaSeries(double a, double x) {
    double term = 1 / a, sum = term;
    for (int n = 1; n < 100000; ++n) {
        term *= x / (a + n);
        sum += term;
        if (std::fabs(term) < std::fabs(sum) * 1e-17) break;
    }
    return sum * gammaFront(a, x);
}

// Continued fraction for Q(a, x), good for x >= a + 1.
double gammaContinuedFraction(double a, double x) {
    constexpr double tiny = 1e-300;
    double b = x + 1 - a, c = 1 / tiny, d = 1 / b, h = d;
    for (int i = 1; i < 100000; ++i) {
        double an = -i * (i - a);
        b += 2;
        d = an * d + b;
        if (std::fabs(d) < tiny) d = tiny;
        c = b + an / c;
        if (std::fabs(c) < tiny) c = tiny;
        d = 1 / d;
        double delta = d * c;
        h *= delta;
        if (std::fabs(delta - 1) < 1e-16) break;
    }
    return gammaFront(a, x) * h;
}

// I_x(a, b) given both x and y = 1 − x, so that callers who know the small
// one of the two exactly do not lose it to the subtraction.
double regularizedBeta(double x, double y, double a, double b) {
    if (x <= 0) return 0;
    if (y <= 0) return 1;
    double front = betaFront(x, y, a, b);
    // The continued fraction converges fast on the near side of the mean;
    // the far side goes through the symmetry I_x(a, b) = 1 − I_y(b, a).
    if (x < (a + 1) / (a + b + 2)) return front * betaContinuedFraction(x, a, b) / a;
    return 1 - front * betaContinuedFraction(y, b, a) / b;
}

double binomialPmf(double k, double n, double p) {
    if (p == 0) return k == 0 ? 1 : 0;
    if (p == 1) return k == n ? 1 : 0;
    // The exact coefficient costs min(k, n − k) steps; far beyond the range
    // where it is finite, logarithms serve.
    if (std::min(k, n - k) <= 1100) {
        double direct = combinDouble(n, k) * std::pow(p, k) * std::pow(1 - p, n - k);
        if (std::isnormal(direct)) return direct;
    }
    double q = 1 - p;
    if (k == 0) return std::exp(n * std::log1p(-p));
    if (k == n) return std::exp(n * std::log(p));
    // Loader's saddle-point form.
    double logPmf = stirlingError(n) - stirlingError(k) - stirlingError(n - k) - deviance(k, n * p) -
                    deviance(n - k, n * q);
    return std::exp(logPmf) / std::sqrt(2 * M_PI * k * (1 - k / n));
}

double poissonPmf(double k, double mean) {
    if (mean == 0) return k == 0 ? 1 : 0;
    if (k == 0) return std::exp(-mean);
    return std::exp(-stirlingError(k) - deviance(k, mean)) / std::sqrt(2 * M_PI * k);
}

// The cumulative flag: a truth value, required.
std::optional<bool> cumulativeArg(FunctionContext& c, size_t i) {
    if (!c.hasArg(i)) return std::nullopt;
    return c.evaluate(i).asBool();
}

} // namespace

double normInv(double p) {
    if (!(p > 0 && p < 1)) return kNaN;
    double x = wichuraNormInv(p);
    // One Halley step against the complementary error function polishes the
    // last digits; skipped in the far tails, where the density underflows.
    double e = normCdf(x) - p;
    double u = e * kSqrt2Pi * std::exp(x * x / 2);
    if (std::isfinite(u)) x -= u / (1 + x * u / 2);
    return x;
}

double normCdf(double z) {
    return 0.5 * std::erfc(-z / kSqrt2);
}

double normPdf(double z) {
    return std::exp(-z * z / 2) / kSqrt2Pi;
}

double regularizedBeta(double x, double a, double b) {
    return regularizedBeta(x, 1 - x, a, b);
}

double regularizedGammaQ(double a, double x) {
    if (x <= 0) return 1;
    return x < a + 1 ? 1 - gammaSeries(a, x) : gammaContinuedFraction(a, x);
}

namespace distributions {

// FISHER(x) — the Fisher transformation, for −1 < x < 1
FormulaValue fisher(FunctionContext& c) {
    auto x = c.evalNum(0);
    if (!x) return err(ErrorKind::invalidValue);
    if (std::fabs(*x) >= 1) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(std::atanh(*x));
}

// FISHERINV(y) — inverse of the Fisher transformation
FormulaValue fisherInv(FunctionContext& c) {
    auto y = c.evalNum(0);
    if (!y) return err(ErrorKind::invalidValue);
    return num(std::tanh(*y));
}

// CONFIDENCE(alpha, standard_dev, size) — half-width of a normal confidence interval
FormulaValue confidence(FunctionContext& c) {
    auto alpha = c.evalNum(0), sd = c.evalNum(1), size = c.evalNum(2);
    if (!alpha || !sd || !size) return err(ErrorKind::invalidValue);
    double n = std::trunc(*size);
    if (*alpha <= 0 || *alpha >= 1 || *sd <= 0 || n < 1) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(normInv(1 - *alpha / 2) * *sd / std::sqrt(n));
}

// NORM.DIST(x, mean, standard_dev, cumulative) — normal distribution
FormulaValue normDist(FunctionContext& c) {
    auto x = c.evalNum(0), mean = c.evalNum(1), sd = c.evalNum(2);
    auto cumulative = cumulativeArg(c, 3);
    if (!x || !mean || !sd || !cumulative) return err(ErrorKind::invalidValue);
    if (*sd <= 0) return err(ErrorKind::invalidNumber);
    double z = (*x - *mean) / *sd;
    return finiteOrNumError(*cumulative ? normCdf(z) : normPdf(z) / *sd);
}

// NORMSDIST(z) — standard normal cumulative distribution
FormulaValue normSDist(FunctionContext& c) {
    auto z = c.evalNum(0);
    if (!z) return err(ErrorKind::invalidValue);
    return num(normCdf(*z));
}

// NORM.INV(probability, mean, standard_dev) — inverse normal distribution
FormulaValue normInverse(FunctionContext& c) {
    auto p = c.evalNum(0), mean = c.evalNum(1), sd = c.evalNum(2);
    if (!p || !mean || !sd) return err(ErrorKind::invalidValue);
    if (*p <= 0 || *p >= 1 || *sd <= 0) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(*mean + *sd * normInv(*p));
}

// NORM.S.INV(probability) — inverse standard normal distribution
FormulaValue normSInverse(FunctionContext& c) {
    auto p = c.evalNum(0);
    if (!p) return err(ErrorKind::invalidValue);
    if (*p <= 0 || *p >= 1) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(normInv(*p));
}

// POISSON(x, mean, cumulative) — Poisson distribution; x is truncated
FormulaValue poisson(FunctionContext& c) {
    auto x = c.evalNum(0), mean = c.evalNum(1);
    auto cumulative = cumulativeArg(c, 2);
    if (!x || !mean || !cumulative) return err(ErrorKind::invalidValue);
    double k = std::trunc(*x);
    if (k < 0 || *mean < 0) return err(ErrorKind::invalidNumber);
    if (!*cumulative) return finiteOrNumError(poissonPmf(k, *mean));
    if (*mean == 0) return num(1);
    // P(X <= k) = Q(k + 1, mean)
    return finiteOrNumError(regularizedGammaQ(k + 1, *mean));
}

// BINOM.DIST(number_s, trials, probability_s, cumulative) — binomial distribution
FormulaValue binomDist(FunctionContext& c) {
    auto successes = c.evalNum(0), trials = c.evalNum(1), p = c.evalNum(2);
    auto cumulative = cumulativeArg(c, 3);
    if (!successes || !trials || !p || !cumulative) return err(ErrorKind::invalidValue);
    double k = std::trunc(*successes), n = std::trunc(*trials);
    if (n < 0 || k < 0 || k > n || *p < 0 || *p > 1) return err(ErrorKind::invalidNumber);
    if (!*cumulative) return finiteOrNumError(binomialPmf(k, n, *p));
    if (k == n || *p == 0) return num(1);
    if (*p == 1) return num(0);
    // P(X <= k) = I_(1−p)(n − k, k + 1)
    return finiteOrNumError(regularizedBeta(1 - *p, *p, n - k, k + 1));
}

// EXPON.DIST(x, lambda, cumulative) — exponential distribution
FormulaValue exponDist(FunctionContext& c) {
    auto x = c.evalNum(0), lambda = c.evalNum(1);
    auto cumulative = cumulativeArg(c, 2);
    if (!x || !lambda || !cumulative) return err(ErrorKind::invalidValue);
    if (*x < 0 || *lambda <= 0) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(*cumulative ? -std::expm1(-*lambda * *x) : *lambda * std::exp(-*lambda * *x));
}

// T.DIST(x, deg_freedom, cumulative) — Student's t, left tail; degrees truncated
FormulaValue tDist(FunctionContext& c) {
    auto x = c.evalNum(0), degrees = c.evalNum(1);
    auto cumulative = cumulativeArg(c, 2);
    if (!x || !degrees || !cumulative) return err(ErrorKind::invalidValue);
    double v = std::trunc(*degrees), t = *x;
    if (v < 1) return err(ErrorKind::invalidNumber);
    if (!*cumulative) {
        // ln Γ(h + ½) − ln Γ(h) through the Stirling remainders, exact for
        // any number of degrees.
        double h = v / 2;
        double logGammaRatio =
            h * std::log1p(0.5 / h) - 0.5 + 0.5 * std::log(h) + stirlingError(h + 0.5) - stirlingError(h);
        double logDensity = logGammaRatio - 0.5 * std::log(v * M_PI) - (v + 1) / 2 * std::log1p(t * t / v);
        return finiteOrNumError(std::exp(logDensity));
    }
    double tail = 0.5 * regularizedBeta(v / (v + t * t), t * t / (v + t * t), v / 2, 0.5);
    return finiteOrNumError(t < 0 ? tail : 1 - tail);
}

} // namespace distributions

} // namespace sumora
