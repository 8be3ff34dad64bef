// Goal seek, the solver and scenarios: tools that write input cells of the
// active sheet directly, watch formula cells, and report one status text.
// They register no undo steps.
//
// Writing an input stores its text as `value` (a formula in the cell is left
// alone) and, in a cell without a formula, as its computed text too, the way a
// typed constant is stored; formulas read a cell's computed text first, so the
// new number would otherwise not reach them.
//
// The first write of a run recalculates every formula; later rounds hand only
// the cells that changed to the sheet's kept calculator, which recomputes just
// what depends on them. Formulas that do not depend on the inputs already hold
// the same results, so this gives the sheet a full recalculation would give,
// in a fraction of the time.
#include <cmath>
#include <cstdio>
#include <optional>

#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"
#include "engine/FormulaValue.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

std::string formatted(const char* format, double number) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, number);
    return buffer;
}

std::string_view trimmed(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

// The pieces of a comma-separated list of references, empty ones dropped.
std::vector<std::string_view> referencePieces(std::string_view list) {
    std::vector<std::string_view> pieces;
    for (size_t from = 0; from <= list.size();) {
        size_t at = list.find(',', from);
        if (at == std::string_view::npos) at = list.size();
        if (at > from) pieces.push_back(list.substr(from, at - from));
        from = at + 1;
    }
    return pieces;
}

// A cell's number for these tools: its display text read strictly; 0 when it
// is not a number.
double cellNumber(const Sheet& sheet, CellPosition at) {
    return parseStrictNumber(sheet.cell(at.row, at.col).displayValue()).value_or(0.0);
}

// Writes `text` as an input cell's value; false when it already held it.
bool writeInput(Sheet& sheet, CellPosition at, std::string_view text) {
    const Cell& current = sheet.cell(at.row, at.col);
    if (current.value() == text && (current.hasFormula() || current.displayValue() == text)) return false;
    Cell& cell = sheet.cellForWriting(at.row, at.col);
    cell.setValue(text);
    if (!cell.hasFormula()) cell.setComputedValue(text);
    return true;
}

// Recalculation after each round of writes (see the file comment).
class RoundRecalculation {
  public:
    explicit RoundRecalculation(SumoraEditorView& editor) : editor_(editor) {}

    void afterWriting(const std::vector<CellPosition>& changed) {
        if (!everything_) {
            editor_.recalculateAllFormulas();
            everything_ = true;
            return;
        }
        for (const CellPosition& at : changed)
            editor_.recalculateCell(at);
    }

  private:
    SumoraEditorView& editor_;
    bool everything_ = false;
};

} // namespace

// ---- goal seek ---------------------------------------------------------------

GoalSeekResult SumoraEditorView::performGoalSeek(const GoalSeekRequest& request) {
    auto setCell = parseCellAddress(request.setCell);
    auto changingCell = parseCellAddress(request.changingCell);
    auto target = parseStrictNumber(request.targetValue);
    if (!setCell || !changingCell || !target) return {"Invalid input. Use cell references like A1, B2."};

    // Bisection: assumes the set cell grows with the changing cell.
    double low = -100000.0, high = 100000.0;
    RoundRecalculation recalculation(*this);
    for (int round = 0; round < 200; ++round) {
        Sheet* sheet = activeSheet();
        if (!sheet || !sheet->contains(changingCell->row, changingCell->col))
            return {"Changing cell out of range."};
        const double mid = (high + low) * 0.5;
        writeInput(*sheet, *changingCell, shortestNumberText(mid));
        recalculation.afterWriting({*changingCell});
        sheet = activeSheet();
        if (!sheet || !sheet->contains(setCell->row, setCell->col)) return {"Target cell out of range."};
        const double result = cellNumber(*sheet, *setCell);
        if (std::fabs(result - *target) < 1e-8) return {"Found solution: " + formatted("%.6f", mid)};
        if (result < *target)
            low = mid;
        else
            high = mid;
    }
    // The changing cell keeps the last value tried, not this midpoint.
    return {"Approximate solution: " + formatted("%.6f", (high + low) * 0.5) + " (may not be exact)"};
}

// ---- solver --------------------------------------------------------------------

