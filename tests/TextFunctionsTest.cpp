// The text family, formula → the text a cell would show. Where a function has
// a common definition the expected values are LibreOffice Calc's results;
// the rows where this engine deliberately differs say so.
#include <gtest/gtest.h>

#include "TestSupport.h"

namespace sumora {
namespace {

using test::TestBook;

// A1 "a", A2 empty, A3 "b"; B1:B3 1, 2, 3; A4 "12"; A6 "hello".
TestBook sampleBook() {
    TestBook book;
    book.set("A1", "a").set("A3", "b").set("A4", "12").set("A6", "hello");
    book.set("B1", "1").set("B2", "2").set("B3", "3");
    return book;
}

void check(const std::vector<test::FormulaCase>& cases) {
    TestBook book = sampleBook();
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(TextFunctions, SlicingAndLength) {
    check({
        {"=LEFT(\"hello\",2)", "he"},
        {"=LEFT(\"hello\")", "h"},
        {"=LEFT(\"hello\",0)", ""},
        {"=LEFT(\"hello\",10)", "hello"},
        {"=LEFT(\"hello\",-1)", "#VALUE!"},
        {"=LEFT(12345,2)", "12"},
        {"=LEFT(A6,2.9)", "he"},
        {"=LEFT(\"hello\",\"x\")", "#VALUE!"},
        {"=RIGHT(\"hello\",3)", "llo"},
        {"=RIGHT(\"hello\")", "o"},
        {"=RIGHT(\"hello\",9)", "hello"},
        {"=RIGHT(\"hello\",-1)", "#VALUE!"},
        {"=MID(\"hello\",2,3)", "ell"},
        {"=MID(\"hello\",1,0)", ""},
        {"=MID(\"hello\",5,10)", "o"},
        {"=MID(\"hello\",6,1)", ""},
        {"=MID(\"hello\",0,1)", "#VALUE!"},
        {"=MID(\"hello\",2,-1)", "#VALUE!"},
        {"=MID(\"hello\",2.7,2)", "el"},
        {"=MID(\"hello\",2)", "#VALUE!"},
        {"=LEN(\"hello\")", "5"},
        {"=LEN(\"\")", "0"},
        {"=LEN(A2)", "0"},
        {"=LEN(12.5)", "4"},
        {"=LEN(\"café\")", "4"},
        {"=LEN(TRUE)", "4"}, // the text form "TRUE"; LibreOffice counts 1
    });
}

TEST(TextFunctions, StartBeyondTheTextIsAnError) {
    // LibreOffice gives "" and appends; positions past the end are refused here.
    check({
        {"=MID(\"hello\",7,1)", "#VALUE!"},
        {"=REPLACE(\"abc\",5,0,\"X\")", "#VALUE!"},
        {"=FIND(\"l\",\"hello\",9)", "#VALUE!"},
        {"=SEARCH(\"\",\"abc\",5)", "#VALUE!"},
    });
}

TEST(TextFunctions, FindSearchSubstituteReplace) {
    check({
        {"=FIND(\"l\",\"hello\")", "3"},
        {"=FIND(\"L\",\"hello\")", "#VALUE!"},
        {"=FIND(\"l\",\"hello\",4)", "4"},
        {"=FIND(\"z\",\"hello\")", "#VALUE!"},
        {"=FIND(\"l\",\"hello\",0)", "#VALUE!"},
        {"=FIND(\"lo\",\"hello\")", "4"},
        {"=FIND(\"\",\"hello\",3)", "3"}, // an empty text is found at the start
        {"=SEARCH(\"L\",\"hello\")", "3"},
        {"=SEARCH(\"LO\",\"hello\",2)", "4"},
        {"=SEARCH(\"x\",\"hello\")", "#VALUE!"},
        {"=SEARCH(\"l\",\"hello\",5)", "#VALUE!"},
        {"=SEARCH(\"É\",\"café\")", "4"},
        {"=SEARCH(\"a?c\",\"abc\")", "#VALUE!"}, // literal: no wildcards
        {"=SUBSTITUTE(\"a-b-c\",\"-\",\"+\")", "a+b+c"},
        {"=SUBSTITUTE(\"a-b-c\",\"-\",\"+\",2)", "a-b+c"},
        {"=SUBSTITUTE(\"a-b-c\",\"-\",\"+\",3)", "a-b-c"},
        {"=SUBSTITUTE(\"a-b-c\",\"\",\"+\")", "a-b-c"},
        {"=SUBSTITUTE(\"aaa\",\"a\",\"bb\")", "bbbbbb"},
        {"=SUBSTITUTE(\"aaaa\",\"aa\",\"x\")", "xx"},
        {"=SUBSTITUTE(\"Hello\",\"h\",\"j\")", "Hello"},
        {"=SUBSTITUTE(\"a-b\",\"-\",\"+\",0)", "#VALUE!"},
        {"=SUBSTITUTE(\"a-b\",\"-\")", "#VALUE!"},
        {"=REPLACE(\"abcdef\",2,3,\"XY\")", "aXYef"},
        {"=REPLACE(\"abc\",1,0,\"X\")", "Xabc"},
        {"=REPLACE(\"abc\",4,0,\"X\")", "abcX"},
        {"=REPLACE(\"abc\",2,10,\"X\")", "aX"},
        {"=REPLACE(\"abc\",0,1,\"X\")", "#VALUE!"},
        {"=REPLACE(\"abc\",2,-1,\"X\")", "#VALUE!"},
    });
}

TEST(TextFunctions, TrimRemovesOnlyOuterBlanks) {
    // Runs inside the text stay, unlike the usual TRIM.
    check({
        {"=TRIM(\"  a   b  \")", "a   b"},
        {"=TRIM(CHAR(9)&\" x\"&CHAR(9)&\"y \"&CHAR(9))", "x\ty"},
        {"=TRIM(CHAR(160)&\"x\"&CHAR(12288))", "x"},
        {"=TRIM(\"x\"&CHAR(10))", "x\n"},
        {"=TRIM(\"   \")", ""},
        {"=TRIM(A2)", ""},
    });
}

TEST(TextFunctions, CaseMapping) {
    check({
        {"=UPPER(\"hello World\")", "HELLO WORLD"},
        {"=LOWER(\"HeLLo\")", "hello"},
        {"=LOWER(\"ÀÉÎ\")", "àéî"},
        {"=UPPER(\"straße\")", "STRASSE"},
        {"=PROPER(\"hELLO wORLD\")", "Hello World"},
        {"=PROPER(\"this is a TITLE\")", "This Is A Title"},
        {"=PROPER(\"élan vital\")", "Élan Vital"},
        {"=PROPER(\"mc-donald\")", "Mc-Donald"},
        // Word rules of the platform: an apostrophe stays inside a word and a
        // leading digit starts it (LibreOffice: O'Neil, 2Nd).
        {"=PROPER(\"o'neil\")", "O'neil"},
        {"=PROPER(\"2nd place\")", "2nd Place"},
    });
}

TEST(TextFunctions, PositionsCountUserPerceivedCharacters) {
    // e + combining acute, a thumbs-up with a skin tone, a flag: one each.
    check({
        {"=LEN(\"e\"&CHAR(769)&\"t\")", "2"},
        {"=LEN(\"👍🏽\")", "1"},
        {"=LEN(\"🇩🇪x\")", "2"},
        {"=LEFT(\"🇩🇪x\",1)", "🇩🇪"},
        {"=RIGHT(\"x👍🏽\",1)", "👍🏽"},
        {"=MID(\"a🇩🇪🇫🇷b\",3,1)", "🇫🇷"},
        {"=LEN(\"a\"&CHAR(13)&CHAR(10)&\"b\")", "3"},
        {"=FIND(\"t\",\"é🇩🇪t\")", "3"},
        {"=FIND(\"e\",\"e\"&CHAR(769)&\"e\")", "2"}, // not inside the accented e
        {"=SEARCH(\"SS\",\"straße\")", "5"},
        {"=SEARCH(\"ß\",\"STRASSE\")", "5"},
        {"=SUBSTITUTE(\"🇩🇪🇩🇪\",\"🇩🇪\",\"x\",2)", "🇩🇪x"},
        {"=REPLACE(\"a🇩🇪b\",2,1,\"-\")", "a-b"},
    });
}

TEST(TextFunctions, JoiningTakesTheTextFormOfEveryValue) {
    check({
        {"=CONCATENATE(\"a\",\"b\",1,TRUE)", "ab1TRUE"},
        {"=CONCATENATE(A1:A3)", "ab"}, // ranges too, as CONCAT
        {"=CONCATENATE(A1,A2,A3)", "ab"},
        {"=CONCAT(A1:A3,\"-\",B1:B3)", "ab-123"},
        {"=CONCAT(1.5,\"\")", "1.5"},
        {"=CONCAT(1234567)", "1.23457e+06"},
        {"=CONCAT(1/0,\"a\")", "#DIV/0!a"},
        {"=CONCAT()", "#VALUE!"},
        {"=TEXTJOIN(\"-\",TRUE,A1:A3)", "a-b"},
        {"=TEXTJOIN(\"-\",FALSE,A1:A3)", "a--b"},
        {"=TEXTJOIN(\"-\",TRUE,\"a\")", "a"},
        {"=TEXTJOIN(\"-\",TRUE)", "#VALUE!"},
        {"=TEXTJOIN(\", \",TRUE,\"a\",\"\",\"b\",1)", "a, b, 1"},
        {"=TEXTJOIN(\"\",TRUE,B1:B3)", "123"},
        {"=TEXTJOIN(\"-\",1,A1:A3,B1:B2)", "a-b-1-2"},
        {"=TEXTJOIN(\"-\",0,A1:A3,B1:B2)", "a--b-1-2"},
        {"=TEXTJOIN(\"-\",\"maybe\",\"a\")", "#VALUE!"},
    });
}

TEST(TextFunctions, CodesRepeatsAndComparison) {
    check({
        {"=CHAR(65)", "A"},
        {"=CHAR(65.9)", "A"},
        {"=CHAR(8364)", "€"},
        {"=CHAR(0)", "#VALUE!"},
        {"=CHAR(55296)", "#VALUE!"}, // a surrogate is no scalar value
        {"=CHAR(1114112)", "#VALUE!"},
        {"=CODE(\"A\")", "65"},
        {"=CODE(\"abc\")", "97"},
        {"=CODE(1)", "49"},
        {"=CODE(\"€\")", "8364"},
        {"=CODE(\"\")", "#VALUE!"},
        {"=REPT(\"ab\",3)", "ababab"},
        {"=REPT(\"ab\",0)", ""},
        {"=REPT(\"ab\",-1)", "#VALUE!"},
        {"=REPT(\"ab\",2.9)", "abab"},
        {"=LEN(REPT(\"x\",32767))", "32767"},
        {"=REPT(\"x\",32768)", "#VALUE!"},
        {"=EXACT(\"abc\",\"abc\")", "TRUE"},
        {"=EXACT(\"abc\",\"ABC\")", "FALSE"},
        {"=EXACT(1,\"1\")", "TRUE"},
        {"=CLEAN(\"a\"&CHAR(9)&\"b\"&CHAR(10)&\"c\"&CHAR(127))", "abc"},
        {"=CLEAN(\"plain é\")", "plain é"},
    });
}

TEST(TextFunctions, ErrorArgumentsAreTheResult) {
    check({
        {"=LEFT(1/0,1)", "#DIV/0!"},
        {"=LEN(1/0)", "#DIV/0!"},
        {"=MID(\"abc\",1/0,1)", "#DIV/0!"},
        {"=FIND(\"a\",\"abc\",1/0)", "#DIV/0!"},
        {"=UPPER(1/0)", "#DIV/0!"},
        {"=IFERROR(FIND(\"z\",\"abc\"),\"none\")", "none"},
    });
}

TEST(TextFunctions, NumbersFromText) {
    check({
        {"=VALUE(\"12.5\")", "12.5"},
        {"=VALUE(\"1,234\")", "1234"},
        {"=VALUE(\"1,234.5\")", "1234.5"},
        {"=VALUE(\"50%\")", "0.5"},
        {"=VALUE(\"$5\")", "5"},
        {"=VALUE(\"-$1,000\")", "-1000"},
        {"=VALUE(\"(5)\")", "-5"},
        {"=VALUE(\" 42 \")", "42"},
        {"=VALUE(\"-1e3\")", "-1000"},
        {"=VALUE(A4)", "12"},
        {"=VALUE(\"2024-03-01\")", "45352"},
        {"=VALUE(\"abc\")", "#VALUE!"},
        {"=VALUE(\"\")", "#VALUE!"},
        {"=VALUE(\"1,23\")", "#VALUE!"},
        {"=VALUE(\"inf\")", "#VALUE!"},
        {"=NUMBERVALUE(\"1.234,5\",\",\",\".\")", "1234.5"},
        {"=NUMBERVALUE(\"1.000,5\",\",\",\".\")", "1000.5"},
        {"=NUMBERVALUE(\"1.5,000\",\",\",\".\")", "15"},
        {"=NUMBERVALUE(\"3,5\",\",\")", "3.5"},
        {"=NUMBERVALUE(\"10%%\")", "0.001"},
        {"=NUMBERVALUE(\"1.2.3\")", "#VALUE!"},
        {"=NUMBERVALUE(\"abc\")", "#VALUE!"},
        {"=NUMBERVALUE(\"1,2\",\",\",\",\")", "#VALUE!"},
        // The common definition where LibreOffice 7.4 refuses: blanks vanish,
        // an empty text is 0, a group separator before the point is dropped.
        {"=NUMBERVALUE(\"2.5%\")", "0.025"},
        {"=NUMBERVALUE(\" 1 234.5 \")", "1234.5"},
        {"=NUMBERVALUE(\"-1.5\")", "-1.5"},
        {"=NUMBERVALUE(\"\")", "0"},
        {"=NUMBERVALUE(\"12,3.4\")", "123.4"},
        {"=NUMBERVALUE(\"1,5.3\",\",\",\".\")", "#VALUE!"}, // a group separator after the decimal one
    });
}

TEST(TextFunctions, NumbersToText) {
    check({
        {"=FIXED(1234.567)", "1,234.57"},
        {"=FIXED(1234.567,1)", "1,234.6"},
        {"=FIXED(1234.567,-2)", "1,200"},
        {"=FIXED(-1234.567,2,TRUE)", "-1234.57"},
        {"=FIXED(0.5,0)", "1"},
        {"=FIXED(2.5,0)", "3"},
        {"=FIXED(2.675,2)", "2.68"},
        {"=FIXED(-0.001,2)", "0.00"},
        {"=FIXED(1234567.891,3)", "1,234,567.891"},
        {"=FIXED(-5)", "-5.00"},
        {"=FIXED(\"abc\")", "#VALUE!"},
        {"=FIXED(1,128)", "#VALUE!"},
        {"=DOLLAR(1234.567)", "$1,234.57"},
        {"=DOLLAR(-1234.567)", "-$1,234.57"},
        {"=DOLLAR(1234.567,0)", "$1,235"},
        {"=DOLLAR(99.5,-1)", "$100"},
        {"=DOLLAR(0.125)", "$0.13"},
        // The renderer itself is checked row by row in NumberFormatTableTest.
        {"=TEXT(\"12\",\"0.00\")", "12.00"},
        {"=TEXT(\"abc\",\"0.00\")", "abc"},
        {"=TEXT(1234.5,\"\")", ""}, // an empty code shows nothing, unlike General
        {"=TEXT(\"abc\",\"\")", ""},
        {"=TEXT(A2,\"0.0\")", "0.0"},
        {"=TEXT(1/0,\"0\")", "#DIV/0!"},
        {"=TEXT(5)", "#VALUE!"},
        {"=VALUETOTEXT(\"abc\")", "abc"},
        {"=VALUETOTEXT(\"abc\",1)", "\"abc\""},
        {"=VALUETOTEXT(\"a\"\"b\",1)", "\"a\"\"b\""},
        {"=VALUETOTEXT(12.5,1)", "12.5"},
        {"=VALUETOTEXT(TRUE)", "TRUE"},
        {"=VALUETOTEXT(1/0)", "#DIV/0!"},
        {"=VALUETOTEXT(1,2)", "#VALUE!"},
        {"=ARRAYTOTEXT(A1:A3)", "a, , b"},
        {"=ARRAYTOTEXT(A1:B3,1)", "{\"a\",1;,2;\"b\",3}"},
    });
}

TEST(TextFunctions, TextBeforeAndAfter) {
    check({
        {"=TEXTBEFORE(\"a-b-c\",\"-\")", "a"},
        {"=TEXTBEFORE(\"a-b-c\",\"-\",2)", "a-b"},
        {"=TEXTBEFORE(\"a-b-c\",\"-\",-1)", "a-b"},
        {"=TEXTBEFORE(\"a-b-c\",\"-\",3)", "#N/A"},
        {"=TEXTBEFORE(\"a-b-c\",\"-\",3,0,1)", "a-b-c"},
        {"=TEXTBEFORE(\"a-b-c\",\"X\")", "#N/A"},
        {"=TEXTBEFORE(\"a-b-c\",\"X\",1,0,0,\"none\")", "none"},
        {"=TEXTBEFORE(\"aXbxc\",\"x\")", "aXb"},
        {"=TEXTBEFORE(\"aXbxc\",\"x\",1,1)", "a"},
        {"=TEXTBEFORE(\"abc\",\"\")", ""},
        {"=TEXTBEFORE(\"abc\",\"\",-1)", "abc"},
        {"=TEXTBEFORE(\"a-b-c\",\"-\",0)", "#VALUE!"},
        {"=TEXTBEFORE(\"a-b\",\"-\",1,2)", "#VALUE!"},
        {"=TEXTAFTER(\"a-b-c\",\"-\")", "b-c"},
        {"=TEXTAFTER(\"a-b-c\",\"-\",2)", "c"},
        {"=TEXTAFTER(\"a-b-c\",\"-\",-1)", "c"},
        {"=TEXTAFTER(\"a-b-c\",\"-\",-3)", "#N/A"},
        {"=TEXTAFTER(\"a-b-c\",\"-\",-3,0,1)", "a-b-c"},
        {"=TEXTAFTER(\"abc\",\"\")", "abc"},
        {"=TEXTAFTER(\"abc\",\"\",-1)", ""},
        {"=TEXTAFTER(\"x1y2z\",B1:B2)", "y2z"}, // any of several delimiters
        {"=TEXTAFTER(\"x1y2z\",B1:B2,2)", "z"},
    });
}

TEST(TextFunctions, TextSplitBuildsAPaddedArray) {
    check({
        {"=TEXTSPLIT(\"a,b,c\",\",\")", "a,b,c"},
        {"=TEXTSPLIT(\"a,b;c,d\",\",\",\";\")", "a,b;c,d"},
        {"=TEXTSPLIT(\"a,b;c\",\",\",\";\")", "a,b;c,#N/A"},
        {"=TEXTSPLIT(\"a,b;c\",\",\",\";\",FALSE,0,\"-\")", "a,b;c,-"},
        {"=TEXTSPLIT(\"a,,b\",\",\")", "a,,b"},
        {"=TEXTSPLIT(\"a,,b;;c\",\",\",\";\",TRUE)", "a,b;c,#N/A"},
        {"=TEXTSPLIT(\"aXbxc\",\"x\",\";\",FALSE,1)", "a,b,c"},
        {"=TEXTSPLIT(\"a1b2c\",B1:B2)", "a,b,c"},
    });
    // Failures are plain error values, not one-cell arrays.
    TestBook book = sampleBook();
    for (const char* formula : {"=TEXTSPLIT(\"abc\",\"\")", "=TEXTSPLIT(\"abc\")"}) {
        const FormulaValue v = book.evalValue(formula);
        EXPECT_FALSE(v.isArray()) << formula;
        EXPECT_EQ(v.description(), "#VALUE!") << formula;
    }
}

} // namespace
} // namespace sumora
