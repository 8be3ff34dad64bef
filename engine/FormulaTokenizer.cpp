#include "engine/FormulaTokenizer.h"

#include <charconv>

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include "document/ColumnLetters.h"
#include "engine/FormulaValue.h"
#include "values/StrictNumber.h"

namespace sumora {

bool isFormulaWhitespace(char32_t c) {
    if (c < 0x80) return c == ' ' || (c >= 0x09 && c <= 0x0D);
    return u_isUWhiteSpace(static_cast<UChar32>(c));
}

bool isFormulaNumeric(char32_t c) {
    if (c < 0x80) return c >= '0' && c <= '9';
    int8_t t = u_charType(static_cast<UChar32>(c));
    return t == U_DECIMAL_DIGIT_NUMBER || t == U_LETTER_NUMBER || t == U_OTHER_NUMBER;
}

bool isFormulaLetter(char32_t c) {
    if (c < 0x80) return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    return u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_ALPHABETIC);
}

std::string toUpperText(std::string_view text) {
    bool ascii = true;
    for (unsigned char c : text)
        if (c >= 0x80) {
            ascii = false;
            break;
        }
    if (ascii) {
        std::string s(text);
        for (char& c : s)
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
        return s;
    }
    icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    u.toUpper(icu::Locale::getRoot());
    std::string out;
    u.toUTF8String(out);
    return out;
}

namespace {

// Decodes one code point at `pos`; invalid bytes decode as U+FFFD of length 1.
char32_t decodeAt(std::string_view s, size_t pos, size_t* length = nullptr) {
    if (pos >= s.size()) {
        if (length) *length = 0;
        return 0;
    }
    auto b = static_cast<unsigned char>(s[pos]);
    if (b < 0x80) {
        if (length) *length = 1;
        return b;
    }
    int32_t i = static_cast<int32_t>(pos);
    UChar32 c;
    U8_NEXT(reinterpret_cast<const uint8_t*>(s.data()), i, static_cast<int32_t>(s.size()), c);
    if (length) *length = static_cast<size_t>(i) - pos;
    return c < 0 ? 0xFFFD : static_cast<char32_t>(c);
}

} // namespace

std::optional<ParsedCellRef> parseCellRef(std::string_view text) {
    ParsedCellRef ref;
    size_t i = 0;
    if (i < text.size() && text[i] == '$') {
        ref.absCol = true;
        ++i;
    }
    size_t lettersStart = i;
    while (i < text.size()) {
        size_t len;
        char32_t c = decodeAt(text, i, &len);
        if (!isFormulaLetter(c)) break;
        i += len;
    }
    if (i == lettersStart) return std::nullopt;
    std::string_view letters = text.substr(lettersStart, i - lettersStart);
    if (i < text.size() && text[i] == '$') {
        ref.absRow = true;
        ++i;
    }
    std::string_view rest = text.substr(i);
    if (rest.empty()) return std::nullopt;
    size_t digitsStart = (rest[0] == '+' || rest[0] == '-') ? 1 : 0;
    if (digitsStart == rest.size()) return std::nullopt;
    for (size_t k = digitsStart; k < rest.size(); ++k)
        if (rest[k] < '0' || rest[k] > '9') return std::nullopt;
    int64_t number = 0;
    std::string_view digits = rest.substr(rest[0] == '+' ? 1 : 0);
    auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (ec != std::errc() || ptr != digits.data() + digits.size() || number < 1) return std::nullopt;
    std::optional<int64_t> col;
    bool ascii = true;
    for (unsigned char c : letters) ascii &= c < 0x80;
    col = columnIndex(ascii ? std::string(letters) : toUpperText(letters));
    if (!col) return std::nullopt;
    ref.col = *col;
    ref.row = number - 1;
    return ref;
}

char32_t FormulaTokenizer::current() const { return decodeAt(text_, pos_); }

char32_t FormulaTokenizer::peek(size_t ahead) const {
    size_t p = pos_;
    for (size_t k = 0; k < ahead && p < text_.size(); ++k) {
        size_t len;
        decodeAt(text_, p, &len);
        p += len;
    }
    return decodeAt(text_, p);
}

void FormulaTokenizer::advance() {
    if (atEnd()) return;
    size_t len;
    decodeAt(text_, pos_, &len);
    pos_ += len;
}

void FormulaTokenizer::readString(std::vector<Token>& out) {
    advance(); // opening quote
    std::string s;
    while (!atEnd()) {
        char c = text_[pos_];
        if (c == '"') {
            ++pos_;
            if (pos_ < text_.size() && text_[pos_] == '"') {
                s += '"';
                ++pos_;
                continue;
            }
            break;
        }
        s += c;
        ++pos_;
    }
    Token t;
    t.kind = TokenKind::string;
    t.text = std::move(s);
    out.push_back(std::move(t));
}

void FormulaTokenizer::readNumber(std::vector<Token>& out) {
    size_t start = pos_;
    bool signed_ = !atEnd() && (text_[pos_] == '-' || text_[pos_] == '+');
    if (signed_) ++pos_;
    while (!atEnd() && (isFormulaNumeric(current()) || text_[pos_] == '.')) advance();
    if (!atEnd() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
        ++pos_;
        if (!atEnd() && (text_[pos_] == '+' || text_[pos_] == '-')) ++pos_;
        while (!atEnd() && isFormulaNumeric(current())) advance();
    }
    Token t;
    t.kind = TokenKind::number;
    t.number = parseStrictNumber(text_.substr(start, pos_ - start)).value_or(0.0);
    t.signFolded = signed_;
    out.push_back(std::move(t));
}

