#include "engine/FunctionContext.h"

#include <algorithm>
#include <cmath>

namespace sumora {

FunctionContext::FunctionContext(FormulaEvaluator& evaluator, const FormulaTree& tree, uint32_t callNode,
                                 int depth)
    : evaluator_(evaluator), tree_(tree), callNode_(callNode), depth_(depth) {
    const FormulaNode& call = tree.node(callNode);
    tree.arguments(call, args_);
}

FormulaValue FunctionContext::evaluate(size_t i) {
    if (i >= args_.size()) return FormulaValue::empty();
    return evaluator_.evaluate(tree_, args_[i], depth_);
}

std::optional<double> FunctionContext::evalNum(size_t i) {
    if (i >= args_.size()) return std::nullopt;
    return evaluate(i).asNumber();
}

std::optional<double> FunctionContext::evalNumOr(size_t i, double fallback) {
    if (i >= args_.size()) return fallback;
    return evaluate(i).asNumber();
}

std::string FunctionContext::evalStr(size_t i) {
    if (i >= args_.size()) return {};
    return evaluate(i).description();
}

std::optional<bool> FunctionContext::evalBoolOr(size_t i, bool fallback) {
    if (i >= args_.size()) return fallback;
    FormulaValue v = evaluate(i);
    if (v.isEmpty()) return false;
    return v.asBool();
}

void FunctionContext::appendNumbers(size_t i, std::vector<double>& out) {
    if (i >= args_.size()) return;
    const FormulaNode& n = tree_.node(args_[i]);
    if (n.kind == NodeKind::cellRef) {
        if (auto x = evaluator_.evaluate(tree_, args_[i], depth_).asNumber()) out.push_back(*x);
        return;
    }
    if (n.kind == NodeKind::range ||
        (n.kind == NodeKind::name && !evaluator_.variable(tree_.string(n.stringIndex)))) {
        if (auto rangeSpec = reference(i)) resolver().rangeNumbers(*rangeSpec, out);
        return;
    }
    FormulaValue v = evaluate(i);
    if (v.isArray()) {
        for (const auto& row : v.arrayRows())
            for (const auto& e : row)
                if (e.isNumber()) out.push_back(e.numberValue());
        return;
    }
    if (auto x = v.asNumber()) out.push_back(*x);
}

std::vector<double> FunctionContext::resolveNumbers() {
    std::vector<double> out;
    for (size_t i = 0; i < args_.size(); ++i)
        appendNumbers(i, out);
    return out;
}

std::vector<FormulaValue> FunctionContext::resolveValues(size_t i) {
    std::vector<FormulaValue> out;
    if (i >= args_.size()) return out;
    const FormulaNode& n = tree_.node(args_[i]);
    if (n.kind == NodeKind::range ||
        (n.kind == NodeKind::name && !evaluator_.variable(tree_.string(n.stringIndex)))) {
        if (auto rangeSpec = reference(i))
            resolver().rangeValues(*rangeSpec, out);
        else
            out.push_back(evaluate(i));
        return out;
    }
    FormulaValue v = evaluate(i);
    if (v.isArray()) {
        for (const auto& row : v.arrayRows())
            out.insert(out.end(), row.begin(), row.end());
        return out;
    }
    out.push_back(std::move(v));
    return out;
}

SparseRange FunctionContext::sparseValues(size_t i) {
    SparseRange out;
    if (i >= args_.size()) return out;
    const FormulaNode& n = tree_.node(args_[i]);
    if (n.kind == NodeKind::range ||
        (n.kind == NodeKind::name && !evaluator_.variable(tree_.string(n.stringIndex)))) {
        if (auto rangeSpec = reference(i)) {
            resolver().rangeEntries(*rangeSpec, out);
            return out;
        }
    }
    FormulaValue v = evaluate(i);
    if (!v.isArray()) {
        out.rows = out.cols = 1;
        if (!v.isEmpty()) out.entries.push_back({0, std::move(v)});
        return out;
    }
    // Positions count the elements row-major, as resolveValues lists them
    // (a ragged array reads as one row).
    const ValueRows& rows = v.arrayRows();
    int64_t position = 0;
    for (const ValueRow& row : rows)
        for (const FormulaValue& e : row) {
            if (!e.isEmpty()) out.entries.push_back({position, e});
            ++position;
        }
    bool rectangular =
        std::all_of(rows.begin(), rows.end(), [&](const ValueRow& r) { return r.size() == rows[0].size(); });
    out.rows = rectangular ? static_cast<int64_t>(rows.size()) : 1;
    out.cols = rectangular && !rows.empty() ? static_cast<int64_t>(rows[0].size()) : position;
    return out;
}

ValueRows FunctionContext::resolve2DValues(size_t i) {
    ValueRows rows;
    if (i >= args_.size()) return rows;
    const FormulaNode& n = tree_.node(args_[i]);
    if (n.kind == NodeKind::range ||
        (n.kind == NodeKind::name && !evaluator_.variable(tree_.string(n.stringIndex)))) {
        auto rangeSpec = reference(i);
        if (!rangeSpec) return {{evaluate(i)}};
        std::vector<FormulaValue> flat;
        resolver().rangeValues(*rangeSpec, flat);
        // rangeValues clips to the grid; recover the clipped width.
        int64_t cols = rangeSpec->cols();
        if (auto size = resolver().gridSize(rangeSpec->sheet)) {
            int64_t lastCol = std::min(rangeSpec->col2, size->second - 1);
            cols = std::max<int64_t>(0, lastCol - std::max<int64_t>(rangeSpec->col1, 0) + 1);
        }
        if (cols <= 0) return rows;
        for (size_t k = 0; k < flat.size(); k += static_cast<size_t>(cols))
            rows.emplace_back(
                flat.begin() + static_cast<ptrdiff_t>(k),
                flat.begin() + static_cast<ptrdiff_t>(std::min(flat.size(), k + static_cast<size_t>(cols))));
        return rows;
    }
    FormulaValue v = evaluate(i);
    if (v.isArray()) return v.arrayRows();
    rows.push_back({std::move(v)});
    return rows;
}

const FormulaValue* FunctionContext::firstError(const std::vector<FormulaValue>& values) {
    for (const auto& v : values)
        if (v.isError()) return &v;
    return nullptr;
}

FormulaValue finiteOrNumError(double x) {
    if (!std::isfinite(x)) return FormulaValue::error(ErrorKind::invalidNumber);
    return FormulaValue::number(x);
}

} // namespace sumora
