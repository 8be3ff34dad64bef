#pragma once
// Tokens to a formula tree by precedence climbing.
//
//   expression := primary (op expression)* percent?
//   primary    := number | string | bool
//               | ref (":" ref)?            — a range keeps the first corner's sheet
//               | name "(" args? ")"        — args := expression ("," expression)*
//               | ("+" | "-") primary
//               | "(" expression ")"
//               | name                      — only a workbook name or a LET variable
//
// Precedence, loosest first: comparisons, "&", "+ -", "* /", "^" (right
// associative). Unary signs bind tighter than every binary operator; one
// percent is taken after each operator chain. Tokens left over after the
// expression are ignored.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/FormulaTokenizer.h"
#include "engine/FormulaTree.h"
#include "engine/FormulaValue.h"

namespace sumora {

class FunctionRegistry;

// Thrown for every syntax failure; carries the FormulaError of the failure.
struct FormulaParseError {
    FormulaError error;
};

// Where a node was written: bytes [begin, end) of the formula text (without
// its "="). A parenthesised expression's span includes its parentheses.
struct TextSpan {
    uint32_t begin = 0, end = 0;
};

class FormulaParser {
  public:
    // isWorkbookName answers whether an upper-cased bare name is a workbook
    // named range; without it every bare name outside LET is an error.
    FormulaParser(std::vector<Token> tokens, const FunctionRegistry& registry,
                  std::function<bool(std::string_view)> isWorkbookName = {});

    // Parses one expression; throws FormulaParseError.
    FormulaTree parse();
    // Has parse() fill `spans` with one span per node, indexed like the nodes.
    void recordSpans(std::vector<TextSpan>* spans) { spans_ = spans; }

    static int precedence(std::string_view op);

  private:
    uint32_t parseExpression(int minPrecedence);
    uint32_t parsePrimary();
    uint32_t parseReference(const Token& first);
    uint32_t parseCall(std::string name, uint32_t begin);
    // Appends a node that starts at byte `begin` and ends with the last token read.
    uint32_t add(FormulaNode node, uint32_t begin);
    uint32_t beginOf(uint32_t node) const { return spans_ ? (*spans_)[node].begin : 0; }
    uint32_t addString(std::string s);
    const Token* peek() const { return pos_ < tokens_.size() ? &tokens_[pos_] : nullptr; }
    [[noreturn]] void fail(FormulaError e) const;
    bool isLetVariable(std::string_view upper) const;

    std::vector<Token> tokens_;
    size_t pos_ = 0;
    const FunctionRegistry* registry_;
    std::function<bool(std::string_view)> isWorkbookName_;
    std::vector<std::string> letScope_;
    struct NestingGuard;
    int nesting_ = 0;
    FormulaTree tree_;
    std::vector<TextSpan>* spans_ = nullptr;
};

// Strips one leading "=", tokenizes and parses against the caller's function
// table; throws FormulaParseError.
FormulaTree parseFormula(std::string_view formula, const FunctionRegistry& registry,
                         std::function<bool(std::string_view)> isWorkbookName = {});

} // namespace sumora
