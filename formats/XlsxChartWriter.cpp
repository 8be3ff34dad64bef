#include "formats/XlsxChartWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "document/Sheet.h"
#include "engine/FormulaValue.h"
#include "formats/XlsxWriterText.h"
#include "formats/XmlWriter.h"
#include "values/StrictNumber.h"

namespace sumora::xlsx {

namespace {

// Series colours when the chart brings no palette of its own.
constexpr std::array<std::string_view, 8> kDefaultPalette = {"007AFF", "FF9500", "34C759", "FF3B30",
                                                             "AF52DE", "5AC8FA", "FFCC00", "8E8E93"};

// The two fixed axes every chart with axes uses (ids 1 and 2), and the pair a
// combination chart's line is moved to when it has its own value axis.
constexpr std::string_view kCategoryAxis =
    "<c:catAx><c:axId val=\"1\"/><c:scaling><c:orientation val=\"minMax\"/></c:scaling><c:delete val=\"0\"/>"
    "<c:axPos val=\"b\"/><c:crossAx val=\"2\"/></c:catAx>";
constexpr std::string_view kValueAxis =
    "<c:valAx><c:axId val=\"2\"/><c:scaling><c:orientation val=\"minMax\"/></c:scaling><c:delete val=\"0\"/>"
    "<c:axPos val=\"l\"/><c:crossAx val=\"1\"/></c:valAx>";
// Scatter charts plot numbers on both axes, so their horizontal axis is a value axis.
constexpr std::string_view kScatterXAxis =
    "<c:valAx><c:axId val=\"1\"/><c:scaling><c:orientation val=\"minMax\"/></c:scaling><c:delete val=\"0\"/>"
    "<c:axPos val=\"b\"/><c:crossAx val=\"2\"/></c:valAx>";
constexpr std::string_view kSecondaryAxes =
    "<c:catAx><c:axId val=\"3\"/><c:scaling><c:orientation val=\"minMax\"/></c:scaling><c:delete val=\"1\"/>"
    "<c:axPos val=\"b\"/><c:crossAx val=\"4\"/></c:catAx>"
    "<c:valAx><c:axId val=\"4\"/><c:scaling><c:orientation val=\"minMax\"/></c:scaling><c:delete val=\"0\"/>"
    "<c:axPos val=\"r\"/><c:crossAx val=\"3\"/><c:crosses val=\"max\"/></c:valAx>";

enum class SeriesKind { bar, line, area, pie, scatter };

// Where a chart's block keeps its names, categories and values.
struct ChartData {
    std::string sheetName; // as a formula names it
    int64_t firstRow = 0, lastRow = 0;
    std::optional<int64_t> headerRow, categoryCol;
    std::vector<int64_t> seriesCols;
};

ChartData layoutOf(const EmbeddedChart& chart, const Sheet& sheet) {
    ChartData d;
    d.sheetName = formulaSheetName(sheet.name);
    int64_t top = std::max<int64_t>(0, std::min(chart.dataStartRow, chart.dataEndRow));
    int64_t bottom = std::max<int64_t>(0, std::max(chart.dataStartRow, chart.dataEndRow));
    int64_t left = std::max<int64_t>(0, std::min(chart.dataStartCol, chart.dataEndCol));
    int64_t right = std::max<int64_t>(0, std::max(chart.dataStartCol, chart.dataEndCol));
    if (chart.hasHeaderRow) d.headerRow = top;
    d.firstRow = chart.hasHeaderRow ? top + 1 : top;
    d.lastRow = std::max(bottom, d.firstRow);
    if (chart.hasCategoryColumn) d.categoryCol = left;
    for (int64_t col = chart.hasCategoryColumn ? left + 1 : left; col <= right; ++col)
        d.seriesCols.push_back(col);
    return d;
}

class ChartBuilder {
  public:
    ChartBuilder(const EmbeddedChart& chart, const Sheet& sheet)
        : chart_(chart), sheet_(sheet), data_(layoutOf(chart, sheet)) {}

