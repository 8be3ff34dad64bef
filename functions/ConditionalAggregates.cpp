#include "functions/ConditionalAggregates.h"

#include <algorithm>
#include <limits>

#include "functions/Criteria.h"

namespace sumora {

namespace {

// What a conditional aggregate makes of the values at the matching positions.
struct Accumulator {
    double sum = 0;
    double count = 0;
    double max = -std::numeric_limits<double>::infinity();
    double min = std::numeric_limits<double>::infinity();

    // A value adds its number when it has one (numeric text, booleans and
    // empty cells included, as every number coercion reads them).
    void add(const FormulaValue& v) {
        std::optional<double> x = v.asNumber();
        if (!x) return;
        sum += *x;
        count += 1;
        max = std::max(max, *x);
        min = std::min(min, *x);
    }
};

enum class Aggregate { sum, average, max, min };

FormulaValue result(const Accumulator& a, Aggregate kind) {
    switch (kind) {
    case Aggregate::sum:
        return num(a.sum);
    case Aggregate::average:
        return a.count == 0 ? err(ErrorKind::divisionByZero) : num(a.sum / a.count);
    case Aggregate::max:
        return num(a.count == 0 ? 0 : a.max);
    case Aggregate::min:
        return num(a.count == 0 ? 0 : a.min);
    }
    return num(a.sum);
}

struct CriteriaPair {
    std::vector<FormulaValue> values;
    CompiledCriterion criterion;
};

// The (range, criterion) pairs of arguments first, first + 1, …; each
// criterion is parsed once here, not once per value.
std::vector<CriteriaPair> criteriaPairs(FunctionContext& c, size_t first) {
    std::vector<CriteriaPair> pairs;
    for (size_t i = first; i + 1 < c.argCount(); i += 2) {
        std::vector<FormulaValue> values = c.resolveValues(i);
        pairs.push_back({std::move(values), CompiledCriterion(c.evalStr(i + 1))});
    }
    return pairs;
}

// Calls f(i) for every position of the first range at which each pair's
// range has a value that matches the pair's criterion.
template <class F> void forEachMatch(const std::vector<CriteriaPair>& pairs, F&& f) {
    if (pairs.empty()) return;
    size_t n = pairs.front().values.size();
    for (size_t i = 0; i < n; ++i) {
        bool all = true;
        for (const CriteriaPair& p : pairs)
            if (i >= p.values.size() || !p.criterion.matches(p.values[i])) {
                all = false;
                break;
            }
        if (all) f(i);
    }
}

// SUMIF and AVERAGEIF: (range, criteria[, value_range]).
FormulaValue singleCriterion(FunctionContext& c, Aggregate kind) {
    std::vector<FormulaValue> values = c.resolveValues(0);
    CompiledCriterion criterion(c.evalStr(1));
    std::vector<FormulaValue> separate;
    if (c.argCount() >= 3) separate = c.resolveValues(2);
    const std::vector<FormulaValue>& aggregated = c.argCount() >= 3 ? separate : values;
    Accumulator acc;
    for (size_t i = 0; i < values.size(); ++i)
        if (i < aggregated.size() && criterion.matches(values[i])) acc.add(aggregated[i]);
    return result(acc, kind);
}

// SUMIFS, AVERAGEIFS, MAXIFS, MINIFS: (value_range, range1, criteria1, …).
FormulaValue multipleCriteria(FunctionContext& c, Aggregate kind) {
    if (c.argCount() < 3 || (c.argCount() - 1) % 2 != 0) return err(ErrorKind::invalidValue);
    std::vector<FormulaValue> aggregated = c.resolveValues(0);
    std::vector<CriteriaPair> pairs = criteriaPairs(c, 1);
    Accumulator acc;
    forEachMatch(pairs, [&](size_t i) {
        if (i < aggregated.size()) acc.add(aggregated[i]);
    });
    return result(acc, kind);
}

} // namespace

namespace conditional {

// SUMIF(range, criteria, sum_range) — sum where the criterion matches
FormulaValue sumIf(FunctionContext& c) {
    return singleCriterion(c, Aggregate::sum);
}
// AVERAGEIF(range, criteria, avg_range) — mean where the criterion matches
FormulaValue averageIf(FunctionContext& c) {
    return singleCriterion(c, Aggregate::average);
}
// SUMIFS(sum_range, range1, criteria1, ...) — sum where every criterion matches
FormulaValue sumIfs(FunctionContext& c) {
    return multipleCriteria(c, Aggregate::sum);
}
// AVERAGEIFS(avg_range, range1, criteria1, ...) — mean where every criterion matches
FormulaValue averageIfs(FunctionContext& c) {
    return multipleCriteria(c, Aggregate::average);
}
// MAXIFS(max_range, range1, criteria1, ...) — largest where every criterion matches; 0 for none
FormulaValue maxIfs(FunctionContext& c) {
    return multipleCriteria(c, Aggregate::max);
}
// MINIFS(min_range, range1, criteria1, ...) — smallest where every criterion matches; 0 for none
FormulaValue minIfs(FunctionContext& c) {
    return multipleCriteria(c, Aggregate::min);
}

// COUNTIF(range, criteria) — number of matching values
FormulaValue countIf(FunctionContext& c) {
    std::vector<FormulaValue> values = c.resolveValues(0);
    CompiledCriterion criterion(c.evalStr(1));
    return num(static_cast<double>(std::count_if(
        values.begin(), values.end(), [&](const FormulaValue& v) { return criterion.matches(v); })));
}

// COUNTIFS(range1, criteria1, ...) — positions where every criterion matches
FormulaValue countIfs(FunctionContext& c) {
    if (c.argCount() < 2 || c.argCount() % 2 != 0) return err(ErrorKind::invalidValue);
    double count = 0;
    forEachMatch(criteriaPairs(c, 0), [&](size_t) { count += 1; });
    return num(count);
}

} // namespace conditional

} // namespace sumora
