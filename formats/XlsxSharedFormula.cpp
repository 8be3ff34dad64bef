#include "formats/XlsxSharedFormula.h"

#include "engine/FormulaParser.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::xlsx {

SharedFormula::SharedFormula(std::string text, CellPosition origin)
    : shifter_(std::move(text)), origin_(origin) {
    try {
        // Only the syntax counts here: any name may be defined in the workbook.
        parseFormula(shifter_.text(), builtinFunctions(), [](std::string_view) { return true; });
    } catch (const FormulaParseError&) {
        parses_ = false;
    }
}

} // namespace sumora::xlsx
