// The logical family and LET. Expected values of the common definitions are
// LibreOffice Calc's, except where its booleans-are-numbers model differs
// (marked). Laziness is observed through a resolver that records every cell
// it is asked for.
#include <gtest/gtest.h>

#include <set>

#include "TestSupport.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

using test::TestBook;

// A1 "a", A2 empty, A3 "b", A4 "12", A5 "TRUE", A6 "hello", A8 "FALSE",
// A9 "0", A10 "x y"; B1:B4 1, 2, 3, "abc".
TestBook sampleBook() {
    TestBook book;
    book.set("A1", "a").set("A3", "b").set("A4", "12").set("A5", "TRUE").set("A6", "hello");
    book.set("A8", "FALSE").set("A9", "0").set("A10", "x y");
    book.set("B1", "1").set("B2", "2").set("B3", "3").set("B4", "abc");
    return book;
}

void check(const std::vector<test::FormulaCase>& cases) {
    TestBook book = sampleBook();
    test::expectFormulaResults(book, cases, test::exactText);
}

// Records the addresses of the cells evaluation reads.
class RecordingResolver : public WorkbookResolver {
  public:
    using WorkbookResolver::WorkbookResolver;
    FormulaValue cellValue(CellPosition at, std::optional<std::string_view> sheet) override {
        read.insert(CellRef{at.col, at.row, std::nullopt}.description());
        return WorkbookResolver::cellValue(at, sheet);
    }
    std::set<std::string> read;
};

// The cells a formula reads when evaluated.
std::set<std::string> cellsRead(TestBook& book, std::string_view formula) {
    RecordingResolver resolver(book.doc, 0);
    FormulaEvaluator evaluator(resolver);
    evaluator.evaluate(parseFormula(formula, builtinFunctions()));
    return resolver.read;
}

TEST(LogicalFunctions, If) {
    check({
        {"=IF(TRUE,1,2)", "1"},
        {"=IF(FALSE,1,2)", "2"},
        {"=IF(FALSE,1)", "FALSE"},
        {"=IF(TRUE,1,1/0)", "1"},
        {"=IF(FALSE,1/0,2)", "2"},
        {"=IF(1/0,1,2)", "#DIV/0!"},
        {"=IF(\"abc\",1,2)", "#VALUE!"},
        {"=IF(\"true\",1,2)", "1"},
        {"=IF(A2,1,2)", "2"},
        {"=IF(0,1,2)", "2"},
        {"=IF(-0.5,1,2)", "1"},
        {"=IF(A5,\"y\",\"n\")", "y"},
        {"=IF(A4>10,\"big\",\"small\")", "big"},
        {"=IF(TRUE)", "#VALUE!"},
        {"=IFS(FALSE,1,TRUE,2)", "2"},
        {"=IFS(1>2,\"a\",2>3,\"b\")", "#N/A"},
        {"=IFS(1/0,1,TRUE,2)", "#DIV/0!"},
        {"=IFS(TRUE,1,1/0,2)", "1"},
        {"=IFS(1,\"x\")", "x"},
        {"=IFS(TRUE,1,FALSE)", "#VALUE!"},
    });
}

