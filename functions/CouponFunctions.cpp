// The coupon-bond part of the financial family: the coupon schedule
// (COUPPCD, COUPNCD, COUPNUM, COUPDAYS, COUPDAYBS, COUPDAYSNC), accrued
// interest (ACCRINT, ACCRINTM), price, yield and duration of a bond with
// regular coupons (PRICE, YIELD, DURATION, MDURATION).
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/DateSupport.h"
#include "functions/SecuritySupport.h"

namespace sumora {

namespace {

// A bond's settlement and maturity, frequency and basis, and the coupon
// period settlement falls in: E days long, A days of it gone, DSC to come.
struct Bond {
    SecurityDates dates{};
    int frequency = 1;
    int basis = 0;
    CouponPeriod period{};
    double E = 0, A = 0, DSC = 0;
};

// The bond of arguments (settlement, maturity) at 0 and 1, frequency at
// `frequencyIndex` and the optional basis right after it.
ArgValue<Bond> bondArgs(FunctionContext& c, size_t frequencyIndex) {
    Bond b;
    auto dates = securityDatesArg(c, 0);
    if (!dates) return {std::nullopt, dates.failure};
    auto frequency = frequencyArg(c, frequencyIndex);
    if (!frequency) return {std::nullopt, frequency.failure};
    auto basis = basisArg(c, frequencyIndex + 1);
    if (!basis) return {std::nullopt, basis.failure};
    b.dates = *dates;
    b.frequency = *frequency;
    b.basis = *basis;
    b.period = couponPeriod(b.dates.settlement, b.dates.maturity, b.frequency);
    b.E = couponPeriodDays(b.period.previous, b.period.next, b.frequency, b.basis);
    b.A = daysSinceCoupon(b.period, b.dates.settlement, b.basis);
    b.DSC = daysToCoupon(b.period, b.dates.settlement, b.frequency, b.basis);
    return {b, {}};
}

// The clean price per 100 face value of a bond paying `rate` a year, at
// yield `yld` and `redemption` per 100 at maturity.
double bondPrice(const Bond& b, double rate, double yld, double redemption) {
    const double f = b.frequency, coupon = 100 * rate / f;
    const double accrued = coupon * b.A / b.E;
    if (b.period.count == 1) return (redemption + coupon) / (1 + b.DSC / b.E * yld / f) - accrued;
    const double base = 1 + yld / f, offset = b.DSC / b.E;
    double total = redemption / std::pow(base, static_cast<double>(b.period.count) - 1 + offset);
    for (int64_t k = 1; k <= b.period.count; ++k)
        total += coupon / std::pow(base, static_cast<double>(k) - 1 + offset);
    return total - accrued;
}

// Macaulay duration in years of a bond with face and redemption 100.
double macaulayDuration(const Bond& b, double rate, double yld) {
    const double f = b.frequency, coupon = 100 * rate / f, base = 1 + yld / f, offset = b.DSC / b.E;
    double weighted = 0, total = 0;
    for (int64_t k = 1; k <= b.period.count; ++k) {
        const double periods = static_cast<double>(k) - 1 + offset;
        const double flow = (coupon + (k == b.period.count ? 100 : 0)) / std::pow(base, periods);
        weighted += periods * flow;
        total += flow;
    }
    return weighted / total / f;
}

using CouponResult = double (*)(const Bond&);

template <CouponResult result> FormulaValue couponFunction(FunctionContext& c) {
    auto b = bondArgs(c, 2);
    if (!b) return b.failure;
    return finiteOrNumError(result(*b));
}

// COUPDAYBS(settlement, maturity, frequency, [basis]) — days from the coupon period's start to settlement
double daysBeforeSettlement(const Bond& b) {
    return b.A;
}
// COUPDAYS(settlement, maturity, frequency, [basis]) — days in the coupon period holding settlement
double periodDays(const Bond& b) {
    return b.E;
}
// COUPDAYSNC(settlement, maturity, frequency, [basis]) — days from settlement to the next coupon
double daysAfterSettlement(const Bond& b) {
    return b.DSC;
}
// COUPNCD(settlement, maturity, frequency, [basis]) — the next coupon date after settlement
double nextCoupon(const Bond& b) {
    return static_cast<double>(b.period.next);
}
// COUPPCD(settlement, maturity, frequency, [basis]) — the coupon date on or before settlement
double previousCoupon(const Bond& b) {
    return static_cast<double>(b.period.previous);
}
// COUPNUM(settlement, maturity, frequency, [basis]) — coupons payable from settlement to maturity
double couponCount(const Bond& b) {
    return static_cast<double>(b.period.count);
}

// ACCRINT(issue, first_interest, settlement, rate, par, frequency, [basis], [calc_method]) — accrued interest
// of a periodic-coupon security
FormulaValue accruedInterest(FunctionContext& c) {
    auto issue = dayArg(c, 0);
    if (!issue) return issue.failure;
    auto firstInterest = dayArg(c, 1);
    if (!firstInterest) return firstInterest.failure;
    auto settlement = dayArg(c, 2);
    if (!settlement) return settlement.failure;
    auto rate = declaredNumber(c, 3);
    if (!rate) return rate.failure;
    auto par = optionalNumberArg(c, 4, 1000);
    if (!par) return par.failure;
    auto frequency = frequencyArg(c, 5);
    if (!frequency) return frequency.failure;
    auto basis = basisArg(c, 6);
    if (!basis) return basis.failure;
    auto fromIssue = boolArgOr(c, 7, true);
    if (!fromIssue) return fromIssue.failure;
    if (*rate <= 0 || *par <= 0 || *issue >= *settlement) return err(ErrorKind::invalidNumber);
    // Interest accrues from issue, or from the first interest date once
    // settlement is past it and calc_method is FALSE.
    const int64_t start = !*fromIssue && *settlement > *firstInterest ? *firstInterest : *issue;
    // In coupon periods: the days over the period's length, which under
    // actual/actual differs from one quasi-coupon period (anchored on the
    // first interest date) to the next, so each contributes its share.
    double periods = 0;
    if (*basis != 1) {
        periods = static_cast<double>(basisDayCount(start, *settlement, *basis)) /
                  couponPeriodDays(start, *settlement, *frequency, *basis);
    } else {
        const int step = 12 / *frequency;
        for (int64_t k = periodIndex(*firstInterest, start, step);; ++k) {
            const int64_t from = shiftMonths(*firstInterest, (k - 1) * step);
            const int64_t to = shiftMonths(*firstInterest, k * step);
            if (from >= *settlement) break;
            const double days = static_cast<double>(std::min(to, *settlement) - std::max(from, start));
            periods += days / static_cast<double>(to - from);
        }
    }
    return finiteOrNumError(*par * *rate / *frequency * periods);
}

// ACCRINTM(issue, settlement, rate, [par], [basis]) — accrued interest of a security paying at maturity
FormulaValue accruedInterestAtMaturity(FunctionContext& c) {
    auto issue = dayArg(c, 0);
    if (!issue) return issue.failure;
    auto settlement = dayArg(c, 1);
    if (!settlement) return settlement.failure;
    auto rate = declaredNumber(c, 2);
    if (!rate) return rate.failure;
    auto par = optionalNumberArg(c, 3, 1000);
    if (!par) return par.failure;
    auto basis = basisArg(c, 4);
    if (!basis) return basis.failure;
    if (*rate <= 0 || *par <= 0 || *issue >= *settlement) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(*par * *rate * yearFraction(*issue, *settlement, *basis));
}

// PRICE(settlement, maturity, rate, yld, redemption, frequency, [basis]) — price per 100 face value of a
// coupon bond
FormulaValue price(FunctionContext& c) {
    auto b = bondArgs(c, 5);
    if (!b) return b.failure;
    auto rate = declaredNumber(c, 2);
    if (!rate) return rate.failure;
    auto yld = declaredNumber(c, 3);
    if (!yld) return yld.failure;
    auto redemption = declaredNumber(c, 4);
    if (!redemption) return redemption.failure;
    if (*rate < 0 || *yld < 0 || *redemption <= 0) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(bondPrice(*b, *rate, *yld, *redemption));
}

// YIELD(settlement, maturity, rate, pr, redemption, frequency, [basis]) — yield of a coupon bond at a price
FormulaValue yield(FunctionContext& c) {
    auto b = bondArgs(c, 5);
    if (!b) return b.failure;
    auto rate = declaredNumber(c, 2);
    if (!rate) return rate.failure;
    auto pr = declaredNumber(c, 3);
    if (!pr) return pr.failure;
    auto redemption = declaredNumber(c, 4);
    if (!redemption) return redemption.failure;
    if (*rate < 0 || *pr <= 0 || *redemption <= 0) return err(ErrorKind::invalidNumber);
    const double f = b->frequency;
    if (b->period.count == 1) {
        // One coupon left: the price equation is linear in the yield.
        const double paid = *pr / 100 + b->A / b->E * *rate / f;
        const double received = *redemption / 100 + *rate / f;
        return finiteOrNumError((received - paid) / paid * f * b->E / b->DSC);
    }
    auto root = solveYield([&](double y) { return bondPrice(*b, *rate, y, *redemption); }, *pr, b->frequency);
    if (!root) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(*root);
}

// DURATION and MDURATION: the Macaulay duration in years, divided by one
// period's growth at the yield when `modified`.
template <bool modified> FormulaValue bondDuration(FunctionContext& c) {
    auto b = bondArgs(c, 4);
    if (!b) return b.failure;
    auto coupon = declaredNumber(c, 2);
    if (!coupon) return coupon.failure;
    auto yld = declaredNumber(c, 3);
    if (!yld) return yld.failure;
    if (*coupon < 0 || *yld < 0) return err(ErrorKind::invalidNumber);
    const double years = macaulayDuration(*b, *coupon, *yld);
    return finiteOrNumError(modified ? years / (1 + *yld / b->frequency) : years);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kCouponFunctions[] = {
    {"COUPDAYBS", couponFunction<daysBeforeSettlement>, between(3, 4), numberArgRule, none, "COUPDAYBS(settlement, maturity, frequency, basis)", "Returns the days from the start of the coupon period to settlement."},
    {"COUPDAYS", couponFunction<periodDays>, between(3, 4), numberArgRule, none, "COUPDAYS(settlement, maturity, frequency, basis)", "Returns the days in the coupon period that holds settlement."},
    {"COUPDAYSNC", couponFunction<daysAfterSettlement>, between(3, 4), numberArgRule, none, "COUPDAYSNC(settlement, maturity, frequency, basis)", "Returns the days from settlement to the next coupon date."},
    {"COUPNCD", couponFunction<nextCoupon>, between(3, 4), numberArgRule, none, "COUPNCD(settlement, maturity, frequency, basis)", "Returns the next coupon date after settlement."},
    {"COUPNUM", couponFunction<couponCount>, between(3, 4), numberArgRule, none, "COUPNUM(settlement, maturity, frequency, basis)", "Returns the number of coupons payable between settlement and maturity."},
    {"COUPPCD", couponFunction<previousCoupon>, between(3, 4), numberArgRule, none, "COUPPCD(settlement, maturity, frequency, basis)", "Returns the coupon date on or before settlement."},
    {"ACCRINT", accruedInterest, between(6, 8), numberArgRule, none, "ACCRINT(issue, first_interest, settlement, rate, par, frequency, basis, calc_method)", "Returns the accrued interest of a security that pays periodic interest."},
    {"ACCRINTM", accruedInterestAtMaturity, between(3, 5), numberArgRule, none, "ACCRINTM(issue, settlement, rate, par, basis)", "Returns the accrued interest of a security that pays interest at maturity."},
    {"PRICE", price, between(6, 7), numberArgRule, none, "PRICE(settlement, maturity, rate, yld, redemption, frequency, basis)", "Returns the price per 100 face value of a security that pays periodic interest."},
    {"YIELD", yield, between(6, 7), numberArgRule, none, "YIELD(settlement, maturity, rate, pr, redemption, frequency, basis)", "Returns the yield of a security that pays periodic interest."},
    {"DURATION", bondDuration<false>, between(5, 6), numberArgRule, none, "DURATION(settlement, maturity, coupon, yld, frequency, basis)", "Returns the Macaulay duration of a security with periodic interest."},
    {"MDURATION", bondDuration<true>, between(5, 6), numberArgRule, none, "MDURATION(settlement, maturity, coupon, yld, frequency, basis)", "Returns the modified Macaulay duration of a security with periodic interest."},
};
// clang-format on

} // namespace

void registerCouponFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::financial, kCouponFunctions);
}

} // namespace sumora
