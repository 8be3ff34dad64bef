#include "values/NumberFormatPalette.h"

#include <array>
#include <utility>

namespace sumora::numberformat {

std::optional<std::string_view> namedColorHex(std::string_view lowerCaseName) {
    static constexpr std::pair<std::string_view, std::string_view> kNames[] = {
        {"black", "000000"}, {"white", "FFFFFF"},  {"red", "FF0000"},     {"green", "00FF00"},
        {"blue", "0000FF"},  {"yellow", "FFFF00"}, {"magenta", "FF00FF"}, {"cyan", "00FFFF"},
    };
    for (const auto& [name, hex] : kNames) {
        if (name == lowerCaseName) return hex;
    }
    return std::nullopt;
}

std::optional<std::string_view> paletteColorHex(int index) {
    static constexpr std::array<std::string_view, 56> kPalette = {
        "000000", "FFFFFF", "FF0000", "00FF00", "0000FF", "FFFF00", "FF00FF", "00FFFF", // 1-8
        "800000", "008000", "000080", "808000", "800080", "008080", "C0C0C0", "808080", // 9-16
        "9999FF", "993366", "FFFFCC", "CCFFFF", "660066", "FF8080", "0066CC", "CCCCFF", // 17-24
        "000080", "FF00FF", "FFFF00", "00FFFF", "800080", "800000", "008080", "0000FF", // 25-32
        "00CCFF", "CCFFFF", "CCFFCC", "FFFF99", "99CCFF", "FF99CC", "CC99FF", "FFCC99", // 33-40
        "3366FF", "33CCCC", "99CC00", "FFCC00", "FF9900", "FF6600", "666699", "969696", // 41-48
        "003366", "339966", "003300", "333300", "993300", "993366", "333399", "333333", // 49-56
    };
    if (index < 1 || index > static_cast<int>(kPalette.size())) return std::nullopt;
    return kPalette[static_cast<size_t>(index - 1)];
}

} // namespace sumora::numberformat
