// Turns the lexed tokens of each section into a section the renderers can
// use: decides what the section shows (date, fraction, scientific, ...) and
// resolves what depends on neighbours: m as month or minute, commas as
// grouping or scaling, "." after seconds as a fraction of a second, the slash
// and denominator of a fraction. Tokens that mean nothing in the section's
// kind become literals of their source text.
#include "values/NumberFormatCode.h"

#include <algorithm>

namespace sumora::numberformat {

namespace {

bool isDateTimeKind(TokenKind kind) {
    switch (kind) {
    case TokenKind::year:
    case TokenKind::month:
    case TokenKind::minute:
    case TokenKind::day:
    case TokenKind::hour:
    case TokenKind::second:
    case TokenKind::elapsedHours:
    case TokenKind::elapsedMinutes:
    case TokenKind::elapsedSeconds:
    case TokenKind::amPm:
        return true;
    default:
        return false;
    }
}

bool isComma(const Token& token) {
    return token.kind == TokenKind::literal && token.symbol == ',';
}

bool isFixedDigit(const Token& token) {
    return (token.kind == TokenKind::literal && token.symbol >= '1' && token.symbol <= '9') ||
           (token.kind == TokenKind::digit && token.symbol == '0');
}

class SectionClassifier {
  public:
    explicit SectionClassifier(Section& section) : section_(section), tokens_(section.tokens) {}

    void run() {
        classify();
        mergeLiterals();
        if (section_.kind == SectionKind::fraction) locateFraction();
        section_.isEmpty = tokens_.empty();
    }

  private:
    bool has(TokenKind kind) const {
        return std::any_of(tokens_.begin(), tokens_.end(), [kind](const Token& t) { return t.kind == kind; });
    }
    bool isDigitAt(size_t i) const { return i < tokens_.size() && tokens_[i].kind == TokenKind::digit; }
    bool digitIn(size_t from, size_t to) const {
        for (size_t i = from; i < to && i < tokens_.size(); ++i)
            if (tokens_[i].kind == TokenKind::digit) return true;
        return false;
    }

    void classify() {
        const bool hasDateTime = std::any_of(tokens_.begin(), tokens_.end(),
                                             [](const Token& t) { return isDateTimeKind(t.kind); });
        section_.hasTextValue = has(TokenKind::textValue);
        if (section_.hasTextValue) {
            section_.kind = SectionKind::text;
            keepOnly({TokenKind::textValue});
        } else if (hasDateTime) {
            section_.kind = SectionKind::dateTime;
            classifyDateTime();
        } else if (has(TokenKind::general)) {
            section_.kind = SectionKind::general;
            keepOnly({TokenKind::general});
        } else if (has(TokenKind::digit)) {
            classifyNumeric();
        } else {
            section_.kind = SectionKind::literal;
            keepOnly({});
        }
    }

    // Every token whose kind is not listed becomes a literal of its source text.
    void keepOnly(std::initializer_list<TokenKind> kept) {
        for (Token& token : tokens_) {
            if (token.kind == TokenKind::literal) continue;
            if (std::find(kept.begin(), kept.end(), token.kind) != kept.end()) continue;
            if (token.kind == TokenKind::amPm) token.text += "/" + token.alternate;
            token.kind = TokenKind::literal;
        }
    }

