#pragma once
// What a chart plots, read from its block of cells: category labels, one
// series per value column with its name, numbers and colour, the floating
// steps of a waterfall, and trendline fits. The drawing layer only turns
// these into shapes; the XLSX writer reads the block the same way (header
// row → series names, category column → labels, other columns → series).
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/CellPosition.h"
#include "document/Sheet.h"
#include "document/WorkbookRecords.h"

namespace sumora {

struct ChartSeries {
    std::string name;
    std::string colorHex; // "RRGGBB"
    // One entry per category; nothing where the cell does not hold a number.
    std::vector<std::optional<double>> values;
    int64_t column = 0; // the sheet column it comes from
    bool operator==(const ChartSeries&) const = default;
};

struct ChartData {
    std::vector<std::string> categories;
    // The category column read as numbers (scatter charts plot against it);
    // nothing where a label is not numeric, empty without a category column.
    std::vector<std::optional<double>> xValues;
    std::vector<ChartSeries> series;
    bool isEmpty() const { return series.empty() || categories.empty(); }
    bool operator==(const ChartData&) const = default;
};

// Reads the chart's block from `sheet` (corners in any order; cells beyond
// the grid read as empty). Series without a header are named "Series 1", …;
// rows without a category label are labelled by their position "1", "2", ….
ChartData extractChartData(const EmbeddedChart& chart, const Sheet& sheet);

// Whether a block's first row names series and its first column labels
// categories, as a new chart guesses it: the first row does when any of its
// cells right of the first column holds text that is not a number (for a
// single column, its top cell); the first column does when any of its cells
// below the first row does, and never for a single column.
struct BlockLabels {
    bool headerRow = false;
    bool categoryColumn = false;
    bool operator==(const BlockLabels&) const = default;
};
BlockLabels guessBlockLabels(const Sheet& sheet, int64_t startCol, int64_t startRow, int64_t endCol,
                             int64_t endRow);

// The colour of series `index`: the chart's palette in order, cycled, else
// the default palette.
std::string chartSeriesColor(const EmbeddedChart& chart, size_t index);
const std::vector<std::string>& defaultChartPalette();

// A combination chart draws every series but the last as bars and the last
// as a line over them (a single series is drawn both ways).
struct ComboSplit {
    std::vector<size_t> bars;
    std::optional<size_t> line;
};
ComboSplit comboSplit(const ChartData& data);

// One floating bar of a waterfall: it spans base … base + height, where the
// running total stood before and after the step.
struct WaterfallStep {
    double base = 0;
    double height = 0; // |step|
    double step = 0;
    bool rises() const { return step >= 0; }
};
// The first series read as successive changes of a running total; cells
// that are not numbers count as 0.
std::vector<WaterfallStep> waterfallSteps(const ChartData& data);

struct ChartPoint {
    double x = 0;
    double y = 0;
    bool operator==(const ChartPoint&) const = default;
};

// The points of a series to fit: x is the category position 1, 2, … (or the
// category number for scatter charts), y the value; gaps are left out.
std::vector<ChartPoint> seriesPoints(const ChartData& data, size_t seriesIndex, bool numericX);

// y = intercept + slope · x by least squares.
struct LinearFit {
    double slope = 0;
    double intercept = 0;
};
std::optional<LinearFit> fitLinear(const std::vector<ChartPoint>& points);

// y = coefficient · e^(rate · x), fitted to ln y; points with y ≤ 0 cannot
// take part and are skipped.
struct ExponentialFit {
    double coefficient = 0;
    double rate = 0;
};
std::optional<ExponentialFit> fitExponential(const std::vector<ChartPoint>& points);

// The mean of each `period` consecutive points, placed at the last of them.
inline constexpr int kMovingAveragePeriod = 2;
std::vector<ChartPoint> movingAverage(const std::vector<ChartPoint>& points,
                                      int period = kMovingAveragePeriod);

// The trendline of the chart's type as points to join: the fitted line at
// the smallest and largest x, the exponential curve sampled evenly between
// them, or the moving average. Empty when the data cannot be fitted.
inline constexpr int kTrendlineSamples = 40;
std::vector<ChartPoint> trendlinePoints(TrendlineType type, const std::vector<ChartPoint>& points);

// What a sparkline draws: the numbers of its data range, row-major (cells
// that do not hold a number are gaps), and where its markers fall.
struct SparklineData {
    std::vector<std::optional<double>> values;
    // Positions in `values`; nothing when no value is a number.
    std::optional<size_t> high, low, first, last;
    double minimum = 0, maximum = 0;
};
SparklineData sparklineData(const Sparkline& sparkline, const Sheet& sheet);
// The sparkline drawn in a cell, if any (the last one placed there).
const Sparkline* sparklineAt(const Sheet& sheet, CellPosition at);

} // namespace sumora
