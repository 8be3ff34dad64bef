// The math family against values computed by an independent spreadsheet
// (LibreOffice, whose generic "Err:502" stands for "#NUM!" here), except the
// rows under ChoicesWhereSpreadsheetsDiffer and the deliberate SUBTOTAL rules.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "values/Log.h"
#include "functions/MathSupport.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

class MathFunctions : public ::testing::Test {
  protected:
    void SetUp() override {
        // A1:A3 1..3, B1:B3 4..6, C1:C3 "abc", 7 and an empty cell.
        book.set("A1", "1").set("A2", "2").set("A3", "3");
        book.set("B1", "4").set("B2", "5").set("B3", "6");
        book.set("C1", "abc").set("C2", "7");
    }
    void expectTexts(const std::vector<test::FormulaCase>& cases) {
        test::expectFormulaResults(book, cases, test::exactText);
    }
    // The oracle's 15 significant digits, to nine.
    void expectNear(const std::vector<test::FormulaCase>& cases) { test::expectFormulaResults(book, cases); }
    test::TestBook book;
};

TEST_F(MathFunctions, SumsAndProducts) {
    expectTexts({
        {"=SUM(A1:A3,B1:B3,10)", "31"},
        {"=SUM(A1:C3)", "28"},
        {"=SUM(C1,C2)", "7"},
        {"=SUM(0.1,0.2)", "0.30000000000000004"},
        {"=PRODUCT(A1:A3,2)", "12"},
        {"=PRODUCT(C1)", "0"},
        {"=SUMSQ(A1:A3)", "14"},
        {"=SUMSQ(3,4)", "25"},
        {"=SUMPRODUCT(A1:A3,B1:B3)", "32"},
        {"=SUMPRODUCT(A1:A3)", "6"},
        {"=SUMPRODUCT(A1:B3,A1:B3)", "91"},
        {"=SUMPRODUCT(A1:A3,B1:B3,A1:A3)", "78"},
        {"=SUMPRODUCT(A1:A3,C1:C3)", "14"},
        {"=SUMPRODUCT(C1:C3,C1:C3)", "49"},
        {"=SUMPRODUCT(A1:A3,B1:B2)", "#VALUE!"},
        {"=SUMPRODUCT(A1:A3,B1:C1)", "#VALUE!"},
        {"=SUMPRODUCT(1/0)", "#DIV/0!"},
        {"=SUMPRODUCT(5)", "5"},
        {"=SUMXMY2(A1:A3,B1:B3)", "27"},
        {"=SUMX2MY2(A1:A3,B1:B3)", "-63"},
        {"=SUMX2PY2(A1:A3,B1:B3)", "91"},
        {"=SUMX2MY2(A1:A3,C1:C3)", "-45"},
        {"=SUMX2PY2(A1:A3,B1:B2)", "#VALUE!"},
    });
}

TEST_F(MathFunctions, SumCountsNumericTextInCellsAndIgnoresOtherText) {
    book.set("D1", "12").set("D2", "abc").set("D3", "TRUE");
    EXPECT_EQ(book.eval("=SUM(D1:D2)"), "12");
    EXPECT_EQ(book.eval("=SUM(D1,D2)"), "12");
    // A single cell counts a boolean as 1; a range keeps only numbers.
    EXPECT_EQ(book.eval("=SUM(D3)"), "1");
    EXPECT_EQ(book.eval("=SUM(D1:D3)"), "12");
}

TEST_F(MathFunctions, SumLogsTheNumbersItFound) {
    LogCapture log;
    book.eval("=SUM(A1:A2,C1,2.5)");
    EXPECT_TRUE(log.contains("[Sumora] SUM: resolveNumbers returned 3 values: [1.0, 2.0, 2.5]"));
}

