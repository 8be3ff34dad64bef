// Hypothesis tests over data: chi-squared, F, Student's t and z. Each returns
// the test's probability; errors inside the data pass through.
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>

#include "engine/FunctionRegistry.h"
#include "functions/ArrayFunctions.h"
#include "functions/DistributionSupport.h"
#include "functions/SampleMoments.h"

namespace sumora {

namespace {

// CHISQ.TEST(actual_range, expected_range) — probability of the chi-squared
// statistic of observed against expected counts; ranges of one row or column
// have n − 1 degrees, tables (r − 1)(c − 1)
FormulaValue chisqTest(FunctionContext& c) {
    auto actual = rowsArg(c, 0);
    if (!actual) return actual.failure;
    auto expected = rowsArg(c, 1);
    if (!expected) return expected.failure;
    const size_t rows = actual->size(), cols = actual->front().size();
    if (expected->size() != rows || expected->front().size() != cols) return err(ErrorKind::notAvailable);
    double statistic = 0;
    for (size_t r = 0; r < rows; ++r)
        for (size_t k = 0; k < cols; ++k) {
            const FormulaValue &a = (*actual)[r][k], &e = (*expected)[r][k];
            if (a.isError()) return a;
            if (e.isError()) return e;
            if (!a.isNumber() || !e.isNumber()) continue;
            if (e.numberValue() == 0) return err(ErrorKind::divisionByZero);
            if (e.numberValue() < 0) return err(ErrorKind::invalidNumber);
            const double d = a.numberValue() - e.numberValue();
            statistic += d * d / e.numberValue();
        }
    const double degrees = rows == 1 || cols == 1 ? static_cast<double>(rows * cols) - 1
                                                  : static_cast<double>((rows - 1) * (cols - 1));
    if (degrees < 1) return err(ErrorKind::notAvailable);
    math::chi_squared_distribution<double, QuietPolicy> d(degrees);
    return finiteOrNumError(math::cdf(math::complement(d, statistic)));
}

// F.TEST(array1, array2) — two-tailed probability that the variances of the
// two samples do not differ
FormulaValue fTest(FunctionContext& c) {
    auto xs = numbersArg(c, 0);
    if (!xs) return xs.failure;
    auto ys = numbersArg(c, 1);
    if (!ys) return ys.failure;
    if (xs->size() < 2 || ys->size() < 2) return err(ErrorKind::divisionByZero);
    const double vx = sampleVariance(*xs), vy = sampleVariance(*ys);
    if (vx == 0 || vy == 0) return err(ErrorKind::divisionByZero);
    math::fisher_f_distribution<double, QuietPolicy> d(static_cast<double>(xs->size() - 1),
                                                       static_cast<double>(ys->size() - 1));
    const double left = math::cdf(d, vx / vy);
    return finiteOrNumError(2 * std::min(left, 1 - left));
}

// The pairs of two equally long arguments at which both hold numbers;
// lengths that differ are "#N/A".
ArgValue<std::vector<double>> pairedDifferences(FunctionContext& c) {
    std::vector<FormulaValue> xs = c.resolveValues(0), ys = c.resolveValues(1);
    if (xs.size() != ys.size()) return {std::nullopt, err(ErrorKind::notAvailable)};
    std::vector<double> differences;
    for (size_t i = 0; i < xs.size(); ++i) {
        if (xs[i].isError()) return {std::nullopt, xs[i]};
        if (ys[i].isError()) return {std::nullopt, ys[i]};
        if (xs[i].isNumber() && ys[i].isNumber())
            differences.push_back(xs[i].numberValue() - ys[i].numberValue());
    }
    return {std::move(differences), {}};
}

// T.TEST(array1, array2, tails, type) — probability of Student's t test:
// type 1 paired, 2 two samples of equal variance, 3 of unequal variance
FormulaValue tTest(FunctionContext& c) {
    auto tails = truncatedArg(c, 2), type = truncatedArg(c, 3);
    if (!tails) return tails.failure;
    if (!type) return type.failure;
    if ((*tails != 1 && *tails != 2) || *type < 1 || *type > 3) return err(ErrorKind::invalidNumber);
    double t = 0, degrees = 0;
    if (*type == 1) {
        auto d = pairedDifferences(c);
        if (!d) return d.failure;
        if (d->size() < 2) return err(ErrorKind::divisionByZero);
        const double n = static_cast<double>(d->size()), v = sampleVariance(*d);
        if (v == 0) return err(ErrorKind::divisionByZero);
        t = meanOf(*d) / std::sqrt(v / n);
        degrees = n - 1;
    } else {
        auto xs = numbersArg(c, 0);
        if (!xs) return xs.failure;
        auto ys = numbersArg(c, 1);
        if (!ys) return ys.failure;
        if (xs->size() < 2 || ys->size() < 2) return err(ErrorKind::divisionByZero);
        const double n1 = static_cast<double>(xs->size()), n2 = static_cast<double>(ys->size());
        const double v1 = sampleVariance(*xs), v2 = sampleVariance(*ys);
        const double difference = meanOf(*xs) - meanOf(*ys);
        if (*type == 2) {
            degrees = n1 + n2 - 2;
            const double pooled = ((n1 - 1) * v1 + (n2 - 1) * v2) / degrees;
            t = difference / std::sqrt(pooled * (1 / n1 + 1 / n2));
        } else {
            const double a = v1 / n1, b = v2 / n2;
            t = difference / std::sqrt(a + b);
            degrees = (a + b) * (a + b) / (a * a / (n1 - 1) + b * b / (n2 - 1));
        }
        if (!std::isfinite(t)) return err(ErrorKind::divisionByZero);
    }
    math::students_t_distribution<double, QuietPolicy> d(degrees);
    return finiteOrNumError(*tails * math::cdf(math::complement(d, std::fabs(t))));
}

// Z.TEST(array, x, [sigma]) — one-tailed probability of the z test of x
// against the array's mean; sigma defaults to the sample deviation
FormulaValue zTest(FunctionContext& c) {
    auto xs = numbersArg(c, 0);
    if (!xs) return xs.failure;
    auto x = declaredNumber(c, 1);
    if (!x) return x.failure;
    if (xs->empty()) return err(ErrorKind::notAvailable);
    std::optional<double> sigma;
    if (c.hasArg(2)) {
        auto given = declaredNumber(c, 2);
        if (!given) return given.failure;
        sigma = *given;
    } else if (xs->size() > 1) {
        sigma = std::sqrt(sampleVariance(*xs));
    }
    if (!sigma || *sigma == 0) return err(ErrorKind::divisionByZero);
    if (*sigma < 0) return err(ErrorKind::invalidNumber);
    const double z = (meanOf(*xs) - *x) / (*sigma / std::sqrt(static_cast<double>(xs->size())));
    return finiteOrNumError(math::cdf(math::complement(math::normal_distribution<double, QuietPolicy>(), z)));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kStatisticalTestFunctions[] = {
    {"CHISQ.TEST", chisqTest, exactly(2), numberArgRule, none, "CHISQ.TEST(actual_range, expected_range)", "Returns the chi-squared test for independence."},
    {"CHITEST", chisqTest, exactly(2), numberArgRule, none, "CHITEST(actual_range, expected_range)", "Returns the chi-squared test for independence."},
    {"F.TEST", fTest, exactly(2), numberArgRule, none, "F.TEST(array1, array2)", "Returns the result of an F test."},
    {"FTEST", fTest, exactly(2), numberArgRule, none, "FTEST(array1, array2)", "Returns the result of an F test."},
    {"T.TEST", tTest, exactly(4), numberArgRule, none, "T.TEST(array1, array2, tails, type)", "Returns the probability of Student's t test."},
    {"TTEST", tTest, exactly(4), numberArgRule, none, "TTEST(array1, array2, tails, type)", "Returns the probability of Student's t test."},
    {"Z.TEST", zTest, between(2, 3), numberArgRule, none, "Z.TEST(array, x, sigma)", "Returns the one-tailed probability of a z test."},
    {"ZTEST", zTest, between(2, 3), numberArgRule, none, "ZTEST(array, x, sigma)", "Returns the one-tailed probability of a z test."},
};
// clang-format on

} // namespace

void registerStatisticalTestFunctions(FunctionRegistry& registry) {
    registry.add(FunctionFamily::statistical, kStatisticalTestFunctions);
}

} // namespace sumora
