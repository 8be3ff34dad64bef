// Dynamic-array functions that reshape, cut or combine arrays without
// looking at their values. Missing cells are padded with "#N/A" unless the
// function takes a pad_with argument.
#include <algorithm>

#include "functions/ArrayFunctions.h"
#include "functions/ReferenceSupport.h"

namespace sumora {

namespace {

FormulaValue padArg(FunctionContext& c, size_t i) {
    return c.hasArg(i) ? scalarOf(c.evaluate(i)) : err(ErrorKind::notAvailable);
}

// WRAPROWS and WRAPCOLS: a one-row or one-column vector cut into rows
// (columns) of wrap_count values.
FormulaValue wrap(FunctionContext& c, bool intoRows) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    if (data->size() != 1 && data->front().size() != 1) return err(ErrorKind::invalidValue);
    auto count = wholeNumberArg(c, 1);
    if (!count) return count.failure;
    if (*count < 1) return err(ErrorKind::invalidNumber);
    FormulaValue pad = padArg(c, 2);
    ValueRow flat;
    for (const ValueRow& row : *data)
        flat.insert(flat.end(), row.begin(), row.end());
    auto width = static_cast<size_t>(std::min<int64_t>(*count, kMaxArrayCells));
    ValueRows out;
    for (size_t k = 0; k < flat.size(); k += width) {
        ValueRow& line =
            out.emplace_back(flat.begin() + static_cast<ptrdiff_t>(k),
                             flat.begin() + static_cast<ptrdiff_t>(std::min(flat.size(), k + width)));
        line.resize(width, pad);
    }
    return FormulaValue::array(intoRows ? std::move(out) : transposeRows(out));
}

// TOCOL and TOROW: every value in one line; ignore 1 skips blanks, 2 errors,
// 3 both.
FormulaValue flatten(FunctionContext& c, bool asColumn) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    auto ignore = wholeNumberArgOr(c, 1, 0);
    if (!ignore) return ignore.failure;
    auto byColumn = boolArgOr(c, 2, false);
    if (!byColumn) return byColumn.failure;
    if (*ignore < 0 || *ignore > 3) return err(ErrorKind::invalidValue);
    const ValueRows& rows = *byColumn ? transposeRows(*data) : *data;
    ValueRow line;
    for (const ValueRow& row : rows)
        for (const FormulaValue& v : row) {
            if ((*ignore & 1) && v.isEmpty()) continue;
            if ((*ignore & 2) && v.isError()) continue;
            line.push_back(v);
        }
    if (line.empty()) return err(ErrorKind::notAvailable);
    ValueRows out{std::move(line)};
    return FormulaValue::array(asColumn ? transposeRows(out) : std::move(out));
}

// HSTACK and VSTACK: every argument side by side (one under the other).
FormulaValue stack(FunctionContext& c, bool horizontally) {
    std::vector<ValueRows> parts;
    size_t across = 0, along = 0; // shared extent, summed extent
    for (size_t i = 0; i < c.argCount(); ++i) {
        auto data = rowsArg(c, i);
        if (!data) return data.failure;
        ValueRows part = horizontally ? transposeRows(*data) : std::move(*data.value);
        across = std::max(across, part.front().size());
        along += part.size();
        parts.push_back(std::move(part));
    }
    if (isTooLarge(static_cast<int64_t>(along), static_cast<int64_t>(across)))
        return err(ErrorKind::invalidNumber);
    ValueRows out;
    out.reserve(along);
    for (ValueRows& part : parts)
        for (ValueRow& row : part) {
            row.resize(across, err(ErrorKind::notAvailable));
            out.push_back(std::move(row));
        }
    return FormulaValue::array(horizontally ? transposeRows(out) : std::move(out));
}

struct Span {
    size_t first = 0, count = 0;
};

// TAKE keeps n lines from the start (from the end when n < 0).
Span takeSpan(int64_t n, size_t size) {
    auto k = static_cast<size_t>(std::min<int64_t>(n < 0 ? -n : n, static_cast<int64_t>(size)));
    return n >= 0 ? Span{0, k} : Span{size - k, k};
}

// DROP removes n lines from the start (from the end when n < 0).
Span dropSpan(int64_t n, size_t size) {
    auto k = static_cast<size_t>(std::min<int64_t>(n < 0 ? -n : n, static_cast<int64_t>(size)));
    return n >= 0 ? Span{k, size - k} : Span{0, size - k};
}