TEST_F(MathFunctions, Rounding) {
    expectTexts({
        {"=ROUND(2.675,2)", "2.68"},
        {"=ROUND(1.005,2)", "1.01"},
        {"=ROUND(0.285,2)", "0.29"},
        {"=ROUND(8.345,2)", "8.35"},
        {"=ROUND(2.5,0)", "3"},
        {"=ROUND(-2.5,0)", "-3"},
        {"=ROUND(1234.5678,-2)", "1200"},
        {"=ROUND(-1234.5678,1)", "-1234.6"},
        {"=ROUND(5,-1)", "10"},
        {"=ROUND(4.9,-1)", "0"},
        {"=ROUND(12.5,-1)", "10"},
        {"=ROUND(-15,-1)", "-20"},
        {"=ROUND(3.14159,3.9)", "3.142"},
        {"=ROUND(1E+300,2)", "1e+300"},
        {"=ROUND(123.456,-5)", "0"},
        {"=ROUND(1234567.891,2)", "1234567.89"},
        {"=ROUND(-2.5E-10,10)", "-3e-10"},
        {"=ROUND(-0.0001,2)", "0"},
        {"=ROUND(1)", "#VALUE!"},
        {"=ROUNDUP(3.2,0)", "4"},
        {"=ROUNDUP(-3.2,0)", "-4"},
        {"=ROUNDUP(3.14159,3)", "3.142"},
        {"=ROUNDUP(31415.92654,-2)", "31500"},
        {"=ROUNDUP(0.1+0.2,1)", "0.3"},
        {"=ROUNDUP(1.1,1)", "1.1"},
        {"=ROUNDUP(0.0001,-2)", "100"},
        {"=ROUNDUP(-0.0001,2)", "-0.01"},
        {"=ROUNDUP(9.99,1)", "10"},
        {"=ROUNDDOWN(-3.7,0)", "-3"},
        {"=ROUNDDOWN(3.14159,3)", "3.141"},
        {"=ROUNDDOWN(31415.92654,-2)", "31400"},
        {"=ROUNDDOWN(2.675,2)", "2.67"},
        {"=ROUNDDOWN(2.3,1)", "2.3"},
        {"=TRUNC(8.9)", "8"},
        {"=TRUNC(-8.9)", "-8"},
        {"=TRUNC(-3.14159,3)", "-3.141"},
        {"=TRUNC(1234.5,-2)", "1200"},
        {"=TRUNC(1.5,20)", "1.5"},
        {"=TRUNC(-0.5)", "0"},
        {"=INT(8.9)", "8"},
        {"=INT(-8.9)", "-9"},
        {"=INT(-0.5)", "-1"},
    });
    // Past 15 significant digits the binary fraction is still rounded away.
    EXPECT_EQ(book.evalValue("=ROUND(123456789012345.67,0)").numberValue(), 123456789012346.0);
    EXPECT_EQ(book.evalValue("=TRUNC(-123456789012345.67)").numberValue(), -123456789012345.0);
}

