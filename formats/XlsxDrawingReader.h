#pragma once
// The anchors of a drawing part ("xl/drawings/drawingN.xml"): where each
// object sits over the grid and, for a chart, the relationship id of its
// chart part. Anchors are kept as spans of the drawing's text, so that a
// drawing can be written back without some of them.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/XmlFragments.h"

namespace sumora::xlsx {

struct DrawingAnchor {
    xml::ElementSpan span;
    std::optional<std::string> chartId; // r:id of the c:chart a graphic frame shows
    // The cells the object covers: top-left cell and size in whole cells.
    int64_t col = 0, row = 0, widthCols = 1, heightRows = 1;
    bool withinGrid = true;
};

struct DrawingPart {
    std::string_view rootStartTag;
    std::vector<DrawingAnchor> anchors; // the root's children, in order
};

// Throws XmlError when an anchor is not well-formed; nothing when the text
// has no root element.
std::optional<DrawingPart> readDrawingPart(std::string_view xml);

} // namespace sumora::xlsx
