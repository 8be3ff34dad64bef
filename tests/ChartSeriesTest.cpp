#include <gtest/gtest.h>

#include <cmath>

#include "editing/ChartSeries.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

// A1:C4 — a header row, months down column A, two series.
test::TestBook salesBook() {
    test::TestBook book;
    book.set("A1", "Month").set("B1", "Sales").set("C1", "Costs");
    book.set("A2", "Jan").set("B2", "10").set("C2", "4");
    book.set("A3", "Feb").set("B3", "n/a").set("C3", "5");
    book.set("A4", "Mar").set("B4", "30").set("C4", "6");
    return book;
}

EmbeddedChart chartOver(int64_t c1, int64_t r1, int64_t c2, int64_t r2) {
    EmbeddedChart chart;
    chart.dataStartCol = c1;
    chart.dataStartRow = r1;
    chart.dataEndCol = c2;
    chart.dataEndRow = r2;
    return chart;
}

TEST(ChartSeries, HeaderRowNamesSeriesAndCategoryColumnLabelsPoints) {
    auto book = salesBook();
    ChartData data = extractChartData(chartOver(0, 0, 2, 3), book.doc.sheets[0]);
    EXPECT_EQ(data.categories, (std::vector<std::string>{"Jan", "Feb", "Mar"}));
    ASSERT_EQ(data.series.size(), 2u);
    EXPECT_EQ(data.series[0].name, "Sales");
    EXPECT_EQ(data.series[1].name, "Costs");
    EXPECT_EQ(data.series[0].column, 1);
    // A text cell is a gap, not a zero.
    EXPECT_EQ(data.series[0].values, (std::vector<std::optional<double>>{10.0, std::nullopt, 30.0}));
    EXPECT_EQ(data.series[1].values, (std::vector<std::optional<double>>{4.0, 5.0, 6.0}));
}

TEST(ChartSeries, BlockWithoutHeaderOrCategoriesGetsDefaultNames) {
    auto book = salesBook();
    EmbeddedChart chart = chartOver(2, 3, 1, 1); // corners given backwards: B2:C4
    chart.hasHeaderRow = false;
    chart.hasCategoryColumn = false;
    ChartData data = extractChartData(chart, book.doc.sheets[0]);
    EXPECT_EQ(data.categories, (std::vector<std::string>{"1", "2", "3"}));
    EXPECT_TRUE(data.xValues.empty());
    ASSERT_EQ(data.series.size(), 2u);
    EXPECT_EQ(data.series[0].name, "Series 1");
    EXPECT_EQ(data.series[1].name, "Series 2");
    EXPECT_EQ(data.series[1].values.front(), 4.0);
}

TEST(ChartSeries, ValuesFollowFormulaResults) {
    auto book = salesBook();
    book.set("B2", "=C2*100").computed("B2", "400");
    ChartData data = extractChartData(chartOver(0, 0, 2, 3), book.doc.sheets[0]);
    EXPECT_EQ(data.series[0].values[0], 400.0);
}