std::string SumoraEditorView::formatSolverValue(double number) {
    if (number == std::floor(number) && std::fabs(number) < 1e15) return formatted("%g", number);
    return formatted("%.6f", number);
}

namespace {

enum class SolverGoal { maximise, minimise, reachValue };

// One solver run: the pattern search over the variable cells.
class SolverRun {
  public:
    SolverRun(SumoraEditorView& editor, const std::vector<SolverConstraint>& constraints,
              CellPosition objective, std::vector<CellPosition> variables, SolverGoal goal, double target)
        : editor_(editor), constraints_(constraints), objective_(objective), variables_(std::move(variables)),
          goal_(goal), target_(target), recalculation_(editor) {}

    // Writes the candidate into the variable cells, recalculates and reads the
    // objective; nothing when the objective is outside the grid or not numeric.
    std::optional<double> evaluate(const std::vector<double>& x) {
        Sheet* sheet = editor_.activeSheet();
        if (!sheet) return std::nullopt;
        changed_.clear();
        for (size_t i = 0; i < variables_.size(); ++i) {
            const CellPosition at = variables_[i];
            if (!sheet->contains(at.row, at.col)) continue;
            if (writeInput(*sheet, at, SumoraEditorView::formatSolverValue(x[i]))) changed_.push_back(at);
        }
        recalculation_.afterWriting(changed_);
        sheet = editor_.activeSheet();
        if (!sheet || !sheet->contains(objective_.row, objective_.col)) return std::nullopt;
        return parseStrictNumber(sheet->cell(objective_.row, objective_.col).displayValue());
    }

    // Comparisons read the sheet as last recalculated; "int" and "bin" read
    // the candidate.
    bool constraintsSatisfied(const std::vector<double>& x) const {
        const Sheet* sheet = editor_.activeSheet();
        for (const SolverConstraint& constraint : constraints_) {
            auto at = parseCellAddress(constraint.cellRef);
            if (!at) continue;
            if (constraint.op == "int" || constraint.op == "bin") {
                auto variable = variableIndex(*at);
                if (!variable) continue;
                const double v = x[*variable];
                if (constraint.op == "int" ? v != std::floor(v) : (v != 0.0 && v != 1.0)) return false;
                continue;
            }
            auto bound = parseStrictNumber(constraint.value);
            if (!bound) continue;
            const double v = sheet ? cellNumber(*sheet, *at) : 0.0;
            if (constraint.op == "<=" && v > *bound + 1e-9) return false;
            if (constraint.op == ">=" && v < *bound - 1e-9) return false;
            if (constraint.op == "=" && std::fabs(v - *bound) > 1e-9) return false;
        }
        return true;
    }

    // Runs the search from `x`; the best objective found, if any candidate
    // was ever accepted (`x` then holds its vector).
    std::optional<double> search(std::vector<double>& x) {
        std::optional<double> best;
        double step = 1.0;
        int rounds = 0;
        for (;;) {
            bool accepted = false;
            for (size_t i = 0; i < x.size(); ++i) {
                for (double delta : {step, -step}) {
                    std::vector<double> candidate = x;
                    candidate[i] += delta;
                    auto f = evaluate(candidate);
                    if (!f || !constraintsSatisfied(candidate) || !improves(*f, best)) continue;
                    x = std::move(candidate);
                    best = f;
                    accepted = true;
                    break;
                }
            }
            if (!accepted) {
                step *= 0.5;
                if (step < 1e-10) break;
                if (++rounds >= 500) break;
                continue;
            }
            if (goal_ == SolverGoal::reachValue && std::fabs(*best - target_) < 1e-6) break;
            if (step < 1.0 && rounds % 20 == 0) step *= 1.5;
            if (++rounds >= 500) break;
        }
        return best;
    }

  private:
    bool improves(double f, const std::optional<double>& best) const {
        switch (goal_) {
        case SolverGoal::maximise:
            return f > best.value_or(-1e18);
        case SolverGoal::minimise:
            return f < best.value_or(1e18);
        case SolverGoal::reachValue:
            return std::fabs(f - target_) < std::fabs(best.value_or(1e18) - target_);
        }
        return false;
    }

    std::optional<size_t> variableIndex(CellPosition at) const {
        for (size_t i = 0; i < variables_.size(); ++i)
            if (variables_[i] == at) return i;
        return std::nullopt;
    }

