// The discrete distributions beyond BINOM.DIST and POISSON: binomial ranges
// and inverse, hypergeometric and negative binomial, with their legacy
// names. Counts are truncated; argument errors pass through and domain
// errors are "#NUM!".
#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/hypergeometric.hpp>
#include <boost/math/distributions/negative_binomial.hpp>

#include "engine/FunctionRegistry.h"
#include "functions/DistributionSupport.h"

namespace sumora {

namespace {

using Binomial = math::binomial_distribution<double, QuietPolicy>;
using NegativeBinomial = math::negative_binomial_distribution<double, QuietPolicy>;
using Hypergeometric = math::hypergeometric_distribution<double, QuietPolicy>;

// Beyond this the counts of the hypergeometric distribution no longer fit
// the unsigned integers it is computed with.
constexpr double kMaxPopulation = 4e9;

FormulaValue numError() {
    return err(ErrorKind::invalidNumber);
}

// BINOM.DIST.RANGE(trials, probability_s, number_s, [number_s2]) — probability
// of number_s to number_s2 successes (just number_s when the last is missing)
FormulaValue binomDistRange(FunctionContext& c) {
    auto n = truncatedArg(c, 0);
    if (!n) return n.failure;
    auto p = declaredNumber(c, 1);
    if (!p) return p.failure;
    auto low = truncatedArg(c, 2);
    if (!low) return low.failure;
    auto high = c.hasArg(3) ? truncatedArg(c, 3) : low;
    if (!high) return high.failure;
    if (*n < 0 || *p < 0 || *p > 1 || *low < 0 || *low > *n || *high < *low || *high > *n) return numError();
    Binomial d(*n, *p);
    const double below = *low > 0 ? math::cdf(d, *low - 1) : 0;
    if (*high == *low) return finiteOrNumError(math::pdf(d, *low));
    return finiteOrNumError(std::max(0.0, math::cdf(d, *high) - below));
}

// BINOM.INV(trials, probability_s, alpha) — smallest number of successes whose
// cumulative binomial probability reaches alpha
FormulaValue binomInv(FunctionContext& c) {
    auto n = truncatedArg(c, 0);
    if (!n) return n.failure;
    auto p = declaredNumber(c, 1), alpha = declaredNumber(c, 2);
    if (!p) return p.failure;
    if (!alpha) return alpha.failure;
    if (*n < 0 || *p < 0 || *p > 1 || *alpha < 0 || *alpha > 1) return numError();
    if (*p == 0 || *alpha == 0) return num(0);
    if (*p == 1) return num(*n);
    Binomial d(*n, *p);
    // The quantile is a guess that may sit one step off on a rounding edge:
    // walk to the first count whose cumulative probability reaches alpha.
    double k = std::floor(math::quantile(d, *alpha));
    if (!std::isfinite(k)) return numError();
    k = std::clamp(k, 0.0, *n);
    while (k > 0 && math::cdf(d, k - 1) >= *alpha)
        k -= 1;
    while (k < *n && math::cdf(d, k) < *alpha)
        k += 1;
    return num(k);
}

// HYPGEOM.DIST(sample_s, number_sample, population_s, number_pop, [cumulative])
// — hypergeometric distribution; HYPGEOMDIST has no flag and gives the mass
FormulaValue hypgeomDist(FunctionContext& c) {
    auto k = truncatedArg(c, 0), n = truncatedArg(c, 1), successes = truncatedArg(c, 2),
         population = truncatedArg(c, 3);
    if (!k) return k.failure;
    if (!n) return n.failure;
    if (!successes) return successes.failure;
    if (!population) return population.failure;
    auto cumulative = boolArgOr(c, 4, false);
    if (!cumulative) return cumulative.failure;
    if (*k < 0 || *n <= 0 || *successes <= 0 || *population <= 0 || *population > kMaxPopulation ||
        *n > *population || *successes > *population || *k > std::min(*n, *successes) ||
        *k < std::max(0.0, *n - *population + *successes))
        return numError();
    Hypergeometric d(static_cast<unsigned>(*successes), static_cast<unsigned>(*n),
                     static_cast<unsigned>(*population));
    const auto at = static_cast<unsigned>(*k);
    return finiteOrNumError(*cumulative ? math::cdf(d, at) : math::pdf(d, at));
}

// NEGBINOM.DIST(number_f, number_s, probability_s, [cumulative]) — probability
// of number_f failures before the number_s-th success; NEGBINOMDIST gives the mass
FormulaValue negbinomDist(FunctionContext& c) {
    auto failures = truncatedArg(c, 0), successes = truncatedArg(c, 1);
    if (!failures) return failures.failure;
    if (!successes) return successes.failure;
    auto p = declaredNumber(c, 2);
    if (!p) return p.failure;
    auto cumulative = boolArgOr(c, 3, false);
    if (!cumulative) return cumulative.failure;
    if (*failures < 0 || *successes < 1 || *p < 0 || *p > 1) return numError();
    if (*p == 0) return num(0);
    NegativeBinomial d(*successes, *p);
    return finiteOrNumError(*cumulative ? math::cdf(d, *failures) : math::pdf(d, *failures));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDiscreteDistributionFunctions[] = {
    {"BINOM.DIST.RANGE", binomDistRange, between(3, 4), numberArgRule, none, "BINOM.DIST.RANGE(trials, probability_s, number_s, number_s2)", "Returns the probability of a range of binomial outcomes."},
    {"BINOM.INV", binomInv, exactly(3), numberArgRule, none, "BINOM.INV(trials, probability_s, alpha)", "Returns the smallest count whose cumulative binomial probability reaches alpha."},
    {"CRITBINOM", binomInv, exactly(3), numberArgRule, none, "CRITBINOM(trials, probability_s, alpha)", "Returns the smallest count whose cumulative binomial probability reaches alpha."},
    {"HYPGEOM.DIST", hypgeomDist, exactly(5), numberArgRule, none, "HYPGEOM.DIST(sample_s, number_sample, population_s, number_pop, cumulative)", "Returns the hypergeometric distribution."},
    {"HYPGEOMDIST", hypgeomDist, exactly(4), numberArgRule, none, "HYPGEOMDIST(sample_s, number_sample, population_s, number_pop)", "Returns the hypergeometric distribution."},
    {"NEGBINOM.DIST", negbinomDist, exactly(4), numberArgRule, none, "NEGBINOM.DIST(number_f, number_s, probability_s, cumulative)", "Returns the negative binomial distribution."},
    {"NEGBINOMDIST", negbinomDist, exactly(3), numberArgRule, none, "NEGBINOMDIST(number_f, number_s, probability_s)", "Returns the negative binomial distribution."},
};
// clang-format on

} // namespace

void registerDiscreteDistributionFunctions(FunctionRegistry& registry) {
    registry.add(FunctionFamily::statistical, kDiscreteDistributionFunctions);
}

} // namespace sumora
