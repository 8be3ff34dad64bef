// Statistical functions against values computed by an independent
// spreadsheet (LibreOffice Calc 7.4), and the conditional aggregates.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace sumora {
namespace {

using test::FormulaCase;

// A2:A10 spread with a repeated 4, paired x/y columns, a column mixing
// numbers, text, a boolean and an empty cell, bins, positives and text.
test::TestBook statisticsBook() {
    test::TestBook b;
    const char* a[] = {"2", "4", "4", "4", "5", "5", "7", "9", "3", "11"};
    const char* x[] = {"1.5", "2.7", "3.1", "4.8", "5.2", "6.9", "7.4", "8.8", "9.1", "10.6"};
    const char* y[] = {"3.2", "5.1", "6.9", "9.8", "10.1", "14.2", "14.8", "17.9", "18", "21.5"};
    for (int i = 0; i < 10; ++i) {
        std::string row = std::to_string(i + 1);
        b.set("A" + row, a[i]).set("B" + row, x[i]).set("C" + row, y[i]);
    }
    b.set("D1", "1").set("D2", "x").set("D3", "3").set("D4", "TRUE").set("D6", "6");
    b.set("E1", "5").set("E2", "2").set("E3", "8");
    b.set("F1", "0.5").set("F2", "1.2").set("F3", "2.3").set("F4", "3.1").set("F5", "4.8");
    b.set("G1", "a").set("G3", "b");
    return b;
}

// Where a row departs from the oracle, the comment gives the oracle's answer.
// The departures are deliberate: booleans in cells are not numbers here; the
// error rules of this engine (k or x out of range, domain errors, no repeated
// value) apply; MODE takes the first of tied values; PERCENTRANK truncates to
// decimal digits.
TEST(StatisticalFunctions, AgreeWithSpreadsheetOracle) {
    test::TestBook book = statisticsBook();
    const std::vector<FormulaCase> cases = {
        {"=AVERAGE(A1:A10)", "5.4"},
        {"=AVERAGE(D1:D6)", "3.3333333333333335"}, // oracle: 2.75 (its TRUE is a number)
        {"=AVERAGE(A1:A3,10)", "5"},
        {"=AVERAGE(G1:G3)", "#DIV/0!"},
        {"=COUNT(D1:D6)", "3"}, // oracle: 4 (its TRUE is a number)
        {"=COUNT(A1:A10,B1:B3,\"7\",\"x\")", "14"},
        {"=COUNTA(D1:D6)", "5"},
        {"=COUNTA(G1:G3,1)", "3"},
        {"=COUNTBLANK(D1:D6)", "1"},
        {"=COUNTBLANK(G1:G5)", "3"},
        {"=MIN(B1:B10)", "1.5"},
        {"=MAX(C1:C10)", "21.5"},
        {"=MIN(G1:G3)", "0"},
        {"=MAX(G1:G3)", "0"},
        {"=MAX(A1:A10,-3,40)", "40"},
        {"=MEDIAN(A1:A10)", "4.5"},
        {"=MEDIAN(A1:A9)", "4"},
        {"=MEDIAN(G1:G3)", "#NUM!"}, // oracle: #VALUE!
        {"=MODE(A1:A10)", "4"},
        {"=MODE(1,2,2,3,3)", "2"},
        {"=MODE(3,3,2,2,1)", "3"}, // oracle: 2 (the smallest of the tied)
        {"=MODE(1,2,3)", "#N/A"},  // oracle: #VALUE!
        {"=STDEV(A1:A10)", "2.7968235951204"},
        {"=STDEVP(A1:A10)", "2.65329983228432"},
        {"=VAR(B1:B10)", "9.22322222222222"},
        {"=VARP(B1:B10)", "8.3009"},
        {"=STDEV(5)", "#DIV/0!"},
        {"=VAR(G1:G3)", "#DIV/0!"},
        {"=STDEVP(G1:G3)", "#DIV/0!"},
        {"=VARP(7)", "0"},
        {"=LARGE(A1:A10,2)", "9"},
        {"=LARGE(A1:A10,1.5)", "11"},
        {"=SMALL(A1:A10,3)", "4"},
        {"=SMALL(A1:A10,0)", "#NUM!"},  // oracle: #VALUE!
        {"=LARGE(A1:A10,11)", "#NUM!"}, // oracle: #VALUE!
        {"=SMALL(A1:A10,10)", "11"},
        {"=RANK(4,A1:A10)", "6"},
        {"=RANK(4,A1:A10,1)", "3"},
        {"=RANK(11,A1:A10,0)", "1"},
        {"=RANK(6,A1:A10)", "#N/A"}, // oracle: 4 (ranks values not in the list)
        {"=PERCENTILE(A1:A10,0.3)", "4"},
        {"=PERCENTILE(B1:B10,0.95)", "9.925"},
        {"=PERCENTILE(A1:A10,0)", "2"},
        {"=PERCENTILE(A1:A10,1)", "11"},
        {"=PERCENTILE(A1:A10,1.1)", "#NUM!"},
        {"=QUARTILE(A1:A10,1)", "4"},
        {"=QUARTILE(A1:A10,3)", "6.5"},
        {"=QUARTILE(B1:B10,2.7)", "6.05"},
        {"=QUARTILE(A1:A10,5)", "#NUM!"},
        {"=PERCENTRANK(A1:A10,4)", "0.222"},
        {"=PERCENTRANK(A1:A10,6)", "0.722"},
        {"=PERCENTRANK(A1:A10,11)", "1"},
        {"=PERCENTRANK(A1:A10,2)", "0"},
        {"=PERCENTRANK(B1:B10,5,5)", "0.38888"}, // oracle: 0.38889 (rounds)
        {"=PERCENTRANK(B1:B10,5,1)", "0.3"},     // oracle: 0.4 (rounds)
        {"=PERCENTRANK(A1:A10,12)", "#N/A"},     // oracle: #VALUE!
        {"=PERCENTRANK(A1:A10,1)", "#N/A"},      // oracle: #VALUE!
        {"=PERCENTRANK(A1:A10,5,0)", "#NUM!"},
        {"=PERCENTRANK(F1:F5,0.7)", "0.071"}, // oracle: 0.0714 (significant digits)
        {"=FORECAST(12,C1:C10,B1:B10)", "24.1305051259502"},
        {"=FORECAST(0,C1:C10,B1:B10)", "0.129493187485696"},
        {"=CORREL(B1:B10,C1:C10)", "0.998556123875109"},
        {"=CORREL(A1:A10,B1:B10)", "0.735954232458222"},
        {"=SLOPE(C1:C10,B1:B10)", "2.00008432820538"},
        {"=INTERCEPT(C1:C10,B1:B10)", "0.129493187485696"},
        {"=SLOPE(C1:C10,B1:B9)", "#N/A"}, // oracle: #NUM!
        {"=SLOPE(A1:A3,D1:D3)", "1"},
        {"=CORREL(A1:A3,D1:D3)", "1"},
        {"=TRIMMEAN(A1:A10,0.2)", "5.125"},
        {"=TRIMMEAN(B1:B10,0.35)", "6"},
        {"=TRIMMEAN(A1:A10,0)", "5.4"},
        {"=TRIMMEAN(A1:A10,1)", "#NUM!"},
        {"=GEOMEAN(F1:F5)", "1.8301909500781"},
        {"=GEOMEAN(A1:A10)", "4.81172110240754"},
        {"=GEOMEAN(0,1)", "#NUM!"}, // oracle: 0
        {"=HARMEAN(F1:F5)", "1.31612545955175"},
        {"=HARMEAN(-1,1)", "#NUM!"},
        {"=AVEDEV(A1:A10)", "2.16"},
        {"=AVEDEV(B1:B10)", "2.55"},
        {"=DEVSQ(A1:A10)", "70.4"},
        {"=DEVSQ(C1:C10)", "333.025"},
        {"=SKEW(B1:B10)", "-0.0179955021655766"},
        {"=SKEW(A1:A10)", "1.04674346401021"},
        {"=SKEW(1,2)", "#DIV/0!"},
        {"=SKEW(2,2,2)", "#DIV/0!"}, // oracle: #NUM!
        {"=FISHER(0.75)", "0.972955074527657"},
        {"=FISHER(-0.3)", "-0.309519604203112"},
        {"=FISHER(1)", "#NUM!"},
        {"=FISHERINV(-1.2)", "-0.833654607012155"},
        {"=FISHERINV(0.5)", "0.46211715726001"},
        {"=CONFIDENCE(0.1,1.5,30)", "0.450461717637754"},
        {"=CONFIDENCE(0.05,2,50.9)", "0.554361529739871"},
        {"=CONFIDENCE(0,1,10)", "#NUM!"},
        {"=NORMDIST(1.3,0,1,TRUE)", "0.90319951541439"},
        {"=NORM.DIST(42,40,1.5,FALSE)", "0.109340049783996"},
        {"=NORM.DIST(42,40,1.5,TRUE)", "0.908788780274132"},
        {"=NORMDIST(-7,0,1,TRUE)", "1.27981254388585e-12"},
        {"=NORMSDIST(-9)", "1.12858840595384e-19"},
        {"=NORM.DIST(1,0,0,TRUE)", "#NUM!"},
        {"=NORMSDIST(-1.96)", "0.0249978951482205"},
        {"=NORMSDIST(0)", "0.5"},
        {"=NORMSDIST(5.5)", "0.999999981010438"},
        {"=NORM.INV(0.975,100,15)", "129.399459768101"},
        {"=NORMINV(0.2,-3,0.5)", "-3.42081061678646"},
        {"=NORM.INV(1,0,1)", "#NUM!"}, // oracle: #VALUE!
        {"=NORM.S.INV(0.001)", "-3.09023230616781"},
        {"=NORM.S.INV(0.5)", "0"},
        {"=NORM.S.INV(0.02425)", "-1.97296105131188"},
        {"=NORM.S.INV(0.97)", "1.88079360815125"},
        {"=NORMSINV(0.999999)", "4.75342430881709"},
        {"=NORMSINV(1E-10)", "-6.36134090240406"},
        {"=NORMSINV(1E-300)", "-37.0470962993612"},
        {"=NORM.S.INV(0)", "#NUM!"}, // oracle: #VALUE!
        {"=POISSON(0,3,FALSE)", "0.0497870683678639"},
        {"=POISSON(7,3.5,FALSE)", "0.038549174937634"},
        {"=POISSON(7.9,3.5,FALSE)", "0.038549174937634"},
        {"=POISSON(120,100,TRUE)", "0.977330670921648"},
        {"=POISSON.DIST(2,0.5,TRUE)", "0.985612322033029"},
        {"=POISSON(3,0,FALSE)", "0"}, // oracle: #NUM!
        {"=POISSON(-1,2,TRUE)", "#NUM!"},
        {"=BINOM.DIST(0,5,0.5,TRUE)", "0.03125"},
        {"=BINOM.DIST(45,100,0.5,TRUE)", "0.184100808663348"},
        {"=BINOM.DIST(6,10,0.5,FALSE)", "0.205078125"},
        {"=BINOMDIST(500,1000,0.5,FALSE)", "0.0252250181783607"},
        {"=BINOMDIST(3,10,0.3,TRUE)", "0.6496107184"},
        {"=BINOMDIST(2,20,0.01,TRUE)", "0.9989964238319"},
        {"=BINOM.DIST(10,10,0.3,TRUE)", "1"},
        {"=BINOM.DIST(11,10,0.5,TRUE)", "#NUM!"},
        {"=BINOM.DIST(3,10,1.2,TRUE)", "#NUM!"},
        {"=EXPON.DIST(0.2,10,FALSE)", "1.35335283236613"},
        {"=EXPONDIST(1.5,0.4,TRUE)", "0.451188363905974"},
        {"=EXPON.DIST(-1,1,TRUE)", "#NUM!"}, // oracle: 0
        {"=EXPON.DIST(1,0,TRUE)", "#NUM!"},
        {"=T.DIST(-2.1,5,TRUE)", "0.0448766249422994"},
        {"=T.DIST(0.7,12,FALSE)", "0.301227696324496"},
        {"=T.DIST(3,1,TRUE)", "0.897583617650433"},
        {"=T.DIST(1.2,30.7,TRUE)", "0.880234824555169"},
        {"=T.DIST(0,4,TRUE)", "0.5"},
        {"=T.DIST(25,2,TRUE)", "0.999201914894295"},
        {"=T.DIST(-25,60,TRUE)", "1.00711865289762e-33"},
        {"=T.DIST(1,0,TRUE)", "#NUM!"},
        {"=STDEV.S(A1:A10)", "2.7968235951204"},
        {"=STDEV.P(A1:A10)", "2.65329983228432"},
        {"=VAR.S(B1:B10)", "9.22322222222222"},
        {"=VAR.P(B1:B10)", "8.3009"},
        {"=RANK.EQ(4,A1:A10)", "6"},
        {"=MODE.SNGL(A1:A10)", "4"},
    };
    test::expectFormulaResults(book, cases);
}

// Region, item, quantity (one is text), price (one is empty).
test::TestBook salesBook() {
    test::TestBook b;
    const char* rows[][4] = {{"East", "Pen", "10", "1.5"},   {"West", "Pen", "25", "2"},
                             {"East", "Book", "40", "12"},   {"North", "Book", "15", "9.5"},
                             {"East", "Pen", "n/a", "1.25"}, {"west", "Pen", "30", ""}};
    for (int i = 0; i < 6; ++i) {
        std::string row = std::to_string(i + 1);
        b.set("A" + row, rows[i][0]).set("B" + row, rows[i][1]).set("C" + row, rows[i][2]);
        if (*rows[i][3]) b.set("D" + row, rows[i][3]);
    }
    b.set("E1", "1").set("F1", "-1").set("E2", "2").set("F2", "3");
    b.set("G1", "1").set("G2", "1").set("G3", "-1").set("G4", "1");
    return b;
}

TEST(StatisticalFunctions, ConditionalAggregatesPairValuesByPosition) {
    test::TestBook book = salesBook();
    const std::vector<FormulaCase> cases = {
        {"=SUMIFS(C1:C6,A1:A6,\"east\",B1:B6,\"Pen\")", "10"},
        {"=SUMIFS(C1:C6,A1:A6,\"<>East\")", "70"},
        {"=SUMIFS(C1:C3,A1:A6,\"east\")", "50"},
        {"=SUMIFS(C1:C6,A1:A6)", "#VALUE!"},
        {"=COUNTIFS(A1:A6,\"east\",B1:B6,\"Pen\")", "2"},
        {"=COUNTIFS(A1:A6,\"west\")", "2"},
        {"=COUNTIFS(A1:A6,\"=west\")", "1"},
        {"=COUNTIFS(A1:A6,\"east\",B1:B3,\"pen\")", "1"},
        {"=COUNTIFS(A1:A6,\"east\",B1:B6)", "#VALUE!"},
        {"=COUNTIFS(A1:A6)", "#VALUE!"},
        // Ranges of different shapes pair row-major: E1 F1 E2 F2 with G1:G4.
        {"=COUNTIFS(E1:F2,\">0\",G1:G4,\">0\")", "2"},
        {"=AVERAGEIF(A1:A6,\"east\",C1:C6)", "25"},
        {"=AVERAGEIF(C1:C6,\">20\")", "31.666666666666668"},
        {"=AVERAGEIF(A1:A6,\"south\",C1:C6)", "#DIV/0!"},
        {"=AVERAGEIF(A1:A6)", "#VALUE!"},
        // An empty cell reads as the number 0 and so is averaged in.
        {"=AVERAGEIFS(D1:D6,B1:B6,\"pen\",C1:C6,\">=10\")", "1.1666666666666667"},
        {"=AVERAGEIFS(D1:D6,A1:A6,\"south\")", "#DIV/0!"},
        {"=MAXIFS(C1:C6,B1:B6,\"pen\")", "30"},
        {"=MINIFS(D1:D6,A1:A6,\"east\")", "1.25"},
        {"=MAXIFS(C1:C6,A1:A6,\"south\")", "0"},
        {"=MINIFS(C1:C6,A1:A6,\"south\")", "0"},
    };
    test::expectFormulaResults(book, cases);
}

// Far out in the parameters the oracle itself drifts (by up to 1e-7); these
// references come from 40-digit arithmetic, and a method that subtracts
// large log-gammas misses several of them by 1e-7 or more.
TEST(StatisticalFunctions, DistributionsStayAccurateForHugeParameters) {
    test::TestBook book;
    const std::vector<FormulaCase> cases = {
        {"=T.DIST(1,1000000000,TRUE)", "0.84134474594755759"},
        {"=T.DIST(1,1000000,TRUE)", "0.84134462508321094"},
        {"=T.DIST(2.5,100000,TRUE)", "0.99378954040372048"},
        {"=T.DIST(0.3,100000,FALSE)", "0.38138669809128116"},
        {"=POISSON(1000000,1000000,TRUE)", "0.50026596148628365"},
        {"=POISSON(1000000,1000000,FALSE)", "0.00039894224715624403"},
        {"=BINOM.DIST(500000000,1000000000,0.5,FALSE)", "0.000025231325213893769"},
        {"=BINOM.DIST(500000000,1000000000,0.5,TRUE)", "0.50001261566260695"},
    };
    test::expectFormulaResults(book, cases);
}

TEST(StatisticalFunctions, FrequencyIsAVerticalArrayWithOneMoreRowThanBins) {
    test::TestBook book = statisticsBook();
    // Bins 5, 2, 8 (unsorted) over A1:A10: each bin counts the values above
    // the next smaller bin, in its own position; the last row counts the rest.
    FormulaValue v = book.evalValue("=FREQUENCY(A1:A10,E1:E3)");
    ASSERT_TRUE(v.isArray());
    EXPECT_EQ(test::renderValue(v), "6;1;1;2");
    EXPECT_EQ(book.evalValue("=FREQUENCY(A1:A10,G1:G3)").arrayRows().size(), 1u);
    EXPECT_EQ(book.eval("=FREQUENCY(A1:A10)"), "#VALUE!");
}

TEST(StatisticalFunctions, MissingNumberArgumentsAreValueErrors) {
    test::TestBook book = statisticsBook();
    for (const char* formula :
         {"=LARGE(A1:A10)", "=SMALL(A1:A10,\"x\")", "=RANK(\"x\",A1:A10)", "=PERCENTILE(A1:A10)",
          "=QUARTILE(A1:A10)", "=NORM.DIST(1,0,1)", "=POISSON(1,2)", "=FORECAST(\"x\",C1:C10,B1:B10)",
          "=T.DIST(1,2)", "=CONFIDENCE(0.05,1)", "=TRIMMEAN(A1:A10)"})
        EXPECT_EQ(book.eval(formula), "#VALUE!") << formula;
}

TEST(StatisticalFunctions, OrderStatisticsRejectNaN) {
    // The text "nan" reads as a number that has no place in an order.
    test::TestBook book;
    book.set("A1", "3").set("A2", "nan").set("A3", "1");
    for (const char* formula : {"=MEDIAN(A1:A3)", "=LARGE(A1:A3,1)", "=SMALL(A1:A3,1)",
                                "=PERCENTILE(A1:A3,0.5)", "=QUARTILE(A1:A3,1)", "=PERCENTRANK(A1:A3,2)",
                                "=TRIMMEAN(A1:A3,0.1)", "=FREQUENCY(A1:A3,A1)", "=LARGE(A1,(-1)^0.5)"})
        EXPECT_EQ(book.eval(formula), "#NUM!") << formula;
}

TEST(StatisticalFunctions, CellReferencesCountTheirNumericTextAndBooleans) {
    // A single cell argument is read as a value, so numeric text and TRUE
    // count there, while the same cells inside a range are skipped.
    test::TestBook book;
    book.set("A1", "TRUE").set("A2", "abc").set("A3", "4");
    EXPECT_EQ(book.eval("=COUNT(A1,A2,A3)"), "2");
    EXPECT_EQ(book.eval("=AVERAGE(A1,A3)"), "2.5");
    EXPECT_EQ(book.eval("=COUNT(A1:A3)"), "1");
}

} // namespace
} // namespace sumora
