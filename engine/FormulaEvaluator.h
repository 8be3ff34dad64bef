#pragma once
// Computes the value of a formula tree: literals, references, operators,
// unary signs and percent, with a depth guard; every function call goes to
// the implementation the parser resolved, with its arguments unevaluated.
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/CellResolver.h"
#include "engine/FormulaTree.h"
#include "engine/FormulaValue.h"

namespace sumora {

class RecalcProfiler;

// Told each node's value as evaluation finishes the node, children before
// their parent (the steps of the evaluate-formula tool).
class EvaluationObserver {
  public:
    virtual ~EvaluationObserver() = default;
    virtual void evaluated(const FormulaTree& tree, uint32_t node, const FormulaValue& value) = 0;
};

class FormulaEvaluator {
  public:
    static constexpr int kMaxDepth = 1000;

    explicit FormulaEvaluator(CellResolver& resolver) : resolver_(resolver) {}

    FormulaValue evaluate(const FormulaTree& tree, int depth = 0) { return evaluate(tree, tree.root, depth); }
    FormulaValue evaluate(const FormulaTree& tree, uint32_t node, int depth) {
        if (!observer_) [[likely]]
            return evaluateNode(tree, node, depth);
        FormulaValue value = evaluateNode(tree, node, depth);
        observer_->evaluated(tree, node, value);
        return value;
    }
    FormulaValue evaluateFunction(const FormulaTree& tree, uint32_t callNode, int depth);

    CellResolver& resolver() { return resolver_; }
    // Times every function call into the profiler (none: no timing).
    void setProfiler(RecalcProfiler* profiler) { profiler_ = profiler; }
    // Reports every node evaluated from now on (none: no reports).
    void setObserver(EvaluationObserver* observer) { observer_ = observer; }

    // LET variables, innermost last; a bare name looks here before the
    // workbook's named ranges.
    void pushVariable(std::string name, FormulaValue value) {
        variables_.emplace_back(std::move(name), std::move(value));
    }
    void popVariables(size_t toSize) { variables_.resize(toSize); }
    size_t variableCount() const { return variables_.size(); }
    const FormulaValue* variable(std::string_view upperName) const;

    // The range a reference-like node names (cell, range or workbook name).
    std::optional<RangeSpec> referenceOf(const FormulaTree& tree, uint32_t node);

  private:
    FormulaValue evaluateNode(const FormulaTree& tree, uint32_t node, int depth);
    FormulaValue evaluateBinaryOp(const FormulaTree& tree, const FormulaNode& n, int depth);
    FormulaValue evaluateName(const FormulaTree& tree, const FormulaNode& n);

    CellResolver& resolver_;
    RecalcProfiler* profiler_ = nullptr;
    EvaluationObserver* observer_ = nullptr;
    std::vector<std::pair<std::string, FormulaValue>> variables_;
    std::vector<std::string> nameSheets_; // keeps sheet names of resolved names alive
};

} // namespace sumora