    void classifyDateTime() {
        // An m run of one or two letters is a minute right after an hour or right
        // before a second (counting date and time codes only).
        for (size_t i = 0; i < tokens_.size(); ++i) {
            if (tokens_[i].kind != TokenKind::month || tokens_[i].count > 2) continue;
            const auto previous =
                std::find_if(tokens_.rbegin() + static_cast<long>(tokens_.size() - i), tokens_.rend(),
                             [](const Token& t) { return isDateTimeKind(t.kind); });
            const auto next = std::find_if(tokens_.begin() + static_cast<long>(i) + 1, tokens_.end(),
                                           [](const Token& t) { return isDateTimeKind(t.kind); });
            const bool afterHour = previous != tokens_.rend() && (previous->kind == TokenKind::hour ||
                                                                  previous->kind == TokenKind::elapsedHours);
            const bool beforeSecond = next != tokens_.end() && (next->kind == TokenKind::second ||
                                                                next->kind == TokenKind::elapsedSeconds);
            if (afterHour || beforeSecond) tokens_[i].kind = TokenKind::minute;
        }
        // "." and zeros right after seconds show fractions of a second.
        for (size_t i = 1; i + 1 < tokens_.size(); ++i) {
            const TokenKind before = tokens_[i - 1].kind;
            if (tokens_[i].kind != TokenKind::decimalPoint ||
                (before != TokenKind::second && before != TokenKind::elapsedSeconds))
                continue;
            size_t end = i + 1;
            while (end < tokens_.size() && tokens_[end].kind == TokenKind::digit &&
                   tokens_[end].symbol == '0')
                ++end;
            if (end == i + 1) continue;
            const auto digits = static_cast<int>(end - i - 1);
            tokens_.erase(tokens_.begin() + static_cast<long>(i) + 1,
                          tokens_.begin() + static_cast<long>(end));
            tokens_[i] = Token{TokenKind::subSecond, {}, {}, digits, 0};
            section_.subSecondDigits = std::max(section_.subSecondDigits, digits);
        }
        section_.twelveHour = has(TokenKind::amPm);
        keepOnly({TokenKind::year, TokenKind::month, TokenKind::minute, TokenKind::day, TokenKind::hour,
                  TokenKind::second, TokenKind::subSecond, TokenKind::elapsedHours, TokenKind::elapsedMinutes,
                  TokenKind::elapsedSeconds, TokenKind::amPm});
    }

    void classifyNumeric() {
        section_.kind = SectionKind::number;
        size_t mantissaEnd = tokens_.size();
        for (size_t i = 0; i < tokens_.size(); ++i) {
            if (tokens_[i].kind == TokenKind::exponent && digitIn(0, i) && isDigitAt(i + 1)) {
                section_.kind = SectionKind::scientific;
                mantissaEnd = i;
                break;
            }
        }
        size_t wholeEnd = mantissaEnd;
        if (section_.kind == SectionKind::number) {
            if (const auto numeratorBegin = findFraction()) {
                section_.kind = SectionKind::fraction;
                wholeEnd = *numeratorBegin;
            }
        }
        size_t pointIndex = wholeEnd;
        if (section_.kind != SectionKind::fraction) {
            for (size_t i = 0; i < wholeEnd && pointIndex == wholeEnd; ++i)
                if (tokens_[i].kind == TokenKind::decimalPoint) pointIndex = i;
        }
        classifyCommas(pointIndex, wholeEnd);
        countPlaceholders();
    }

    // A slash with placeholders right before it and placeholders or a fixed
    // number right after it makes a fraction; every other slash is a literal.
    // Returns where the numerator's placeholders begin.
    std::optional<size_t> findFraction() {
        std::optional<size_t> numeratorBegin;
        for (size_t slash = 0; slash < tokens_.size(); ++slash) {
            if (tokens_[slash].kind != TokenKind::fractionSlash) continue;
            const bool fixed = slash + 1 < tokens_.size() && tokens_[slash + 1].kind == TokenKind::literal &&
                               isFixedDigit(tokens_[slash + 1]);
            const bool placeholders = isDigitAt(slash + 1);
            if (numeratorBegin || slash == 0 || !isDigitAt(slash - 1) || !(fixed || placeholders)) {
                tokens_[slash].kind = TokenKind::literal;
                continue;
            }
            if (fixed) {
                size_t end = slash + 1;
                int value = 0;
                while (end < tokens_.size() && value < 100'000'000 && isFixedDigit(tokens_[end]))
                    value = value * 10 + (tokens_[end++].text[0] - '0');
                tokens_.erase(tokens_.begin() + static_cast<long>(slash) + 2,
                              tokens_.begin() + static_cast<long>(end));
                tokens_[slash + 1] = Token{TokenKind::denominator, std::to_string(value), {}, value, 0};
            }
            size_t begin = slash - 1;
            while (begin > 0 && isDigitAt(begin - 1))
                --begin;
            numeratorBegin = begin;
        }
        return numeratorBegin;
    }

