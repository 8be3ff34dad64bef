#include "formats/OdsStyles.h"

#include <charconv>
#include <cmath>

#include "document/HexColor.h"
#include "formats/XmlReader.h"

namespace sumora::ods {

namespace {

// A leading number of a length or size text, and what follows it.
std::optional<std::pair<double, std::string_view>> splitNumber(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || !std::isfinite(value)) return std::nullopt;
    return std::pair{value, text.substr(static_cast<size_t>(end - text.data()))};
}

// Font families with spaces are quoted in the markup: "'DejaVu Sans'".
std::string unquotedFamily(std::string_view family) {
    if (family.size() >= 2 && (family.front() == '\'' || family.front() == '"') &&
        family.back() == family.front())
        family = family.substr(1, family.size() - 2);
    return std::string(family);
}

std::optional<std::string> alignmentFromTextAlign(std::string_view align) {
    if (align == "start" || align == "left") return "left";
    if (align == "center") return "center";
    if (align == "end" || align == "right") return "right";
    if (align == "justify") return "justify";
    return std::nullopt;
}

} // namespace

void CellStyle::applyTo(CellFormat& f) const {
    f.isBold = bold;
    f.isItalic = italic;
    f.isUnderline = underline;
    f.isStrikethrough = strikethrough;
    f.fontName = fontName;
    f.fontSize = fontSize;
    f.fontColor = fontColor;
    f.fillColor = fillColor;
    if (alignment)
        if (auto a = cellAlignmentFromRaw(*alignment)) f.alignment = *a;
}

std::optional<double> centimetresFromLength(std::string_view length) {
    auto parts = splitNumber(length);
    if (!parts) return std::nullopt;
    auto [value, unit] = *parts;
    if (unit == "cm") return value;
    if (unit == "mm") return value / 10;
    if (unit == "in") return value * 2.54;
    if (unit == "pt") return value * 2.54 / 72;
    if (unit == "pc") return value * 2.54 / 6;
    if (unit == "px") return value * 2.54 / 96;
    return std::nullopt;
}

std::optional<double> modelWidthFromLength(std::string_view length) {
    auto cm = centimetresFromLength(length);
    if (!cm || *cm < 0 || *cm > 1e6) return std::nullopt;
    // The writer's thousandths of a centimetre are finer than a hundredth of
    // a unit, so rounding to hundredths gives back the width it wrote.
    return std::round(*cm / kCentimetresPerWidthUnit * 100) / 100;
}

bool StyleCollector::startElement(std::string_view name, const XmlAttributes& a) {
    if (name == "font-face" && !inStyle_) {
        auto face = a.get("name");
        auto family = a.getQualified("svg:font-family");
        if (!family) family = a.get("font-family");
        if (face && family) fontFamilies_[std::string(*face)] = unquotedFamily(*family);
        return true;
    }
    if (name == "style" && !inStyle_) {
        inStyle_ = true;
        currentStyleName_ = std::string(a.get("name").value_or(""));
        std::string_view family = a.get("family").value_or("");
        family_ = family == "table-cell"     ? Family::cell
                  : family == "table-column" ? Family::column
                  : family == "table-row"    ? Family::row
                  : family == "table"        ? Family::table
                                             : Family::other;
        currentStyle_ = CellStyle();
        // An automatic style may build on another automatic style.
        if (auto parent = a.get("parent-style-name"); parent && family_ == Family::cell) {
            auto it = cellStyles_.find(std::string(*parent));
            if (it != cellStyles_.end()) currentStyle_ = it->second;
        }
        currentWidth_.reset();
        currentHeight_.reset();
        currentHidden_ = false;
        return true;
    }
    if (!inStyle_) return false;
    properties(name, a);
    return true;
}

