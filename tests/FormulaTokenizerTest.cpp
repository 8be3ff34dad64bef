// Formula text to tokens. Each token list is rendered as one line of text so
// that a case is one table row: "num:-2 op:^ num:2".
#include "engine/FormulaTokenizer.h"

#include <gtest/gtest.h>

#include "engine/FormulaValue.h"

namespace sumora {
namespace {

std::string render(const std::vector<Token>& tokens) {
    std::string out;
    for (const Token& t : tokens) {
        if (!out.empty()) out += ' ';
        auto ref = [&] {
            std::string s = std::to_string(t.col) + "," + std::to_string(t.row);
            if (t.absCol || t.absRow) s += std::string(t.absCol ? "$" : "-") + (t.absRow ? "$" : "-");
            return s;
        };
        switch (t.kind) {
        case TokenKind::number:
            out += "num:" + numberDescription(t.number);
            break;
        case TokenKind::string:
            out += "str:" + t.text;
            break;
        case TokenKind::boolean:
            out += t.boolean ? "bool:TRUE" : "bool:FALSE";
            break;
        case TokenKind::cellRef:
            out += "ref:" + ref();
            break;
        case TokenKind::sheetCellRef:
            out += "sref:" + t.text + "!" + ref();
            break;
        case TokenKind::functionName:
            out += "fn:" + t.text;
            break;
        case TokenKind::op:
            out += "op:" + t.text;
            break;
        case TokenKind::lparen:
            out += "(";
            break;
        case TokenKind::rparen:
            out += ")";
            break;
        case TokenKind::comma:
            out += ",";
            break;
        case TokenKind::colon:
            out += ":";
            break;
        case TokenKind::percent:
            out += "%";
            break;
        }
    }
    return out;
}

std::string tokens(std::string_view formula) {
    return render(FormulaTokenizer(formula).tokenize());
}

struct Case {
    const char* formula;
    const char* tokens;
};

void check(std::initializer_list<Case> cases) {
    for (const auto& c : cases)
        EXPECT_EQ(tokens(c.formula), c.tokens) << "formula: " << c.formula;
}

TEST(FormulaTokenizer, SignsFoldIntoNumbersOnlyInOperandPosition) {
    check({
        {"-2^2", "num:-2 op:^ num:2"},
        {"3-2", "num:3 op:- num:2"},
        {"3 -2", "num:3 op:- num:2"},
        {"(-A1)", "( op:- ref:0,0 )"},
        {"--1", "op:- num:-1"},
        {"+5", "num:5"},
        {"1+-2", "num:1 op:+ num:-2"},
        {"1--2", "num:1 op:- num:-2"},
        {"2*-A1", "num:2 op:* op:- ref:0,0"},
        {"A1+-.5", "ref:0,0 op:+ num:-0.5"},
        {"1,-1", "num:1 , num:-1"},
        {"A1:-1", "ref:0,0 : num:-1"},
        {"A1-1", "ref:0,0 op:- num:1"},
        {"\"x\"-1", "str:x op:- num:1"},
        {"TRUE-1", "bool:TRUE op:- num:1"},
        {"5%-1", "num:5 % op:- num:1"},
        {"F(1)-1", "fn:F ( num:1 ) op:- num:1"},
        {"FOO -1", "fn:FOO num:-1"},  // after any name the sign is unary …
        {"Rate-1", "fn:RATE num:-1"}, // … (the parser undoes this after a bare name)
        {"FOO(-1)", "fn:FOO ( num:-1 )"},
        {"-", "op:-"},
        {"-.", "num:0"},
    });
}

TEST(FormulaTokenizer, AfterASheetReferenceADigitMakesTheSignPartOfANumber) {
    check({
        {"Sheet2!A1-1", "sref:Sheet2!0,0 num:-1"},
        {"Sheet2!A1 -1", "sref:Sheet2!0,0 num:-1"},
        {"Sheet2!A1 - 1", "sref:Sheet2!0,0 op:- num:1"},
        {"Sheet2!A1-(1)", "sref:Sheet2!0,0 op:- ( num:1 )"},
        {"Sheet2!A1+B1", "sref:Sheet2!0,0 op:+ ref:1,0"},
    });
}

TEST(FormulaTokenizer, ReferencesNamesAndBooleans) {
    check({
        {"A1%", "ref:0,0 %"},
        {"sum(a1:b2)", "fn:SUM ( ref:0,0 : ref:1,1 )"},
        {"$A$1", "ref:0,0$$"},
        {"A$1:$B2", "ref:0,0-$ : ref:1,1$-"},
        {"XFD1048576", "ref:16383,1048575"},
        {"true", "bool:TRUE"},
        {"False", "bool:FALSE"},
        {"TRUE(", "bool:TRUE ("},
        {"TrueValue", "fn:TRUEVALUE"},
        {"STDEV.S(1)", "fn:STDEV.S ( num:1 )"},
        {"_xlfn.X", "fn:_XLFN.X"},
        {"Rate", "fn:RATE"},
        {"A0", "fn:A0"},
        {"A1(", "fn:A1 ("}, // a "(" straight after makes any identifier a call
        {"SUM (1)", "fn:SUM ( num:1 )"},
        {"Sheet2!foo", "fn:SHEET2"}, // the second identifier is lost
        {"Data!b$7", "sref:Data!1,6-$"},
    });
}

TEST(FormulaTokenizer, QuotedSheetNames) {
    check({
        {"'My Sheet'!$B$2", "sref:My Sheet!1,1$$"},
        {"'my sheet'!A1", "sref:my sheet!0,0"},
        {"'Sheet 2'A1", "ref:0,0"},   // no "!": the quoted name vanishes
        {"'Sheet 2'!foo+1", "num:1"}, // not a reference: name and identifier vanish
        {"'unterminated", ""},
        {"'It''s'!A1", "sref:s!0,0"}, // no escape: "''" ends one name and opens the next
        {"''!A1", "sref:!0,0"},
    });
}

TEST(FormulaTokenizer, Operators) {
    check({
        {"<>", "op:<>"},
        {"< >", "op:< op:>"},
        {"<=", "op:<="},
        {">=", "op:>="},
        {"><", "op:> op:<"},
        {"=<", "op:= op:<"},
        {"1&2", "num:1 op:& num:2"},
        {"1*2/3^4", "num:1 op:* num:2 op:/ num:3 op:^ num:4"},
        {"(),:%", "( ) , : %"},
    });
}

TEST(FormulaTokenizer, StringsEndAtTheQuoteOrTheText) {
    check({
        {"\"abc\"", "str:abc"},
        {"\"a\"\"b\"", "str:a\"b"},
        {"\"abc", "str:abc"},
        {"\"\"", "str:"},
        {"\"a\"\"", "str:a\""},
        {"\"x,y\"&1", "str:x,y op:& num:1"},
        {"\"\xC3\xA9t\xC3\xA9\"", "str:\xC3\xA9t\xC3\xA9"},
    });
}

TEST(FormulaTokenizer, MalformedNumbersBecomeZero) {
    check({
        {"1.2.3", "num:0"},
        {"1e", "num:0"},
        {"1e+", "num:0"},
        {"1e3", "num:1000"},
        {"1E-2", "num:0.01"},
        {"2.5e+1", "num:25"},
        {".5", "num:0.5"},
        {".", ""},
        {"5.", "num:5"},
        {"1e3e4", "num:1000 ref:4,3"},
        {"2EUR", "num:0 fn:UR"},
    });
}

TEST(FormulaTokenizer, UnknownCharactersVanish) {
    check({
        {"1;2", "num:1 num:2"},
        {"#@[{}~`?!\\|", ""},
        {"A1@", "ref:0,0"},
        {"{1;2}", "num:1 num:2"},
    });
}

TEST(FormulaTokenizer, UnicodeLettersDigitsAndWhitespace) {
    check({
        {"r\xC3\xA9sum\xC3\xA9", "fn:R\xC3\x89SUM\xC3\x89"},
        {"stra\u00dfe(1)", "fn:STRASSE ( num:1 )"}, // full case mapping
        {"1\u00a02", "num:1 num:2"},                // no-break space
        {"1\u20032", "num:1 num:2"},                // em space
        {"\u3000A1", "ref:0,0"},                    // ideographic space
        {"\xD9\xA3", "num:0"},                      // an Arabic-Indic digit is numeric but not a literal
        {"A\xD9\xA3", "fn:A\xD9\xA3"},              // a digit of another script is no row number
        {"\xCE\xB1\xCE\xB2(1)", "fn:\xCE\x91\xCE\x92 ( num:1 )"},
        {"\xFF\x31", "num:1"}, // an invalid byte vanishes
    });
}

TEST(FormulaTokenizer, LongInputStaysLinear) {
    std::string formula;
    for (int i = 0; i < 20000; ++i)
        formula += "A1+";
    formula += "1";
    auto list = FormulaTokenizer(formula).tokenize();
    EXPECT_EQ(list.size(), 40001u);
}

} // namespace
} // namespace sumora
