// The text family: slicing, searching, case, joining and character codes.
// Positions count user-perceived characters from 1. An error argument is the
// result, except where the joining functions take the text forms of values.
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/TextFamily.h"
#include "functions/TextSupport.h"

namespace sumora {

namespace {

// Longest result REPT and TEXTJOIN build, in characters.
constexpr int64_t kMaxTextCharacters = 32767;

// Argument i truncated to a whole number; below `least` is "#VALUE!".
ArgValue<size_t> wholeArgFrom(FunctionContext& c, size_t i, double least, std::optional<double> fallback) {
    auto x = fallback ? numberArgOr(c, i, *fallback) : numberArg(c, i);
    if (!x) return {std::nullopt, x.failure};
    double n = std::trunc(*x);
    if (!(n >= least)) return {std::nullopt, err(ErrorKind::invalidValue)};
    return {static_cast<size_t>(std::min(n, 1e15)), {}};
}

// A character count (LEFT's num_chars, MID's num_chars): negative is "#VALUE!".
ArgValue<size_t> countArg(FunctionContext& c, size_t i, std::optional<double> fallback = std::nullopt) {
    return wholeArgFrom(c, i, 0, fallback);
}

// A 1-based position: below 1 is "#VALUE!".
ArgValue<size_t> positionArg(FunctionContext& c, size_t i, double fallback) {
    return wholeArgFrom(c, i, 1, fallback);
}

FormulaValue sliceLeftOrRight(FunctionContext& c, bool fromEnd) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto n = countArg(c, 1, 1.0);
    if (!n) return n.failure;
    CharacterIndex chars(*text);
    size_t k = std::min(*n, chars.count());
    if (fromEnd) return txt(text->substr(chars.byteOffset(chars.count() - k)));
    return txt(text->substr(0, chars.byteOffset(k)));
}

// LEFT(text, num_chars) — num_chars defaults to 1
FormulaValue left(FunctionContext& c) {
    return sliceLeftOrRight(c, false);
}

// RIGHT(text, num_chars) — num_chars defaults to 1
FormulaValue right(FunctionContext& c) {
    return sliceLeftOrRight(c, true);
}

// MID(text, start, num_chars) — a start just past the end gives ""
FormulaValue mid(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto start = positionArg(c, 1, 1);
    if (!start) return start.failure;
    auto n = countArg(c, 2);
    if (!n) return n.failure;
    CharacterIndex chars(*text);
    if (*start > chars.count() + 1) return err(ErrorKind::invalidValue);
    size_t first = *start - 1;
    size_t last = first + std::min(*n, chars.count() - first);
    return txt(text->substr(chars.byteOffset(first), chars.byteOffset(last) - chars.byteOffset(first)));
}

// LEN(text) — number of characters
FormulaValue len(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    return num(static_cast<double>(CharacterIndex(*text).count()));
}

FormulaValue findOrSearch(FunctionContext& c, bool ignoreCase) {
    auto needle = textArg(c, 0);
    if (!needle) return needle.failure;
    auto within = textArg(c, 1);
    if (!within) return within.failure;
    auto start = positionArg(c, 2, 1);
    if (!start) return start.failure;
    CharacterIndex chars(*within);
    if (*start > chars.count() + 1) return err(ErrorKind::invalidValue);
    auto hit = findText(*within, chars, *needle, chars.byteOffset(*start - 1), ignoreCase);
    if (!hit) return err(ErrorKind::invalidValue);
    return num(static_cast<double>(chars.characterAt(hit->begin) + 1));
}

// FIND(find_text, within_text, start) — case-sensitive position
FormulaValue find(FunctionContext& c) {
    return findOrSearch(c, false);
}

// SEARCH(find_text, within_text, start) — case-insensitive, literal position
FormulaValue search(FunctionContext& c) {
    return findOrSearch(c, true);
}

// SUBSTITUTE(text, old, new, instance) — every occurrence, or the instance-th
FormulaValue substitute(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto old = textArg(c, 1);
    if (!old) return old.failure;
    auto replacement = textArg(c, 2);
    if (!replacement) return replacement.failure;
    std::optional<size_t> instance;
    if (c.hasArg(3)) {
        auto n = positionArg(c, 3, 1);
        if (!n) return n.failure;
        instance = *n;
    }
    CharacterIndex chars(*text);
    std::vector<TextSpan> hits = findAll(*text, chars, *old, false);
    std::string out;
    size_t copied = 0;
    for (size_t k = 0; k < hits.size(); ++k) {
        if (instance && *instance != k + 1) continue;
        out.append(*text, copied, hits[k].begin - copied);
        out += *replacement;
        copied = hits[k].end;
    }
    out.append(*text, copied);
    return txt(std::move(out));
}

// REPLACE(old_text, start, num, new_text) — a start just past the end appends
FormulaValue replace(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto start = positionArg(c, 1, 1);
    if (!start) return start.failure;
    auto n = countArg(c, 2);
    if (!n) return n.failure;
    auto replacement = textArg(c, 3);
    if (!replacement) return replacement.failure;
    CharacterIndex chars(*text);
    if (*start > chars.count() + 1) return err(ErrorKind::invalidValue);
    size_t first = *start - 1;
    size_t last = first + std::min(*n, chars.count() - first);
    std::string out = text->substr(0, chars.byteOffset(first));
    out += *replacement;
    out.append(*text, chars.byteOffset(last));
    return txt(std::move(out));
}

// TRIM(text) — blanks and tabs at both ends only; inner runs are kept
FormulaValue trim(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    size_t begin = text->size(), end = 0;
    forEachCodePoint(*text, [&](char32_t ch, size_t from, size_t to) {
        if (isHorizontalSpace(ch)) return;
        begin = std::min(begin, from);
        end = to;
    });
    if (begin >= end) return txt("");
    return txt(text->substr(begin, end - begin));
}

FormulaValue mapCase(FunctionContext& c, std::string (*map)(std::string_view)) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    return txt(map(*text));
}