    std::string build() {
        out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                "<c:chartSpace xmlns:c=\"http://schemas.openxmlformats.org/drawingml/2006/chart\" "
                "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" "
                "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\"><c:chart>";
        if (!chart_.title.empty()) {
            out_ += "<c:title><c:tx><c:rich><a:bodyPr/><a:lstStyle/><a:p><a:r><a:t>";
            appendXmlEscaped(out_, chart_.title);
            out_ += "</a:t></a:r></a:p></c:rich></c:tx><c:overlay val=\"0\"/></c:title>"
                    "<c:autoTitleDeleted val=\"0\"/>";
        } else {
            out_ += "<c:autoTitleDeleted val=\"1\"/>";
        }
        out_ += "<c:plotArea><c:layout/>";
        plot();
        out_ += "</c:plotArea>";
        if (chart_.showLegend) out_ += "<c:legend><c:legendPos val=\"b\"/><c:overlay val=\"0\"/></c:legend>";
        out_ += "<c:plotVisOnly val=\"1\"/></c:chart></c:chartSpace>";
        return std::move(out_);
    }

  private:
    void plot() {
        const std::vector<int64_t>& all = data_.seriesCols;
        switch (chart_.chartType) {
        case ChartType::bar:
            barChart("clustered", all, 0, "1", "2");
            break;
        case ChartType::line:
            lineChart(all, 0, "1", "2");
            break;
        case ChartType::area:
            out_ += "<c:areaChart><c:grouping val=\"standard\"/><c:varyColors val=\"0\"/>";
            for (size_t i = 0; i < all.size(); ++i)
                series(SeriesKind::area, i, all[i]);
            out_ += "<c:axId val=\"1\"/><c:axId val=\"2\"/></c:areaChart>";
            break;
        case ChartType::pie:
            // Pie charts have no axes.
            out_ += "<c:pieChart><c:varyColors val=\"1\"/>";
            for (size_t i = 0; i < all.size(); ++i)
                series(SeriesKind::pie, i, all[i]);
            out_ += "<c:firstSliceAng val=\"0\"/></c:pieChart>";
            return;
        case ChartType::scatter:
            out_ += "<c:scatterChart><c:scatterStyle val=\"lineMarker\"/><c:varyColors val=\"0\"/>";
            buildScatterSeriesXml();
            out_ += "<c:axId val=\"1\"/><c:axId val=\"2\"/></c:scatterChart>";
            out_ += kScatterXAxis;
            out_ += kValueAxis;
            return;
        case ChartType::combo:
            combo();
            return;
        case ChartType::waterfall:
            waterfall();
            break;
        }
        out_ += kCategoryAxis;
        out_ += kValueAxis;
    }

    // Bars for every series but the last, which is drawn as a line over them
    // (on a value axis of its own when the chart asks for one). A single
    // series is drawn both ways.
    void combo() {
        const std::vector<int64_t>& all = data_.seriesCols;
        std::vector<int64_t> bars(all.begin(), all.size() > 1 ? all.end() - 1 : all.end());
        std::vector<int64_t> line(all.empty() ? all.end() : all.end() - 1, all.end());
        bool secondary = chart_.useSecondaryYAxis;
        barChart("clustered", bars, 0, "1", "2");
        lineChart(line, bars.size(), secondary ? "3" : "1", secondary ? "4" : "2");
        out_ += kCategoryAxis;
        out_ += kValueAxis;
        if (secondary) out_ += kSecondaryAxes;
    }

    void barChart(std::string_view grouping, const std::vector<int64_t>& cols, size_t firstIndex,
                  std::string_view axis1, std::string_view axis2) {
        out_ += "<c:barChart><c:barDir val=\"col\"/><c:grouping val=\"";
        out_ += grouping;
        out_ += "\"/><c:varyColors val=\"0\"/>";
        for (size_t i = 0; i < cols.size(); ++i)
            series(SeriesKind::bar, firstIndex + i, cols[i]);
        out_ += "<c:gapWidth val=\"150\"/>";
        axisIds(axis1, axis2);
        out_ += "</c:barChart>";
    }

    void lineChart(const std::vector<int64_t>& cols, size_t firstIndex, std::string_view axis1,
                   std::string_view axis2) {
        out_ += "<c:lineChart><c:grouping val=\"standard\"/><c:varyColors val=\"0\"/>";
        for (size_t i = 0; i < cols.size(); ++i)
            series(SeriesKind::line, firstIndex + i, cols[i]);
        out_ += "<c:marker val=\"1\"/>";
        axisIds(axis1, axis2);
        out_ += "</c:lineChart>";
    }

