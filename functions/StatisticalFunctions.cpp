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
    if (c.argCount() < 2) return err(ErrorKind::invalidValue);
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

} // namespace

void registerStatisticalFunctions(FunctionRegistry& r) {
    r.add("SUMIF", conditional::sumIf);
    r.add("SUMIFS", conditional::sumIfs);
    r.add("COUNTIF", conditional::countIf);
    r.add("COUNTIFS", conditional::countIfs);
    r.add("AVERAGEIF", conditional::averageIf);
    r.add("AVERAGEIFS", conditional::averageIfs);
    r.add("MAXIFS", conditional::maxIfs);
    r.add("MINIFS", conditional::minIfs);

    r.add("AVERAGE", average);
    r.add("COUNT", count);
    r.add("COUNTA", countA);
    r.add("COUNTBLANK", countBlank);
    r.add("MIN", minimum);
    r.add("MAX", maximum);
    r.add("MEDIAN", median);
    r.add("MODE", mode);
    r.add("MODE.SNGL", mode);
    r.add("STDEV", stdevSample);
    r.add("STDEV.S", stdevSample);
    r.add("STDEVP", stdevPopulation);
    r.add("STDEV.P", stdevPopulation);
    r.add("VAR", varSample);
    r.add("VAR.S", varSample);
    r.add("VARP", varPopulation);
    r.add("VAR.P", varPopulation);
    r.add("LARGE", large);
    r.add("SMALL", small);
    r.add("RANK", rank);
    r.add("RANK.EQ", rank);
    r.add("PERCENTILE", percentile);
    r.add("QUARTILE", quartile);
    r.add("PERCENTRANK", percentRank);
    r.add("FORECAST", forecast);
    r.add("CORREL", correl);
    r.add("SLOPE", slope);
    r.add("INTERCEPT", intercept);
    r.add("FREQUENCY", frequency);
    r.add("TRIMMEAN", trimMean);
    r.add("GEOMEAN", geoMean);
    r.add("HARMEAN", harMean);
    r.add("AVEDEV", aveDev);
    r.add("DEVSQ", devSq);
    r.add("SKEW", skew);

    r.add("FISHER", distributions::fisher);
    r.add("FISHERINV", distributions::fisherInv);
    r.add("CONFIDENCE", distributions::confidence);
    r.add("NORM.DIST", distributions::normDist);
    r.add("NORMDIST", distributions::normDist);
    r.add("NORMSDIST", distributions::normSDist);
    r.add("NORM.INV", distributions::normInverse);
    r.add("NORMINV", distributions::normInverse);
    r.add("NORM.S.INV", distributions::normSInverse);
    r.add("NORMSINV", distributions::normSInverse);
    r.add("POISSON", distributions::poisson);
    r.add("POISSON.DIST", distributions::poisson);
    r.add("BINOM.DIST", distributions::binomDist);
    r.add("BINOMDIST", distributions::binomDist);
    r.add("EXPON.DIST", distributions::exponDist);
    r.add("EXPONDIST", distributions::exponDist);
    r.add("T.DIST", distributions::tDist);
}

} // namespace sumora
