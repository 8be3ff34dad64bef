// Numbers to text and back: TEXT, VALUE, NUMBERVALUE, FIXED, DOLLAR,
// VALUETOTEXT and ARRAYTOTEXT.
#include <cmath>

#include "functions/ArgumentValues.h"
#include "functions/TextFamily.h"
#include "functions/TextSupport.h"
#include "values/DecimalDigits.h"
#include "values/NumberFormat.h"
#include "values/SerialDate.h"
#include "values/StrictNumber.h"

namespace sumora::textfn {

namespace {

// FIXED and DOLLAR show at most this many decimals.
constexpr double kMaxDecimals = 127;

std::string_view trimmedBlanks(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

bool isDigit(char ch) {
    return ch >= '0' && ch <= '9';
}

// Digits with an optional point and exponent, and thousands commas in the
// integer part only where they separate groups of three ("1,234", not "1,23").
std::optional<double> parseGroupedDecimal(std::string_view s) {
    if (s.empty() || !(isDigit(s.front()) || s.front() == '.')) return std::nullopt;
    size_t integerEnd = s.find_first_of(".eE");
    if (integerEnd == std::string_view::npos) integerEnd = s.size();
    std::string cleaned;
    size_t groupLength = 0;
    bool grouped = false;
    for (size_t i = 0; i < integerEnd; ++i) {
        if (s[i] == ',') {
            if ((grouped && groupLength != 3) || groupLength == 0 || groupLength > 3) return std::nullopt;
            grouped = true;
            groupLength = 0;
            continue;
        }
        if (!isDigit(s[i])) return std::nullopt;
        cleaned += s[i];
        ++groupLength;
    }
    if (grouped && groupLength != 3) return std::nullopt;
    for (size_t i = integerEnd; i < s.size(); ++i) {
        char ch = s[i];
        if (!isDigit(ch) && ch != '.' && ch != 'e' && ch != 'E' && ch != '+' && ch != '-')
            return std::nullopt;
        cleaned += ch;
    }
    auto x = parseStrictNumber(cleaned);
    if (!x || !std::isfinite(*x)) return std::nullopt;
    return x;
}

std::optional<double> parseLenientNumber(std::string_view s) {
    bool negative = false;
    if (s.size() >= 2 && s.front() == '(' && s.back() == ')') {
        negative = true;
        s = trimmedBlanks(s.substr(1, s.size() - 2));
    }
    bool signSeen = false, currencySeen = false;
    while (!s.empty()) {
        if (!signSeen && (s.front() == '-' || s.front() == '+')) {
            signSeen = true;
            negative ^= s.front() == '-';
        } else if (!currencySeen && s.front() == '$') {
            currencySeen = true;
        } else {
            break;
        }
        s.remove_prefix(1);
    }
    double scale = 1;
    if (!s.empty() && s.back() == '%') {
        scale = 0.01;
        s = trimmedBlanks(s.substr(0, s.size() - 1));
    }
    auto x = parseGroupedDecimal(s);
    if (!x) return std::nullopt;
    return (negative ? -*x : *x) * scale;
}

// Rounds half away from zero on the 15 significant digits a spreadsheet
// keeps and lays the result out with a point and optional thousands commas.
std::string fixedText(double magnitude, int decimals, bool grouping) {
    DecimalDigits digits = DecimalDigits::fromDouble(magnitude);
    digits.roundToPlaces(decimals);
    std::string integer = digits.integerDigits();
    if (integer.empty()) integer = "0";
    std::string out;
    for (size_t i = 0; i < integer.size(); ++i) {
        if (grouping && i > 0 && (integer.size() - i) % 3 == 0) out += ',';
        out += integer[i];
    }
    if (decimals > 0) out += "." + digits.fractionDigits(decimals);
    return out;
}

struct FixedArgs {
    double number = 0;
    int decimals = 2;
    bool isZero = false;
};

// number, decimals (default 2, at most 127; negative rounds left of the point).
ArgValue<FixedArgs> fixedArgs(FunctionContext& c) {
    if (c.argCount() < 1) return {std::nullopt, err(ErrorKind::invalidValue)};
    auto x = numberArg(c, 0);
    if (!x) return {std::nullopt, x.failure};
    if (!std::isfinite(*x)) return {std::nullopt, err(ErrorKind::invalidNumber)};
    auto d = numberArgOr(c, 1, 2);
    if (!d) return {std::nullopt, d.failure};
    double decimals = std::trunc(*d);
    if (decimals > kMaxDecimals) return {std::nullopt, err(ErrorKind::invalidValue)};
    decimals = std::max(decimals, -400.0);
    DecimalDigits rounded = DecimalDigits::fromDouble(std::fabs(*x));
    rounded.roundToPlaces(static_cast<int>(decimals));
    return {FixedArgs{*x, static_cast<int>(decimals), rounded.isZero()}, {}};
}

std::string quoted(std::string_view s) {
    std::string out = "\"";
    for (char ch : s) {
        if (ch == '"') out += '"';
        out += ch;
    }
    out += '"';
    return out;
}

// A value as VALUETOTEXT shows it; strict quotes texts so they read back.
std::string valueText(const FormulaValue& v, bool strict) {
    if (strict && v.isText()) return quoted(v.textValue());
    return v.description();
}

} // namespace

std::optional<double> parseNumberText(std::string_view text) {
    std::string_view s = trimmedBlanks(text);
    if (auto x = parseLenientNumber(s)) return x;
    if (auto date = parseDateValueText(s)) return date;
    return parseTimeValueText(s);
}

// TEXT(value, format_text) — the value through a number-format code
FormulaValue text(FunctionContext& c) {
    FormulaValue v = scalarOf(c.evaluate(0));
    if (v.isError()) return v;
    auto code = textArg(c, 1);
    if (!code) return code.failure;
    if (v.isBool()) return txt(v.description());
    if (code->empty()) return txt(""); // the grid shows General for no code; TEXT shows nothing
    if (v.isText()) {
        if (auto x = parseNumberText(v.textValue())) return txt(formatValue(*x, *code).text);
        return txt(formatText(v.textValue(), *code).text);
    }
    return txt(formatValue(v.asNumber().value_or(0), *code).text);
}

// VALUE(text) — the number a text spells ("1,234", "50%", "$5", dates)
FormulaValue value(FunctionContext& c) {
    FormulaValue v = scalarOf(c.evaluate(0));
    if (v.isError()) return v;
    if (v.isNumber()) return v;
    if (v.isEmpty()) return num(0);
    if (!v.isText()) return err(ErrorKind::invalidValue);
    if (auto x = parseNumberText(v.textValue())) return num(*x);
    return err(ErrorKind::invalidValue);
}

// NUMBERVALUE(text, decimal_separator, group_separator) — locale-free parse
FormulaValue numberValue(FunctionContext& c) {
    auto text = textArg(c, 0);
    if (!text) return text.failure;
    auto decimalArg = textArg(c, 1);
    if (!decimalArg) return decimalArg.failure;
    auto groupArg = textArg(c, 2);
    if (!groupArg) return groupArg.failure;
    // Only the first character of each separator counts.
    char32_t decimal = c.hasArg(1) ? firstCodePoint(*decimalArg).value_or(0) : U'.';
    // A comma decimal separator makes the point the default group separator.
    char32_t group = c.hasArg(2) ? firstCodePoint(*groupArg).value_or(0) : (decimal == U',' ? U'.' : U',');
    if (decimal == 0 || decimal == group) return err(ErrorKind::invalidValue);

    std::string plain;
    bool decimalSeen = false, invalid = false;
    size_t percents = 0;
    forEachCodePoint(*text, [&](char32_t ch, size_t, size_t) {
        if (isHorizontalSpace(ch) || ch == '\n' || ch == '\r') return;
        if (ch == '%') {
            ++percents;
        } else if (percents > 0) {
            invalid = true; // percent signs only at the end
        } else if (ch == decimal) {
            invalid |= decimalSeen;
            decimalSeen = true;
            plain += '.';
        } else if (ch == group) {
            invalid |= decimalSeen;
        } else if (ch < 0x80 &&
                   (isDigit(static_cast<char>(ch)) || ch == 'e' || ch == 'E' || ch == '+' || ch == '-')) {
            plain += static_cast<char>(ch);
        } else {
            invalid = true;
        }
    });
    if (invalid) return err(ErrorKind::invalidValue);
    if (plain.empty()) return percents == 0 ? num(0) : err(ErrorKind::invalidValue);
    std::string_view body = plain;
    bool negative = false;
    if (body.front() == '-' || body.front() == '+') {
        negative = body.front() == '-';
        body.remove_prefix(1);
    }
    auto x =
        body.empty() || body.front() == '+' || body.front() == '-' ? std::nullopt : parseStrictNumber(body);
    if (!x || !std::isfinite(*x)) return err(ErrorKind::invalidValue);
    double result = negative ? -*x : *x;
    for (size_t k = 0; k < percents; ++k)
        result /= 100;
    return num(result);
}

// FIXED(number, decimals, no_commas) — rounded text with thousands commas
FormulaValue fixed(FunctionContext& c) {
    auto args = fixedArgs(c);
    if (!args) return args.failure;
    auto noCommas = boolArgOr(c, 2, false);
    if (!noCommas) return noCommas.failure;
    std::string out = args->number < 0 && !args->isZero ? "-" : "";
    out += fixedText(std::fabs(args->number), args->decimals, !*noCommas);
    return txt(std::move(out));
}

// DOLLAR(number, decimals) — currency text: "$1,234.57", "-$5.00"
FormulaValue dollar(FunctionContext& c) {
    auto args = fixedArgs(c);
    if (!args) return args.failure;
    std::string out = args->number < 0 && !args->isZero ? "-$" : "$";
    out += fixedText(std::fabs(args->number), args->decimals, true);
    return txt(std::move(out));
}

// VALUETOTEXT(value, format) — format 1 quotes texts; errors become their text
FormulaValue valueToText(FunctionContext& c) {
    FormulaValue v = scalarOf(c.evaluate(0));
    auto strict = zeroOrOneArg(c, 1);
    if (!strict) return strict.failure;
    return txt(valueText(v, *strict));
}

// ARRAYTOTEXT(array, format) — "a, 1, TRUE", or {"a",1;TRUE,2} when strict
FormulaValue arrayToText(FunctionContext& c) {
    ValueRows rows = c.resolve2DValues(0);
    auto strict = zeroOrOneArg(c, 1);
    if (!strict) return strict.failure;
    std::string out = *strict ? "{" : "";
    for (size_t r = 0; r < rows.size(); ++r) {
        if (r > 0) out += *strict ? ";" : ", ";
        for (size_t k = 0; k < rows[r].size(); ++k) {
            if (k > 0) out += *strict ? "," : ", ";
            out += valueText(rows[r][k], *strict);
        }
    }
    if (*strict) out += "}";
    return txt(std::move(out));
}

} // namespace sumora::textfn
