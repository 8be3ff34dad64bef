// The General number format. Fixed notation is used while it fits in 11
// characters (the sign not counted): whole numbers below 10^11, and fractions
// rounded to the digits that still fit (1/3 -> 0.333333333). Below 0.0001 a
// number stays in fixed notation only when it fits without losing digits
// (0.00001 stays, 0.0000123456 becomes 1.23456E-05); from 10^11 up, and for
// the small numbers that do not fit, scientific notation with at most six
// significant digits and a two-digit exponent is used (1.23457E+12).
// Trailing zeros are never shown. This is the rule of the common desktop
// spreadsheets for a standard-width cell; TEXT(x, "General") uses it too.
#include "values/DecimalDigits.h"
#include "values/NumberFormat.h"

#include <cmath>
#include <string>

namespace sumora {

namespace {

constexpr int kWidth = 11;
constexpr int kSmallestAlwaysFixedExponent = -4;
constexpr int kScientificDecimals = 5;

std::string joinDigits(const DecimalDigits& value, int places) {
    std::string whole = value.integerDigits();
    if (whole.empty()) whole = "0";
    std::string fraction = value.fractionDigits(places);
    while (!fraction.empty() && fraction.back() == '0')
        fraction.pop_back();
    return fraction.empty() ? whole : whole + "." + fraction;
}

std::string scientific(const DecimalDigits& value) {
    int exponent = value.leadingExponent();
    DecimalDigits mantissa = value;
    mantissa.scaleByPowerOfTen(-exponent);
    mantissa.roundToPlaces(kScientificDecimals);
    if (mantissa.leadingExponent() > 0) { // 9.999999 rounded up to 10
        ++exponent;
        mantissa = value;
        mantissa.scaleByPowerOfTen(-exponent);
        mantissa.roundToPlaces(kScientificDecimals);
    }
    std::string digits = std::to_string(std::abs(exponent));
    if (digits.size() < 2) digits.insert(0, "0");
    return joinDigits(mantissa, kScientificDecimals) + (exponent < 0 ? "E-" : "E+") + digits;
}

} // namespace

std::string formatGeneralNumber(double number) {
    if (!std::isfinite(number)) return "#NUM!";
    if (number == 0.0) return "0";
    const std::string sign = number < 0 ? "-" : "";
    const DecimalDigits exact = DecimalDigits::fromDouble(std::fabs(number));
    const int leading = exact.leadingExponent();
    if (leading < kWidth) {
        const int wholeLength = std::max(leading + 1, 1);
        const int places = std::max(kWidth - 1 - wholeLength, 0);
        DecimalDigits fixed = exact;
        fixed.roundToPlaces(places);
        const bool fits = !fixed.isZero() && fixed.leadingExponent() < kWidth;
        if (fits && (fixed.leadingExponent() >= kSmallestAlwaysFixedExponent || fixed == exact)) {
            return sign + joinDigits(fixed, places);
        }
    }
    return sign + scientific(exact);
}

} // namespace sumora
