// The information family. Expected values of the common definitions are
// LibreOffice Calc's, except where its booleans-are-numbers model differs
// (marked).
#include <gtest/gtest.h>

#include "TestSupport.h"

namespace sumora {
namespace {

using test::TestBook;

// A1 "a", A2 empty, A4 "12", A5 "TRUE", A6 "hello", A7 "#DIV/0!" (an error
// text as a stored result reads back), B1 a formula.
TestBook sampleBook() {
    TestBook book;
    book.set("A1", "a").set("A4", "12").set("A5", "TRUE").set("A6", "hello").set("A7", "#DIV/0!");
    book.set("B1", "=1+1").computed("B1", "2");
    return book;
}

void check(const std::vector<test::FormulaCase>& cases) {
    TestBook book = sampleBook();
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(InfoFunctions, KindTests) {
    check({
        {"=ISNUMBER(5)", "TRUE"},          {"=ISNUMBER(\"5\")", "FALSE"},
        {"=ISNUMBER(A4)", "TRUE"}, // a stored "12" reads as a number
        {"=ISNUMBER(A6)", "FALSE"},        {"=ISNUMBER(A2)", "FALSE"},
        {"=ISNUMBER(1/0)", "FALSE"},       {"=ISNUMBER(TRUE)", "FALSE"}, // LibreOffice: TRUE
        {"=ISTEXT(\"a\")", "TRUE"},        {"=ISTEXT(A6)", "TRUE"},
        {"=ISTEXT(A4)", "FALSE"},          {"=ISTEXT(A2)", "FALSE"},
        {"=ISTEXT(1/0)", "FALSE"},         {"=ISNONTEXT(A6)", "FALSE"},
        {"=ISNONTEXT(A2)", "TRUE"},        {"=ISNONTEXT(1/0)", "TRUE"},
        {"=ISNONTEXT(5)", "TRUE"},         {"=ISBLANK(A2)", "TRUE"},
        {"=ISBLANK(A1)", "FALSE"},         {"=ISBLANK(\"\")", "FALSE"},
        {"=ISLOGICAL(TRUE)", "TRUE"}, // LibreOffice: FALSE for the literal
        {"=ISLOGICAL(1)", "FALSE"},        {"=ISLOGICAL(A5)", "TRUE"},
        {"=ISLOGICAL(\"TRUE\")", "FALSE"}, {"=ISLOGICAL(A2)", "FALSE"},
        {"=ISNUMBER()", "#VALUE!"},
    });
}

TEST(InfoFunctions, ErrorTests) {
    check({
        {"=ISERROR(1/0)", "TRUE"},
        {"=ISERROR(NA())", "TRUE"},
        {"=ISERROR(5)", "FALSE"},
        {"=ISERROR(A6+1)", "TRUE"},
        {"=ISERR(1/0)", "TRUE"},
        {"=ISERR(NA())", "FALSE"},
        {"=ISERR(5)", "FALSE"},
        {"=ISNA(NA())", "TRUE"},
        {"=ISNA(1/0)", "FALSE"},
        {"=ISNA(5)", "FALSE"},
        {"=NA()", "#N/A"},
    });
}

TEST(InfoFunctions, ErrorTextsInCellsAreText) {
    check({
        {"=ISERROR(A7)", "FALSE"},
        {"=ISTEXT(A7)", "TRUE"},
        {"=ERROR.TYPE(A7)", "#N/A"},
        {"=TYPE(A7)", "2"},
    });
}

TEST(InfoFunctions, Parity) {
    check({
        {"=ISEVEN(4)", "TRUE"},
        {"=ISEVEN(3)", "FALSE"},
        {"=ISEVEN(-2)", "TRUE"},
        {"=ISEVEN(2.5)", "TRUE"},
        {"=ISEVEN(3.9)", "FALSE"},
        {"=ISEVEN(0)", "TRUE"},
        {"=ISEVEN(A4)", "TRUE"},
        {"=ISEVEN(\"abc\")", "#VALUE!"},
        {"=ISEVEN(TRUE)", "#VALUE!"},
        {"=ISEVEN(1/0)", "#DIV/0!"},
        {"=ISEVEN(A2)", "TRUE"}, // an empty cell is 0 (LibreOffice refuses it)
        {"=ISODD(3)", "TRUE"},
        {"=ISODD(-3)", "TRUE"},
        {"=ISODD(4)", "FALSE"},
        {"=ISODD(3.5)", "TRUE"},
        {"=ISODD(-3.5)", "TRUE"},
    });
}

TEST(InfoFunctions, ReferencesAndFormulas) {
    check({
        {"=ISFORMULA(B1)", "TRUE"},
        {"=ISFORMULA(A1)", "FALSE"},
        {"=ISFORMULA(A2)", "FALSE"},
        {"=ISFORMULA(B1:C3)", "TRUE"}, // the first cell decides
        {"=ISFORMULA(5)", "#VALUE!"},
        {"=ISFORMULA(Sheet9!A1)", "#REF!"},
        {"=ISREF(A1)", "TRUE"},
        {"=ISREF(A1:B2)", "TRUE"},
        {"=ISREF(5)", "FALSE"},
        {"=ISREF(\"A1\")", "FALSE"},
        {"=ISREF(Sheet9!A1)", "FALSE"},
    });
}

TEST(InfoFunctions, ErrorTypeCodes) {
    check({
        {"=ERROR.TYPE(1/0)", "2"},
        {"=ERROR.TYPE(A6+1)", "3"},
        {"=ERROR.TYPE(Sheet9!A1)", "4"},
        {"=ERROR.TYPE(NOSUCHFUNCTION(1))", "5"}, // #NAME? (NOSUCHFUNCTION)
        {"=ERROR.TYPE(NA())", "7"},
        {"=ERROR.TYPE(5)", "#N/A"},
        {"=ERROR.TYPE(\"#N/A\")", "#N/A"},
        {"=ERROR.TYPE(A2)", "#N/A"},
    });
}

TEST(InfoFunctions, TypeAndN) {
    check({
        {"=TYPE(5)", "1"},
        {"=TYPE(\"a\")", "2"},
        {"=TYPE(TRUE)", "4"}, // LibreOffice: 1
        {"=TYPE(1/0)", "16"},
        {"=TYPE(A2)", "1"},
        {"=TYPE(A4)", "1"},
        {"=TYPE(A6)", "2"},
        {"=TYPE(A1:A3)", "64"}, // LibreOffice: #VALUE!
        {"=TYPE(TEXTSPLIT(\"a,b\",\",\"))", "64"},
        {"=N(5)", "5"},
        {"=N(\"5\")", "0"},
        {"=N(TRUE)", "1"},
        {"=N(FALSE)", "0"},
        {"=N(A6)", "0"},
        {"=N(A4)", "12"},
        {"=N(A2)", "0"},
        {"=N(1/0)", "#DIV/0!"},
    });
}

} // namespace
} // namespace sumora
