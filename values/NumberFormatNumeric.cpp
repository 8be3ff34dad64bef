// Rendering of numeric sections: fixed notation, scientific notation and
// fractions, plus the literal-only, General and text sections. All rounding
// goes through DecimalDigits (half away from zero on the 15-digit decimal).
#include "values/DecimalDigits.h"
#include "values/NumberFormat.h"
#include "values/NumberFormatCode.h"

#include <cmath>
#include <cstdint>

namespace sumora::numberformat {

namespace {

// Lays the digits of a whole number into a run of placeholders, right-aligned.
// Placeholders without a digit pad: '0' with 0, '?' with a blank, '#' not at
// all. Digits beyond the placeholders go in front of the first one.
class WholeDigitsWriter {
  public:
    WholeDigitsWriter(std::string digits, int placeholders, bool grouping)
        : digits_(std::move(digits)), placeholders_(placeholders), grouping_(grouping) {}

    void write(char placeholder, std::string& out) {
        const int fromRight = placeholders_ - 1 - written_;
        const auto length = static_cast<int>(digits_.size());
        if (written_ == 0) {
            for (int i = 0; i < length - placeholders_; ++i)
                emit(digits_[static_cast<size_t>(i)], length - 1 - i, out);
        }
        ++written_;
        if (fromRight < length) {
            emit(digits_[static_cast<size_t>(length - 1 - fromRight)], fromRight, out);
        } else if (placeholder == '0') {
            emit('0', fromRight, out);
        } else if (placeholder == '?') {
            out += grouping_ && fromRight > 0 && fromRight % 3 == 0 ? "  " : " ";
        }
    }

    // For codes without whole-part placeholders (".00"): the digits all at once.
    void writeAll(std::string& out) {
        const auto length = static_cast<int>(digits_.size());
        for (int i = 0; i < length; ++i)
            emit(digits_[static_cast<size_t>(i)], length - 1 - i, out);
    }

  private:
    void emit(char digit, int fromRight, std::string& out) const {
        out += digit;
        if (grouping_ && fromRight > 0 && fromRight % 3 == 0) out += ',';
    }

