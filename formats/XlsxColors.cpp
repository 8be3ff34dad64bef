#include "formats/XlsxColors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "formats/XlsxText.h"
#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"

namespace sumora::xlsx {

namespace {

// The default theme of the format, used when a workbook carries none.
const std::array<std::string, 12> kDefaultTheme = {"000000", "FFFFFF", "1F497D", "EEECE1",
                                                   "4F81BD", "C0504D", "9BBB59", "8064A2",
                                                   "4BACC6", "F79646", "0000FF", "800080"};

// The standard palette of the format (indices 0–63); 64 and 65 are the
// system foreground and background.
const char* const kStandardPalette[] = {
    "000000", "FFFFFF", "FF0000", "00FF00", "0000FF", "FFFF00", "FF00FF", "00FFFF", "000000", "FFFFFF",
    "FF0000", "00FF00", "0000FF", "FFFF00", "FF00FF", "00FFFF", "800000", "008000", "000080", "808000",
    "800080", "008080", "C0C0C0", "808080", "9999FF", "993366", "FFFFCC", "CCFFFF", "660066", "FF8080",
    "0066CC", "CCCCFF", "000080", "FF00FF", "FFFF00", "00FFFF", "800080", "800000", "008080", "0000FF",
    "00CCFF", "CCFFFF", "CCFFCC", "FFFF99", "99CCFF", "FF99CC", "CC99FF", "FFCC99", "3366FF", "33CCCC",
    "99CC00", "FFCC00", "FF9900", "FF6600", "666699", "969696", "003366", "339966", "003300", "333300",
    "993300", "993366", "333399", "333333", "000000", "FFFFFF"};

const std::string_view kSchemeSlots[12] = {"dk1",     "lt1",     "dk2",     "lt2",     "accent1", "accent2",
                                           "accent3", "accent4", "accent5", "accent6", "hlink",   "folHlink"};

bool parseRgb(std::string_view hex, double rgb[3]) {
    if (hex.size() == 8) hex.remove_prefix(2);
    if (hex.size() != 6) return false;
    for (int k = 0; k < 3; ++k) {
        unsigned value = 0;
        for (char c : hex.substr(static_cast<size_t>(2 * k), 2)) {
            int d = (c >= '0' && c <= '9')   ? c - '0'
                    : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                    : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                             : -1;
            if (d < 0) return false;
            value = value * 16 + static_cast<unsigned>(d);
        }
        rgb[k] = value / 255.0;
    }
    return true;
}

double hueToChannel(double p, double q, double t) {
    if (t < 0) t += 1;
    if (t > 1) t -= 1;
    if (t < 1.0 / 6) return p + (q - p) * 6 * t;
    if (t < 0.5) return q;
    if (t < 2.0 / 3) return p + (q - p) * (2.0 / 3 - t) * 6;
    return p;
}

class ThemeHandler : public XmlHandler {
  public:
    std::array<std::string, 12> colors = kDefaultTheme;
    bool sawScheme = false;

    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        if (name == "clrScheme") {
            if (!sawScheme) inScheme_ = true;
            sawScheme = true;
            return;
        }
        if (!inScheme_) return;
        for (int i = 0; i < 12; ++i)
            if (name == kSchemeSlots[i]) slot_ = i;
        if (slot_ < 0) return;
        if (name == "srgbClr") {
            if (auto v = attributes.get("val")) colors[static_cast<size_t>(slot_)] = hexFromArgb(*v);
        } else if (name == "sysClr") {
            if (auto last = attributes.get("lastClr"))
                colors[static_cast<size_t>(slot_)] = hexFromArgb(*last);
            else if (attributes.get("val") == "window")
                colors[static_cast<size_t>(slot_)] = "FFFFFF";
            else
                colors[static_cast<size_t>(slot_)] = "000000";
        }
    }

    void endElement(std::string_view name) override {
        if (name == "clrScheme") {
            inScheme_ = false;
            stopParsing(); // the rest of the theme is fonts and effects
        }
        for (int i = 0; i < 12; ++i)
            if (name == kSchemeSlots[i]) slot_ = -1;
    }

  private:
    bool inScheme_ = false;
    int slot_ = -1;
};

} // namespace

