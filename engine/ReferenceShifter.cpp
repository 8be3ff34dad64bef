#include "engine/ReferenceShifter.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "document/ColumnLetters.h"

namespace sumora {

namespace {

int64_t saturatingAdd(int64_t a, int64_t b) {
    int64_t sum;
    if (__builtin_add_overflow(a, b, &sum))
        return b > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
    return sum;
}

bool isAsciiLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// "$A$1" in ASCII: what a cell reference looks like when written. The
// tokenizer also takes letters of other scripts, which only a name can have.
bool looksLikeReference(std::string_view text) {
    size_t i = 0;
    if (i < text.size() && text[i] == '$') ++i;
    size_t letters = i;
    while (i < text.size() && isAsciiLetter(text[i]))
        ++i;
    if (i == letters) return false;
    if (i < text.size() && text[i] == '$') ++i;
    size_t digits = i;
    while (i < text.size() && isDigit(text[i]))
        ++i;
    return i > digits && i == text.size();
}

bool insideGrid(int64_t col, int64_t row) {
    return col >= 0 && col < kGridColumns && row >= 0 && row < kGridRows;
}

} // namespace

ParsedCellRef clampedShift(const ParsedCellRef& ref, int64_t rowDelta, int64_t colDelta) {
    ParsedCellRef moved = ref;
    if (!ref.absCol) moved.col = std::max<int64_t>(saturatingAdd(ref.col, colDelta), 0);
    // One below the largest, so that the one-based row still fits.
    if (!ref.absRow)
        moved.row =
            std::clamp<int64_t>(saturatingAdd(ref.row, rowDelta), 0, std::numeric_limits<int64_t>::max() - 1);
    return moved;
}

std::optional<ParsedCellRef> shiftWithinGrid(const ParsedCellRef& ref, int64_t rowDelta, int64_t colDelta) {
    ParsedCellRef moved = ref;
    if (!ref.absCol) moved.col = saturatingAdd(ref.col, colDelta);
    if (!ref.absRow) moved.row = saturatingAdd(ref.row, rowDelta);
    if (!insideGrid(moved.col, moved.row)) return std::nullopt;
    return moved;
}

void appendReference(std::string& out, const ParsedCellRef& ref) {
    if (ref.absCol) out += '$';
    appendColumnLetter(out, ref.col);
    if (ref.absRow) out += '$';
    char digits[24];
    auto [end, ec] = std::to_chars(digits, digits + sizeof digits, ref.row + 1);
    out.append(digits, end);
}

ReferenceShifter::ReferenceShifter(std::string formula) : text_(std::move(formula)) {
    const std::vector<Token> tokens = FormulaTokenizer(text_).tokenize();
    // A cell reference as written, within the grid and not a function's name.
    auto corner = [&](size_t i) -> std::optional<Corner> {
        if (i >= tokens.size()) return std::nullopt;
        const Token& t = tokens[i];
        if (t.kind != TokenKind::cellRef && t.kind != TokenKind::sheetCellRef) return std::nullopt;
        Corner c;
        c.prefix = c.begin = t.begin;
        c.end = t.end;
        if (t.kind == TokenKind::sheetCellRef) {
            size_t bang = text_.rfind('!', t.end - 1);
            if (bang == std::string::npos || bang < t.begin) return std::nullopt;
            c.begin = static_cast<uint32_t>(bang + 1);
        }
        if (!looksLikeReference(std::string_view(text_).substr(c.begin, c.end - c.begin)) ||
            !insideGrid(t.col, t.row))
            return std::nullopt;
        size_t next = text_.find_first_not_of(" \t\r\n", c.end);
        if (next != std::string::npos && text_[next] == '(') return std::nullopt;
        c.ref = ParsedCellRef{t.col, t.row, t.absCol, t.absRow};
        return c;
    };
    for (size_t i = 0; i < tokens.size(); ++i) {
        std::optional<Corner> first = corner(i);
        if (!first) continue;
        Piece piece{*first, std::nullopt};
        if (i + 2 < tokens.size() && tokens[i + 1].kind == TokenKind::colon) {
            piece.second = corner(i + 2);
            if (piece.second) i += 2;
        }
        pieces_.push_back(piece);
    }
}

std::string ReferenceShifter::shifted(int64_t rowDelta, int64_t colDelta) const {
    if (pieces_.empty() || (rowDelta == 0 && colDelta == 0)) return text_;
    std::string out;
    out.reserve(text_.size() + 8);
    size_t copied = 0;
    for (const Piece& p : pieces_) {
        out.append(text_, copied, p.first.prefix - copied);
        auto first = shiftWithinGrid(p.first.ref, rowDelta, colDelta);
        std::optional<ParsedCellRef> second;
        if (p.second) second = shiftWithinGrid(p.second->ref, rowDelta, colDelta);
        if (!first || (p.second && !second)) {
            out += "#REF!";
            copied = p.second ? p.second->end : p.first.end;
            continue;
        }
        out.append(text_, p.first.prefix, p.first.begin - p.first.prefix);
        appendReference(out, *first);
        copied = p.first.end;
        if (p.second) {
            out.append(text_, copied, p.second->begin - copied); // ":" and a second sheet prefix
            appendReference(out, *second);
            copied = p.second->end;
        }
    }
    out.append(text_, copied, std::string::npos);
    return out;
}

} // namespace sumora
