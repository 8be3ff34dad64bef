#include "formats/OdsFormulaTranslation.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "document/ColumnLetters.h"
#include "engine/FormulaTokenizer.h"

namespace sumora::ods {

namespace {

bool isAsciiLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
// Identifier bytes; non-ASCII bytes count, so names in other scripts stay whole.
bool isIdentifierStart(char c) {
    return isAsciiLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool isIdentifierChar(char c) {
    return isIdentifierStart(c) || isDigit(c) || c == '.';
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        char a = text[i], b = prefix[i];
        if (a >= 'a' && a <= 'z') a = static_cast<char>(a - 32);
        if (a != b) return false;
    }
    return true;
}

std::string upperAscii(std::string_view text) {
    std::string s(text);
    for (char& c : s)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return s;
}

// The end (one past the closing quote) of a literal opened at `at` with
// `quote`; a doubled quote stands for itself. An unterminated literal ends
// with the text.
size_t endOfQuoted(std::string_view text, size_t at, char quote) {
    size_t i = at + 1;
    while (i < text.size()) {
        if (text[i] == quote) {
            if (i + 1 < text.size() && text[i + 1] == quote) {
                i += 2;
                continue;
            }
            return i + 1;
        }
        ++i;
    }
    return text.size();
}

std::string unquote(std::string_view quoted) {
    std::string s;
    char q = quoted.front();
    size_t end = quoted.size() >= 2 && quoted.back() == q ? quoted.size() - 1 : quoted.size();
    for (size_t i = 1; i < end; ++i) {
        s += quoted[i];
        if (quoted[i] == q && i + 1 < end && quoted[i + 1] == q) ++i;
    }
    return s;
}

size_t nextNonSpace(std::string_view text, size_t i) {
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' || text[i] == '\r'))
        ++i;
    return i;
}

// A sheet name as the engine's formulas write it before "!": bare when it is
// a plain ASCII identifier the tokenizer cannot mistake, quoted otherwise.
void appendEngineSheet(std::string& out, std::string_view sheet) {
    bool plain = !sheet.empty() && (isAsciiLetter(sheet.front()) || sheet.front() == '_');
    for (char c : sheet)
        plain = plain && (isAsciiLetter(c) || isDigit(c) || c == '_');
    std::string upper = upperAscii(sheet);
    if (upper == "TRUE" || upper == "FALSE") plain = false;
    if (plain) {
        out.append(sheet);
    } else {
        out += '\'';
        for (char c : sheet) {
            out += c;
            if (c == '\'') out += '\'';
        }
        out += '\'';
    }
    out += '!';
}

// A sheet name as OpenDocument references write it before ".".
void appendOdfSheet(std::string& out, std::string_view sheet) {
    bool plain = !sheet.empty() && !isDigit(sheet.front());
    for (char c : sheet)
        plain = plain && (isAsciiLetter(c) || isDigit(c) || c == '_');
    if (plain) {
        out.append(sheet);
        return;
    }
    out += '\'';
    for (char c : sheet) {
        out += c;
        if (c == '\'') out += '\'';
    }
    out += '\'';
}

// ---------------------------------------------------------------------------
// OpenDocument → engine

// One side of a bracketed reference: "$Sheet.$A$1", ".A1", "'My Sheet'.B", ".3".
struct OdfAddress {
    std::optional<std::string> sheet;
    std::string_view cell;
};

// A cell part the engine can write back: $?letters$?digits, or a whole
// column ($?letters) or row ($?digits).
bool isCellPart(std::string_view cell) {
    size_t i = 0;
    if (i < cell.size() && cell[i] == '$') ++i;
    size_t letters = i;
    while (i < cell.size() && isAsciiLetter(cell[i]))
        ++i;
    bool hasLetters = i > letters;
    if (i < cell.size() && cell[i] == '$') ++i;
    size_t digits = i;
    while (i < cell.size() && isDigit(cell[i]))
        ++i;
    bool hasDigits = i > digits;
    return i == cell.size() && (hasLetters || hasDigits) && !(cell.back() == '$');
}

std::optional<OdfAddress> parseOdfAddress(std::string_view part) {
    OdfAddress address;
    size_t i = 0;
    if (i < part.size() && part[i] == '$') ++i;
    if (i < part.size() && part[i] == '\'') {
        size_t end = endOfQuoted(part, i, '\'');
        address.sheet = unquote(part.substr(i, end - i));
        if (end >= part.size() || part[end] != '.') return std::nullopt; // an external source, "'file'#…"
        i = end + 1;
    } else if (i < part.size() && part[i] == '.') {
        ++i;
    } else {
        size_t dot = part.rfind('.');
        if (dot == std::string_view::npos || dot < i) return std::nullopt;
        address.sheet = std::string(part.substr(i, dot - i));
        i = dot + 1;
    }
    address.cell = part.substr(i);
    if (!isCellPart(address.cell)) return std::nullopt;
    if (address.sheet && address.sheet->find('#') != std::string::npos) return std::nullopt;
    return address;
}

// The parts of a reference between ":" that lie outside quotes.
std::vector<std::string_view> splitRange(std::string_view ref) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    for (size_t i = 0; i < ref.size();) {
        if (ref[i] == '\'') {
            i = endOfQuoted(ref, i, '\'');
        } else if (ref[i] == ':') {
            parts.push_back(ref.substr(start, i - start));
            start = ++i;
        } else {
            ++i;
        }
    }
    parts.push_back(ref.substr(start));
    return parts;
}

// The content of "[…]" in engine form; what cannot be written there
// (external files, deleted sheets) becomes a reference error.
void appendEngineReference(std::string& out, std::string_view ref) {
    std::vector<std::string_view> parts = splitRange(ref);
    std::vector<OdfAddress> addresses;
    for (std::string_view part : parts) {
        auto address = parseOdfAddress(part);
        if (!address) {
            out += "#REF!";
            return;
        }
        addresses.push_back(std::move(*address));
    }
    // A corner on the sheet of the corner before it repeats no sheet name.
    std::optional<std::string> current;
    for (size_t k = 0; k < addresses.size(); ++k) {
        const OdfAddress& a = addresses[k];
        if (k > 0) out += ':';
        if (a.sheet && a.sheet != current) {
            appendEngineSheet(out, *a.sheet);
            current = a.sheet;
        }
        out.append(a.cell);
    }
}

// Prefixes that mark function names outside OpenDocument's own set.
constexpr std::array<std::string_view, 6> kForeignFunctionPrefixes = {
    "COM.MICROSOFT.", "_XLFN.", "_XLWS.", "LEGACY.", "ORG.OPENOFFICE.", "ORG.LIBREOFFICE."};

// The closing parenthesis of the call whose "(" is at `open` (npos when it
// never closes), with the count of ";" between its arguments.
size_t closingParenthesis(std::string_view f, size_t open, size_t& separators) {
    int depth = 0;
    separators = 0;
    for (size_t i = open; i < f.size();) {
        char c = f[i];
        if (c == '"' || c == '\'') {
            i = endOfQuoted(f, i, c);
            continue;
        }
        if (c == '(' || c == '{') ++depth;
        if ((c == ')' || c == '}') && --depth == 0) return i;
        if (c == ';' && depth == 1) ++separators;
        ++i;
    }
    return std::string_view::npos;
}

} // namespace

