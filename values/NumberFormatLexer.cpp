// Splits a number-format code into sections and each section into tokens.
//
//   code      := section (";" section){0,3}     further sections are ignored
//   section   := ( bracket | quoted | escaped | token )*
//   bracket   := "[" colour | condition | elapsed | currency "]"
//   quoted    := '"' chars '"'          escaped := "\\" char
//   token     := 0 # ? . , % / E+ E- @ General  y m d h s AM/PM A/P  _x  *x  other
//
// Lexing is context free: what a token means next to its neighbours (m as
// month or minute, a comma as grouping or scaling) is decided by the parser.
// Commas and the digits 1-9 come out as literals marked by their `symbol`, so
// that the parser can still recognise them. Nothing is rejected.
#include "values/NumberFormatCode.h"
#include "values/NumberFormatPalette.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace sumora::numberformat {

namespace {

size_t codePointLength(std::string_view s, size_t i) {
    const auto lead = static_cast<unsigned char>(s[i]);
    const size_t length = lead < 0x80           ? 1
                          : (lead >> 5) == 0x6  ? 2
                          : (lead >> 4) == 0xE  ? 3
                          : (lead >> 3) == 0x1E ? 4
                                                : 1;
    return std::min(length, s.size() - i);
}

std::string lowered(std::string_view s) {
    std::string result(s);
    for (char& c : result)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

bool startsWithNoCase(std::string_view s, size_t at, std::string_view prefix) {
    return s.size() - at >= prefix.size() && lowered(s.substr(at, prefix.size())) == prefix;
}

bool isAll(std::string_view s, char letter) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [letter](char c) {
        return std::tolower(static_cast<unsigned char>(c)) == letter;
    });
}

class SectionLexer {
  public:
    Section run(std::string_view source) {
        lex(source);
        return std::move(section_);
    }

  private:
    void add(TokenKind kind, std::string text, int count = 0, char symbol = 0) {
        section_.tokens.push_back({kind, std::move(text), {}, count, symbol});
    }
    void addLiteral(std::string_view text, char symbol = 0) {
        section_.tokens.push_back({TokenKind::literal, std::string(text), {}, 0, symbol});
    }

    void lex(std::string_view s) {
        size_t i = 0;
        while (i < s.size() && !systemFormat_) {
            const char c = s[i];
            const char lower = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            if (c == '"') {
                const size_t close = s.find('"', i + 1);
                section_.malformed = section_.malformed || close == std::string_view::npos;
                const size_t end = close == std::string_view::npos ? s.size() : close;
                addLiteral(s.substr(i + 1, end - i - 1));
                i = end + 1;
            } else if (c == '\\' && i + 1 < s.size()) {
                const size_t length = codePointLength(s, i + 1);
                addLiteral(s.substr(i + 1, length));
                i += 1 + length;
            } else if (c == '*' && i + 1 < s.size()) {
                // A fill repeats its character to the cell's width: the
                // renderers pass it on marked, and formatValue hands it to the
                // grid apart from the text.
                const size_t length = codePointLength(s, i + 1);
                addLiteral(std::string(kFillMark) + std::string(s.substr(i + 1, length)));
                i += 1 + length;
            } else if (c == '_' && i + 1 < s.size()) {
                addLiteral(" ");
                i += 1 + codePointLength(s, i + 1);
            } else if (c == '[') {
                // An unclosed bracket is shown as written rather than read as codes.
                const size_t close = s.find(']', i + 1);
                if (close == std::string_view::npos) {
                    section_.malformed = true;
                    addLiteral(s.substr(i));
                    break;
                }
                readBracket(s.substr(i + 1, close - i - 1));
                i = close + 1;
            } else if ((c == '\\' || c == '*' || c == '_') && i + 1 == s.size()) {
                section_.malformed = true; // nothing left to escape, repeat or space by
                ++i;
            } else if (c == '0' || c == '#' || c == '?') {
                add(TokenKind::digit, std::string(1, c), 0, c);
                ++i;
            } else if (c >= '1' && c <= '9') {
                addLiteral(s.substr(i, 1), c);
                ++i;
            } else if (c == '.') {
                add(TokenKind::decimalPoint, ".");
                ++i;
            } else if (c == ',') {
                addLiteral(",", ',');
                ++i;
            } else if (c == '%') {
                add(TokenKind::percent, "%");
                ++i;
            } else if (c == '/') {
                add(TokenKind::fractionSlash, "/");
                ++i;
            } else if (c == '@') {
                add(TokenKind::textValue, "@");
                ++i;
            } else if (lower == 'e' && i + 1 < s.size() && (s[i + 1] == '+' || s[i + 1] == '-')) {
                add(TokenKind::exponent, std::string(s.substr(i, 2)));
                i += 2;
            } else if (startsWithNoCase(s, i, "general")) {
                add(TokenKind::general, std::string(s.substr(i, 7)));
                i += 7;
            } else if (startsWithNoCase(s, i, "am/pm")) {
                // AM/PM is shown in capitals however the code spells it; only
                // the one-letter form keeps the case of each letter.
                addAmPm("AM", "PM");
                i += 5;
            } else if (startsWithNoCase(s, i, "a/p")) {
                addAmPm(std::string(1, s[i]), std::string(1, s[i + 2]));
                i += 3;
            } else if (lower == 'y' || lower == 'm' || lower == 'd' || lower == 'h' || lower == 's') {
                size_t end = i;
                while (end < s.size() && std::tolower(static_cast<unsigned char>(s[end])) == lower)
                    ++end;
                const auto count = static_cast<int>(end - i);
                static constexpr std::pair<char, TokenKind> kLetters[] = {
                    {'y', TokenKind::year}, {'m', TokenKind::month},  {'d', TokenKind::day},
                    {'h', TokenKind::hour}, {'s', TokenKind::second},
                };
                for (const auto& [letter, kind] : kLetters) {
                    if (letter == lower) add(kind, std::string(s.substr(i, end - i)), count);
                }
                i = end;
            } else {
                const size_t length = codePointLength(s, i);
                addLiteral(s.substr(i, length));
                i += length;
            }
        }
    }

