// Real workbooks keep their hidden rows and columns and their hyperlinks
// through opening and saving as XLSX: counted in the source package's
// worksheets and in the saved one, the saved count is never lower.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "formats/DocumentIO.h"
#include "formats/XlsxFormat.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

struct Counts {
    int64_t hiddenLines = 0; // hidden rows, plus the columns each hidden <col> covers
    int64_t hyperlinks = 0;
};

std::optional<int64_t> attributeNumber(std::string_view tag, std::string_view name) {
    size_t at = tag.find(" " + std::string(name) + "=\"");
    if (at == std::string_view::npos) return std::nullopt;
    at += name.size() + 3;
    int64_t n = 0;
    size_t digits = 0;
    for (; at < tag.size() && tag[at] >= '0' && tag[at] <= '9' && digits < 9; ++at, ++digits)
        n = n * 10 + (tag[at] - '0');
    return digits ? std::optional<int64_t>(n) : std::nullopt;
}

// Scans a worksheet's markup tag by tag; element prefixes ("x:row") are
// ignored. Where rows are hidden by default (zeroHeight), every row not
// listed as shown counts as hidden.
void count(std::string_view xml, Counts& total) {
    Counts counts;
    int64_t hiddenRows = 0, shownRows = 0;
    bool hiddenByDefault = false;
    for (size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
        size_t end = xml.find('>', at);
        if (end == std::string_view::npos) break;
        std::string_view tag = xml.substr(at, end - at);
        size_t nameEnd = tag.find_first_of(" />", 1);
        std::string_view name =
            tag.substr(1, nameEnd == std::string_view::npos ? tag.size() - 1 : nameEnd - 1);
        if (size_t colon = name.rfind(':'); colon != std::string_view::npos) name.remove_prefix(colon + 1);
        if (name == "hyperlink") {
            ++counts.hyperlinks;
            continue;
        }
        if (name == "sheetFormatPr") {
            hiddenByDefault = tag.find(" zeroHeight=\"1\"") != std::string_view::npos ||
                              tag.find(" zeroHeight=\"true\"") != std::string_view::npos;
            continue;
        }
        if (name != "row" && name != "col") continue;
        if (tag.find(" hidden=\"1\"") == std::string_view::npos &&
            tag.find(" hidden=\"true\"") == std::string_view::npos) {
            shownRows += name == "row";
            continue;
        }
        if (name == "row") {
            ++hiddenRows;
        } else {
            int64_t first = std::clamp<int64_t>(attributeNumber(tag, "min").value_or(1), 1, 16384);
            int64_t last = std::clamp<int64_t>(attributeNumber(tag, "max").value_or(first), first, 16384);
            counts.hiddenLines += last - first + 1;
        }
    }
    if (hiddenByDefault) hiddenRows = std::max(hiddenRows, 1048576 - shownRows);
    total.hiddenLines += counts.hiddenLines + hiddenRows;
    total.hyperlinks += counts.hyperlinks;
}

Counts countPackage(const std::string& bytes) {
    Counts counts;
    ZipReader archive(bytes);
    for (const ZipEntry& entry : archive.entries())
        if (entry.path.starts_with("xl/worksheets/") && entry.path.ends_with(".xml"))
            count(archive.read(entry.path), counts);
    return counts;
}

TEST(RowColumnCorpus, HiddenLinesAndHyperlinksSurviveSavingAsXlsx) {
    fs::path root = SUMORA_CORPUS_DIR;
    if (!fs::is_directory(root)) GTEST_SKIP() << "no corpus at " << root;
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::string ext = entry.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
        if (entry.is_regular_file() && ext == ".xlsx") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    bool logging = Log::enabled();
    Log::setEnabled(false);
    int withHidden = 0, keptHidden = 0, withLinks = 0, keptLinks = 0;
    for (const fs::path& path : files) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream buffer;
        buffer << in.rdbuf();
        std::string bytes = buffer.str();
        Counts before;
        std::string saved;
        try {
            before = countPackage(bytes);
            if (before.hiddenLines == 0 && before.hyperlinks == 0) continue;
            saved = writeXlsx(openDocument(bytes, path.filename().string(), kXlsxContentType));
        } catch (const std::exception&) {
            continue; // files that do not open are another test's business
        }
        Counts after = countPackage(saved);
        if (before.hiddenLines > 0) {
            ++withHidden;
            keptHidden += after.hiddenLines >= before.hiddenLines;
            EXPECT_GE(after.hiddenLines, before.hiddenLines) << path;
        }
        if (before.hyperlinks > 0) {
            ++withLinks;
            keptLinks += after.hyperlinks >= before.hyperlinks;
            EXPECT_GE(after.hyperlinks, before.hyperlinks) << path;
        }
    }
    Log::setEnabled(logging);
    std::cout << keptHidden << " of " << withHidden << " workbooks keep their hidden rows and columns, "
              << keptLinks << " of " << withLinks << " their hyperlinks\n";
}

} // namespace
} // namespace sumora
