// Interoperability: LibreOffice opens what an XLSX save writes. It converts
// our package to CSV (the values it sees) and to ODS (the structure it kept).
// Skipped where soffice is not installed (scripts/install-test-deps.sh).
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "XlsxTestSupport.h"
#include "values/Log.h"
#include "engine/Recalculation.h"
#include "formats/XlsxFormat.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

namespace fs = std::filesystem;
using test::at;
using test::put;

bool haveSoffice() {
    return std::system("command -v soffice >/dev/null 2>&1") == 0;
}

class XlsxLibreOffice : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!haveSoffice()) GTEST_SKIP() << "soffice is not installed";
        char pattern[] = "/tmp/sumora-lo-xlsx-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override {
        if (!dir_.empty()) fs::remove_all(dir_);
    }

    // Writes `doc` as book.xlsx and converts it; returns the converted file's bytes.
    std::string convert(const SumoraDocument& doc, const std::string& filter, const std::string& extension) {
        fs::path book = dir_ / "book.xlsx";
        std::ofstream(book, std::ios::binary) << writeXlsx(doc);
        // A private profile, so that a running or damaged user profile cannot interfere.
        std::string command = "soffice -env:UserInstallation=file:///tmp/lo-sumora-xlsx-writer-" + std::to_string(::getpid()) + " --headless "
                              "--convert-to '" +
                              filter + "' --outdir '" + dir_.string() + "' '" + book.string() +
                              "' >/dev/null 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::ifstream in(dir_ / ("book." + extension), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    fs::path dir_;
};

// Fields of one CSV record with doubled quotes undone.
std::vector<std::string> csvFields(std::string_view line) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quoted) {
            if (c == '"' && i + 1 < line.size() && line[i + 1] == '"')
                fields.back() += '"', ++i;
            else if (c == '"')
                quoted = false;
            else
                fields.back() += c;
        } else if (c == '"') {
            quoted = true;
        } else if (c == ',') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

TEST_F(XlsxLibreOffice, CsvConversionShowsTheSameValues) {
    SumoraDocument doc;
    Sheet& s = doc.sheets[0];
    put(s, "A1", "Item");
    put(s, "B1", "Price");
    put(s, "C1", "Double");
    put(s, "D1", "Check");
    put(s, "A2", "Widget, large");
    put(s, "B2", "12.5");
    put(s, "A3", "Quote \"here\"");
    put(s, "B3", "-3");
    put(s, "A4", "Größe €");
    put(s, "B4", "1000000");
    for (int r = 2; r <= 4; ++r) {
        at(s, "C" + std::to_string(r)).setFormula("B" + std::to_string(r) + "*2");
        at(s, "D" + std::to_string(r)).setFormula("B" + std::to_string(r) + ">0");
    }
    CellFormat twoPlaces;
    twoPlaces.numberFormat = "0.00";
    twoPlaces.numberFormatId = 2;
    at(s, "E2").setValue("2.5");
    at(s, "E2").setFormat(twoPlaces);
    recalculateDocument(doc, builtinFunctions());

    std::string csv = convert(doc, "csv:Text - txt - csv (StarCalc):44,34,76,1", "csv");
    std::vector<std::vector<std::string>> rows;
    size_t start = 0;
    while (start < csv.size()) {
        size_t end = csv.find('\n', start);
        if (end == std::string::npos) end = csv.size();
        std::string_view line(csv.data() + start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        rows.push_back(csvFields(line));
        start = end + 1;
    }
    std::vector<std::vector<std::string>> expected = {
        {"Item", "Price", "Double", "Check", ""},
        {"Widget, large", "12.5", "25", "TRUE", "2.50"},
        {"Quote \"here\"", "-3", "-6", "FALSE", ""},
        {"Größe €", "1000000", "2000000", "TRUE", ""},
    };
    ASSERT_EQ(rows.size(), expected.size()) << csv;
    for (size_t r = 0; r < expected.size(); ++r) {
        rows[r].resize(expected[r].size());
        EXPECT_EQ(rows[r], expected[r]) << "row " << r + 1 << "\n" << csv;
    }
}

TEST_F(XlsxLibreOffice, StructureSurvivesConversionToOds) {
    SumoraDocument doc;
    doc.sheets.reserve(2);
    Sheet& s = doc.sheets[0];
    s.name = "Report";
    const char* rows[4][3] = {
        {"Month", "North", "South"}, {"Jan", "10", "4"}, {"Feb", "8", "5"}, {"Mar", "7", "6"}};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 3; ++c)
            s.cellForWriting(r, c).setValue(rows[r][c]);
    s.mergedRegions.push_back({0, 6, 2, 6});
    put(s, "A7", "Merged title");
    s.cellComments["B2"] = "Checked by audit";
    ConditionalFormatRule rule;
    rule.ruleType = rule::GreaterThan{7};
    rule.format.fillColor = "FFC7CE";
    rule.startCol = 1, rule.startRow = 1, rule.endCol = 2, rule.endRow = 3;
    s.conditionalFormats.push_back(rule);
    DataValidationRule list;
    list.validationType = validation::List{{"Yes", "No"}};
    list.startCol = list.endCol = 4;
    list.startRow = 1, list.endRow = 5;
    s.dataValidations.push_back(list);
    EmbeddedChart chart;
    chart.title = "Sales";
    chart.dataEndCol = 2;
    chart.dataEndRow = 3;
    chart.anchorCol = 5;
    s.charts.push_back(chart);
    Sheet& hidden = doc.sheets.emplace_back(SumoraDocument::makeNewSheet("Secret"));
    hidden.isHidden = true;
    put(hidden, "A1", "hidden value");

    std::string ods = convert(doc, "ods", "ods");
    ASSERT_FALSE(ods.empty());
    test::Package package(ods);
    const std::string& content = package["content.xml"];
    EXPECT_NE(content.find("table:name=\"Report\""), std::string::npos);
    EXPECT_NE(content.find("table:name=\"Secret\""), std::string::npos);
    EXPECT_NE(content.find("table:display=\"false\""), std::string::npos);            // the hidden sheet
    EXPECT_NE(content.find("table:number-columns-spanned=\"3\""), std::string::npos); // the merge
    EXPECT_NE(content.find("Checked by audit"), std::string::npos);                   // the comment
    EXPECT_NE(content.find("table:content-validation"), std::string::npos);
    EXPECT_TRUE(content.find("calcext:conditional-format") != std::string::npos ||
                content.find("style:map") != std::string::npos);
    EXPECT_NE(content.find("<draw:object"), std::string::npos); // the chart
    bool chartPart = false;
    for (const std::string& path : package.paths)
        if (path.find("Object") != std::string::npos && path.ends_with("content.xml")) {
            chartPart = true;
            EXPECT_NE(package[path].find("chart:class=\"chart:bar\""), std::string::npos);
        }
    EXPECT_TRUE(chartPart);
}

} // namespace
} // namespace sumora
