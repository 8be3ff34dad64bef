// Conditional formats of the real-world workbooks: how many rules of each
// type the files hold, and how many a save after opening still holds. Every
// rule is either saved again or named in what the reader left out.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include "formats/DocumentIO.h"
#include "formats/XlsxFormat.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

// cfRule elements of the worksheets' main lists (extension lists repeat
// rules of the main list), by type.
std::map<std::string, int> ruleTypes(std::string_view package) {
    static const std::regex extension("<extLst>[\\s\\S]*?</extLst>");
    static const std::regex rule("<(?:x:)?cfRule\\b[^>]*?\\btype=\"([^\"]*)\"");
    std::map<std::string, int> out;
    ZipReader zip(package);
    for (const ZipEntry& entry : zip.entries()) {
        if (entry.path.rfind("xl/worksheets/", 0) != 0 || entry.path.find("_rels") != std::string::npos)
            continue;
        std::string xml = std::regex_replace(zip.read(entry.path), extension, "");
        for (auto it = std::sregex_iterator(xml.begin(), xml.end(), rule); it != std::sregex_iterator(); ++it)
            ++out[(*it)[1].str()];
    }
    return out;
}

int total(const std::map<std::string, int>& counts) {
    int n = 0;
    for (const auto& [type, count] : counts)
        n += count;
    return n;
}

TEST(ConditionalFormatCorpus, EveryRuleIsSavedAgainOrNamedAsLeftOut) {
    fs::path root = SUMORA_CORPUS_DIR;
    if (!fs::is_directory(root)) GTEST_SKIP() << "no corpus at " << root;
    std::map<std::string, int> before, after;
    int files = 0, leftOutAll = 0;
    const bool logging = Log::enabled();
    Log::setEnabled(false);
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file() || entry.path().extension() != ".xlsx") continue;
        std::ifstream in(entry.path(), std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        std::map<std::string, int> source;
        SumoraDocument doc;
        try {
            source = ruleTypes(bytes.str());
            if (source.empty()) continue;
            doc = readXlsxDocument(bytes.str());
        } catch (const std::exception&) {
            continue; // damaged packages are the reader tests' business
        }
        std::map<std::string, int> saved = ruleTypes(writeXlsx(doc));
        int leftOut = 0;
        static const std::regex sentence("Conditional formats on .*: (\\d+) rules? w");
        for (const std::string& s : doc.droppedOnOpen) {
            std::smatch m;
            if (std::regex_search(s, m, sentence)) leftOut += std::stoi(m[1].str());
        }
        EXPECT_GE(total(saved) + leftOut, total(source)) << entry.path();
        leftOutAll += leftOut;
        for (const auto& [type, count] : source)
            before[type] += count;
        for (const auto& [type, count] : saved)
            after[type] += count;
        ++files;
    }
    Log::setEnabled(logging);
    std::ostringstream report;
    report << files
           << " workbooks with conditional formats; rules by type in the files, then after a save:\n";
    for (const auto& [type, count] : before)
        report << "  " << type << ": " << count << " -> " << after[type] << "\n";
    report << "  all: " << total(before) << " -> " << total(after)
           << " (a rule over several ranges is saved once per range); " << leftOutAll << " left out\n";
    std::cout << report.str();
    EXPECT_GT(files, 0);
}

} // namespace
} // namespace sumora
