#include "document/WorkbookRecords.h"

#include <array>

namespace sumora {
namespace {

// Raw texts of an enumeration in declaration order; parsing walks the table.
template <class E, size_t N>
std::optional<E> fromRaw(const std::array<std::string_view, N>& names, std::string_view s) {
    for (size_t i = 0; i < N; ++i)
        if (names[i] == s) return static_cast<E>(i);
    return std::nullopt;
}

constexpr std::array<std::string_view, 3> kErrorStyles{"Stop", "Warning", "Info"};
constexpr std::array<std::string_view, 5> kAggregations{"SUM", "COUNT", "AVERAGE", "MIN", "MAX"};
constexpr std::array<std::string_view, 3> kSparklines{"Line", "Bar", "Win/Loss"};
constexpr std::array<std::string_view, 7> kCharts{"Bar",     "Line",  "Pie",      "Area",
                                                  "Scatter", "Combo", "Waterfall"};
constexpr std::array<std::string_view, 3> kTrendlines{"Linear", "Exponential", "Moving Avg"};
constexpr std::array<std::string_view, 6> kThresholds{"min",     "max",        "num",
                                                      "percent", "percentile", "formula"};
constexpr std::array<std::string_view, 17> kIconSets{
    "3Arrows",        "3ArrowsGray", "3Flags",      "3TrafficLights1", "3TrafficLights2", "3Signs",
    "3Symbols",       "3Symbols2",   "4Arrows",     "4ArrowsGray",     "4RedToBlack",     "4Rating",
    "4TrafficLights", "5Arrows",     "5ArrowsGray", "5Rating",         "5Quarters"};

} // namespace

std::string_view rawText(ValidationErrorStyle v) {
    return kErrorStyles[static_cast<size_t>(v)];
}
std::optional<ValidationErrorStyle> validationErrorStyleFromRaw(std::string_view s) {
    return fromRaw<ValidationErrorStyle>(kErrorStyles, s);
}
std::string_view rawText(AggregationType v) {
    return kAggregations[static_cast<size_t>(v)];
}
std::optional<AggregationType> aggregationTypeFromRaw(std::string_view s) {
    return fromRaw<AggregationType>(kAggregations, s);
}
std::string_view rawText(SparklineType v) {
    return kSparklines[static_cast<size_t>(v)];
}
std::optional<SparklineType> sparklineTypeFromRaw(std::string_view s) {
    return fromRaw<SparklineType>(kSparklines, s);
}
std::string_view rawText(ChartType v) {
    return kCharts[static_cast<size_t>(v)];
}
std::optional<ChartType> chartTypeFromRaw(std::string_view s) {
    return fromRaw<ChartType>(kCharts, s);
}
const std::vector<ChartType>& allChartTypes() {
    static const std::vector<ChartType> all{ChartType::bar,      ChartType::line,    ChartType::pie,
                                            ChartType::area,     ChartType::scatter, ChartType::combo,
                                            ChartType::waterfall};
    return all;
}
std::string_view rawText(ThresholdKind v) {
    return kThresholds[static_cast<size_t>(v)];
}
std::optional<ThresholdKind> thresholdKindFromRaw(std::string_view s) {
    return fromRaw<ThresholdKind>(kThresholds, s);
}
std::string_view rawText(IconSetStyle v) {
    return kIconSets[static_cast<size_t>(v)];
}
std::optional<IconSetStyle> iconSetStyleFromRaw(std::string_view s) {
    return fromRaw<IconSetStyle>(kIconSets, s);
}
int iconCount(IconSetStyle v) {
    return kIconSets[static_cast<size_t>(v)][0] - '0';
}
std::string_view rawText(TrendlineType v) {
    return kTrendlines[static_cast<size_t>(v)];
}
std::optional<TrendlineType> trendlineTypeFromRaw(std::string_view s) {
    return fromRaw<TrendlineType>(kTrendlines, s);
}

} // namespace sumora