TEST_F(MathFunctions, MultiplesAndRemainders) {
    expectTexts({
        {"=CEILING(2.5,1)", "3"},
        {"=CEILING(-2.5,-2)", "-4"},
        {"=CEILING(-2.5,2)", "-2"},
        {"=CEILING(0.234,0.01)", "0.24"},
        {"=CEILING(0.3,0.1)", "0.3"},
        {"=CEILING(2.5,-1)", "#NUM!"},
        {"=CEILING(5,0)", "0"},
        {"=CEILING(-0.5,1)", "0"},
        {"=CEILING(1E+300,1E-300)", "#NUM!"},
        {"=FLOOR(2.5,1)", "2"},
        {"=FLOOR(-2.5,-2)", "-2"},
        {"=FLOOR(-2.5,2)", "-4"},
        {"=FLOOR(1.58,0.1)", "1.5"},
        {"=FLOOR(0.3,0.1)", "0.3"},
        {"=FLOOR(2.5,-1)", "#NUM!"},
        {"=FLOOR(0,0)", "0"},
        {"=FLOOR(5,0)", "#DIV/0!"},
        {"=CEILING.MATH(24.3,5)", "25"},
        {"=CEILING.MATH(6.7)", "7"},
        {"=CEILING.MATH(-8.1,2)", "-8"},
        {"=CEILING.MATH(-5.5,2,-1)", "-6"},
        {"=CEILING.MATH(5.5,-2)", "6"},
        {"=CEILING.MATH(5.5,0)", "0"},
        {"=FLOOR.MATH(24.3,5)", "20"},
        {"=FLOOR.MATH(6.7)", "6"},
        {"=FLOOR.MATH(-8.1,2)", "-10"},
        {"=FLOOR.MATH(-5.5,2,1)", "-4"},
        {"=FLOOR.MATH(5.5,-2)", "4"},
        {"=FLOOR.MATH(-5.5)", "-6"},
        {"=MROUND(10,3)", "9"},
        {"=MROUND(-10,-3)", "-9"},
        {"=MROUND(1.3,0.2)", "1.4"},
        {"=MROUND(7.5,5)", "10"},
        {"=MROUND(-7.5,-5)", "-10"},
        {"=MROUND(5,0)", "0"},
        {"=MOD(3,2)", "1"},
        {"=MOD(-3,2)", "1"},
        {"=MOD(3,-2)", "-1"},
        {"=MOD(-3,-2)", "-1"},
        {"=MOD(5.5,2)", "1.5"},
        {"=MOD(-0.5,1)", "0.5"},
        {"=MOD(0.3,0.1)", "0"},
        {"=MOD(10,2.5)", "0"},
        {"=MOD(5,0)", "#DIV/0!"},
        {"=QUOTIENT(5,2)", "2"},
        {"=QUOTIENT(-10,3)", "-3"},
        {"=QUOTIENT(4.5,3.1)", "1"},
        {"=QUOTIENT(1,0)", "#DIV/0!"},
        {"=EVEN(1.5)", "2"},
        {"=EVEN(3)", "4"},
        {"=EVEN(-1)", "-2"},
        {"=EVEN(0)", "0"},
        {"=EVEN(-0.0001)", "-2"},
        {"=ODD(1.5)", "3"},
        {"=ODD(2)", "3"},
        {"=ODD(-1)", "-1"},
        {"=ODD(0)", "1"},
        {"=ODD(-2.5)", "-3"},
    });
}

TEST_F(MathFunctions, PowersLogarithmsAndSigns) {
    expectTexts({
        {"=ABS(-2.5)", "2.5"},     {"=ABS(\"x\")", "#VALUE!"}, {"=ABS()", "#VALUE!"},
        {"=SIGN(-3)", "-1"},       {"=SIGN(0)", "0"},          {"=POWER(2,10)", "1024"},
        {"=POWER(0,0)", "1"},      {"=POWER(0,-1)", "#NUM!"},  {"=POWER(10,400)", "#NUM!"},
        {"=POWER(4,-0.5)", "0.5"}, {"=SQRT(16)", "4"},         {"=SQRT(-1)", "#NUM!"},
        {"=EXP(0)", "1"},          {"=EXP(710)", "#NUM!"},     {"=EXP(-1000)", "0"},
        {"=LN(0)", "#NUM!"},       {"=LN(-1)", "#NUM!"},       {"=LOG10(1000)", "3"},
        {"=LOG10(0.01)", "-2"},    {"=LOG10(0)", "#NUM!"},     {"=LOG(8,2)", "3"},
        {"=LOG(100)", "2"},        {"=LOG(27,3)", "3"},        {"=LOG(8,0.5)", "-3"},
        {"=LOG(10,1)", "#DIV/0!"}, {"=LOG(0,10)", "#NUM!"},    {"=LOG(10,-2)", "#NUM!"},
    });
    expectNear({{"=POWER(2,0.5)", "1.4142135623731"},
                {"=EXP(-1)", "0.367879441171442"},
                {"=LN(10)", "2.30258509299405"},
                {"=LN(EXP(2))", "2"},
                {"=PI()", "3.14159265358979"}});
}

