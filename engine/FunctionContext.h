#pragma once
// What a built-in function sees: its unevaluated arguments and the shared
// argument handling (counting, coercion, flattening of ranges), so that a
// function body reads like its definition.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/CellResolver.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaTree.h"
#include "engine/FormulaValue.h"
#include "engine/FunctionDeclaration.h"

namespace sumora {

// A call's argument node indexes: the usual few in place, so that a call
// allocates nothing for them; more go to the heap.
class ArgumentIndexes {
  public:
    void push_back(uint32_t index) {
        if (size_ < kInline) {
            inline_[size_] = index;
        } else {
            if (size_ == kInline) more_.assign(inline_, inline_ + kInline);
            more_.push_back(index);
        }
        ++size_;
    }
    size_t size() const { return size_; }
    uint32_t operator[](size_t i) const { return size_ <= kInline ? inline_[i] : more_[i]; }

  private:
    static constexpr size_t kInline = 8;
    uint32_t inline_[kInline];
    size_t size_ = 0;
    std::vector<uint32_t> more_;
};

class FunctionContext {
  public:
    FunctionContext(FormulaEvaluator& evaluator, const FormulaTree& tree, uint32_t callNode, int depth);

    size_t argCount() const { return args_.size(); }
    bool hasArg(size_t i) const { return i < args_.size(); }
    std::string_view name() const { return tree_.functionName(tree_.node(callNode_)); }
    // The called function's declaration (null only for unknown names).
    const FunctionDeclaration* declaration() const { return tree_.node(callNode_).call.function; }
    int depth() const { return depth_; }
    const FormulaTree& tree() const { return tree_; }
    uint32_t argIndex(size_t i) const { return args_[i]; }
    const FormulaNode& argNode(size_t i) const { return tree_.node(args_[i]); }
    FormulaEvaluator& evaluator() { return evaluator_; }
    CellResolver& resolver() { return evaluator_.resolver(); }

    // Argument i evaluated as a plain value (empty when missing).
    FormulaValue evaluate(size_t i);
    // Argument i as a number: nothing when missing or not numeric.
    std::optional<double> evalNum(size_t i);
    // Argument i as a number, `fallback` when the argument is missing.
    std::optional<double> evalNumOr(size_t i, double fallback);
    // Argument i as text (its text form; "" when missing).
    std::string evalStr(size_t i);
    // Argument i as a truth value, `fallback` when missing.
    std::optional<bool> evalBoolOr(size_t i, bool fallback);

    // Numbers of every argument: a cell gives its number if it has one
    // (numeric text and booleans count), a range or name gives the numbers
    // its cells hold, anything else is evaluated (arrays give their numbers).
    std::vector<double> resolveNumbers();
    void appendNumbers(size_t i, std::vector<double>& out);
    // Every value of argument i, row-major for ranges and arrays.
    std::vector<FormulaValue> resolveValues(size_t i);
    // The non-empty values of argument i with their row-major positions; a
    // range is walked sparsely, so its area may be the whole sheet.
    SparseRange sparseValues(size_t i);
    // Argument i as rows of values, keeping its shape.
    ValueRows resolve2DValues(size_t i);
    // The range argument i names (a cell, a range or a workbook name).
    std::optional<RangeSpec> reference(size_t i) { return evaluator_.referenceOf(tree_, args_[i]); }

    // First error among the values, for functions that propagate errors.
    static const FormulaValue* firstError(const std::vector<FormulaValue>& values);

  private:
    FormulaEvaluator& evaluator_;
    const FormulaTree& tree_;
    uint32_t callNode_;
    int depth_;
    ArgumentIndexes args_;
};

// Shorthands for function bodies.
inline FormulaValue num(double x) {
    return FormulaValue::number(x);
}
inline FormulaValue err(ErrorKind k) {
    return FormulaValue::error(k);
}
inline FormulaValue txt(std::string s) {
    return FormulaValue::text(std::move(s));
}
inline FormulaValue boolean(bool b) {
    return FormulaValue::boolean(b);
}
// A numeric result, or "#NUM!" when it is not finite.
FormulaValue finiteOrNumError(double x);

} // namespace sumora
