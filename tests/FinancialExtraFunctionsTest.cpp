// The securities, odd-period, depreciation and cash-flow functions of the
// financial family against tests/data/financial_extra_functions.tsv: values
// computed by LibreOffice Calc, or the published definitions where Calc
// departs from them (tests/data/financial_extra_functions_generate.py
// rebuilds the table and says which rows and why).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace sumora {
namespace {

// "@C1<TAB>value" rows fill a cell; the others are formula, expected text and
// an optional relative tolerance.
struct TableRow {
    std::string formula, expected;
    double tolerance = 1e-9;
};

std::vector<TableRow> readTable(const std::string& path) {
    std::ifstream in(path);
    std::vector<TableRow> rows;
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        TableRow row;
        std::string tolerance;
        std::getline(fields, row.formula, '\t');
        std::getline(fields, row.expected, '\t');
        if (std::getline(fields, tolerance, '\t') && !tolerance.empty()) row.tolerance = std::stod(tolerance);
        if (!row.formula.empty()) rows.push_back(std::move(row));
    }
    return rows;
}

TEST(FinancialExtraFunctions, AgreeWithOracleTable) {
    const auto rows = readTable(std::string(SUMORA_SOURCE_DIR) + "/tests/data/financial_extra_functions.tsv");
    ASSERT_GT(rows.size(), 200u);
    test::TestBook book;
    for (const TableRow& row : rows) {
        if (row.formula.front() == '@')
            book.set(row.formula.substr(1), row.expected);
        else
            test::expectFormulaResult(book, {row.formula, row.expected}, row.tolerance);
    }
}

// Arguments whose size could make a body loop or allocate without bound.
TEST(FinancialExtraFunctions, HugeArgumentsStayBounded) {
    test::TestBook book;
    const std::vector<test::FormulaCase> cases = {
        {"=VDB(1E+15,1,1E+12,0,1E+12)", "#NUM!"},
        // four coupons a year for 8100 years, and the one on the last day
        {"=COUPNUM(0,2958465,4)", "32401"},
        // 8100 30/360 years of 10% on 1000
        {"=ACCRINT(1,2958000,2958465,0.1,1000,4)", "810000"},
        // all 10^7 periods: pmt * nper - pv, pmt = -pv r G / (G - 1), G = (1 + r)^nper
        {"=CUMIPMT(0.000001,1E+7,100,1,1E+7,0)", "-900.045402218068"},
        // a depreciation that rounds to nothing stays nothing
        {"=AMORDEGRC(1,0,0,0,1E+15,0.5)", "0"},
    };
    test::expectFormulaResults(book, cases);
}

} // namespace
} // namespace sumora
