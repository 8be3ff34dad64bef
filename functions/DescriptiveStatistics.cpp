// Descriptive statistics beyond the first set: exclusive percentiles and
// ranks, averaged ranks, all modes, covariances and the goodness of a line,
// population skewness and kurtosis, PROB, and the "A" aggregates that count
// text and truth values. Errors inside the data pass through.
#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/MathSupport.h"
#include "functions/SampleMoments.h"

namespace sumora {

namespace {

FormulaValue numError() {
    return err(ErrorKind::invalidNumber);
}

// The numbers of argument i (texts, truth values and empties in it are
// skipped); an error in it is the failure.
ArgValue<std::vector<double>> numbersOf(FunctionContext& c, size_t i) {
    std::vector<double> xs;
    for (const FormulaValue& v : c.resolveValues(i)) {
        if (v.isError()) return {std::nullopt, v};
        if (v.isNumber() && !std::isnan(v.numberValue())) xs.push_back(v.numberValue());
    }
    return {std::move(xs), {}};
}

// Sorted numbers of argument i.
ArgValue<std::vector<double>> sortedNumbersOf(FunctionContext& c, size_t i) {
    auto xs = numbersOf(c, i);
    if (xs) std::sort(xs.value->begin(), xs.value->end());
    return xs;
}

// The exclusive percentile: rank k·(n + 1), linear between neighbours; a rank
// before the first or past the last number is "#NUM!".
FormulaValue exclusivePercentile(const std::vector<double>& sorted, double k) {
    const double n = static_cast<double>(sorted.size());
    const double rank = k * (n + 1);
    if (!(k > 0 && k < 1) || rank < 1 || rank > n) return numError();
    const size_t lower = static_cast<size_t>(std::floor(rank)) - 1;
    const double fraction = rank - std::floor(rank);
    if (lower + 1 >= sorted.size()) return num(sorted[lower]);
    return num(sorted[lower] + fraction * (sorted[lower + 1] - sorted[lower]));
}

// PERCENTILE.EXC(array, k) — exclusive k-th percentile, 0 < k < 1
FormulaValue percentileExc(FunctionContext& c) {
    auto xs = sortedNumbersOf(c, 0);
    if (!xs) return xs.failure;
    auto k = declaredNumber(c, 1);
    if (!k) return k.failure;
    if (xs->empty()) return numError();
    return exclusivePercentile(*xs, *k);
}

// QUARTILE.EXC(array, quart) — exclusive quartile; quart truncated, 1 to 3
FormulaValue quartileExc(FunctionContext& c) {
    auto xs = sortedNumbersOf(c, 0);
    if (!xs) return xs.failure;
    auto q = declaredNumber(c, 1);
    if (!q) return q.failure;
    const double quart = std::trunc(*q);
    if (xs->empty() || quart < 1 || quart > 3) return numError();
    return exclusivePercentile(*xs, quart / 4);
}

// PERCENTRANK.EXC(array, x, [significance]) — exclusive rank of x as a
// fraction (position + 1)/(n + 1), interpolated between neighbours and
// truncated to `significance` digits (3)
FormulaValue percentRankExc(FunctionContext& c) {
    auto xs = sortedNumbersOf(c, 0);
    if (!xs) return xs.failure;
    auto x = declaredNumber(c, 1);
    if (!x) return x.failure;
    auto digits = declaredNumberOr(c, 2, 3);
    if (!digits) return digits.failure;
    const double significance = std::trunc(*digits);
    if (xs->empty() || significance < 1) return numError();
    if (*x < xs->front() || *x > xs->back()) return err(ErrorKind::notAvailable);
    const size_t below = static_cast<size_t>(std::lower_bound(xs->begin(), xs->end(), *x) - xs->begin());
    double position = static_cast<double>(below);
    if ((*xs)[below] != *x) position += (*x - (*xs)[below - 1]) / ((*xs)[below] - (*xs)[below - 1]) - 1;
    const double fraction = (position + 1) / static_cast<double>(xs->size() + 1);
    const double scale = std::pow(10.0, std::min(significance, 15.0));
    return num(std::floor(approxValue(fraction * scale)) / scale);
}

// RANK.AVG(number, ref, [order]) — rank of number among ref, descending
// (order 0) or ascending; tied numbers share the average of their ranks
FormulaValue rankAvg(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto xs = numbersOf(c, 1);
    if (!xs) return xs.failure;
    auto order = declaredNumberOr(c, 2, 0);
    if (!order) return order.failure;
    double ahead = 0, ties = 0;
    for (double v : *xs) {
        if (v == *x)
            ties += 1;
        else if (*order == 0 ? v > *x : v < *x)
            ahead += 1;
    }
    if (ties == 0) return err(ErrorKind::notAvailable);
    return num(ahead + (ties + 1) / 2);
}

// MODE.MULT(number1, ...) — every most frequent number, in order of first
// occurrence, as a vertical array; "#N/A" when no number repeats
FormulaValue modeMult(FunctionContext& c) {
    std::vector<double> xs;
    for (size_t i = 0; i < c.argCount(); ++i) {
        auto part = numbersOf(c, i);
        if (!part) return part.failure;
        xs.insert(xs.end(), part->begin(), part->end());
    }
    std::unordered_map<double, size_t> counts;
    size_t best = 1;
    for (double x : xs)
        best = std::max(best, ++counts[x]);
    if (best < 2) return err(ErrorKind::notAvailable);
    ValueRows rows;
    for (double x : xs) {
        auto it = counts.find(x);
        if (it->second != best) continue;
        rows.push_back({num(x)});
        it->second = 0; // listed once
    }
    return FormulaValue::array(std::move(rows));
}

// The positions of arguments a and b at which both hold numbers; arguments
// of different sizes are "#N/A", an error in either is the failure.
struct Pairs {
    std::vector<double> xs, ys;
};
ArgValue<Pairs> numericPairs(FunctionContext& c, size_t a, size_t b) {
    std::vector<FormulaValue> xs = c.resolveValues(a), ys = c.resolveValues(b);
    for (const auto* values : {&xs, &ys})
        for (const FormulaValue& v : *values)
            if (v.isError()) return {std::nullopt, v};
    if (xs.size() != ys.size()) return {std::nullopt, err(ErrorKind::notAvailable)};
    Pairs p;
    for (size_t i = 0; i < xs.size(); ++i)
        if (xs[i].isNumber() && ys[i].isNumber()) {
            p.xs.push_back(xs[i].numberValue());
            p.ys.push_back(ys[i].numberValue());
        }
    return {std::move(p), {}};
}

// Sums of squares and products of paired deviations from the means.
struct Moments {
    double n = 0, sxx = 0, syy = 0, sxy = 0;
};
Moments momentsOf(const Pairs& p) {
    Moments m;
    m.n = static_cast<double>(p.xs.size());
    const double mx = meanOf(p.xs), my = meanOf(p.ys);
    for (size_t i = 0; i < p.xs.size(); ++i) {
        const double dx = p.xs[i] - mx, dy = p.ys[i] - my;
        m.sxx += dx * dx;
        m.syy += dy * dy;
        m.sxy += dx * dy;
    }
    return m;
}

// COVARIANCE.P(array1, array2) — population covariance; COVARIANCE.S the
// sample covariance
FormulaValue covariance(FunctionContext& c, bool sample) {
    auto p = numericPairs(c, 0, 1);
    if (!p) return p.failure;
    if (p->xs.size() < (sample ? 2u : 1u)) return err(ErrorKind::divisionByZero);
    const Moments m = momentsOf(*p);
    return num(m.sxy / (sample ? m.n - 1 : m.n));
}
FormulaValue covarianceP(FunctionContext& c) {
    return covariance(c, false);
}
FormulaValue covarianceS(FunctionContext& c) {
    return covariance(c, true);
}

// RSQ(known_ys, known_xs) — square of the correlation coefficient
FormulaValue rsq(FunctionContext& c) {
    auto p = numericPairs(c, 1, 0);
    if (!p) return p.failure;
    if (p->xs.size() < 2) return err(ErrorKind::divisionByZero);
    const Moments m = momentsOf(*p);
    if (m.sxx == 0 || m.syy == 0) return err(ErrorKind::divisionByZero);
    return num(m.sxy * m.sxy / (m.sxx * m.syy));
}

// STEYX(known_ys, known_xs) — standard error of the least-squares line's
// predictions
FormulaValue steyx(FunctionContext& c) {
    auto p = numericPairs(c, 1, 0);
    if (!p) return p.failure;
    if (p->xs.size() < 3) return err(ErrorKind::divisionByZero);
    const Moments m = momentsOf(*p);
    if (m.sxx == 0) return err(ErrorKind::divisionByZero);
    return num(std::sqrt(std::max(0.0, m.syy - m.sxy * m.sxy / m.sxx) / (m.n - 2)));
}

// The numbers of all arguments; an error in any is the failure.
ArgValue<std::vector<double>> allNumbers(FunctionContext& c) {
    std::vector<double> xs;
    for (size_t i = 0; i < c.argCount(); ++i) {
        auto part = numbersOf(c, i);
        if (!part) return part;
        xs.insert(xs.end(), part->begin(), part->end());
    }
    return {std::move(xs), {}};
}

// Σ((x − mean)/sd)^power with the given standard deviation.
double standardizedPowerSum(const std::vector<double>& xs, double sd, int power) {
    const double m = meanOf(xs);
    double s = 0;
    for (double x : xs)
        s += std::pow((x - m) / sd, power);
    return s;
}

// SKEW.P(number1, ...) — skewness of a population
FormulaValue skewP(FunctionContext& c) {
    auto xs = allNumbers(c);
    if (!xs) return xs.failure;
    if (xs->empty()) return err(ErrorKind::divisionByZero);
    const double n = static_cast<double>(xs->size());
    const double sd = std::sqrt(squaredDeviationsOf(*xs) / n);
    if (sd == 0) return err(ErrorKind::divisionByZero);
    return num(standardizedPowerSum(*xs, sd, 3) / n);
}

// KURT(number1, ...) — sample excess kurtosis; needs four numbers that differ
FormulaValue kurt(FunctionContext& c) {
    auto xs = allNumbers(c);
    if (!xs) return xs.failure;
    const double n = static_cast<double>(xs->size());
    if (n < 4) return err(ErrorKind::divisionByZero);
    const double sd = std::sqrt(sampleVariance(*xs));
    if (sd == 0) return err(ErrorKind::divisionByZero);
    const double scale = n * (n + 1) / ((n - 1) * (n - 2) * (n - 3));
    return num(scale * standardizedPowerSum(*xs, sd, 4) - 3 * (n - 1) * (n - 1) / ((n - 2) * (n - 3)));
}

// PROB(x_range, prob_range, lower_limit, [upper_limit]) — probability that a
// value of x_range lies between the limits (equals lower_limit without an
// upper one); the probabilities must lie in (0, 1] and add up to 1
FormulaValue prob(FunctionContext& c) {
    auto p = numericPairs(c, 0, 1);
    if (!p) return p.failure;
    auto low = declaredNumber(c, 2);
    if (!low) return low.failure;
    auto high = c.hasArg(3) ? declaredNumber(c, 3) : low;
    if (!high) return high.failure;
    double total = 0, inside = 0;
    for (size_t i = 0; i < p->xs.size(); ++i) {
        const double probability = p->ys[i];
        if (!(probability > 0 && probability <= 1)) return numError();
        total += probability;
        if (p->xs[i] >= *low && p->xs[i] <= *high) inside += probability;
    }
    if (approxValue(total) != 1) return numError();
    return num(inside);
}

// A value of a reference or an array under the "A" aggregates' rule:
// numbers count, TRUE is 1, FALSE and any text 0, empty cells nothing.
// Returns false, leaving the error in `failure`, for an error value.
bool appendCounted(const FormulaValue& v, std::vector<double>& xs, FormulaValue& failure) {
    if (v.isError()) {
        failure = v;
        return false;
    }
    if (v.isNumber())
        xs.push_back(v.numberValue());
    else if (v.isBool())
        xs.push_back(v.boolValue() ? 1 : 0);
    else if (v.isText())
        xs.push_back(0);
    return true;
}

// The values of the "A" aggregates: references and arrays by appendCounted;
// a direct argument counts when it is a number, a truth value or a text that
// reads as a number, and other texts are "#VALUE!".
ArgValue<std::vector<double>> valuesCountingText(FunctionContext& c) {
    std::vector<double> xs;
    FormulaValue failure;
    for (size_t i = 0; i < c.argCount(); ++i) {
        const NodeKind kind = c.argNode(i).kind;
        if (kind == NodeKind::cellRef || kind == NodeKind::range || kind == NodeKind::name) {
            for (const FormulaValue& v : c.resolveValues(i))
                if (!appendCounted(v, xs, failure)) return {std::nullopt, failure};
            continue;
        }
        const FormulaValue direct = c.evaluate(i);
        if (direct.isArray()) {
            for (const ValueRow& row : direct.arrayRows())
                for (const FormulaValue& v : row)
                    if (!appendCounted(v, xs, failure)) return {std::nullopt, failure};
            continue;
        }
        if (direct.isError()) return {std::nullopt, direct};
        auto x = direct.asNumber();
        if (!x) return {std::nullopt, err(ErrorKind::invalidValue)};
        xs.push_back(*x);
    }
    return {std::move(xs), {}};
}

// AVERAGEA(value1, ...) — mean counting text as 0 and truth values as 1 or 0
FormulaValue averageA(FunctionContext& c) {
    auto xs = valuesCountingText(c);
    if (!xs) return xs.failure;
    if (xs->empty()) return err(ErrorKind::divisionByZero);
    return num(meanOf(*xs));
}

// MAXA(value1, ...) and MINA(value1, ...) — largest, smallest, counting text
// as 0 and truth values as 1 or 0; 0 when there is nothing
FormulaValue extremeA(FunctionContext& c, bool largest) {
    auto xs = valuesCountingText(c);
    if (!xs) return xs.failure;
    if (xs->empty()) return num(0);
    return num(largest ? *std::max_element(xs->begin(), xs->end())
                       : *std::min_element(xs->begin(), xs->end()));
}
FormulaValue maxA(FunctionContext& c) {
    return extremeA(c, true);
}
FormulaValue minA(FunctionContext& c) {
    return extremeA(c, false);
}

// VARA, VARPA, STDEVA, STDEVPA — variance and deviation of a sample or a
// population, counting text as 0 and truth values as 1 or 0
FormulaValue varianceA(FunctionContext& c, bool sample, bool root) {
    auto xs = valuesCountingText(c);
    if (!xs) return xs.failure;
    if (xs->size() < (sample ? 2u : 1u)) return err(ErrorKind::divisionByZero);
    const double v = squaredDeviationsOf(*xs) / static_cast<double>(xs->size() - (sample ? 1 : 0));
    return num(root ? std::sqrt(v) : v);
}
FormulaValue varA(FunctionContext& c) {
    return varianceA(c, true, false);
}
FormulaValue varPA(FunctionContext& c) {
    return varianceA(c, false, false);
}
FormulaValue stdevA(FunctionContext& c) {
    return varianceA(c, true, true);
}
FormulaValue stdevPA(FunctionContext& c) {
    return varianceA(c, false, true);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDescriptiveStatisticsFunctions[] = {
    {"PERCENTILE.EXC", percentileExc, exactly(2), numberArgRule, none, "PERCENTILE.EXC(array, k)", "Returns the k-th percentile, k strictly between 0 and 1."},
    {"QUARTILE.EXC", quartileExc, exactly(2), numberArgRule, none, "QUARTILE.EXC(array, quart)", "Returns the quartile of a data set, by exclusive percentiles."},
    {"PERCENTRANK.EXC", percentRankExc, between(2, 3), numberArgRule, none, "PERCENTRANK.EXC(array, x, significance)", "Returns the rank of a value as an exclusive percentage of the data set."},
    {"RANK.AVG", rankAvg, between(2, 3), numberArgRule, none, "RANK.AVG(number, ref, order)", "Returns the rank of a number, averaging the ranks of ties."},
    {"MODE.MULT", modeMult, atLeast(1), numberArgRule, producesArray, "MODE.MULT(number1, number2, ...)", "Returns every most frequent value as a vertical array."},
    {"COVAR", covarianceP, exactly(2), numberArgRule, none, "COVAR(array1, array2)", "Returns the population covariance."},
    {"COVARIANCE.P", covarianceP, exactly(2), numberArgRule, none, "COVARIANCE.P(array1, array2)", "Returns the population covariance."},
    {"COVARIANCE.S", covarianceS, exactly(2), numberArgRule, none, "COVARIANCE.S(array1, array2)", "Returns the sample covariance."},
    {"RSQ", rsq, exactly(2), numberArgRule, none, "RSQ(known_ys, known_xs)", "Returns the square of the correlation coefficient."},
    {"STEYX", steyx, exactly(2), numberArgRule, none, "STEYX(known_ys, known_xs)", "Returns the standard error of the predicted values of a linear regression."},
    {"SKEW.P", skewP, atLeast(1), numberArgRule, none, "SKEW.P(number1, number2, ...)", "Returns the skewness of a population."},
    {"KURT", kurt, atLeast(1), numberArgRule, none, "KURT(number1, number2, ...)", "Returns the excess kurtosis of a sample."},
    {"PROB", prob, between(3, 4), numberArgRule, none, "PROB(x_range, prob_range, lower_limit, upper_limit)", "Returns the probability that values lie between two limits."},
    {"AVERAGEA", averageA, atLeast(1), numberArgRule, none, "AVERAGEA(value1, value2, ...)", "Returns the mean, counting text as 0 and truth values as 1 or 0."},
    {"MAXA", maxA, atLeast(1), numberArgRule, none, "MAXA(value1, value2, ...)", "Returns the largest value, counting text as 0 and truth values as 1 or 0."},
    {"MINA", minA, atLeast(1), numberArgRule, none, "MINA(value1, value2, ...)", "Returns the smallest value, counting text as 0 and truth values as 1 or 0."},
    {"VARA", varA, atLeast(1), numberArgRule, none, "VARA(value1, value2, ...)", "Estimates variance from a sample, counting text and truth values."},
    {"VARPA", varPA, atLeast(1), numberArgRule, none, "VARPA(value1, value2, ...)", "Returns the population variance, counting text and truth values."},
    {"STDEVA", stdevA, atLeast(1), numberArgRule, none, "STDEVA(value1, value2, ...)", "Estimates standard deviation from a sample, counting text and truth values."},
    {"STDEVPA", stdevPA, atLeast(1), numberArgRule, none, "STDEVPA(value1, value2, ...)", "Returns the population standard deviation, counting text and truth values."},
};
// clang-format on

} // namespace

void registerDescriptiveStatisticsFunctions(FunctionRegistry& registry) {
    registry.add(FunctionFamily::statistical, kDescriptiveStatisticsFunctions);
}

} // namespace sumora
