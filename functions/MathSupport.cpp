#include "functions/MathSupport.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "values/DecimalDigits.h"

namespace sumora {

namespace {

constexpr int kSignificantDigits = 15;
constexpr double kExactIntegerLimit = 9007199254740992.0; // 2^53

// The 15 significant digits of |x| (> 0) and the decimal exponent of the
// first one: 2.675 -> "267500000000000", 0.
struct SignificantDigits {
    std::string digits;
    int exponent = 0;
};

SignificantDigits significantDigits(double magnitude) {
    DecimalDigits d = DecimalDigits::fromDouble(magnitude);
    const int exponent = d.leadingExponent();
    d.scaleByPowerOfTen(kSignificantDigits - 1 - exponent);
    return {d.integerDigits(), exponent};
}

// Reads "digits × 10^scale" back as the nearest double.
double fromDecimal(const std::string& digits, int scale, bool negative) {
    std::string text = negative ? "-" : "";
    text += digits;
    text += 'e';
    text += std::to_string(scale);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

double roundWhole(double x, RoundingDirection direction) {
    switch (direction) {
    case RoundingDirection::nearest:
        return std::round(x);
    case RoundingDirection::awayFromZero:
        return x < 0 ? -std::ceil(-x) : std::ceil(x);
    case RoundingDirection::towardZero:
        return std::trunc(x);
    }
    return x;
}

// Rounding at or past the 15th significant digit: there the decimal form
// has nothing to cut, but the binary value may still carry a fraction
// (123456789012345.67 to 0 decimals), so the value is scaled and rounded
// as long as the scaled value still holds a fraction at all.
double roundBeyondPrecision(double x, int digits, RoundingDirection direction) {
    const double scale = std::pow(10.0, digits);
    const double scaled = x * scale;
    if (!std::isfinite(scaled) || std::fabs(scaled) >= kExactIntegerLimit) return x;
    return roundWhole(scaled, direction) / scale;
}

} // namespace

int truncatedInt(double x, int limit) {
    return static_cast<int>(
        std::clamp(std::trunc(x), -static_cast<double>(limit), static_cast<double>(limit)));
}

double combinDouble(double n, double k) {
    if (k < 0 || k > n) return 0;
    k = std::min(k, n - k);
    double result = 1;
    for (double i = 1; i <= k && std::isfinite(result); ++i) {
        // result is C(n - k + i - 1, i - 1); multiplying first keeps every step
        // an exact integer while the product fits the mantissa.
        double factor = n - k + i;
        if (result * factor < kExactIntegerLimit)
            result = result * factor / i;
        else
            result *= factor / i;
    }
    return result;
}

double approxValue(double x) {
    if (!std::isfinite(x) || x == 0) return x;
    SignificantDigits d = significantDigits(std::fabs(x));
    return fromDecimal(d.digits, d.exponent - (kSignificantDigits - 1), x < 0);
}

double snapMultiple(double x) {
    return std::floor(x) == x ? x : approxValue(x);
}

double roundDecimal(double x, int digits, RoundingDirection direction) {
    if (!std::isfinite(x) || x == 0) return x;
    digits = std::clamp(digits, -400, 400);
    SignificantDigits d = significantDigits(std::fabs(x));
    const int keep = d.exponent + 1 + digits; // significant digits that survive
    if (keep >= kSignificantDigits) return roundBeyondPrecision(x, digits, direction);
    const bool negative = x < 0;
    if (keep < 0) {
        if (direction != RoundingDirection::awayFromZero) return 0;
        return fromDecimal("1", -digits, negative);
    }
    std::string kept = d.digits.substr(0, static_cast<size_t>(keep));
    const std::string_view dropped = std::string_view(d.digits).substr(static_cast<size_t>(keep));
    bool up = false;
    switch (direction) {
    case RoundingDirection::nearest:
        up = dropped.front() >= '5';
        break;
    case RoundingDirection::awayFromZero:
        up = dropped.find_first_not_of('0') != std::string_view::npos;
        break;
    case RoundingDirection::towardZero:
        break;
    }
    if (up) {
        int i = static_cast<int>(kept.size()) - 1;
        while (i >= 0 && kept[static_cast<size_t>(i)] == '9')
            kept[static_cast<size_t>(i--)] = '0';
        if (i >= 0)
            ++kept[static_cast<size_t>(i)];
        else
            kept.insert(kept.begin(), '1');
    }
    if (kept.find_first_not_of('0') == std::string::npos) return 0;
    return fromDecimal(kept, -digits, negative);
}

} // namespace sumora
