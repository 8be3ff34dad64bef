#pragma once
// Reading a DrawingML chart part ("xl/charts/chartN.xml") and deciding
// whether the model's EmbeddedChart can hold it: one plot of a kind the
// model draws (or bars with a line over them), every series a column of
// the chart's own sheet, side by side, sharing one row span, with names in
// the row above and categories in the column to the left.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/CellArea.h"
#include "document/WorkbookRecords.h"

namespace sumora::xlsx {

struct ChartSeriesPart {
    std::string name; // formula of c:tx/c:strRef, "" when absent
    bool hasLiteralName = false;
    std::string categories; // formula of c:cat (or c:xVal), "" when absent
    std::string values;     // formula of c:val (or c:yVal), "" when absent
    bool hasLiteralData = false;
    std::optional<std::string> color; // the series' own solid colour
};

struct ChartPlotPart {
    std::string kind; // local name: "barChart", "lineChart", "pieChart", …
    std::string barDirection = "col";
    std::string grouping;
    std::vector<std::string> axisIds;
    std::vector<ChartSeriesPart> series;
    std::vector<std::string> pointColors; // c:dPt colours of the first series
};

struct ChartPart {
    std::string title;
    std::vector<ChartPlotPart> plots;
    bool hasLegend = false;
    bool hasGridLines = false;
    std::optional<std::string> trendline; // c:trendlineType of the first series that has one
};

// Throws XmlError when the part is not well-formed.
ChartPart readChartPart(std::string_view xml);

// The model's chart for a part placed on the sheet named `sheetName`, its
// anchor and size left at their defaults; nothing when the model cannot
// hold the part as it is.
std::optional<EmbeddedChart> modelledChart(const ChartPart& part, std::string_view sheetName);

// A chart formula's single range: "'My data'!$B$2:$B$9" → sheet, corners.
struct ChartRange : CellArea {
    std::string sheet;
};
std::optional<ChartRange> parseChartRange(std::string_view formula);

} // namespace sumora::xlsx