FormulaValue cut(FunctionContext& c, bool take) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    size_t height = data->size(), width = data->front().size();
    Span rows{0, height}, cols{0, width};
    for (size_t i : {1u, 2u}) {
        if (!c.hasArg(i)) continue;
        auto n = wholeNumberArg(c, i);
        if (!n) return n.failure;
        if (take && *n == 0) return err(ErrorKind::invalidValue);
        size_t size = i == 1 ? height : width;
        (i == 1 ? rows : cols) = take ? takeSpan(*n, size) : dropSpan(*n, size);
    }
    if (rows.count == 0 || cols.count == 0) return err(ErrorKind::invalidValue);
    ValueRows out;
    out.reserve(rows.count);
    for (size_t r = rows.first; r < rows.first + rows.count; ++r) {
        const ValueRow& row = (*data)[r];
        out.emplace_back(row.begin() + static_cast<ptrdiff_t>(cols.first),
                         row.begin() + static_cast<ptrdiff_t>(cols.first + cols.count));
    }
    return FormulaValue::array(std::move(out));
}

// CHOOSECOLS and CHOOSEROWS: the listed lines in the listed order; negative
// numbers count from the end.
FormulaValue choose(FunctionContext& c, bool columns) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    const ValueRows& rows = columns ? transposeRows(*data) : *data;
    auto size = static_cast<int64_t>(rows.size());
    ValueRows out;
    for (size_t i = 1; i < c.argCount(); ++i) {
        auto n = wholeNumberArg(c, i);
        if (!n) return n.failure;
        int64_t k = *n < 0 ? size + *n + 1 : *n;
        if (*n == 0 || k < 1 || k > size) return err(ErrorKind::invalidValue);
        out.push_back(rows[static_cast<size_t>(k - 1)]);
    }
    return FormulaValue::array(columns ? transposeRows(out) : std::move(out));
}

} // namespace

// WRAPROWS(vector, wrap_count, pad_with) — a vector cut into rows
FormulaValue evaluateWrapRows(FunctionContext& c) {
    return wrap(c, true);
}

// WRAPCOLS(vector, wrap_count, pad_with) — a vector cut into columns
FormulaValue evaluateWrapCols(FunctionContext& c) {
    return wrap(c, false);
}

// TOCOL(array, ignore, scan_by_column) — every value in one column
FormulaValue evaluateToCol(FunctionContext& c) {
    return flatten(c, true);
}

// TOROW(array, ignore, scan_by_column) — every value in one row
FormulaValue evaluateToRow(FunctionContext& c) {
    return flatten(c, false);
}

// HSTACK(array1, array2, ...) — arrays side by side
FormulaValue evaluateHStack(FunctionContext& c) {
    return stack(c, true);
}

// VSTACK(array1, array2, ...) — arrays one under the other
FormulaValue evaluateVStack(FunctionContext& c) {
    return stack(c, false);
}

// TAKE(array, rows, columns) — the first (or, negative, last) rows and columns
FormulaValue evaluateTake(FunctionContext& c) {
    return cut(c, true);
}

// DROP(array, rows, columns) — without the first (or, negative, last) ones
FormulaValue evaluateDrop(FunctionContext& c) {
    return cut(c, false);
}

// EXPAND(array, rows, columns, pad_with) — grown to a size, padded
FormulaValue evaluateExpand(FunctionContext& c) {
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    auto height = static_cast<int64_t>(data->size()), width = static_cast<int64_t>(data->front().size());
    auto rows = wholeNumberArgOr(c, 1, height);
    if (!rows) return rows.failure;
    auto cols = wholeNumberArgOr(c, 2, width);
    if (!cols) return cols.failure;
    if (*rows < height || *cols < width) return err(ErrorKind::invalidValue);
    if (isTooLarge(*rows, *cols)) return err(ErrorKind::invalidNumber);
    FormulaValue pad = padArg(c, 3);
    ValueRows out = std::move(*data.value);
    for (ValueRow& row : out)
        row.resize(static_cast<size_t>(*cols), pad);
    out.resize(static_cast<size_t>(*rows), ValueRow(static_cast<size_t>(*cols), pad));
    return FormulaValue::array(std::move(out));
}

// CHOOSECOLS(array, col_num1, ...) — the listed columns
FormulaValue evaluateChooseCols(FunctionContext& c) {
    return choose(c, true);
}

// CHOOSEROWS(array, row_num1, ...) — the listed rows
FormulaValue evaluateChooseRows(FunctionContext& c) {
    return choose(c, false);
}

} // namespace sumora
