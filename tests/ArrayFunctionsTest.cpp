// Dynamic-array functions. Arrays are written row by row: "1,2;3,4" is two
// rows of two values.
#include <gtest/gtest.h>

#include "functions/ArrayFunctions.h"
#include "tests/TestSupport.h"

namespace sumora {
namespace {

using test::FormulaCase;

// A1:B7 mixes every kind of sort key; D1:E4 has ties; H1:K3 is wide.
test::TestBook arrayBook() {
    test::TestBook b;
    const char* keys[] = {"pear", "10", "Apple", "TRUE", "2", "banana", ""};
    for (int r = 0; r < 7; ++r) {
        std::string row = std::to_string(r + 1);
        if (*keys[r]) b.set("A" + row, keys[r]);
        b.set("B" + row, std::to_string(r + 1));
    }
    const char* ties[][2] = {{"1", "a"}, {"1", "b"}, {"1", "c"}, {"0", "d"}};
    for (int r = 0; r < 4; ++r)
        b.set("D" + std::to_string(r + 1), ties[r][0]).set("E" + std::to_string(r + 1), ties[r][1]);
    const char* wide[][4] = {{"3", "1", "2", "a"}, {"x", "y", "z", "w"}, {"TRUE", "FALSE", "1", "0"}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            b.set(std::string(1, static_cast<char>('H' + c)) + std::to_string(r + 1), wide[r][c]);
    const char* cases[] = {"b", "A", "a", "B"};
    for (int r = 0; r < 4; ++r)
        b.set("M" + std::to_string(r + 1), cases[r]);
    const char* pairs[][2] = {{"1", "a"}, {"1", "a"}, {"2", "b"}, {"2", "B"}};
    for (int r = 0; r < 4; ++r)
        b.set("P" + std::to_string(r + 1), pairs[r][0]).set("Q" + std::to_string(r + 1), pairs[r][1]);
    const char* flags[] = {"TRUE", "FALSE", "1", "0", "", "TRUE", "FALSE"};
    for (int r = 0; r < 7; ++r)
        if (*flags[r]) b.set("C" + std::to_string(r + 1), flags[r]);
    return b;
}

TEST(ArrayFunctions, SortOrdersNumbersThenTextsThenTheRest) {
    auto book = arrayBook();
    const std::vector<FormulaCase> cases = {
        {"=SORT(A1:B7)", "2,5;10,2;Apple,3;banana,6;pear,1;TRUE,4;,7"},
        // Descending swaps the comparison, so the unordered kinds come first.
        {"=SORT(A1:B7,1,-1)", "TRUE,4;,7;pear,1;banana,6;Apple,3;10,2;2,5"},
        {"=SORT(A1:B7,2,-1)", ",7;banana,6;2,5;TRUE,4;Apple,3;10,2;pear,1"},
        {"=SORT(D1:E4)", "0,d;1,a;1,b;1,c"},
        {"=SORT(D1:E4,1,-1)", "1,a;1,b;1,c;0,d"},
        {"=SORT(M1:M4)", "A;a;b;B"}, // case-insensitive and stable
        {"=SORT(H1:K2,1,1,TRUE)", "1,2,3,a;y,z,x,w"},
        {"=SORT(H1:K2,2,-1,TRUE)", "2,1,3,a;z,y,x,w"},
        {"=SORT(A1:B7,3)", "#VALUE!"},
        {"=SORT(A1:B7,0)", "#VALUE!"},
        {"=SORT(A1:B7,1,2)", "#VALUE!"},
        {"=SORT(1/0)", "#DIV/0!"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(ArrayFunctions, UniqueKeysRowsByTheirText) {
    auto book = arrayBook();
    const std::vector<FormulaCase> cases = {
        {"=UNIQUE(P1:Q3)", "1,a;2,b"},
        {"=UNIQUE(P1:Q3,FALSE,TRUE)", "2,b"},
        {"=UNIQUE(P1:Q4)", "1,a;2,b;2,B"},
        {"=UNIQUE(M1:M4)", "b;A;a;B"},
        {"=UNIQUE(P1:P4,FALSE,TRUE)", "#N/A"},
        {"=UNIQUE(TRANSPOSE(P1:Q3),TRUE)", "1,2;a,b"},
        {"=UNIQUE(TRANSPOSE(P1:Q3),TRUE,TRUE)", "2;b"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
    ValueRows numberAndText{{num(1)}, {txt("1")}, {txt("a")}, {txt("A")}};
    EXPECT_EQ(test::renderValue(FormulaValue::array(uniqueRows(numberAndText, false))), "1;a;A");
}

TEST(ArrayFunctions, FilterKeepsRowsOrColumnsMarkedTrue) {
    auto book = arrayBook();
    const std::vector<FormulaCase> cases = {
        {"=FILTER(A1:B7,C1:C7)", "pear,1;Apple,3;banana,6"},
        {"=FILTER(H2:K2,H3:K3)", "x,z"},
        {"=FILTER(H1:K2,H3:K3)", "3,2;x,z"},
        {"=FILTER(A1:B2,C4:C5)", "#N/A"},
        {"=FILTER(A1:B2,C4:C5,\"none\")", "none"},
        {"=FILTER(A1:B7,C1:C6)", "#VALUE!"},
        {"=FILTER(A1:A3,A1:A3)", "#VALUE!"}, // "pear" is no truth value
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(ArrayFunctions, BuildingAndReshaping) {
    auto book = arrayBook();
    const std::vector<FormulaCase> cases = {
        {"=SEQUENCE(2,3)", "1,2,3;4,5,6"},
        {"=SEQUENCE(3,1,10,-2)", "10;8;6"},
        {"=SEQUENCE(1,3,0.5)", "0.5,1.5,2.5"},
        {"=SEQUENCE(0)", "#VALUE!"},
        {"=SEQUENCE(2000,2000)", "#NUM!"},
        {"=SEQUENCE()", "#VALUE!"},
        {"=TRANSPOSE(SEQUENCE(2,3))", "1,4;2,5;3,6"},
        {"=TRANSPOSE(D1:E2)", "1,1;a,b"},
        {"=WRAPROWS(SEQUENCE(1,5),2)", "1,2;3,4;5,#N/A"},
        {"=WRAPROWS(SEQUENCE(5),2,0)", "1,2;3,4;5,0"},
        {"=WRAPCOLS(SEQUENCE(5),2)", "1,3,5;2,4,#N/A"},
        {"=WRAPROWS(SEQUENCE(2,2),2)", "#VALUE!"},
        {"=WRAPROWS(SEQUENCE(3),0)", "#NUM!"},
        {"=TOCOL(SEQUENCE(2,2))", "1;2;3;4"},
        {"=TOCOL(SEQUENCE(2,2),0,TRUE)", "1;3;2;4"},
        {"=TOROW(A5:A7,1)", "2,banana"},
        {"=TOROW(A5:A7)", "2,banana,"},
        {"=TOCOL(A7,1)", "#N/A"},
        {"=TOCOL(A1:A3,4)", "#VALUE!"},
        {"=HSTACK(SEQUENCE(2),SEQUENCE(3))", "1,1;2,2;#N/A,3"},
        {"=VSTACK(SEQUENCE(1,2),SEQUENCE(1,3))", "1,2,#N/A;1,2,3"},
        {"=HSTACK(D1:D2,\"x\")", "1,x;1,#N/A"},
        {"=MAKEARRAY(2,2,\"x\")", "x,x;x,x"},
        {"=MAKEARRAY(2,2,LAMBDA(1))", "#VALUE!"},
        {"=MAKEARRAY(0,2,1)", "#VALUE!"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

TEST(ArrayFunctions, TakingDroppingAndChoosing) {
    auto book = arrayBook();
    const std::vector<FormulaCase> cases = {
        {"=TAKE(SEQUENCE(4,3),2)", "1,2,3;4,5,6"},
        {"=TAKE(SEQUENCE(4,3),-1,-2)", "11,12"},
        {"=TAKE(SEQUENCE(2),5)", "1;2"},
        {"=TAKE(SEQUENCE(4,3),0)", "#VALUE!"},
        {"=DROP(SEQUENCE(4,3),3)", "10,11,12"},
        {"=DROP(SEQUENCE(4,3),-3,1)", "2,3"},
        {"=DROP(SEQUENCE(2),2)", "#VALUE!"},
        {"=EXPAND(SEQUENCE(2),3,2)", "1,#N/A;2,#N/A;#N/A,#N/A"},
        {"=EXPAND(SEQUENCE(2),3,2,0)", "1,0;2,0;0,0"},
        {"=EXPAND(SEQUENCE(3),2)", "#VALUE!"},
        {"=CHOOSECOLS(SEQUENCE(2,3),3,1)", "3,1;6,4"},
        {"=CHOOSECOLS(SEQUENCE(2,3),-1)", "3;6"},
        {"=CHOOSECOLS(SEQUENCE(2,3),4)", "#VALUE!"},
        {"=CHOOSEROWS(SEQUENCE(3,2),-1,1)", "5,6;1,2"},
        {"=CHOOSEROWS(SEQUENCE(3,2),0)", "#VALUE!"},
        {"=CHOOSEROWS(SEQUENCE(3,2))", "#VALUE!"},
    };
    test::expectFormulaResults(book, cases, test::exactText);
}

} // namespace
} // namespace sumora