std::string_view stripFormulaPrefix(std::string_view attribute) {
    if (attribute.starts_with("of:=")) return attribute.substr(4);
    if (attribute.starts_with("of:")) return attribute.substr(3);
    if (attribute.starts_with("=")) return attribute.substr(1);
    size_t i = 0;
    while (i < attribute.size() && isAsciiLetter(attribute[i]))
        ++i;
    if (i > 0 && i + 1 < attribute.size() && attribute[i] == ':' && attribute[i + 1] == '=')
        return attribute.substr(i + 2);
    return attribute;
}

std::string formulaFromOpenFormula(std::string_view f) {
    std::string out;
    out.reserve(f.size());
    int braces = 0;
    size_t i = 0;
    std::vector<size_t> appendTrueAt; // closing parentheses of CHISQDIST(x; df)
    while (i < f.size()) {
        char c = f[i];
        if (c == ')' && !appendTrueAt.empty() && appendTrueAt.back() == i) {
            appendTrueAt.pop_back();
            out += ",TRUE)";
            ++i;
        } else if (c == '"') {
            size_t end = endOfQuoted(f, i, '"');
            out.append(f.substr(i, end - i));
            i = end;
        } else if (c == '[') {
            size_t close = i + 1;
            while (close < f.size() && f[close] != ']')
                close = f[close] == '\'' ? endOfQuoted(f, close, '\'') : close + 1;
            if (close >= f.size()) {
                out.append(f.substr(i));
                break;
            }
            appendEngineReference(out, f.substr(i + 1, close - i - 1));
            i = close + 1;
        } else if (c == ';') {
            out += ',';
            ++i;
        } else if (c == '|' && braces > 0) {
            out += ';';
            ++i;
        } else if (isIdentifierStart(c) && (i == 0 || !isIdentifierChar(f[i - 1]))) {
            size_t end = i;
            while (end < f.size() && isIdentifierChar(f[end]))
                ++end;
            std::string_view name = f.substr(i, end - i);
            size_t open = nextNonSpace(f, end);
            bool isCall = open < f.size() && f[open] == '(';
            if (isCall) {
                for (std::string_view prefix : kForeignFunctionPrefixes)
                    if (name.size() > prefix.size() && startsWithIgnoringCase(name, prefix)) {
                        name.remove_prefix(prefix.size());
                        break;
                    }
                std::string upper = upperAscii(name);
                size_t close = nextNonSpace(f, open + 1);
                if ((upper == "TRUE" || upper == "FALSE") && close < f.size() && f[close] == ')') {
                    out += upper; // the constant, as the engine writes it
                    i = close + 1;
                    continue;
                }
                if (upper == "FORMULA") name = "FORMULATEXT";
                // The OpenFormula chi-square functions are the left-tailed
                // ones; CHISQDIST's cumulative argument defaults to TRUE.
                if (upper == "CHISQINV") name = "CHISQ.INV";
                if (upper == "CHISQDIST") {
                    name = "CHISQ.DIST";
                    size_t separators = 0;
                    size_t close = closingParenthesis(f, open, separators);
                    if (close != std::string_view::npos && separators == 1) appendTrueAt.push_back(close);
                }
            }
            out.append(name);
            i = end;
        } else {
            if (c == '{') ++braces;
            if (c == '}' && braces > 0) --braces;
            out += c;
            ++i;
        }
    }
    return out;
}

