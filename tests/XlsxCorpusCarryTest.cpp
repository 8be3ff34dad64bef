// Real-world workbooks with charts, pivot tables, macros and pictures keep
// them through open → save as XLSX: the charts on worksheets (read into the
// model or carried) and the carried parts are counted in the file and in
// what was saved. The totals are printed.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "XlsxTestSupport.h"
#include "formats/XlsxFormat.h"
#include "values/Log.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

struct Counts {
    size_t charts = 0, pivotTables = 0, macros = 0, media = 0;
    bool operator==(const Counts&) const = default;
};

std::string fileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// Charts linked from the drawings of worksheets (a chart sheet is not kept),
// and parts by kind.
Counts countsOf(const test::Package& package) {
    std::set<std::string> chartSheetDrawings;
    for (const auto& [path, bytes] : package.parts)
        if (path.starts_with("xl/chartsheets/_rels/"))
            for (size_t at = bytes.find("drawings/"); at != std::string::npos;
                 at = bytes.find("drawings/", at + 1))
                chartSheetDrawings.insert(bytes.substr(at + 9, bytes.find('"', at) - at - 9));
    Counts counts;
    for (const auto& [path, bytes] : package.parts) {
        if (path.starts_with("xl/drawings/") && path.ends_with(".xml.rels") &&
            !chartSheetDrawings.count(fileName(path).substr(0, fileName(path).size() - 5)))
            counts.charts += test::occurrences(bytes, "/relationships/chart\"");
        counts.pivotTables +=
            path.find("pivotTables/pivotTable") != std::string::npos && path.ends_with(".xml");
        counts.macros += path.ends_with("vbaProject.bin");
        counts.media += path.find("/media/") != std::string::npos;
    }
    return counts;
}

TEST(XlsxCorpusCarry, ChartsAndKeptPartsSurviveASave) {
    fs::path root = SUMORA_CORPUS_DIR;
    if (!fs::is_directory(root)) GTEST_SKIP() << "no corpus at " << SUMORA_CORPUS_DIR;
    bool logging = Log::enabled();
    Log::setEnabled(false);
    Counts before, after;
    size_t files = 0, chartFiles = 0, modelled = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::string ext = entry.path().extension().string();
        if (!entry.is_regular_file() || (ext != ".xlsx" && ext != ".xlsm")) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), {});
        std::optional<test::Package> source;
        SumoraDocument doc;
        try {
            source.emplace(bytes);
            doc = readXlsxDocument(bytes);
        } catch (const std::exception&) {
            continue; // files that do not open are another test's subject
        }
        Counts had = countsOf(*source);
        if (had == Counts{}) continue;
        ++files;
        chartFiles += had.charts > 0;
        for (const Sheet& sheet : doc.sheets)
            modelled += sheet.charts.size();
        test::Package saved(writeXlsx(doc));
        Counts kept = countsOf(saved);
        // A chart the reader had to leave out is in droppedOnOpen.
        size_t droppedCharts = 0;
        for (const std::string& sentence : doc.droppedOnOpen)
            droppedCharts += sentence.find(": a chart") != std::string::npos ||
                             sentence.find(": the chart") != std::string::npos;
        EXPECT_EQ(kept.charts + droppedCharts, had.charts) << entry.path();
        EXPECT_EQ(kept.pivotTables, had.pivotTables) << entry.path();
        EXPECT_EQ(kept.macros, had.macros) << entry.path();
        EXPECT_LE(kept.media, had.media) << entry.path();
        before.charts += had.charts, before.pivotTables += had.pivotTables, before.macros += had.macros;
        before.media += had.media;
        after.charts += kept.charts, after.pivotTables += kept.pivotTables, after.macros += kept.macros;
        after.media += kept.media;
    }
    Log::setEnabled(logging);
    std::printf(
        "[corpus] %zu files (%zu with charts): charts %zu -> %zu (%zu read into the model), pivot tables "
        "%zu -> %zu, macro projects %zu -> %zu, media %zu -> %zu\n",
        files, chartFiles, before.charts, after.charts, modelled, before.pivotTables, after.pivotTables,
        before.macros, after.macros, before.media, after.media);
}

} // namespace
} // namespace sumora
