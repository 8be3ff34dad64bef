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
    // `n` empty cells, each reading as 0.
    void addEmpties(int64_t n) {
        if (n <= 0) return;
        count += static_cast<double>(n);
        max = std::max(max, 0.0);
        min = std::min(min, 0.0);
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

// Reads a sparse range at ascending positions: empty where it holds nothing.
class SparseCursor {
  public:
    explicit SparseCursor(const SparseRange& range) : range_(range) {}
    const FormulaValue& at(int64_t position) {
        static const FormulaValue empty;
        while (next_ < range_.entries.size() && range_.entries[next_].position < position)
            ++next_;
        if (next_ < range_.entries.size() && range_.entries[next_].position == position)
            return range_.entries[next_].value;
        return empty;
    }

  private:
    const SparseRange& range_;
    size_t next_ = 0;
};

struct CriteriaPair {
    SparseRange values;
    CompiledCriterion criterion;
};

// The (range, criterion) pairs of arguments first, first + 1, …; each
// criterion is parsed once here, not once per value.
std::vector<CriteriaPair> criteriaPairs(FunctionContext& c, size_t first) {
    std::vector<CriteriaPair> pairs;
    for (size_t i = first; i + 1 < c.argCount(); i += 2) {
        SparseRange values = c.sparseValues(i);
        pairs.push_back({std::move(values), CompiledCriterion(c.evalStr(i + 1))});
    }
    return pairs;
}

// Positions run over the first range and pair up row-major; a position
// counts when every pair's range reaches it and its value there matches the
// pair's criterion, and (with `aggregated`) when that range reaches it too.
// Calls f(position) in ascending order for the matching positions at which
// some range involved holds a value, and returns how many of the remaining
// positions — empty in every range — match as well. So the cost follows the
// stored cells, whatever the ranges' area.
template <class F>
int64_t forEachMatch(const std::vector<CriteriaPair>& pairs, const SparseRange* aggregated, F&& f) {
    if (pairs.empty()) return 0;
    int64_t bound = pairs.front().values.size();
    for (const CriteriaPair& p : pairs)
        bound = std::min(bound, p.values.size());
    if (aggregated) bound = std::min(bound, aggregated->size());

    std::vector<int64_t> positions;
    auto collect = [&](const SparseRange& r) {
        for (const RangeEntry& e : r.entries)
            if (e.position < bound) positions.push_back(e.position);
    };
    for (const CriteriaPair& p : pairs)
        collect(p.values);
    if (aggregated) collect(*aggregated);
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());

    std::vector<SparseCursor> cursors;
    cursors.reserve(pairs.size());
    for (const CriteriaPair& p : pairs)
        cursors.emplace_back(p.values);
    for (int64_t i : positions) {
        bool all = true;
        for (size_t k = 0; all && k < pairs.size(); ++k)
            all = pairs[k].criterion.matches(cursors[k].at(i));
        if (all) f(i);
    }
    bool emptyMatches = std::all_of(pairs.begin(), pairs.end(), [](const CriteriaPair& p) {
        return p.criterion.matches(FormulaValue::empty());
    });
    return emptyMatches ? bound - static_cast<int64_t>(positions.size()) : 0;
}

FormulaValue aggregateMatches(const std::vector<CriteriaPair>& pairs, const SparseRange& aggregated,
                              Aggregate kind) {
    Accumulator acc;
    SparseCursor values(aggregated);
    int64_t emptyMatches = forEachMatch(pairs, &aggregated, [&](int64_t i) { acc.add(values.at(i)); });
    acc.addEmpties(emptyMatches);
    return result(acc, kind);
}

// SUMIF and AVERAGEIF: (range, criteria[, value_range]).
FormulaValue singleCriterion(FunctionContext& c, Aggregate kind) {
    std::vector<CriteriaPair> pairs;
    pairs.push_back({c.sparseValues(0), CompiledCriterion(c.evalStr(1))});
    if (c.argCount() >= 3) return aggregateMatches(pairs, c.sparseValues(2), kind);
    return aggregateMatches(pairs, pairs.front().values, kind);
}

// SUMIFS, AVERAGEIFS, MAXIFS, MINIFS: (value_range, range1, criteria1, …).
FormulaValue multipleCriteria(FunctionContext& c, Aggregate kind) {
    if (c.argCount() < 3 || (c.argCount() - 1) % 2 != 0) return err(ErrorKind::invalidValue);
    SparseRange aggregated = c.sparseValues(0);
    return aggregateMatches(criteriaPairs(c, 1), aggregated, kind);
}

double countMatches(const std::vector<CriteriaPair>& pairs) {
    double count = 0;
    int64_t emptyMatches = forEachMatch(pairs, nullptr, [&](int64_t) { count += 1; });
    return count + static_cast<double>(emptyMatches);
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
    std::vector<CriteriaPair> pairs;
    pairs.push_back({c.sparseValues(0), CompiledCriterion(c.evalStr(1))});
    return num(countMatches(pairs));
}

// COUNTIFS(range1, criteria1, ...) — positions where every criterion matches
FormulaValue countIfs(FunctionContext& c) {
    if (c.argCount() < 2 || c.argCount() % 2 != 0) return err(ErrorKind::invalidValue);
    return num(countMatches(criteriaPairs(c, 0)));
}

} // namespace conditional

} // namespace sumora
