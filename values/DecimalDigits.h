#pragma once
// Decimal rounding for displayed numbers. A double is first reduced to the
// 15 significant decimal digits that spreadsheets carry, and every later
// rounding works on those digits, half away from zero. That is what makes
// 2.675 show as 2.68 with two decimals (the double is 2.67499999999999982..., but
// its 15-digit form is 2.675), and 0.1 + 0.2 show as 0.3.
#include <string>

namespace sumora {

class DecimalDigits {
  public:
    // nonNegative must be finite and >= 0.
    static DecimalDigits fromDouble(double nonNegative);

    bool isZero() const { return digits_.empty(); }
    // Exponent of the leading digit in scientific notation (123.4 -> 2).
    int leadingExponent() const { return pointPosition_ - 1; }
    int significantDigitCount() const { return static_cast<int>(digits_.size()); }

    // Multiplies by 10^power (percent signs, thousands scaling, mantissas).
    void scaleByPowerOfTen(int power) {
        if (!isZero()) pointPosition_ += power;
    }
    // Keeps `places` digits after the point (negative: rounds to tens, ...).
    void roundToPlaces(int places);

    // The digits before the point, "" when the value is below 1.
    std::string integerDigits() const;
    // Exactly `places` digits after the point.
    std::string fractionDigits(int places) const;

    bool operator==(const DecimalDigits&) const = default;

  private:
    std::string digits_;    // significant digits, no leading or trailing zeros
    int pointPosition_ = 0; // value = 0.digits_ x 10^pointPosition_
};

} // namespace sumora
