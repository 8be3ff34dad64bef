#include "functions/SecuritySupport.h"

#include <cmath>

#include "functions/DateSupport.h"
#include "functions/FinancialSupport.h"
#include "values/SerialDate.h"

namespace sumora {

namespace {

// A number argument that may be missing or empty, truncated to a whole number.
ArgValue<double> wholeArgOr(FunctionContext& c, size_t i, double fallback) {
    auto x = optionalNumberArg(c, i, fallback);
    if (!x) return x;
    return {std::trunc(*x), {}};
}

} // namespace

ArgValue<int> basisArg(FunctionContext& c, size_t i) {
    auto x = wholeArgOr(c, i, 0);
    if (!x) return {std::nullopt, x.failure};
    if (*x < 0 || *x > 4) return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {static_cast<int>(*x), {}};
}

ArgValue<int> frequencyArg(FunctionContext& c, size_t i) {
    auto x = numberArg(c, i);
    if (!x) return {std::nullopt, x.failure};
    const double f = std::trunc(*x);
    if (f != 1 && f != 2 && f != 4) return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {static_cast<int>(f), {}};
}

ArgValue<SecurityDates> securityDatesArg(FunctionContext& c, size_t i) {
    auto settlement = dayArg(c, i);
    if (!settlement) return {std::nullopt, settlement.failure};
    auto maturity = dayArg(c, i + 1);
    if (!maturity) return {std::nullopt, maturity.failure};
    if (*settlement >= *maturity) return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {SecurityDates{*settlement, *maturity}, {}};
}

int64_t shiftMonths(int64_t anchor, int64_t months) {
    const CivilDate a = dateFrom1900(anchor);
    const bool monthEnd = a.day == daysInMonth(a.year, a.month);
    const int64_t index = a.year * 12 + (a.month - 1) + months;
    const int64_t year = index >= 0 ? index / 12 : (index - 11) / 12;
    const int month = static_cast<int>(index - year * 12) + 1;
    const int last = daysInMonth(year, month);
    const int day = monthEnd ? last : std::min(a.day, last);
    return daysSince1900({year, month, day});
}

int64_t periodIndex(int64_t anchor, int64_t date, int months) {
    // A first guess from the months between the dates, then exact steps.
    const CivilDate a = dateFrom1900(anchor), d = dateFrom1900(date);
    const int64_t apart = (d.year - a.year) * 12 + (d.month - a.month);
    int64_t k = (apart >= 0 ? apart / months : -((-apart) / months)) + 1;
    while (shiftMonths(anchor, (k - 1) * months) > date)
        --k;
    while (shiftMonths(anchor, k * months) <= date)
        ++k;
    return k;
}

CouponPeriod couponPeriod(int64_t settlement, int64_t maturity, int frequency) {
    const int step = 12 / frequency;
    const int64_t k = periodIndex(maturity, settlement, step);
    return {shiftMonths(maturity, (k - 1) * step), shiftMonths(maturity, k * step), 1 - k};
}

double couponPeriodDays(int64_t previous, int64_t next, int frequency, int basis) {
    if (basis == 1) return static_cast<double>(next - previous);
    return (basis == 3 ? 365.0 : 360.0) / frequency;
}

double daysSinceCoupon(const CouponPeriod& p, int64_t settlement, int basis) {
    return static_cast<double>(basisDayCount(p.previous, settlement, basis));
}

double daysToCoupon(const CouponPeriod& p, int64_t settlement, int frequency, int basis) {
    if (basis == 0 || basis == 4)
        return couponPeriodDays(p.previous, p.next, frequency, basis) - daysSinceCoupon(p, settlement, basis);
    return static_cast<double>(p.next - settlement);
}

std::optional<double> solveYield(const std::function<double(double)>& price, double target, int frequency,
                                 double guess) {
    // Solved for the rate per period, which findRate keeps above -1.
    const double f = frequency;
    auto residual = [&](double r) {
        const double h = 1e-7 * std::max(1.0, std::fabs(r));
        const double value = price(r * f) - target;
        const double slope = (price((r + h) * f) - price((r - h) * f)) / (2 * h);
        return ValueAndSlope{value, slope};
    };
    auto root = findRate(residual, guess / f);
    if (!root || !std::isfinite(*root)) return std::nullopt;
    return *root * f;
}

} // namespace sumora
