#pragma once
// The stored rule records of a workbook: named ranges, merges, protection,
// outlines, conditional formats, validations, scenarios, pivots, sparklines
// and charts. Plain values; list records carry a fresh `id` no file stores,
// so equality of records ignores it.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "document/CellArea.h"
#include "document/ConditionalRuleParts.h"
#include "document/Identifier.h"

namespace sumora {

struct NamedRange {
    std::string id = newIdentifier();
    std::string name;
    std::optional<std::string> sheetName;
    int64_t startCol = 0, startRow = 0, endCol = 0, endRow = 0;
    bool operator==(const NamedRange& o) const {
        return name == o.name && sheetName == o.sheetName && startCol == o.startCol &&
               startRow == o.startRow && endCol == o.endCol && endRow == o.endRow;
    }
};

using MergedRegion = CellArea;

struct SheetProtectionOptions {
    bool allowSelectLockedCells = true;
    bool allowSelectUnlockedCells = true;
    bool allowFormatCells = false;
    bool allowFormatColumns = false;
    bool allowFormatRows = false;
    bool allowInsertColumns = false;
    bool allowInsertRows = false;
    bool allowDeleteColumns = false;
    bool allowDeleteRows = false;
    bool allowSort = false;
    bool allowAutoFilter = false;
    bool operator==(const SheetProtectionOptions&) const = default;
};

struct OutlineGroup {
    std::string id = newIdentifier();
    int64_t startRow = 0, endRow = 0, level = 0;
    bool isCollapsed = false;
    int64_t summaryRow = 0;
    bool operator==(const OutlineGroup& o) const {
        return startRow == o.startRow && endRow == o.endRow && level == o.level &&
               isCollapsed == o.isCollapsed && summaryRow == o.summaryRow;
    }
};

// Column grouping of the outline, as OutlineGroup is for rows.
struct ColumnOutlineGroup {
    std::string id = newIdentifier();
    int64_t startCol = 0, endCol = 0, level = 0;
    bool isCollapsed = false;
    bool operator==(const ColumnOutlineGroup& o) const {
        return startCol == o.startCol && endCol == o.endCol && level == o.level &&
               isCollapsed == o.isCollapsed;
    }
};

// A cell's link: an address outside the workbook (web, mail, file) or a
// place inside it, or both (an address with a fragment).
struct CellHyperlink {
    std::string target;   // "https://…", "mailto:…"; empty for a link inside the workbook
    std::string location; // "Sheet2!A1" or a defined name; empty for a plain address
    std::optional<std::string> tooltip;
    bool operator==(const CellHyperlink&) const = default;
};

// What a matching conditional rule applies; absent fields leave the cell as it is.
struct ConditionalFormat {
    std::optional<std::string> fillColor;
    std::optional<std::string> fontColor;
    std::optional<bool> isBold;
    std::optional<bool> isItalic;
    bool operator==(const ConditionalFormat&) const = default;
};

namespace rule {
struct GreaterThan {
    double value;
    bool operator==(const GreaterThan&) const = default;
};
struct LessThan {
    double value;
    bool operator==(const LessThan&) const = default;
};
struct EqualTo {
    double value;
    bool operator==(const EqualTo&) const = default;
};
struct Between {
    double low, high;
    bool operator==(const Between&) const = default;
};
struct NotBetween {
    double low, high;
    bool operator==(const NotBetween&) const = default;
};
struct TextContains {
    std::string text;
    bool operator==(const TextContains&) const = default;
};
struct TextNotContains {
    std::string text;
    bool operator==(const TextNotContains&) const = default;
};
struct TextStartsWith {
    std::string text;
    bool operator==(const TextStartsWith&) const = default;
};
struct TextEndsWith {
    std::string text;
    bool operator==(const TextEndsWith&) const = default;
};
struct TopN {
    int64_t count;
    bool operator==(const TopN&) const = default;
};
struct BottomN {
    int64_t count;
    bool operator==(const BottomN&) const = default;
};
struct ColorScale2 {
    std::string low, high;
    bool operator==(const ColorScale2&) const = default;
};
struct ColorScale3 {
    std::string low, mid, high;
    bool operator==(const ColorScale3&) const = default;
};
struct DataBar {
    std::string color;
    bool operator==(const DataBar&) const = default;
};
struct DuplicateValues {
    bool operator==(const DuplicateValues&) const = default;
};
struct UniqueValues {
    bool operator==(const UniqueValues&) const = default;
};
struct IsBlank {
    bool operator==(const IsBlank&) const = default;
};
struct IsNotBlank {
    bool operator==(const IsNotBlank&) const = default;
};
struct AboveAverage {
    bool operator==(const AboveAverage&) const = default;
};
struct BelowAverage {
    bool operator==(const BelowAverage&) const = default;
};
struct GreaterOrEqual {
    double value;
    bool operator==(const GreaterOrEqual&) const = default;
};
struct LessOrEqual {
    double value;
    bool operator==(const LessOrEqual&) const = default;
};
struct NotEqualTo {
    double value;
    bool operator==(const NotEqualTo&) const = default;
};
// The highest or lowest `percent` per cent of the range's numbers.
struct TopPercent {
    int64_t percent;
    bool operator==(const TopPercent&) const = default;
};
struct BottomPercent {
    int64_t percent;
    bool operator==(const BottomPercent&) const = default;
};
// A formula written for the range's top-left cell (without "="); its
// references move with each cell, and a TRUE or non-zero result matches.
struct Expression {
    std::string formula;
    bool operator==(const Expression&) const = default;
};
// One icon per cell: icon i (0 for the lowest values) when the value reaches
// thresholds[i] but not thresholds[i + 1]; thresholds[0] is only a floor.
struct IconSet {
    IconSetStyle style = IconSetStyle::arrows3;
    std::vector<Threshold> thresholds; // one per icon
    bool reverse = false;              // the last icon for the lowest values
    bool showValue = true;
    bool operator==(const IconSet&) const = default;
};
// A colour scale whose breakpoints are not simply lowest (median) highest.
struct ColorStop {
    Threshold threshold;
    std::string color;
    bool operator==(const ColorStop&) const = default;
};
struct CustomColorScale {
    std::vector<ColorStop> stops;
    bool operator==(const CustomColorScale&) const = default;
};
// A data bar whose empty and full ends are placed by thresholds.
struct CustomDataBar {
    std::string color;
    Threshold low, high;
    bool operator==(const CustomDataBar&) const = default;
};
} // namespace rule

// Cases in declaration order: greaterThan … belowAverage, then the kinds
// that files bring beyond them (inclusive and unequal comparisons, ranks in
// per cent, expressions, icon sets, scales and bars with placed breakpoints).
using ConditionalRuleType =
    std::variant<rule::GreaterThan, rule::LessThan, rule::EqualTo, rule::Between, rule::NotBetween,
                 rule::TextContains, rule::TextNotContains, rule::TextStartsWith, rule::TextEndsWith,
                 rule::TopN, rule::BottomN, rule::ColorScale2, rule::ColorScale3, rule::DataBar,
                 rule::DuplicateValues, rule::UniqueValues, rule::IsBlank, rule::IsNotBlank,
                 rule::AboveAverage, rule::BelowAverage, rule::GreaterOrEqual, rule::LessOrEqual,
                 rule::NotEqualTo, rule::TopPercent, rule::BottomPercent, rule::Expression, rule::IconSet,
                 rule::CustomColorScale, rule::CustomDataBar>;

struct ConditionalFormatRule {
    std::string id = newIdentifier();
    ConditionalRuleType ruleType = rule::GreaterThan{0};
    ConditionalFormat format;
    int64_t startCol = 0, startRow = 0, endCol = 0, endRow = 0;
    bool operator==(const ConditionalFormatRule& o) const {
        return ruleType == o.ruleType && format == o.format && startCol == o.startCol &&
               startRow == o.startRow && endCol == o.endCol && endRow == o.endRow;
    }
};

namespace validation {
struct WholeNumber {
    std::optional<double> min, max;
    bool operator==(const WholeNumber&) const = default;
};
struct Decimal {
    std::optional<double> min, max;
    bool operator==(const Decimal&) const = default;
};
struct List {
    std::vector<std::string> entries;
    bool operator==(const List&) const = default;
};
struct TextLength {
    std::optional<int64_t> min, max;
    bool operator==(const TextLength&) const = default;
};
struct Date {
    std::optional<std::string> after, before;
    bool operator==(const Date&) const = default;
};
struct Custom {
    std::string formula;
    bool operator==(const Custom&) const = default;
};
} // namespace validation

using ValidationType = std::variant<validation::WholeNumber, validation::Decimal, validation::List,
                                    validation::TextLength, validation::Date, validation::Custom>;

enum class ValidationErrorStyle : uint8_t { stop, warning, information };
std::string_view rawText(ValidationErrorStyle);
std::optional<ValidationErrorStyle> validationErrorStyleFromRaw(std::string_view);

struct DataValidationRule {
    std::string id = newIdentifier();
    ValidationType validationType = validation::List{};
    int64_t startCol = 0, startRow = 0, endCol = 0, endRow = 0;
    std::optional<std::string> inputTitle;
    std::optional<std::string> inputMessage;
    ValidationErrorStyle errorStyle = ValidationErrorStyle::stop;
    std::optional<std::string> errorTitle;
    std::optional<std::string> errorMessage;
    bool showDropdown = false;

