#include "cli/CliCommands.h"
#include "cli/ProfileReport.h"
#include "document/SumoraDocument.h"
#include "engine/RecalcProfiler.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::cli {

// recalc IN [-o OUT] [--profile]: opens, recalculates every sheet, writes or
// prints; with --profile it prints where the recalculation spent its time
// instead of the sheet.
void addRecalcCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("recalc", "Open a workbook, recalculate it, write or print it");
    auto input = std::make_shared<std::string>();
    auto output = std::make_shared<std::string>();
    auto profile = std::make_shared<bool>(false);
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->add_flag("--profile", *profile, "Print the slowest formulas and functions and the longest chain");
    cmd->callback([input, output, profile] {
        reserveOutput(*output);
        // With --profile the workbook is opened with its stored results, so
        // that the one recalculation is the timed one; otherwise opening
        // recalculates (and every reader yields at least one sheet).
        SumoraDocument& doc =
            heldUntilExit(*profile ? openWorkbookForReport(*input, false) : openWorkbookForEditing(*input));
        if (*profile) {
            RecalcProfiler profiler;
            auto start = RecalcProfiler::Clock::now();
            recalculateDocument(doc, builtinFunctions(), &profiler);
            printProfileReport(doc, profiler, RecalcProfiler::nanosecondsSince(start));
        }
        if (!output->empty())
            saveEditedWorkbook(doc, *output);
        else if (!*profile)
            printFirstSheet(doc);
    });
}

} // namespace sumora::cli