    void axisIds(std::string_view a, std::string_view b) {
        out_ += "<c:axId val=\"";
        out_ += a;
        out_ += "\"/><c:axId val=\"";
        out_ += b;
        out_ += "\"/>";
    }

    // Stacked columns whose first, unfilled series lifts each step to where
    // the running total stood. Steps that go down are drawn from the new
    // total up to the old one; a stacked column cannot draw a negative value
    // above zero, so then the heights are written as numbers rather than
    // referring to the cells.
    void waterfall() {
        out_ += "<c:barChart><c:barDir val=\"col\"/><c:grouping val=\"stacked\"/><c:varyColors val=\"0\"/>";
        std::vector<double> steps;
        for (int64_t row = data_.firstRow; row <= data_.lastRow; ++row)
            steps.push_back(data_.seriesCols.empty() ? 0 : number(row, data_.seriesCols.front()).value_or(0));
        std::vector<double> bases, heights;
        double total = 0;
        bool falls = false;
        for (double step : steps) {
            bases.push_back(std::min(total, total + step));
            heights.push_back(std::fabs(step));
            falls = falls || step < 0;
            total += step;
        }

        out_ += "<c:ser><c:idx val=\"0\"/><c:order val=\"0\"/><c:tx><c:v>Base</c:v></c:tx>"
                "<c:spPr><a:noFill/><a:ln><a:noFill/></a:ln></c:spPr><c:invertIfNegative val=\"0\"/>";
        categories("c:cat");
        out_ += "<c:val>";
        numberLiteral(bases);
        out_ += "</c:val></c:ser>";

        if (!data_.seriesCols.empty()) {
            int64_t col = data_.seriesCols.front();
            out_ += "<c:ser><c:idx val=\"1\"/><c:order val=\"1\"/>";
            seriesName(col);
            fillProperties(color(0));
            out_ += "<c:invertIfNegative val=\"0\"/>";
            if (falls) {
                for (size_t i = 0; i < steps.size(); ++i) {
                    if (steps[i] >= 0) continue;
                    out_ += "<c:dPt><c:idx val=\"";
                    appendInt(out_, static_cast<int64_t>(i));
                    out_ += "\"/><c:invertIfNegative val=\"0\"/><c:bubble3D val=\"0\"/>";
                    fillProperties(color(1));
                    out_ += "</c:dPt>";
                }
            }
            categories("c:cat");
            out_ += "<c:val>";
            if (falls)
                numberLiteral(heights);
            else
                numberReference(col);
            out_ += "</c:val></c:ser>";
        }
        out_ += "<c:gapWidth val=\"50\"/><c:overlap val=\"100\"/>";
        axisIds("1", "2");
        out_ += "</c:barChart>";
    }

    // One series of a bar, line, area or pie chart.
    void series(SeriesKind kind, size_t index, int64_t col) {
        out_ += "<c:ser>";
        indexAndOrder(index);
        seriesName(col);
        std::string hex = color(index);
        if (kind == SeriesKind::line)
            lineProperties(hex);
        else if (kind != SeriesKind::pie)
            fillProperties(hex);
        if (kind == SeriesKind::bar) out_ += "<c:invertIfNegative val=\"0\"/>";
        if (kind == SeriesKind::line) out_ += "<c:marker><c:symbol val=\"none\"/></c:marker>";
        if (kind == SeriesKind::pie) {
            // Every slice in its own palette colour.
            for (int64_t i = 0; i <= data_.lastRow - data_.firstRow; ++i) {
                out_ += "<c:dPt><c:idx val=\"";
                appendInt(out_, i);
                out_ += "\"/><c:bubble3D val=\"0\"/>";
                fillProperties(color(static_cast<size_t>(i)));
                out_ += "</c:dPt>";
            }
        } else {
            trendline(hex);
        }
        categories("c:cat");
        out_ += "<c:val>";
        numberReference(col);
        out_ += "</c:val>";
        if (kind == SeriesKind::line) out_ += "<c:smooth val=\"0\"/>";
        out_ += "</c:ser>";
    }