    std::string digits_;
    int placeholders_;
    bool grouping_;
    int written_ = 0;
};

// Shows digits after the point: '0' always, '#' and '?' only up to the last
// non-zero digit ('?' leaves a blank for each trailing zero).
char fractionDigitFor(char placeholder, const std::string& digits, size_t index) {
    if (placeholder == '0') return digits[index];
    if (digits.find_first_not_of('0', index) == std::string::npos) return placeholder == '?' ? ' ' : 0;
    return digits[index];
}

// Writes the mantissa part of a number or scientific section: tokens up to
// `end`, with the given whole and fraction digits.
void writeMantissa(const Section& section, size_t end, std::string wholeDigits,
                   const std::string& fractionDigits, std::string& out) {
    WholeDigitsWriter whole(std::move(wholeDigits), section.integerDigits, section.grouping);
    bool afterPoint = false;
    size_t fractionIndex = 0;
    for (size_t i = 0; i < end; ++i) {
        const Token& token = section.tokens[i];
        switch (token.kind) {
        case TokenKind::digit:
            if (!afterPoint) {
                whole.write(token.symbol, out);
            } else if (fractionIndex < fractionDigits.size()) {
                if (char c = fractionDigitFor(token.symbol, fractionDigits, fractionIndex++)) out += c;
            }
            break;
        case TokenKind::decimalPoint:
            if (section.integerDigits == 0) whole.writeAll(out);
            out += '.';
            afterPoint = true;
            break;
        default:
            out += token.text;
            break;
        }
    }
}

std::string renderFixed(const Section& section, double magnitude) {
    DecimalDigits value = DecimalDigits::fromDouble(magnitude);
    value.scaleByPowerOfTen(section.powerOfTen);
    value.roundToPlaces(section.fractionDigits);
    std::string out;
    writeMantissa(section, section.tokens.size(), value.integerDigits(),
                  value.fractionDigits(section.fractionDigits), out);
    return out;
}

int64_t floorDiv(int64_t a, int64_t b) {
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

std::string renderScientific(const Section& section, double magnitude) {
    DecimalDigits value = DecimalDigits::fromDouble(magnitude);
    value.scaleByPowerOfTen(section.powerOfTen);
    const int wholePlaces = section.integerDigits;
    DecimalDigits mantissa = value;
    int exponent = 0;
    if (!value.isZero()) {
        int leading = value.leadingExponent();
        for (int attempt = 0; attempt < 2; ++attempt) {
            exponent = section.engineering ? static_cast<int>(floorDiv(leading, wholePlaces) * wholePlaces)
                                           : leading - wholePlaces + 1;
            mantissa = value;
            mantissa.scaleByPowerOfTen(-exponent);
            mantissa.roundToPlaces(section.fractionDigits);
            // Rounding up (9.99 -> 10.0) may need one more whole digit than there is room for.
            if (mantissa.isZero() || mantissa.leadingExponent() <= wholePlaces - 1) break;
            leading = value.leadingExponent() + 1;
        }
    }

    size_t exponentIndex = 0;
    while (section.tokens[exponentIndex].kind != TokenKind::exponent)
        ++exponentIndex;
    std::string out;
    writeMantissa(section, exponentIndex, mantissa.integerDigits(),
                  mantissa.fractionDigits(section.fractionDigits), out);

    const Token& marker = section.tokens[exponentIndex];
    out += 'E'; // "e+" in a code shows as "E+" too, like the other codes shown in capitals
    if (exponent < 0)
        out += '-';
    else if (marker.text[1] == '+')
        out += '+';
    int exponentPlaces = 0;
    for (size_t i = exponentIndex + 1; i < section.tokens.size(); ++i)
        exponentPlaces += section.tokens[i].kind == TokenKind::digit ? 1 : 0;
    const std::string exponentDigits = exponent == 0 ? "" : std::to_string(std::abs(exponent));
    WholeDigitsWriter exponentWriter(exponentDigits, exponentPlaces, false);
    for (size_t i = exponentIndex + 1; i < section.tokens.size(); ++i) {
        const Token& token = section.tokens[i];
        if (token.kind == TokenKind::digit)
            exponentWriter.write(token.symbol, out);
        else
            out += token.text;
    }
    return out;
}

struct Fraction {
    std::string wholeDigits; // "" for zero
    int64_t numerator = 0;
    int64_t denominator = 1;
};

// The fraction closest to x in [0, 1) with a denominator of at most
// maxDenominator (continued fractions with the best semiconvergent).
std::pair<int64_t, int64_t> closestFraction(double x, int64_t maxDenominator) {
    int64_t p0 = 0, q0 = 1, p1 = 1, q1 = 0;
    double rest = x;
    for (int step = 0; step < 64; ++step) {
        const double term = std::floor(rest);
        if (term > 1e18) break;
        const auto a = static_cast<int64_t>(term);
        const int64_t p2 = a * p1 + p0;
        const int64_t q2 = a * q1 + q0;
        if (q2 > maxDenominator) break;
        p0 = p1, q0 = q1, p1 = p2, q1 = q2;
        const double remainder = rest - term;
        if (remainder < 1e-12) break;
        rest = 1.0 / remainder;
    }
    if (q1 == 0) return {0, 1};
    // The semiconvergent with the largest denominator that still fits.
    const int64_t k = (maxDenominator - q0) / q1;
    const int64_t ps = p0 + k * p1;
    const int64_t qs = q0 + k * q1;
    const double convergentError = std::fabs(x - static_cast<double>(p1) / static_cast<double>(q1));
    const double semiError = std::fabs(x - static_cast<double>(ps) / static_cast<double>(qs));
    if (qs > 0 && semiError < convergentError) return {ps, qs};
    return {p1, q1};
}

Fraction splitFraction(const Section& section, double magnitude) {
    Fraction result;
    const double value = magnitude * std::pow(10.0, section.powerOfTen);
    const Token& denominatorToken = section.tokens[section.slashIndex + 1];
    int denominatorPlaces = 0;
    for (size_t i = section.slashIndex + 1; i < section.tokens.size(); ++i) {
        if (section.tokens[i].kind != TokenKind::digit) break;
        ++denominatorPlaces;
    }
    // Beyond 2^53 there is no fraction left to show.
    if (!(value < 9e15)) {
        result.wholeDigits = DecimalDigits::fromDouble(value).integerDigits();
        return result;
    }
    const double whole = section.hasWholePart ? std::floor(value) : 0.0;
    const double rest = value - whole;
    auto wholeCount = static_cast<int64_t>(whole);
    if (denominatorToken.kind == TokenKind::denominator) {
        result.denominator = std::max(denominatorToken.count, 1);
        result.numerator = std::llround(rest * static_cast<double>(result.denominator));
    } else {
        int64_t maxDenominator = 1;
        for (int i = 0; i < std::min(denominatorPlaces, 7); ++i)
            maxDenominator *= 10;
        maxDenominator = std::max<int64_t>(maxDenominator - 1, 1);
        const double restWhole = std::floor(rest);
        const auto [numerator, denominator] = closestFraction(rest - restWhole, maxDenominator);
        result.denominator = denominator;
        result.numerator = numerator + static_cast<int64_t>(restWhole) * denominator;
    }
    if (section.hasWholePart && result.numerator >= result.denominator) {
        wholeCount += result.numerator / result.denominator;
        result.numerator %= result.denominator;
    }
    result.wholeDigits = wholeCount == 0 ? "" : std::to_string(wholeCount);
    return result;
}

std::string renderFraction(const Section& section, double magnitude) {
    Fraction fraction = splitFraction(section, magnitude);
    const auto& tokens = section.tokens;
    // With a whole part, a zero numerator blanks the fraction; a zero value
    // still shows its whole part as 0 so that the cell is not blank.
    const bool blankFraction = section.hasWholePart && fraction.numerator == 0;
    if (blankFraction && fraction.wholeDigits.empty()) fraction.wholeDigits.assign(1, '0');

    const size_t denominatorBegin = section.slashIndex + 1;
    size_t denominatorEnd = denominatorBegin + 1;
    if (tokens[denominatorBegin].kind == TokenKind::digit) {
        while (denominatorEnd < tokens.size() && tokens[denominatorEnd].kind == TokenKind::digit)
            ++denominatorEnd;
    }
    int wholePlaces = 0;
    for (size_t i = 0; i < section.numeratorBegin; ++i)
        wholePlaces += tokens[i].kind == TokenKind::digit ? 1 : 0;
    const auto numeratorPlaces = static_cast<int>(section.slashIndex - section.numeratorBegin);

    WholeDigitsWriter whole(fraction.wholeDigits, wholePlaces, section.grouping);
    WholeDigitsWriter numerator(std::to_string(fraction.numerator), numeratorPlaces, false);
    const std::string denominatorDigits = std::to_string(fraction.denominator);
    // An all-zero denominator ("00/00") pads on the left like a number;
    // otherwise the digits start right after the slash.
    bool zeroPadded = tokens[denominatorBegin].kind == TokenKind::digit;
    for (size_t i = denominatorBegin; i < denominatorEnd; ++i)
        zeroPadded = zeroPadded && tokens[i].symbol == '0';
    WholeDigitsWriter paddedDenominator(denominatorDigits,
                                        static_cast<int>(denominatorEnd - denominatorBegin), false);
    size_t denominatorIndex = 0;
    std::string out;
    for (size_t i = 0; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        const bool inFraction = i >= section.numeratorBegin && i < denominatorEnd;
        if (blankFraction && inFraction) {
            out.append(token.kind == TokenKind::denominator ? token.text.size() : 1, ' ');
        } else if (i < section.numeratorBegin && token.kind == TokenKind::digit) {
            whole.write(token.symbol, out);
        } else if (i >= section.numeratorBegin && i < section.slashIndex) {
            numerator.write(token.symbol, out);
        } else if (i == section.slashIndex) {
            out += '/';
        } else if (zeroPadded && i >= denominatorBegin && i < denominatorEnd) {
            paddedDenominator.write('0', out);
        } else if (i >= denominatorBegin && i < denominatorEnd && token.kind == TokenKind::digit) {
            // Denominator digits are left-aligned; the last placeholder takes any excess.
            const bool last = i + 1 == denominatorEnd;
            if (denominatorIndex < denominatorDigits.size()) {
                const size_t take = last ? std::string::npos : 1;
                out += denominatorDigits.substr(denominatorIndex, take);
                denominatorIndex = last ? denominatorDigits.size() : denominatorIndex + 1;
            } else if (token.symbol != '#') {
                out += token.symbol == '0' ? '0' : ' ';
            }
        } else {
            out += token.text;
        }
    }
    return out;
}

} // namespace

std::string renderNumeric(const Section& section, double magnitude) {
    switch (section.kind) {
    case SectionKind::number:
        return renderFixed(section, magnitude);
    case SectionKind::scientific:
        return renderScientific(section, magnitude);
    case SectionKind::fraction:
        return renderFraction(section, magnitude);
    case SectionKind::dateTime:
        return renderDateTime(section, magnitude);
    case SectionKind::general:
    case SectionKind::literal:
    case SectionKind::text:
        break;
    }
    std::string out;
    for (const Token& token : section.tokens) {
        out += token.kind == TokenKind::general ? formatGeneralNumber(magnitude) : token.text;
    }
    return out;
}

std::string renderText(const Section& section, std::string_view text) {
    std::string out;
    for (const Token& token : section.tokens) {
        if (token.kind == TokenKind::textValue)
            out += text;
        else
            out += token.text;
    }
    return out;
}

} // namespace sumora::numberformat
