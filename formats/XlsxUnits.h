#pragma once
// Size units shared by the XLSX reader and writer.
//
// The model keeps column widths and row heights in screen pixels (the grid's
// default column is 100 of them). A worksheet stores a column width in
// "characters" of the default font's digit width, which for the usual
// 11-point default is 7 pixels plus 5 pixels of cell padding, and a row
// height in points (96 pixels to 72 points). Reading rounds column widths to
// whole pixels; writing is the exact inverse, so a width read, written and
// read again comes back unchanged.
#include <algorithm>
#include <cmath>

namespace sumora::xlsx {

inline constexpr double kDigitWidthPixels = 7.0;
inline constexpr double kColumnPaddingPixels = 5.0;
inline constexpr double kPixelsPerPoint = 96.0 / 72.0;

// `<col width="…">` → model pixels.
inline double columnPixelsFromWidth(double characters) {
    return std::max(0.0, std::round(characters * kDigitWidthPixels + kColumnPaddingPixels));
}

// Model pixels → `<col width="…">`.
inline double columnWidthFromPixels(double pixels) {
    return std::max(0.0, (pixels - kColumnPaddingPixels) / kDigitWidthPixels);
}

// `<row ht="…">` (points) → model pixels.
inline double rowPixelsFromPoints(double points) {
    return std::max(0.0, points * kPixelsPerPoint);
}

// Model pixels → `<row ht="…">` (points).
inline double rowPointsFromPixels(double pixels) {
    return std::max(0.0, pixels / kPixelsPerPoint);
}

} // namespace sumora::xlsx
