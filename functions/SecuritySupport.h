#pragma once
// Shared machinery of the securities functions (coupon bonds, discounted and
// odd-period securities): the settlement/maturity, frequency and basis
// arguments with their common checks, and the coupon schedule that steps in
// whole coupon periods from an anchor date. Day counts come from
// basisDayCount (DateSupport.h), the one day-count implementation.
#include <cstdint>
#include <functional>
#include <optional>

#include "functions/ArgumentValues.h"

namespace sumora {

// Argument i as a day-count basis 0-4, 0 when missing or empty; a number
// outside 0-4 (after truncation) is "#NUM!".
ArgValue<int> basisArg(FunctionContext& c, size_t i);
// Argument i as coupons per year: 1, 2 or 4 after truncation, else "#NUM!".
ArgValue<int> frequencyArg(FunctionContext& c, size_t i);

struct SecurityDates {
    int64_t settlement;
    int64_t maturity;
};
// Arguments i and i + 1 as settlement and maturity; settlement on or after
// maturity is "#NUM!".
ArgValue<SecurityDates> securityDatesArg(FunctionContext& c, size_t i);

// `anchor` moved by `months` (negative: back), keeping its day of the month
// (clamped to shorter months); an anchor on a month's last day stays on
// month ends.
int64_t shiftMonths(int64_t anchor, int64_t months);

// The k with shiftMonths(anchor, (k - 1) * months) <= date <
// shiftMonths(anchor, k * months): the period of `months`-month steps from
// `anchor` that holds `date`.
int64_t periodIndex(int64_t anchor, int64_t date, int months);

struct CouponPeriod {
    int64_t previous; // the coupon date on or before settlement
    int64_t next;     // the coupon date after settlement
    int64_t count;    // coupons payable from `next` to maturity, both included
};
// The coupon period holding `settlement` of a security whose coupons fall
// every 12 / frequency months back from maturity (settlement < maturity).
CouponPeriod couponPeriod(int64_t settlement, int64_t maturity, int frequency);

// COUPDAYS: the days of the coupon period [previous, next] by the basis:
// actual days for basis 1, 365 / frequency for 3, 360 / frequency otherwise.
double couponPeriodDays(int64_t previous, int64_t next, int frequency, int basis);
// COUPDAYBS: days from the period's start to settlement.
double daysSinceCoupon(const CouponPeriod& p, int64_t settlement, int basis);
// COUPDAYSNC: days from settlement to the next coupon; the 30/360 bases
// count the rest of the period so that the two parts make the whole.
double daysToCoupon(const CouponPeriod& p, int64_t settlement, int frequency, int basis);

// A yield y with price(y) = target: Newton's method from `guess`, then a
// bracketed search; nothing when neither converges. Yields are per year and
// compound `frequency` times a year, so they lie above -frequency.
std::optional<double> solveYield(const std::function<double(double)>& price, double target, int frequency,
                                 double guess = 0.1);

} // namespace sumora
