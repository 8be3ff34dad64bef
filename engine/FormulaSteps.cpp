#include "engine/FormulaSteps.h"

#include <algorithm>

#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/FormulaTokenizer.h"
#include "engine/WorkbookResolver.h"

namespace sumora {

namespace {

// Arrays longer than this show their first elements and "…".
constexpr size_t kMaxArrayElementsShown = 12;

std::string quoted(std::string_view text) {
    std::string out = "\"";
    for (char c : text)
        out += c == '"' ? std::string("\"\"") : std::string(1, c);
    return out + "\"";
}

std::string scalarText(const FormulaValue& value) {
    if (value.isText()) return quoted(value.textValue());
    if (value.isEmpty()) return "(empty)";
    return value.description();
}

// The formula a cell holds, as recalculation reads it ("=…" values count).
std::optional<std::string_view> formulaOf(const Cell& cell) {
    if (cell.hasFormula()) return cell.formula();
    std::string_view value = cell.value();
    if (!value.empty() && value.front() == '=') return value.substr(1);
    return std::nullopt;
}

// Collects the first evaluation of every node; nodes evaluated again are
// dropped afterwards, since one value cannot stand for all their evaluations.
class StepRecorder : public EvaluationObserver {
  public:
    explicit StepRecorder(const FormulaTree& tree) : tree_(tree), evaluations_(tree.size(), 0) {}

    void evaluated(const FormulaTree& tree, uint32_t node, const FormulaValue& value) override {
        if (&tree != &tree_ || node >= evaluations_.size()) return;
        if (evaluations_[node] < 2) ++evaluations_[node];
        if (evaluations_[node] > 1) return;
        NodeKind kind = tree.node(node).kind;
        if (kind == NodeKind::literal || kind == NodeKind::range) return;
        if (recorded_.size() >= kMaxFormulaSteps) {
            truncated_ = true;
            return;
        }
        recorded_.push_back({node, stepValueText(value)});
    }

    struct Recorded {
        uint32_t node;
        std::string value;
    };
    // The steps in evaluation order, without nodes evaluated more than once.
    std::vector<Recorded> steps() const {
        std::vector<Recorded> out;
        for (const Recorded& r : recorded_)
            if (evaluations_[r.node] == 1) out.push_back(r);
        return out;
    }
    bool truncated() const { return truncated_; }

  private:
    const FormulaTree& tree_;
    std::vector<uint8_t> evaluations_;
    std::vector<Recorded> recorded_;
    bool truncated_ = false;
};

// Writes the formula with the parts already computed replaced by their
// values, and notes where the part computed next lands in the text.
class ExpressionWriter {
  public:
    ExpressionWriter(std::string_view source, const FormulaTree& tree, const std::vector<TextSpan>& spans,
                     const std::vector<StepRecorder::Recorded>& steps)
        : source_(source), tree_(tree), spans_(spans), steps_(steps), stepOf_(tree.size(), kNoStep) {
        for (size_t i = 0; i < steps.size(); ++i)
            stepOf_[steps[i].node] = i;
    }

    // The text before step `current` (steps.size(): after the last), and the
    // bytes of the current step's part in it.
    std::string write(size_t current, size_t& begin, size_t& end) const {
        std::string out = "=";
        begin = end = 0;
        write(tree_.root, current, out, begin, end);
        return out;
    }

  private:
    static constexpr size_t kNoStep = SIZE_MAX;

    void write(uint32_t node, size_t current, std::string& out, size_t& begin, size_t& end) const {
        const size_t step = stepOf_[node];
        if (step != kNoStep && step < current) {
            out += steps_[step].value;
            return;
        }
        const size_t start = out.size();
        const TextSpan span = clamp(spans_[node]);
        size_t at = span.begin;
        for (uint32_t child = tree_.node(node).first; child != FormulaNode::kNone;
             child = tree_.node(child).next) {
            const TextSpan inner = clamp(spans_[child]);
            if (inner.begin < at || inner.end > span.end) break; // spans always nest; stay safe if not
            out.append(source_, at, inner.begin - at);
            write(child, current, out, begin, end);
            at = inner.end;
        }
        out.append(source_, at, span.end - std::min<size_t>(at, span.end));
        if (step == current) {
            begin = start;
            end = out.size();
        }
    }