// UPPER(text)
FormulaValue upper(FunctionContext& c) {
    return mapCase(c, upperCased);
}

// LOWER(text)
FormulaValue lower(FunctionContext& c) {
    return mapCase(c, lowerCased);
}

// PROPER(text) — first letter of each word upper case, the rest lower case
FormulaValue proper(FunctionContext& c) {
    return mapCase(c, titleCased);
}

// CONCATENATE(text1, text2, ...) and CONCAT — text forms of every value joined
FormulaValue concat(FunctionContext& c) {
    std::string out;
    // Empty cells add nothing, so only the stored ones are read.
    for (size_t i = 0; i < c.argCount(); ++i)
        for (const RangeEntry& e : c.sparseValues(i).entries)
            e.value.appendDescription(out);
    return txt(std::move(out));
}

// TEXTJOIN(delimiter, ignore_empty, text1, ...) — empty texts optionally left
// out; a result longer than 32,767 characters is "#VALUE!"
FormulaValue textJoin(FunctionContext& c) {
    auto delimiter = textArg(c, 0);
    if (!delimiter) return delimiter.failure;
    auto ignoreEmpty = boolArgOr(c, 1, false);
    if (!ignoreEmpty) return ignoreEmpty.failure;
    std::string out;
    bool first = true;
    auto append = [&](std::string_view piece) {
        if (*ignoreEmpty && piece.empty()) return;
        if (!first) out += *delimiter;
        out += piece;
        first = false;
    };
    // Runs of empty cells between stored ones: each adds a delimiter unless
    // empties are ignored, so a long run can only overflow.
    auto appendEmpties = [&](int64_t n) {
        if (*ignoreEmpty || n <= 0) return true;
        if (!delimiter->empty() && n > kMaxTextCharacters) return false;
        for (int64_t k = 0; k < n; ++k)
            append({});
        return true;
    };
    for (size_t i = 2; i < c.argCount(); ++i) {
        SparseRange values = c.sparseValues(i);
        int64_t next = 0;
        for (const RangeEntry& e : values.entries) {
            if (!appendEmpties(e.position - next)) return err(ErrorKind::invalidValue);
            append(e.value.description());
            next = e.position + 1;
        }
        if (!appendEmpties(values.size() - next)) return err(ErrorKind::invalidValue);
    }
    if (static_cast<double>(CharacterIndex(out).count()) > kMaxTextCharacters)
        return err(ErrorKind::invalidValue);
    return txt(std::move(out));
}

