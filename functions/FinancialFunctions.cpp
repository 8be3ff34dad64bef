// The financial family: loans and annuities (PV, FV, PMT, IPMT, PPMT, NPER,
// RATE), cash-flow valuation (NPV, IRR, XNPV, XIRR), depreciation (SLN, SYD,
// DB, DDB) and interest-rate conversion (EFFECT, NOMINAL). The formulas are
// in FinancialSupport.cpp.
#include <array>
#include <cmath>
#include <vector>

#include "engine/FunctionRegistry.h"
#include "functions/DateSupport.h"
#include "functions/FinancialSupport.h"

namespace sumora {

namespace {

// The leading numeric arguments of a call, or the failure of the first that
// is not a number.
template <size_t N> struct Numbers {
    double at[N];
    FormulaValue failure;
    bool ok = true;
};

// `required` leading arguments must be numbers; the rest default to the
// given values when missing or empty.
template <size_t N>
Numbers<N> numberArgs(FunctionContext& c, size_t required, const std::array<double, N>& defaults) {
    Numbers<N> n;
    for (size_t i = 0; i < N; ++i) {
        ArgValue<double> x = i < required ? numberArg(c, i) : optionalNumberArg(c, i, defaults[i]);
        if (!x) {
            n.ok = false;
            n.failure = std::move(x.failure);
            return n;
        }
        n.at[i] = *x;
    }
    return n;
}

FormulaValue money(double x) {
    return finiteOrNumError(x + 0.0);
}

// ---- loans and annuities -------------------------------------------------

// PV(rate, nper, pmt, fv, type) — present value of a series of payments
FormulaValue pv(FunctionContext& c) {
    auto a = numberArgs<5>(c, 3, {0, 0, 0, 0, 0});
    if (!a.ok) return a.failure;
    return money(presentValue(a.at[0], a.at[1], a.at[2], a.at[3], a.at[4] != 0));
}

// FV(rate, nper, pmt, pv, type) — future value of a series of payments
FormulaValue fv(FunctionContext& c) {
    auto a = numberArgs<5>(c, 3, {0, 0, 0, 0, 0});
    if (!a.ok) return a.failure;
    return money(futureValue(a.at[0], a.at[1], a.at[2], a.at[3], a.at[4] != 0));
}

// PMT(rate, nper, pv, fv, type) — level payment per period
FormulaValue pmt(FunctionContext& c) {
    auto a = numberArgs<5>(c, 3, {0, 0, 0, 0, 0});
    if (!a.ok) return a.failure;
    if (a.at[1] == 0) return err(ErrorKind::invalidNumber);
    return money(payment(a.at[0], a.at[1], a.at[2], a.at[3], a.at[4] != 0));
}

// The (rate, per, nper, pv, fv, type) arguments of IPMT and PPMT.
Numbers<6> periodArgs(FunctionContext& c) {
    auto a = numberArgs<6>(c, 4, {0, 0, 0, 0, 0, 0});
    if (a.ok && (a.at[1] < 1 || a.at[1] > a.at[2] || a.at[2] == 0)) {
        a.ok = false;
        a.failure = err(ErrorKind::invalidNumber);
    }
    return a;
}

// IPMT(rate, per, nper, pv, fv, type) — interest part of payment `per`
FormulaValue ipmt(FunctionContext& c) {
    auto a = periodArgs(c);
    if (!a.ok) return a.failure;
    return money(interestPayment(a.at[0], a.at[1], a.at[2], a.at[3], a.at[4], a.at[5] != 0));
}

// PPMT(rate, per, nper, pv, fv, type) — principal part of payment `per`
FormulaValue ppmt(FunctionContext& c) {
    auto a = periodArgs(c);
    if (!a.ok) return a.failure;
    const bool due = a.at[5] != 0;
    return money(payment(a.at[0], a.at[2], a.at[3], a.at[4], due) -
                 interestPayment(a.at[0], a.at[1], a.at[2], a.at[3], a.at[4], due));
}

// NPER(rate, pmt, pv, fv, type) — number of periods
FormulaValue nper(FunctionContext& c) {
    auto a = numberArgs<5>(c, 3, {0, 0, 0, 0, 0});
    if (!a.ok) return a.failure;
    auto n = periodCount(a.at[0], a.at[1], a.at[2], a.at[3], a.at[4] != 0);
    if (!n) return err(ErrorKind::invalidNumber);
    return money(*n);
}

// RATE(nper, pmt, pv, fv, type, guess) — interest rate per period
FormulaValue rate(FunctionContext& c) {
    auto a = numberArgs<6>(c, 3, {0, 0, 0, 0, 0, 0.1});
    if (!a.ok) return a.failure;
    const double n = a.at[0], perPeriod = a.at[1], present = a.at[2], future = a.at[3];
    const bool due = a.at[4] != 0;
    if (n <= 0) return err(ErrorKind::invalidNumber);
    auto root =
        findRate([&](double r) { return annuityResidual(r, n, perPeriod, present, future, due); }, a.at[5]);
    if (!root) return err(ErrorKind::invalidNumber);
    return money(*root);
}

// ---- cash flows ----------------------------------------------------------

// NPV(rate, value1, value2, ...) — present value of end-of-period cash flows
FormulaValue npv(FunctionContext& c) {
    auto r = numberArg(c, 0);
    if (!r) return r.failure;
    if (*r == -1) return err(ErrorKind::divisionByZero);
    std::vector<double> flows;
    for (size_t i = 1; i < c.argCount(); ++i)
        c.appendNumbers(i, flows);
    double total = 0, discount = 1;
    for (double flow : flows) {
        discount *= 1 + *r;
        total += flow / discount;
    }
    return money(total);
}

bool hasBothSigns(const std::vector<double>& flows) {
    bool positive = false, negative = false;
    for (double x : flows) {
        positive = positive || x > 0;
        negative = negative || x < 0;
    }
    return positive && negative;
}

// IRR(values, guess) — rate at which the periodic cash flows have NPV 0
FormulaValue irr(FunctionContext& c) {
    std::vector<double> flows;
    c.appendNumbers(0, flows);
    auto guess = optionalNumberArg(c, 1, 0.1);
    if (!guess) return guess.failure;
    if (!hasBothSigns(flows)) return err(ErrorKind::invalidNumber);
    auto root = findRate(
        [&](double r) {
            ValueAndSlope v{0, 0};
            for (size_t i = 0; i < flows.size(); ++i) {
                const double discount = std::pow(1 + r, -static_cast<double>(i));
                v.value += flows[i] * discount;
                v.slope -= static_cast<double>(i) * flows[i] * discount / (1 + r);
            }
            return v;
        },
        *guess);
    if (!root) return err(ErrorKind::invalidNumber);
    return money(*root);
}

struct DatedFlows {
    std::vector<double> amounts;
    std::vector<double> years; // from the first date, in 365-day years
};

// The paired values and dates of XNPV and XIRR: as many of each, numbers and
// dates only, no date before the first.
ArgValue<DatedFlows> datedFlows(FunctionContext& c, size_t valuesIndex, size_t datesIndex) {
    if (!c.hasArg(datesIndex)) return {std::nullopt, err(ErrorKind::invalidValue)};
    const std::vector<FormulaValue> values = c.resolveValues(valuesIndex);
    const std::vector<FormulaValue> dates = c.resolveValues(datesIndex);
    if (values.size() != dates.size() || values.empty()) return {std::nullopt, err(ErrorKind::invalidNumber)};
    DatedFlows flows;
    double first = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i].isError()) return {std::nullopt, values[i]};
        auto amount = values[i].isNumber() ? std::optional<double>(values[i].numberValue()) : std::nullopt;
        if (!amount) return {std::nullopt, err(ErrorKind::invalidValue)};
        ArgValue<double> serial = serialOf(dates[i]);
        if (!serial) return {std::nullopt, std::move(serial.failure)};
        const double day = std::floor(*serial);
        if (i == 0) first = day;
        if (day < first) return {std::nullopt, err(ErrorKind::invalidNumber)};
        flows.amounts.push_back(*amount);
        flows.years.push_back((day - first) / 365.0);
    }
    return {std::move(flows), {}};
}

