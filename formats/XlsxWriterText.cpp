#include "formats/XlsxWriterText.h"

#include <algorithm>
#include <cmath>

#include "document/ColumnLetters.h"
#include "document/HexColor.h"
#include "engine/FormulaValue.h"
#include "formats/XmlWriter.h"
#include "values/StrictNumber.h"

namespace sumora::xlsx {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
bool isAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// "_x0041_" at `i`: a sequence a reader would decode.
bool isOoxmlEscapeAt(std::string_view text, size_t i) {
    if (i + 7 > text.size() || text[i] != '_' || text[i + 1] != 'x' || text[i + 6] != '_') return false;
    for (size_t k = 2; k < 6; ++k)
        if (!isHexDigit(text[i + k])) return false;
    return true;
}

// Control characters other than tab, line feed and carriage return, which XML
// 1.0 cannot hold at all.
bool isForbiddenControl(unsigned char c) {
    return c < 0x20 && c != '\t' && c != '\n' && c != '\r';
}

// Letters then digits ("AB12") or R1C1-like text would read as a reference.
bool looksLikeReference(std::string_view name) {
    size_t i = 0;
    while (i < name.size() && isAsciiLetter(name[i]))
        ++i;
    if (i > 0 && i <= 3 && i < name.size() && std::all_of(name.begin() + i, name.end(), isDigit)) return true;
    char first = name.empty() ? 0 : static_cast<char>(name[0] & ~0x20);
    if (first == 'R' || first == 'C') {
        // R, C, R1, C1, R1C1, RC2 …
        return std::all_of(name.begin() + 1, name.end(),
                           [](char c) { return isDigit(c) || c == 'R' || c == 'r' || c == 'C' || c == 'c'; });
    }
    return false;
}

} // namespace

void appendAttribute(std::string& out, std::string_view name, std::string_view value) {
    out += ' ';
    out += name;
    out += "=\"";
    appendXmlEscaped(out, value, XmlContext::attribute);
    out += '"';
}

void appendXmlDouble(std::string& out, double value) {
    if (!std::isfinite(value)) value = 0;
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, end);
}

std::string xmlDouble(double value) {
    std::string out;
    appendXmlDouble(out, value);
    return out;
}

void appendCellRef(std::string& out, CellPosition at) {
    appendColumnLetter(out, at.col);
    appendInt(out, at.row + 1);
}

void appendAbsoluteRef(std::string& out, CellPosition at) {
    out += '$';
    appendColumnLetter(out, at.col);
    out += '$';
    appendInt(out, at.row + 1);
}

std::string rangeRef(int64_t startCol, int64_t startRow, int64_t endCol, int64_t endRow) {
    std::string out;
    appendCellRef(out, {std::min(startCol, endCol), std::min(startRow, endRow)});
    if (startCol != endCol || startRow != endRow) {
        out += ':';
        appendCellRef(out, {std::max(startCol, endCol), std::max(startRow, endRow)});
    }
    return out;
}

std::string absoluteRangeRef(int64_t startCol, int64_t startRow, int64_t endCol, int64_t endRow) {
    std::string out;
    appendAbsoluteRef(out, {std::min(startCol, endCol), std::min(startRow, endRow)});
    if (startCol != endCol || startRow != endRow) {
        out += ':';
        appendAbsoluteRef(out, {std::max(startCol, endCol), std::max(startRow, endRow)});
    }
    return out;
}

std::string formulaSheetName(std::string_view name) {
    bool plain = !name.empty() && !isDigit(name.front()) && name.front() != '.' &&
                 std::all_of(name.begin(), name.end(),
                             [](char c) { return isAsciiLetter(c) || isDigit(c) || c == '_' || c == '.'; }) &&
                 !looksLikeReference(name);
    if (plain) return std::string(name);
    std::string out = "'";
    for (char c : name) {
        out += c;
        if (c == '\'') out += '\'';
    }
    out += '\'';
    return out;
}

std::string hexColor(std::string_view text) {
    return sixDigitHexColor(text).value_or("000000");
}