TEST_F(MathFunctions, Combinatorics) {
    expectTexts({
        {"=FACT(5)", "120"},
        {"=FACT(0)", "1"},
        {"=FACT(5.9)", "120"},
        {"=FACT(-1)", "#NUM!"},
        {"=FACT(-0.5)", "#NUM!"},
        {"=FACT(171)", "#NUM!"},
        {"=GCD(12,18,8)", "2"},
        {"=GCD(7,0)", "7"},
        {"=GCD(0,0)", "0"},
        {"=GCD(5.9,10)", "5"},
        {"=GCD(A1:A3,B1:B3)", "1"},
        {"=GCD(1E+20,5)", "5"},
        {"=GCD(-4,8)", "#NUM!"},
        {"=LCM(4,6,10)", "60"},
        {"=LCM(0,5)", "0"},
        {"=LCM(4.5,6)", "12"},
        {"=LCM(1E+10,3E+10,7E+9)", "2.1e+11"},
        {"=LCM(-4,6)", "#NUM!"},
        {"=COMBIN(8,2)", "28"},
        {"=COMBIN(10,10)", "1"},
        {"=COMBIN(0,0)", "1"},
        {"=COMBIN(8.9,2.9)", "28"},
        {"=COMBIN(5,6)", "#NUM!"},
        {"=COMBIN(-1,0)", "#NUM!"},
        {"=COMBIN(5,-1)", "#NUM!"},
        {"=COMBIN(1030,515)", "#NUM!"},
        {"=PERMUT(8,2)", "56"},
        {"=PERMUT(10,0)", "1"},
        {"=PERMUT(0,0)", "1"},
        {"=PERMUT(5.9,2.9)", "20"},
        {"=PERMUT(100,3)", "970200"},
        {"=PERMUT(5,6)", "#NUM!"},
        {"=PERMUT(200,150)", "#NUM!"},
    });
    expectNear({{"=FACT(20)", "2.43290200817664e18"},
                {"=FACT(170)", "7.257415615308e306"},
                {"=COMBIN(60,30)", "1.18264581564861e17"},
                {"=COMBIN(1029,500)", "9.50970938986753e307"}});
}

TEST(MathSupport, CombinDoubleIsExactWhileItFitsAndZeroOutsideTheRange) {
    EXPECT_EQ(combinDouble(52, 5), 2598960);
    EXPECT_EQ(combinDouble(1000, 4), 41417124750.0);
    EXPECT_EQ(combinDouble(5, 6), 0);
    EXPECT_EQ(combinDouble(5, -1), 0);
    EXPECT_TRUE(std::isinf(combinDouble(1030, 515)));
    EXPECT_TRUE(std::isinf(combinDouble(1e12, 5e11))); // gives up once it overflows
}