// CHAR(number) — the character of a Unicode scalar value
FormulaValue charFromCode(FunctionContext& c) {
    auto x = numberArg(c, 0);
    if (!x) return x.failure;
    double code = std::trunc(*x);
    if (!(code >= 1 && code <= 0x10FFFF) || (code >= 0xD800 && code <= 0xDFFF))
        return err(ErrorKind::invalidValue);
    std::string out;
    appendCodePoint(out, static_cast<char32_t>(code));
    return txt(std::move(out));
}

// CODE(text) — the Unicode scalar value of the first character
FormulaValue codeOfText(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto first = firstCodePoint(*text);
    if (!first) return err(ErrorKind::invalidValue);
    return num(static_cast<double>(*first));
}

// REPT(text, times) — the text repeated; overlong results are "#VALUE!"
FormulaValue rept(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto times = countArg(c, 1);
    if (!times) return times.failure;
    if (static_cast<double>(CharacterIndex(*text).count()) * static_cast<double>(*times) >
        static_cast<double>(kMaxTextCharacters))
        return err(ErrorKind::invalidValue);
    std::string out;
    out.reserve(text->size() * *times);
    for (size_t k = 0; k < *times; ++k)
        out += *text;
    return txt(std::move(out));
}

// EXACT(text1, text2) — case-sensitive equality
FormulaValue exact(FunctionContext& c) {
    auto a = textArg(c, 0);
    if (!a) return a.failure;
    auto b = textArg(c, 1);
    if (!b) return b.failure;
    return boolean(*a == *b);
}

