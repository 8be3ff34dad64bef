#include "engine/FormulaEvaluator.h"

#include <cmath>
#include <new>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "engine/RecalcProfiler.h"

namespace sumora {

namespace {
// "#VALUE!", or for functions that report it "#VALUE! (NAME expects 3-6 args, got 2)".
FormulaValue wrongArgumentCount(const FunctionDeclaration& function, uint32_t got) {
    if (!function.is(FunctionFlags::countReported)) return FormulaValue::error(ErrorKind::invalidValue);
    const ArgCount count = function.count;
    std::string expected = std::to_string(count.min);
    if (count.max == ArgCount::kUnbounded)
        expected += "+";
    else if (count.max != count.min)
        expected += "-" + std::to_string(count.max);
    return FormulaValue::error(FormulaError::wrongArgumentCount(
        std::string(function.name), std::move(expected), static_cast<int64_t>(got)));
}
} // namespace

const FormulaValue* FormulaEvaluator::variable(std::string_view upperName) const {
    for (auto it = variables_.rbegin(); it != variables_.rend(); ++it)
        if (it->first == upperName) return &it->second;
    return nullptr;
}

std::optional<RangeSpec> FormulaEvaluator::referenceOf(const FormulaTree& tree, uint32_t index) {
    const FormulaNode& n = tree.node(index);
    if (n.kind == NodeKind::cellRef || n.kind == NodeKind::range) {
        RangeSpec s{n.ref.col, n.ref.row, n.ref.col2, n.ref.row2, std::nullopt};
        if (const std::string* sheet = tree.sheetOf(n)) s.sheet = *sheet;
        return s;
    }
    if (n.kind == NodeKind::name && !variable(tree.string(n.stringIndex))) {
        auto range = resolver_.resolveNamedRange(tree.string(n.stringIndex));
        if (!range) return std::nullopt;
        RangeSpec s{range->start.col, range->start.row, range->end.col, range->end.row, std::nullopt};
        if (range->start.sheet) {
            nameSheets_.push_back(*range->start.sheet);
            s.sheet = nameSheets_.back();
        }
        return s;
    }
    return std::nullopt;
}

FormulaValue FormulaEvaluator::evaluateName(const FormulaTree& tree, const FormulaNode& n) {
    std::string_view name = tree.string(n.stringIndex);
    if (const FormulaValue* v = variable(name)) return *v;
    auto range = resolver_.resolveNamedRange(name);
    if (!range) return FormulaValue::error(ErrorKind::invalidName);
    // A one-cell name reads as that cell; a larger range is not a plain value.
    if (range->start.col == range->end.col && range->start.row == range->end.row)
        return resolver_.getCellValue(range->start);
    return FormulaValue::error(ErrorKind::invalidValue);
}

FormulaValue FormulaEvaluator::evaluateNode(const FormulaTree& tree, uint32_t index, int depth) {
    if (depth > kMaxDepth) return FormulaValue::error(ErrorKind::circularReference);
    const FormulaNode& n = tree.node(index);
    switch (n.kind) {
    case NodeKind::literal:
        switch (n.literal) {
        case LiteralKind::number:
            return FormulaValue::number(n.number);
        case LiteralKind::boolean:
            return FormulaValue::boolean(n.boolean);
        case LiteralKind::text:
            return FormulaValue::text(std::string(tree.string(n.stringIndex)));
        }
        break;
    case NodeKind::cellRef: {
        const std::string* sheet = tree.sheetOf(n);
        return resolver_.cellValue({n.ref.col, n.ref.row},
                                   sheet ? std::optional<std::string_view>(*sheet) : std::nullopt);
    }
    case NodeKind::range:
        return FormulaValue::error(ErrorKind::invalidValue);
    case NodeKind::unaryOp: {
        auto v = evaluate(tree, n.first, depth + 1).asNumber();
        if (!v) return FormulaValue::error(ErrorKind::invalidValue);
        return FormulaValue::number(n.op == '-' ? -*v : *v);
    }
    case NodeKind::binaryOp:
        return evaluateBinaryOp(tree, n, depth + 1);
    case NodeKind::functionCall:
        return evaluateFunction(tree, index, depth + 1);
    case NodeKind::percent: {
        auto v = evaluate(tree, n.first, depth + 1).asNumber();
        if (!v) return FormulaValue::error(ErrorKind::invalidValue);
        return FormulaValue::number(*v / 100);
    }
    case NodeKind::name:
        return evaluateName(tree, n);
    }
    return FormulaValue::error(ErrorKind::invalidValue);
}

FormulaValue FormulaEvaluator::evaluateFunction(const FormulaTree& tree, uint32_t callNode, int depth) {
    const FormulaNode& n = tree.node(callNode);
    const FunctionDeclaration* function = n.call.function;
    if (!function)
        return FormulaValue::error(FormulaError::unknownFunction(std::string(tree.functionName(n))));
    if (!function->count.accepts(n.call.argCount)) return wrongArgumentCount(*function, n.call.argCount);
    FunctionContext context(*this, tree, callNode, depth);
    try {
        if (!profiler_) return function->impl(context);
        profiler_->beginFunction();
        auto start = RecalcProfiler::Clock::now();
        FormulaValue result = function->impl(context);
        profiler_->endFunction(function, RecalcProfiler::nanosecondsSince(start));
        return result;
    } catch (const std::bad_alloc&) {
        // A range or result too large to hold (ArrayTooLarge), or memory ran
        // out: the formula fails, the process and the workbook do not.
        return FormulaValue::error(ErrorKind::invalidNumber);
    }
}

FormulaValue FormulaEvaluator::evaluateBinaryOp(const FormulaTree& tree, const FormulaNode& n, int depth) {
    FormulaValue a = evaluate(tree, n.first, depth);
    FormulaValue b = evaluate(tree, tree.node(n.first).next, depth);
    auto op = static_cast<BinaryOp>(n.op);
    if (a.isNumber() && b.isNumber()) { // arithmetic on numbers, the common case, without coercion
        const double x = a.numberValue(), y = b.numberValue();
        switch (op) {
        case BinaryOp::add:
            return FormulaValue::number(x + y);
        case BinaryOp::sub:
            return FormulaValue::number(x - y);
        case BinaryOp::mul:
            return FormulaValue::number(x * y);
        default:
            break;
        }
    }
    if (a.isError()) return a;
    if (b.isError()) return b;
    switch (op) {
    case BinaryOp::concat: {
        std::string s = a.description();
        b.appendDescription(s);
        return FormulaValue::text(std::move(s));
    }
    case BinaryOp::eq:
    case BinaryOp::ne: {
        bool equal = a.description() == b.description();
        return FormulaValue::boolean(op == BinaryOp::eq ? equal : !equal);
    }
    case BinaryOp::lt:
    case BinaryOp::gt:
    case BinaryOp::le:
    case BinaryOp::ge: {
        auto x = a.asNumber(), y = b.asNumber();
        if (x && y) {
            switch (op) {
            case BinaryOp::lt:
                return FormulaValue::boolean(*x < *y);
            case BinaryOp::gt:
                return FormulaValue::boolean(*x > *y);
            case BinaryOp::le:
                return FormulaValue::boolean(*x <= *y);
            default:
                return FormulaValue::boolean(*x >= *y);
            }
        }
        // Plain code-point order of the text forms (UTF-8 byte order agrees).
        int c = a.description().compare(b.description());
        switch (op) {
        case BinaryOp::lt:
            return FormulaValue::boolean(c < 0);
        case BinaryOp::gt:
            return FormulaValue::boolean(c > 0);
        case BinaryOp::le:
            return FormulaValue::boolean(c <= 0);
        default:
            return FormulaValue::boolean(c >= 0);
        }
    }
    case BinaryOp::add:
    case BinaryOp::sub:
    case BinaryOp::mul:
    case BinaryOp::div:
    case BinaryOp::pow: {
        auto x = a.asNumber(), y = b.asNumber();
        if (!x || !y) return FormulaValue::error(ErrorKind::invalidValue);
        switch (op) {
        case BinaryOp::add:
            return FormulaValue::number(*x + *y);
        case BinaryOp::sub:
            return FormulaValue::number(*x - *y);
        case BinaryOp::mul:
            return FormulaValue::number(*x * *y);
        case BinaryOp::div:
            if (*y == 0) return FormulaValue::error(ErrorKind::divisionByZero);
            return FormulaValue::number(*x / *y);
        default:
            return FormulaValue::number(std::pow(*x, *y));
        }
    }
    }
    return FormulaValue::error(ErrorKind::invalidValue);
}

} // namespace sumora
