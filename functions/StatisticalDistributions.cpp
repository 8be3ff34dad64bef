// The first distribution built-ins (normal, Poisson, binomial, exponential,
// Student's t, Fisher, CONFIDENCE) on Boost.Math; under its error-ignoring
// policy a domain error comes back as NaN and finiteOrNumError makes it
// "#NUM!".
#include "functions/StatisticalDistributions.h"

#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/poisson.hpp>
#include <boost/math/distributions/students_t.hpp>

#include <cmath>
#include <limits>
#include <optional>

#include "functions/DistributionSupport.h"
#include "functions/MathSupport.h"

namespace sumora {

namespace {

using Normal = math::normal_distribution<double, QuietPolicy>;

// The cumulative flag: a truth value, required.
std::optional<bool> cumulativeArg(FunctionContext& c, size_t i) {
    if (!c.hasArg(i)) return std::nullopt;
    return c.evaluate(i).asBool();
}

} // namespace

double normInv(double p) {
    if (!(p > 0 && p < 1)) return std::numeric_limits<double>::quiet_NaN();
    return math::quantile(Normal(), p);
}

double normCdf(double z) {
    return math::cdf(Normal(), z);
}

double normPdf(double z) {
    return math::pdf(Normal(), z);
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
    if (*mean == 0) return num(k == 0 || *cumulative ? 1 : 0);
    math::poisson_distribution<double, QuietPolicy> d(*mean);
    return finiteOrNumError(*cumulative ? math::cdf(d, k) : math::pdf(d, k));
}

// BINOM.DIST(number_s, trials, probability_s, cumulative) — binomial distribution
FormulaValue binomDist(FunctionContext& c) {
    auto successes = c.evalNum(0), trials = c.evalNum(1), p = c.evalNum(2);
    auto cumulative = cumulativeArg(c, 3);
    if (!successes || !trials || !p || !cumulative) return err(ErrorKind::invalidValue);
    double k = std::trunc(*successes), n = std::trunc(*trials);
    if (n < 0 || k < 0 || k > n || *p < 0 || *p > 1) return err(ErrorKind::invalidNumber);
    math::binomial_distribution<double, QuietPolicy> d(n, *p);
    return finiteOrNumError(*cumulative ? math::cdf(d, k) : math::pdf(d, k));
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
    math::students_t_distribution<double, QuietPolicy> d(v);
    return finiteOrNumError(*cumulative ? math::cdf(d, t) : math::pdf(d, t));
}

} // namespace distributions

} // namespace sumora
