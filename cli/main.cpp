// sumora-cli: the headless front end. Diagnostics go to stderr through the
// logger; standard output carries only what the command prints.
#include <CLI/CLI.hpp>

#include "cli/CliCommands.h"

int main(int argc, char** argv) {
    CLI::App app{"Sumora spreadsheet engine, headless"};
    app.require_subcommand(1);
    sumora::cli::addEvalCommand(app);
    sumora::cli::addRecalcCommand(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    return 0;
}
