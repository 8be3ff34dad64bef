#pragma once
// Cell comments: the comments part that holds their texts and the legacy
// drawing of note shapes without which common spreadsheet applications
// do not show them.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {
class Sheet;
}

namespace sumora::xlsx {

struct SheetComment {
    int64_t col = 0, row = 0;
    std::string_view text;
};

// The sheet's comments whose keys are cell addresses, in row-major order.
std::vector<SheetComment> sheetComments(const Sheet& sheet);

// "xl/commentsN.xml".
std::string commentsXml(const std::vector<SheetComment>& comments);
// "xl/drawings/vmlDrawingN.vml"; `sheetNumber` keeps shape ids unique in the workbook.
std::string vmlDrawingXml(const std::vector<SheetComment>& comments, int64_t sheetNumber);

} // namespace sumora::xlsx