TEST_F(MathFunctions, Trigonometry) {
    expectTexts({
        {"=DEGREES(PI())", "180"},
        {"=COS(0)", "1"},
        {"=ASIN(2)", "#NUM!"},
        {"=ACOS(-1.5)", "#NUM!"},
        {"=SINH(1000)", "#NUM!"},
        {"=COSH(1000)", "#NUM!"},
        {"=TANH(1000)", "1"},
        {"=ACOSH(1)", "0"},
        {"=ACOSH(0.5)", "#NUM!"},
        {"=ATANH(1)", "#NUM!"},
        {"=ATANH(-1.5)", "#NUM!"},
        {"=SIN(-0)", "0"},
    });
    expectNear({
        {"=DEGREES(1)", "57.2957795130823"},
        {"=RADIANS(45)", "0.785398163397448"},
        {"=SIN(PI()/6)", "0.5"},
        {"=SIN(1)", "0.841470984807897"},
        {"=COS(1)", "0.54030230586814"},
        {"=TAN(1)", "1.5574077246549"},
        {"=ASIN(0.5)", "0.523598775598299"},
        {"=ACOS(0.5)", "1.0471975511966"},
        {"=ATAN(-10)", "-1.47112767430373"},
        {"=ATAN2(-1,0)", "3.14159265358979"},
        {"=ATAN2(0,-1)", "-1.5707963267949"},
        {"=ATAN2(1,2)", "1.10714871779409"},
        {"=ACOT(0)", "1.5707963267949"},
        {"=ACOT(-2)", "2.67794504458899"},
        {"=SINH(1)", "1.1752011936438"},
        {"=COSH(-2)", "3.76219569108363"},
        {"=TANH(0.5)", "0.46211715726001"},
        {"=ASINH(-2.5)", "-1.6472311463711"},
        {"=ACOSH(10)", "2.99322284612638"},
        {"=ATANH(0.5)", "0.549306144334055"},
    });
}

TEST_F(MathFunctions, SubtotalAggregatesOnlyItsFirstReference) {
    expectTexts({
        {"=SUBTOTAL(1,A1:A3)", "2"},
        {"=SUBTOTAL(2,A1:C3)", "7"},
        {"=SUBTOTAL(3,A1:C3)", "8"},
        {"=SUBTOTAL(4,A1:A3)", "3"},
        {"=SUBTOTAL(5,A1:A3)", "1"},
        {"=SUBTOTAL(6,B1:B3)", "120"},
        {"=SUBTOTAL(9,A1:A3)", "6"},
        {"=SUBTOTAL(9.9,A1:A3)", "6"},
        {"=SUBTOTAL(104,B1:B3)", "6"},
        {"=SUBTOTAL(1,C1)", "#DIV/0!"},
        {"=SUBTOTAL(9)", "#VALUE!"},
        {"=SUBTOTAL(\"x\",A1:A3)", "#VALUE!"},
        // Only the first reference counts, and codes without their own
        // aggregate (7, 8, 10, 11, hundreds forms too) fall back to the sum.
        {"=SUBTOTAL(9,A1:A3,B1:B3)", "6"},
        {"=SUBTOTAL(7,A1:A3)", "6"},
        {"=SUBTOTAL(8,A1:A3)", "6"},
        {"=SUBTOTAL(11,A1:A3)", "6"},
        {"=SUBTOTAL(109,A1:A3)", "6"},
        {"=SUBTOTAL(110,A1:A3)", "6"},
        {"=SUBTOTAL(201,A1:A3)", "6"},
        {"=AGGREGATE(9,0,A1:A3)", "6"},
        {"=AGGREGATE(4,6,B1:B3)", "6"},
        {"=AGGREGATE(1,6,A1:A3,B1:B3)", "2"},
        {"=AGGREGATE(7,0,A1:A3)", "6"},
        {"=AGGREGATE(9,0)", "#VALUE!"},
    });
}