// ---------------------------------------------------------------------------
// Engine → OpenDocument

namespace {

// Functions that OpenDocument files name with the "COM.MICROSOFT." prefix
// although their names carry no dot (dotted names get it as a rule).
constexpr std::array<std::string_view, 19> kPrefixedUndottedFunctions = {
    "AGGREGATE", "CEILING",  "CONCAT", "ENCODEURL", "FILTER",   "FLOOR", "IFS",
    "LET",       "MAXIFS",   "MINIFS", "RANDARRAY", "SEQUENCE", "SORT",  "SORTBY",
    "SWITCH",    "TEXTJOIN", "UNIQUE", "XLOOKUP",   "XMATCH"};
// Functions that OpenDocument files name with the "LEGACY." prefix: the
// right-tailed distributions whose OpenFormula names mean something else.
constexpr std::array<std::string_view, 8> kLegacyFunctions = {
    "CHIDIST", "CHIINV", "CHITEST", "FDIST", "FINV", "NORMSDIST", "NORMSINV", "TDIST"};
// Dotted names that OpenDocument has under the same name.
constexpr std::array<std::string_view, 2> kNativeDottedFunctions = {"ERROR.TYPE", "ISO.CEILING"};

void appendOdfFunctionName(std::string& out, std::string_view name) {
    std::string upper = upperAscii(name);
    if (upper == "FORMULATEXT") {
        out += "FORMULA";
        return;
    }
    if (std::find(kLegacyFunctions.begin(), kLegacyFunctions.end(), upper) != kLegacyFunctions.end()) {
        out += "LEGACY.";
        out.append(name);
        return;
    }
    bool dotted = upper.find('.') != std::string::npos;
    bool prefixed = dotted ? std::find(kNativeDottedFunctions.begin(), kNativeDottedFunctions.end(), upper) ==
                                 kNativeDottedFunctions.end()
                           : std::find(kPrefixedUndottedFunctions.begin(), kPrefixedUndottedFunctions.end(),
                                       upper) != kPrefixedUndottedFunctions.end();
    if (prefixed && !upper.starts_with("COM.MICROSOFT.")) out += "COM.MICROSOFT.";
    out.append(name);
}

struct EngineReference {
    std::optional<std::string> sheet;
    ParsedCellRef cell;
    size_t end = 0; // one past the reference in the formula
};

bool isEngineIdentifierChar(char c) {
    return isIdentifierChar(c) || c == '$';
}

size_t endOfEngineIdentifier(std::string_view f, size_t i) {
    while (i < f.size() && isEngineIdentifierChar(f[i]))
        ++i;
    return i;
}

// A reference starting at `i`: Sheet!A1, 'My Sheet'!$A$1 or A1.
std::optional<EngineReference> engineReferenceAt(std::string_view f, size_t i) {
    EngineReference ref;
    if (i < f.size() && f[i] == '\'') {
        size_t end = endOfQuoted(f, i, '\'');
        if (end >= f.size() || f[end] != '!') return std::nullopt;
        ref.sheet = unquote(f.substr(i, end - i));
        i = end + 1;
    } else {
        size_t end = endOfEngineIdentifier(f, i);
        if (end < f.size() && f[end] == '!') {
            ref.sheet = std::string(f.substr(i, end - i));
            i = end + 1;
        }
    }
    if (i >= f.size() || !(isIdentifierStart(f[i]) || f[i] == '$')) return std::nullopt;
    size_t end = endOfEngineIdentifier(f, i);
    auto cell = parseCellRef(f.substr(i, end - i));
    if (!cell) return std::nullopt;
    size_t after = nextNonSpace(f, end);
    if (after < f.size() && f[after] == '(') return std::nullopt; // a function such as LOG10(
    ref.cell = *cell;
    ref.end = end;
    return ref;
}

void appendOdfCell(std::string& out, const ParsedCellRef& cell) {
    if (cell.absCol) out += '$';
    appendColumnLetter(out, cell.col);
    if (cell.absRow) out += '$';
    out += std::to_string(cell.row + 1);
}

} // namespace

