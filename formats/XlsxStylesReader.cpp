#include "formats/XlsxStylesReader.h"

#include <algorithm>
#include <map>

#include "formats/XlsxColors.h"
#include "formats/XlsxText.h"
#include "formats/XmlReader.h"
#include "values/BuiltInNumberFormats.h"
#include "values/NumberFormat.h"

namespace sumora::xlsx {

namespace {

// Style records hold indices the file chose; a hostile file could name
// billions of them, so indices past this count are treated as missing.
constexpr int64_t kMaxRecordIndex = 1 << 20;

struct FontRecord {
    bool bold = false, italic = false, underline = false, strike = false;
    std::optional<std::string> name;
    std::optional<double> size;
    ColorElement color;
};

struct FillRecord {
    std::string patternType = "none"; // the schema's default
    ColorElement foreground;
};

struct BorderRecord {
    bool left = false, right = false, top = false, bottom = false, thickBottom = false;
};

// A differential format: only what it sets. Colours stay unresolved until the
// palette is known.
struct DxfRecord {
    std::optional<bool> bold, italic;
    std::optional<ColorElement> fontColor, foreground, background;
    std::optional<std::string> patternType;
};

struct XfRecord {
    int64_t numFmtId = 0, fontId = -1, fillId = -1, borderId = -1;
    CellAlignment alignment = CellAlignment::general;
    bool wrapText = false;
    bool unlocked = false;
};

// A flag element such as <b/> or <b val="0"/>.
bool flagValue(const XmlAttributes& attributes) {
    auto val = attributes.get("val");
    return !val || parseBoolean(*val).value_or(true);
}

std::optional<int64_t> recordIndex(const XmlAttributes& attributes, std::string_view name) {
    auto text = attributes.get(name);
    if (!text) return std::nullopt;
    auto n = parseInteger(*text);
    if (!n || *n < 0 || *n > kMaxRecordIndex) return std::nullopt;
    return n;
}

class StylesHandler : public XmlHandler {
  public:
    std::map<int64_t, std::string> numberFormats;
    std::vector<FontRecord> fonts;
    std::vector<FillRecord> fills;
    std::vector<BorderRecord> borders;
    std::vector<XfRecord> cellXfs;
    std::vector<DxfRecord> dxfs;
    std::vector<std::string> indexedColors;

    void startElement(std::string_view name, const XmlAttributes& a) override {
        // A dxf holds elements named like the sections (fonts' font, numFmt, an extLst).
        if (section_ == Section::dxfs && name != "dxfs") return dxf(name, a);
        if (name == "dxfs" && !sawDxfs_) {
            // The extension list may hold a second "dxfs" that the main rules never name.
            sawDxfs_ = true;
            section_ = Section::dxfs;
        } else if (name == "numFmts")
            section_ = Section::numFmts;
        else if (name == "fonts")
            section_ = Section::fonts;
        else if (name == "fills")
            section_ = Section::fills;
        else if (name == "borders")
            section_ = Section::borders;
        else if (name == "cellXfs")
            section_ = Section::cellXfs;
        else if (name == "indexedColors")
            section_ = Section::indexedColors;
        else if (name == "cellStyleXfs" || name == "dxfs" || name == "cellStyles" || name == "extLst" ||
                 name == "tableStyles" || name == "mruColors")
            section_ = Section::other;
        else
            switch (section_) {
            case Section::numFmts:
                numFmt(name, a);
                break;
            case Section::fonts:
                font(name, a);
                break;
            case Section::fills:
                fill(name, a);
                break;
            case Section::borders:
                border(name, a);
                break;
            case Section::cellXfs:
                xf(name, a);
                break;
            case Section::indexedColors:
                if (name == "rgbColor") indexedColors.push_back(hexFromArgb(a.get("rgb").value_or("000000")));
                break;
            case Section::none:
            case Section::other:
            case Section::dxfs:
                break;
            }
    }

    void endElement(std::string_view name) override {
        if (section_ == Section::dxfs && name != "dxfs") {
            if (name == "font" || name == "fill" || name == "numFmt" || name == "alignment" ||
                name == "protection" || name == "border" || name == "extLst")
                dxfPart_ = DxfPart::none;
            return;
        }
        if (name == "numFmts" || name == "fonts" || name == "fills" || name == "borders" ||
            name == "cellXfs" || name == "indexedColors" || name == "cellStyleXfs" || name == "dxfs" ||
            name == "cellStyles" || name == "extLst" || name == "tableStyles" || name == "mruColors")
            section_ = Section::none;
        else if (name == "patternFill")
            inPatternFill_ = false;
    }