    // Scatter series: x from the category column, y from each value column.
    void buildScatterSeriesXml() {
        for (size_t i = 0; i < data_.seriesCols.size(); ++i) {
            int64_t col = data_.seriesCols[i];
            std::string hex = color(i);
            out_ += "<c:ser>";
            indexAndOrder(i);
            seriesName(col);
            out_ += "<c:spPr><a:ln w=\"19050\"><a:noFill/></a:ln></c:spPr>"
                    "<c:marker><c:symbol val=\"circle\"/><c:size val=\"6\"/>";
            fillProperties(hex);
            out_ += "</c:marker>";
            trendline(hex);
            if (data_.categoryCol) {
                out_ += "<c:xVal>";
                numberReference(*data_.categoryCol);
                out_ += "</c:xVal>";
            }
            out_ += "<c:yVal>";
            numberReference(col);
            out_ += "</c:yVal><c:smooth val=\"0\"/></c:ser>";
        }
    }

    void indexAndOrder(size_t index) {
        out_ += "<c:idx val=\"";
        appendInt(out_, static_cast<int64_t>(index));
        out_ += "\"/><c:order val=\"";
        appendInt(out_, static_cast<int64_t>(index));
        out_ += "\"/>";
    }

    void seriesName(int64_t col) {
        if (!data_.headerRow) return;
        out_ += "<c:tx>";
        stringReference(col, *data_.headerRow, *data_.headerRow);
        out_ += "</c:tx>";
    }

    void categories(std::string_view element) {
        if (!data_.categoryCol) return;
        out_ += '<';
        out_ += element;
        out_ += '>';
        stringReference(*data_.categoryCol, data_.firstRow, data_.lastRow);
        out_ += "</";
        out_ += element;
        out_ += '>';
    }

    void trendline(const std::string& hex) {
        if (!chart_.showTrendline) return;
        out_ += "<c:trendline><c:spPr><a:ln w=\"19050\"><a:solidFill><a:srgbClr val=\"" + hex +
                "\"/></a:solidFill><a:prstDash val=\"sysDash\"/></a:ln></c:spPr><c:trendlineType val=\"";
        switch (chart_.trendlineType) {
        case TrendlineType::linear:
            out_ += "linear\"/>";
            break;
        case TrendlineType::exponential:
            out_ += "exp\"/>";
            break;
        case TrendlineType::movingAverage:
            out_ += "movingAvg\"/><c:period val=\"2\"/>";
            break;
        }
        // Said outright: some readers show the equation and R² when these are missing.
        out_ += "<c:dispRSqr val=\"0\"/><c:dispEq val=\"0\"/></c:trendline>";
    }

    void fillProperties(const std::string& hex) {
        out_ += "<c:spPr><a:solidFill><a:srgbClr val=\"" + hex + "\"/></a:solidFill></c:spPr>";
    }

    void lineProperties(const std::string& hex) {
        out_ += "<c:spPr><a:ln w=\"28575\" cap=\"rnd\"><a:solidFill><a:srgbClr val=\"" + hex +
                "\"/></a:solidFill><a:round/></a:ln></c:spPr>";
    }

    std::string color(size_t index) const {
        if (!chart_.colorPalette.empty())
            return hexColor(chart_.colorPalette[index % chart_.colorPalette.size()]);
        return std::string(kDefaultPalette[index % kDefaultPalette.size()]);
    }

    void formula(int64_t col, int64_t firstRow, int64_t lastRow) {
        out_ += "<c:f>";
        appendXmlEscaped(out_, data_.sheetName + "!" + absoluteRangeRef(col, firstRow, col, lastRow));
        out_ += "</c:f>";
    }

    void stringReference(int64_t col, int64_t firstRow, int64_t lastRow) {
        out_ += "<c:strRef>";
        formula(col, firstRow, lastRow);
        out_ += "<c:strCache><c:ptCount val=\"";
        appendInt(out_, lastRow - firstRow + 1);
        out_ += "\"/>";
        for (int64_t row = firstRow; row <= lastRow; ++row) {
            std::string_view text = sheet_.cell(row, col).displayValue();
            if (text.empty()) continue;
            point(row - firstRow);
            appendStringText(out_, text);
            out_ += "</c:v></c:pt>";
        }
        out_ += "</c:strCache></c:strRef>";
    }

