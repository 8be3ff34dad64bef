// The fast XML scanner against expat on real-world workbooks: every XLSX and
// ODS file of the corpus opens to the same document, or fails with the same
// message, whichever reads its parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "formats/DocumentIO.h"
#include "formats/FileErrors.h"
#include "formats/XmlScanner.h"
#include "values/Log.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

// The sheets as read, or the message of the failure.
struct Outcome {
    std::vector<Sheet> sheets;
    std::vector<std::string> dropped;
    std::string error;
};

Outcome open(const std::string& bytes, const fs::path& path, bool scanned) {
    setXmlScannerEnabled(scanned);
    Outcome outcome;
    try {
        SumoraDocument doc =
            openDocument(bytes, path.filename().string(), contentTypeForPath(path), OpenMode::asStored);
        outcome.sheets = std::move(doc.sheets);
        outcome.dropped = std::move(doc.droppedOnOpen);
    } catch (const FileReadError& e) {
        outcome.error = e.what();
    }
    setXmlScannerEnabled(true);
    return outcome;
}

TEST(XmlScannerCorpus, EveryWorkbookReadsAsExpatReadsIt) {
    fs::path root = SUMORA_CORPUS_DIR;
    if (!fs::is_directory(root)) GTEST_SKIP() << "no corpus at " << root;
    bool wasLogging = Log::enabled();
    Log::setEnabled(false);
    int compared = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::string ext = entry.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
        if (!entry.is_regular_file() || (ext != ".xlsx" && ext != ".ods")) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        Outcome expat = open(bytes.str(), entry.path(), false);
        Outcome scanned = open(bytes.str(), entry.path(), true);
        ++compared;
        EXPECT_EQ(scanned.error, expat.error) << entry.path();
        EXPECT_EQ(scanned.dropped, expat.dropped) << entry.path();
        ASSERT_EQ(scanned.sheets.size(), expat.sheets.size()) << entry.path();
        for (size_t i = 0; i < expat.sheets.size(); ++i) {
            scanned.sheets[i].id = expat.sheets[i].id;
            EXPECT_TRUE(scanned.sheets[i] == expat.sheets[i]) << entry.path() << " sheet " << i;
        }
    }
    Log::setEnabled(wasLogging);
    EXPECT_GT(compared, 0);
}

} // namespace
} // namespace sumora
