#include "engine/FormulaShapes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/DependencyGraph.h"
#include "engine/FormulaParser.h"
#include "engine/FunctionDeclaration.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {
namespace {

bool isWorkbookName(std::string_view upper) {
    return upper == "TAX";
}

// Every field the evaluator reads, node by node.
std::string describe(const FormulaTree& tree) {
    std::string out = "root " + std::to_string(tree.root);
    for (const FormulaNode& n : tree.nodes) {
        out += " | " + std::to_string(static_cast<int>(n.kind)) + "/" + std::to_string(n.op) + "/" +
               std::to_string(static_cast<int>(n.literal)) + " s" + std::to_string(n.sheet) + " f" +
               std::to_string(n.first) + " n" + std::to_string(n.next) + " ";
        switch (n.kind) {
        case NodeKind::cellRef:
        case NodeKind::range:
            out += std::to_string(n.ref.col) + "," + std::to_string(n.ref.row) + ":" +
                   std::to_string(n.ref.col2) + "," + std::to_string(n.ref.row2);
            break;
        case NodeKind::functionCall:
            out += std::string(tree.functionName(n)) + "#" + std::to_string(n.call.argCount) +
                   (n.call.function ? "" : "?");
            break;
        case NodeKind::name:
            out += tree.string(n.stringIndex);
            break;
        case NodeKind::literal:
            out += n.literal == LiteralKind::text ? std::string(tree.string(n.stringIndex))
                                                  : std::to_string(n.number);
            break;
        default:
            break;
        }
    }
    return out;
}

std::string parsedAlone(std::string_view formula) {
    try {
        return describe(parseFormula(formula, builtinFunctions(), isWorkbookName));
    } catch (const FormulaParseError&) {
        return "(fails)";
    }
}

std::string parsedByShape(FormulaShapes& shapes, std::string_view formula) {
    try {
        return describe(shapes.parse(formula));
    } catch (const FormulaParseError&) {
        return "(fails)";
    }
}

struct ShapeCase {
    std::vector<std::string> formulas; // parsed in this order by one FormulaShapes
    size_t shared;                     // how many of them are copies of an earlier tree
};

// Each formula must give exactly the tree the parser gives it alone.
TEST(FormulaShapes, CopiesGiveTheParsersTree) {
    const std::vector<ShapeCase> cases = {
        {{"A5*2+1", "A6*2+1", "A100000*2+1"}, 2},
        {{"B7+C6", "B8+C7", "b9+c8"}, 1}, // letter case is part of the shape
        {{"SUM(B1:B100)", "SUM(B2:B101)", "SUM(B9:B1)"}, 2},
        {{"$A$1+A2", "$A$1+A3", "A$1+$A4"}, 1},
        {{"=A1-1", "=A2-1"}, 1},
        {{"IF(A1>0,A1,-A1)%", "IF(A2>0,A2,-A2)%", "IF(A3>0,A2,-A3)%"}, 2},
        {{"LOG10(A1)", "LOG10(A2)", "LOG11(A2)"}, 1},      // a name before "(" is a call, not a cell
        {{"A1+TAX", "A2+TAX", "A3+RATE", "A4+RATE"}, 1},   // an unknown bare name fails every time
        {{"1E5+A1", "1E6+A1", "2A1+A1", "2A2+A1"}, 0},     // number digits stay in the shape
        {{"A0+A1", "A0+A2", "AAAA1+TAX", "AAAA2+TAX"}, 0}, // not references: row 0, four letters
        {{"A1 A2", "A3 A4"}, 0},                           // leftover tokens: never shared
        {{"LET(x1,A1,x1*2)", "LET(x2,A2,x2*2)"}, 1},       // a LET variable that reads as a cell
        {{"Sheet2!A1+1", "Sheet2!A2+1", "\"A1\"&A1", "\"A1\"&A2"}, 0},
        {{"A1+", "A2+", "SUM(A1", "SUM(A2"}, 0}, // failures fail alike
        {{"A1 + 2.5 * B1 ^ 2 & \"\"", "A2 + 2.5 * B2 ^ 2 & \"\""}, 0},
        {{"A1 + 2.5 * B1 ^ 2", "A2 + 2.5 * B2 ^ 2", "A3+2.5*B3^2"}, 1},
        {{"A1048576+XFD1", "A1048577+XFD1", "A999999999+XFD1"}, 2},
        // near misses of a shape met just before: other digits, other rows
        {{"A1*2+1", "A10*2+1", "A1*2+10", "A0*2+1", "A1234567890*2+1", "A1B*2+1", "A01*2+1", "A1*2+",
          "A1*2+1+", "A1*2+1(", "A7*2+1"},
         3},
        // runs far longer than a reference are names, not overflowing cells
        {{"0%BBBBBBBBBBBBBBBBBBBBBBBBBBBB*A2", "0%BBBBBBBBBBBBBBBBBBBBBBBBBBBB*A3",
          "A99999999999999999999+A1"},
         0},
    };
    for (const ShapeCase& c : cases) {
        FormulaShapes shapes(builtinFunctions(), isWorkbookName);
        for (const std::string& f : c.formulas)
            EXPECT_EQ(parsedByShape(shapes, f), parsedAlone(f)) << f;
        EXPECT_EQ(shapes.sharedCount(), c.shared) << c.formulas.front();
    }
}

// A shape that names nothing gives, from its rows alone, the rectangles the
// dependency graph collects from the formula's own tree.
TEST(FormulaShapes, ReadsOfAShapeAreTheTreesReferences) {
    const std::vector<std::pair<std::string, bool>> cases = {
        {"SUM(B1:B100)+C7*C7", true}, {"$A$1+SUM(A2:$B9)", true}, {"SUM(B9:B1)", true}, {"A1+TAX", false},
        {"LET(x,A1,x*2)", false},     {"LET(x1,A1,x1*2)", true},  {"1+2", true},
    };
    for (const auto& [formula, onlyReferences] : cases) {
        FormulaShapes shapes(builtinFunctions(), isWorkbookName);
        std::vector<int32_t> rows;
        FormulaTree alone;
        const uint32_t shape = shapes.read(formula, rows, alone);
        ASSERT_NE(shape, FormulaShapes::kAlone) << formula;
        ASSERT_EQ(shapes.readsOnlyReferences(shape), onlyReferences) << formula;
        if (!onlyReferences) continue;
        std::vector<CellRect> fromShape, fromTree;
        shapes.appendReads(shape, rows.data(), fromShape);
        DependencyGraph::collectRefs(parseFormula(formula, builtinFunctions(), isWorkbookName), {}, fromTree);
        EXPECT_EQ(fromShape, fromTree) << formula;
    }
}

} // namespace
} // namespace sumora