TEST_F(MathFunctions, RadixConversions) {
    expectTexts({
        {"=BASE(7,2)", "111"},
        {"=BASE(255,16,4)", "00FF"},
        {"=BASE(100,36)", "2S"},
        {"=BASE(0,2)", "0"},
        {"=BASE(10.9,10)", "10"},
        {"=BASE(-1,2)", "#NUM!"},
        {"=BASE(10,1)", "#NUM!"},
        {"=BASE(10,37)", "#NUM!"},
        {"=DECIMAL(\"ff\",16)", "255"},
        {"=DECIMAL(111,2)", "7"},
        {"=DECIMAL(\"zz\",36)", "1295"},
        {"=DECIMAL(\"\",10)", "0"},
        {"=DECIMAL(\"12\",2)", "#NUM!"},
        {"=DECIMAL(\"1F\",37)", "#NUM!"},
        {"=DEC2BIN(9,8)", "00001001"},
        {"=DEC2BIN(-1)", "1111111111"},
        {"=DEC2BIN(-512)", "1000000000"},
        {"=DEC2BIN(511)", "111111111"},
        {"=DEC2BIN(512)", "#NUM!"},
        {"=DEC2BIN(-513)", "#NUM!"},
        {"=DEC2BIN(9,2)", "#NUM!"},
        {"=DEC2BIN(9,0)", "#NUM!"},
        {"=DEC2BIN(9,11)", "#NUM!"},
        {"=DEC2BIN(-3,4)", "1111111101"},
        {"=DEC2BIN(9.9)", "1001"},
        {"=DEC2BIN(-0.5)", "0"},
        {"=DEC2BIN(9,4.9)", "1001"},
        {"=DEC2BIN(\"abc\")", "#VALUE!"},
        {"=DEC2OCT(58,5)", "00072"},
        {"=DEC2OCT(-100)", "7777777634"},
        {"=DEC2OCT(536870911)", "3777777777"},
        {"=DEC2OCT(-536870912)", "4000000000"},
        {"=DEC2OCT(536870912)", "#NUM!"},
        {"=DEC2HEX(255,4)", "00FF"},
        {"=DEC2HEX(-54)", "FFFFFFFFCA"},
        {"=DEC2HEX(-549755813888)", "8000000000"},
        {"=DEC2HEX(549755813888)", "#NUM!"},
        {"=DEC2HEX(1E+15)", "#NUM!"},
        {"=BIN2DEC(1100100)", "100"},
        {"=BIN2DEC(\"1111111111\")", "-1"},
        {"=BIN2DEC(\"1000000000\")", "-512"},
        {"=BIN2DEC(\"\")", "0"},
        {"=BIN2DEC(\"12\")", "#NUM!"},
        {"=BIN2DEC(\"10000000000\")", "#NUM!"},
        {"=BIN2DEC(\" 101\")", "#NUM!"},
        {"=BIN2DEC(-1)", "#NUM!"},
        {"=BIN2DEC(1/0)", "#DIV/0!"},
        {"=BIN2OCT(1001,4)", "0011"},
        {"=BIN2OCT(\"1111111111\")", "7777777777"},
        {"=BIN2HEX(11111011,4)", "00FB"},
        {"=BIN2HEX(\"1000000000\",3)", "FFFFFFFE00"},
        {"=OCT2DEC(54)", "44"},
        {"=OCT2DEC(\"7777777533\")", "-165"},
        {"=OCT2DEC(\"8\")", "#NUM!"},
        {"=OCT2DEC(1.5)", "#NUM!"},
        {"=OCT2BIN(3,3)", "011"},
        {"=OCT2BIN(\"7777777000\")", "1000000000"},
        {"=OCT2BIN(\"1000\")", "#NUM!"},
        {"=OCT2BIN(\"777\",8)", "#NUM!"},
        {"=OCT2HEX(\"4000000000\")", "FFE0000000"},
        {"=HEX2DEC(\"fff\")", "4095"},
        {"=HEX2DEC(\"FFFFFFFF5B\")", "-165"},
        {"=HEX2DEC(\"00000000A5\")", "165"},
        {"=HEX2DEC(\"G\")", "#NUM!"},
        {"=HEX2DEC(\"ABCDEFABCDE\")", "#NUM!"},
        {"=HEX2BIN(\"F\",8)", "00001111"},
        {"=HEX2BIN(\"FFFFFFFE00\")", "1000000000"},
        {"=HEX2BIN(\"200\")", "#NUM!"},
        {"=HEX2BIN(10)", "10000"},
        {"=HEX2OCT(\"F\",3)", "017"},
        {"=HEX2OCT(\"FFFFFFFF9C\")", "7777777634"},
        {"=HEX2OCT(\"20000000\")", "#NUM!"},
    });
    // Ten-digit results past 10^6 come back as numbers in "%g" form.
    EXPECT_EQ(book.evalValue("=HEX2DEC(\"7FFFFFFFFF\")").numberValue(), 549755813887);
}

