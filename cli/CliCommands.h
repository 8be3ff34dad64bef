#pragma once
// Subcommands of the headless front end; each registers itself on the app.
#include <CLI/CLI.hpp>

namespace sumora {
class SumoraDocument;
}

namespace sumora::cli {

void addEvalCommand(CLI::App& app);
void addRecalcCommand(CLI::App& app);
void addSetCommand(CLI::App& app);
void addSortCommand(CLI::App& app);
void addGoalSeekCommand(CLI::App& app);
void addSolveCommand(CLI::App& app);
void addCheckCommand(CLI::App& app);
void addDiffCommand(CLI::App& app);
void addTraceCommand(CLI::App& app);
#ifdef SUMORA_HAVE_MACROS
void addMacroCommand(CLI::App& app);
#endif

// Prints the first sheet's display values as CSV, through the used range.
void printFirstSheet(const SumoraDocument& document);

// For commands that write a file: checks that its extension names a type
// that can be written (else the command fails with status 2) and locks it
// until the process ends, so that another program cannot save it between
// this command's reading and writing. Nothing for an empty path.
void reserveOutput(const std::string& path);

// For commands that edit through the editor: opens and recalculates (a file
// without sheets gets one), or fails the command with the reader's message.
SumoraDocument openWorkbookForEditing(const std::string& path);
// For the reporting commands (check, diff, trace, recalc --profile): opens a
// workbook of a readable type, recalculated or with its stored results, or
// prints one line and ends the command with status 2.
SumoraDocument openWorkbookForReport(const std::string& path, bool recalculate);
// Keeps the document until the process ends and lets the exit reclaim its
// memory: freeing millions of cells one by one just before exiting is wasted
// time. Commands hold what they open through this; files they write are
// closed before they return, so nothing is left unflushed.
SumoraDocument& heldUntilExit(SumoraDocument document);
// Writes atomically, or fails the command with the writer's message. What
// the format will not keep is listed on stderr first; with strict saves
// (--strict) any such loss fails the command with status 3 and nothing is
// written.
void setStrictSaves(bool strict);
void saveEditedWorkbook(const SumoraDocument& document, const std::string& path);

} // namespace sumora::cli
