#pragma once
// The arithmetic of the financial family: the time-value-of-money equation
// that PV, FV, PMT, NPER and RATE solve for one of its terms, and the rate
// search shared by RATE, IRR and XIRR. Signs follow the cash-flow convention
// of common spreadsheets: money paid out is negative, money received positive.
#include <functional>
#include <optional>

namespace sumora {

// `due`: payments at the start of each period (type 1) rather than the end.
double presentValue(double rate, double nper, double pmt, double fv, bool due);
double futureValue(double rate, double nper, double pmt, double pv, bool due);
double payment(double rate, double nper, double pv, double fv, bool due);
// The interest part of payment `per` (1-based) of a level-payment loan.
double interestPayment(double rate, double per, double nper, double pv, double fv, bool due);
// Periods until pv grows (or pays down) to fv; nothing when none exists.
std::optional<double> periodCount(double rate, double pmt, double pv, double fv, bool due);

// The residual of the time-value-of-money equation at `rate` and its slope,
// zero at the rate that RATE looks for.
struct ValueAndSlope {
    double value;
    double slope;
};
ValueAndSlope annuityResidual(double rate, double nper, double pmt, double pv, double fv, bool due);

// A root above -1 of `f`: Newton's method from `guess`, and when that fails
// to settle, bisection of the sign change nearest the guess on a wide grid of
// rates. Nothing when neither finds one.
std::optional<double> findRate(const std::function<ValueAndSlope(double)>& f, double guess);

} // namespace sumora