TEST(LogicalFunctions, OnlyTheChosenArgumentIsEvaluated) {
    TestBook book = sampleBook();
    const struct {
        const char* formula;
        std::set<std::string> read;
    } cases[] = {
        {"=IF(TRUE,A1,A3)", {"A1"}},    {"=IF(FALSE,A1,A3)", {"A3"}},
        {"=IF(A5,A1)", {"A5", "A1"}},   {"=IFS(FALSE,A1,TRUE,A3,A4,A6)", {"A3"}},
        {"=IFERROR(5,A1)", {}},         {"=IFERROR(1/0,A1)", {"A1"}},
        {"=IFNA(1/0,A1)", {}},          {"=SWITCH(2,1,A1,2,A3,A4)", {"A3"}},
        {"=SWITCH(9,1,A1,A4)", {"A4"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(cellsRead(book, c.formula), c.read) << c.formula;
}

TEST(LogicalFunctions, AndOrXorNot) {
    // LibreOffice shows these booleans as 1 and 0; the truth values agree.
    check({
        {"=AND(TRUE,TRUE)", "TRUE"},
        {"=AND(TRUE,FALSE)", "FALSE"},
        {"=AND(1,2)", "TRUE"},
        {"=AND(1,0)", "FALSE"},
        {"=AND(A1:A3)", "#VALUE!"}, // texts only: no truth value at all
        {"=AND(A4:A5)", "TRUE"},
        {"=AND(A5,A8)", "FALSE"},
        {"=AND(B1:B4)", "TRUE"},
        {"=AND(A6,TRUE)", "TRUE"},
        {"=AND(A9:A10)", "FALSE"},
        {"=AND(FALSE,1/0)", "#DIV/0!"},
        {"=AND(\"abc\",TRUE)", "#VALUE!"},
        {"=AND(\"TRUE\",TRUE)", "TRUE"}, // LibreOffice refuses the text
        {"=OR(FALSE,FALSE)", "FALSE"},
        {"=OR(FALSE,TRUE)", "TRUE"},
        {"=OR(0,0,1)", "TRUE"},
        {"=OR(A1:A3)", "#VALUE!"},
        {"=OR(A8:A9)", "FALSE"},
        {"=OR(TRUE,1/0)", "#DIV/0!"},
        {"=XOR(TRUE,TRUE)", "FALSE"},
        {"=XOR(TRUE,FALSE)", "TRUE"},
        {"=XOR(TRUE,TRUE,TRUE)", "TRUE"},
        {"=XOR(1,0,0)", "TRUE"},
        {"=XOR(A5,A8,B1)", "FALSE"},
        {"=XOR(A1:A3)", "#VALUE!"},
        {"=NOT(TRUE)", "FALSE"},
        {"=NOT(0)", "TRUE"},
        {"=NOT(5)", "FALSE"},
        {"=NOT(\"abc\")", "#VALUE!"},
        {"=NOT(A2)", "TRUE"},
        {"=NOT(1/0)", "#DIV/0!"},
        {"=TRUE()", "TRUE"},
        {"=FALSE()", "FALSE"},
    });
}

TEST(LogicalFunctions, ErrorFallbacks) {
    check({
        {"=IFERROR(1/0,\"x\")", "x"},
        {"=IFERROR(5,\"x\")", "5"},
        {"=IFERROR(\"a\",\"x\")", "a"},
        {"=IFERROR(NA(),\"x\")", "x"},
        {"=IFERROR(A1+1,\"bad\")", "bad"},
        {"=IFERROR(1/0)", "#VALUE!"},
        {"=IFNA(NA(),\"x\")", "x"},
        {"=IFNA(1/0,\"x\")", "#DIV/0!"},
        {"=IFNA(3,\"x\")", "3"},
    });
}

TEST(LogicalFunctions, Switch) {
    check({
        {"=SWITCH(2,1,\"one\",2,\"two\")", "two"},
        {"=SWITCH(3,1,\"one\",2,\"two\")", "#N/A"},
        {"=SWITCH(3,1,\"one\",2,\"two\",\"other\")", "other"},
        {"=SWITCH(\"B\",\"a\",1,\"b\",2)", "2"},
        {"=SWITCH(A4,12,\"twelve\",\"x\")", "twelve"},
        {"=SWITCH(1/0,1,2)", "#DIV/0!"},
        {"=SWITCH(1,1/0,2,3)", "3"},
        {"=SWITCH(2,1,1/0,2,\"ok\")", "ok"},
        {"=SWITCH(A2,0,\"zero\")", "zero"},
        {"=SWITCH(1,2)", "#VALUE!"},
        // Booleans and numeric texts are not numbers here (LibreOffice: one, t, num).
        {"=SWITCH(TRUE,1,\"one\",TRUE,\"t\")", "t"},
        {"=SWITCH(1,TRUE,\"t\",\"f\")", "f"},
        {"=SWITCH(\"1\",1,\"num\",\"txt\")", "txt"},
    });
}

TEST(LetFunction, NamesAreVisibleInLaterValuesAndTheBody) {
    check({
        {"=LET(x,2,y,1+x,x*y)", "6"},
        {"=LET(x,\"a\",y,x&\"b\",x&y)", "aab"},
        {"=LET(x,1,LET(x,10,x)+x)", "11"},       // the inner x shadows, then ends
        {"=LET(x,5,y,LET(x,2,x*10),x+y)", "25"}, // the outer x is back after the inner LET
        {"=LET(x,2,x)&LET(y,3,y)", "23"},
        {"=LET(x,1/0,5)", "5"},
        {"=LET(x,1/0,x)", "#DIV/0!"},
        {"=LET(x,A1:A3,CONCAT(x))", "ab"}, // a range becomes its values
        {"=LET(r,B1:B3,TEXTJOIN(\"+\",TRUE,r))", "1+2+3"},
        {"=LET(n,A4,n*2)", "24"},
    });
}

TEST(LetFunction, MalformedLetIsAValueError) {
    check({
        {"=LET(x,2)", "#VALUE!"},
        {"=LET(1,2,3)", "#VALUE!"},
        {"=LET(x,2,y,3)", "#VALUE!"},
    });
}

// A bare name followed by a signed number needs the parser to read the sign as
// an operator; the tokenizer folds it into the number after a name.
TEST(LetFunction, NameFollowedByAnOperatorAndANumber) {
    check({
        {"=LET(x,2,y,x+1,x*y)", "6"},
        {"=LET(x,5,x-1)", "4"},
    });
}

} // namespace
} // namespace sumora
