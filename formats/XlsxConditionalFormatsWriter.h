#pragma once
// The conditional formatting of a worksheet part: one
// `conditionalFormatting` block per rule, priorities numbered from 1 per
// sheet; rules that format cells register their format as a `dxf`.
#include <string>

namespace sumora {
class Sheet;
}

namespace sumora::xlsx {

class StylesWriter;

void appendConditionalFormatting(std::string& out, const Sheet& sheet, StylesWriter& styles);

} // namespace sumora::xlsx
