#include <algorithm>
#include <iostream>

#include "cli/CliCommands.h"
#include "document/ColumnLetters.h"
#include "document/SumoraDocument.h"
#include "editing/SumoraEditorView.h"

namespace sumora::cli {

// sort IN COL [--desc] [--header] [-o OUT]: sorts the first sheet's rows by a
// column, then writes or prints the sheet.
void addSortCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("sort", "Sort the rows of the first sheet by one column");
    auto input = std::make_shared<std::string>();
    auto column = std::make_shared<std::string>();
    auto output = std::make_shared<std::string>();
    auto descending = std::make_shared<bool>(false);
    auto header = std::make_shared<bool>(false);
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("column", *column, "Column letters, e.g. B")->required();
    cmd->add_flag("--desc", *descending, "Largest first");
    cmd->add_flag("--header", *header, "Keep the first row in place");
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->callback([input, column, output, descending, header] {
        const bool letters = !column->empty() && std::all_of(column->begin(), column->end(), [](char c) {
            return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        });
        auto index = letters ? columnIndex(*column) : std::nullopt;
        if (!index) {
            std::cerr << "Not a column: " << *column << " (expected letters such as B)\n";
            throw CLI::RuntimeError(2);
        }
        reserveOutput(*output);
        SumoraDocument& doc = heldUntilExit(openWorkbookForEditing(*input));
        SumoraEditorView editor(doc);
        if (*header) {
            editor.performMultiSort({{SortKey{*index, !*descending}}, true});
        } else {
            editor.activeCell = CellPosition{*index, 0};
            editor.sortColumn(!*descending);
        }
        if (output->empty())
            printFirstSheet(doc);
        else
            saveEditedWorkbook(doc, *output);
    });
}

} // namespace sumora::cli
