#pragma once
// The formatting part of a cell. Cells with equal formatting share one
// immutable, interned CellFormat (as a file's style table does), so a cell
// carries only a pointer and the default format costs nothing.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

enum class CellAlignment : uint8_t { general, left, center, right, fill, justify };

std::string_view rawText(CellAlignment);
std::optional<CellAlignment> cellAlignmentFromRaw(std::string_view);
const std::vector<CellAlignment>& allCellAlignments();

struct CellFormat {
    bool isBold = false;
    bool isItalic = false;
    bool isUnderline = false;
    bool isStrikethrough = false;
    std::optional<std::string> fontName;
    std::optional<double> fontSize;
    std::optional<std::string> fontColor;
    std::optional<std::string> fillColor;
    CellAlignment alignment = CellAlignment::general;
    std::optional<std::string> numberFormat;
    int64_t numberFormatId = 0;
    bool wrapText = false;
    bool borderTop = false;
    bool borderBottom = false;
    bool borderLeft = false;
    bool borderRight = false;
    bool borderThickBottom = false;

    bool operator==(const CellFormat&) const = default;
    bool isDefault() const;
    size_t hash() const;

    // The shared instance equal to `format`; nullptr stands for the default
    // format. Interned formats live for the whole process.
    static const CellFormat* intern(const CellFormat& format);
    static const CellFormat& defaultFormat();
};

} // namespace sumora