    TextSpan clamp(TextSpan s) const {
        const auto size = static_cast<uint32_t>(source_.size());
        s.end = std::min(s.end, size);
        s.begin = std::min(s.begin, s.end);
        return s;
    }

    std::string_view source_;
    const FormulaTree& tree_;
    const std::vector<TextSpan>& spans_;
    const std::vector<StepRecorder::Recorded>& steps_;
    std::vector<size_t> stepOf_;
};

std::optional<StepTarget> stepInTarget(const SumoraDocument& document, size_t sheet, const FormulaTree& tree,
                                       uint32_t node) {
    const FormulaNode& n = tree.node(node);
    if (n.kind != NodeKind::cellRef) return std::nullopt;
    if (const std::string* name = tree.sheetOf(n)) {
        auto named = document.sheetIndex(*name);
        if (!named) return std::nullopt;
        sheet = *named;
    }
    const Sheet& target = document.sheets[sheet];
    if (!target.contains(n.ref.row, n.ref.col) || !formulaOf(target.cell(n.ref.row, n.ref.col)))
        return std::nullopt;
    return StepTarget{sheet, n.ref.col, n.ref.row};
}

} // namespace

std::string stepValueText(const FormulaValue& value) {
    if (!value.isArray()) return scalarText(value);
    std::string out = "{";
    size_t shown = 0;
    const ValueRows& rows = value.arrayRows();
    for (size_t r = 0; r < rows.size(); ++r) {
        for (size_t c = 0; c < rows[r].size(); ++c) {
            if (shown == kMaxArrayElementsShown) return out + "…}";
            if (c > 0)
                out += ',';
            else if (r > 0)
                out += ';';
            out += scalarText(rows[r][c]);
            ++shown;
        }
    }
    return out + "}";
}

FormulaSteps formulaSteps(const SumoraDocument& document, size_t sheet, CellPosition at,
                          const FunctionRegistry& registry) {
    const auto [col, row] = at;
    FormulaSteps out;
    if (sheet >= document.sheets.size() || !document.sheets[sheet].contains(row, col)) return out;
    const Cell& cell = document.sheets[sheet].cell(row, col);
    auto formula = formulaOf(cell);
    if (!formula) {
        out.result = std::string(cell.displayValue());
        return out;
    }
    std::string_view source = *formula;
    if (!source.empty() && source.front() == '=') source.remove_prefix(1);
    out.formula = "=" + std::string(source);

    std::vector<TextSpan> spans;
    FormulaTree tree;
    try {
        FormulaParser parser(FormulaTokenizer(source).tokenize(), registry, [&](std::string_view name) {
            return findNamedRange(document.namedRanges, name).has_value();
        });
        parser.recordSpans(&spans);
        tree = parser.parse();
    } catch (const FormulaParseError& e) {
        out.failure = e.error.description();
        return out;
    }
    if (spans.size() != tree.size()) return out;

    WorkbookResolver resolver(document, sheet, CellRef{col, row, std::nullopt});
    FormulaEvaluator evaluator(resolver);
    StepRecorder recorder(tree);
    evaluator.setObserver(&recorder);
    out.result = stepValueText(evaluator.evaluate(tree));
    out.truncated = recorder.truncated();

    const std::vector<StepRecorder::Recorded> recorded = recorder.steps();
    ExpressionWriter writer(source, tree, spans, recorded);
    out.steps.reserve(recorded.size());
    for (size_t i = 0; i < recorded.size(); ++i) {
        FormulaStep step;
        step.expression = writer.write(i, step.begin, step.end);
        step.value = recorded[i].value;
        step.stepIn = stepInTarget(document, sheet, tree, recorded[i].node);
        out.steps.push_back(std::move(step));
    }
    return out;
}

} // namespace sumora
