// More of the financial family's loans and cash flows: cumulative interest
// and principal of a loan (CUMIPMT, CUMPRINC), straight-line interest
// (ISPMT), growth (FVSCHEDULE, PDURATION, RRI), the modified internal rate
// of return (MIRR) and fractional dollar prices (DOLLARDE, DOLLARFR).
#include <cmath>
#include <vector>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/FinancialSupport.h"

namespace sumora {

namespace {

// The principal repaid by payments `start` to `end` of a level-payment loan
// at a positive rate. Each period repays `growth` times the principal of the
// one before (from the second on when payments fall at the start), so the
// sum is geometric.
double principalRepaid(double rate, double nper, double pv, double start, double end, bool due) {
    const double pmt = payment(rate, nper, pv, 0, due), growth = 1 + rate;
    auto powersBetween = [&](double from, double to) { // Σ growth^k for k = from..to
        return from > to ? 0.0 : (std::pow(growth, to + 1) - std::pow(growth, from)) / rate;
    };
    if (!due) return (pmt + pv * rate) * powersBetween(start - 1, end - 1);
    double total = 0;
    if (start == 1) {
        total += pmt; // the first payment, made at once, is all principal
        start = 2;
    }
    return total + (pmt + rate * (pv + pmt)) * powersBetween(start - 2, end - 2);
}

// CUMIPMT and CUMPRINC: the interest or the principal paid from period
// `start` to `end` of a level-payment loan.
template <bool interest> FormulaValue cumulativePayment(FunctionContext& c) {
    double a[6];
    for (size_t i = 0; i < 6; ++i) {
        auto x = declaredNumber(c, i);
        if (!x) return x.failure;
        a[i] = *x;
    }
    const double rate = a[0], nper = std::trunc(a[1]), pv = a[2];
    const double start = std::trunc(a[3]), end = std::trunc(a[4]), type = std::trunc(a[5]);
    if (rate <= 0 || nper <= 0 || pv <= 0 || start < 1 || end < start || end > nper ||
        (type != 0 && type != 1))
        return err(ErrorKind::invalidNumber);
    const bool due = type == 1;
    const double principal = principalRepaid(rate, nper, pv, start, end, due);
    if (!interest) return finiteOrNumError(principal);
    return finiteOrNumError(payment(rate, nper, pv, 0, due) * (end - start + 1) - principal);
}

// ISPMT(rate, per, nper, pv) — interest of period `per` of a loan repaid in equal principal parts
FormulaValue straightLineInterest(FunctionContext& c) {
    double a[4];
    for (size_t i = 0; i < 4; ++i) {
        auto x = declaredNumber(c, i);
        if (!x) return x.failure;
        a[i] = *x;
    }
    if (a[2] == 0) return err(ErrorKind::divisionByZero);
    return finiteOrNumError(a[3] * a[0] * (a[1] / a[2] - 1));
}

// FVSCHEDULE(principal, schedule) — principal grown by each rate of a schedule in turn
FormulaValue futureValueSchedule(FunctionContext& c) {
    auto principal = declaredNumber(c, 0);
    if (!principal) return principal.failure;
    double value = *principal;
    for (const FormulaValue& rate : c.resolveValues(1)) {
        if (rate.isError()) return rate;
        if (rate.isEmpty()) continue; // a blank rate is 0
        if (!rate.isNumber()) return err(ErrorKind::invalidValue);
        value *= 1 + rate.numberValue();
    }
    return finiteOrNumError(value);
}

// PDURATION(rate, pv, fv) — periods for an investment to grow from pv to fv
FormulaValue periodsToGrow(FunctionContext& c) {
    double a[3];
    for (size_t i = 0; i < 3; ++i) {
        auto x = declaredNumber(c, i);
        if (!x) return x.failure;
        a[i] = *x;
    }
    if (a[0] <= 0 || a[1] <= 0 || a[2] <= 0) return err(ErrorKind::invalidNumber);
    return finiteOrNumError((std::log(a[2]) - std::log(a[1])) / std::log1p(a[0]));
}

// RRI(nper, pv, fv) — equivalent interest rate per period for growth from pv to fv
FormulaValue equivalentRate(FunctionContext& c) {
    double a[3];
    for (size_t i = 0; i < 3; ++i) {
        auto x = declaredNumber(c, i);
        if (!x) return x.failure;
        a[i] = *x;
    }
    if (a[0] <= 0 || a[1] == 0) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(std::pow(a[2] / a[1], 1 / a[0]) - 1);
}

// MIRR(values, finance_rate, reinvest_rate) — internal rate of return with
// outlays financed at one rate and income reinvested at another
FormulaValue modifiedIrr(FunctionContext& c) {
    std::vector<double> flows;
    for (const FormulaValue& v : c.resolveValues(0)) {
        if (v.isError()) return v;
        if (v.isNumber()) flows.push_back(v.numberValue()); // texts, booleans and blanks are skipped
    }
    auto financeRate = declaredNumber(c, 1);
    if (!financeRate) return financeRate.failure;
    auto reinvestRate = declaredNumber(c, 2);
    if (!reinvestRate) return reinvestRate.failure;
    if (*financeRate <= -1 || *reinvestRate <= -1) return err(ErrorKind::invalidNumber);
    // Income compounded to the last period, outlays discounted to the first.
    double income = 0, outlay = 0;
    const double n = static_cast<double>(flows.size());
    for (size_t i = 0; i < flows.size(); ++i) {
        const double t = static_cast<double>(i);
        if (flows[i] > 0)
            income += flows[i] * std::pow(1 + *reinvestRate, n - 1 - t);
        else
            outlay += flows[i] / std::pow(1 + *financeRate, t);
    }
    if (income == 0 || outlay == 0) return err(ErrorKind::divisionByZero);
    return finiteOrNumError(std::pow(-income / outlay, 1 / (n - 1)) - 1);
}

// The fraction argument of DOLLARDE and DOLLARFR, truncated: negative is
// "#NUM!", below 1 "#DIV/0!"; gives the power of ten that holds it.
ArgValue<double> fractionArgs(FunctionContext& c, double& dollar, double& fraction) {
    auto x = declaredNumber(c, 0);
    if (!x) return x;
    auto f = declaredNumber(c, 1);
    if (!f) return f;
    dollar = *x;
    fraction = std::trunc(*f);
    if (fraction < 0) return {std::nullopt, err(ErrorKind::invalidNumber)};
    if (fraction < 1) return {std::nullopt, err(ErrorKind::divisionByZero)};
    return {std::pow(10.0, std::ceil(std::log10(fraction))), {}};
}

// DOLLARDE(fractional_dollar, fraction) — a price written as dollars and
// fractions (1.02 with fraction 16 is 1 2/16) as a decimal number
FormulaValue dollarDecimal(FunctionContext& c) {
    double dollar = 0, fraction = 0;
    auto scale = fractionArgs(c, dollar, fraction);
    if (!scale) return scale.failure;
    const double whole = std::trunc(dollar);
    return finiteOrNumError(whole + (dollar - whole) * *scale / fraction);
}

// DOLLARFR(decimal_dollar, fraction) — a decimal price written as dollars and fractions
FormulaValue dollarFraction(FunctionContext& c) {
    double dollar = 0, fraction = 0;
    auto scale = fractionArgs(c, dollar, fraction);
    if (!scale) return scale.failure;
    const double whole = std::trunc(dollar);
    return finiteOrNumError(whole + (dollar - whole) * fraction / *scale);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kCashFlowFunctions[] = {
    {"CUMIPMT", cumulativePayment<true>, exactly(6), numberArgRule, none, "CUMIPMT(rate, nper, pv, start_period, end_period, type)", "Returns the cumulative interest paid on a loan between two periods."},
    {"CUMPRINC", cumulativePayment<false>, exactly(6), numberArgRule, none, "CUMPRINC(rate, nper, pv, start_period, end_period, type)", "Returns the cumulative principal paid on a loan between two periods."},
    {"ISPMT", straightLineInterest, exactly(4), numberArgRule, none, "ISPMT(rate, per, nper, pv)", "Returns the interest paid in a period of a loan with equal principal payments."},
    {"FVSCHEDULE", futureValueSchedule, exactly(2), numberArgRule, none, "FVSCHEDULE(principal, schedule)", "Returns the future value of a principal after a schedule of compound rates."},
    {"PDURATION", periodsToGrow, exactly(3), numberArgRule, none, "PDURATION(rate, pv, fv)", "Returns the number of periods for an investment to reach a value."},
    {"RRI", equivalentRate, exactly(3), numberArgRule, none, "RRI(nper, pv, fv)", "Returns the equivalent interest rate for the growth of an investment."},
    {"MIRR", modifiedIrr, exactly(3), numberArgRule, none, "MIRR(values, finance_rate, reinvest_rate)", "Returns the internal rate of return with different finance and reinvestment rates."},
    {"DOLLARDE", dollarDecimal, exactly(2), numberArgRule, none, "DOLLARDE(fractional_dollar, fraction)", "Converts a dollar price written as a fraction into a decimal number."},
    {"DOLLARFR", dollarFraction, exactly(2), numberArgRule, none, "DOLLARFR(decimal_dollar, fraction)", "Converts a decimal dollar price into one written as a fraction."},
};
// clang-format on

} // namespace

void registerCashFlowFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::financial, kCashFlowFunctions);
}

} // namespace sumora
