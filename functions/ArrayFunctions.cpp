#include "functions/ArrayFunctions.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string_view>
#include <unordered_map>

#include "functions/LambdaSupport.h"
#include "functions/ReferenceSupport.h"

namespace sumora {

ArgValue<ValueRows> rowsArg(FunctionContext& c, size_t i) {
    Table table = Table::fromArg(c, i);
    if (table.error()) return {std::nullopt, *table.error()};
    if (table.rows() == 0 || table.cols() == 0) return {std::nullopt, err(ErrorKind::invalidValue)};
    return {table.values(), {}};
}

ValueRows transposeRows(const ValueRows& rows) {
    size_t width = rows.empty() ? 0 : rows.front().size();
    ValueRows out(width, ValueRow(rows.size()));
    for (size_t r = 0; r < rows.size(); ++r)
        for (size_t c = 0; c < width && c < rows[r].size(); ++c)
            out[c][r] = rows[r][c];
    return out;
}

bool isTooLarge(int64_t rows, int64_t cols) {
    return rows > kMaxArrayCells || cols > kMaxArrayCells || rows * cols > kMaxArrayCells;
}

ValueRows uniqueRows(const ValueRows& rows, bool exactlyOnce) {
    std::vector<std::string> keys(rows.size());
    for (size_t r = 0; r < rows.size(); ++r)
        for (size_t c = 0; c < rows[r].size(); ++c) {
            if (c > 0) keys[r] += '\t';
            rows[r][c].appendDescription(keys[r]);
        }
    std::unordered_map<std::string_view, size_t> counts;
    counts.reserve(rows.size());
    ValueRows out;
    if (!exactlyOnce) {
        for (size_t r = 0; r < rows.size(); ++r)
            if (counts.emplace(keys[r], 1).second) out.push_back(rows[r]);
        return out;
    }
    for (const std::string& key : keys)
        ++counts[key];
    for (size_t r = 0; r < rows.size(); ++r)
        if (counts[keys[r]] == 1) out.push_back(rows[r]);
    return out;
}

namespace {

// Stable, so rows with equal keys keep their order; descending swaps the
// operands of the comparison rather than reversing the result.
void sortRows(ValueRows& rows, size_t column, bool descending) {
    std::vector<size_t> order(rows.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        const FormulaValue& x = rows[a][column];
        const FormulaValue& y = rows[b][column];
        return descending ? compareValues(y, x) : compareValues(x, y);
    });
    ValueRows sorted;
    sorted.reserve(rows.size());
    for (size_t i : order)
        sorted.push_back(std::move(rows[i]));
    rows = std::move(sorted);
}

} // namespace

// FILTER(array, include, if_empty) — the rows (or columns) whose include
// value is true; nothing left gives if_empty, else "#N/A"
FormulaValue evaluateFilter(FunctionContext& c) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    auto include = rowsArg(c, 1);
    if (!include) return include.failure;
    const ValueRows& rows = *data;
    size_t height = rows.size(), width = rows.front().size();
    size_t incHeight = include->size(), incWidth = include->front().size();
    bool byRows = incWidth == 1 && incHeight == height;
    if (!byRows && !(incHeight == 1 && incWidth == width)) return err(ErrorKind::invalidValue);
    std::vector<bool> keep;
    for (size_t k = 0; k < (byRows ? height : width); ++k) {
        const FormulaValue& flag = byRows ? (*include)[k][0] : (*include)[0][k];
        if (flag.isError()) return flag;
        if (flag.isEmpty()) {
            keep.push_back(false);
            continue;
        }
        auto b = flag.asBool();
        if (!b) return err(ErrorKind::invalidValue);
        keep.push_back(*b);
    }
    ValueRows out;
    for (size_t r = 0; r < height; ++r) {
        if (byRows) {
            if (keep[r]) out.push_back(rows[r]);
            continue;
        }
        ValueRow row;
        for (size_t col = 0; col < width; ++col)
            if (keep[col]) row.push_back(rows[r][col]);
        if (!row.empty()) out.push_back(std::move(row));
    }
    if (out.empty()) return c.hasArg(2) ? c.evaluate(2) : err(ErrorKind::notAvailable);
    return FormulaValue::array(std::move(out));
}