    bool applies(CellPosition at) const {
        return startCol <= at.col && at.col <= endCol && startRow <= at.row && at.row <= endRow;
    }
    bool operator==(const DataValidationRule& o) const {
        return validationType == o.validationType && startCol == o.startCol && startRow == o.startRow &&
               endCol == o.endCol && endRow == o.endRow && inputTitle == o.inputTitle &&
               inputMessage == o.inputMessage && errorStyle == o.errorStyle && errorTitle == o.errorTitle &&
               errorMessage == o.errorMessage && showDropdown == o.showDropdown;
    }
};

struct Scenario {
    std::string id = newIdentifier();
    std::string name;
    std::map<std::string, std::string> changingCells;
    std::string comment;
    bool operator==(const Scenario& o) const {
        return name == o.name && changingCells == o.changingCells && comment == o.comment;
    }
};

enum class AggregationType : uint8_t { sum, count, average, min, max };
std::string_view rawText(AggregationType);
std::optional<AggregationType> aggregationTypeFromRaw(std::string_view);

struct PivotTable {
    std::string id = newIdentifier();
    std::string name;
    int64_t sourceStartCol = 0, sourceStartRow = 0, sourceEndCol = 0, sourceEndRow = 0;
    int64_t rowField = 0;
    std::optional<int64_t> columnField;
    int64_t valueField = 0;
    AggregationType aggregation = AggregationType::sum;
    int64_t outputStartCol = 0, outputStartRow = 0;
    bool operator==(const PivotTable& o) const {
        return name == o.name && sourceStartCol == o.sourceStartCol && sourceStartRow == o.sourceStartRow &&
               sourceEndCol == o.sourceEndCol && sourceEndRow == o.sourceEndRow && rowField == o.rowField &&
               columnField == o.columnField && valueField == o.valueField && aggregation == o.aggregation &&
               outputStartCol == o.outputStartCol && outputStartRow == o.outputStartRow;
    }
};

enum class SparklineType : uint8_t { line, bar, winLoss };
std::string_view rawText(SparklineType);
std::optional<SparklineType> sparklineTypeFromRaw(std::string_view);

struct Sparkline {
    std::string id = newIdentifier();
    SparklineType type = SparklineType::line;
    int64_t dataStartCol = 0, dataStartRow = 0, dataEndCol = 0, dataEndRow = 0;
    int64_t locationCol = 0, locationRow = 0;
    std::string colorHex = "007AFF";
    bool showHighPoint = false, showLowPoint = false, showFirstPoint = false, showLastPoint = false;
    double lineWidth = 1.0;
    bool operator==(const Sparkline& o) const {
        return type == o.type && dataStartCol == o.dataStartCol && dataStartRow == o.dataStartRow &&
               dataEndCol == o.dataEndCol && dataEndRow == o.dataEndRow && locationCol == o.locationCol &&
               locationRow == o.locationRow && colorHex == o.colorHex && showHighPoint == o.showHighPoint &&
               showLowPoint == o.showLowPoint && showFirstPoint == o.showFirstPoint &&
               showLastPoint == o.showLastPoint && lineWidth == o.lineWidth;
    }
};

enum class ChartType : uint8_t { bar, line, pie, area, scatter, combo, waterfall };
std::string_view rawText(ChartType);
std::optional<ChartType> chartTypeFromRaw(std::string_view);
const std::vector<ChartType>& allChartTypes();

enum class TrendlineType : uint8_t { linear, exponential, movingAverage };
std::string_view rawText(TrendlineType);
std::optional<TrendlineType> trendlineTypeFromRaw(std::string_view);

struct EmbeddedChart {
    std::string id = newIdentifier();
    ChartType chartType = ChartType::bar;
    std::string title;
    int64_t dataStartCol = 0, dataStartRow = 0, dataEndCol = 0, dataEndRow = 0;
    bool hasHeaderRow = true;
    bool hasCategoryColumn = true;
    int64_t anchorCol = 0, anchorRow = 0;
    int64_t widthCols = 8, heightRows = 15;
    bool showLegend = true;
    bool showGridLines = true;
    std::vector<std::string> colorPalette;
    bool showTrendline = false;
    TrendlineType trendlineType = TrendlineType::linear;
    bool useSecondaryYAxis = false;
    bool operator==(const EmbeddedChart& o) const {
        return chartType == o.chartType && title == o.title && dataStartCol == o.dataStartCol &&
               dataStartRow == o.dataStartRow && dataEndCol == o.dataEndCol && dataEndRow == o.dataEndRow &&
               hasHeaderRow == o.hasHeaderRow && hasCategoryColumn == o.hasCategoryColumn &&
               anchorCol == o.anchorCol && anchorRow == o.anchorRow && widthCols == o.widthCols &&
               heightRows == o.heightRows && showLegend == o.showLegend && showGridLines == o.showGridLines &&
               colorPalette == o.colorPalette && showTrendline == o.showTrendline &&
               trendlineType == o.trendlineType && useSecondaryYAxis == o.useSecondaryYAxis;
    }
};

} // namespace sumora
