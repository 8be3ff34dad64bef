// Lookup and reference functions. Expected values of the common definitions
// were computed by LibreOffice Calc on the same cells; where this system
// deliberately differs, the row says so.
#include <gtest/gtest.h>

#include "functions/BuiltinFunctions.h"
#include "functions/LookupCache.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

using test::FormulaCase;

// The workbook every table below reads.
test::TestBook lookupBook() {
    test::TestBook b;
    const char* table[][3] = {{"1", "one", "100"},   {"3", "three", "300"}, {"5", "five", "500"},
                              {"7", "seven", "700"}, {"9", "nine", "900"},  {"11", "", "1100"}};
    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 3; ++c)
            b.set(std::string(1, static_cast<char>('A' + c)) + std::to_string(r + 1), table[r][c]);
    const char* texts[] = {"apple", "Banana", "cherry", "date", "Elder"};
    const char* halves[] = {"1.5", "2.5", "3.5", "4.5", "5.5"};
    const char* descending[] = {"50", "40", "30", "20", "10"};
    const char* dupes[] = {"b", "a", "B", "a", "c"};
    const char* unsorted[] = {"8", "2", "6", "4", "10"};
    for (int r = 0; r < 5; ++r) {
        std::string row = std::to_string(r + 1);
        b.set("E" + row, texts[r]).set("F" + row, halves[r]).set("G" + row, descending[r]);
        b.set("P" + row, dupes[r]).set("R" + row, unsorted[r]);
        std::string col(1, static_cast<char>('H' + r));
        b.set(col + "1", std::to_string(10 * (r + 1)))
            .set(col + "2", std::string(1, static_cast<char>('a' + r)));
        b.set(col + "3", std::to_string(r + 1));
    }
    b.set("N1", "1").set("N2", "x").set("N3", "TRUE").set("N4", "2").set("N6", "X");
    b.set("S1", "a*b").set("S2", "a?b").set("S3", "axb");
    Sheet& my = b.addSheet("My Sheet");
    my.cellForWriting(0, 0).setValue("10");
    my.cellForWriting(0, 1).setValue("20");
    my.cellForWriting(1, 0).setValue("30");
    my.cellForWriting(1, 1).setValue("forty");
    return b;
}