ValueAndSlope datedResidual(const DatedFlows& flows, double r) {
    ValueAndSlope v{0, 0};
    for (size_t i = 0; i < flows.amounts.size(); ++i) {
        const double discount = std::pow(1 + r, -flows.years[i]);
        v.value += flows.amounts[i] * discount;
        v.slope -= flows.years[i] * flows.amounts[i] * discount / (1 + r);
    }
    return v;
}

// XNPV(rate, values, dates) — present value of dated cash flows at the first date
FormulaValue xnpv(FunctionContext& c) {
    auto r = numberArg(c, 0);
    if (!r) return r.failure;
    auto flows = datedFlows(c, 1, 2);
    if (!flows) return flows.failure;
    if (*r <= -1) return err(ErrorKind::invalidNumber);
    return money(datedResidual(*flows, *r).value);
}

// XIRR(values, dates, guess) — rate at which the dated cash flows have XNPV 0
FormulaValue xirr(FunctionContext& c) {
    auto flows = datedFlows(c, 0, 1);
    if (!flows) return flows.failure;
    auto guess = optionalNumberArg(c, 2, 0.1);
    if (!guess) return guess.failure;
    if (!hasBothSigns(flows->amounts)) return err(ErrorKind::invalidNumber);
    auto root = findRate([&](double r) { return datedResidual(*flows, r); }, *guess);
    if (!root) return err(ErrorKind::invalidNumber);
    return money(*root);
}

