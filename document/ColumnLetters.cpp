#include "document/ColumnLetters.h"

#include <algorithm>
#include <charconv>

namespace sumora {

void appendColumnLetter(std::string& out, int64_t n) {
    if (n < 0) return;
    char buf[16];
    int len = 0;
    while (true) {
        buf[len++] = static_cast<char>('A' + n % 26);
        int64_t old = n;
        n = n / 26 - 1;
        if (old <= 25) break;
    }
    std::reverse(buf, buf + len);
    out.append(buf, static_cast<size_t>(len));
}

std::string columnLetter(int64_t column) {
    std::string s;
    appendColumnLetter(s, column);
    return s;
}

std::optional<int64_t> columnIndex(std::string_view letters) {
    int64_t value = 0;
    for (unsigned char c : letters) {
        if (c >= 0x80) continue; // non-ASCII bytes (UTF-8 sequences) are skipped
        if (c >= 'a' && c <= 'z') c = static_cast<unsigned char>(c - 32);
        int64_t next;
        if (__builtin_mul_overflow(value, int64_t{26}, &next) ||
            __builtin_add_overflow(next, int64_t{c} - 64, &next))
            return std::nullopt;
        value = next;
    }
    return value - 1;
}

std::string cellAddress(CellPosition at) {
    std::string s;
    appendColumnLetter(s, at.col);
    s += std::to_string(at.row + 1);
    return s;
}

std::optional<CellPosition> parseCellAddress(std::string_view text) {
    size_t i = 0;
    if (i < text.size() && text[i] == '$') ++i;
    size_t lettersStart = i;
    while (i < text.size() && ((text[i] >= 'A' && text[i] <= 'Z') || (text[i] >= 'a' && text[i] <= 'z')))
        ++i;
    if (i == lettersStart) return std::nullopt;
    std::string_view letters = text.substr(lettersStart, i - lettersStart);
    if (i < text.size() && text[i] == '$') ++i;
    std::string_view digits = text.substr(i);
    if (digits.empty()) return std::nullopt;
    int64_t row = 0;
    auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), row);
    if (ec != std::errc() || ptr != digits.data() + digits.size() || row < 1) return std::nullopt;
    auto col = columnIndex(letters);
    if (!col) return std::nullopt;
    return CellPosition{*col, row - 1};
}

} // namespace sumora