void StyleCollector::properties(std::string_view name, const XmlAttributes& a) {
    switch (family_) {
    case Family::cell:
        if (name == "text-properties") {
            if (auto w = a.get("font-weight")) {
                auto number = splitNumber(*w);
                currentStyle_.bold =
                    *w == "bold" || (number && number->second.empty() && number->first >= 600);
            }
            if (auto s = a.get("font-style")) currentStyle_.italic = *s == "italic" || *s == "oblique";
            if (auto u = a.get("text-underline-style")) currentStyle_.underline = *u != "none";
            if (auto t = a.get("text-line-through-style")) currentStyle_.strikethrough = *t != "none";
            if (auto family = a.get("font-family"))
                currentStyle_.fontName = unquotedFamily(*family);
            else if (auto face = a.get("font-name")) {
                auto known = fontFamilies_.find(std::string(*face));
                currentStyle_.fontName = known != fontFamilies_.end() ? known->second : unquotedFamily(*face);
            }
            if (auto size = a.get("font-size")) {
                if (auto parts = splitNumber(*size); parts && parts->second == "pt")
                    currentStyle_.fontSize = parts->first;
                else if (auto cm = centimetresFromLength(*size))
                    currentStyle_.fontSize = *cm * 72 / 2.54;
            }
            if (auto colour = a.get("color")) currentStyle_.fontColor = std::string(withoutHash(*colour));
        } else if (name == "table-cell-properties") {
            if (auto fill = a.get("background-color"); fill && *fill != "transparent")
                currentStyle_.fillColor = std::string(withoutHash(*fill));
            if (a.get("repeat-content") == std::optional<std::string_view>("true"))
                currentStyle_.alignment = "fill";
        } else if (name == "paragraph-properties") {
            if (auto align = a.get("text-align"))
                if (auto mapped = alignmentFromTextAlign(*align)) currentStyle_.alignment = mapped;
        }
        break;
    case Family::column:
        if (name == "table-column-properties")
            if (auto width = a.get("column-width")) currentWidth_ = modelWidthFromLength(*width);
        break;
    case Family::row:
        if (name == "table-row-properties") {
            bool optimal = a.get("use-optimal-row-height") == std::optional<std::string_view>("true");
            if (auto height = a.get("row-height"); height && !optimal)
                if (auto cm = centimetresFromLength(*height); cm && *cm >= 0 && *cm < 1000)
                    currentHeight_ = std::round(*cm / kCentimetresPerPixel * 100) / 100;
        }
        break;
    case Family::table:
        if (name == "table-properties")
            currentHidden_ = a.get("display") == std::optional<std::string_view>("false");
        break;
    case Family::other:
        break;
    }
}

bool StyleCollector::endElement(std::string_view name) {
    if (!inStyle_) return false;
    if (name != "style") return true;
    inStyle_ = false;
    switch (family_) {
    case Family::cell: {
        CellFormat format;
        currentStyle_.applyTo(format);
        cellFormats_[currentStyleName_] = CellFormat::intern(format);
        cellStyles_[currentStyleName_] = std::move(currentStyle_);
        break;
    }
    case Family::column:
        if (currentWidth_) columnWidths_[currentStyleName_] = *currentWidth_;
        break;
    case Family::row:
        if (currentHeight_) rowHeights_[currentStyleName_] = *currentHeight_;
        break;
    case Family::table:
        hiddenTables_[currentStyleName_] = currentHidden_;
        break;
    case Family::other:
        break;
    }
    return true;
}

const CellFormat* StyleCollector::cellFormat(std::string_view styleName) const {
    auto it = cellFormats_.find(std::string(styleName));
    return it == cellFormats_.end() ? nullptr : it->second;
}

std::optional<double> StyleCollector::columnWidth(std::string_view styleName) const {
    auto it = columnWidths_.find(std::string(styleName));
    if (it == columnWidths_.end()) return std::nullopt;
    return it->second;
}

std::optional<double> StyleCollector::rowHeight(std::string_view styleName) const {
    auto it = rowHeights_.find(std::string(styleName));
    if (it == rowHeights_.end()) return std::nullopt;
    return it->second;
}

bool StyleCollector::hidesTable(std::string_view styleName) const {
    auto it = hiddenTables_.find(std::string(styleName));
    return it != hiddenTables_.end() && it->second;
}

} // namespace sumora::ods
