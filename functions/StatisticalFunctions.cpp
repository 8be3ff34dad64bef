// The statistical family: descriptive statistics and regression here; the
// conditional aggregates (ConditionalAggregates.cpp) and the distributions
// (StatisticalDistributions.cpp) are registered from here too.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <unordered_map>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/ConditionalAggregates.h"
#include "functions/MathSupport.h"
#include "functions/StatisticalDistributions.h"

namespace sumora {

namespace {

// A cell whose text is "nan" reads as a NaN number; it has no place in an
// order, and sorting with it would break the comparison's contract.
bool hasNaN(const std::vector<double>& xs) {
    return std::any_of(xs.begin(), xs.end(), [](double x) { return std::isnan(x); });
}

double sumOf(const std::vector<double>& xs) {
    return std::accumulate(xs.begin(), xs.end(), 0.0);
}

double meanOf(const std::vector<double>& xs) {
    return sumOf(xs) / static_cast<double>(xs.size());
}

// Sum of squared deviations from the mean, in two passes for accuracy.
double squaredDeviations(const std::vector<double>& xs) {
    double m = meanOf(xs), s = 0;
    for (double x : xs)
        s += (x - m) * (x - m);
    return s;
}

// Variance with divisor n − 1 (sample) or n (population); "#DIV/0!" when
// there are too few numbers.
FormulaValue variance(FunctionContext& c, bool sample, bool root) {
    std::vector<double> xs = c.resolveNumbers();
    size_t minimum = sample ? 2 : 1;
    if (xs.size() < minimum) return err(ErrorKind::divisionByZero);
    double v = squaredDeviations(xs) / static_cast<double>(xs.size() - (sample ? 1 : 0));
    return num(root ? std::sqrt(v) : v);
}

// AVERAGE(number1, number2, ...) — arithmetic mean
FormulaValue average(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    if (xs.empty()) return err(ErrorKind::divisionByZero);
    return num(meanOf(xs));
}

// COUNT(value1, value2, ...) — how many numbers the arguments hold
FormulaValue count(FunctionContext& c) {
    return num(static_cast<double>(c.resolveNumbers().size()));
}

// COUNTA(value1, value2, ...) — how many values are not empty
FormulaValue countA(FunctionContext& c) {
    double n = 0;
    for (size_t i = 0; i < c.argCount(); ++i)
        n += static_cast<double>(c.sparseValues(i).entries.size());
    return num(n);
}

// COUNTBLANK(range) — empty cells, and cells whose text is empty
FormulaValue countBlank(FunctionContext& c) {
    double n = 0;
    for (size_t i = 0; i < c.argCount(); ++i) {
        SparseRange values = c.sparseValues(i);
        n += static_cast<double>(values.size() - static_cast<int64_t>(values.entries.size()));
        for (const RangeEntry& e : values.entries)
            if (e.value.isText() && e.value.textValue().empty()) n += 1;
    }
    return num(n);
}

// MIN(number1, number2, ...) — smallest number; 0 when there is none
FormulaValue minimum(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    return num(xs.empty() ? 0 : *std::min_element(xs.begin(), xs.end()));
}

// MAX(number1, number2, ...) — largest number; 0 when there is none
FormulaValue maximum(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    return num(xs.empty() ? 0 : *std::max_element(xs.begin(), xs.end()));
}

// MEDIAN(number1, number2, ...) — middle value, or mean of the two middle ones
FormulaValue median(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    if (xs.empty() || hasNaN(xs)) return err(ErrorKind::invalidNumber);
    size_t mid = xs.size() / 2;
    std::nth_element(xs.begin(), xs.begin() + static_cast<ptrdiff_t>(mid), xs.end());
    double upper = xs[mid];
    if (xs.size() % 2 == 1) return num(upper);
    double lower = *std::max_element(xs.begin(), xs.begin() + static_cast<ptrdiff_t>(mid));
    return num(lower + (upper - lower) / 2);
}

// MODE(number1, number2, ...) — most frequent number, the first to occur on
// a tie; "#N/A" when no number repeats
FormulaValue mode(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    std::unordered_map<double, size_t> counts;
    for (double x : xs)
        ++counts[x];
    size_t best = 1;
    std::optional<double> winner;
    for (double x : xs) {
        size_t n = counts[x];
        if (n > best) {
            best = n;
            winner = x;
        }
    }
    return winner ? num(*winner) : err(ErrorKind::notAvailable);
}

// STDEV(number1, number2, ...) — sample standard deviation
FormulaValue stdevSample(FunctionContext& c) {
    return variance(c, true, true);
}
// STDEVP(number1, number2, ...) — population standard deviation
FormulaValue stdevPopulation(FunctionContext& c) {
    return variance(c, false, true);
}
// VAR(number1, number2, ...) — sample variance
FormulaValue varSample(FunctionContext& c) {
    return variance(c, true, false);
}
// VARP(number1, number2, ...) — population variance
FormulaValue varPopulation(FunctionContext& c) {
    return variance(c, false, false);
}

// The k-th number from the top (largest) or the bottom; k is truncated.
FormulaValue kth(FunctionContext& c, bool largest) {
    std::vector<double> xs;
    c.appendNumbers(0, xs);
    auto k = c.evalNum(1);
    if (!k) return err(ErrorKind::invalidValue);
    double rank = std::trunc(*k);
    if (!(rank >= 1 && rank <= static_cast<double>(xs.size())) || hasNaN(xs))
        return err(ErrorKind::invalidNumber);
    auto at = xs.begin() + static_cast<ptrdiff_t>(rank - 1);
    if (largest)
        std::nth_element(xs.begin(), at, xs.end(), std::greater<double>());
    else
        std::nth_element(xs.begin(), at, xs.end());
    return num(*at);
}

// LARGE(array, k) — k-th largest
FormulaValue large(FunctionContext& c) {
    return kth(c, true);
}
// SMALL(array, k) — k-th smallest
FormulaValue small(FunctionContext& c) {
    return kth(c, false);
}

// RANK(number, ref, order) — 1 + how many numbers are larger (order 0) or
// smaller (order ≠ 0); ties share a rank
FormulaValue rank(FunctionContext& c) {
    auto x = c.evalNum(0);
    auto order = c.evalNumOr(2, 0);
    if (!x || !order || c.argCount() < 2) return err(ErrorKind::invalidValue);
    std::vector<double> xs;
    c.appendNumbers(1, xs);
    if (std::find(xs.begin(), xs.end(), *x) == xs.end()) return err(ErrorKind::notAvailable);
    auto ahead = [&](double v) { return *order == 0 ? v > *x : v < *x; };
    return num(1 + static_cast<double>(std::count_if(xs.begin(), xs.end(), ahead)));
}

// Inclusive percentile of sorted numbers: linear between closest ranks.
double percentileOfSorted(const std::vector<double>& sorted, double k) {
    double position = k * static_cast<double>(sorted.size() - 1);
    size_t lower = static_cast<size_t>(std::floor(position));
    double fraction = position - static_cast<double>(lower);
    if (lower + 1 >= sorted.size()) return sorted.back();
    return sorted[lower] + fraction * (sorted[lower + 1] - sorted[lower]);
}

FormulaValue percentileOf(FunctionContext& c, double k) {
    std::vector<double> xs;
    c.appendNumbers(0, xs);
    if (xs.empty() || !(k >= 0 && k <= 1) || hasNaN(xs)) return err(ErrorKind::invalidNumber);
    std::sort(xs.begin(), xs.end());
    return num(percentileOfSorted(xs, k));
}

// PERCENTILE(array, k) — inclusive k-th percentile, 0 ≤ k ≤ 1
FormulaValue percentile(FunctionContext& c) {
    auto k = c.evalNum(1);
    if (!k) return err(ErrorKind::invalidValue);
    return percentileOf(c, *k);
}

// QUARTILE(array, quart) — quart (truncated, 0 to 4) quarters of the way up
FormulaValue quartile(FunctionContext& c) {
    auto q = c.evalNum(1);
    if (!q) return err(ErrorKind::invalidValue);
    double quart = std::trunc(*q);
    if (!(quart >= 0 && quart <= 4)) return err(ErrorKind::invalidNumber);
    return percentileOf(c, quart / 4);
}

// Floor of the 15-digit value, so that 0.7 * 1000 floors to 700, not 699.
double tolerantFloor(double x) {
    return std::floor(approxValue(x));
}

// PERCENTRANK(array, x, significance) — inclusive rank of x as a fraction,
// interpolated between neighbours, truncated to `significance` digits (3)
FormulaValue percentRank(FunctionContext& c) {
    auto x = c.evalNum(1);
    auto digits = c.evalNumOr(2, 3);
    if (!x || !digits) return err(ErrorKind::invalidValue);
    std::vector<double> xs;
    c.appendNumbers(0, xs);
    double significance = std::trunc(*digits);
    if (xs.empty() || !(significance >= 1) || std::isnan(*x) || hasNaN(xs))
        return err(ErrorKind::invalidNumber);
    // Beyond fifteen digits a double has nothing left to truncate.
    significance = std::min(significance, 15.0);
    std::sort(xs.begin(), xs.end());
    if (*x < xs.front() || *x > xs.back()) return err(ErrorKind::notAvailable);
    double fraction = 1;
    if (xs.size() > 1) {
        size_t below = static_cast<size_t>(std::lower_bound(xs.begin(), xs.end(), *x) - xs.begin());
        double position = static_cast<double>(below);
        if (xs[below] != *x) position += (*x - xs[below - 1]) / (xs[below] - xs[below - 1]) - 1;
        fraction = position / static_cast<double>(xs.size() - 1);
    }
    double scale = std::pow(10.0, significance);
    return num(tolerantFloor(fraction * scale) / scale);
}

// The positions of two ranges at which both hold numbers.
struct Pairs {
    std::vector<double> xs, ys;
    bool mismatched = false;
};

Pairs numericPairs(FunctionContext& c, size_t xArg, size_t yArg) {
    Pairs p;
    std::vector<FormulaValue> xs = c.resolveValues(xArg), ys = c.resolveValues(yArg);
    if (xs.size() != ys.size()) {
        p.mismatched = true;
        return p;
    }
    for (size_t i = 0; i < xs.size(); ++i)
        if (xs[i].isNumber() && ys[i].isNumber()) {
            p.xs.push_back(xs[i].numberValue());
            p.ys.push_back(ys[i].numberValue());
        }
    return p;
}

struct LeastSquares {
    double meanX = 0, meanY = 0, sxx = 0, syy = 0, sxy = 0;
};

LeastSquares leastSquares(const Pairs& p) {
    LeastSquares ls;
    ls.meanX = meanOf(p.xs);
    ls.meanY = meanOf(p.ys);
    for (size_t i = 0; i < p.xs.size(); ++i) {
        double dx = p.xs[i] - ls.meanX, dy = p.ys[i] - ls.meanY;
        ls.sxx += dx * dx;
        ls.syy += dy * dy;
        ls.sxy += dx * dy;
    }
    return ls;
}

// The error of a regression over these pairs, if any: ranges of different
// sizes have no pairing, and one pair fixes no line.
std::optional<FormulaValue> regressionError(FunctionContext& c, const Pairs& p) {
    if (c.argCount() < 2 || p.mismatched) return err(ErrorKind::notAvailable);
    if (p.xs.size() < 2) return err(ErrorKind::divisionByZero);
    return std::nullopt;
}

// SLOPE(known_ys, known_xs) — slope of the least-squares line
FormulaValue slope(FunctionContext& c) {
    Pairs p = numericPairs(c, 1, 0);
    if (auto e = regressionError(c, p)) return *e;
    LeastSquares ls = leastSquares(p);
    if (ls.sxx == 0) return err(ErrorKind::divisionByZero);
    return num(ls.sxy / ls.sxx);
}

// INTERCEPT(known_ys, known_xs) — where the least-squares line meets x = 0
FormulaValue intercept(FunctionContext& c) {
    Pairs p = numericPairs(c, 1, 0);
    if (auto e = regressionError(c, p)) return *e;
    LeastSquares ls = leastSquares(p);
    if (ls.sxx == 0) return err(ErrorKind::divisionByZero);
    return num(ls.meanY - ls.sxy / ls.sxx * ls.meanX);
}

// FORECAST(x, known_ys, known_xs) — the least-squares line's value at x
FormulaValue forecast(FunctionContext& c) {
    auto x = c.evalNum(0);
    if (!x || c.argCount() < 3) return err(ErrorKind::invalidValue);
    Pairs p = numericPairs(c, 2, 1);
    if (p.mismatched) return err(ErrorKind::notAvailable);
    if (p.xs.size() < 2) return err(ErrorKind::divisionByZero);
    LeastSquares ls = leastSquares(p);
    if (ls.sxx == 0) return err(ErrorKind::divisionByZero);
    return num(ls.meanY + ls.sxy / ls.sxx * (*x - ls.meanX));
}

// CORREL(array1, array2) — Pearson correlation coefficient
FormulaValue correl(FunctionContext& c) {
    Pairs p = numericPairs(c, 0, 1);
    if (auto e = regressionError(c, p)) return *e;
    LeastSquares ls = leastSquares(p);
    if (ls.sxx == 0 || ls.syy == 0) return err(ErrorKind::divisionByZero);
    return num(ls.sxy / std::sqrt(ls.sxx * ls.syy));
}

// FREQUENCY(data_array, bins_array) — counts of data up to each bin (in
// ascending bin order, placed at the bin's own position), then the count
// above the largest bin, as a vertical array
FormulaValue frequency(FunctionContext& c) {
    std::vector<double> data, bins;
    c.appendNumbers(0, data);
    c.appendNumbers(1, bins);
    if (hasNaN(data) || hasNaN(bins)) return err(ErrorKind::invalidNumber);
    std::vector<size_t> order(bins.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return bins[a] < bins[b]; });
    std::vector<double> counts(bins.size() + 1, 0);
    for (double x : data) {
        auto slot = std::partition_point(order.begin(), order.end(), [&](size_t i) { return bins[i] < x; });
        counts[slot == order.end() ? bins.size() : *slot] += 1;
    }
    ValueRows rows;
    for (double n : counts)
        rows.push_back({num(n)});
    return FormulaValue::array(std::move(rows));
}

// TRIMMEAN(array, percent) — mean without the given fraction of extremes,
// rounded down to an even count split between both ends
FormulaValue trimMean(FunctionContext& c) {
    auto percent = c.evalNum(1);
    if (!percent) return err(ErrorKind::invalidValue);
    std::vector<double> xs;
    c.appendNumbers(0, xs);
    if (xs.empty() || !(*percent >= 0 && *percent < 1) || hasNaN(xs)) return err(ErrorKind::invalidNumber);
    std::sort(xs.begin(), xs.end());
    size_t trim = static_cast<size_t>(tolerantFloor(*percent * static_cast<double>(xs.size()))) / 2;
    std::vector<double> kept(xs.begin() + static_cast<ptrdiff_t>(trim),
                             xs.end() - static_cast<ptrdiff_t>(trim));
    return num(meanOf(kept));
}

// GEOMEAN(number1, ...) — geometric mean of positive numbers
FormulaValue geoMean(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    if (xs.empty()) return err(ErrorKind::invalidNumber);
    double logSum = 0;
    for (double x : xs) {
        if (x <= 0) return err(ErrorKind::invalidNumber);
        logSum += std::log(x);
    }
    return finiteOrNumError(std::exp(logSum / static_cast<double>(xs.size())));
}

// HARMEAN(number1, ...) — harmonic mean of positive numbers
FormulaValue harMean(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    if (xs.empty()) return err(ErrorKind::invalidNumber);
    double reciprocals = 0;
    for (double x : xs) {
        if (x <= 0) return err(ErrorKind::invalidNumber);
        reciprocals += 1 / x;
    }
    return num(static_cast<double>(xs.size()) / reciprocals);
}

// AVEDEV(number1, ...) — mean absolute deviation from the mean
FormulaValue aveDev(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    if (xs.empty()) return err(ErrorKind::invalidNumber);
    double m = meanOf(xs), s = 0;
    for (double x : xs)
        s += std::fabs(x - m);
    return num(s / static_cast<double>(xs.size()));
}

// DEVSQ(number1, ...) — sum of squared deviations from the mean
FormulaValue devSq(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    if (xs.empty()) return err(ErrorKind::invalidNumber);
    return num(squaredDeviations(xs));
}

// SKEW(number1, ...) — sample skewness; needs three numbers that differ
FormulaValue skew(FunctionContext& c) {
    std::vector<double> xs = c.resolveNumbers();
    double n = static_cast<double>(xs.size());
    if (n < 3) return err(ErrorKind::divisionByZero);
    double m = meanOf(xs);
    double sd = std::sqrt(squaredDeviations(xs) / (n - 1));
    if (sd == 0) return err(ErrorKind::divisionByZero);
    double cubes = 0;
    for (double x : xs)
        cubes += std::pow((x - m) / sd, 3);
    return num(n / ((n - 1) * (n - 2)) * cubes);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kStatisticalFunctions[] = {
    {"AVERAGE", average, anyCount, evalNumRule, listed, "AVERAGE(number1, number2, ...)", "Returns the arithmetic mean."},
    {"AVERAGEIF", conditional::averageIf, atLeast(2), evalNumRule, listed, "AVERAGEIF(range, criteria, avg_range)", "Averages cells that meet a condition."},
    {"AVERAGEIFS", conditional::averageIfs, anyCount, evalNumRule, listed, "AVERAGEIFS(avg_range, range1, criteria1, ...)", "Averages cells that meet multiple conditions."},
    {"COUNT", count, anyCount, evalNumRule, listed, "COUNT(value1, value2, ...)", "Counts cells that contain numbers."},
    {"COUNTA", countA, anyCount, evalNumRule, listed, "COUNTA(value1, value2, ...)", "Counts non-empty cells."},
    {"COUNTBLANK", countBlank, anyCount, evalNumRule, listed, "COUNTBLANK(range)", "Counts empty cells in a range."},
    {"COUNTIF", conditional::countIf, atLeast(2), evalNumRule, listed, "COUNTIF(range, criteria)", "Counts cells that meet a condition."},
    {"COUNTIFS", conditional::countIfs, anyCount, evalNumRule, listed, "COUNTIFS(range1, criteria1, ...)", "Counts cells that meet multiple conditions."},
    {"MIN", minimum, anyCount, evalNumRule, listed, "MIN(number1, number2, ...)", "Returns the smallest value."},
    {"MAX", maximum, anyCount, evalNumRule, listed, "MAX(number1, number2, ...)", "Returns the largest value."},
    {"MEDIAN", median, anyCount, evalNumRule, listed, "MEDIAN(number1, number2, ...)", "Returns the median of the given numbers."},
    {"MODE", mode, anyCount, evalNumRule, listed, "MODE(number1, number2, ...)", "Returns the most frequently occurring value."},
    {"STDEV", stdevSample, anyCount, evalNumRule, listed, "STDEV(number1, number2, ...)", "Estimates standard deviation based on a sample."},
    {"STDEVP", stdevPopulation, anyCount, evalNumRule, listed, "STDEVP(number1, number2, ...)", "Calculates standard deviation for entire population."},
    {"VAR", varSample, anyCount, evalNumRule, listed, "VAR(number1, number2, ...)", "Estimates variance based on a sample."},
    {"VARP", varPopulation, anyCount, evalNumRule, listed, "VARP(number1, number2, ...)", "Calculates variance for entire population."},
    {"LARGE", large, anyCount, evalNumRule, listed, "LARGE(array, k)", "Returns the k-th largest value."},
    {"SMALL", small, anyCount, evalNumRule, listed, "SMALL(array, k)", "Returns the k-th smallest value."},
    {"RANK", rank, anyCount, evalNumRule, listed, "RANK(number, ref, order)", "Returns the rank of a number in a list."},
    {"PERCENTILE", percentile, anyCount, evalNumRule, listed, "PERCENTILE(array, k)", "Returns the k-th percentile of values."},
    {"QUARTILE", quartile, anyCount, evalNumRule, listed, "QUARTILE(array, quart)", "Returns the quartile of a data set."},
    {"FORECAST", forecast, anyCount, evalNumRule, listed, "FORECAST(x, known_ys, known_xs)", "Predicts a future value along a linear trend."},
    {"CORREL", correl, anyCount, evalNumRule, listed, "CORREL(array1, array2)", "Returns the correlation coefficient."},
    {"SLOPE", slope, anyCount, evalNumRule, listed, "SLOPE(known_ys, known_xs)", "Returns the slope of a linear regression line."},
    {"INTERCEPT", intercept, anyCount, evalNumRule, listed, "INTERCEPT(known_ys, known_xs)", "Returns the intercept of a linear regression line."},
    {"FREQUENCY", frequency, atLeast(2), evalNumRule, listed | producesArray, "FREQUENCY(data_array, bins_array)", "Returns a frequency distribution as a vertical array."},
    {"MAXIFS", conditional::maxIfs, anyCount, evalNumRule, none},
    {"MINIFS", conditional::minIfs, anyCount, evalNumRule, none},
    {"MODE.SNGL", mode, anyCount, evalNumRule, none},
    {"STDEV.S", stdevSample, anyCount, evalNumRule, none},
    {"STDEV.P", stdevPopulation, anyCount, evalNumRule, none},
    {"VAR.S", varSample, anyCount, evalNumRule, none},
    {"VAR.P", varPopulation, anyCount, evalNumRule, none},
    {"RANK.EQ", rank, anyCount, evalNumRule, none},
    {"PERCENTRANK", percentRank, anyCount, evalNumRule, none},
    {"TRIMMEAN", trimMean, anyCount, evalNumRule, none},
    {"GEOMEAN", geoMean, anyCount, evalNumRule, none},
    {"HARMEAN", harMean, anyCount, evalNumRule, none},
    {"AVEDEV", aveDev, anyCount, evalNumRule, none},
    {"DEVSQ", devSq, anyCount, evalNumRule, none},
    {"SKEW", skew, anyCount, evalNumRule, none},
    {"FISHER", distributions::fisher, anyCount, evalNumRule, none},
    {"FISHERINV", distributions::fisherInv, anyCount, evalNumRule, none},
    {"CONFIDENCE", distributions::confidence, anyCount, evalNumRule, none},
    {"NORM.DIST", distributions::normDist, anyCount, evalNumRule, none},
    {"NORMDIST", distributions::normDist, anyCount, evalNumRule, none},
    {"NORMSDIST", distributions::normSDist, anyCount, evalNumRule, none},
    {"NORM.INV", distributions::normInverse, anyCount, evalNumRule, none},
    {"NORMINV", distributions::normInverse, anyCount, evalNumRule, none},
    {"NORM.S.INV", distributions::normSInverse, anyCount, evalNumRule, none},
    {"NORMSINV", distributions::normSInverse, anyCount, evalNumRule, none},
    {"POISSON", distributions::poisson, anyCount, evalNumRule, none},
    {"POISSON.DIST", distributions::poisson, anyCount, evalNumRule, none},
    {"BINOM.DIST", distributions::binomDist, anyCount, evalNumRule, none},
    {"BINOMDIST", distributions::binomDist, anyCount, evalNumRule, none},
    {"EXPON.DIST", distributions::exponDist, anyCount, evalNumRule, none},
    {"EXPONDIST", distributions::exponDist, anyCount, evalNumRule, none},
    {"T.DIST", distributions::tDist, anyCount, evalNumRule, none},
    {"PERCENTILE.INC", percentile, exactly(2), evalNumRule, none, "PERCENTILE.INC(array, k)", "Returns the k-th percentile of values."},
    {"QUARTILE.INC", quartile, exactly(2), evalNumRule, none, "QUARTILE.INC(array, quart)", "Returns the quartile of a data set."},
    {"PERCENTRANK.INC", percentRank, between(2, 3), evalNumRule, none, "PERCENTRANK.INC(array, x, significance)", "Returns the rank of a value as a percentage of the data set."},
    {"PEARSON", correl, exactly(2), evalNumRule, none, "PEARSON(array1, array2)", "Returns the Pearson correlation coefficient."},
    {"FORECAST.LINEAR", forecast, exactly(3), evalNumRule, none, "FORECAST.LINEAR(x, known_ys, known_xs)", "Predicts a future value along a linear trend."},
};
// clang-format on

} // namespace

void registerStatisticalFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::statistical, kStatisticalFunctions);
}

} // namespace sumora