    SumoraEditorView& editor_;
    const std::vector<SolverConstraint>& constraints_;
    CellPosition objective_;
    std::vector<CellPosition> variables_;
    SolverGoal goal_;
    double target_;
    RoundRecalculation recalculation_;
    std::vector<CellPosition> changed_;
};

} // namespace

SolverResult SumoraEditorView::runSolver(const SolverRequest& request) {
    auto objective = parseCellAddress(request.objectiveCell);
    if (!objective) return {"Invalid objective cell reference."};
    std::vector<CellPosition> variables;
    for (std::string_view piece : referencePieces(request.variableCells)) {
        piece = trimmed(piece);
        auto at = parseCellAddress(piece);
        if (!at) return {"Invalid variable cell: " + std::string(piece)};
        variables.push_back(*at);
    }
    Sheet* sheet = activeSheet();
    // Without a sheet the search never starts; the status stays as it began.
    if (!sheet) return {"Solving."};

    std::vector<double> x;
    std::vector<Cell> originals;
    for (const CellPosition& at : variables) {
        x.push_back(cellNumber(*sheet, at));
        originals.push_back(sheet->cell(at.row, at.col));
    }
    const SolverGoal goal = request.goal == "max"     ? SolverGoal::maximise
                            : request.goal == "value" ? SolverGoal::reachValue
                                                      : SolverGoal::minimise;
    const double target =
        goal == SolverGoal::reachValue ? parseStrictNumber(request.targetValue).value_or(0.0) : 0.0;

    SolverRun run(*this, request.constraints, *objective, variables, goal, target);
    auto best = run.search(x);
    if (!best) {
        if ((sheet = activeSheet())) {
            for (size_t i = 0; i < variables.size(); ++i)
                if (sheet->contains(variables[i].row, variables[i].col))
                    sheet->setCell(variables[i].row, variables[i].col, originals[i]);
        }
        recalculateAllFormulas();
        return {"No feasible solution found."};
    }
    run.evaluate(x); // leaves the sheet showing the best vector
    if (goal == SolverGoal::reachValue && std::fabs(*best - target) >= 1e-6)
        return {"Best solution: objective = " + formatSolverValue(*best) + " (target was " +
                formatSolverValue(target) + ")"};
    return {"Solution found. Objective = " + formatSolverValue(*best)};
}

// ---- scenarios --------------------------------------------------------------------

void SumoraEditorView::saveScenario(const ScenarioRequest& request) {
    Scenario scenario;
    scenario.name = request.name;
    scenario.comment = request.comment;
    if (const Sheet* sheet = activeSheet()) {
        for (std::string_view piece : referencePieces(request.changingCells)) {
            piece = trimmed(piece);
            auto at = parseCellAddress(piece);
            if (!at || !sheet->contains(at->row, at->col)) continue;
            scenario.changingCells[std::string(piece)] = std::string(sheet->cell(at->row, at->col).value());
        }
    }
    if (request.editingScenarioId) {
        for (Scenario& existing : document.scenarios) {
            if (existing.id != *request.editingScenarioId) continue;
            scenario.id = existing.id;
            existing = std::move(scenario);
            return;
        }
    }
    document.scenarios.push_back(std::move(scenario));
}

void SumoraEditorView::applyScenario(const Scenario& scenario) {
    Sheet* sheet = activeSheet();
    if (!sheet) return;
    for (const auto& [reference, text] : scenario.changingCells) {
        auto at = parseCellAddress(reference);
        if (!at || !sheet->contains(at->row, at->col)) continue;
        savedOriginalValues_[reference] = std::string(sheet->cell(at->row, at->col).value());
        writeInput(*sheet, *at, text);
    }
    recalculateAllFormulas();
}

void SumoraEditorView::restoreOriginalValues() {
    if (Sheet* sheet = activeSheet()) {
        for (const auto& [reference, text] : savedOriginalValues_) {
            auto at = parseCellAddress(reference);
            if (!at || !sheet->contains(at->row, at->col)) continue;
            writeInput(*sheet, *at, text);
        }
    }
    savedOriginalValues_.clear();
    recalculateAllFormulas();
}

} // namespace sumora
