#include "editing/ChartSeries.h"

#include <algorithm>
#include <cmath>

#include "document/HexColor.h"
#include "engine/FormulaValue.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

std::optional<double> numberIn(const Sheet& sheet, int64_t row, int64_t col) {
    auto value = parseStrictNumber(sheet.cell(row, col).displayValue());
    if (!value || !std::isfinite(*value)) return std::nullopt;
    return value;
}

std::string upperHex(std::string_view hex) {
    std::string out(withoutHash(hex));
    for (char& c : out)
        if (c >= 'a' && c <= 'f') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

} // namespace

const std::vector<std::string>& defaultChartPalette() {
    // The same colours the XLSX writer gives a chart without a palette.
    static const std::vector<std::string> palette = {"007AFF", "FF9500", "34C759", "FF3B30",
                                                     "AF52DE", "5AC8FA", "FFCC00", "8E8E93"};
    return palette;
}

std::string chartSeriesColor(const EmbeddedChart& chart, size_t index) {
    if (!chart.colorPalette.empty()) return upperHex(chart.colorPalette[index % chart.colorPalette.size()]);
    const auto& palette = defaultChartPalette();
    return palette[index % palette.size()];
}

ChartData extractChartData(const EmbeddedChart& chart, const Sheet& sheet) {
    const int64_t top = std::max<int64_t>(0, std::min(chart.dataStartRow, chart.dataEndRow));
    const int64_t bottom = std::max<int64_t>(0, std::max(chart.dataStartRow, chart.dataEndRow));
    const int64_t left = std::max<int64_t>(0, std::min(chart.dataStartCol, chart.dataEndCol));
    const int64_t right = std::max<int64_t>(0, std::max(chart.dataStartCol, chart.dataEndCol));
    const int64_t firstRow = chart.hasHeaderRow ? top + 1 : top;
    const int64_t firstCol = chart.hasCategoryColumn ? left + 1 : left;

    ChartData data;
    for (int64_t row = firstRow; row <= bottom; ++row) {
        std::string label;
        if (chart.hasCategoryColumn) {
            label = std::string(sheet.cell(row, left).displayValue());
            data.xValues.push_back(numberIn(sheet, row, left));
        }
        if (label.empty()) label = std::to_string(row - firstRow + 1);
        data.categories.push_back(std::move(label));
    }
    for (int64_t col = firstCol; col <= right; ++col) {
        ChartSeries series;
        const size_t index = data.series.size();
        series.column = col;
        if (chart.hasHeaderRow) series.name = std::string(sheet.cell(top, col).displayValue());
        if (series.name.empty()) series.name = "Series " + std::to_string(index + 1);
        series.colorHex = chartSeriesColor(chart, index);
        for (int64_t row = firstRow; row <= bottom; ++row)
            series.values.push_back(numberIn(sheet, row, col));
        data.series.push_back(std::move(series));
    }
    return data;
}

BlockLabels guessBlockLabels(const Sheet& sheet, int64_t startCol, int64_t startRow, int64_t endCol,
                             int64_t endRow) {
    const int64_t top = std::min(startRow, endRow), bottom = std::max(startRow, endRow);
    const int64_t left = std::min(startCol, endCol), right = std::max(startCol, endCol);
    auto isLabel = [&sheet](int64_t row, int64_t col) {
        const std::string_view text = sheet.cell(row, col).displayValue();
        return !text.empty() && !parseStrictNumber(text);
    };
    BlockLabels labels;
    for (int64_t col = std::min(left + 1, right); col <= right && !labels.headerRow; ++col)
        labels.headerRow = isLabel(top, col);
    if (right == left) labels.headerRow = isLabel(top, left) && bottom > top;
    for (int64_t row = top + 1; row <= bottom && !labels.categoryColumn; ++row)
        labels.categoryColumn = isLabel(row, left);
    // A single column is the values themselves, never its own labels.
    if (right == left) labels.categoryColumn = false;
    return labels;
}

ComboSplit comboSplit(const ChartData& data) {
    ComboSplit split;
    const size_t n = data.series.size();
    if (n == 0) return split;
    for (size_t i = 0; i + 1 < n; ++i)
        split.bars.push_back(i);
    if (n == 1) split.bars.push_back(0);
    split.line = n - 1;
    return split;
}

std::vector<WaterfallStep> waterfallSteps(const ChartData& data) {
    std::vector<WaterfallStep> steps;
    if (data.series.empty()) return steps;
    double total = 0;
    for (const auto& value : data.series.front().values) {
        const double step = value.value_or(0);
        steps.push_back({std::min(total, total + step), std::fabs(step), step});
        total += step;
    }
    return steps;
}