    void numberReference(int64_t col) {
        out_ += "<c:numRef>";
        formula(col, data_.firstRow, data_.lastRow);
        out_ += "<c:numCache><c:formatCode>General</c:formatCode><c:ptCount val=\"";
        appendInt(out_, data_.lastRow - data_.firstRow + 1);
        out_ += "\"/>";
        for (int64_t row = data_.firstRow; row <= data_.lastRow; ++row) {
            std::string_view text = sheet_.cell(row, col).displayValue();
            if (!isXmlNumber(text)) continue;
            point(row - data_.firstRow);
            out_ += text;
            out_ += "</c:v></c:pt>";
        }
        out_ += "</c:numCache></c:numRef>";
    }

    void numberLiteral(const std::vector<double>& values) {
        out_ += "<c:numLit><c:formatCode>General</c:formatCode><c:ptCount val=\"";
        appendInt(out_, static_cast<int64_t>(values.size()));
        out_ += "\"/>";
        for (size_t i = 0; i < values.size(); ++i) {
            point(static_cast<int64_t>(i));
            appendXmlDouble(out_, values[i]);
            out_ += "</c:v></c:pt>";
        }
        out_ += "</c:numLit>";
    }

    void point(int64_t index) {
        out_ += "<c:pt idx=\"";
        appendInt(out_, index);
        out_ += "\"><c:v>";
    }

    std::optional<double> number(int64_t row, int64_t col) const {
        auto value = parseStrictNumber(sheet_.cell(row, col).displayValue());
        if (!value || !std::isfinite(*value)) return std::nullopt;
        return value;
    }

    const EmbeddedChart& chart_;
    const Sheet& sheet_;
    ChartData data_;
    std::string out_;
};

void appendMarker(std::string& out, std::string_view element, int64_t col, int64_t row) {
    out += "<xdr:";
    out += element;
    out += "><xdr:col>";
    appendInt(out, col);
    out += "</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>";
    appendInt(out, row);
    out += "</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:";
    out += element;
    out += '>';
}

} // namespace

std::string drawingXml(const std::vector<EmbeddedChart>& charts, const std::vector<int64_t>& chartNumbers) {
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<xdr:wsDr xmlns:xdr=\"http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing\" "
        "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\">";
    for (size_t i = 0; i < charts.size() && i < chartNumbers.size(); ++i) {
        const EmbeddedChart& chart = charts[i];
        // The chart covers widthCols × heightRows cells from its anchor cell.
        int64_t col = std::max<int64_t>(0, chart.anchorCol);
        int64_t row = std::max<int64_t>(0, chart.anchorRow);
        out += "<xdr:twoCellAnchor>";
        appendMarker(out, "from", col, row);
        appendMarker(out, "to", col + std::max<int64_t>(1, chart.widthCols),
                     row + std::max<int64_t>(1, chart.heightRows));
        out += "<xdr:graphicFrame macro=\"\"><xdr:nvGraphicFramePr><xdr:cNvPr id=\"";
        appendInt(out, static_cast<int64_t>(i + 2));
        out += "\" name=\"Chart ";
        appendInt(out, static_cast<int64_t>(i + 1));
        out += "\"/><xdr:cNvGraphicFramePr/></xdr:nvGraphicFramePr>"
               "<xdr:xfrm><a:off x=\"0\" y=\"0\"/><a:ext cx=\"0\" cy=\"0\"/></xdr:xfrm>"
               "<a:graphic><a:graphicData uri=\"http://schemas.openxmlformats.org/drawingml/2006/chart\">"
               "<c:chart xmlns:c=\"http://schemas.openxmlformats.org/drawingml/2006/chart\" "
               "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\" r:id=\"rId";
        appendInt(out, chartNumbers[i]);
        out += "\"/></a:graphicData></a:graphic></xdr:graphicFrame><xdr:clientData/></xdr:twoCellAnchor>";
    }
    out += "</xdr:wsDr>";
    return out;
}

std::string drawingRelsXml(const std::vector<int64_t>& chartNumbers) {
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (int64_t k : chartNumbers) {
        std::string number = std::to_string(k);
        out += "<Relationship Id=\"rId" + number +
               "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/chart\" "
               "Target=\"../charts/chart" +
               number + ".xml\"/>";
    }
    out += "</Relationships>";
    return out;
}

std::string chartXml(const EmbeddedChart& chart, const Sheet& sheet) {
    return ChartBuilder(chart, sheet).build();
}

} // namespace sumora::xlsx
