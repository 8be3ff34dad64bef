#pragma once
// The style sheet of a written workbook. Cells hand over their interned
// format and lock state and get back a `cellXfs` index; conditional rules
// hand over their format and get back a `dxf` index. Fonts, fills, borders
// and number formats are shared between the records that use them.
#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "document/CellFormat.h"
#include "document/WorkbookRecords.h"

namespace sumora::xlsx {

// The identity of one `xf`. Absent optionals read as "" and 0, as the format
// cannot tell them apart either. Beyond the formatting fields it carries the
// wrap flag and the lock state, which the format keeps in the same record.
struct StyleKey {
    bool bold = false, italic = false, underline = false, strike = false;
    std::string fontName;
    double fontSize = 0;
    std::string fontColor, fillColor;
    std::string alignment;
    int64_t numberFormatId = 0;
    std::string numberFormat;
    bool borderTop = false, borderBottom = false, borderLeft = false, borderRight = false;
    bool borderThickBottom = false;
    bool wrapText = false;
    bool locked = true;

    static StyleKey of(const CellFormat& format, bool locked);
    auto operator<=>(const StyleKey&) const = default;
};

struct FontKey {
    bool bold = false, italic = false, underline = false, strike = false;
    std::string name;
    double size = 0;
    std::string color;
    auto operator<=>(const FontKey&) const = default;
};

struct BorderKey {
    bool top = false, bottom = false, left = false, right = false, thickBottom = false;
    bool isEmpty() const { return !top && !bottom && !left && !right && !thickBottom; }
    auto operator<=>(const BorderKey&) const = default;
};

class StylesWriter {
  public:
    // The `cellXfs` index of a cell; 0 (the default record) for a default,
    // locked cell.
    uint32_t styleIndex(const CellFormat* format, bool locked) {
        uintptr_t key = reinterpret_cast<uintptr_t>(format) | (locked ? 0 : 1);
        if (key == lastKey_) return lastIndex_;
        auto it = byHandle_.find(key);
        uint32_t index = it != byHandle_.end() ? it->second : addHandle(key, format, locked);
        lastKey_ = key;
        lastIndex_ = index;
        return index;
    }

    // The `dxf` index of a conditional rule's format.
    uint32_t dxfIndex(const ConditionalFormat& format);

    // "xl/styles.xml".
    std::string xml() const;

    size_t cellFormatCount() const { return xfs_.size() + 1; }

  private:
    struct XfRecord {
        int64_t numFmtId = 0;
        uint32_t fontId = 0, fillId = 0, borderId = 0;
        std::string horizontal;
        bool wrapText = false;
        bool locked = true;
    };

    uint32_t addHandle(uintptr_t key, const CellFormat* format, bool locked);
    uint32_t xfIndex(const StyleKey& key);
    int64_t numberFormatIdFor(const StyleKey& key);
    uint32_t fontIdFor(const FontKey& key);
    uint32_t fillIdFor(const std::string& color);
    uint32_t borderIdFor(const BorderKey& key);

    std::unordered_map<uintptr_t, uint32_t> byHandle_;
    uintptr_t lastKey_ = 0; // the default, locked cell
    uint32_t lastIndex_ = 0;

    std::map<StyleKey, uint32_t> xfIndices_;
    std::vector<XfRecord> xfs_; // after the default record 0
    std::map<std::string, int64_t> numberFormatIds_;
    std::map<int64_t, std::string> numberFormats_; // by id, as written
    std::map<FontKey, uint32_t> fontIds_;
    std::vector<FontKey> fonts_; // after the default font 0
    std::map<std::string, uint32_t> fillIds_;
    std::vector<std::string> fills_; // after the two fixed fills
    std::map<BorderKey, uint32_t> borderIds_;
    std::vector<BorderKey> borders_; // after the empty border 0
    std::vector<ConditionalFormat> dxfs_;
};

} // namespace sumora::xlsx