// ---- depreciation and rates ----------------------------------------------

// SLN(cost, salvage, life) — straight-line depreciation per period
FormulaValue sln(FunctionContext& c) {
    auto a = numberArgs<3>(c, 3, {0, 0, 0});
    if (!a.ok) return a.failure;
    if (a.at[2] == 0) return err(ErrorKind::divisionByZero);
    return money((a.at[0] - a.at[1]) / a.at[2]);
}

// SYD(cost, salvage, life, per) — sum-of-years'-digits depreciation of period `per`
FormulaValue syd(FunctionContext& c) {
    auto a = numberArgs<4>(c, 4, {0, 0, 0, 0});
    if (!a.ok) return a.failure;
    const double cost = a.at[0], salvage = a.at[1], life = a.at[2], per = a.at[3];
    if (life <= 0 || per <= 0 || per > life) return err(ErrorKind::invalidNumber);
    return money((cost - salvage) * (life - per + 1) * 2 / (life * (life + 1)));
}

// DB(cost, salvage, life, period, month) — fixed-declining-balance depreciation; `month` months in year one
FormulaValue db(FunctionContext& c) {
    auto a = numberArgs<5>(c, 4, {0, 0, 0, 0, 12});
    if (!a.ok) return a.failure;
    const double cost = a.at[0], salvage = a.at[1], life = a.at[2], period = a.at[3];
    const double months = std::trunc(a.at[4]);
    if (months < 1 || months > 12 || life <= 0 || life > 1200 || period <= 0 || period > life + 1 ||
        salvage < 0 || salvage > cost || cost <= 0)
        return err(ErrorKind::invalidNumber);
    // The rate is rounded to three decimals, as the common definition has it.
    const double rate = std::round((1 - std::pow(salvage / cost, 1 / life)) * 1000) / 1000;
    const double first = cost * rate * months / 12;
    if (std::floor(period) == 1) return money(first);
    double total = first, depreciation = first;
    const auto lastFull = static_cast<int>(std::floor(std::min(life, period)));
    for (int p = 2; p <= lastFull; ++p) {
        depreciation = (cost - total) * rate;
        total += depreciation;
    }
    // The period after the last whole year holds the months the first lacked.
    if (period > life) depreciation = (cost - total) * rate * (12 - months) / 12;
    return money(depreciation);
}

