#include <iostream>

#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"
#include "engine/FormulaSteps.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::cli {

namespace {

// One line per computed part ("2*3 → 6"), as the part reads at that moment.
void printSteps(const SumoraDocument& doc) {
    FormulaSteps steps = formulaSteps(doc, 0, {0, 0}, builtinFunctions());
    if (!steps.failure.empty()) {
        std::cout << steps.failure << '\n';
        return;
    }
    for (const FormulaStep& step : steps.steps)
        std::cout << step.part() << " → " << step.value << '\n';
    if (steps.truncated) std::cout << "(only the first " << kMaxFormulaSteps << " steps are shown)\n";
}

} // namespace

// eval FORMULA [--steps]: the formula becomes A1 of a new document; prints
// A1's text, after the steps of its evaluation when asked.
void addEvalCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("eval", "Evaluate one formula and print its result");
    auto formula = std::make_shared<std::string>();
    auto steps = std::make_shared<bool>(false);
    cmd->add_option("formula", *formula, "Formula, with or without its leading =")->required();
    cmd->add_flag("--steps", *steps, "Print each part of the formula as it is computed, innermost first");
    cmd->callback([formula, steps] {
        SumoraDocument doc;
        std::string_view text = *formula;
        if (!text.empty() && text.front() == '=') text.remove_prefix(1);
        doc.sheets[0].cellForWriting(0, 0).setFormula(text);
        recalculateSheet(doc, 0, builtinFunctions());
        if (*steps) printSteps(doc);
        std::cout << doc.sheets[0].cell(0, 0).displayValue() << '\n';
    });
}

} // namespace sumora::cli
