// The odd-period part of the financial family: price and yield of a bond
// whose first (ODDFPRICE, ODDFYIELD) or last (ODDLPRICE, ODDLYIELD) coupon
// period is shorter or longer than the others. An odd period is split into
// quasi-coupon periods of the regular length; each contributes the share of
// its days that the odd period covers.
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/DateSupport.h"
#include "functions/SecuritySupport.h"

namespace sumora {

namespace {

struct OddTerms {
    int frequency = 1;
    int basis = 0;
};

// Days of [from, to] on the basis, 0 when the span is empty.
double spanDays(int64_t from, int64_t to, int basis) {
    return to > from ? static_cast<double>(basisDayCount(from, to, basis)) : 0.0;
}

// The odd first period of a bond from `issue` to `firstCoupon` seen from
// `settlement`, in quasi-coupon periods counted back from the first coupon.
struct OddFirstPeriod {
    double couponPeriods = 0;  // Σ DC/NL: the first coupon in regular coupons
    double accruedPeriods = 0; // Σ A/NL: interest accrued at settlement
    double toFirstCoupon = 0;  // quasi-coupon periods from settlement to the first coupon
    int64_t laterCoupons = 0;  // coupons after the first, up to maturity
};

OddFirstPeriod oddFirstPeriod(int64_t settlement, int64_t maturity, int64_t issue, int64_t firstCoupon,
                              const OddTerms& t) {
    const int step = 12 / t.frequency;
    OddFirstPeriod p;
    for (int64_t j = 0;; ++j) {
        const int64_t start = shiftMonths(firstCoupon, -(j + 1) * step);
        const int64_t end = shiftMonths(firstCoupon, -j * step);
        if (end <= issue) break;
        const double length = couponPeriodDays(start, end, t.frequency, t.basis);
        const int64_t from = std::max(start, issue);
        p.couponPeriods += spanDays(from, end, t.basis) / length;
        p.accruedPeriods += spanDays(from, std::min(end, settlement), t.basis) / length;
        if (start <= settlement && settlement < end) {
            const CouponPeriod holding{start, end, 0};
            p.toFirstCoupon =
                static_cast<double>(j) + daysToCoupon(holding, settlement, t.frequency, t.basis) / length;
        }
    }
    p.laterCoupons = couponPeriod(firstCoupon, maturity, t.frequency).count;
    return p;
}

double oddFirstPrice(const OddFirstPeriod& p, const OddTerms& t, double rate, double yld, double redemption) {
    const double coupon = 100 * rate / t.frequency, base = 1 + yld / t.frequency;
    double price = coupon * p.couponPeriods / std::pow(base, p.toFirstCoupon);
    for (int64_t k = 1; k <= p.laterCoupons; ++k)
        price += coupon / std::pow(base, p.toFirstCoupon + static_cast<double>(k));
    price += redemption / std::pow(base, p.toFirstCoupon + static_cast<double>(p.laterCoupons));
    return price - coupon * p.accruedPeriods;
}

// The odd last period from `lastInterest` to maturity, in quasi-coupon
// periods counted forward from the last interest date.
struct OddLastPeriod {
    double couponPeriods = 0;    // Σ DC/NL
    double accruedPeriods = 0;   // Σ A/NL
    double remainingPeriods = 0; // Σ DSC/NL
};

OddLastPeriod oddLastPeriod(int64_t settlement, int64_t maturity, int64_t lastInterest, const OddTerms& t) {
    const int step = 12 / t.frequency;
    OddLastPeriod p;
    for (int64_t i = 0;; ++i) {
        const int64_t start = shiftMonths(lastInterest, i * step);
        const int64_t end = shiftMonths(lastInterest, (i + 1) * step);
        if (start >= maturity) break;
        const double length = couponPeriodDays(start, end, t.frequency, t.basis);
        const int64_t stop = std::min(end, maturity);
        p.couponPeriods += spanDays(start, stop, t.basis) / length;
        p.accruedPeriods += spanDays(start, std::min(stop, settlement), t.basis) / length;
        p.remainingPeriods += spanDays(std::max(start, settlement), stop, t.basis) / length;
    }
    return p;
}

// The arguments after the dates: rate, yld or pr, redemption, frequency
// and basis, from index i on.
struct OddArgs {
    double rate = 0, z = 0, redemption = 0;
    OddTerms terms;
};

ArgValue<OddArgs> oddArgs(FunctionContext& c, size_t i) {
    OddArgs a;
    double* numbers[] = {&a.rate, &a.z, &a.redemption};
    for (size_t k = 0; k < 3; ++k) {
        auto x = declaredNumber(c, i + k);
        if (!x) return {std::nullopt, x.failure};
        *numbers[k] = *x;
    }
    auto frequency = frequencyArg(c, i + 3);
    if (!frequency) return {std::nullopt, frequency.failure};
    auto basis = basisArg(c, i + 4);
    if (!basis) return {std::nullopt, basis.failure};
    a.terms = {*frequency, *basis};
    if (a.rate < 0 || a.z < 0 || a.redemption <= 0) return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {a, {}};
}

// (settlement, maturity, issue, first_coupon, …) with issue < settlement <
// first_coupon < maturity.
ArgValue<OddFirstPeriod> oddFirstArgs(FunctionContext& c, OddArgs& a) {
    auto dates = securityDatesArg(c, 0);
    if (!dates) return {std::nullopt, dates.failure};
    auto issue = dayArg(c, 2);
    if (!issue) return {std::nullopt, issue.failure};
    auto firstCoupon = dayArg(c, 3);
    if (!firstCoupon) return {std::nullopt, firstCoupon.failure};
    auto rest = oddArgs(c, 4);
    if (!rest) return {std::nullopt, rest.failure};
    a = *rest;
    if (!(*issue < dates->settlement && dates->settlement < *firstCoupon && *firstCoupon < dates->maturity))
        return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {oddFirstPeriod(dates->settlement, dates->maturity, *issue, *firstCoupon, a.terms), {}};
}

// ODDFPRICE(settlement, maturity, issue, first_coupon, rate, yld, redemption, frequency, [basis]) — price per
// 100 face value with an odd first period
FormulaValue oddFirstPriceFunction(FunctionContext& c) {
    OddArgs a;
    auto p = oddFirstArgs(c, a);
    if (!p) return p.failure;
    return finiteOrNumError(oddFirstPrice(*p, a.terms, a.rate, a.z, a.redemption));
}

// ODDFYIELD(settlement, maturity, issue, first_coupon, rate, pr, redemption, frequency, [basis]) — yield with
// an odd first period
FormulaValue oddFirstYieldFunction(FunctionContext& c) {
    OddArgs a;
    auto p = oddFirstArgs(c, a);
    if (!p) return p.failure;
    if (a.z <= 0) return err(ErrorKind::invalidNumber);
    auto root = solveYield([&](double y) { return oddFirstPrice(*p, a.terms, a.rate, y, a.redemption); }, a.z,
                           a.terms.frequency);
    if (!root) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(*root);
}

// (settlement, maturity, last_interest, …) with last_interest < settlement < maturity.
ArgValue<OddLastPeriod> oddLastArgs(FunctionContext& c, OddArgs& a) {
    auto dates = securityDatesArg(c, 0);
    if (!dates) return {std::nullopt, dates.failure};
    auto lastInterest = dayArg(c, 2);
    if (!lastInterest) return {std::nullopt, lastInterest.failure};
    auto rest = oddArgs(c, 3);
    if (!rest) return {std::nullopt, rest.failure};
    a = *rest;
    if (*lastInterest >= dates->settlement) return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {oddLastPeriod(dates->settlement, dates->maturity, *lastInterest, a.terms), {}};
}

// ODDLPRICE(settlement, maturity, last_interest, rate, yld, redemption, frequency, [basis]) — price per 100
// face value with an odd last period
FormulaValue oddLastPriceFunction(FunctionContext& c) {
    OddArgs a;
    auto p = oddLastArgs(c, a);
    if (!p) return p.failure;
    const double coupon = 100 * a.rate / a.terms.frequency;
    return finiteOrNumError((a.redemption + coupon * p->couponPeriods) /
                                (1 + p->remainingPeriods * a.z / a.terms.frequency) -
                            coupon * p->accruedPeriods);
}

// ODDLYIELD(settlement, maturity, last_interest, rate, pr, redemption, frequency, [basis]) — yield with an
// odd last period
FormulaValue oddLastYieldFunction(FunctionContext& c) {
    OddArgs a;
    auto p = oddLastArgs(c, a);
    if (!p) return p.failure;
    if (a.z <= 0) return err(ErrorKind::invalidNumber);
    const double coupon = 100 * a.rate / a.terms.frequency;
    const double paid = a.z + coupon * p->accruedPeriods;
    return finiteOrNumError((a.redemption + coupon * p->couponPeriods - paid) / paid * a.terms.frequency /
                            p->remainingPeriods);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kOddPeriodFunctions[] = {
    {"ODDFPRICE", oddFirstPriceFunction, between(8, 9), numberArgRule, none, "ODDFPRICE(settlement, maturity, issue, first_coupon, rate, yld, redemption, frequency, basis)", "Returns the price per 100 face value of a security with an odd first period."},
    {"ODDFYIELD", oddFirstYieldFunction, between(8, 9), numberArgRule, none, "ODDFYIELD(settlement, maturity, issue, first_coupon, rate, pr, redemption, frequency, basis)", "Returns the yield of a security with an odd first period."},
    {"ODDLPRICE", oddLastPriceFunction, between(7, 8), numberArgRule, none, "ODDLPRICE(settlement, maturity, last_interest, rate, yld, redemption, frequency, basis)", "Returns the price per 100 face value of a security with an odd last period."},
    {"ODDLYIELD", oddLastYieldFunction, between(7, 8), numberArgRule, none, "ODDLYIELD(settlement, maturity, last_interest, rate, pr, redemption, frequency, basis)", "Returns the yield of a security with an odd last period."},
};
// clang-format on

} // namespace

void registerOddPeriodFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::financial, kOddPeriodFunctions);
}

} // namespace sumora
