// SORTBY: sorting an array by the values of other arrays, key after key.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "engine/FunctionRegistry.h"
#include "functions/ArrayFunctions.h"

namespace sumora {

namespace {

struct SortKey {
    ValueRow values; // one per line of the array
    bool descending = false;
};

// SORTBY(array, by_array1, [sort_order1], [by_array2, sort_order2], ...) —
// the rows of the array (its columns when the keys are rows) in the order of
// the keys; a stable sort, numbers before texts as in SORT
FormulaValue sortBy(FunctionContext& c) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    std::vector<SortKey> keys;
    std::optional<bool> byColumns;
    for (size_t i = 1; i < c.argCount(); i += 2) {
        auto by = rowsArg(c, i);
        if (!by) return by.failure;
        const bool isRow = by->size() == 1 && by->front().size() > 1;
        if (!isRow && by->front().size() != 1) return err(ErrorKind::invalidValue);
        if (byColumns && *byColumns != isRow) return err(ErrorKind::invalidValue);
        byColumns = isRow;
        SortKey key;
        key.values = isRow ? by->front() : transposeRows(*by).front();
        auto order = numberArgOr(c, i + 1, 1);
        if (!order) return order.failure;
        if (std::trunc(*order) != 1 && std::trunc(*order) != -1) return err(ErrorKind::invalidValue);
        key.descending = std::trunc(*order) == -1;
        keys.push_back(std::move(key));
    }
    ValueRows lines = byColumns.value_or(false) ? transposeRows(*data) : std::move(*data);
    for (const SortKey& key : keys)
        if (key.values.size() != lines.size()) return err(ErrorKind::invalidValue);
    std::vector<size_t> order(lines.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        for (const SortKey& key : keys) {
            const FormulaValue& x = key.values[key.descending ? b : a];
            const FormulaValue& y = key.values[key.descending ? a : b];
            if (compareValues(x, y)) return true;
            if (compareValues(y, x)) return false;
        }
        return false;
    });
    ValueRows sorted;
    sorted.reserve(lines.size());
    for (size_t k : order)
        sorted.push_back(std::move(lines[k]));
    return FormulaValue::array(byColumns.value_or(false) ? transposeRows(sorted) : std::move(sorted));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kLookupExtraFunctions[] = {
    {"SORTBY", sortBy, atLeast(2), numberArgRule, producesArray, "SORTBY(array, by_array1, sort_order1, ...)", "Sorts an array by the values of other arrays."},
};
// clang-format on

} // namespace

void registerLookupExtraFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::lookup, kLookupExtraFunctions);
}

} // namespace sumora
