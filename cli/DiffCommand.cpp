#include <iostream>

#include "cli/CliCommands.h"
#include "cli/ReportText.h"
#include "document/ColumnLetters.h"
#include "document/SumoraDocument.h"
#include "formats/WorkbookDiff.h"

namespace sumora::cli {

namespace {

std::string_view aspectName(DiffAspect a) {
    switch (a) {
    case DiffAspect::values:
        return "value";
    case DiffAspect::formulas:
        return "formula";
    case DiffAspect::formats:
        return "format";
    }
    return "value";
}

std::string shown(const std::string& text) {
    return text.empty() ? "(empty)" : text;
}

void printText(const WorkbookDiff& diff) {
    for (const std::string& name : diff.sheetsRemoved)
        std::cout << "Sheet removed: " << name << '\n';
    for (const std::string& name : diff.sheetsAdded)
        std::cout << "Sheet added: " << name << '\n';
    for (const SheetRename& r : diff.sheetsRenamed)
        std::cout << "Sheet renamed: " << r.from << " → " << r.to << '\n';
    for (const CellChange& c : diff.cells) {
        std::cout << cellLabel(c.sheet, {c.col, c.row});
        if (c.aspect == DiffAspect::formats) std::cout << " (format)";
        std::cout << ": " << shown(c.before) << " → " << shown(c.after) << '\n';
    }
}

void printJson(const WorkbookDiff& diff) {
    auto names = [](const std::vector<std::string>& list) {
        std::string out = "[";
        for (size_t i = 0; i < list.size(); ++i)
            out += (i ? ", " : "") + jsonString(list[i]);
        return out + "]";
    };
    std::string renamed = "[";
    for (size_t i = 0; i < diff.sheetsRenamed.size(); ++i)
        renamed += (i ? ", " : "") + std::string("{\"from\": ") + jsonString(diff.sheetsRenamed[i].from) +
                   ", \"to\": " + jsonString(diff.sheetsRenamed[i].to) + "}";
    renamed += "]";
    std::cout << "{\n  \"equal\": " << (diff.empty() ? "true" : "false")
              << ",\n  \"sheetsAdded\": " << names(diff.sheetsAdded)
              << ",\n  \"sheetsRemoved\": " << names(diff.sheetsRemoved)
              << ",\n  \"sheetsRenamed\": " << renamed << ",\n  \"cells\": [";
    std::string out;
    for (size_t i = 0; i < diff.cells.size(); ++i) {
        const CellChange& c = diff.cells[i];
        out += i ? ",\n    " : "\n    ";
        out += "{\"cell\": " + jsonString(cellLabel(c.sheet, {c.col, c.row})) +
               ", \"sheet\": " + jsonString(c.sheet) +
               ", \"address\": " + jsonString(cellAddress({c.col, c.row})) +
               ", \"kind\": " + jsonString(aspectName(c.aspect)) + ", \"before\": " + jsonString(c.before) +
               ", \"after\": " + jsonString(c.after) + "}";
        if (out.size() > (1 << 20)) {
            std::cout << out;
            out.clear();
        }
    }
    std::cout << out << (diff.cells.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

} // namespace

// diff A B [--values] [--formulas] [--formats] [--json]: what changed from A
// to B. The flags choose what is compared; without any, constants and formulas.
void addDiffCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("diff", "Cell-level differences between two workbooks");
    auto first = std::make_shared<std::string>();
    auto second = std::make_shared<std::string>();
    auto values = std::make_shared<bool>(false);
    auto formulas = std::make_shared<bool>(false);
    auto formats = std::make_shared<bool>(false);
    auto json = std::make_shared<bool>(false);
    cmd->add_option("first", *first, "Workbook before (xlsx, ods, csv)")->required();
    cmd->add_option("second", *second, "Workbook after (xlsx, ods, csv)")->required();
    cmd->add_flag("--values", *values, "Compare constants");
    cmd->add_flag("--formulas", *formulas, "Compare formulas");
    cmd->add_flag("--formats", *formats, "Compare cell formats");
    cmd->add_flag("--json", *json, "Print one JSON document");
    cmd->callback([=] {
        unsigned aspects = (*values ? static_cast<unsigned>(DiffAspect::values) : 0) |
                           (*formulas ? static_cast<unsigned>(DiffAspect::formulas) : 0) |
                           (*formats ? static_cast<unsigned>(DiffAspect::formats) : 0);
        if (aspects == 0)
            aspects = static_cast<unsigned>(DiffAspect::values) | static_cast<unsigned>(DiffAspect::formulas);
        // Contents only: nothing needs recalculating.
        SumoraDocument& a = heldUntilExit(openWorkbookForReport(*first, false));
        SumoraDocument& b = heldUntilExit(openWorkbookForReport(*second, false));
        WorkbookDiff diff = diffWorkbooks(a, b, aspects);
        if (*json)
            printJson(diff);
        else
            printText(diff);
        if (!diff.empty()) throw CLI::RuntimeError(1);
    });
}

} // namespace sumora::cli