    void addAmPm(std::string morning, std::string afternoon) {
        Token token{TokenKind::amPm, std::move(morning), std::move(afternoon), 0, 0};
        section_.tokens.push_back(std::move(token));
    }

    void readBracket(std::string_view content) {
        const std::string name = lowered(content);
        if (name.empty()) return;
        if (name[0] == '<' || name[0] == '>' || name[0] == '=') {
            readCondition(content);
        } else if (auto named = namedColorHex(name)) {
            section_.colorHex = std::string(*named);
        } else if (name.rfind("color", 0) == 0) {
            // [Color10] and [Color 10] alike.
            const size_t digits = std::min(name.find_first_not_of(' ', 5), name.size());
            int index = 0;
            const auto [end, error] = std::from_chars(name.data() + digits, name.data() + name.size(), index);
            if (error == std::errc() && end == name.data() + name.size()) {
                if (auto indexed = paletteColorHex(index)) section_.colorHex = std::string(*indexed);
            }
        } else if (isAll(name, 'h')) {
            add(TokenKind::elapsedHours, std::string(content), static_cast<int>(content.size()));
        } else if (isAll(name, 'm')) {
            add(TokenKind::elapsedMinutes, std::string(content), static_cast<int>(content.size()));
        } else if (isAll(name, 's')) {
            add(TokenKind::elapsedSeconds, std::string(content), static_cast<int>(content.size()));
        } else if (name[0] == '$') {
            readCurrencyOrLocale(content.substr(1));
        }
        // Anything else (locale and calendar modifiers, DBNum, ...) is ignored.
    }

    void readCondition(std::string_view content) {
        using Op = Condition::Op;
        static constexpr std::pair<std::string_view, Op> kOperators[] = {
            {"<=", Op::lessOrEqual}, {">=", Op::greaterOrEqual}, {"<>", Op::notEqual},
            {"<", Op::less},         {">", Op::greater},         {"=", Op::equal},
        };
        for (const auto& [text, op] : kOperators) {
            if (content.substr(0, text.size()) != text) continue;
            std::string_view rest = content.substr(text.size());
            while (!rest.empty() && rest.front() == ' ')
                rest.remove_prefix(1);
            double operand = 0.0;
            const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), operand);
            if (error == std::errc() && end == rest.data() + rest.size())
                section_.condition = Condition{op, operand};
            return;
        }
    }

    // [$symbol-locale]: the symbol is shown. The system codes F800 (long
    // date) and F400 (time) stand for the whole section: the codes written
    // after them are only a fallback for programs that do not know them.
    void readCurrencyOrLocale(std::string_view content) {
        const size_t dash = content.find('-');
        const std::string_view symbol = content.substr(0, dash);
        if (!symbol.empty()) {
            addLiteral(symbol);
            return;
        }
        const std::string locale = dash == std::string_view::npos ? "" : lowered(content.substr(dash + 1));
        const char* system = locale == "f800"   ? "dddd, mmmm d, yyyy"
                             : locale == "f400" ? "h:mm:ss AM/PM"
                                                : nullptr;
        if (system == nullptr) return;
        section_.tokens.clear();
        lex(system);
        systemFormat_ = true;
    }

    Section section_;
    bool systemFormat_ = false;
};

} // namespace

std::vector<std::string_view> splitSections(std::string_view code) {
    std::vector<std::string_view> parts;
    size_t start = 0;
    for (size_t i = 0; i < code.size(); ++i) {
        const char c = code[i];
        if (c == '"') {
            const size_t close = code.find('"', i + 1);
            i = close == std::string_view::npos ? code.size() : close;
        } else if (c == '\\' || c == '_' || c == '*') {
            ++i; // the escaped byte; UTF-8 continuation bytes are never ';'
        } else if (c == '[') {
            const size_t close = code.find(']', i + 1);
            if (close != std::string_view::npos) i = close;
        } else if (c == ';') {
            parts.push_back(code.substr(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(code.substr(std::min(start, code.size())));
    return parts;
}

Section lexSection(std::string_view source) {
    return SectionLexer().run(source);
}

} // namespace sumora::numberformat