std::vector<ChartPoint> seriesPoints(const ChartData& data, size_t seriesIndex, bool numericX) {
    std::vector<ChartPoint> points;
    if (seriesIndex >= data.series.size()) return points;
    const auto& values = data.series[seriesIndex].values;
    for (size_t i = 0; i < values.size(); ++i) {
        if (!values[i]) continue;
        double x = static_cast<double>(i + 1);
        if (numericX) {
            if (i >= data.xValues.size() || !data.xValues[i]) continue;
            x = *data.xValues[i];
        }
        points.push_back({x, *values[i]});
    }
    return points;
}

std::optional<LinearFit> fitLinear(const std::vector<ChartPoint>& points) {
    if (points.size() < 2) return std::nullopt;
    const double n = static_cast<double>(points.size());
    double meanX = 0, meanY = 0;
    for (const auto& p : points) {
        meanX += p.x;
        meanY += p.y;
    }
    meanX /= n;
    meanY /= n;
    double sxx = 0, sxy = 0;
    for (const auto& p : points) {
        sxx += (p.x - meanX) * (p.x - meanX);
        sxy += (p.x - meanX) * (p.y - meanY);
    }
    if (sxx == 0) return std::nullopt; // every point at one x: no line through them
    LinearFit fit;
    fit.slope = sxy / sxx;
    fit.intercept = meanY - fit.slope * meanX;
    return fit;
}

std::optional<ExponentialFit> fitExponential(const std::vector<ChartPoint>& points) {
    std::vector<ChartPoint> logs;
    for (const auto& p : points)
        if (p.y > 0) logs.push_back({p.x, std::log(p.y)});
    auto line = fitLinear(logs);
    if (!line) return std::nullopt;
    return ExponentialFit{std::exp(line->intercept), line->slope};
}

std::vector<ChartPoint> movingAverage(const std::vector<ChartPoint>& points, int period) {
    std::vector<ChartPoint> out;
    if (period < 1 || points.size() < static_cast<size_t>(period)) return out;
    const auto p = static_cast<size_t>(period);
    for (size_t end = p - 1; end < points.size(); ++end) {
        double sum = 0;
        for (size_t i = end + 1 - p; i <= end; ++i)
            sum += points[i].y;
        out.push_back({points[end].x, sum / static_cast<double>(period)});
    }
    return out;
}

std::vector<ChartPoint> trendlinePoints(TrendlineType type, const std::vector<ChartPoint>& points) {
    if (type == TrendlineType::movingAverage) return movingAverage(points);
    if (points.empty()) return {};
    auto [lowest, highest] = std::minmax_element(
        points.begin(), points.end(), [](const ChartPoint& a, const ChartPoint& b) { return a.x < b.x; });
    const double x0 = lowest->x, x1 = highest->x;
    if (type == TrendlineType::linear) {
        auto fit = fitLinear(points);
        if (!fit) return {};
        return {{x0, fit->intercept + fit->slope * x0}, {x1, fit->intercept + fit->slope * x1}};
    }
    auto fit = fitExponential(points);
    if (!fit) return {};
    std::vector<ChartPoint> curve;
    for (int i = 0; i < kTrendlineSamples; ++i) {
        const double x = x0 + (x1 - x0) * i / (kTrendlineSamples - 1);
        curve.push_back({x, fit->coefficient * std::exp(fit->rate * x)});
    }
    return curve;
}

SparklineData sparklineData(const Sparkline& sparkline, const Sheet& sheet) {
    SparklineData data;
    const int64_t top = std::min(sparkline.dataStartRow, sparkline.dataEndRow);
    const int64_t bottom = std::max(sparkline.dataStartRow, sparkline.dataEndRow);
    const int64_t left = std::min(sparkline.dataStartCol, sparkline.dataEndCol);
    const int64_t right = std::max(sparkline.dataStartCol, sparkline.dataEndCol);
    for (int64_t row = top; row <= bottom; ++row)
        for (int64_t col = left; col <= right; ++col)
            data.values.push_back(numberIn(sheet, row, col));
    for (size_t i = 0; i < data.values.size(); ++i) {
        if (!data.values[i]) continue;
        const double v = *data.values[i];
        if (!data.first) {
            data.first = data.high = data.low = i;
            data.minimum = data.maximum = v;
        }
        // The first of equal extremes is the one marked.
        if (v > data.maximum) data.high = i, data.maximum = v;
        if (v < data.minimum) data.low = i, data.minimum = v;
        data.last = i;
    }
    return data;
}

const Sparkline* sparklineAt(const Sheet& sheet, CellPosition at) {
    for (auto it = sheet.sparklines.rbegin(); it != sheet.sparklines.rend(); ++it)
        if (it->locationCol == at.col && it->locationRow == at.row) return &*it;
    return nullptr;
}

} // namespace sumora