TEST(ChartSeries, LabelsAreGuessedFromTextInTheFirstRowAndColumn) {
    auto book = salesBook();
    const Sheet& sheet = book.doc.sheets[0];
    struct Case {
        const char* name;
        int64_t c1, r1, c2, r2;
        BlockLabels expected;
    };
    const std::vector<Case> cases = {
        {"header and months", 0, 0, 2, 3, {true, true}}, {"numbers only", 2, 1, 2, 3, {false, false}},
        {"one named column", 2, 0, 2, 3, {true, false}}, {"months without header", 0, 1, 2, 3, {false, true}},
        {"corners backwards", 2, 3, 0, 0, {true, true}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(guessBlockLabels(sheet, c.c1, c.r1, c.c2, c.r2), c.expected) << c.name;
}

TEST(ChartSeries, PaletteIsUsedInOrderAndCycles) {
    EmbeddedChart chart;
    chart.colorPalette = {"#ff0000", "00FF00"};
    EXPECT_EQ(chartSeriesColor(chart, 0), "FF0000");
    EXPECT_EQ(chartSeriesColor(chart, 1), "00FF00");
    EXPECT_EQ(chartSeriesColor(chart, 2), "FF0000");
    chart.colorPalette.clear();
    EXPECT_EQ(chartSeriesColor(chart, 1), defaultChartPalette()[1]);
}

TEST(ChartSeries, ComboDrawsTheLastSeriesAsALine) {
    ChartData data;
    data.series.resize(3);
    ComboSplit split = comboSplit(data);
    EXPECT_EQ(split.bars, (std::vector<size_t>{0, 1}));
    EXPECT_EQ(split.line, 2u);
    data.series.resize(1);
    split = comboSplit(data);
    EXPECT_EQ(split.bars, (std::vector<size_t>{0}));
    EXPECT_EQ(split.line, 0u);
}

TEST(ChartSeries, WaterfallStepsFloatOnTheRunningTotal) {
    ChartData data;
    data.series.push_back({"Flow", "000000", {100.0, -30.0, std::nullopt, 50.0}, 1});
    auto steps = waterfallSteps(data);
    ASSERT_EQ(steps.size(), 4u);
    const std::vector<std::pair<double, double>> expected = {{0, 100}, {70, 30}, {70, 0}, {70, 50}};
    for (size_t i = 0; i < steps.size(); ++i) {
        EXPECT_EQ(steps[i].base, expected[i].first) << i;
        EXPECT_EQ(steps[i].height, expected[i].second) << i;
    }
    EXPECT_FALSE(steps[1].rises());
    EXPECT_TRUE(steps[3].rises());
}

TEST(ChartSeries, PointsSkipGapsAndUseNumericCategoriesForScatter) {
    ChartData data;
    data.xValues = {2.0, 4.0, std::nullopt};
    data.series.push_back({"Y", "000000", {1.0, std::nullopt, 3.0}, 1});
    EXPECT_EQ(seriesPoints(data, 0, false), (std::vector<ChartPoint>{{1, 1}, {3, 3}}));
    EXPECT_EQ(seriesPoints(data, 0, true), (std::vector<ChartPoint>{{2, 1}}));
    EXPECT_TRUE(seriesPoints(data, 5, false).empty());
}

TEST(ChartSeries, LinearFitRecoversALine) {
    auto fit = fitLinear({{1, 5}, {2, 7}, {3, 9}, {4, 11}});
    ASSERT_TRUE(fit);
    EXPECT_NEAR(fit->slope, 2, 1e-12);
    EXPECT_NEAR(fit->intercept, 3, 1e-12);
    EXPECT_FALSE(fitLinear({{1, 5}}));
    EXPECT_FALSE(fitLinear({{2, 5}, {2, 9}})); // vertical: no line
}

TEST(ChartSeries, ExponentialFitRecoversGrowthAndSkipsNonPositiveValues) {
    std::vector<ChartPoint> points;
    for (int x = 1; x <= 5; ++x)
        points.push_back({double(x), 3 * std::exp(0.5 * x)});
    points.push_back({6, -1}); // cannot take a logarithm: left out
    auto fit = fitExponential(points);
    ASSERT_TRUE(fit);
    EXPECT_NEAR(fit->coefficient, 3, 1e-9);
    EXPECT_NEAR(fit->rate, 0.5, 1e-9);
    EXPECT_FALSE(fitExponential({{1, 0}, {2, -4}, {3, 8}}));
}

TEST(ChartSeries, MovingAverageOfTwoStartsAtTheSecondPoint) {
    auto avg = movingAverage({{1, 2}, {2, 4}, {3, 9}});
    EXPECT_EQ(avg, (std::vector<ChartPoint>{{2, 3}, {3, 6.5}}));
    EXPECT_TRUE(movingAverage({{1, 2}}).empty());
}

TEST(ChartSeries, TrendlinePointsSpanTheData) {
    const std::vector<ChartPoint> points = {{1, 2}, {2, 4}, {3, 8}, {4, 16}};
    auto line = trendlinePoints(TrendlineType::linear, points);
    ASSERT_EQ(line.size(), 2u);
    EXPECT_EQ(line.front().x, 1);
    EXPECT_EQ(line.back().x, 4);
    auto curve = trendlinePoints(TrendlineType::exponential, points);
    ASSERT_EQ(curve.size(), static_cast<size_t>(kTrendlineSamples));
    EXPECT_NEAR(curve.back().y, 16, 1e-9);
    EXPECT_EQ(trendlinePoints(TrendlineType::movingAverage, points).size(), 3u);
    EXPECT_TRUE(trendlinePoints(TrendlineType::linear, {}).empty());
}

TEST(ChartSeries, SparklineMarksItsExtremesAndEnds) {
    test::TestBook book;
    book.set("A1", "x").set("B1", "5").set("C1", "-2").set("D1", "9").set("E1", "9").set("F1", "");
    Sparkline line;
    line.dataStartCol = 0;
    line.dataEndCol = 5;
    line.locationCol = 6;
    SparklineData data = sparklineData(line, book.doc.sheets[0]);
    ASSERT_EQ(data.values.size(), 6u);
    EXPECT_FALSE(data.values[0]); // text is a gap
    EXPECT_EQ(data.first, 1u);
    EXPECT_EQ(data.last, 4u);
    EXPECT_EQ(data.high, 3u); // the first of two equal highs
    EXPECT_EQ(data.low, 2u);
    EXPECT_EQ(data.minimum, -2);
    EXPECT_EQ(data.maximum, 9);

    Sparkline empty = line;
    empty.dataEndCol = 0;
    EXPECT_FALSE(sparklineData(empty, book.doc.sheets[0]).high);
}

TEST(ChartSeries, SparklineIsFoundByItsCell) {
    Sheet sheet = SumoraDocument::makeNewSheet("S");
    Sparkline a, b;
    a.locationCol = b.locationCol = 3;
    a.locationRow = b.locationRow = 1;
    b.colorHex = "FF0000";
    sheet.sparklines = {a, b};
    ASSERT_TRUE(sparklineAt(sheet, {3, 1}));
    EXPECT_EQ(sparklineAt(sheet, {3, 1})->colorHex, "FF0000");
    EXPECT_FALSE(sparklineAt(sheet, {1, 3}));
}

} // namespace
} // namespace sumora
