#include "formats/XlsxSharedFormula.h"

#include "engine/FormulaParser.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::xlsx {

SharedFormula::SharedFormula(std::string text, int64_t row, int64_t col)
    : shifter_(std::move(text)), row_(row), col_(col) {
    try {
        // Only the syntax counts here: any name may be defined in the workbook.
        parseFormula(shifter_.text(), builtinFunctions(), [](std::string_view) { return true; });
    } catch (const FormulaParseError&) {
        parses_ = false;
    }
}

} // namespace sumora::xlsx
