// The continuous distributions beyond the normal family's first names:
// standard normal forms, log-normal, Weibull, gamma, beta, chi-squared, F and
// the remaining Student's t forms, with their legacy names. Boost.Math does
// the numerics; every argument error passes through and every domain error
// is "#NUM!".
#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/chi_squared.hpp>
// Under the error-ignoring policy the F quantile's failure path leaves a
// value unset that it never reads; GCC cannot see that when inlining.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <boost/math/distributions/fisher_f.hpp>
#pragma GCC diagnostic pop
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/lognormal.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/distributions/weibull.hpp>

#include "engine/FunctionRegistry.h"
#include "functions/DistributionSupport.h"

namespace sumora {

namespace {

using Normal = math::normal_distribution<double, QuietPolicy>;
using LogNormal = math::lognormal_distribution<double, QuietPolicy>;
using Weibull = math::weibull_distribution<double, QuietPolicy>;
using Gamma = math::gamma_distribution<double, QuietPolicy>;
using Beta = math::beta_distribution<double, QuietPolicy>;
using ChiSquared = math::chi_squared_distribution<double, QuietPolicy>;
using FisherF = math::fisher_f_distribution<double, QuietPolicy>;
using StudentsT = math::students_t_distribution<double, QuietPolicy>;

FormulaValue numError() {
    return err(ErrorKind::invalidNumber);
}

// The density or the cumulative probability at x, by the flag.
template <class Distribution>
FormulaValue densityOrCumulative(const Distribution& d, double x, bool cumulative) {
    return finiteOrNumError(cumulative ? math::cdf(d, x) : math::pdf(d, x));
}

// The required cumulative flag at argument i.
ArgValue<bool> cumulativeArg(FunctionContext& c, size_t i) {
    return boolArgOr(c, i, false);
}

// NORM.S.DIST(z, cumulative) — standard normal density or cumulative probability
FormulaValue normSDist(FunctionContext& c) {
    auto z = declaredNumber(c, 0);
    if (!z) return z.failure;
    auto cumulative = cumulativeArg(c, 1);
    if (!cumulative) return cumulative.failure;
    return densityOrCumulative(Normal(), *z, *cumulative);
}

// PHI(x) — standard normal density
FormulaValue phi(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    return finiteOrNumError(math::pdf(Normal(), *x));
}

// GAUSS(z) — probability that a standard normal lies between the mean and z
FormulaValue gauss(FunctionContext& c) {
    auto z = declaredNumber(c, 0);
    if (!z) return z.failure;
    return finiteOrNumError(math::cdf(Normal(), *z) - 0.5);
}

// STANDARDIZE(x, mean, standard_dev) — x as a number of deviations from the mean
FormulaValue standardize(FunctionContext& c) {
    auto x = declaredNumber(c, 0), mean = declaredNumber(c, 1), sd = declaredNumber(c, 2);
    if (!x) return x.failure;
    if (!mean) return mean.failure;
    if (!sd) return sd.failure;
    if (*sd <= 0) return numError();
    return finiteOrNumError((*x - *mean) / *sd);
}

// LOGNORM.DIST(x, mean, standard_dev, [cumulative]) — log-normal distribution;
// LOGNORMDIST has no flag and is cumulative
FormulaValue lognormDist(FunctionContext& c) {
    auto x = declaredNumber(c, 0), mean = declaredNumber(c, 1), sd = declaredNumber(c, 2);
    if (!x) return x.failure;
    if (!mean) return mean.failure;
    if (!sd) return sd.failure;
    auto cumulative = boolArgOr(c, 3, true);
    if (!cumulative) return cumulative.failure;
    if (*x <= 0 || *sd <= 0) return numError();
    return densityOrCumulative(LogNormal(*mean, *sd), *x, *cumulative);
}

// LOGNORM.INV(probability, mean, standard_dev) — inverse log-normal distribution
FormulaValue lognormInv(FunctionContext& c) {
    auto p = declaredNumber(c, 0), mean = declaredNumber(c, 1), sd = declaredNumber(c, 2);
    if (!p) return p.failure;
    if (!mean) return mean.failure;
    if (!sd) return sd.failure;
    if (*p <= 0 || *p >= 1 || *sd <= 0) return numError();
    return finiteOrNumError(math::quantile(LogNormal(*mean, *sd), *p));
}

// WEIBULL.DIST(x, alpha, beta, cumulative) — Weibull distribution
FormulaValue weibullDist(FunctionContext& c) {
    auto x = declaredNumber(c, 0), alpha = declaredNumber(c, 1), beta = declaredNumber(c, 2);
    if (!x) return x.failure;
    if (!alpha) return alpha.failure;
    if (!beta) return beta.failure;
    auto cumulative = cumulativeArg(c, 3);
    if (!cumulative) return cumulative.failure;
    if (*x < 0 || *alpha <= 0 || *beta <= 0) return numError();
    return densityOrCumulative(Weibull(*alpha, *beta), *x, *cumulative);
}

// GAMMA.DIST(x, alpha, beta, cumulative) — gamma distribution with shape
// alpha and scale beta
FormulaValue gammaDist(FunctionContext& c) {
    auto x = declaredNumber(c, 0), alpha = declaredNumber(c, 1), beta = declaredNumber(c, 2);
    if (!x) return x.failure;
    if (!alpha) return alpha.failure;
    if (!beta) return beta.failure;
    auto cumulative = cumulativeArg(c, 3);
    if (!cumulative) return cumulative.failure;
    if (*x < 0 || *alpha <= 0 || *beta <= 0) return numError();
    return densityOrCumulative(Gamma(*alpha, *beta), *x, *cumulative);
}

// GAMMA.INV(probability, alpha, beta) — inverse gamma distribution
FormulaValue gammaInv(FunctionContext& c) {
    auto p = declaredNumber(c, 0), alpha = declaredNumber(c, 1), beta = declaredNumber(c, 2);
    if (!p) return p.failure;
    if (!alpha) return alpha.failure;
    if (!beta) return beta.failure;
    if (*p < 0 || *p >= 1 || *alpha <= 0 || *beta <= 0) return numError();
    return finiteOrNumError(math::quantile(Gamma(*alpha, *beta), *p));
}

// The interval [A, B] of the beta functions at arguments from, from + 1
// (0 and 1 when missing); empty is "#NUM!".
struct Interval {
    double low = 0, high = 1;
};
ArgValue<Interval> intervalArgs(FunctionContext& c, size_t from) {
    auto low = declaredNumberOr(c, from, 0), high = declaredNumberOr(c, from + 1, 1);
    if (!low) return {std::nullopt, low.failure};
    if (!high) return {std::nullopt, high.failure};
    if (!(*low < *high)) return {std::nullopt, numError()};
    return {Interval{*low, *high}, {}};
}

// BETA.DIST(x, alpha, beta, cumulative, [A], [B]) — beta distribution on [A, B]
FormulaValue betaDist(FunctionContext& c) {
    auto x = declaredNumber(c, 0), alpha = declaredNumber(c, 1), beta = declaredNumber(c, 2);
    if (!x) return x.failure;
    if (!alpha) return alpha.failure;
    if (!beta) return beta.failure;
    auto cumulative = cumulativeArg(c, 3);
    if (!cumulative) return cumulative.failure;
    auto range = intervalArgs(c, 4);
    if (!range) return range.failure;
    if (*alpha <= 0 || *beta <= 0 || *x < range->low || *x > range->high) return numError();
    const double width = range->high - range->low;
    const double y = (*x - range->low) / width;
    Beta d(*alpha, *beta);
    return finiteOrNumError(*cumulative ? math::cdf(d, y) : math::pdf(d, y) / width);
}

// BETADIST(x, alpha, beta, [A], [B]) — cumulative beta distribution on [A, B]
FormulaValue betaDistLegacy(FunctionContext& c) {
    auto x = declaredNumber(c, 0), alpha = declaredNumber(c, 1), beta = declaredNumber(c, 2);
    if (!x) return x.failure;
    if (!alpha) return alpha.failure;
    if (!beta) return beta.failure;
    auto range = intervalArgs(c, 3);
    if (!range) return range.failure;
    if (*alpha <= 0 || *beta <= 0 || *x < range->low || *x > range->high) return numError();
    return finiteOrNumError(math::cdf(Beta(*alpha, *beta), (*x - range->low) / (range->high - range->low)));
}

// BETA.INV(probability, alpha, beta, [A], [B]) — inverse beta distribution on [A, B]
FormulaValue betaInv(FunctionContext& c) {
    auto p = declaredNumber(c, 0), alpha = declaredNumber(c, 1), beta = declaredNumber(c, 2);
    if (!p) return p.failure;
    if (!alpha) return alpha.failure;
    if (!beta) return beta.failure;
    auto range = intervalArgs(c, 3);
    if (!range) return range.failure;
    if (*p <= 0 || *p > 1 || *alpha <= 0 || *beta <= 0) return numError();
    const double y = math::quantile(Beta(*alpha, *beta), *p);
    return finiteOrNumError(range->low + y * (range->high - range->low));
}

// Degrees of freedom at argument i: truncated, from 1 to 10^10.
ArgValue<double> degreesArg(FunctionContext& c, size_t i) {
    auto v = truncatedArg(c, i);
    if (v && !(*v >= 1 && *v <= 1e10)) return {std::nullopt, numError()};
    return v;
}

// CHISQ.DIST(x, deg_freedom, cumulative) — chi-squared distribution
FormulaValue chisqDist(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto v = degreesArg(c, 1);
    if (!v) return v.failure;
    auto cumulative = cumulativeArg(c, 2);
    if (!cumulative) return cumulative.failure;
    if (*x < 0) return numError();
    return densityOrCumulative(ChiSquared(*v), *x, *cumulative);
}

// CHISQ.DIST.RT(x, deg_freedom) — right tail of the chi-squared distribution
FormulaValue chisqDistRight(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto v = degreesArg(c, 1);
    if (!v) return v.failure;
    if (*x < 0) return numError();
    return finiteOrNumError(math::cdf(math::complement(ChiSquared(*v), *x)));
}

// CHISQ.INV(probability, deg_freedom) — inverse of the left tail
FormulaValue chisqInv(FunctionContext& c) {
    auto p = declaredNumber(c, 0);
    if (!p) return p.failure;
    auto v = degreesArg(c, 1);
    if (!v) return v.failure;
    if (*p < 0 || *p >= 1) return numError();
    return finiteOrNumError(math::quantile(ChiSquared(*v), *p));
}

// CHISQ.INV.RT(probability, deg_freedom) — inverse of the right tail
FormulaValue chisqInvRight(FunctionContext& c) {
    auto p = declaredNumber(c, 0);
    if (!p) return p.failure;
    auto v = degreesArg(c, 1);
    if (!v) return v.failure;
    if (*p <= 0 || *p > 1) return numError();
    return finiteOrNumError(math::quantile(math::complement(ChiSquared(*v), *p)));
}

// F.DIST(x, deg_freedom1, deg_freedom2, cumulative) — F distribution
FormulaValue fDist(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto v1 = degreesArg(c, 1), v2 = degreesArg(c, 2);
    if (!v1) return v1.failure;
    if (!v2) return v2.failure;
    auto cumulative = cumulativeArg(c, 3);
    if (!cumulative) return cumulative.failure;
    if (*x < 0) return numError();
    return densityOrCumulative(FisherF(*v1, *v2), *x, *cumulative);
}

// F.DIST.RT(x, deg_freedom1, deg_freedom2) — right tail of the F distribution
FormulaValue fDistRight(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto v1 = degreesArg(c, 1), v2 = degreesArg(c, 2);
    if (!v1) return v1.failure;
    if (!v2) return v2.failure;
    if (*x < 0) return numError();
    return finiteOrNumError(math::cdf(math::complement(FisherF(*v1, *v2), *x)));
}

// F.INV(probability, deg_freedom1, deg_freedom2) — inverse of the left tail;
// F.INV.RT the inverse of the right tail
FormulaValue fInverse(FunctionContext& c, bool rightTail) {
    auto p = declaredNumber(c, 0);
    if (!p) return p.failure;
    auto v1 = degreesArg(c, 1), v2 = degreesArg(c, 2);
    if (!v1) return v1.failure;
    if (!v2) return v2.failure;
    if (*p < 0 || *p > 1) return numError();
    FisherF d(*v1, *v2);
    return finiteOrNumError(rightTail ? math::quantile(math::complement(d, *p)) : math::quantile(d, *p));
}
FormulaValue fInv(FunctionContext& c) {
    return fInverse(c, false);
}
FormulaValue fInvRight(FunctionContext& c) {
    return fInverse(c, true);
}

// The t value and the degrees of the two-tailed and right-tailed forms;
// a negative t is "#NUM!" only where `signed` is false.
struct TArgs {
    double t = 0, degrees = 1;
};
ArgValue<TArgs> tArgs(FunctionContext& c, bool allowNegative) {
    auto t = declaredNumber(c, 0);
    if (!t) return {std::nullopt, t.failure};
    auto v = degreesArg(c, 1);
    if (!v) return {std::nullopt, v.failure};
    if (!allowNegative && *t < 0) return {std::nullopt, numError()};
    return {TArgs{*t, *v}, {}};
}

// T.DIST.2T(x, deg_freedom) — two tails of Student's t beyond ±x
FormulaValue tDistTwoTailed(FunctionContext& c) {
    auto a = tArgs(c, false);
    if (!a) return a.failure;
    return finiteOrNumError(2 * math::cdf(math::complement(StudentsT(a->degrees), a->t)));
}

// T.DIST.RT(x, deg_freedom) — right tail of Student's t
FormulaValue tDistRight(FunctionContext& c) {
    auto a = tArgs(c, true);
    if (!a) return a.failure;
    return finiteOrNumError(math::cdf(math::complement(StudentsT(a->degrees), a->t)));
}

// TDIST(x, deg_freedom, tails) — one or two tails of Student's t beyond x ≥ 0
FormulaValue tDistLegacy(FunctionContext& c) {
    auto a = tArgs(c, false);
    if (!a) return a.failure;
    auto tails = truncatedArg(c, 2);
    if (!tails) return tails.failure;
    if (*tails != 1 && *tails != 2) return numError();
    return finiteOrNumError(*tails * math::cdf(math::complement(StudentsT(a->degrees), a->t)));
}

// T.INV(probability, deg_freedom) — inverse of the left tail of Student's t
FormulaValue tInv(FunctionContext& c) {
    auto p = declaredNumber(c, 0);
    if (!p) return p.failure;
    auto v = degreesArg(c, 1);
    if (!v) return v.failure;
    if (*p <= 0 || *p >= 1) return numError();
    return finiteOrNumError(math::quantile(StudentsT(*v), *p));
}

// T.INV.2T(probability, deg_freedom) — the t whose two tails hold probability
FormulaValue tInvTwoTailed(FunctionContext& c) {
    auto p = declaredNumber(c, 0);
    if (!p) return p.failure;
    auto v = degreesArg(c, 1);
    if (!v) return v.failure;
    if (*p <= 0 || *p > 1) return numError();
    return finiteOrNumError(math::quantile(math::complement(StudentsT(*v), *p / 2)));
}

// CONFIDENCE.NORM(alpha, standard_dev, size) — half-width of a normal
// confidence interval; CONFIDENCE.T the same with Student's t
FormulaValue confidenceInterval(FunctionContext& c, bool studentsT) {
    auto alpha = declaredNumber(c, 0), sd = declaredNumber(c, 1);
    if (!alpha) return alpha.failure;
    if (!sd) return sd.failure;
    auto size = truncatedArg(c, 2);
    if (!size) return size.failure;
    if (*alpha <= 0 || *alpha >= 1 || *sd <= 0 || *size < 1) return numError();
    if (studentsT && *size == 1) return err(ErrorKind::divisionByZero);
    const double q = studentsT ? math::quantile(math::complement(StudentsT(*size - 1), *alpha / 2))
                               : math::quantile(math::complement(Normal(), *alpha / 2));
    return finiteOrNumError(q * *sd / std::sqrt(*size));
}
FormulaValue confidenceNorm(FunctionContext& c) {
    return confidenceInterval(c, false);
}
FormulaValue confidenceT(FunctionContext& c) {
    return confidenceInterval(c, true);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDistributionFunctions[] = {
    {"NORM.S.DIST", normSDist, exactly(2), numberArgRule, none, "NORM.S.DIST(z, cumulative)", "Returns the standard normal distribution."},
    {"PHI", phi, exactly(1), numberArgRule, none, "PHI(x)", "Returns the density of the standard normal distribution."},
    {"GAUSS", gauss, exactly(1), numberArgRule, none, "GAUSS(z)", "Returns the probability that a standard normal value lies between the mean and z."},
    {"STANDARDIZE", standardize, exactly(3), numberArgRule, none, "STANDARDIZE(x, mean, standard_dev)", "Returns a normalised value."},
    {"LOGNORM.DIST", lognormDist, exactly(4), numberArgRule, none, "LOGNORM.DIST(x, mean, standard_dev, cumulative)", "Returns the log-normal distribution."},
    {"LOGNORMDIST", lognormDist, exactly(3), numberArgRule, none, "LOGNORMDIST(x, mean, standard_dev)", "Returns the cumulative log-normal distribution."},
    {"LOGNORM.INV", lognormInv, exactly(3), numberArgRule, none, "LOGNORM.INV(probability, mean, standard_dev)", "Returns the inverse of the log-normal distribution."},
    {"LOGINV", lognormInv, exactly(3), numberArgRule, none, "LOGINV(probability, mean, standard_dev)", "Returns the inverse of the log-normal distribution."},
    {"WEIBULL.DIST", weibullDist, exactly(4), numberArgRule, none, "WEIBULL.DIST(x, alpha, beta, cumulative)", "Returns the Weibull distribution."},
    {"WEIBULL", weibullDist, exactly(4), numberArgRule, none, "WEIBULL(x, alpha, beta, cumulative)", "Returns the Weibull distribution."},
    {"GAMMA.DIST", gammaDist, exactly(4), numberArgRule, none, "GAMMA.DIST(x, alpha, beta, cumulative)", "Returns the gamma distribution."},
    {"GAMMADIST", gammaDist, exactly(4), numberArgRule, none, "GAMMADIST(x, alpha, beta, cumulative)", "Returns the gamma distribution."},
    {"GAMMA.INV", gammaInv, exactly(3), numberArgRule, none, "GAMMA.INV(probability, alpha, beta)", "Returns the inverse of the gamma distribution."},
    {"GAMMAINV", gammaInv, exactly(3), numberArgRule, none, "GAMMAINV(probability, alpha, beta)", "Returns the inverse of the gamma distribution."},
    {"BETA.DIST", betaDist, between(4, 6), numberArgRule, none, "BETA.DIST(x, alpha, beta, cumulative, A, B)", "Returns the beta distribution."},
    {"BETADIST", betaDistLegacy, between(3, 5), numberArgRule, none, "BETADIST(x, alpha, beta, A, B)", "Returns the cumulative beta distribution."},
    {"BETA.INV", betaInv, between(3, 5), numberArgRule, none, "BETA.INV(probability, alpha, beta, A, B)", "Returns the inverse of the beta distribution."},
    {"BETAINV", betaInv, between(3, 5), numberArgRule, none, "BETAINV(probability, alpha, beta, A, B)", "Returns the inverse of the beta distribution."},
    {"CHISQ.DIST", chisqDist, exactly(3), numberArgRule, none, "CHISQ.DIST(x, deg_freedom, cumulative)", "Returns the chi-squared distribution."},
    {"CHISQ.DIST.RT", chisqDistRight, exactly(2), numberArgRule, none, "CHISQ.DIST.RT(x, deg_freedom)", "Returns the right tail of the chi-squared distribution."},
    {"CHIDIST", chisqDistRight, exactly(2), numberArgRule, none, "CHIDIST(x, deg_freedom)", "Returns the right tail of the chi-squared distribution."},
    {"CHISQ.INV", chisqInv, exactly(2), numberArgRule, none, "CHISQ.INV(probability, deg_freedom)", "Returns the inverse of the left tail of the chi-squared distribution."},
    {"CHISQ.INV.RT", chisqInvRight, exactly(2), numberArgRule, none, "CHISQ.INV.RT(probability, deg_freedom)", "Returns the inverse of the right tail of the chi-squared distribution."},
    {"CHIINV", chisqInvRight, exactly(2), numberArgRule, none, "CHIINV(probability, deg_freedom)", "Returns the inverse of the right tail of the chi-squared distribution."},
    {"F.DIST", fDist, exactly(4), numberArgRule, none, "F.DIST(x, deg_freedom1, deg_freedom2, cumulative)", "Returns the F distribution."},
    {"F.DIST.RT", fDistRight, exactly(3), numberArgRule, none, "F.DIST.RT(x, deg_freedom1, deg_freedom2)", "Returns the right tail of the F distribution."},
    {"FDIST", fDistRight, exactly(3), numberArgRule, none, "FDIST(x, deg_freedom1, deg_freedom2)", "Returns the right tail of the F distribution."},
    {"F.INV", fInv, exactly(3), numberArgRule, none, "F.INV(probability, deg_freedom1, deg_freedom2)", "Returns the inverse of the F distribution."},
    {"F.INV.RT", fInvRight, exactly(3), numberArgRule, none, "F.INV.RT(probability, deg_freedom1, deg_freedom2)", "Returns the inverse of the right tail of the F distribution."},
    {"FINV", fInvRight, exactly(3), numberArgRule, none, "FINV(probability, deg_freedom1, deg_freedom2)", "Returns the inverse of the right tail of the F distribution."},
    {"T.DIST.2T", tDistTwoTailed, exactly(2), numberArgRule, none, "T.DIST.2T(x, deg_freedom)", "Returns the two-tailed Student's t distribution."},
    {"T.DIST.RT", tDistRight, exactly(2), numberArgRule, none, "T.DIST.RT(x, deg_freedom)", "Returns the right tail of Student's t distribution."},
    {"TDIST", tDistLegacy, exactly(3), numberArgRule, none, "TDIST(x, deg_freedom, tails)", "Returns Student's t distribution."},
    {"T.INV", tInv, exactly(2), numberArgRule, none, "T.INV(probability, deg_freedom)", "Returns the inverse of the left tail of Student's t distribution."},
    {"T.INV.2T", tInvTwoTailed, exactly(2), numberArgRule, none, "T.INV.2T(probability, deg_freedom)", "Returns the inverse of the two-tailed Student's t distribution."},
    {"TINV", tInvTwoTailed, exactly(2), numberArgRule, none, "TINV(probability, deg_freedom)", "Returns the inverse of the two-tailed Student's t distribution."},
    {"CONFIDENCE.NORM", confidenceNorm, exactly(3), numberArgRule, none, "CONFIDENCE.NORM(alpha, standard_dev, size)", "Returns the confidence interval for a population mean."},
    {"CONFIDENCE.T", confidenceT, exactly(3), numberArgRule, none, "CONFIDENCE.T(alpha, standard_dev, size)", "Returns the confidence interval for a population mean, using Student's t."},
};
// clang-format on

} // namespace

void registerDistributionFunctions(FunctionRegistry& registry) {
    registry.add(FunctionFamily::statistical, kDistributionFunctions);
}

} // namespace sumora