std::string FormulaTokenizer::readIdentifier() {
    size_t start = pos_;
    while (!atEnd()) {
        char32_t c = current();
        if (isFormulaLetter(c) || isFormulaNumeric(c) || c == '$' || c == '_' || c == '.')
            advance();
        else
            break;
    }
    return std::string(text_.substr(start, pos_ - start));
}

namespace {
bool isBinaryPosition(const std::vector<Token>& tokens) {
    if (tokens.empty()) return false;
    switch (tokens.back().kind) {
    case TokenKind::number:
    case TokenKind::string:
    case TokenKind::boolean:
    case TokenKind::cellRef:
    case TokenKind::rparen:
    case TokenKind::percent: return true;
    default: return false;
    }
}
Token textToken(TokenKind k, std::string text) {
    Token t;
    t.kind = k;
    t.text = std::move(text);
    return t;
}
Token opToken(std::string text) {
    return textToken(TokenKind::op, std::move(text));
}
// A cellRef, or a sheetCellRef with its sheet's name.
Token refToken(TokenKind k, const ParsedCellRef& ref, std::string sheet = {}) {
    Token t = textToken(k, std::move(sheet));
    t.col = ref.col;
    t.row = ref.row;
    t.absCol = ref.absCol;
    t.absRow = ref.absRow;
    return t;
}
Token simple(TokenKind k) {
    Token t;
    t.kind = k;
    return t;
}
} // namespace

std::vector<Token> FormulaTokenizer::tokenize() {
    std::vector<Token> tokens;
    tokens.reserve(8);
    while (!atEnd()) {
        if (isFormulaWhitespace(current())) {
            advance();
            continue;
        }
        const size_t first = tokens.size();
        const auto begin = static_cast<uint32_t>(pos_);
        readToken(tokens);
        for (size_t i = first; i < tokens.size(); ++i) {
            tokens[i].begin = begin;
            tokens[i].end = static_cast<uint32_t>(pos_);
        }
    }
    return tokens;
}

// One token (or, for an unreadable character, none) from the current position.
void FormulaTokenizer::readToken(std::vector<Token>& out) {
    char32_t c = current();
    if (c == '"') {
        readString(out);
        return;
    }
    if (isFormulaNumeric(c) || (c == '.' && isFormulaNumeric(peek()))) {
        readNumber(out);
        return;
    }
    switch (c) {
    case '+':
    case '-': {
        if (isBinaryPosition(out)) {
            out.push_back(opToken(std::string(1, static_cast<char>(c))));
            advance();
        } else {
            char32_t next = peek();
            if (isFormulaNumeric(next) || next == '.') {
                readNumber(out);
            } else {
                out.push_back(opToken(std::string(1, static_cast<char>(c))));
                advance();
            }
        }
        return;
    }
    case '*':
    case '/':
    case '^':
    case '&':
        out.push_back(opToken(std::string(1, static_cast<char>(c))));
        advance();
        return;
    case '<':
        advance();
        if (!atEnd() && text_[pos_] == '=') {
            advance();
            out.push_back(opToken("<="));
        } else if (!atEnd() && text_[pos_] == '>') {
            advance();
            out.push_back(opToken("<>"));
        } else {
            out.push_back(opToken("<"));
        }
        return;
    case '>':
        advance();
        if (!atEnd() && text_[pos_] == '=') {
            advance();
            out.push_back(opToken(">="));
        } else {
            out.push_back(opToken(">"));
        }
        return;
    case '=':
        advance();
        out.push_back(opToken("="));
        return;
    case '(': advance(); out.push_back(simple(TokenKind::lparen)); return;
    case ')': advance(); out.push_back(simple(TokenKind::rparen)); return;
    case ',': advance(); out.push_back(simple(TokenKind::comma)); return;
    case ':': advance(); out.push_back(simple(TokenKind::colon)); return;
    case '%': advance(); out.push_back(simple(TokenKind::percent)); return;
    case '\'': {
        advance();
        size_t start = pos_;
        while (!atEnd() && text_[pos_] != '\'') ++pos_;
        std::string sheet(text_.substr(start, pos_ - start));
        if (!atEnd()) ++pos_; // closing quote
        if (!atEnd() && text_[pos_] == '!') {
            ++pos_;
            std::string ident = readIdentifier();
            if (auto ref = parseCellRef(ident))
                out.push_back(refToken(TokenKind::sheetCellRef, *ref, std::move(sheet)));
        }
        return;
    }
    default: break;
    }
    if (isFormulaLetter(c) || c == '$' || c == '_') {
        std::string ident = readIdentifier();
        std::string upper = toUpperText(ident);
        if (upper == "TRUE" || upper == "FALSE") {
            Token t;
            t.kind = TokenKind::boolean;
            t.boolean = upper == "TRUE";
            out.push_back(std::move(t));
            return;
        }
        if (!atEnd() && text_[pos_] == '!') {
            ++pos_;
            std::string second = readIdentifier();
            if (auto ref = parseCellRef(second))
                out.push_back(refToken(TokenKind::sheetCellRef, *ref, std::move(ident)));
            else
                out.push_back(textToken(TokenKind::functionName, std::move(upper)));
            return;
        }
        // A name before "(" calls a function even where it reads as a cell.
        const bool call = !atEnd() && text_[pos_] == '(';
        auto ref = call ? std::nullopt : parseCellRef(ident);
        out.push_back(ref ? refToken(TokenKind::cellRef, *ref)
                          : textToken(TokenKind::functionName, std::move(upper)));
        return;
    }
    advance(); // anything else vanishes
}

} // namespace sumora