TEST(LookupFunctions, VerticalAndHorizontalLookupsAgreeWithOracle) {
    auto book = lookupBook();
    const std::vector<FormulaCase> cases = {
        {"=VLOOKUP(4,A1:C5,2)", "three"},
        {"=VLOOKUP(4,A1:C5,2,TRUE)", "three"},
        {"=VLOOKUP(0,A1:C5,2)", "#N/A"},
        {"=VLOOKUP(100,A1:C5,3)", "900"},
        {"=VLOOKUP(5,'Sheet 1'!A1:C5,3,FALSE)", "500"},
        {"=VLOOKUP(4,A1:C5,2,FALSE)", "#N/A"},
        {"=VLOOKUP(5,A1:C5,4,FALSE)", "#REF!"},   // LibreOffice: Err:502
        {"=VLOOKUP(5,A1:C5,0,FALSE)", "#VALUE!"}, // LibreOffice: Err:502
        {"=VLOOKUP(\"FIVE\",B1:C5,2,FALSE)", "500"},
        {"=VLOOKUP(\"5\",A1:C5,2,FALSE)", "#N/A"}, // LibreOffice: five (text "5" = 5)
        {"=VLOOKUP(\"c\",E1:F5,2)", "2.5"},
        {"=VLOOKUP(\"zzz\",E1:F5,2)", "5.5"},
        {"=VLOOKUP(\"a\",E1:F5,2)", "#N/A"},
        {"=VLOOKUP(\"CHERRY\",E1:F5,2,FALSE)", "3.5"},
        {"=VLOOKUP(1,A1:C5,1.9,FALSE)", "1"},
        {"=VLOOKUP(7,A1:C5,2,0)", "seven"},
        {"=VLOOKUP(11,A1:C6,2,FALSE)", ""},
        {"=VLOOKUP(Z99,A1:C6,2,FALSE)", "#N/A"},
        {"=VLOOKUP(1/0,A1:C6,2,FALSE)", "#DIV/0!"},
        {"=VLOOKUP(5,A1:C5,2,\"x\")", "#VALUE!"},
        {"=VLOOKUP(5,A1:C5)", "#VALUE!"},
        {"=HLOOKUP(25,H1:L3,2)", "b"},
        {"=HLOOKUP(30,H1:L3,3,FALSE)", "3"},
        {"=HLOOKUP(30,H1:L3,4,FALSE)", "#REF!"}, // LibreOffice: Err:502
        {"=HLOOKUP(5,H1:L3,2)", "#N/A"},
        {"=HLOOKUP(\"C\",H2:L3,2,FALSE)", "3"},
        {"=HLOOKUP(60,H1:L3,3)", "5"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(LookupFunctions, MatchAndLookupAgreeWithOracle) {
    auto book = lookupBook();
    const std::vector<FormulaCase> cases = {
        {"=MATCH(5,A1:A5)", "3"},
        {"=MATCH(6,A1:A5)", "3"},
        {"=MATCH(6,A1:A5,1)", "3"},
        {"=MATCH(5,A1:A5,0)", "3"},
        {"=MATCH(6,A1:A5,0)", "#N/A"},
        {"=MATCH(35,G1:G5,-1)", "2"},
        {"=MATCH(60,G1:G5,-1)", "#N/A"},
        {"=MATCH(5,G1:G5,-1)", "5"},
        {"=MATCH(\"DATE\",E1:E5,0)", "4"},
        {"=MATCH(\"b\",P1:P5,0)", "1"},
        {"=MATCH(0,A1:A5)", "#N/A"},
        {"=MATCH(100,A1:A5)", "5"},
        {"=MATCH(\"cz\",E1:E5)", "3"},
        {"=MATCH(2,N1:N6,0)", "4"},
        {"=MATCH(TRUE,N1:N6,0)", "3"}, // LibreOffice: 1; TRUE is no number here
        {"=MATCH(\"x\",N1:N6,0)", "2"},
        {"=MATCH(30,H1:L1,0)", "3"},
        {"=MATCH(5,A1:A5,2)", "3"},
        {"=MATCH(35,G1:G5,-2)", "2"},
        {"=MATCH(\"three\",A1:C2,0)", "5"}, // a block is searched row by row
        {"=LOOKUP(6,A1:A5,C1:C5)", "500"},
        {"=LOOKUP(6,A1:C5)", "500"},
        {"=LOOKUP(25,H1:L3)", "2"},
        {"=LOOKUP(0,A1:A5,C1:C5)", "#N/A"},
        {"=LOOKUP(\"d\",E1:E5,F1:F5)", "3.5"},
        {"=LOOKUP(100,A1:A5,B1:B5)", "nine"},
        {"=LOOKUP(5,A1:A5,H3:L3)", "3"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(LookupFunctions, ReferenceFunctionsAgreeWithOracle) {
    auto book = lookupBook();
    const std::vector<FormulaCase> cases = {
        {"=INDEX(A1:C5,2,3)", "300"},
        {"=INDEX(A1:C5,5,1)", "9"},
        {"=INDEX(A1:C5,6,1)", "#REF!"}, // LibreOffice: Err:502
        {"=INDEX(A1:C5,1,4)", "#REF!"},
        {"=INDEX(A1:A5,3)", "5"},
        {"=INDEX(H1:L1,4)", "40"},
        {"=SUM(INDEX(A1:C5,0,3))", "2500"},
        {"=SUM(INDEX(A1:C5,2,0))", "303"},
        {"=INDEX(A1:C5,-1,1)", "#VALUE!"},
        {"=INDEX(A1:C5,2)", "3,three,300"}, // the whole row, as a dynamic array
        {"=INDEX(A1:C5,2.9,1.5)", "3"},
        {"=SUM(INDEX(A1:C5,0,0))", "2525"},
        {"=INDEX(TRANSPOSE(A1:C5),2,1)", "one"},
        {"=CHOOSE(2,\"a\",\"b\",\"c\")", "b"},
        {"=CHOOSE(4,\"a\",\"b\",\"c\")", "#VALUE!"},
        {"=CHOOSE(0,\"a\",\"b\",\"c\")", "#VALUE!"},
        {"=CHOOSE(2.7,\"a\",\"b\",\"c\")", "b"},
        {"=SUM(CHOOSE(2,A1:A5,C1:C5))", "2500"},
        {"=OFFSET(A1,2,1)", "five"},
        {"=OFFSET(A1,0,0)", "1"},
        {"=SUM(OFFSET(A1,1,2,2,1))", "800"},
        {"=OFFSET(A1,-1,0)", "#REF!"},
        {"=SUM(OFFSET(A1:A2,1,0))", "8"},
        {"=ROWS(OFFSET(A1,0,0,3,2))", "3"},
        {"=COLUMNS(OFFSET(A1,0,0,3,2))", "2"},
        {"=OFFSET(A1,0,0,0,1)", "#REF!"},
        {"=SUM(OFFSET(A1,0,0,5))", "25"},
        {"=OFFSET(B2,-1,-1)", "1"},
        {"=OFFSET(A1,1.7,0.9)", "3"},
        {"=OFFSET(C5,-4,0,-2,1)", "#REF!"},
        {"=INDIRECT(\"'Sheet 1'!A3\")", "5"},
        {"=INDIRECT(\"c2\")", "300"},
        {"=SUM(INDIRECT(\"A1:A5\"))", "25"},
        {"=INDIRECT(\"'My Sheet'!B2\")", "forty"},
        {"=INDIRECT(\"My Sheet!B2\")", "#REF!"},
        {"=INDIRECT(\"Nope!A1\")", "#REF!"},
        {"=INDIRECT(\"hello\")", "#REF!"},
        {"=INDIRECT(\"A0\")", "#REF!"},
        {"=INDIRECT(\"$A$2\")", "3"},
        {"=ROW(INDIRECT(\"B7\"))", "7"},
        {"=INDIRECT(\"R2C3\",FALSE)", "300"},
        {"=SUM(INDIRECT(\"'My Sheet'!A1:B2\"))", "60"},
        {"=ROW(B7)", "7"},
        {"=COLUMN(D2)", "4"},
        {"=ROW(C3:D9)", "3"},
        {"=COLUMN(C3:D9)", "3"},
        {"=ROWS(A1:C5)", "5"},
        {"=COLUMNS(A1:C5)", "3"},
        {"=ROWS(H1:L1)", "1"},
        {"=COLUMNS(H1:L3)", "5"},
        {"=ROWS(A1)", "1"},
        {"=ROWS(TRANSPOSE(A1:C5))", "3"},
        {"=ADDRESS(2,3)", "$C$2"},
        {"=ADDRESS(2,3,2)", "C$2"},
        {"=ADDRESS(2,3,3)", "$C2"},
        {"=ADDRESS(2,3,4)", "C2"},
        {"=ADDRESS(2,3,1,FALSE)", "R2C3"},
        {"=ADDRESS(2,3,4,FALSE)", "R[2]C[3]"},
        {"=ADDRESS(2,3,2,FALSE)", "R2C[3]"},
        {"=ADDRESS(2,3,1,TRUE,\"Sheet2\")", "Sheet2!$C$2"},
        {"=ADDRESS(2,3,1,TRUE,\"My Sheet\")", "'My Sheet'!$C$2"},
        {"=ADDRESS(0,1)", "#VALUE!"},
        {"=ADDRESS(1,28)", "$AB$1"},
        {"=ADDRESS(2,3,5)", "#VALUE!"}, // LibreOffice: $C$2
        {"=ADDRESS(1,16384)", "$XFD$1"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(LookupFunctions, ReferencesComposeAndFailAsReferences) {
    auto book = lookupBook();
    const std::vector<FormulaCase> cases = {
        {"=INDIRECT(ADDRESS(3,2,1,TRUE,\"My Sheet\"))", ""},
        {"=INDIRECT(ADDRESS(2,2,1,TRUE,\"My Sheet\"))", "forty"},
        {"=OFFSET(INDIRECT(\"A1\"),1,2)", "300"},
        {"=COLUMN(OFFSET(A1,0,3))", "4"},
        {"=ROW(INDEX(A1:C5,4,1))", "4"},
        {"=ROWS(CHOOSE(2,A1,A1:A4))", "4"},
        {"=ROW(INDIRECT(\"nowhere\"))", "#REF!"},
        {"=ROW(5)", "#VALUE!"},
        {"=ROW()", "1"}, // the formula stands in AZ1
        {"=COLUMN()", "52"},
        {"=INDIRECT(\"B3:A1\")", "1,one;3,three;5,five"}, // corners in any order
        {"=INDIRECT(\"R[1]C[-50]\",FALSE)", "three"},     // relative to AZ1
        {"=INDIRECT(\"'My Sheet'!A1:'Sheet 1'!B2\")", "#REF!"},
        {"=OFFSET(A1,499,0)", ""},
        {"=OFFSET(A1,500,0)", "#REF!"}, // past the grid's last row
        {"=VLOOKUP(5,OFFSET(A1,0,0,5,3),3,FALSE)", "500"},
        {"=VLOOKUP(5,Nope!A1:C5,3,FALSE)", "#REF!"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(LookupFunctions, XLookupModes) {
    auto book = lookupBook();
    const std::vector<FormulaCase> cases = {
        {"=XLOOKUP(5,A1:A5,B1:B5)", "five"},
        {"=XLOOKUP(4,A1:A5,B1:B5)", "#N/A"},
        {"=XLOOKUP(4,A1:A5,B1:B5,\"none\")", "none"},
        {"=XLOOKUP(4,A1:A5,B1:B5,\"none\",-1)", "three"},
        {"=XLOOKUP(4,A1:A5,B1:B5,\"none\",1)", "five"},
        {"=XLOOKUP(30,H1:L1,H2:L2)", "c"},
        {"=XLOOKUP(3,A1:A5,A1:C5)", "3,three,300"},
        {"=XLOOKUP(30,H1:L1,H2:L3)", "c;3"},
        {"=XLOOKUP(3,A1:A5,B1:B4)", "#VALUE!"},
        {"=XLOOKUP(3,A1:B5,A1:A5)", "#VALUE!"},
        {"=XLOOKUP(\"b*\",E1:E5,F1:F5,\"none\",2)", "2.5"},
        {"=XLOOKUP(\"?PPLE\",E1:E5,F1:F5,\"none\",2)", "1.5"},
        {"=XLOOKUP(\"b*\",E1:E5,F1:F5,\"none\",0)", "none"},
        {"=XMATCH(\"a~*b\",S1:S3,2)", "1"},
        {"=XMATCH(\"a~?b\",S1:S3,2)", "2"},
        {"=XMATCH(\"a?b\",S1:S3,2,-1)", "3"},
        {"=XMATCH(\"a*\",S1:S3,2,2)", "#VALUE!"},
        {"=XLOOKUP(3,A1:A5,B1:B5,\"x\",3)", "#VALUE!"},
        {"=XLOOKUP(3,A1:A5,B1:B5,\"x\",0,0)", "#VALUE!"},
        {"=XMATCH(\"a\",P1:P5)", "2"},
        {"=XMATCH(\"a\",P1:P5,0,-1)", "4"},
        {"=XMATCH(\"B\",P1:P5)", "1"},
        {"=XMATCH(\"5\",A1:A5)", "#N/A"},
        {"=XMATCH(5,R1:R5,-1)", "4"},
        {"=XMATCH(5,R1:R5,1)", "3"},
        {"=XMATCH(11,R1:R5,1)", "#N/A"},
        {"=XMATCH(1,R1:R5,-1)", "#N/A"},
        {"=XMATCH(35,G1:G5,-1,-2)", "3"},
        {"=XMATCH(35,G1:G5,1,-2)", "2"},
        {"=XMATCH(30,G1:G5,0,-2)", "3"},
        {"=XMATCH(6,A1:A5,-1,2)", "3"},
        {"=XMATCH(6,A1:A5,1,2)", "4"},
        {"=XMATCH(6,A1:A5,0,2)", "#N/A"},
        {"=XMATCH(7,A1:A5,0,2)", "4"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(LookupFunctions, XLookupReportsItsArgumentCount) {
    auto book = lookupBook();
    EXPECT_EQ(book.eval("=XLOOKUP(1,A1:A5)"), "#VALUE! (XLOOKUP expects 3-6 args, got 2)");
    EXPECT_EQ(book.eval("=XLOOKUP(1,A1:A5,B1:B5,0,0,1,1)"), "#VALUE! (XLOOKUP expects 3-6 args, got 7)");
}

TEST(LookupFunctions, ExactTextMatchFoldsCaseBeyondAscii) {
    test::TestBook book;
    book.set("A1", "STRASSE").set("A2", "Ärger").set("A3", "ärger");
    EXPECT_EQ(book.eval("=MATCH(\"ärger\",A1:A3,0)"), "2");
    EXPECT_EQ(book.eval("=XMATCH(\"ÄRGER\",A1:A3,0,-1)"), "3");
    EXPECT_EQ(book.eval("=MATCH(\"straße\",A1:A3,0)"), "1"); // full case folding: ß folds to ss
}

// Evaluates formulas one after another through one resolver, as a
// recalculation does (so that the lookup cache can serve repeated tables).
std::vector<std::string> evalInOnePass(test::TestBook& book, const std::vector<std::string>& formulas) {
    WorkbookResolver resolver(book.doc, 0);
    FormulaEvaluator evaluator(resolver);
    std::vector<std::string> out;
    for (const auto& f : formulas)
        out.push_back(evaluator.evaluate(parseFormula(f, builtinFunctions())).description());
    return out;
}

// A table large enough for the cache: the answers must not depend on
// whether a cache scope is open, and a reported write must be seen.
TEST(LookupFunctions, CachedLookupsMatchUncachedOnes) {
    test::TestBook book;
    for (int r = 1; r <= 200; ++r) {
        std::string row = std::to_string(r);
        book.set("A" + row, r % 7 == 0 ? "Key" + std::to_string(r % 5) : std::to_string((r * 37) % 101));
        book.set("B" + row, "v" + row);
    }
    const std::vector<std::string> formulas = {
        "=VLOOKUP(37,A1:B200,2,FALSE)",
        "=VLOOKUP(\"key2\",A1:B200,2,FALSE)",
        "=XLOOKUP(\"KEY2\",A1:A200,B1:B200,\"-\",0,-1)",
        "=XLOOKUP(50,A1:A200,B1:B200,\"-\",-1)",
        "=XLOOKUP(50,A1:A200,B1:B200,\"-\",1,-1)",
        "=MATCH(100,A1:A200,0)",
        "=XMATCH(\"key*\",A1:A200,2,-1)",
        "=VLOOKUP(1000,A1:B200,2,FALSE)",
    };
    std::vector<std::string> uncached = evalInOnePass(book, formulas);
    EXPECT_EQ(uncached[0], "v1");
    EXPECT_EQ(uncached[7], "#N/A");
    {
        LookupCacheScope scope;
        std::vector<std::string> twice = formulas;
        twice.insert(twice.end(), formulas.begin(), formulas.end());
        std::vector<std::string> cached = evalInOnePass(book, twice);
        for (size_t i = 0; i < twice.size(); ++i)
            EXPECT_EQ(cached[i], uncached[i % formulas.size()]) << twice[i];
    }
    LookupCacheScope scope;
    WorkbookResolver resolver(book.doc, 0);
    FormulaEvaluator evaluator(resolver);
    FormulaTree find1000 = parseFormula("=VLOOKUP(1000,A1:B200,2,FALSE)", builtinFunctions());
    EXPECT_EQ(evaluator.evaluate(find1000).description(), "#N/A");
    book.set("A5", "1000");
    LookupCacheScope::cellWritten({0, 4});
    EXPECT_EQ(evaluator.evaluate(find1000).description(), "v5");
}

} // namespace
} // namespace sumora