  private:
    enum class Section { none, numFmts, fonts, fills, borders, cellXfs, dxfs, indexedColors, other };
    enum class DxfPart { none, font, fill, other };

    void numFmt(std::string_view name, const XmlAttributes& a) {
        if (name != "numFmt") return;
        auto id = a.get("numFmtId");
        auto code = a.get("formatCode");
        if (!id || !code) return;
        if (auto n = parseInteger(*id)) numberFormats[*n] = std::string(*code);
    }

    void font(std::string_view name, const XmlAttributes& a) {
        if (name == "font") {
            fonts.emplace_back();
            return;
        }
        if (fonts.empty()) return;
        FontRecord& f = fonts.back();
        if (name == "b")
            f.bold = flagValue(a);
        else if (name == "i")
            f.italic = flagValue(a);
        else if (name == "strike")
            f.strike = flagValue(a);
        else if (name == "u")
            f.underline = a.get("val").value_or("single") != "none";
        else if (name == "name") {
            if (auto v = a.get("val")) f.name = std::string(*v);
        } else if (name == "sz") {
            if (auto v = a.get("val"))
                if (auto size = parseDouble(*v); size && *size > 0 && *size < 10000) f.size = *size;
        } else if (name == "color") {
            f.color = ColorElement::fromAttributes(a);
        }
    }

    void fill(std::string_view name, const XmlAttributes& a) {
        if (name == "fill") {
            fills.emplace_back();
            return;
        }
        if (fills.empty()) return;
        if (name == "patternFill") {
            inPatternFill_ = true;
            fills.back().patternType = std::string(a.get("patternType").value_or("none"));
        } else if (name == "fgColor" && inPatternFill_) {
            fills.back().foreground = ColorElement::fromAttributes(a);
        }
    }

    void border(std::string_view name, const XmlAttributes& a) {
        if (name == "border") {
            borders.emplace_back();
            return;
        }
        if (borders.empty()) return;
        BorderRecord& b = borders.back();
        auto style = a.get("style");
        bool present = style && *style != "none";
        if (name == "left" || name == "start")
            b.left = b.left || present;
        else if (name == "right" || name == "end")
            b.right = b.right || present;
        else if (name == "top")
            b.top = present;
        else if (name == "bottom") {
            b.thickBottom = present && (*style == "thick" || *style == "medium");
            b.bottom = present && !b.thickBottom;
        }
    }

    void xf(std::string_view name, const XmlAttributes& a) {
        if (name == "xf") {
            XfRecord x;
            x.numFmtId = recordIndex(a, "numFmtId").value_or(0);
            x.fontId = recordIndex(a, "fontId").value_or(-1);
            x.fillId = recordIndex(a, "fillId").value_or(-1);
            x.borderId = recordIndex(a, "borderId").value_or(-1);
            cellXfs.push_back(x);
            return;
        }
        if (cellXfs.empty()) return;
        XfRecord& x = cellXfs.back();
        if (name == "alignment") {
            if (auto h = a.get("horizontal")) {
                auto alignment = cellAlignmentFromRaw(*h);
                x.alignment = alignment ? *alignment : CellAlignment::general;
            }
            if (auto wrap = a.get("wrapText")) x.wrapText = parseBoolean(*wrap).value_or(false);
        } else if (name == "protection") {
            if (auto locked = a.get("locked")) x.unlocked = !parseBoolean(*locked).value_or(true);
        }
    }

    void dxf(std::string_view name, const XmlAttributes& a) {
        if (name == "dxf") {
            dxfs.emplace_back();
            dxfPart_ = DxfPart::none;
            return;
        }
        if (dxfs.empty()) return;
        DxfRecord& d = dxfs.back();
        if (name == "font")
            dxfPart_ = DxfPart::font;
        else if (name == "fill")
            dxfPart_ = DxfPart::fill;
        else if (name == "numFmt" || name == "alignment" || name == "protection" || name == "border" ||
                 name == "extLst")
            dxfPart_ = DxfPart::other;
        else if (dxfPart_ == DxfPart::font) {
            if (name == "b")
                d.bold = flagValue(a);
            else if (name == "i")
                d.italic = flagValue(a);
            else if (name == "color")
                d.fontColor = ColorElement::fromAttributes(a);
        } else if (dxfPart_ == DxfPart::fill) {
            if (name == "patternFill") {
                if (auto type = a.get("patternType")) d.patternType = std::string(*type);
            } else if (name == "fgColor") {
                d.foreground = ColorElement::fromAttributes(a);
            } else if (name == "bgColor") {
                d.background = ColorElement::fromAttributes(a);
            }
        }
    }