std::string openFormulaFromFormula(std::string_view f) {
    std::string out;
    out.reserve(f.size() + 16);
    int braces = 0;
    size_t i = 0;
    while (i < f.size()) {
        char c = f[i];
        if (c == '"') {
            size_t end = endOfQuoted(f, i, '"');
            out.append(f.substr(i, end - i));
            i = end;
            continue;
        }
        if (c == ',') {
            out += ';';
            ++i;
            continue;
        }
        if (c == ';' && braces > 0) {
            out += '|';
            ++i;
            continue;
        }
        if (isDigit(c) || (c == '.' && i + 1 < f.size() && isDigit(f[i + 1]))) {
            // A number is copied whole, so that the "E5" of "1E5" is no reference.
            size_t end = i;
            while (end < f.size() && (isDigit(f[end]) || f[end] == '.'))
                ++end;
            if (end < f.size() && (f[end] == 'e' || f[end] == 'E')) {
                size_t exp = end + 1;
                if (exp < f.size() && (f[exp] == '+' || f[exp] == '-')) ++exp;
                if (exp < f.size() && isDigit(f[exp])) {
                    end = exp;
                    while (end < f.size() && isDigit(f[end]))
                        ++end;
                }
            }
            out.append(f.substr(i, end - i));
            i = end;
            continue;
        }
        bool identifierStart = isIdentifierStart(c) || c == '$';
        if ((identifierStart || c == '\'') && (i == 0 || !isEngineIdentifierChar(f[i - 1]))) {
            if (auto first = engineReferenceAt(f, i)) {
                out += '[';
                if (first->sheet) appendOdfSheet(out, *first->sheet);
                out += '.';
                appendOdfCell(out, first->cell);
                i = first->end;
                if (i < f.size() && f[i] == ':') {
                    if (auto second = engineReferenceAt(f, i + 1)) {
                        out += ':';
                        if (second->sheet && second->sheet != first->sheet)
                            appendOdfSheet(out, *second->sheet);
                        out += '.';
                        appendOdfCell(out, second->cell);
                        i = second->end;
                    }
                }
                out += ']';
                continue;
            }
            if (c == '\'') {
                size_t end = endOfQuoted(f, i, '\'');
                out.append(f.substr(i, end - i));
                i = end;
                continue;
            }
            size_t end = endOfEngineIdentifier(f, i);
            std::string_view name = f.substr(i, end - i);
            size_t open = nextNonSpace(f, end);
            if (open < f.size() && f[open] == '(') {
                appendOdfFunctionName(out, name);
            } else {
                std::string upper = upperAscii(name);
                if (upper == "TRUE" || upper == "FALSE") {
                    out += upper;
                    out += "()";
                } else {
                    out.append(name);
                }
            }
            i = end;
            continue;
        }
        if (c == '{') ++braces;
        if (c == '}' && braces > 0) --braces;
        out += c;
        ++i;
    }
    return out;
}

} // namespace sumora::ods