ColorElement ColorElement::fromAttributes(const XmlAttributes& attributes) {
    ColorElement c;
    if (auto rgb = attributes.get("rgb")) c.rgb = std::string(*rgb);
    if (auto theme = attributes.get("theme"))
        if (auto n = parseInteger(*theme)) c.theme = static_cast<int>(std::clamp<int64_t>(*n, -1, 1000));
    if (auto indexed = attributes.get("indexed"))
        if (auto n = parseInteger(*indexed)) c.indexed = static_cast<int>(std::clamp<int64_t>(*n, -1, 1000));
    if (auto tint = attributes.get("tint"))
        if (auto t = parseDouble(*tint); t && std::isfinite(*t)) c.tint = std::clamp(*t, -1.0, 1.0);
    if (auto automatic = attributes.get("auto")) c.automatic = parseBoolean(*automatic).value_or(false);
    return c;
}

ColorResolver::ColorResolver()
    : theme_(kDefaultTheme), indexed_(std::begin(kStandardPalette), std::end(kStandardPalette)) {}

void ColorResolver::setIndexedColors(std::vector<std::string> colors) {
    // The system colours after the palette stay as they are.
    for (size_t i = 0; i < colors.size() && i < 64; ++i)
        indexed_[i] = hexFromArgb(colors[i]);
}

std::optional<std::string> ColorResolver::themeColor(int index) const {
    static constexpr int kSlotOfIndex[12] = {1, 0, 3, 2, 4, 5, 6, 7, 8, 9, 10, 11};
    if (index < 0 || index >= 12) return std::nullopt;
    return theme_[static_cast<size_t>(kSlotOfIndex[index])];
}

std::optional<std::string> ColorResolver::resolve(const ColorElement& color) const {
    if (color.automatic) return std::nullopt; // the application's own default
    std::optional<std::string> base;
    if (color.rgb) {
        // An explicit value is kept as the file writes it, unless a tint must be applied.
        base = hexFromArgb(*color.rgb);
    } else if (color.theme) {
        base = themeColor(*color.theme);
    } else if (color.indexed) {
        if (*color.indexed >= 0 && static_cast<size_t>(*color.indexed) < indexed_.size())
            base = indexed_[static_cast<size_t>(*color.indexed)];
    }
    if (!base || color.tint == 0.0) return base;
    return applyTint(*base, color.tint);
}

std::string applyTint(std::string_view hex, double tint) {
    double rgb[3];
    if (!parseRgb(hex, rgb)) return std::string(hex);
    double mx = std::max({rgb[0], rgb[1], rgb[2]}), mn = std::min({rgb[0], rgb[1], rgb[2]});
    double l = (mx + mn) / 2, h = 0, s = 0;
    if (mx != mn) {
        double d = mx - mn;
        s = l > 0.5 ? d / (2 - mx - mn) : d / (mx + mn);
        if (mx == rgb[0])
            h = (rgb[1] - rgb[2]) / d + (rgb[1] < rgb[2] ? 6 : 0);
        else if (mx == rgb[1])
            h = (rgb[2] - rgb[0]) / d + 2;
        else
            h = (rgb[0] - rgb[1]) / d + 4;
        h /= 6;
    }
    l = tint < 0 ? l * (1 + tint) : l * (1 - tint) + tint;
    l = std::clamp(l, 0.0, 1.0);
    double out[3];
    if (s == 0) {
        out[0] = out[1] = out[2] = l;
    } else {
        double q = l < 0.5 ? l * (1 + s) : l + s - l * s;
        double p = 2 * l - q;
        out[0] = hueToChannel(p, q, h + 1.0 / 3);
        out[1] = hueToChannel(p, q, h);
        out[2] = hueToChannel(p, q, h - 1.0 / 3);
    }
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "%02X%02X%02X",
                  static_cast<unsigned>(std::lround(std::clamp(out[0], 0.0, 1.0) * 255)),
                  static_cast<unsigned>(std::lround(std::clamp(out[1], 0.0, 1.0) * 255)),
                  static_cast<unsigned>(std::lround(std::clamp(out[2], 0.0, 1.0) * 255)));
    return buffer;
}

std::optional<std::array<std::string, 12>> readThemeColors(ZipReader& archive, std::string_view path) {
    if (!archive.contains(path)) return std::nullopt;
    ThemeHandler handler;
    parseXmlEntry(archive, path, handler);
    if (!handler.sawScheme) return std::nullopt;
    return handler.colors;
}

} // namespace sumora::xlsx