    Section section_ = Section::none;
    DxfPart dxfPart_ = DxfPart::none;
    bool sawDxfs_ = false;
    bool inPatternFill_ = false;
};

template <class T> const T* at(const std::vector<T>& records, int64_t index) {
    return index >= 0 && static_cast<size_t>(index) < records.size() ? &records[static_cast<size_t>(index)]
                                                                     : nullptr;
}

// A differential fill paints with its background colour (a solid pattern's
// foreground in cell fills); producers that name only the foreground mean it.
std::optional<std::string> differentialFill(const DxfRecord& d, const ColorResolver& colors) {
    if (d.patternType == "none") return std::nullopt;
    std::optional<std::string> color;
    if (d.background) color = colors.resolve(*d.background);
    if (!color && d.foreground) color = colors.resolve(*d.foreground);
    return color;
}

} // namespace

std::vector<std::optional<std::string>> rawFontColors(std::string_view xml) {
    static const TextPattern rgbPattern(R"re(rgb="([^"]+)")re");
    std::vector<std::optional<std::string>> colors;
    for (size_t start = xml.find("<font>"); start != std::string_view::npos;
         start = xml.find("<font>", start + 1)) {
        size_t end = xml.find("</font>", start);
        std::string_view piece =
            xml.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
        auto rgb = rgbPattern.firstGroup(piece);
        colors.push_back(rgb ? std::optional<std::string>(hexFromArgb(*rgb)) : std::nullopt);
        if (end == std::string_view::npos) break;
    }
    return colors;
}

StyleTable readStyles(std::string_view xml, ColorResolver& colors) {
    StylesHandler h;
    XmlReader::parse(xml, h);
    if (!h.indexedColors.empty()) colors.setIndexedColors(h.indexedColors);
    std::vector<std::optional<std::string>> raw = rawFontColors(xml);

    // Fonts and fills are resolved once, not once per cell format.
    std::vector<std::optional<std::string>> fontColors(h.fonts.size());
    for (size_t i = 0; i < h.fonts.size(); ++i) {
        const ColorElement& typed = h.fonts[i].color;
        fontColors[i] = colors.resolve(typed);
        if (i < raw.size() && raw[i] && (!typed.rgb || hexFromArgb(*typed.rgb) != *raw[i]))
            fontColors[i] = raw[i];
    }
    const auto& builtIn = builtInNumberFormats();

    StyleTable table;
    table.formats.reserve(h.cellXfs.size());
    table.unlocked.reserve(h.cellXfs.size());
    table.dated.reserve(h.cellXfs.size());
    for (const XfRecord& x : h.cellXfs) {
        CellFormat f;
        if (x.numFmtId != 0) {
            if (auto custom = h.numberFormats.find(x.numFmtId); custom != h.numberFormats.end())
                f.numberFormat = custom->second;
            else if (auto known = builtIn.find(static_cast<int>(x.numFmtId)); known != builtIn.end())
                f.numberFormat = known->second;
            f.numberFormatId = x.numFmtId;
        }
        if (const FontRecord* font = at(h.fonts, x.fontId)) {
            f.isBold = font->bold;
            f.isItalic = font->italic;
            f.isUnderline = font->underline;
            f.isStrikethrough = font->strike;
            f.fontName = font->name;
            f.fontSize = font->size;
            f.fontColor = fontColors[static_cast<size_t>(x.fontId)];
        }
        if (const FillRecord* fill = at(h.fills, x.fillId); fill && fill->patternType != "none")
            f.fillColor = colors.resolve(fill->foreground);
        if (const BorderRecord* b = at(h.borders, x.borderId)) {
            f.borderLeft = b->left;
            f.borderRight = b->right;
            f.borderTop = b->top;
            f.borderBottom = b->bottom;
            f.borderThickBottom = b->thickBottom;
        }
        f.alignment = x.alignment;
        f.wrapText = x.wrapText;
        table.dated.push_back(f.numberFormat && isDateTimeFormat(*f.numberFormat));
        table.formats.push_back(CellFormat::intern(f));
        table.unlocked.push_back(x.unlocked);
    }
    table.differentialFormats.reserve(h.dxfs.size());
    for (const DxfRecord& d : h.dxfs) {
        ConditionalFormat f;
        f.isBold = d.bold;
        f.isItalic = d.italic;
        if (d.fontColor) f.fontColor = colors.resolve(*d.fontColor);
        f.fillColor = differentialFill(d, colors);
        table.differentialFormats.push_back(std::move(f));
    }
    return table;
}

} // namespace sumora::xlsx
