#pragma once
// Colours of an XLSX package. A colour element names its colour in one of
// three ways — an explicit ARGB value, a slot of the workbook theme, or an
// index into the legacy 64-colour palette — optionally lightened or darkened
// by a tint. The resolver turns each into the model's six hex digits.
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {
class XmlAttributes;
class ZipReader;
} // namespace sumora

namespace sumora::xlsx {

// What one colour element (`color`, `fgColor`, `tabColor`, …) says.
struct ColorElement {
    std::optional<std::string> rgb;
    std::optional<int> theme;
    std::optional<int> indexed;
    double tint = 0.0;
    bool automatic = false;

    static ColorElement fromAttributes(const XmlAttributes& attributes);
};

class ColorResolver {
  public:
    // The format's default theme and the standard palette.
    ColorResolver();

    // The twelve theme slots in the theme part's order: dk1, lt1, dk2, lt2,
    // accent1–6, hlink, folHlink ("RRGGBB").
    void setThemeColors(const std::array<std::string, 12>& colors) { theme_ = colors; }
    // A workbook may redefine the palette (styles' `indexedColors`).
    void setIndexedColors(std::vector<std::string> colors);

    // "RRGGBB" (or the file's own text for an explicit rgb value); absent for
    // automatic colours and for indices that name nothing.
    std::optional<std::string> resolve(const ColorElement& color) const;

    // The colour of theme index `index` as cells use it: 0 and 1 are the
    // light and dark text colours (lt1, dk1), 2 and 3 lt2 and dk2.
    std::optional<std::string> themeColor(int index) const;

  private:
    std::array<std::string, 12> theme_;
    std::vector<std::string> indexed_;
};

// Lightens (tint > 0) or darkens (tint < 0) "RRGGBB" in HSL space, the way
// spreadsheet applications apply a theme tint; upper-case result.
std::string applyTint(std::string_view rgb, double tint);

// The colour scheme of a theme part, or nothing when the part is missing or
// lacks a scheme. Throws XmlError on malformed XML.
std::optional<std::array<std::string, 12>> readThemeColors(ZipReader& archive, std::string_view path);

} // namespace sumora::xlsx
