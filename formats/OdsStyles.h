#pragma once
// The automatic styles of an OpenDocument spreadsheet's content part, as the
// reader needs them: cell styles (character, fill and alignment properties),
// column styles (widths), row styles (heights), font faces and table styles (whether the table is shown).
// Styles from the package's separate style part are not read.
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "document/CellFormat.h"

namespace sumora {
class XmlAttributes;
}

namespace sumora::ods {

// One automatic cell style as read; alignment is the model's raw text.
struct CellStyle {
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikethrough = false;
    std::optional<std::string> fontName;
    std::optional<double> fontSize;
    std::optional<std::string> fontColor;
    std::optional<std::string> fillColor;
    std::optional<std::string> alignment;

    void applyTo(CellFormat& format) const;
};

// The writer turns a model width w into w × 0.264583 "cm"; reading divides
// by the same factor, so a width survives a save and a reopen. Files from
// other producers are rescaled afterwards (see the reader).
inline constexpr double kCentimetresPerWidthUnit = 0.264583;
// Row heights are true lengths: a pixel at 96 per inch.
inline constexpr double kCentimetresPerPixel = 2.54 / 96;

// "2.258cm", "0.889in", "64.01pt", "22mm", "1pc", "96px" in centimetres.
std::optional<double> centimetresFromLength(std::string_view length);
// A style:column-width as a model column width.
std::optional<double> modelWidthFromLength(std::string_view length);

// Collects styles while the content part streams by. The reader hands every
// element to it first; it answers whether the element belonged to a style.
class StyleCollector {
  public:
    bool startElement(std::string_view name, const XmlAttributes& attributes);
    bool endElement(std::string_view name);
    bool inStyle() const { return inStyle_; }

    // The interned format of a cell style; nullptr for an unknown name or a
    // style that sets nothing the model keeps.
    const CellFormat* cellFormat(std::string_view styleName) const;
    std::optional<double> columnWidth(std::string_view styleName) const;
    // A row style's fixed height in pixels; nothing for an optimal (automatic) height.
    std::optional<double> rowHeight(std::string_view styleName) const;
    bool hidesTable(std::string_view styleName) const;

    const std::unordered_map<std::string, CellStyle>& cellStyles() const { return cellStyles_; }

  private:
    enum class Family { other, cell, column, row, table };

    void properties(std::string_view name, const XmlAttributes& attributes);

    std::unordered_map<std::string, CellStyle> cellStyles_;
    std::unordered_map<std::string, const CellFormat*> cellFormats_;
    std::unordered_map<std::string, double> columnWidths_;
    std::unordered_map<std::string, double> rowHeights_;
    // Font faces by the name cell styles use, to the family they stand for.
    std::unordered_map<std::string, std::string> fontFamilies_;
    std::unordered_map<std::string, bool> hiddenTables_;

    bool inStyle_ = false;
    Family family_ = Family::other;
    std::string currentStyleName_;
    CellStyle currentStyle_;
    std::optional<double> currentWidth_;
    std::optional<double> currentHeight_;
    bool currentHidden_ = false;
};

} // namespace sumora::ods
