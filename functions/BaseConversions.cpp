// Radix conversions. The engineering conversions (DEC2BIN, HEX2OCT, ...) work
// on ten digits of radix 2, 8 or 16, where a leading digit in the upper half
// marks a negative number in two's complement; BASE and DECIMAL know no sign.
#include "functions/BaseConversions.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "engine/FunctionContext.h"
#include "functions/MathSupport.h"

namespace sumora {

namespace {

constexpr double kExactIntegerLimit = 9007199254740992.0; // 2^53
constexpr size_t kComplementDigits = 10;

int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const int upper = std::toupper(static_cast<unsigned char>(c));
    if (upper >= 'A' && upper <= 'Z') return upper - 'A' + 10;
    return -1;
}

// radix^10: 1024, 2^30, 2^40.
int64_t complementModulus(int radix) {
    int64_t m = 1;
    for (size_t i = 0; i < kComplementDigits; ++i)
        m *= radix;
    return m;
}

// Upper-case digits of `value`, zero-padded to minLength.
std::string formatInRadix(uint64_t value, int radix, size_t minLength = 0) {
    static constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::string reversed;
    do {
        reversed.push_back(kDigits[value % static_cast<uint64_t>(radix)]);
        value /= static_cast<uint64_t>(radix);
    } while (value != 0);
    if (reversed.size() < minLength) reversed.append(minLength - reversed.size(), '0');
    return std::string(reversed.rbegin(), reversed.rend());
}

// Digits of either case to their value; "" is 0. Nothing on a foreign
// character or a value of 2^53 or more.
std::optional<double> parseInRadix(std::string_view digits, int radix) {
    double value = 0;
    for (char c : digits) {
        const int d = digitValue(c);
        if (d < 0 || d >= radix) return std::nullopt;
        value = value * radix + d;
        if (value >= kExactIntegerLimit) return std::nullopt;
    }
    return value;
}

std::optional<int64_t> parseTenDigitComplement(std::string_view digits, int radix) {
    if (digits.size() > kComplementDigits) return std::nullopt;
    auto value = parseInRadix(digits, radix);
    if (!value) return std::nullopt;
    const int64_t modulus = complementModulus(radix);
    auto result = static_cast<int64_t>(*value);
    return result >= modulus / 2 ? result - modulus : result;
}

// Negatives as all ten digits (places ignored), others padded to `places`
// when given. Nothing when the value does not fit ten digits, or places is
// outside 1..10 or too small for the digits.
std::optional<std::string> formatTenDigitComplement(int64_t value, int radix, std::optional<int> places) {
    const int64_t modulus = complementModulus(radix);
    if (value < -modulus / 2 || value >= modulus / 2) return std::nullopt;
    if (value < 0) return formatInRadix(static_cast<uint64_t>(value + modulus), radix, kComplementDigits);
    std::string text = formatInRadix(static_cast<uint64_t>(value), radix);
    if (!places) return text;
    if (*places < 1 || *places > static_cast<int>(kComplementDigits) ||
        text.size() > static_cast<size_t>(*places))
        return std::nullopt;
    return std::string(static_cast<size_t>(*places) - text.size(), '0') + text;
}

// Argument i as the digits to convert: a number gives its plain digits
// (1100100, not the "1.1001e+06" of its text form); errors pass through.
FormulaValue digitsArgument(FunctionContext& c, size_t i) {
    FormulaValue v = c.evaluate(i);
    if (v.isError()) return v;
    if (v.isNumber() && std::trunc(v.numberValue()) == v.numberValue() && std::fabs(v.numberValue()) < 1e15) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%.0f", v.numberValue());
        return txt(buffer);
    }
    return txt(v.description());
}

} // namespace

FormulaValue baseFunction(FunctionContext& c) {
    auto x = c.evalNum(0);
    auto radix = c.evalNum(1);
    auto minLength = c.evalNumOr(2, 0);
    if (!x || !radix || !minLength) return err(ErrorKind::invalidValue);
    const double value = std::trunc(*x);
    const int r = truncatedInt(*radix);
    const int length = truncatedInt(*minLength);
    if (value < 0 || value >= kExactIntegerLimit || r < 2 || r > 36 || length < 0 || length > 255)
        return err(ErrorKind::invalidNumber);
    return txt(formatInRadix(static_cast<uint64_t>(value), r, static_cast<size_t>(length)));
}

FormulaValue decimalFunction(FunctionContext& c) {
    FormulaValue digits = digitsArgument(c, 0);
    if (digits.isError()) return digits;
    auto radix = c.evalNum(1);
    if (!radix) return err(ErrorKind::invalidValue);
    const int r = truncatedInt(*radix);
    if (r < 2 || r > 36 || digits.textValue().size() > 255) return err(ErrorKind::invalidNumber);
    auto value = parseInRadix(digits.textValue(), r);
    return value ? num(*value) : err(ErrorKind::invalidNumber);
}

FormulaValue convertRadix(FunctionContext& c, int from, int to) {
    int64_t value = 0;
    if (from == 10) {
        auto x = c.evalNum(0);
        if (!x) return err(ErrorKind::invalidValue);
        if (std::fabs(*x) >= kExactIntegerLimit) return err(ErrorKind::invalidNumber);
        value = static_cast<int64_t>(std::trunc(*x));
    } else {
        FormulaValue digits = digitsArgument(c, 0);
        if (digits.isError()) return digits;
        auto parsed = parseTenDigitComplement(digits.textValue(), from);
        if (!parsed) return err(ErrorKind::invalidNumber);
        value = *parsed;
    }
    if (to == 10) return num(static_cast<double>(value));
    std::optional<int> places;
    if (c.hasArg(1)) {
        auto p = c.evalNum(1);
        if (!p) return err(ErrorKind::invalidValue);
        places = truncatedInt(*p);
    }
    auto text = formatTenDigitComplement(value, to, places);
    return text ? txt(*text) : err(ErrorKind::invalidNumber);
}

} // namespace sumora
