#include <iostream>

#include "cli/CliCommands.h"
#include "document/ColumnLetters.h"
#include "document/SumoraDocument.h"
#include "editing/SumoraEditorView.h"
#include "formats/XlsxWorksheetReader.h"

namespace sumora::cli {

// set IN REF=TEXT... [-o OUT]: enters each text into the first sheet as if
// typed (formulas, locale-aware numbers, recalculation), then writes or prints.
void addSetCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("set", "Enter values or formulas into cells of the first sheet");
    auto input = std::make_shared<std::string>();
    auto assignments = std::make_shared<std::vector<std::string>>();
    auto output = std::make_shared<std::string>();
    auto locale = std::make_shared<std::string>("en_US");
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("assignments", *assignments, "REF=TEXT, e.g. B2=42 or C1==SUM(A1:A9)")->required();
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->add_option("--locale", *locale, "Locale of typed numbers, e.g. de_DE (default en_US)");
    cmd->callback([input, assignments, output, locale] {
        // Every assignment is checked before the file is touched.
        std::vector<std::pair<CellPosition, std::string>> entries;
        for (const std::string& a : *assignments) {
            size_t eq = a.find('=');
            auto at =
                eq == std::string::npos ? std::nullopt : parseCellAddress(std::string_view(a).substr(0, eq));
            if (!at) {
                std::cerr << "Not a cell assignment: " << a << " (expected REF=TEXT, such as B2=42)\n";
                throw CLI::RuntimeError(2);
            }
            if (at->col >= xlsx::kMaxColumns || at->row >= xlsx::kMaxRows) {
                std::cerr << "Cell " << a.substr(0, eq)
                          << " is outside the sheet, which ends at column XFD and row " << xlsx::kMaxRows
                          << ".\n";
                throw CLI::RuntimeError(2);
            }
            entries.emplace_back(*at, a.substr(eq + 1));
        }
        reserveOutput(*output);
        SumoraDocument& doc = heldUntilExit(openWorkbookForEditing(*input));
        SumoraEditorView editor(doc);
        editor.localeIdentifier = *locale;
        for (const auto& [at, text] : entries)
            editor.setCellValue({at.col, at.row}, text);
        if (output->empty())
            printFirstSheet(doc);
        else
            saveEditedWorkbook(doc, *output);
    });
}

} // namespace sumora::cli