bool isXmlNumber(std::string_view text) {
    size_t i = 0, n = text.size();
    if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
    size_t digits = 0;
    while (i < n && isDigit(text[i]))
        ++i, ++digits;
    if (i < n && text[i] == '.') {
        ++i;
        while (i < n && isDigit(text[i]))
            ++i, ++digits;
    }
    if (digits == 0) return false;
    bool exponent = false;
    if (i < n && (text[i] == 'e' || text[i] == 'E')) {
        exponent = true;
        ++i;
        if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
        size_t start = i;
        while (i < n && isDigit(text[i]))
            ++i;
        if (i == start) return false;
    }
    if (i != n) return false;
    // Only an exponent or a very long digit run can overflow a double.
    if (!exponent && n < 300) return true;
    auto value = parseStrictNumber(text);
    return value && std::isfinite(*value);
}

bool isExactNumberText(std::string_view text) {
    if (!isXmlNumber(text) || text.front() == '+') return false;
    size_t i = text.front() == '-' ? 1 : 0;
    size_t intStart = i;
    while (i < text.size() && isDigit(text[i]))
        ++i;
    if (i == intStart || (i - intStart > 1 && text[intStart] == '0')) return false;
    if (i < text.size() && text[i] == '.') {
        size_t fractionStart = ++i;
        while (i < text.size() && isDigit(text[i]))
            ++i;
        if (i == fractionStart || text[i - 1] == '0') return false;
    }
    const size_t mantissaEnd = i;
    // The significant digits, from the first non-zero digit to the last one.
    char digits[17];
    size_t count = 0, pendingZeros = 0;
    for (size_t k = 0; k < mantissaEnd; ++k) {
        char c = text[k];
        if (!isDigit(c)) continue;
        if (c == '0') {
            pendingZeros += count > 0;
            continue;
        }
        if (count + pendingZeros + 1 > sizeof digits) return false;
        for (; pendingZeros > 0; --pendingZeros)
            digits[count++] = '0';
        digits[count++] = c;
    }
    if (count == 0) return true;
    // Up to 15 significant digits survive the trip through a double whenever
    // it is a normal one, which every text without an exponent that passed
    // the checks above denotes.
    const bool exponent = mantissaEnd < text.size();
    if (count <= 15 && !exponent) return true;
    auto value = parseStrictNumber(text);
    if (!value) return false;
    char buffer[40];
    // The shortest text that reads back as the value never has more digits
    // than this one; with as many, it is the value rounded to that many
    // digits, which is what the slower fixed-precision form below prints.
    auto [end, ec] =
        std::to_chars(buffer, buffer + sizeof buffer, std::fabs(*value), std::chars_format::scientific);
    size_t shortest = static_cast<size_t>(std::count_if(buffer, std::find(buffer, end, 'e'), isDigit));
    if (shortest != count)
        end = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(*value), std::chars_format::scientific,
                            static_cast<int>(count) - 1)
                  .ptr;
    size_t shown = 0;
    for (const char* p = buffer; p < end && *p != 'e'; ++p) {
        if (!isDigit(*p)) continue;
        if (shown == count || *p != digits[shown]) return false;
        ++shown;
    }
    return shown == count;
}

void appendStringText(std::string& out, std::string_view text) {
    bool plain = std::none_of(text.begin(), text.end(), [](char c) {
        return c == '_' || isForbiddenControl(static_cast<unsigned char>(c));
    });
    if (plain) {
        appendXmlEscaped(out, text);
        return;
    }
    size_t runStart = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        bool escapeUnderscore = c == '_' && isOoxmlEscapeAt(text, i);
        if (!escapeUnderscore && !isForbiddenControl(c)) continue;
        appendXmlEscaped(out, text.substr(runStart, i - runStart));
        if (escapeUnderscore) {
            out += "_x005F_";
        } else {
            static constexpr char hex[] = "0123456789ABCDEF";
            out += "_x00";
            out += hex[c >> 4];
            out += hex[c & 15];
            out += '_';
        }
        runStart = i + 1;
    }
    appendXmlEscaped(out, text.substr(runStart));
}

bool needsSpacePreserve(std::string_view text) {
    if (text.empty()) return false;
    auto space = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    return space(text.front()) || space(text.back());
}

void appendTextElement(std::string& out, std::string_view element, std::string_view text) {
    out += '<';
    out += element;
    out += '>';
    appendXmlEscaped(out, text);
    out += "</";
    out += element;
    out += '>';
}

std::string formulaStringLiteral(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        out += c;
        if (c == '"') out += '"';
    }
    out += '"';
    return out;
}

} // namespace sumora::xlsx
