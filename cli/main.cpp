// sumora-cli: the headless front end. Standard output carries only what the
// command prints. The engine's diagnostic lines (one per SUM evaluation, one
// per cell entry…) go to stderr only with --verbose: a batch run over a big
// workbook would otherwise spend most of its time writing them.
#include <CLI/CLI.hpp>

#include "cli/CliCommands.h"
#include "cli/HugePageHeap.h"
#include "formats/SaveInterruption.h"
#include "values/Log.h"

int main(int argc, char** argv) {
    sumora::cli::adviseHugePageHeap();
    sumora::installSaveSignalHandlers();
    CLI::App app{"Sumora spreadsheet engine, headless"};
    app.require_subcommand(1);
    bool verbose = false;
    app.add_flag("-v,--verbose", verbose, "Write diagnostic lines to stderr");
    bool strict = false;
    app.add_flag("--strict", strict,
                 "Refuse a save that would lose anything (exit status 3, nothing written)");
    app.fallthrough(); // the two flags may follow the subcommand too
    app.parse_complete_callback([&verbose, &strict] {
        sumora::Log::setEnabled(verbose);
        sumora::cli::setStrictSaves(strict);
    });
    sumora::Log::setEnabled(false);
    sumora::cli::addEvalCommand(app);
    sumora::cli::addRecalcCommand(app);
    sumora::cli::addSetCommand(app);
    sumora::cli::addSortCommand(app);
    sumora::cli::addGoalSeekCommand(app);
    sumora::cli::addSolveCommand(app);
    sumora::cli::addCheckCommand(app);
    sumora::cli::addDiffCommand(app);
    sumora::cli::addTraceCommand(app);
#ifdef SUMORA_HAVE_MACROS
    sumora::cli::addMacroCommand(app);
#endif
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    return 0;
}