// SORT(array, sort_index, sort_order, by_col) — rows (or columns) ordered by
// one column (row): numbers, then texts ignoring case, then the rest
FormulaValue evaluateSort(FunctionContext& c) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    auto index = wholeNumberArgOr(c, 1, 1);
    if (!index) return index.failure;
    auto order = wholeNumberArgOr(c, 2, 1);
    if (!order) return order.failure;
    auto byCol = boolArgOr(c, 3, false);
    if (!byCol) return byCol.failure;
    if (*order != 1 && *order != -1) return err(ErrorKind::invalidValue);
    ValueRows rows = *byCol ? transposeRows(*data) : std::move(*data.value);
    if (*index < 1 || *index > static_cast<int64_t>(rows.front().size())) return err(ErrorKind::invalidValue);
    sortRows(rows, static_cast<size_t>(*index - 1), *order == -1);
    return FormulaValue::array(*byCol ? transposeRows(rows) : std::move(rows));
}

// UNIQUE(array, by_col, exactly_once) — distinct rows (or columns)
FormulaValue evaluateUnique(FunctionContext& c) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    auto byCol = boolArgOr(c, 1, false);
    if (!byCol) return byCol.failure;
    auto exactlyOnce = boolArgOr(c, 2, false);
    if (!exactlyOnce) return exactlyOnce.failure;
    ValueRows rows = uniqueRows(*byCol ? transposeRows(*data) : *data, *exactlyOnce);
    if (rows.empty()) return err(ErrorKind::notAvailable);
    return FormulaValue::array(*byCol ? transposeRows(rows) : std::move(rows));
}

// SEQUENCE(rows, columns, start, step) — numbers counting along each row
FormulaValue evaluateSequence(FunctionContext& c) {
    auto rows = wholeNumberArg(c, 0);
    if (!rows) return rows.failure;
    auto cols = wholeNumberArgOr(c, 1, 1);
    if (!cols) return cols.failure;
    auto start = numberArgOr(c, 2, 1);
    if (!start) return start.failure;
    auto step = numberArgOr(c, 3, 1);
    if (!step) return step.failure;
    if (*rows < 1 || *cols < 1) return err(ErrorKind::invalidValue);
    if (isTooLarge(*rows, *cols)) return err(ErrorKind::invalidNumber);
    ValueRows out(static_cast<size_t>(*rows));
    double k = 0;
    for (ValueRow& row : out) {
        row.reserve(static_cast<size_t>(*cols));
        for (int64_t col = 0; col < *cols; ++col, ++k)
            row.push_back(num(*start + k * *step));
    }
    return FormulaValue::array(std::move(out));
}

// TRANSPOSE(array) — rows become columns
FormulaValue evaluateTranspose(FunctionContext& c) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    return FormulaValue::array(transposeRows(*data));
}

// MAKEARRAY(rows, cols, lambda(row, col)) — a rows × cols array of the
// lambda's values at each 1-based position; a plain value fills every cell.
FormulaValue evaluateMakeArray(FunctionContext& c) {
    auto rows = c.evalNum(0), cols = c.evalNum(1);
    if (!rows || !cols) return err(ErrorKind::invalidValue);
    double r = std::trunc(*rows), k = std::trunc(*cols);
    if (!(r >= 1) || !(k >= 1)) return err(ErrorKind::invalidValue);
    if (r * k > static_cast<double>(kMaxArrayCells)) return err(ErrorKind::invalidNumber);
    const auto height = static_cast<size_t>(r), width = static_cast<size_t>(k);
    if (auto lambda = lambdaArg(c, 2, 2)) {
        ValueRows out(height, ValueRow(width));
        for (size_t row = 0; row < height; ++row)
            for (size_t col = 0; col < width; ++col) {
                const FormulaValue position[] = {num(static_cast<double>(row + 1)), num(static_cast<double>(col + 1))};
                out[row][col] = scalarOf(applyLambda(c, *lambda, position));
            }
        return FormulaValue::array(std::move(out));
    }
    if (isLambdaArg(c, 2)) return err(ErrorKind::invalidValue); // a LAMBDA of the wrong shape
    FormulaValue value = scalarOf(c.evaluate(2));
    return FormulaValue::array(ValueRows(height, ValueRow(width, value)));
}

} // namespace sumora
