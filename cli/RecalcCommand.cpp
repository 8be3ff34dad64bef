#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"

namespace sumora::cli {

// recalc IN [-o OUT]: opens, recalculates every sheet, writes or prints.
void addRecalcCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("recalc", "Open a workbook, recalculate it, write or print it");
    auto input = std::make_shared<std::string>();
    auto output = std::make_shared<std::string>();
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->callback([input, output] {
        // Every reader yields at least one sheet, so this only opens and
        // recalculates.
        reserveOutput(*output);
        SumoraDocument doc = openWorkbookForEditing(*input);
        if (output->empty())
            printFirstSheet(doc);
        else
            saveEditedWorkbook(doc, *output);
    });
}

} // namespace sumora::cli