// CLEAN(text) — removes the control characters 0-31 and 127
FormulaValue clean(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    std::string out;
    out.reserve(text->size());
    for (char ch : *text)
        if (static_cast<unsigned char>(ch) >= 32 && ch != 127) out += ch;
    return txt(std::move(out));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kTextFunctions[] = {
    {"LEFT", left, atLeast(1), numberArgRule, listed, "LEFT(text, num_chars)", "Returns characters from the start of a string."},
    {"RIGHT", right, atLeast(1), numberArgRule, listed, "RIGHT(text, num_chars)", "Returns characters from the end of a string."},
    {"MID", mid, atLeast(3), numberArgRule, listed, "MID(text, start, num_chars)", "Returns characters from the middle of a string."},
    {"LEN", len, atLeast(1), numberArgRule, listed, "LEN(text)", "Returns the number of characters in a string."},
    {"FIND", find, atLeast(2), numberArgRule, listed, "FIND(find_text, within_text, start)", "Finds text within another string (case-sensitive)."},
    {"SEARCH", search, atLeast(2), numberArgRule, listed, "SEARCH(find_text, within_text, start)", "Finds text within another string (case-insensitive)."},
    {"SUBSTITUTE", substitute, atLeast(3), numberArgRule, listed, "SUBSTITUTE(text, old, new, instance)", "Replaces occurrences of text in a string."},
    {"REPLACE", replace, atLeast(4), numberArgRule, listed, "REPLACE(old_text, start, num, new_text)", "Replaces part of a text string."},
    {"TRIM", trim, atLeast(1), numberArgRule, listed, "TRIM(text)", "Removes extra spaces from text."},
    {"UPPER", upper, atLeast(1), numberArgRule, listed, "UPPER(text)", "Converts text to uppercase."},
    {"LOWER", lower, atLeast(1), numberArgRule, listed, "LOWER(text)", "Converts text to lowercase."},
    {"PROPER", proper, atLeast(1), numberArgRule, listed, "PROPER(text)", "Capitalizes the first letter of each word."},
    {"CONCATENATE", concat, atLeast(1), numberArgRule, listed, "CONCATENATE(text1, text2, ...)", "Joins several text strings into one."},
    {"CONCAT", concat, atLeast(1), numberArgRule, listed, "CONCAT(text1, text2, ...)", "Joins text strings and ranges."},
    {"TEXTJOIN", textJoin, atLeast(3), numberArgRule, listed, "TEXTJOIN(delimiter, ignore_empty, text1, ...)", "Joins text with a delimiter between each."},
    {"TEXT", textfn::text, atLeast(2), numberArgRule, listed, "TEXT(value, format_text)", "Formats a number as text with a given format."},
    {"VALUE", textfn::value, atLeast(1), numberArgRule, listed, "VALUE(text)", "Converts text that represents a number to a number."},
    {"CHAR", charFromCode, atLeast(1), numberArgRule, listed, "CHAR(number)", "Returns the character for a given code number."},
    {"CODE", codeOfText, atLeast(1), numberArgRule, listed, "CODE(text)", "Returns the code number for the first character."},
    {"REPT", rept, atLeast(2), numberArgRule, listed, "REPT(text, times)", "Repeats text a given number of times."},
    {"EXACT", exact, atLeast(2), numberArgRule, listed, "EXACT(text1, text2)", "Checks whether two text strings are identical."},
    {"CLEAN", clean, atLeast(1), numberArgRule, none},
    {"NUMBERVALUE", textfn::numberValue, atLeast(1), numberArgRule, none},
    {"FIXED", textfn::fixed, anyCount, numberArgRule, none},
    {"DOLLAR", textfn::dollar, anyCount, numberArgRule, none},
    {"VALUETOTEXT", textfn::valueToText, atLeast(1), numberArgRule, none},
    {"ARRAYTOTEXT", textfn::arrayToText, atLeast(1), numberArgRule, none},
    {"TEXTBEFORE", textfn::textBefore, atLeast(2), numberArgRule, none},
    {"TEXTAFTER", textfn::textAfter, atLeast(2), numberArgRule, none},
    {"TEXTSPLIT", textfn::textSplit, atLeast(2), numberArgRule, producesArray},
    // Unicode code points, and the byte forms: texts are counted in
    // characters, as in single-byte locales where a character is a byte.
    {"UNICHAR", charFromCode, exactly(1), numberArgRule, none, "UNICHAR(number)", "Returns the Unicode character of a code point."},
    {"UNICODE", codeOfText, exactly(1), numberArgRule, none, "UNICODE(text)", "Returns the code point of the first character."},
    {"LEFTB", left, between(1, 2), numberArgRule, none, "LEFTB(text, num_bytes)", "Returns characters from the start of a string."},
    {"RIGHTB", right, between(1, 2), numberArgRule, none, "RIGHTB(text, num_bytes)", "Returns characters from the end of a string."},
    {"MIDB", mid, exactly(3), numberArgRule, none, "MIDB(text, start, num_bytes)", "Returns characters from the middle of a string."},
    {"LENB", len, exactly(1), numberArgRule, none, "LENB(text)", "Returns the number of characters in a string."},
    {"FINDB", find, between(2, 3), numberArgRule, none, "FINDB(find_text, within_text, start)", "Finds text within another string (case-sensitive)."},
    {"SEARCHB", search, between(2, 3), numberArgRule, none, "SEARCHB(find_text, within_text, start)", "Finds text within another string (case-insensitive)."},
    {"REPLACEB", replace, exactly(4), numberArgRule, none, "REPLACEB(old_text, start, num_bytes, new_text)", "Replaces part of a text string."},
};
// clang-format on

} // namespace

void registerTextFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::text, kTextFunctions);
}

} // namespace sumora
