#pragma once
// Subcommands of the headless front end; each registers itself on the app.
#include <CLI/CLI.hpp>

namespace sumora {
class SumoraDocument;
}

namespace sumora::cli {

void addEvalCommand(CLI::App& app);
void addRecalcCommand(CLI::App& app);

// Prints the first sheet's display values as CSV, through the used range.
void printFirstSheet(const SumoraDocument& document);

} // namespace sumora::cli
