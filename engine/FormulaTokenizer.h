#pragma once
// Formula text (without its "=") to a flat token list. Forgiving by design:
// unknown characters vanish, unterminated strings end at the end of the text,
// malformed numbers become 0. Every complaint is left to the parser.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

enum class TokenKind : uint8_t {
    number,
    string,
    boolean,
    cellRef,
    sheetCellRef,
    functionName,
    op,
    lparen,
    rparen,
    comma,
    colon,
    percent,
};

struct Token {
    TokenKind kind = TokenKind::number;
    double number = 0;
    bool boolean = false;
    int64_t col = 0;
    int64_t row = 0;
    bool absCol = false;
    bool absRow = false;
    // A number whose sign was folded in from a "+" or "-" in operand position.
    bool signFolded = false;
    // Text of a string literal, the sheet of a sheetCellRef, the upper-cased
    // function name, or the operator text.
    std::string text;
    // Where the token was read: bytes [begin, end) of the formula text, a
    // sheet prefix included.
    uint32_t begin = 0;
    uint32_t end = 0;
};

// A1 text such as "$B$12" to a reference: letters of any script, a row of at
// least 1. Letters or digits that overflow are not a reference.
struct ParsedCellRef {
    int64_t col = 0;
    int64_t row = 0;
    bool absCol = false;
    bool absRow = false;
};
std::optional<ParsedCellRef> parseCellRef(std::string_view identifier);

class FormulaTokenizer {
public:
    explicit FormulaTokenizer(std::string_view formula) : text_(formula) {}
    // Never fails.
    std::vector<Token> tokenize();

private:
    char32_t current() const;
    char32_t peek(size_t ahead = 1) const;
    void advance();
    bool atEnd() const { return pos_ >= text_.size(); }

    void readToken(std::vector<Token>& out);
    void readString(std::vector<Token>& out);
    void readNumber(std::vector<Token>& out);
    std::string readIdentifier();

    std::string_view text_;
    size_t pos_ = 0;
};

// Unicode classes the tokenizer uses (ICU character properties).
bool isFormulaWhitespace(char32_t c);
bool isFormulaNumeric(char32_t c);
bool isFormulaLetter(char32_t c);

// Upper-cases a UTF-8 text (ASCII fast path, ICU full case mapping otherwise).
std::string toUpperText(std::string_view text);

} // namespace sumora
