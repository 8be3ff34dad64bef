#include <iostream>

#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"
#include "engine/Recalculation.h"
#include "formats/CsvFormat.h"
#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"

namespace sumora::cli {

void printFirstSheet(const SumoraDocument& document) {
    if (document.sheets.empty()) return;
    const Sheet& sheet = document.sheets.front();
    auto extent = sheet.usedExtent();
    std::string out;
    for (int64_t r = 0; r < extent.rows; ++r) {
        for (int64_t c = 0; c < extent.cols; ++c) {
            if (c > 0) out += ',';
            appendCsvField(out, sheet.cell(r, c).displayValue());
        }
        out += '\n';
        if (out.size() > (1 << 20)) {
            std::cout << out;
            out.clear();
        }
    }
    std::cout << out;
}

// recalc IN [-o OUT]: opens, recalculates every sheet, writes or prints.
void addRecalcCommand(CLI::App& app) {
    auto* cmd = app.add_subcommand("recalc", "Open a workbook, recalculate it, write or print it");
    auto input = std::make_shared<std::string>();
    auto output = std::make_shared<std::string>();
    cmd->add_option("input", *input, "Workbook to open (xlsx, ods, csv)")->required();
    cmd->add_option("-o,--output", *output, "File to write; its extension names the type");
    cmd->callback([input, output] {
        SumoraDocument doc;
        try {
            doc = openDocumentFile(*input);
        } catch (const FileReadError& e) {
            std::cerr << e.what() << '\n';
            throw CLI::RuntimeError(1);
        }
        recalculateDocument(doc);
        if (output->empty()) {
            printFirstSheet(doc);
            return;
        }
        try {
            saveDocumentFile(doc, *output);
        } catch (const std::exception& e) {
            std::cerr << e.what() << '\n';
            throw CLI::RuntimeError(1);
        }
    });
}

} // namespace sumora::cli
