// Tokenizes, parses and evaluates arbitrary text as a formula against a small
// workbook (numbers, texts, an error text, a second sheet and a named range);
// nothing may crash, hang or read out of bounds. Also runs parseCellRef, and
// parses the text twice through FormulaShapes (the second time as a copy of
// the first's tree), then the text with every digit changed, which is of the
// same shape or a near miss of it (a row 0, a leading zero).
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "document/SumoraDocument.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/FormulaShapes.h"
#include "engine/FormulaTokenizer.h"
#include "engine/WorkbookResolver.h"
#include "functions/BuiltinFunctions.h"
#include "values/Log.h"

namespace {

using namespace sumora;

SumoraDocument makeBook() {
    SumoraDocument doc;
    Sheet& s = doc.sheets[0];
    const char* texts[] = {"1", "2.5", "-3", "abc", "TRUE", "", "#DIV/0!", "1e300", "x y"};
    for (int64_t r = 0; r < 9; ++r) {
        Cell& c = s.cellForWriting(r, 0);
        c.setValue(texts[r]);
        c.setComputedValue(texts[r]);
        s.cellForWriting(r, 1).setValue(std::to_string(r * 7 - 20));
    }
    s.cellForWriting(0, 2).setFormula("A1+B1");
    doc.sheets.push_back(SumoraDocument::makeNewSheet("Data"));
    doc.sheets[1].cellForWriting(1, 1).setValue("42");
    doc.sheets.push_back(SumoraDocument::makeNewSheet("My Sheet"));
    doc.sheets[2].cellForWriting(0, 0).setValue("hello");
    NamedRange rate;
    rate.name = "Rate";
    rate.startCol = rate.endCol = 1;
    NamedRange block;
    block.name = "Block";
    block.sheetName = "Data";
    block.endCol = 2;
    block.endRow = 3;
    doc.namedRanges = {rate, block};
    return doc;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const SumoraDocument book = [] {
        Log::setEnabled(false);
        return makeBook();
    }();
    std::string_view text(reinterpret_cast<const char*>(data), size);
    (void)parseCellRef(text);
    (void)FormulaTokenizer(text).tokenize();
    auto isName = [](std::string_view name) { return findNamedRange(book.namedRanges, name).has_value(); };
    try {
        FormulaShapes shapes(builtinFunctions(), isName);
        (void)shapes.parse(text);
        (void)shapes.parse(text);
        std::string shifted(text);
        for (char& c : shifted)
            if (c >= '0' && c <= '9') c = c == '9' ? '0' : static_cast<char>(c + 1);
        (void)shapes.parse(shifted);
    } catch (const FormulaParseError&) {
    }
    try {
        FormulaTree tree = parseFormula(text, builtinFunctions(), isName);
        WorkbookResolver resolver(book, 0, CellRef{3, 3, std::nullopt});
        FormulaEvaluator evaluator(resolver);
        FormulaValue v = evaluator.evaluate(tree);
        (void)v.description();
        (void)v.asNumber();
        (void)v.asBool();
    } catch (const FormulaParseError&) {
        // Syntax errors are values the caller shows; nothing else may escape.
    }
    return 0;
}
