// Opening, writing and printing of workbooks, shared by the subcommands
// (declared in CliCommands.h). Failures print the reader's or writer's own
// message and end the command with status 1.
#include <deque>
#include <iostream>
#include <memory>

#include "cli/CliCommands.h"
#include "document/SumoraDocument.h"
#include "formats/CsvFormat.h"
#include "formats/DocumentIO.h"
#include "formats/DocumentLock.h"
#include "formats/FileErrors.h"
#include "formats/FileReplacement.h"
#include "formats/SaveLosses.h"
#include "functions/BuiltinFunctions.h"

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

void reserveOutput(const std::string& path) {
    if (path.empty()) return;
    if (!fileTypeForPath(path)) {
        std::cerr << "Cannot write \"" << path << "\": Sumora writes .xlsx, .ods and .csv files.\n";
        throw CLI::RuntimeError(2);
    }
    static std::unique_ptr<DocumentLock> outputLock;
    try {
        std::filesystem::path target = resolvedSaveTarget(path);
        checkSaveTarget(target);
        outputLock = std::make_unique<DocumentLock>(target);
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        throw CLI::RuntimeError(1);
    }
}

SumoraDocument openWorkbookForEditing(const std::string& path) {
    SumoraDocument doc;
    try {
        doc = openDocumentFile(path);
    } catch (const FileReadError& e) {
        std::cerr << e.what() << '\n';
        throw CLI::RuntimeError(1);
    }
    if (doc.sheets.empty()) doc.sheets.push_back(SumoraDocument::makeNewSheet("Sheet 1"));
    return doc;
}

SumoraDocument openWorkbookForReport(const std::string& path, bool recalculate) {
    // An unknown extension would open as an empty workbook; here it is a mistake.
    auto type = fileTypeForPath(path);
    if (!type) {
        std::cerr << "Not a workbook (xlsx, ods or csv): " << path << '\n';
        throw CLI::RuntimeError(2);
    }
    try {
        SumoraDocument doc =
            openDocumentFile(path, recalculate ? OpenMode::recalculated : OpenMode::asStored);
        if (doc.sheets.empty()) doc.sheets.push_back(SumoraDocument::makeNewSheet("Sheet 1"));
        return doc;
    } catch (const std::exception& e) {
        std::cerr << path << ": " << e.what() << '\n';
        throw CLI::RuntimeError(2);
    }
}

SumoraDocument& heldUntilExit(SumoraDocument document) {
    // Never destroyed (a deque keeps references stable as it grows); still
    // reachable through the static, so leak checkers do not report it.
    static auto* held = new std::deque<SumoraDocument>();
    return held->emplace_back(std::move(document));
}

namespace {
bool strictSaves = false;
}

void setStrictSaves(bool strict) {
    strictSaves = strict;
}

void saveEditedWorkbook(const SumoraDocument& document, const std::string& path) {
    auto type = fileTypeForPath(path);
    if (type) {
        LossReport losses = lossesOnSave(document, *type);
        for (const std::string& loss : losses)
            std::cerr << "Warning: " << loss << '\n';
        if (strictSaves && !losses.empty()) {
            std::cerr << "Not saved: \"" << path << "\" would lose what is listed above (--strict).\n";
            throw CLI::RuntimeError(3);
        }
    }
    try {
        // The losses are counted above; only a type-less name goes through
        // saveDocumentFile, for its refusal.
        if (type)
            writeDocumentFile(document, path, *type);
        else
            saveDocumentFile(document, path);
    } catch (const std::exception& e) {
        std::cerr << e.what() << '\n';
        throw CLI::RuntimeError(1);
    }
}

} // namespace sumora::cli
