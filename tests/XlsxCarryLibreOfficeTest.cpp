// LibreOffice opens what an XLSX → XLSX save of a real workbook wrote, with
// its pivot tables, tables, pictures, macros and charts carried through, and
// sees the same values as in the original: both are converted to CSV (the
// first sheet) and compared. Skipped without soffice or the corpus.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "formats/XlsxFormat.h"
#include "values/Log.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;

std::string slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The first sheet as LibreOffice converts it to CSV ("" when it could not).
std::string libreOfficeCsv(const fs::path& book, const fs::path& dir) {
    std::string command = "soffice -env:UserInstallation=file:///tmp/lo-sumora-carry-" +
                          std::to_string(::getpid()) + " --headless --convert-to csv --outdir '" +
                          dir.string() + "' '" + book.string() + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) return "";
    return slurp(dir / (book.stem().string() + ".csv"));
}

TEST(XlsxCarryLibreOffice, SavedWorkbooksShowTheSameValues) {
    if (std::system("command -v soffice >/dev/null 2>&1") != 0) GTEST_SKIP() << "soffice is not installed";
    fs::path corpus = SUMORA_CORPUS_DIR;
    const char* files[] = {
        "poi/test-data/spreadsheet/simple-monthly-budget.xlsx", // table, picture, chart, custom XML
        "poi/test-data/spreadsheet/DataTableCities.xlsx",       // pivot table, chart
        "poi/test-data/spreadsheet/62629_target.xlsm",          // macros, picture
        "poi/test-data/spreadsheet/WithThreeCharts.xlsx",       // charts the model holds
    };
    char pattern[] = "/tmp/sumora-carry-lo-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    fs::path dir = pattern;
    bool logging = Log::enabled();
    Log::setEnabled(false);
    for (const char* name : files) {
        fs::path source = corpus / name;
        if (!fs::exists(source)) continue;
        SCOPED_TRACE(name);
        fs::create_directories(dir / "original");
        fs::create_directories(dir / "saved");
        fs::path original = dir / "original" / "book.xlsx";
        fs::path saved = dir / "saved" / "book.xlsx";
        fs::copy_file(source, original, fs::copy_options::overwrite_existing);
        std::ofstream(saved, std::ios::binary) << writeXlsx(readXlsxDocument(slurp(source)));
        std::string expected = libreOfficeCsv(original, dir / "original");
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(libreOfficeCsv(saved, dir / "saved"), expected);
    }
    Log::setEnabled(logging);
    fs::remove_all(dir);
}

} // namespace
} // namespace sumora