    // Within the whole part: a comma between placeholders turns on grouping;
    // commas right after the last placeholder divide by 1000 each. Other
    // commas are literals.
    void classifyCommas(size_t pointIndex, size_t wholeEnd) {
        std::vector<Token> kept;
        for (size_t i = 0; i < tokens_.size(); ++i) {
            if (!isComma(tokens_[i]) || i >= wholeEnd) {
                kept.push_back(std::move(tokens_[i]));
                continue;
            }
            size_t previous = i;
            while (previous > 0 && isComma(tokens_[previous - 1]))
                --previous;
            const bool afterPlaceholder =
                previous > 0 && (tokens_[previous - 1].kind == TokenKind::digit ||
                                 tokens_[previous - 1].kind == TokenKind::decimalPoint);
            // A run of commas right before the point scales too ("#,.#," is
            // millions with one decimal).
            size_t next = i + 1;
            while (next < tokens_.size() && isComma(tokens_[next]))
                ++next;
            const bool beforePoint = next == pointIndex && pointIndex < wholeEnd;
            if (i < pointIndex && digitIn(0, i) && digitIn(i + 1, pointIndex)) {
                section_.grouping = true;
            } else if (afterPlaceholder && (beforePoint || !digitIn(i + 1, wholeEnd))) {
                section_.powerOfTen -= 3;
            } else {
                kept.push_back(std::move(tokens_[i]));
            }
        }
        tokens_ = std::move(kept);
    }

    void countPlaceholders() {
        const bool fraction = section_.kind == SectionKind::fraction;
        bool afterPoint = false;
        bool inExponent = false;
        for (Token& token : tokens_) {
            switch (token.kind) {
            case TokenKind::percent:
                section_.powerOfTen += 2;
                break;
            case TokenKind::exponent:
                if (section_.kind == SectionKind::scientific && !inExponent)
                    inExponent = true;
                else
                    token.kind = TokenKind::literal;
                break;
            case TokenKind::decimalPoint:
                // A fraction has no decimals: "0.00 ?/?" cannot be read.
                section_.malformed = section_.malformed || fraction;
                if (!fraction && !afterPoint && !inExponent)
                    afterPoint = true;
                else
                    token.kind = TokenKind::literal;
                break;
            case TokenKind::digit:
                if (inExponent || fraction) break;
                if (afterPoint) {
                    ++section_.fractionDigits;
                } else {
                    ++section_.integerDigits;
                }
                break;
            default:
                break;
            }
        }
        // With several whole-part placeholders the exponent is a multiple of
        // their count ("##0.0E+0" gives 12.3E+3, "00.00E+00" gives 01.23E+04).
        section_.engineering = section_.kind == SectionKind::scientific && section_.integerDigits > 1;
    }

    void mergeLiterals() {
        std::vector<Token> merged;
        for (Token& token : tokens_) {
            if (token.kind == TokenKind::literal && !merged.empty() &&
                merged.back().kind == TokenKind::literal) {
                merged.back().text += token.text;
                continue;
            }
            if (token.kind == TokenKind::literal) token.symbol = 0;
            merged.push_back(std::move(token));
        }
        tokens_ = std::move(merged);
    }

    void locateFraction() {
        section_.slashIndex = static_cast<size_t>(
            std::find_if(tokens_.begin(), tokens_.end(),
                         [](const Token& t) { return t.kind == TokenKind::fractionSlash; }) -
            tokens_.begin());
        size_t begin = section_.slashIndex;
        while (begin > 0 && isDigitAt(begin - 1))
            --begin;
        section_.numeratorBegin = begin;
        section_.hasWholePart = digitIn(0, begin);
    }

    Section& section_;
    std::vector<Token>& tokens_;
};

} // namespace

bool Condition::matches(double value) const {
    switch (op) {
    case Op::less:
        return value < operand;
    case Op::lessOrEqual:
        return value <= operand;
    case Op::greater:
        return value > operand;
    case Op::greaterOrEqual:
        return value >= operand;
    case Op::equal:
        return value == operand;
    case Op::notEqual:
        return value != operand;
    }
    return false;
}

bool Condition::isNegativeTest() const {
    return (op == Op::less || op == Op::lessOrEqual) && operand == 0.0;
}

ParsedFormat parseFormatCode(std::string_view code) {
    ParsedFormat format;
    const std::vector<std::string_view> parts = splitSections(code);
    format.malformed = parts.size() > 4;
    for (size_t i = 0; i < parts.size() && i < 4; ++i) {
        Section section = lexSection(parts[i]);
        SectionClassifier(section).run();
        format.malformed = format.malformed || section.malformed;
        format.sections.push_back(std::move(section));
    }
    return format;
}

} // namespace sumora::numberformat
