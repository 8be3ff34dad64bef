// Tokens to trees. Trees are rendered as prefix expressions — "(+ 1 (* 2 3))",
// "(u- A1)", "(% 50)", "(SUM A1:B2 3)" — so that precedence and leftovers
// read directly off each table row.
#include "engine/FormulaParser.h"

#include <gtest/gtest.h>

#include "engine/CellRef.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

std::string render(const FormulaTree& tree, uint32_t index) {
    const FormulaNode& n = tree.node(index);
    auto refText = [&](int64_t col, int64_t row) { return CellRef{col, row, std::nullopt}.description(); };
    auto sheetPrefix = [&] {
        const std::string* sheet = tree.sheetOf(n);
        return sheet ? *sheet + "!" : std::string();
    };
    switch (n.kind) {
    case NodeKind::literal:
        switch (n.literal) {
        case LiteralKind::number:
            return numberDescription(n.number);
        case LiteralKind::text:
            return "\"" + std::string(tree.string(n.stringIndex)) + "\"";
        case LiteralKind::boolean:
            return n.boolean ? "TRUE" : "FALSE";
        }
        break;
    case NodeKind::cellRef:
        return sheetPrefix() + refText(n.ref.col, n.ref.row);
    case NodeKind::range:
        return sheetPrefix() + refText(n.ref.col, n.ref.row) + ":" + refText(n.ref.col2, n.ref.row2);
    case NodeKind::unaryOp:
        return std::string("(u") + static_cast<char>(n.op) + " " + render(tree, n.first) + ")";
    case NodeKind::binaryOp:
        return "(" + std::string(binaryOpText(static_cast<BinaryOp>(n.op))) + " " + render(tree, n.first) +
               " " + render(tree, tree.node(n.first).next) + ")";
    case NodeKind::percent:
        return "(% " + render(tree, n.first) + ")";
    case NodeKind::functionCall: {
        std::string s = "(" + std::string(tree.functionName(n));
        std::vector<uint32_t> args;
        tree.arguments(n, args);
        for (uint32_t a : args)
            s += " " + render(tree, a);
        return s + ")";
    }
    case NodeKind::name:
        return "name:" + std::string(tree.string(n.stringIndex));
    }
    return "?";
}

std::string parsed(std::string_view formula, std::function<bool(std::string_view)> isName = {}) {
    try {
        FormulaTree tree = parseFormula(formula, builtinFunctions(), std::move(isName));
        return render(tree, tree.root);
    } catch (const FormulaParseError& e) {
        return e.error.description();
    }
}

struct Case {
    const char* formula;
    const char* tree;
};

void check(std::initializer_list<Case> cases) {
    for (const auto& c : cases)
        EXPECT_EQ(parsed(c.formula), c.tree) << "formula: " << c.formula;
}

TEST(FormulaParser, PrecedenceAndAssociativity) {
    check({
        {"1+2*3", "(+ 1 (* 2 3))"},
        {"(1+2)*3", "(* (+ 1 2) 3)"},
        {"2^3^2", "(^ 2 (^ 3 2))"},
        {"1-2-3", "(- (- 1 2) 3)"},
        {"8/4/2", "(/ (/ 8 4) 2)"},
        {"2*3^2", "(* 2 (^ 3 2))"},
        {"-2^2", "(^ -2 2)"},
        {"-A1^2", "(^ (u- A1) 2)"},
        {"-(2)^2", "(^ (u- 2) 2)"},
        {"1+1=2", "(= (+ 1 1) 2)"},
        {"1<2<3", "(< (< 1 2) 3)"},
        {"1&2=12", "(= (& 1 2) 12)"},
        {"\"a\"&1+2", "(& \"a\" (+ 1 2))"},
        {"1<>2", "(<> 1 2)"},
        {"1>=2&3", "(>= 1 (& 2 3))"},
        {"--1", "(u- -1)"},
        {"+A1", "(u+ A1)"},
        {"-+-A1", "(u- (u+ (u- A1)))"},
    });
}

TEST(FormulaParser, PercentTakesAWholeOperatorChainOfOneLevel) {
    check({
        {"50%", "(% 50)"},
        {"2+50%", "(+ 2 (% 50))"},
        {"A1*B1%", "(* A1 (% B1))"},
        {"(1+2)%", "(% (+ 1 2))"},
        {"1+2%*3", "(* (+ 1 (% 2)) 3)"},
        {"10%*2", "(% 10)"},
        {"50%%", "(% 50)"},
        {"-5%", "(% -5)"},
    });
}

TEST(FormulaParser, TokensLeftOverAreIgnored) {
    check({
        {"1+2)", "(+ 1 2)"},
        {"1 2", "1"},
        {"A1:B2:C3", "A1:B2"},
        {"SUM(1))+5", "(SUM 1)"},
        {"1,2", "1"},
    });
}

