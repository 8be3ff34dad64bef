// Every OpenDocument spreadsheet of the real-world corpus (files from other
// spreadsheet projects' test data, bug reports and fuzzers) opens, or fails
// with the ODS message; and what opens recalculates.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "values/Log.h"
#include "engine/Recalculation.h"
#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> corpusFiles(std::string_view extension) {
    std::vector<fs::path> files;
    fs::path root = SUMORA_CORPUS_DIR;
    std::error_code ec;
    if (!fs::is_directory(root, ec)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(root, ec)) {
        if (!entry.is_regular_file()) continue;
        std::string ext = entry.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
        if (ext == extension) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

// Opens every corpus file; `check` runs on each document that opened.
void openEach(const std::function<void(SumoraDocument&)>& check) {
    std::vector<fs::path> files = corpusFiles(".ods");
    if (files.empty()) GTEST_SKIP() << "no corpus at " << SUMORA_CORPUS_DIR;
    Log::setEnabled(false);
    int opened = 0, refused = 0;
    for (const fs::path& path : files) {
        SCOPED_TRACE(path.string());
        try {
            SumoraDocument doc = openDocument(contents(path), path.filename().string(), kOdsContentType);
            check(doc);
            ++opened;
        } catch (const FileReadError& e) {
            EXPECT_EQ(std::string_view(e.what()).rfind("Could not open this ODS file: ", 0), 0u) << e.what();
            ++refused;
        } catch (const std::exception& e) {
            ADD_FAILURE() << "not a file error: " << e.what();
        }
    }
    Log::setEnabled(true);
    std::cout << "[ corpus   ] " << opened << " opened, " << refused << " refused of " << files.size()
              << " ODS files\n";
}

TEST(OdsCorpus, EveryFileOpensOrFailsWithTheOdsMessage) {
    openEach([](SumoraDocument& doc) {
        ASSERT_FALSE(doc.sheets.empty());
        for (const Sheet& sheet : doc.sheets) {
            EXPECT_GE(sheet.rowCount(), 500);
            EXPECT_GE(sheet.columnCount(), 26);
            EXPECT_LE(sheet.rowCount(), 1048576);
            EXPECT_LE(sheet.columnCount(), 16384);
        }
    });
}

// The formulas other programs wrote, as the reader rewrites them, go
// through the engine without harm.
TEST(OdsCorpus, WhatOpensRecalculates) {
    openEach([](SumoraDocument& doc) { recalculateDocument(doc, builtinFunctions()); });
}

} // namespace
} // namespace sumora
