#include <iostream>

#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"
#include "editing/SumoraEditorView.h"

namespace sumora::cli {

// goalseek IN SET TARGET CHANGING [-o OUT]: bisects the changing cell of the
// first sheet until the set cell shows the target; prints the outcome.
void addGoalSeekCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("goalseek", "Find the input that makes a formula reach a target");
    auto input = std::make_shared<std::string>();
    auto setCell = std::make_shared<std::string>();
    auto target = std::make_shared<std::string>();
    auto changingCell = std::make_shared<std::string>();
    auto output = std::make_shared<std::string>();
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("set", *setCell, "Cell holding the formula, e.g. B1")->required();
    cmd->add_option("target", *target, "Value the formula should reach")->required();
    cmd->add_option("changing", *changingCell, "Input cell to vary, e.g. A1")->required();
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->callback([input, setCell, target, changingCell, output] {
        reserveOutput(*output);
        SumoraDocument& doc = heldUntilExit(openWorkbookForEditing(*input));
        SumoraEditorView editor(doc);
        const std::string status = editor.performGoalSeek({*setCell, *target, *changingCell}).statusText;
        std::cout << status << '\n';
        const bool found = status.starts_with("Found") || status.starts_with("Approximate");
        if (!found) throw CLI::RuntimeError(2);
        if (!output->empty()) saveEditedWorkbook(doc, *output);
    });
}

} // namespace sumora::cli
