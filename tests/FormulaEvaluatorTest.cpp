// Operators, references, the cell-text reading rule and the depth guard,
// evaluated against a small workbook: formula → the text a cell would show.
#include "engine/FormulaEvaluator.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

using test::TestBook;

void check(TestBook& book, const std::vector<test::FormulaCase>& cases) {
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(FormulaEvaluator, Arithmetic) {
    TestBook book;
    check(book, {
                    {"=1+2*3", "7"},         {"=-2^2", "4"},
                    {"=2^3^2", "512"},       {"=1-2-3", "-4"},
                    {"=7/2", "3.5"},         {"=2^-1", "0.5"},
                    {"=0^0", "1"},           {"=50%", "0.5"},
                    {"=2+50%", "2.5"},       {"=TRUE+TRUE", "2"},
                    {"=\"3\"*\"4\"", "12"},  {"=\" 3\"*1", "#VALUE!"},
                    {"=--1", "1"},           {"=-TRUE", "-1"},
                    {"=+\"5\"", "5"},        {"=0.1+0.2", "0.30000000000000004"},
                    {"=1e308*10", "inf"},    {"=(-8)^(1/3)", "nan"}, // pow, not an error
                    {"=1/0", "#DIV/0!"},     {"=0/0", "#DIV/0!"},
                    {"=1/\"0\"", "#DIV/0!"}, {"=1/FALSE", "#DIV/0!"},
                });
}

TEST(FormulaEvaluator, ErrorsPropagateLeftOperandFirst) {
    TestBook book;
    check(book, {
                    {"=1/0+(1/0)", "#DIV/0!"},
                    {"=(1/0)+(\"a\"+1)", "#DIV/0!"},
                    {"=(\"a\"+1)+(1/0)", "#VALUE!"},
                    {"=1/0&\"x\"", "#DIV/0!"},
                    {"=\"x\"&1/0", "#DIV/0!"},
                    {"=(1/0)=(1/0)", "#DIV/0!"},
                    {"=1/0<1", "#DIV/0!"},
                    {"=-(1/0)", "#VALUE!"}, // unary signs and percent do not keep the error's kind
                    {"=+(1/0)", "#VALUE!"},
                    {"=(1/0)%", "#VALUE!"},
                    {"=-\"abc\"", "#VALUE!"},
                    {"=\"abc\"%", "#VALUE!"},
                    {"=FOO(1/0)", "#NAME? (FOO)"},
                    {"=1+FOO()", "#NAME? (FOO)"},
                });
}

TEST(FormulaEvaluator, ConcatenationAndEqualityUseTextForms) {
    TestBook book;
    check(book, {
                    {"=1&2", "12"},
                    {"=TRUE&\"x\"", "TRUEx"},
                    {"=1234567&\"\"", "1.23457e+06"},
                    {"=0.5&\"\"", "0.5"},
                    {"=A1&\"|\"", "|"},
                    {"=1=\"1\"", "TRUE"},
                    {"=\"a\"=\"A\"", "FALSE"},
                    {"=A1=\"\"", "TRUE"},
                    {"=A1=0", "FALSE"},
                    {"=0.1+0.2=0.3", "FALSE"},
                    {"=1<>2", "TRUE"},
                    {"=1<>\"1\"", "FALSE"},
                    {"=TRUE=\"TRUE\"", "TRUE"},
                    {"=1234567=1234568", "TRUE"}, // both render "1.23457e+06"
                });
}

TEST(FormulaEvaluator, OrderingComparesNumbersElseCodePoints) {
    TestBook book;
    check(book, {
                    {"=\"abc\"<\"abd\"", "TRUE"},
                    {"=\"Z\"<\"a\"", "TRUE"},
                    {"=\"B\"<\"a\"", "TRUE"},
                    {"=\"a\"<=\"a\"", "TRUE"},
                    {"=\"a\">=\"a\"", "TRUE"},
                    {"=\"a\">\"a\"", "FALSE"},
                    {"=\"\xC3\xA9\">\"z\"", "TRUE"},
                    {"=\"10\">9", "TRUE"},
                    {"=\"10\">\"9\"", "TRUE"}, // numeric texts compare as numbers
                    {"=TRUE>0", "TRUE"},
                    {"=A1<1", "TRUE"},
                    {"=A1>=0", "TRUE"},
                    {"=2>=2", "TRUE"},
                    {"=\"abc\">5", "TRUE"}, // "abc" vs "5" by code points
                    {"=(-1)^0.5<1", "FALSE"},
                    {"=(-1)^0.5>=1", "FALSE"},
                    {"=(-1)^0.5<>1", "TRUE"},
                });
}

TEST(FormulaEvaluator, ReferencesReadTheCellText) {
    TestBook book;
    book.set("A2", "abc").set("A3", "5").set("B1", "1e3").set("B2", " 5");
    book.doc.sheets[0].cellForWriting(3, 0).setValue("true"); // A4: a value without computed text
    book.set("C1", "=1/0").computed("C1", "#DIV/0!");
    book.set("C2", "").computed("C2", "true");
    book.set("C3", "").computed("C3", "TRUE");
    book.set("C4", "7").computed("C4", "");
    book.set("C5", "").computed("C5", "#REF!");
    check(book, {
                    {"=A1", ""},
                    {"=A1+1", "1"},
                    {"=A2+1", "#VALUE!"},
                    {"=A2&1", "abc1"},
                    {"=A3*2", "10"},
                    {"=A4", "TRUE"}, // a constant TRUE in any case is a boolean
                    {"=A4+1", "2"},
                    {"=B1", "1000"},
                    {"=B2&\"|\"", " 5|"},
                    {"=B2+1", "#VALUE!"},
                    {"=C1", "#DIV/0!"},   // an error text is read back as text …
                    {"=C1+1", "#VALUE!"}, // … so arithmetic on it is #VALUE!
                    {"=C1&\"!\"", "#DIV/0!!"},
                    {"=C1=\"#DIV/0!\"", "TRUE"},
                    {"=C2+1", "#VALUE!"}, // a computed text is a boolean only as exactly TRUE
                    {"=C2", "true"},
                    {"=C3+1", "2"},
                    {"=C4+1", "8"}, // an empty computed text falls back to the value
                    {"=C5&\"\"", "#REF!"},
                });
    EXPECT_TRUE(book.evalValue("=A1").isEmpty());
    EXPECT_TRUE(book.evalValue("=C1").isText());
    EXPECT_TRUE(book.evalValue("=A4").isBool());
    EXPECT_TRUE(book.evalValue("=C2").isText());
}

TEST(FormulaEvaluator, ReferencesOutsideTheGridOrToMissingSheetsAreRefErrors) {
    TestBook book;
    book.addSheet("Data");
    book.set("B2", "42", 1);
    check(book, {
                    {"=Z500", ""},
                    {"=A501", "#REF!"},
                    {"=AA1", "#REF!"},
                    {"=XFD1048576", "#REF!"},
                    {"=Sheet9!A1", "#REF!"},
                    {"=Data!B2", "42"},
                    {"='Data'!B2*2", "84"},
                    {"=Data!B2:C3", "#VALUE!"}, // a range is no plain value
                    {"=A1:B2", "#VALUE!"},
                    {"=Data!A501", "#REF!"},
                    {"=Sheet9!A1&\"x\"", "#REF!"},
                });
    EXPECT_EQ(book.eval("=B2", 1), "42");
    EXPECT_EQ(book.eval("='Sheet 1'!A1&\"x\"", 1), "x");
}

TEST(FormulaEvaluator, WorkbookNamesReadTheirCell) {
    TestBook book;
    book.set("B1", "0.25");
    book.addSheet("Data");
    book.set("C3", "9", 1);
    NamedRange rate;
    rate.name = "Rate";
    rate.startCol = rate.endCol = 1;
    NamedRange remote;
    remote.name = "Remote";
    remote.sheetName = "Data";
    remote.startCol = remote.endCol = 2;
    remote.startRow = remote.endRow = 2;
    NamedRange block;
    block.name = "Block";
    block.endCol = block.endRow = 3;
    book.doc.namedRanges = {rate, remote, block};
    check(book, {
                    {"=Rate*4", "1"},
                    {"=rate*4", "1"},
                    {"=Remote+1", "10"},
                    {"=Remote-1", "8"},
                    {"=-Remote", "-9"},
                    {"=Block", "#VALUE!"},
                    {"=Nothing+1", "#ERROR: Unexpected token"},
                });
}

TEST(FormulaEvaluator, DepthBeyondAThousandIsACircularReference) {
    TestBook book;
    WorkbookResolver resolver(book.doc, 0);
    FormulaEvaluator evaluator(resolver);
    FormulaTree one = parseFormula("1", builtinFunctions());
    EXPECT_EQ(evaluator.evaluate(one, 1000).description(), "1");
    EXPECT_EQ(evaluator.evaluate(one, 1001).description(), "#CIRC!");
    // N minus signs are N − 1 unary operators around the literal −1 (the last
    // sign folds into the number), so the literal sits at depth N − 1. Beyond
    // the limit the unary minus turns the "#CIRC!" into "#VALUE!".
    EXPECT_EQ(book.eval("=" + std::string(1001, '-') + "1"), "-1");
    EXPECT_EQ(book.eval("=" + std::string(1002, '-') + "1"), "#VALUE!");
    EXPECT_EQ(book.eval("=" + std::string(4000, '-') + "1"), "#VALUE!");
    // Binary operators pass the error on.
    std::string chain = "1";
    for (int i = 0; i < 1000; ++i)
        chain += "+1";
    EXPECT_EQ(book.eval("=" + chain), "1001");
    EXPECT_EQ(book.eval("=" + chain + "+1"), "#CIRC!");
    // Parentheses add no level.
    EXPECT_EQ(book.eval("=" + std::string(1500, '(') + "1" + std::string(1500, ')')), "1");
}

TEST(FormulaEvaluator, ParseFailuresAreErrorValues) {
    TestBook book;
    check(book, {
                    {"=1+", "#ERROR: Unexpected end of formula"},
                    {"=SUM(1,,2)", "#ERROR: Unexpected token"},
                    {"=A1:", "#REF!"},
                    {"=1+2)", "3"},
                    {"=10%*2", "0.1"},
                });
}

} // namespace
} // namespace sumora
