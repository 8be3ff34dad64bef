#include <iostream>
#include <sstream>

#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"
#include "editing/SumoraEditorView.h"

namespace sumora::cli {

namespace {

// "A1 <= 3", "A1<=3", "B2 int": a constraint as the solver dialog holds it.
std::optional<SolverConstraint> parseConstraint(const std::string& text) {
    SolverConstraint constraint;
    std::istringstream words(text);
    std::vector<std::string> parts;
    for (std::string w; words >> w;)
        parts.push_back(w);
    if (parts.size() == 1) {
        for (std::string_view op : {"<=", ">=", "="}) {
            size_t at = parts[0].find(op);
            if (at == std::string::npos || at == 0) continue;
            parts = {parts[0].substr(0, at), std::string(op), parts[0].substr(at + op.size())};
            break;
        }
    }
    if (parts.size() == 2 && (parts[1] == "int" || parts[1] == "bin")) parts.emplace_back();
    if (parts.size() != 3) return std::nullopt;
    const std::string& op = parts[1];
    if (op != "<=" && op != ">=" && op != "=" && op != "int" && op != "bin") return std::nullopt;
    if ((op == "int" || op == "bin") != parts[2].empty()) return std::nullopt;
    constraint.cellRef = parts[0];
    constraint.op = op;
    constraint.value = parts[2];
    return constraint;
}

} // namespace

// solve IN --objective REF --goal max|min|value [--target N] --vars REFS
// [--constraint "REF OP VALUE"]... [-o OUT]: runs the solver on the first
// sheet and prints its outcome.
void addSolveCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("solve", "Maximise, minimise or reach a value by varying input cells");
    auto input = std::make_shared<std::string>();
    auto objective = std::make_shared<std::string>();
    auto goal = std::make_shared<std::string>("max");
    auto target = std::make_shared<std::string>();
    auto variables = std::make_shared<std::string>();
    auto constraints = std::make_shared<std::vector<std::string>>();
    auto output = std::make_shared<std::string>();
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("--objective", *objective, "Cell holding the objective formula")->required();
    cmd->add_option("--goal", *goal, "max, min or value")->check(CLI::IsMember({"max", "min", "value"}));
    cmd->add_option("--target", *target, "Value to reach with --goal value");
    cmd->add_option("--vars", *variables, "Input cells separated by commas, e.g. A1,B1")->required();
    cmd->add_option("--constraint", *constraints, "\"REF OP VALUE\" with OP <=, >= or =, or \"REF int|bin\"");
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->callback([=] {
        std::vector<SolverConstraint> parsed;
        for (const std::string& text : *constraints) {
            auto constraint = parseConstraint(text);
            if (!constraint) {
                std::cerr << "Not a constraint: " << text
                          << " (expected \"REF OP VALUE\", such as \"A1 <= 3\")\n";
                throw CLI::RuntimeError(2);
            }
            parsed.push_back(std::move(*constraint));
        }
        reserveOutput(*output);
        SumoraDocument& doc = heldUntilExit(openWorkbookForEditing(*input));
        SumoraEditorView editor(doc);
        const std::string status =
            editor.runSolver({*objective, *goal, *target, *variables, std::move(parsed)}).statusText;
        std::cout << status << '\n';
        if (status.starts_with("Invalid")) throw CLI::RuntimeError(2);
        if (!output->empty()) saveEditedWorkbook(doc, *output);
    });
}

} // namespace sumora::cli
