#pragma once
// The pieces that rules beyond a single comparison are made of: thresholds
// that place a breakpoint of a colour scale, a data bar or an icon set within
// the range's values, and the icon sets themselves.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sumora {

// How a threshold is placed: at the range's lowest or highest number, at a
// fixed number, at a percentage of the way from lowest to highest, at a
// percentile of the numbers, or at a formula's result (written for the
// range's top-left cell).
enum class ThresholdKind : uint8_t { min, max, number, percent, percentile, formula };
std::string_view rawText(ThresholdKind);
std::optional<ThresholdKind> thresholdKindFromRaw(std::string_view);

struct Threshold {
    ThresholdKind kind = ThresholdKind::min;
    double value = 0;    // for number, percent and percentile
    std::string formula; // for formula
    // Icon sets: a value reaches the icon when it is at least the threshold;
    // false when it must be greater.
    bool inclusive = true;
    bool operator==(const Threshold&) const = default;
};

inline Threshold makeThreshold(ThresholdKind kind, double value = 0) {
    Threshold t;
    t.kind = kind;
    t.value = value;
    return t;
}

// Icon sets in the order the grid's icon painter knows them. The first icon
// of each set stands for the lowest values.
enum class IconSetStyle : uint8_t {
    arrows3,
    arrowsGray3,
    flags3,
    trafficLights3,
    trafficLightsRimmed3,
    signs3,
    symbols3,
    symbolsPlain3,
    arrows4,
    arrowsGray4,
    redToBlack4,
    rating4,
    trafficLights4,
    arrows5,
    arrowsGray5,
    rating5,
    quarters5,
};
// "3Arrows", "3TrafficLights1", "5Quarters"…: the names both file formats use.
std::string_view rawText(IconSetStyle);
std::optional<IconSetStyle> iconSetStyleFromRaw(std::string_view);
int iconCount(IconSetStyle);

} // namespace sumora
