// Real-world workbooks from other projects' test data: each opens, or fails
// with one of the user messages, quickly and without crashing.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "values/Log.h"
#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> corpusWorkbooks() {
    std::vector<fs::path> files;
    fs::path root = SUMORA_CORPUS_DIR;
    if (!fs::is_directory(root)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        std::string ext = entry.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
        if (ext == ".xlsx") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool isXlsxMessage(std::string_view m) {
    return m == "The file is not a valid XLSX archive. It may be corrupted or truncated." ||
           m == "The file contains invalid XML data. A worksheet may be corrupted." ||
           m == "The file is missing required components (shared strings). It may have been partially "
                "saved." ||
           m.rfind("Could not open this XLSX file: ", 0) == 0;
}

class QuietLog {
  public:
    QuietLog() : was_(Log::enabled()) { Log::setEnabled(false); }
    ~QuietLog() { Log::setEnabled(was_); }

  private:
    bool was_;
};

TEST(XlsxCorpus, EveryWorkbookOpensOrFailsWithAUserMessage) {
    std::vector<fs::path> files = corpusWorkbooks();
    if (files.empty()) GTEST_SKIP() << "no corpus at " << SUMORA_CORPUS_DIR;
    QuietLog quiet;
    std::map<std::string, int> outcomes;
    for (const fs::path& path : files) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        auto start = std::chrono::steady_clock::now();
        std::string outcome = "opened";
        try {
            SumoraDocument doc = openDocument(bytes.str(), path.filename().string(), kXlsxContentType);
            EXPECT_FALSE(doc.sheets.empty()) << path;
        } catch (const FileReadError& e) {
            outcome = e.what();
            EXPECT_TRUE(isXlsxMessage(outcome)) << path << ": " << outcome;
            if (outcome.rfind("Could not open this XLSX file: ", 0) == 0)
                outcome = "Could not open this XLSX file: …";
        }
        auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_LT(seconds, 10.0) << path << " took " << seconds << " s";
        ++outcomes[outcome];
    }
    std::ostringstream summary;
    for (const auto& [outcome, count] : outcomes)
        summary << "  " << count << "  " << outcome << "\n";
    std::cout << files.size() << " workbooks:\n" << summary.str();
    // Nearly all of them are sound workbooks; the rest are broken on purpose.
    EXPECT_GE(outcomes["opened"] * 100, static_cast<int>(files.size()) * 94) << summary.str();
}

} // namespace
} // namespace sumora
