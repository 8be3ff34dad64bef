#include "formats/XlsxStylesWriter.h"

#include <algorithm>
#include <cmath>

#include "formats/XlsxWriterText.h"
#include "formats/XmlWriter.h"
#include "values/BuiltInNumberFormats.h"

namespace sumora::xlsx {

namespace {

// Ids below this are the format's own built-in codes; records of ours start here.
constexpr int64_t kFirstCustomNumberFormatId = 164;
constexpr int64_t kLastCustomNumberFormatId = 65535;

void appendIntAttribute(std::string& out, std::string_view name, int64_t value) {
    out += ' ';
    out += name;
    out += "=\"";
    appendInt(out, value);
    out += '"';
}

void appendRgb(std::string& out, std::string_view element, const std::string& hex) {
    out += '<';
    out += element;
    out += " rgb=\"FF";
    out += hex;
    out += "\"/>";
}

// Written as "<font>…</font>" even when empty: readers that cut the raw
// style text at "<font>" count on one such piece per font.
void appendFont(std::string& out, const FontKey& f) {
    out += "<font>";
    if (f.bold) out += "<b/>";
    if (f.italic) out += "<i/>";
    if (f.strike) out += "<strike/>";
    if (f.underline) out += "<u/>";
    if (f.size > 0) {
        out += "<sz val=\"";
        appendXmlDouble(out, f.size);
        out += "\"/>";
    }
    if (!f.color.empty()) appendRgb(out, "color", f.color);
    if (!f.name.empty()) {
        out += "<name";
        appendAttribute(out, "val", f.name);
        out += "/>";
    }
    out += "</font>";
}

void appendBorder(std::string& out, const BorderKey& b) {
    out += "<border>";
    out += b.left ? "<left style=\"thin\"><color auto=\"1\"/></left>" : "<left/>";
    out += b.right ? "<right style=\"thin\"><color auto=\"1\"/></right>" : "<right/>";
    out += b.top ? "<top style=\"thin\"><color auto=\"1\"/></top>" : "<top/>";
    if (b.thickBottom)
        out += "<bottom style=\"thick\"><color auto=\"1\"/></bottom>";
    else if (b.bottom)
        out += "<bottom style=\"thin\"><color auto=\"1\"/></bottom>";
    else
        out += "<bottom/>";
    out += "<diagonal/></border>";
}

// A differential record: only what the rule sets. Solid fills name the
// colour as both pattern colours, since readers differ on which one a
// differential fill paints with.
void appendDxf(std::string& out, const ConditionalFormat& f) {
    out += "<dxf>";
    if (f.isBold || f.isItalic || f.fontColor) {
        out += "<font>";
        if (f.isBold) out += *f.isBold ? "<b/>" : "<b val=\"0\"/>";
        if (f.isItalic) out += *f.isItalic ? "<i/>" : "<i val=\"0\"/>";
        if (f.fontColor) appendRgb(out, "color", hexColor(*f.fontColor));
        out += "</font>";
    }
    if (f.fillColor) {
        std::string hex = hexColor(*f.fillColor);
        out += "<fill><patternFill patternType=\"solid\">";
        appendRgb(out, "fgColor", hex);
        appendRgb(out, "bgColor", hex);
        out += "</patternFill></fill>";
    }
    out += "</dxf>";
}

} // namespace

StyleKey StyleKey::of(const CellFormat& f, bool locked) {
    StyleKey k;
    k.bold = f.isBold;
    k.italic = f.isItalic;
    k.underline = f.isUnderline;
    k.strike = f.isStrikethrough;
    k.fontName = f.fontName.value_or("");
    // A size the format cannot hold (and NaN, which would upset the ordering of keys) means no size.
    k.fontSize = f.fontSize && std::isfinite(*f.fontSize) && *f.fontSize > 0 ? *f.fontSize : 0;
    k.fontColor = f.fontColor ? hexColor(*f.fontColor) : "";
    k.fillColor = f.fillColor ? hexColor(*f.fillColor) : "";
    k.alignment = f.alignment == CellAlignment::general ? "" : std::string(rawText(f.alignment));
    k.numberFormatId = f.numberFormatId;
    k.numberFormat = f.numberFormat.value_or("");
    k.borderTop = f.borderTop;
    k.borderBottom = f.borderBottom;
    k.borderLeft = f.borderLeft;
    k.borderRight = f.borderRight;
    k.borderThickBottom = f.borderThickBottom;
    k.wrapText = f.wrapText;
    k.locked = locked;
    return k;
}

uint32_t StylesWriter::addHandle(uintptr_t key, const CellFormat* format, bool locked) {
    uint32_t index = 0;
    if (format || !locked)
        index = xfIndex(StyleKey::of(format ? *format : CellFormat::defaultFormat(), locked));
    byHandle_.emplace(key, index);
    return index;
}

uint32_t StylesWriter::xfIndex(const StyleKey& key) {
    if (key == StyleKey{}) return 0;
    if (auto it = xfIndices_.find(key); it != xfIndices_.end()) return it->second;
    XfRecord x;
    x.numFmtId = numberFormatIdFor(key);
    x.fontId = fontIdFor(
        {key.bold, key.italic, key.underline, key.strike, key.fontName, key.fontSize, key.fontColor});
    x.fillId = fillIdFor(key.fillColor);
    x.borderId = borderIdFor(
        {key.borderTop, key.borderBottom, key.borderLeft, key.borderRight, key.borderThickBottom});
    x.horizontal = key.alignment;
    x.wrapText = key.wrapText;
    x.locked = key.locked;
    xfs_.push_back(std::move(x));
    auto index = static_cast<uint32_t>(xfs_.size());
    xfIndices_.emplace(key, index);
    return index;
}

// A built-in code goes by its id alone; an id without a code is kept as it
// is (readers know more built-in ids than the table here); every other code
// gets a record of its own.
int64_t StylesWriter::numberFormatIdFor(const StyleKey& key) {
    if (key.numberFormat.empty())
        return key.numberFormatId > 0 && key.numberFormatId < kFirstCustomNumberFormatId ? key.numberFormatId
                                                                                         : 0;
    const auto& builtIn = builtInNumberFormats();
    if (auto it = builtIn.find(static_cast<int>(key.numberFormatId));
        it != builtIn.end() && key.numberFormatId >= 0 && it->second == key.numberFormat)
        return key.numberFormatId;
    if (key.numberFormat == "General") return 0;
    if (auto it = numberFormatIds_.find(key.numberFormat); it != numberFormatIds_.end()) return it->second;
    // A code read from a file keeps its id when no other code has it, so that
    // opening and saving again changes nothing; others take the first free id.
    int64_t id = key.numberFormatId;
    if (id < kFirstCustomNumberFormatId || id > kLastCustomNumberFormatId || numberFormats_.count(id)) {
        id = kFirstCustomNumberFormatId;
        while (numberFormats_.count(id))
            ++id;
    }
    numberFormatIds_.emplace(key.numberFormat, id);
    numberFormats_.emplace(id, key.numberFormat);
    return id;
}

// Font 0 is the workbook's default; a format that names no font attribute
// still gets a record of its own so that reading it back adds no font name.
uint32_t StylesWriter::fontIdFor(const FontKey& key) {
    if (auto it = fontIds_.find(key); it != fontIds_.end()) return it->second;
    fonts_.push_back(key);
    auto id = static_cast<uint32_t>(fonts_.size());
    fontIds_.emplace(key, id);
    return id;
}

uint32_t StylesWriter::fillIdFor(const std::string& color) {
    if (color.empty()) return 0;
    if (auto it = fillIds_.find(color); it != fillIds_.end()) return it->second;
    fills_.push_back(color);
    auto id = static_cast<uint32_t>(fills_.size() + 1);
    fillIds_.emplace(color, id);
    return id;
}

uint32_t StylesWriter::borderIdFor(const BorderKey& key) {
    if (key.isEmpty()) return 0;
    if (auto it = borderIds_.find(key); it != borderIds_.end()) return it->second;
    borders_.push_back(key);
    auto id = static_cast<uint32_t>(borders_.size());
    borderIds_.emplace(key, id);
    return id;
}

uint32_t StylesWriter::dxfIndex(const ConditionalFormat& format) {
    auto it = std::find(dxfs_.begin(), dxfs_.end(), format);
    if (it != dxfs_.end()) return static_cast<uint32_t>(it - dxfs_.begin());
    dxfs_.push_back(format);
    return static_cast<uint32_t>(dxfs_.size() - 1);
}

std::string StylesWriter::xml() const {
    std::string out;
    out.reserve(2048 + 160 * (xfs_.size() + fonts_.size()));
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
           "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">";
    if (!numberFormats_.empty()) {
        out += "<numFmts";
        appendIntAttribute(out, "count", static_cast<int64_t>(numberFormats_.size()));
        out += '>';
        for (const auto& [id, code] : numberFormats_) {
            out += "<numFmt";
            appendIntAttribute(out, "numFmtId", id);
            appendAttribute(out, "formatCode", code);
            out += "/>";
        }
        out += "</numFmts>";
    }

    out += "<fonts";
    appendIntAttribute(out, "count", static_cast<int64_t>(fonts_.size() + 1));
    out += "><font><sz val=\"11\"/><name val=\"Calibri\"/><family val=\"2\"/></font>";
    for (const FontKey& f : fonts_)
        appendFont(out, f);
    out += "</fonts>";

    out += "<fills";
    appendIntAttribute(out, "count", static_cast<int64_t>(fills_.size() + 2));
    out += "><fill><patternFill patternType=\"none\"/></fill><fill><patternFill "
           "patternType=\"gray125\"/></fill>";
    for (const std::string& hex : fills_)
        out +=
            "<fill><patternFill patternType=\"solid\"><fgColor rgb=\"FF" + hex + "\"/></patternFill></fill>";
    out += "</fills>";

    out += "<borders";
    appendIntAttribute(out, "count", static_cast<int64_t>(borders_.size() + 1));
    out += '>';
    appendBorder(out, BorderKey{});
    for (const BorderKey& b : borders_)
        appendBorder(out, b);
    out += "</borders>";

    out += "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" "
           "borderId=\"0\"/></cellStyleXfs>";

    out += "<cellXfs";
    appendIntAttribute(out, "count", static_cast<int64_t>(xfs_.size() + 1));
    out += "><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/>";
    for (const XfRecord& x : xfs_) {
        out += "<xf";
        appendIntAttribute(out, "numFmtId", x.numFmtId);
        appendIntAttribute(out, "fontId", x.fontId);
        appendIntAttribute(out, "fillId", x.fillId);
        appendIntAttribute(out, "borderId", x.borderId);
        out += " xfId=\"0\"";
        if (x.numFmtId != 0) out += " applyNumberFormat=\"1\"";
        out += " applyFont=\"1\"";
        if (x.fillId != 0) out += " applyFill=\"1\"";
        if (x.borderId != 0) out += " applyBorder=\"1\"";
        bool aligned = !x.horizontal.empty() || x.wrapText;
        if (aligned) out += " applyAlignment=\"1\"";
        if (!x.locked) out += " applyProtection=\"1\"";
        if (!aligned && x.locked) {
            out += "/>";
            continue;
        }
        out += '>';
        if (aligned) {
            out += "<alignment";
            if (!x.horizontal.empty()) appendAttribute(out, "horizontal", x.horizontal);
            if (x.wrapText) out += " wrapText=\"1\"";
            out += "/>";
        }
        if (!x.locked) out += "<protection locked=\"0\"/>";
        out += "</xf>";
    }
    out += "</cellXfs>";

    out += "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>";

    if (!dxfs_.empty()) {
        out += "<dxfs";
        appendIntAttribute(out, "count", static_cast<int64_t>(dxfs_.size()));
        out += '>';
        for (const ConditionalFormat& f : dxfs_)
            appendDxf(out, f);
        out += "</dxfs>";
    }
    out += "</styleSheet>";
    return out;
}

} // namespace sumora::xlsx
