#pragma once
// The rule elements of a worksheet part: sheet protection and data
// validations, each appended where the worksheet's element order puts it
// (conditional formatting has XlsxConditionalFormatsWriter).
#include <cstdint>
#include <string>
#include <string_view>

namespace sumora {
class Sheet;
}

namespace sumora::xlsx {

// `<sheetProtection …/>` when the sheet is protected or its permissions
// differ from the defaults; nothing otherwise.
void appendSheetProtection(std::string& out, const Sheet& sheet);

// `<dataValidations>` with one element per rule; nothing without rules.
void appendDataValidations(std::string& out, const Sheet& sheet);

// The legacy 16-bit password hash the format keeps for sheet and workbook
// protection, as four upper-case hex digits.
std::string legacyPasswordHash(std::string_view password);

} // namespace sumora::xlsx