// DDB(cost, salvage, life, period, factor) — declining-balance depreciation (double by default)
FormulaValue ddb(FunctionContext& c) {
    auto a = numberArgs<5>(c, 4, {0, 0, 0, 0, 2});
    if (!a.ok) return a.failure;
    const double cost = a.at[0], salvage = a.at[1], life = a.at[2], period = a.at[3], factor = a.at[4];
    if (cost < 0 || salvage < 0 || salvage > cost || life <= 0 || period < 1 || period > life || factor <= 0)
        return err(ErrorKind::invalidNumber);
    const double rate = std::min(1.0, factor / life);
    const double before = rate == 1 ? (period == 1 ? cost : 0) : cost * std::pow(1 - rate, period - 1);
    const double after = cost * std::pow(1 - rate, period);
    // Never depreciate below the salvage value.
    const double depreciation = after < salvage ? before - salvage : before - after;
    return money(std::max(0.0, depreciation));
}

// EFFECT(nominal_rate, npery) — effective annual rate of a nominal rate compounded npery times
FormulaValue effect(FunctionContext& c) {
    auto a = numberArgs<2>(c, 2, {0, 0});
    if (!a.ok) return a.failure;
    const double nominal = a.at[0], periods = std::trunc(a.at[1]);
    if (nominal <= 0 || periods < 1) return err(ErrorKind::invalidNumber);
    return money(std::pow(1 + nominal / periods, periods) - 1);
}

// NOMINAL(effect_rate, npery) — nominal annual rate of an effective rate
FormulaValue nominal(FunctionContext& c) {
    auto a = numberArgs<2>(c, 2, {0, 0});
    if (!a.ok) return a.failure;
    const double effective = a.at[0], periods = std::trunc(a.at[1]);
    if (effective <= 0 || periods < 1) return err(ErrorKind::invalidNumber);
    return money(periods * (std::pow(1 + effective, 1 / periods) - 1));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kFinancialFunctions[] = {
    {"PV", pv, anyCount, numberArgRule, listed, "PV(rate, nper, pmt, fv, type)", "Returns the present value of an investment."},
    {"FV", fv, anyCount, numberArgRule, listed, "FV(rate, nper, pmt, pv, type)", "Returns the future value of an investment."},
    {"PMT", pmt, anyCount, numberArgRule, listed, "PMT(rate, nper, pv, fv, type)", "Returns the periodic payment for a loan."},
    {"RATE", rate, anyCount, numberArgRule, listed, "RATE(nper, pmt, pv, fv, type, guess)", "Returns the interest rate per period."},
    {"NPER", nper, anyCount, numberArgRule, listed, "NPER(rate, pmt, pv, fv, type)", "Returns the number of periods for an investment."},
    {"NPV", npv, anyCount, numberArgRule, listed, "NPV(rate, value1, value2, ...)", "Returns the net present value of cash flows."},
    {"IRR", irr, atLeast(1), evalNumRule, listed, "IRR(values, guess)", "Returns the internal rate of return."},
    {"XNPV", xnpv, anyCount, numberArgRule, listed, "XNPV(rate, values, dates)", "Returns the NPV for irregular cash flows."},
    {"XIRR", xirr, anyCount, evalNumRule, listed, "XIRR(values, dates, guess)", "Returns the IRR for irregular cash flows."},
    {"IPMT", ipmt, anyCount, numberArgRule, none},
    {"PPMT", ppmt, anyCount, numberArgRule, none},
    {"SLN", sln, anyCount, numberArgRule, none},
    {"SYD", syd, anyCount, numberArgRule, none},
    {"DB", db, anyCount, numberArgRule, none},
    {"DDB", ddb, anyCount, numberArgRule, none},
    {"EFFECT", effect, anyCount, numberArgRule, none},
    {"NOMINAL", nominal, anyCount, numberArgRule, none},
};
// clang-format on

} // namespace

void registerFinancialFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::financial, kFinancialFunctions);
}

} // namespace sumora
