// Financial functions against values computed by an independent
// spreadsheet (LibreOffice Calc 7.4).
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "values/StrictNumber.h"

namespace sumora {
namespace {

using test::FormulaCase;

// A1:A5 an investment's cash flows on the dates in B1:B5 (1 January 2024 to
// 1 April 2025), D1:D3 flows without an outlay, E1:E2 a loss.
test::TestBook cashFlowBook() {
    test::TestBook b;
    const char* flows[] = {"-1000", "300", "400", "500", "200"};
    const char* dates[] = {"45292", "45366", "45474", "45626", "45748"};
    for (int i = 0; i < 5; ++i) {
        std::string row = std::to_string(i + 1);
        b.set("A" + row, flows[i]).set("B" + row, dates[i]);
    }
    b.set("D1", "100").set("D2", "200").set("D3", "300");
    b.set("E1", "-500").set("E2", "100");
    return b;
}

// Where a row departs from the oracle, the comment gives the oracle's answer.
TEST(FinancialFunctions, AgreeWithSpreadsheetOracle) {
    test::TestBook book = cashFlowBook();
    const std::vector<FormulaCase> cases = {
        {"=PV(0.05/12,60,-500)", "26495.3531619636"},
        {"=PV(0.08,10,-1000,0,1)", "7246.88791085676"},
        {"=PV(0,10,-100,-500)", "1500"},
        {"=PV(0.1,5,0,-1000)", "620.921323059155"},
        {"=PV(0.07,20,2500,10000,1)", "-30923.1781348944"},
        {"=FV(0.06/12,120,-200)", "32775.8693612916"},
        {"=FV(0.05,10,-100,-1000,1)", "2949.57334301007"},
        {"=FV(0,12,-100,-50)", "1250"},
        {"=FV(0.1,5,0,-1000)", "1610.51"},
        {"=PMT(0.05/12,360,200000)", "-1073.64324602428"},
        {"=PMT(0.08,10,10000,0,1)", "-1379.90267312107"},
        {"=PMT(0,12,1200)", "-100"},
        {"=PMT(0.06,5,0,10000)", "-1773.9640043119"},
        {"=PMT(0.04/12,60,-25000,5000,1)", "383.718047613283"},
        {"=PMT(0.05,0,100)", "#NUM!"},
        {"=IPMT(0.1/12,1,36,8000)", "-66.6666666666667"},
        {"=IPMT(0.1,3,3,8000)", "-292.447129909365"},
        {"=IPMT(0.05,1,10,1000,0,1)", "0"},
        {"=IPMT(0.05,2,10,1000,0,1)", "-43.8331154778354"},
        {"=IPMT(0.05,5,10,1000,200,1)", "-28.0376386948768"},
        {"=IPMT(0.05,11,10,1000)", "#NUM!"},
        {"=IPMT(0.05,0,10,1000)", "#NUM!"},
        {"=PPMT(0.1/12,1,24,2000)", "-75.6231860083664"},
        {"=PPMT(0.08,10,10,200000,0,1)", "-25553.7532059457"},
        {"=PPMT(0.05,3,10,1000,100)", "-96.4191732893576"},
        {"=NPER(0.12/12,-100,-1000,10000,1)", "59.6738656742946"},
        {"=NPER(0.01,-100,1000)", "10.5886444594232"},
        {"=NPER(0,-100,1000)", "10"},
        {"=NPER(0.05,-10,1000)", "#NUM!"},
        {"=NPER(0.05,100,1000)", "-8.31038622252057"},
        {"=NPER(0,0,1000)", "#NUM!"},
        {"=NPER(0.06,-500,0,10000,1)", "12.9931369839535"},
        {"=RATE(48,-200,8000)", "0.00770147248823279"},
        {"=RATE(360,-1073.64,200000)*12", "0.0499997344363194"},
        {"=RATE(10,-100,500,0,1)", "0.202418324076102"},
        {"=RATE(48,-200,8000,0,0,0.5)", "0.00770147248821011"},
        {"=RATE(12,100,1000)", "#NUM!"},
        {"=RATE(5,0,-1000,1500)", "0.0844717711976986"},
        {"=RATE(24,-300,6000,0,1,-0.5)",
         "0.016550119066684"}, // oracle: Err:523 (Newton from -0.5 fails; bracketing finds the rate)
        {"=NPV(0.1,A1:A5)", "105.059887861609"},
        {"=NPV(0.08,-10000,3000,4200,6800)", "1645.05561294668"},
        {"=NPV(0.1,A1:A5,100)", "161.507280866987"},
        {"=NPV(0,D1:D3)", "600"},
        {"=NPV(-1,D1:D3)", "#DIV/0!"}, // oracle: #NUM!
        {"=IRR(A1:A5)", "0.153221378771815"},
        {"=IRR(A1:A5,-0.5)", "0.153221378771816"},
        {"=IRR(D1:D3)", "#NUM!"},
        {"=IRR(E1:E2)", "-0.8"},     // oracle: Err:523 (the root is -0.8)
        {"=IRR(E1:E2,0.9)", "-0.8"}, // oracle: Err:523
        {"=XNPV(0.09,A1:A5,B1:B5)", "319.651134184253"},
        {"=XNPV(0,A1:A5,B1:B5)", "400"},
        {"=XNPV(0.09,A1:A5,B1:B4)", "#NUM!"},
        {"=XIRR(A1:A5,B1:B5)", "0.665323094707761"},
        {"=XIRR(A1:A5,B1:B5,0.5)", "0.665323094707761"},
        {"=XIRR(D1:D3,B1:B3)", "#NUM!"},
        {"=SYD(30000,7500,10,1)", "4090.90909090909"},
        {"=SYD(30000,7500,10,10)", "409.090909090909"},
        {"=SYD(30000,7500,10,11)", "#NUM!"}, // oracle: 0 (a period beyond the life)
        {"=SYD(30000,7500,10,0)", "#NUM!"},  // oracle: 4500
        {"=DB(1000000,100000,6,1,7)", "186083.333333333"},
        {"=DB(1000000,100000,6,2,7)", "259639.416666667"},
        {"=DB(1000000,100000,6,6,7)", "55841.7567360285"},
        {"=DB(1000000,100000,6,7,7)", "15845.0984738481"},
        {"=DB(1000000,100000,6,2)", "217239"},
        {"=DB(1000,100,5,3)", "146.921409"},
        {"=DB(1000,100,5,7)", "#NUM!"},
        {"=DB(1000,100,5,1,13)", "#NUM!"},
        {"=DDB(2400,300,10,1)", "480"},
        {"=DDB(2400,300,120,1)", "40"},
        {"=DDB(2400,300,10,10)", "22.1225472000002"},
        {"=DDB(2400,300,10,2,1.5)", "306"},
        {"=DDB(2400,300,10,8)", "100.663296"},
        {"=DDB(2400,300,10,2.5)", "343.460041343968"},
        {"=DDB(2400,300,10,11)", "#NUM!"},
        {"=DDB(2400,300,1,1,3)", "2100"},
        {"=EFFECT(0.0525,4)", "0.0535426673707582"},
        {"=EFFECT(0.1,12.9)", "0.104713067441297"},
        {"=EFFECT(0.1,0.5)", "#NUM!"},
        {"=EFFECT(-0.1,4)", "#NUM!"},
        {"=NOMINAL(0.053543,4)", "0.052500319868356"},
        {"=NOMINAL(0.1,1)", "0.1"},
        {"=NOMINAL(0,4)", "#NUM!"},
        {"=SLN(30000,7500,10)", "2250"},
        {"=SLN(30000,7500,0)", "#DIV/0!"},
    };
    test::expectFormulaResults(book, cases);
}

double number(test::TestBook& book, const std::string& formula) {
    auto x = parseStrictNumber(book.eval(formula));
    EXPECT_TRUE(x.has_value()) << formula << " → " << book.eval(formula);
    return x.value_or(NAN);
}

TEST(FinancialFunctions, MortgagePaymentPrintsFullPrecision) {
    test::TestBook book;
    EXPECT_NEAR(number(book, "=PMT(0.05/12,360,200000)"), -1073.6432460242797, 1e-9);
}

// PV, PMT, NPER and RATE solve one equation for different unknowns, so each
// must give back what the others were given.
TEST(FinancialFunctions, AnnuityFunctionsInvertEachOther) {
    test::TestBook book;
    struct Loan {
        const char *rate, *nper, *pv, *fv, *type;
    };
    const Loan loans[] = {{"0.05/12", "360", "200000", "0", "0"},
                          {"0.08", "10", "-5000", "20000", "1"},
                          {"0.002", "48", "12000", "-3000", "0"},
                          {"0.25", "7", "1000", "0", "1"}};
    for (const Loan& l : loans) {
        const std::string tail = std::string(",") + l.pv + "," + l.fv + "," + l.type;
        const std::string pmt = "PMT(" + std::string(l.rate) + "," + l.nper + tail + ")";
        SCOPED_TRACE(pmt);
        const double rate = number(book, std::string("=") + l.rate);
        const double nper = number(book, std::string("=") + l.nper);
        const double pv = number(book, std::string("=") + l.pv);
        EXPECT_NEAR(number(book, "=RATE(" + std::string(l.nper) + "," + pmt + tail + ")"), rate, 1e-10);
        EXPECT_NEAR(number(book, "=NPER(" + std::string(l.rate) + "," + pmt + tail + ")"), nper, 1e-8);
        EXPECT_NEAR(number(book, "=PV(" + std::string(l.rate) + "," + l.nper + "," + pmt + "," + l.fv + "," +
                                     l.type + ")"),
                    pv, 1e-8 * std::fabs(pv));
        // The principal parts of all payments repay the whole balance (unless
        // payments in advance leave a balance that earns interest after the
        // last one, which no payment's interest part covers).
        if (std::string(l.type) == "1" && std::string(l.fv) != "0") continue;
        double principal = 0;
        for (int per = 1; per <= static_cast<int>(nper); ++per)
            principal += number(book, "=PPMT(" + std::string(l.rate) + "," + std::to_string(per) + "," +
                                          l.nper + tail + ")");
        EXPECT_NEAR(principal, -(pv + number(book, std::string("=") + l.fv)), 1e-7 * std::fabs(pv));
    }
}

TEST(FinancialFunctions, InternalRatesZeroThePresentValue) {
    test::TestBook book = cashFlowBook();
    EXPECT_NEAR(number(book, "=A1+NPV(IRR(A1:A5),A2:A5)"), 0, 1e-9);
    EXPECT_NEAR(number(book, "=XNPV(XIRR(A1:A5,B1:B5),A1:A5,B1:B5)"), 0, 1e-9);
    EXPECT_NEAR(number(book, "=RATE(10,-50,1000,-500)"), 0, 1e-12); // no interest at all
}

TEST(FinancialFunctions, ArgumentErrorsAndGapsAreReported) {
    test::TestBook book = cashFlowBook();
    EXPECT_EQ(book.eval("=PV(1/0,10,100)"), "#DIV/0!");
    EXPECT_EQ(book.eval("=PMT(\"abc\",10,100)"), "#VALUE!");
    EXPECT_EQ(book.eval("=FV(0.1,10)"), "#VALUE!");
    EXPECT_EQ(book.eval("=SLN(1,2)"), "#VALUE!");
    EXPECT_EQ(book.eval("=XNPV(0.1,A1:A5,D1:D3)"), "#NUM!");
    EXPECT_EQ(book.eval("=XIRR(A1:A5,B1:B5,1/0)"), "#DIV/0!");
}

} // namespace
} // namespace sumora
