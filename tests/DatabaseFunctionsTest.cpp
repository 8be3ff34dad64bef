// Database functions: field by name or number, criteria rows AND within and
// OR between, criteria cells in the criteria language. Expected values agree
// with LibreOffice Calc 7.4 except where a row says otherwise.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"

namespace sumora {
namespace {

// A1:C7 is the database; the criteria blocks stand beside it.
test::TestBook databaseBook() {
    test::TestBook b;
    const char* rows[][3] = {{"Region", "Item", "Sales"}, {"East", "Pen", "10"},   {"West", "Pen", "25"},
                             {"East", "Book", "40"},      {"North", "Book", "15"}, {"west", "Pen", "30"},
                             {"East", "Pen", "n/a"}};
    for (int i = 0; i < 7; ++i) {
        std::string row = std::to_string(i + 1);
        b.set("A" + row, rows[i][0]).set("B" + row, rows[i][1]).set("C" + row, rows[i][2]);
    }
    b.set("E1", "Region").set("E2", "East");                                     // one condition
    b.set("F1", "Region").set("G1", "Item").set("F2", "East").set("G2", "Pen");  // AND
    b.set("E4", "Region").set("E5", "East").set("E6", "North");                  // OR
    b.set("H1", "Sales").set("H2", ">20");                                       // numeric
    b.set("I1", "Sales").set("J1", "Sales").set("I2", ">=15").set("J2", "<35");  // range on one field
    b.set("K1", "Region").set("K2", "South");                                    // no match
    b.set("L1", "Region").set("L2", "West");                                     // bare: any case
    b.set("M1", "Region").set("N1", "Sales").set("M2", "East").set("N3", ">20"); // sparse rows
    b.set("O1", "region").set("O2", "north");                                    // header case
    b.set("Q1", "Colour").set("Q2", "red");                                      // unknown field
    b.set("S1", "Region").set("S2", "=\"=east\"").computed("S2", "=east");       // "=" keeps case
    b.set("T1", "Item").set("T2", "P*");                                         // no wildcards
    return b;
}

TEST(DatabaseFunctions, AggregateTheFieldOverMatchingRecords) {
    test::TestBook book = databaseBook();
    const std::vector<test::FormulaCase> cases = {
        {"=DSUM(A1:C7,\"Sales\",E1:E2)", "50"},
        {"=DSUM(A1:C7,3,F1:G2)", "10"},
        {"=DCOUNT(A1:C7,\"Sales\",E1:E2)", "2"},
        {"=DAVERAGE(A1:C7,\"sales\",E4:E6)", "21.666666666666668"},
        {"=DMAX(A1:C7,\"Sales\",H1:H2)", "40"},
        {"=DMIN(A1:C7,\"Sales\",H1:H2)", "25"},
        {"=DSUM(A1:C7,\"Sales\",I1:J2)", "70"},
        {"=DAVERAGE(A1:C7,\"Sales\",K1:K2)", "#DIV/0!"},
        {"=DMAX(A1:C7,\"Sales\",K1:K2)", "0"},
        {"=DMIN(A1:C7,\"Sales\",K1:K2)", "0"},
        {"=DSUM(A1:C7,\"Sales\",L1:L2)", "55"},
        {"=DSUM(A1:C7,\"Sales\",M1:N3)", "105"},
        {"=DSUM(A1:C7,\"Sales\",O1:O2)", "15"},
        {"=DCOUNT(A1:C7,\"Item\",E1:E2)", "0"},
        {"=DAVERAGE(A1:C7,3,E1:E2)", "25"},
        // A block of headers alone selects every record.
        {"=DSUM(A1:C7,\"Sales\",E1:E1)", "120"},
        // Errors: a field that names no column, a column number outside the
        // database, a criterion under an unknown header, too few arguments.
        {"=DSUM(A1:C7,\"Price\",E1:E2)", "#VALUE!"},
        {"=DSUM(A1:C7,4,E1:E2)", "#VALUE!"},
        {"=DSUM(A1:C7,0,E1:E2)", "#VALUE!"},
        {"=DSUM(A1:C7,\"Sales\",Q1:Q2)", "#VALUE!"},
        {"=DSUM(A1:C7,\"Sales\")", "#VALUE!"},
        // The criteria language: "=" compares case (LibreOffice ignores it
        // and answers 50) and a star is an ordinary character.
        {"=DSUM(A1:C7,\"Sales\",S1:S2)", "0"},
        {"=DSUM(A1:C7,\"Sales\",T1:T2)", "0"},
        // DCOUNT without a field counts the matching records.
        {"=DCOUNT(A1:C7,\"\",E1:E2)", "3"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

} // namespace
} // namespace sumora
