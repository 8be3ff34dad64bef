#pragma once
// The parsed form of a number-format code, shared by the parser and the
// renderers of NumberFormat.h. Not for use outside the number formats.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora::numberformat {

enum class TokenKind {
    literal,        // `text` shown as is
    digit,          // placeholder `symbol`: '0' pads with 0, '?' with a blank, '#' with nothing
    decimalPoint,   //
    percent,        // value x 100, shown as "%"
    exponent,       // `text` is "E+" / "E-" as written; always shown as "E"
    fractionSlash,  //
    denominator,    // fixed fraction denominator `count`
    textValue,      // "@": the text being formatted
    general,        // "General": the General rendering of the value
    year,           // `count` letters: 1-2 two-digit year, 3+ full year
    month,          // `count` 1-2: number; 3: "Jan"; 4: "January"; 5: "J"
    minute,         // an m run after an hour or before a second; `count` 1-2
    day,            // `count` 1-2: number; 3: "Mon"; 4+: "Monday"
    hour,           // `count` 1-2
    second,         // `count` 1-2
    subSecond,      // ".0", ".00", ...: `count` digits of the second
    elapsedHours,   // [h]: whole hours of the value; `count` is the padding width
    elapsedMinutes, // [m]
    elapsedSeconds, // [s]
    amPm,           // `text` for the morning, `alternate` for the afternoon
};

struct Token {
    TokenKind kind = TokenKind::literal;
    std::string text;
    std::string alternate;
    int count = 0;
    char symbol = 0;
};

enum class SectionKind {
    number,     // fixed notation
    scientific, // mantissa E exponent
    fraction,   // [whole] numerator/denominator
    dateTime,   // serial date and time
    text,       // "@" section
    general,    // contains "General"
    literal,    // literals only (no placeholders)
};

struct Condition {
    enum class Op { less, lessOrEqual, greater, greaterOrEqual, equal, notEqual };
    Op op = Op::equal;
    double operand = 0.0;

    bool matches(double value) const;
    // [<0] or [<=0]: a first section with this condition is a negative
    // section, showing magnitudes.
    bool isNegativeTest() const;
};

struct Section {
    SectionKind kind = SectionKind::literal;
    std::vector<Token> tokens;
    std::optional<std::string> colorHex;
    std::optional<Condition> condition;
    bool hasTextValue = false; // contains "@"
    bool isEmpty = true;       // nothing at all to show (hides the value)
    bool malformed = false;    // see ParsedFormat::malformed

    // Numeric sections.
    bool grouping = false;    // thousands separators in the whole part
    int powerOfTen = 0;       // +2 per percent sign, -3 per scaling comma
    int integerDigits = 0;    // placeholders before the point (mantissa for scientific)
    int fractionDigits = 0;   // placeholders after the point
    bool engineering = false; // scientific with '#' or '?' in the mantissa's whole part

    // Fraction sections: token indices of the numerator's first placeholder and
    // of the slash; whether placeholders for the whole part precede them.
    size_t numeratorBegin = 0;
    size_t slashIndex = 0;
    bool hasWholePart = false;

    // Date and time sections.
    bool twelveHour = false;
    int subSecondDigits = 0;
};

struct ParsedFormat {
    std::vector<Section> sections; // one to four
    // An unterminated quote or bracket, a dangling \ * _ or a fifth section:
    // the code cannot be read, and values show in General instead.
    bool malformed = false;
};

ParsedFormat parseFormatCode(std::string_view code);

// Marks the character of a *x fill inside rendered text. The two bytes never
// occur in UTF-8, so no text or literal can be taken for a fill.
inline constexpr std::string_view kFillMark = "\xFF\xFE";

// The lexing stage of parseFormatCode: the code's sections (all of them) and
// one section's tokens, colour and condition, before classification. Commas
// and the digits 1-9 are literals whose `symbol` is that character.
std::vector<std::string_view> splitSections(std::string_view code);
Section lexSection(std::string_view sectionText);

// Renderers; `magnitude` is >= 0 for the numeric ones.
std::string renderNumeric(const Section& section, double magnitude);
std::string renderDateTime(const Section& section, double serial);
std::string renderText(const Section& section, std::string_view text);

} // namespace sumora::numberformat
