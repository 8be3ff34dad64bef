#include <iostream>

#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::cli {

// eval FORMULA: the formula becomes A1 of a new document; prints A1's text.
void addEvalCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("eval", "Evaluate one formula and print its result");
    auto formula = std::make_shared<std::string>();
    cmd->add_option("formula", *formula, "Formula, with or without its leading =")->required();
    cmd->callback([formula] {
        SumoraDocument doc;
        std::string_view text = *formula;
        if (!text.empty() && text.front() == '=') text.remove_prefix(1);
        doc.sheets[0].cellForWriting(0, 0).setFormula(text);
        recalculateSheet(doc, 0, builtinFunctions());
        std::cout << doc.sheets[0].cell(0, 0).displayValue() << '\n';
    });
}

} // namespace sumora::cli