TEST_F(MathFunctions, RomanNumerals) {
    expectTexts({
        {"=ROMAN(1999)", "MCMXCIX"},     {"=ROMAN(3999)", "MMMCMXCIX"},  {"=ROMAN(0)", ""},
        {"=ROMAN(14.9)", "XIV"},         {"=ROMAN(499,1)", "LDVLIV"},    {"=ROMAN(499,2)", "XDIX"},
        {"=ROMAN(499,3)", "VDIV"},       {"=ROMAN(499,4)", "ID"},        {"=ROMAN(1999,2)", "MXMIX"},
        {"=ROMAN(3999,4)", "MMMIM"},     {"=ROMAN(490,1)", "LDXL"},      {"=ROMAN(99,1)", "VCIV"},
        {"=ROMAN(99,2)", "IC"},          {"=ROMAN(1999,4.5)", "MIM"},    {"=ROMAN(4000)", "#VALUE!"},
        {"=ROMAN(-1)", "#VALUE!"},       {"=ROMAN(5,5)", "#VALUE!"},     {"=ARABIC(\"MCMXCIX\")", "1999"},
        {"=ARABIC(\"mmxxiv\")", "2024"}, {"=ARABIC(\"\")", "0"},         {"=ARABIC(\"IIII\")", "4"},
        {"=ARABIC(\"IM\")", "999"},      {"=ARABIC(\"LDVLIV\")", "499"}, {"=ARABIC(\"ABC\")", "#VALUE!"},
    });
}

// Where spreadsheets disagree, the common definition wins over the oracle.
TEST_F(MathFunctions, ChoicesWhereSpreadsheetsDiffer) {
    expectTexts({
        {"=ATAN2(0,0)", "#DIV/0!"},         // the oracle answers 0
        {"=POWER(-8,1/3)", "#NUM!"},        // the oracle takes the real cube root, -2
        {"=MROUND(5,-2)", "#NUM!"},         // the oracle ignores the sign, 6
        {"=SUMXMY2(A2:A3,C2:C3)", "25"},    // pairs with an empty or text cell are skipped
        {"=SUMXMY2(A1:A3,C1:C3)", "25"},    // (the oracle: 34 and #VALUE!)
        {"=ARABIC(\" -XIV \")", "-14"},     // the oracle rejects blanks and signs
        {"=DECIMAL(\"0x1F\",16)", "#NUM!"}, // the oracle skips a 0x prefix
        {"=RANDBETWEEN(2.2,2.8)", "#NUM!"}, // no integer lies between; the oracle gives 3
        {"=ROMAN(1999,TRUE)", "MLMVLIV"},   // TRUE is form 1, as the oracle reads it
    });
}

TEST_F(MathFunctions, RandStaysInTheUnitInterval) {
    for (int i = 0; i < 200; ++i) {
        double x = book.evalValue("=RAND()").numberValue();
        ASSERT_GE(x, 0.0);
        ASSERT_LT(x, 1.0);
    }
}

TEST_F(MathFunctions, RandBetweenCoversBothBoundsAndNothingElse) {
    bool sawBottom = false, sawTop = false;
    for (int i = 0; i < 300; ++i) {
        double x = book.evalValue("=RANDBETWEEN(-1.5,1)").numberValue();
        ASSERT_TRUE(x == -1 || x == 0 || x == 1) << x;
        sawBottom |= x == -1;
        sawTop |= x == 1;
    }
    EXPECT_TRUE(sawBottom && sawTop);
    EXPECT_EQ(book.eval("=RANDBETWEEN(3,3)"), "3");
    EXPECT_EQ(book.eval("=RANDBETWEEN(5,3)"), "#NUM!");
}

} // namespace
} // namespace sumora
