// The engineering, complex, matrix and unit-conversion functions and the
// further math functions against tests/data/engineering_functions.tsv:
// results of an independent spreadsheet (LibreOffice), except the rows whose
// fourth column says why the published definition was followed instead.
// Rebuild the table with tests/data/engineering_functions_generate.py.
#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "functions/ComplexNumbers.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

struct TableRow {
    std::string family, formula, expected, reason;
};

std::ifstream dataFile(const char* name) {
    return std::ifstream(std::string(SUMORA_SOURCE_DIR) + "/tests/data/" + name);
}

std::vector<TableRow> tableRows(const std::string& family) {
    std::ifstream in = dataFile("engineering_functions.tsv");
    std::vector<TableRow> rows;
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        TableRow row;
        std::getline(fields, row.family, '\t');
        std::getline(fields, row.formula, '\t');
        std::getline(fields, row.expected, '\t');
        std::getline(fields, row.reason, '\t');
        if (row.family == family) rows.push_back(std::move(row));
    }
    return rows;
}

// The constant cells the formulas read.
void setTableCells(test::TestBook& book) {
    std::ifstream in = dataFile("engineering_functions_cells.tsv");
    for (std::string line; std::getline(in, line);) {
        const size_t tab = line.find('\t');
        book.set(line.substr(0, tab), line.substr(tab + 1));
    }
}

// Complex texts whose parts agree to 1e-9 of the larger modulus: the last of
// 15 digits depends on how the trigonometry is evaluated.
bool sameComplex(const std::string& actual, const std::string& expected) {
    const auto a = parseComplex(actual), b = parseComplex(expected);
    if (!a || !b || a->suffix != b->suffix) return false;
    const double scale = std::max(std::abs(a->value), std::abs(b->value));
    return std::abs(a->value - b->value) <= 1e-9 * scale;
}

// Numbers agree to 1e-9 relative (the oracle stores 15 digits); complex
// numbers by their parts; other texts and errors to the letter.
void expectTable(const std::string& family) {
    const std::vector<TableRow> rows = tableRows(family);
    ASSERT_GT(rows.size(), 10u) << "no rows for " << family;
    test::TestBook book;
    setTableCells(book);
    for (const TableRow& row : rows) {
        SCOPED_TRACE(row.formula + " " + row.reason);
        const std::string actual = book.eval(row.formula);
        if (actual != row.expected && sameComplex(actual, row.expected)) continue;
        test::expectFormulaResult(book, {row.formula, row.expected});
    }
}

TEST(EngineeringFunctions, MathBeyondTheCoreFamily) {
    expectTable("MathExtra");
}
TEST(EngineeringFunctions, SpecialFunctionsAndBits) {
    expectTable("Engineering");
}
TEST(EngineeringFunctions, ComplexNumbers) {
    expectTable("Complex");
}
TEST(EngineeringFunctions, Matrices) {
    expectTable("Matrix");
}
TEST(EngineeringFunctions, UnitConversion) {
    expectTable("Convert");
}

// Sizes no sheet could hold are refused before anything is allocated.
TEST(EngineeringFunctions, HugeResultsAreRefused) {
    test::TestBook book;
    test::expectFormulaResults(book, {
                                         {"=MUNIT(1E9)", "#NUM!"},
                                         {"=RANDARRAY(1E9,1E9)", "#NUM!"},
                                         {"=ROWS(RANDARRAY(3,2))", "3"},
                                         {"=RANDARRAY(2,2,5,1)", "#VALUE!"},
                                         {"=RANDARRAY(2,2,1.5,3,TRUE)", "#VALUE!"},
                                         {"=SUM(RANDARRAY(50,1,7,7,TRUE))", "350"},
                                     });
}

} // namespace
} // namespace sumora
