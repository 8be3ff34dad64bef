#include "formats/XlsxChartReader.h"

#include <algorithm>

#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlReader.h"
#include "values/AsciiText.h"

namespace sumora::xlsx {

namespace {

bool endsWith(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

class ChartHandler : public XmlHandler {
  public:
    explicit ChartHandler(ChartPart& out) : out_(out) {}

    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        // The parent is read after the push: growing the stack moves its strings.
        stack_.emplace_back(name);
        std::string_view parent =
            stack_.size() < 2 ? std::string_view() : std::string_view(stack_[stack_.size() - 2]);
        std::string_view val = attributes.get("val").value_or("");
        if (parent == "plotArea" && endsWith(name, "Chart")) {
            out_.plots.push_back({});
            out_.plots.back().kind = std::string(name);
            return;
        }
        if (name == "legend" && parent == "chart") out_.hasLegend = true;
        if (name == "majorGridlines" && within("valAx")) out_.hasGridLines = true;
        if (out_.plots.empty() || !within("plotArea")) return;
        ChartPlotPart& plot = out_.plots.back();
        if (parent == plot.kind) {
            if (name == "barDir") plot.barDirection = std::string(val);
            if (name == "grouping") plot.grouping = std::string(val);
            if (name == "axId") plot.axisIds.emplace_back(val);
            if (name == "ser") plot.series.push_back({});
            return;
        }
        if (plot.series.empty() || !within("ser")) return;
        ChartSeriesPart& series = plot.series.back();
        if ((name == "strLit" || name == "numLit") &&
            (within("cat") || within("val") || within("xVal") || within("yVal")))
            series.hasLiteralData = true;
        if (name == "v" && parent == "tx") series.hasLiteralName = true;
        if (name == "trendlineType" && !out_.trendline) out_.trendline = std::string(val);
        if (name == "srgbClr" && parent == "solidFill" && !within("trendline") && !within("dLbls") &&
            !within("txPr")) {
            if (within("dPt")) {
                if (plot.series.size() == 1) plot.pointColors.emplace_back(val);
            } else if (!series.color) {
                series.color = std::string(val);
            }
        }
    }

    void endElement(std::string_view) override {
        if (!stack_.empty()) stack_.pop_back();
    }

    void characters(std::string_view text) override {
        if (stack_.empty()) return;
        std::string_view top = stack_.back();
        if ((top == "t" || top == "v") && within("title") && !within("plotArea") && !within("legend")) {
            out_.title.append(text);
            return;
        }
        if (top != "f" || out_.plots.empty() || out_.plots.back().series.empty() || !within("ser")) return;
        ChartSeriesPart& series = out_.plots.back().series.back();
        if (within("tx"))
            series.name.append(text);
        else if (within("cat") || within("xVal"))
            series.categories.append(text);
        else if (within("val") || within("yVal"))
            series.values.append(text);
    }

  private:
    bool within(std::string_view name) const {
        return std::find(stack_.begin(), stack_.end(), name) != stack_.end();
    }

    ChartPart& out_;
    std::vector<std::string> stack_;
};

// Where a modelled chart's block lies, gathered series by series.
struct Block {
    std::string sheet;
    int64_t firstRow = 0, lastRow = 0, firstCol = 0, nextCol = 0;
    bool started = false, names = false, categories = false;
    int64_t categoryCol = 0;
};

bool addSeries(Block& block, const ChartSeriesPart& series) {
    if (series.hasLiteralData || series.hasLiteralName || series.values.empty()) return false;
    auto values = parseChartRange(series.values);
    if (!values || values->startCol != values->endCol) return false;
    bool hasName = !series.name.empty();
    bool hasCategories = !series.categories.empty();
    if (!block.started) {
        block.started = true;
        block.sheet = values->sheet;
        block.firstRow = values->startRow;
        block.lastRow = values->endRow;
        block.firstCol = block.nextCol = values->startCol;
        block.names = hasName;
        block.categories = hasCategories;
        block.categoryCol = values->startCol - 1;
        if (hasName && block.firstRow == 0) return false;
        if (hasCategories && block.categoryCol < 0) return false;
    }
    if (!equalsIgnoringCase(values->sheet, block.sheet) || values->startCol != block.nextCol ||
        values->startRow != block.firstRow || values->endRow != block.lastRow || hasName != block.names ||
        hasCategories != block.categories)
        return false;
    if (hasName) {
        auto name = parseChartRange(series.name);
        if (!name || !equalsIgnoringCase(name->sheet, block.sheet) || name->startCol != values->startCol ||
            name->endCol != values->startCol || name->startRow != block.firstRow - 1 ||
            name->endRow != block.firstRow - 1)
            return false;
    }
    if (hasCategories) {
        auto categories = parseChartRange(series.categories);
        if (!categories || !equalsIgnoringCase(categories->sheet, block.sheet) ||
            categories->startCol != block.categoryCol || categories->endCol != block.categoryCol ||
            categories->startRow != block.firstRow || categories->endRow != block.lastRow)
            return false;
    }
    ++block.nextCol;
    return true;
}

std::optional<ChartType> plotType(const ChartPart& part) {
    auto plainGrouping = [](const ChartPlotPart& p, std::string_view expected) {
        return p.grouping.empty() || p.grouping == expected;
    };
    auto isColumns = [&](const ChartPlotPart& p) {
        return p.kind == "barChart" && p.barDirection == "col" && plainGrouping(p, "clustered");
    };
    if (part.plots.size() == 2) {
        const ChartPlotPart& bars = part.plots[0];
        const ChartPlotPart& line = part.plots[1];
        if (isColumns(bars) && line.kind == "lineChart" && plainGrouping(line, "standard") &&
            line.series.size() == 1 && !bars.series.empty())
            return ChartType::combo;
        return std::nullopt;
    }
    if (part.plots.size() != 1) return std::nullopt;
    const ChartPlotPart& plot = part.plots.front();
    if (isColumns(plot)) return ChartType::bar;
    if (plot.kind == "lineChart" && plainGrouping(plot, "standard")) return ChartType::line;
    if (plot.kind == "pieChart") return ChartType::pie;
    if (plot.kind == "areaChart" && plainGrouping(plot, "standard")) return ChartType::area;
    if (plot.kind == "scatterChart") return ChartType::scatter;
    return std::nullopt;
}

} // namespace

ChartPart readChartPart(std::string_view xml) {
    ChartPart part;
    ChartHandler handler(part);
    XmlReader::parse(xml, handler);
    return part;
}

std::optional<ChartRange> parseChartRange(std::string_view formula) {
    size_t bang = formula.rfind('!');
    if (bang == std::string_view::npos) return std::nullopt;
    std::string_view sheet = formula.substr(0, bang);
    std::string_view cells = formula.substr(bang + 1);
    ChartRange range;
    if (sheet.size() >= 2 && sheet.front() == '\'' && sheet.back() == '\'') {
        sheet = sheet.substr(1, sheet.size() - 2);
        for (size_t i = 0; i < sheet.size(); ++i) {
            range.sheet += sheet[i];
            if (sheet[i] == '\'' && i + 1 < sheet.size() && sheet[i + 1] == '\'') ++i;
        }
    } else {
        if (sheet.find_first_of("'(,[ ") != std::string_view::npos) return std::nullopt;
        range.sheet = std::string(sheet);
    }
    std::string plain;
    for (char c : cells)
        if (c != '$') plain += c;
    std::string_view text = plain;
    size_t colon = text.find(':');
    auto first = parseCellReference(text.substr(0, colon));
    auto last = colon == std::string_view::npos ? first : parseCellReference(text.substr(colon + 1));
    if (!first || !last || range.sheet.empty()) return std::nullopt;
    range.startCol = std::min(first->col, last->col);
    range.endCol = std::max(first->col, last->col);
    range.startRow = std::min(first->row, last->row);
    range.endRow = std::max(first->row, last->row);
    return range;
}

std::optional<EmbeddedChart> modelledChart(const ChartPart& part, std::string_view sheetName) {
    std::optional<ChartType> type = plotType(part);
    if (!type) return std::nullopt;
    Block block;
    std::vector<std::string> colors;
    bool everySeriesColored = true;
    for (const ChartPlotPart& plot : part.plots)
        for (const ChartSeriesPart& series : plot.series) {
            if (!addSeries(block, series)) return std::nullopt;
            if (series.color)
                colors.push_back(*series.color);
            else
                everySeriesColored = false;
        }
    if (!block.started || !equalsIgnoringCase(block.sheet, sheetName)) return std::nullopt;

    EmbeddedChart chart;
    chart.chartType = *type;
    chart.title = part.title;
    chart.hasHeaderRow = block.names;
    chart.hasCategoryColumn = block.categories;
    chart.dataStartCol = block.categories ? block.categoryCol : block.firstCol;
    chart.dataStartRow = block.names ? block.firstRow - 1 : block.firstRow;
    chart.dataEndCol = block.nextCol - 1;
    chart.dataEndRow = block.lastRow;
    chart.showLegend = part.hasLegend;
    chart.showGridLines = part.hasGridLines;
    const std::vector<std::string>& points = part.plots.front().pointColors;
    if (*type == ChartType::pie && !points.empty())
        chart.colorPalette = points;
    else if (everySeriesColored)
        chart.colorPalette = colors;
    if (part.trendline) {
        if (*part.trendline == "linear")
            chart.trendlineType = TrendlineType::linear;
        else if (*part.trendline == "exp")
            chart.trendlineType = TrendlineType::exponential;
        else if (*part.trendline == "movingAvg")
            chart.trendlineType = TrendlineType::movingAverage;
        else
            return std::nullopt;
        chart.showTrendline = true;
    }
    if (*type == ChartType::combo) {
        const std::vector<std::string>& bars = part.plots[0].axisIds;
        const std::vector<std::string>& line = part.plots[1].axisIds;
        chart.useSecondaryYAxis = !line.empty() && line != bars;
    }
    return chart;
}

} // namespace sumora::xlsx