TEST(FormulaParser, ReferencesAndRanges) {
    check({
        {"$A$1", "A1"},
        {"A1:B3", "A1:B3"},
        {"C3:A1", "C3:A1"}, // not normalised
        {"Sheet2!A1", "Sheet2!A1"},
        {"'My Sheet'!B2", "My Sheet!B2"},
        {"Sheet2!A1:B3", "Sheet2!A1:B3"},
        {"Sheet2!A1:Sheet9!B3", "Sheet2!A1:B3"}, // the end's sheet is dropped
        {"A1:Sheet2!B3", "A1:B3"},
        {"=1+2", "(+ 1 2)"}, // one leading "=" is removed
    });
}

TEST(FormulaParser, Calls) {
    check({
        {"PI()", "(PI)"},
        {"SUM(A1:B2, 3)", "(SUM A1:B2 3)"},
        {"sum(1,2,3)", "(SUM 1 2 3)"},
        {"IF(A1>0,A1,-A1)", "(IF (> A1 0) A1 (u- A1))"},
        {"F(G(1),H())", "(F (G 1) (H))"},
        {"F((1),2)", "(F 1 2)"},
        {"F(1+2,3)*2", "(* (F (+ 1 2) 3) 2)"},
    });
}

TEST(FormulaParser, LiteralsKeepTheirKind) {
    check({
        {"\"a\"\"b\"", "\"a\"b\""},
        {"TRUE", "TRUE"},
        {"false", "FALSE"},
        {"TRUE()", "TRUE"},
        {"1e3", "1000"},
    });
}

TEST(FormulaParser, SyntaxErrors) {
    check({
        {"", "#ERROR: Unexpected end of formula"},
        {"=", "#ERROR: Unexpected end of formula"},
        {"1+", "#ERROR: Unexpected end of formula"},
        {"(", "#ERROR: Unexpected end of formula"},
        {"-", "#ERROR: Unexpected end of formula"},
        {"SUM(", "#ERROR: Unexpected end of formula"},
        {"(1+2", "#ERROR: Unexpected token"},
        {"*2", "#ERROR: Unexpected token in formula"},
        {"==1", "#ERROR: Unexpected token in formula"},
        {"<5", "#ERROR: Unexpected token in formula"},
        {"1+*2", "#ERROR: Unexpected token in formula"},
        {"SUM(1,,2)", "#ERROR: Unexpected token"},
        {"SUM(1,)", "#ERROR: Unexpected token"},
        {"SUM(,1)", "#ERROR: Unexpected token"},
        {"SUM(1", "#ERROR: Unexpected token"},
        {"SUM(1 2)", "#ERROR: Unexpected token"},
        {"FOO", "#ERROR: Unexpected token"},
        {"FOO+1", "#ERROR: Unexpected token"},
        {")", "#ERROR: Unexpected token"},
        {",", "#ERROR: Unexpected token"},
        {":", "#ERROR: Unexpected token"},
        {"%", "#ERROR: Unexpected token"},
        {"A1:", "#REF!"},
        {"A1:5", "#REF!"},
        {"A1:foo", "#REF!"},
        {"Sheet2!A1:", "#REF!"},
    });
}

TEST(FormulaParser, BareNamesNeedAWorkbookName) {
    auto isRate = [](std::string_view n) { return n == "RATE"; };
    EXPECT_EQ(parsed("Rate*2", isRate), "(* name:RATE 2)");
    // The tokenizer folds the sign after any name into the number; after a
    // bare name it is an operator all the same.
    EXPECT_EQ(parsed("Rate-1", isRate), "(- name:RATE 1)");
    EXPECT_EQ(parsed("Rate +2*3", isRate), "(+ name:RATE (* 2 3))");
    EXPECT_EQ(parsed("-Rate", isRate), "(u- name:RATE)");
    EXPECT_EQ(parsed("Other*2", isRate), "#ERROR: Unexpected token");
}

TEST(FormulaParser, CallsResolveTheirFunctionOnce) {
    FormulaTree tree = parseFormula("NOSUCHFUNCTION(1)", builtinFunctions());
    EXPECT_EQ(tree.node(tree.root).kind, NodeKind::functionCall);
    EXPECT_EQ(tree.node(tree.root).call.function, nullptr);
    EXPECT_EQ(tree.node(tree.root).call.argCount, 1u);
}

TEST(FormulaParser, PrecedenceTable) {
    const struct {
        const char* op;
        int precedence;
    } cases[] = {{"=", 1}, {"<>", 1}, {"<", 1}, {">", 1}, {"<=", 1}, {">=", 1}, {"&", 2},
                 {"+", 3}, {"-", 3},  {"*", 4}, {"/", 4}, {"^", 5},  {"%", 0},  {"!", 0}};
    for (const auto& c : cases)
        EXPECT_EQ(FormulaParser::precedence(c.op), c.precedence) << c.op;
}

TEST(FormulaParser, DeepNestingFailsWithoutExhaustingTheStack) {
    std::string deep(200000, '(');
    deep += "1";
    EXPECT_EQ(parsed(deep).rfind("#ERROR: ", 0), 0u);
    std::string signs(200000, '-');
    signs += "1";
    EXPECT_EQ(parsed(signs).rfind("#ERROR: ", 0), 0u);
    // Nesting that real formulas reach parses.
    std::string fine = std::string(1000, '(') + "1" + std::string(1000, ')');
    EXPECT_EQ(parsed(fine), "1");
}

} // namespace
} // namespace sumora
