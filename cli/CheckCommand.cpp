#include <iostream>

#include "cli/CliCommands.h"
#include "cli/ReportText.h"
#include "document/ColumnLetters.h"
#include "document/SumoraDocument.h"
#include "formats/StoredResultCheck.h"

namespace sumora::cli {

namespace {

void printText(const SumoraDocument& doc, const ResultCheckReport& report) {
    auto line = [&](const ResultDifference& d, std::string_view note) {
        std::cout << cellLabel(doc.sheets[d.sheet].name, {d.col, d.row}) << ": stored " << d.stored
                  << ", computed " << d.computed << note << '\n';
    };
    for (const ResultDifference& d : report.differences)
        line(d, "");
    if (!report.volatileDifferences.empty()) {
        std::cout << "Volatile (not counted as differences):\n";
        for (const ResultDifference& d : report.volatileDifferences)
            line(d, "");
    }
    std::cout << report.formulasChecked << " formulas checked: " << report.differences.size() << " differ, "
              << report.volatileDifferences.size() << " volatile, " << report.withoutStoredResult
              << " without a stored result\n";
}

void printJson(const std::string& path, const SumoraDocument& doc, const ResultCheckReport& report) {
    auto records = [&](const std::vector<ResultDifference>& list) {
        std::string out = "[";
        for (size_t i = 0; i < list.size(); ++i) {
            const ResultDifference& d = list[i];
            out += i ? ",\n    " : "\n    ";
            out += "{\"cell\": " + jsonString(cellLabel(doc.sheets[d.sheet].name, {d.col, d.row})) +
                   ", \"sheet\": " + jsonString(doc.sheets[d.sheet].name) +
                   ", \"address\": " + jsonString(cellAddress({d.col, d.row})) +
                   ", \"stored\": " + jsonString(d.stored) + ", \"computed\": " + jsonString(d.computed) +
                   "}";
        }
        return out + (list.empty() ? "]" : "\n  ]");
    };
    std::cout << "{\n  \"file\": " << jsonString(path)
              << ",\n  \"agrees\": " << (report.agrees() ? "true" : "false")
              << ",\n  \"formulasChecked\": " << report.formulasChecked
              << ",\n  \"withoutStoredResult\": " << report.withoutStoredResult
              << ",\n  \"differences\": " << records(report.differences)
              << ",\n  \"volatile\": " << records(report.volatileDifferences) << "\n}\n";
}

} // namespace

// check FILE [--tolerance T] [--sheet NAME] [--json]: recalculates and
// compares every formula's result with the one the file stored.
void addCheckCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("check", "Recalculate a workbook and compare with the results it stored");
    auto input = std::make_shared<std::string>();
    auto sheet = std::make_shared<std::string>();
    auto tolerance = std::make_shared<double>(1e-9);
    auto json = std::make_shared<bool>(false);
    cmd->add_option("input", *input, "Workbook to check (xlsx, ods, csv)")->required();
    cmd->add_option("--tolerance", *tolerance, "Relative tolerance for numbers (default 1e-9)")
        ->check(CLI::NonNegativeNumber);
    cmd->add_option("--sheet", *sheet, "Check the formulas of this sheet only");
    cmd->add_flag("--json", *json, "Print one JSON document");
    cmd->callback([input, sheet, tolerance, json] {
        SumoraDocument& doc = heldUntilExit(openWorkbookForReport(*input, false));
        ResultCheckOptions options;
        options.tolerance = *tolerance;
        if (!sheet->empty()) {
            options.onlySheet = doc.sheetIndex(*sheet);
            if (!options.onlySheet) {
                std::cerr << "No sheet named \"" << *sheet << "\" in " << *input << '\n';
                throw CLI::RuntimeError(2);
            }
        }
        ResultCheckReport report = checkStoredResults(doc, options);
        if (*json)
            printJson(*input, doc, report);
        else
            printText(doc, report);
        if (!report.agrees()) throw CLI::RuntimeError(1);
    });
}

} // namespace sumora::cli
