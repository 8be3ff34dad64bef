// Charts read from XLSX drawings: those another writer made (openpyxl,
// tests/data/charts, rebuilt by its generate.py), those our own writer made,
// and the chart formulas they refer to their data with.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "XlsxTestSupport.h"
#include "formats/DocumentIO.h"
#include "formats/XlsxChartReader.h"
#include "formats/XlsxFormat.h"

namespace sumora {
namespace {

using test::occurrences;
using test::put;

const std::string kChartsDir = std::string(SUMORA_SOURCE_DIR) + "/tests/data/charts/";

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The fields of a chart, for readable failures.
std::string described(const EmbeddedChart& c) {
    std::ostringstream out;
    out << rawText(c.chartType) << " '" << c.title << "' " << c.dataStartCol << "," << c.dataStartRow << ":"
        << c.dataEndCol << "," << c.dataEndRow << " header " << c.hasHeaderRow << " categories "
        << c.hasCategoryColumn << " at " << c.anchorCol << "," << c.anchorRow << " size " << c.widthCols
        << "x" << c.heightRows << " legend " << c.showLegend << " grid " << c.showGridLines << " trend "
        << c.showTrendline << rawText(c.trendlineType) << " secondary " << c.useSecondaryYAxis << " palette";
    for (const std::string& color : c.colorPalette)
        out << " " << color;
    return out.str();
}

const EmbeddedChart* chartTitled(const SumoraDocument& doc, std::string_view title) {
    for (const Sheet& sheet : doc.sheets)
        for (const EmbeddedChart& chart : sheet.charts)
            if (chart.title == title) return &chart;
    return nullptr;
}

TEST(XlsxChartImport, ChartsAnotherWriterMadeAreReadOrKept) {
    SumoraDocument doc = readXlsxDocument(fileBytes(kChartsDir + "charts.xlsx"));
    std::ifstream table(kChartsDir + "expected.tsv");
    std::string line;
    int modelled = 0, kept = 0;
    while (std::getline(table, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::string title, type, c0, r0, c1, r1;
        int64_t anchorCol, anchorRow, width, height;
        fields >> title >> type >> c0 >> r0 >> c1 >> r1 >> anchorCol >> anchorRow >> width >> height;
        SCOPED_TRACE(title);
        const EmbeddedChart* chart = chartTitled(doc, title);
        if (type == "-") {
            EXPECT_EQ(chart, nullptr);
            ++kept;
            continue;
        }
        ASSERT_NE(chart, nullptr);
        ++modelled;
        EXPECT_EQ(rawText(chart->chartType), type);
        EXPECT_EQ(chart->dataStartCol, std::stoll(c0));
        EXPECT_EQ(chart->dataStartRow, std::stoll(r0));
        EXPECT_EQ(chart->dataEndCol, std::stoll(c1));
        EXPECT_EQ(chart->dataEndRow, std::stoll(r1));
        EXPECT_TRUE(chart->hasHeaderRow && chart->hasCategoryColumn && chart->showLegend);
        EXPECT_EQ(chart->anchorCol, anchorCol);
        EXPECT_EQ(chart->anchorRow, anchorRow);
        EXPECT_EQ(chart->widthCols, width);
        EXPECT_EQ(chart->heightRows, height);
    }
    EXPECT_EQ(modelled, 5);
    EXPECT_TRUE(doc.droppedOnOpen.empty());

    // Saved again, every chart is still there: the modelled ones rewritten,
    // the others carried unchanged (their titles are still in their parts).
    test::Package saved(writeXlsx(doc));
    size_t chartParts = 0;
    std::string everyChart;
    for (const auto& [path, bytes] : saved.parts)
        if (path.starts_with("xl/charts/") && path.find("_rels") == std::string::npos) {
            ++chartParts;
            everyChart += bytes;
        }
    EXPECT_EQ(chartParts, static_cast<size_t>(modelled + kept));
    for (std::string_view title : {"Sideways", "Stacked", "Ring", "Elsewhere"})
        EXPECT_EQ(occurrences(everyChart, std::string(">") + std::string(title) + "<"), 1u) << title;
}

// A chart our writer made reads back as the chart it was, for every kind
// the model holds in a part of its own kind (a waterfall is written as
// stacked columns of computed heights, so it comes back as a kept part).
TEST(XlsxChartImport, WrittenChartsReadBackUnchanged) {
    struct Case {
        ChartType type;
        bool header, categories, legend, trendline, secondary;
        std::vector<std::string> palette;
    };
    const Case cases[] = {
        {ChartType::bar, true, true, true, false, false, {}},
        {ChartType::line, true, false, false, false, false, {"112233", "445566", "778899", "AABBCC"}},
        {ChartType::pie, false, true, true, false, false, {}},
        {ChartType::area, true, true, true, false, false, {"010203", "040506", "070809"}},
        {ChartType::scatter, true, true, false, true, false, {}},
        {ChartType::combo, true, true, true, false, true, {}},
        {ChartType::combo, true, true, true, false, false, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(rawText(c.type)));
        SumoraDocument doc;
        Sheet& sheet = doc.sheets.front();
        sheet.name = "It's data";
        for (int row = 1; row <= 5; ++row)
            for (int col = 0; col < 4; ++col)
                sheet.cellForWriting(row, col).setValue(std::to_string(row * 10 + col));
        EmbeddedChart chart;
        chart.chartType = c.type;
        chart.title = "Totals & more";
        chart.dataStartCol = 0, chart.dataStartRow = 0, chart.dataEndCol = 3, chart.dataEndRow = 5;
        chart.hasHeaderRow = c.header;
        chart.hasCategoryColumn = c.categories;
        chart.anchorCol = 6, chart.anchorRow = 2, chart.widthCols = 7, chart.heightRows = 12;
        chart.showLegend = c.legend;
        // The fixed axis markup has no place for grid lines, so none are read back.
        chart.showGridLines = false;
        chart.showTrendline = c.trendline;
        if (c.trendline) chart.trendlineType = TrendlineType::exponential;
        chart.useSecondaryYAxis = c.secondary;
        chart.colorPalette = c.palette;
        sheet.charts.push_back(chart);
        SumoraDocument back = readXlsxDocument(writeXlsx(doc));
        ASSERT_EQ(back.sheets.front().charts.size(), 1u);
        // Every series is written with its colour, from the default palette
        // when the chart has none, and read back as the chart's palette.
        EmbeddedChart read = back.sheets.front().charts.front();
        if (chart.colorPalette.empty()) read.colorPalette.clear();
        EXPECT_EQ(described(read), described(chart));
        EXPECT_TRUE(back.carriedParts.empty());
    }
}

TEST(XlsxChartImport, ChartFormulasNameOneRange) {
    struct Case {
        const char* formula;
        const char* sheet; // nullptr: not a single range
        int64_t c0, r0, c1, r1;
    };
    const Case cases[] = {
        {"Data!$B$2:$B$9", "Data", 1, 1, 1, 8}, {"'My ''old'' data'!$C$1", "My 'old' data", 2, 0, 2, 0},
        {"'Data'!B9:B2", "Data", 1, 1, 1, 8},   {"(Data!$B$2:$B$4,Data!$D$2:$D$4)", nullptr, 0, 0, 0, 0},
        {"$B$2:$B$9", nullptr, 0, 0, 0, 0},     {"Data!Totals", nullptr, 0, 0, 0, 0},
        {"[1]Data!$A$1", nullptr, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.formula);
        auto range = xlsx::parseChartRange(c.formula);
        ASSERT_EQ(range.has_value(), c.sheet != nullptr);
        if (!range) continue;
        EXPECT_EQ(range->sheet, c.sheet);
        EXPECT_EQ(std::vector<int64_t>({range->startCol, range->startRow, range->endCol, range->endRow}),
                  std::vector<int64_t>({c.c0, c.r0, c.c1, c.r1}));
    }
}

} // namespace
} // namespace sumora
