// More of the financial family's depreciation: declining balance over any
// span of periods with the switch to straight line (VDB), and the French
// accounting system's linear and degressive depreciation (AMORLINC,
// AMORDEGRC), whose first period is pro rata from the purchase date.
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/DateSupport.h"
#include "functions/SecuritySupport.h"

namespace sumora {

namespace {

// VDB walks whole periods up to end_period; beyond this many it is "#NUM!".
constexpr double kMaxVdbPeriods = 1e6;

// The declining-balance depreciation accumulated from the start of the
// asset's life to time `t` (in periods): whole periods in full, a part
// period pro rata. With `switchToLine`, a period whose straight-line
// depreciation of the remaining value over the remaining life exceeds the
// declining balance's switches to straight line for good.
double accumulatedDepreciation(double cost, double salvage, double life, double factor, bool switchToLine,
                               double t) {
    const double rate = std::min(1.0, factor / life);
    double book = cost, total = 0, line = -1;
    for (double p = 1; p - 1 < t; ++p) {
        double period;
        if (line >= 0) {
            period = line;
        } else {
            period = std::clamp(book * rate, 0.0, std::max(0.0, book - salvage));
            const double straight = (book - salvage) / (life - (p - 1));
            if (switchToLine && straight > period) period = line = straight;
        }
        const double share = std::min(1.0, t - (p - 1));
        total += period * share;
        book -= period;
    }
    return total;
}

// VDB(cost, salvage, life, start_period, end_period, [factor], [no_switch]) — declining-balance depreciation
// between two periods
FormulaValue variableDecliningBalance(FunctionContext& c) {
    double a[5];
    for (size_t i = 0; i < 5; ++i) {
        auto x = declaredNumber(c, i);
        if (!x) return x.failure;
        a[i] = *x;
    }
    auto factor = optionalNumberArg(c, 5, 2);
    if (!factor) return factor.failure;
    auto noSwitch = boolArgOr(c, 6, false);
    if (!noSwitch) return noSwitch.failure;
    const double cost = a[0], salvage = a[1], life = a[2], start = a[3], end = a[4];
    if (cost < 0 || salvage < 0 || salvage > cost || life <= 0 || start < 0 || end < start || end > life ||
        *factor <= 0 || end > kMaxVdbPeriods)
        return err(ErrorKind::invalidNumber);
    auto upTo = [&](double t) {
        return accumulatedDepreciation(cost, salvage, life, *factor, !*noSwitch, t);
    };
    return finiteOrNumError(upTo(end) - upTo(start));
}

// The arguments shared by AMORLINC and AMORDEGRC; basis 2 has no meaning here.
struct AmortizationArgs {
    double cost = 0, salvage = 0, rate = 0;
    double period = 0;
    double firstYears = 0; // year fraction from purchase to the end of the first period
};

ArgValue<AmortizationArgs> amortizationArgs(FunctionContext& c) {
    auto cost = declaredNumber(c, 0);
    if (!cost) return {std::nullopt, cost.failure};
    auto purchased = dayArg(c, 1);
    if (!purchased) return {std::nullopt, purchased.failure};
    auto firstPeriod = dayArg(c, 2);
    if (!firstPeriod) return {std::nullopt, firstPeriod.failure};
    auto salvage = declaredNumber(c, 3);
    if (!salvage) return {std::nullopt, salvage.failure};
    auto period = declaredNumber(c, 4);
    if (!period) return {std::nullopt, period.failure};
    auto rate = declaredNumber(c, 5);
    if (!rate) return {std::nullopt, rate.failure};
    auto basis = basisArg(c, 6);
    if (!basis) return {std::nullopt, basis.failure};
    if (*basis == 2 || *cost <= 0 || *salvage < 0 || *salvage > *cost || *rate <= 0 || *period < 0 ||
        *purchased > *firstPeriod)
        return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {AmortizationArgs{*cost, *salvage, *rate, std::trunc(*period),
                             yearFraction(*purchased, *firstPeriod, *basis)},
            {}};
}

// AMORLINC(cost, date_purchased, first_period, salvage, period, rate, [basis]) — linear depreciation of a
// period, the first pro rata
FormulaValue linearAmortization(FunctionContext& c) {
    auto a = amortizationArgs(c);
    if (!a) return a.failure;
    const double full = a->cost * a->rate;
    const double first = a->firstYears * full;
    const double fullPeriods = std::trunc((a->cost - a->salvage - first) / full);
    if (a->period == 0) return finiteOrNumError(first);
    if (a->period <= fullPeriods) return finiteOrNumError(full);
    if (a->period == fullPeriods + 1)
        return finiteOrNumError(a->cost - a->salvage - full * fullPeriods - first);
    return num(0);
}

// AMORDEGRC(cost, date_purchased, first_period, salvage, period, rate, [basis]) — degressive depreciation of
// a period, the first pro rata
FormulaValue degressiveAmortization(FunctionContext& c) {
    auto a = amortizationArgs(c);
    if (!a) return a.failure;
    // The rate is scaled by a coefficient that grows with the asset's life;
    // lives between the ones the scale names have none.
    const double life = 1 / a->rate;
    if ((life > 0 && life < 1) || (life > 1 && life < 2) || (life > 2 && life < 3) || (life > 4 && life < 5))
        return err(ErrorKind::invalidNumber);
    const double coefficient = life < 3 ? 1 : life < 5 ? 1.5 : life <= 6 ? 2 : 2.5;
    const double rate = a->rate * coefficient;
    double depreciation = std::round(a->firstYears * rate * a->cost);
    double value = a->cost - depreciation;
    double rest = value - a->salvage;
    for (double n = 0; n < a->period; ++n) {
        depreciation = std::round(rate * value);
        if (depreciation == 0) return num(0); // nothing left to round up: none in later periods either
        rest -= depreciation;
        // The last two periods share what is left; after them nothing.
        if (rest < 0) return num(a->period - n <= 1 ? std::round(value * 0.5) : 0);
        value -= depreciation;
    }
    return finiteOrNumError(depreciation);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDepreciationFunctions[] = {
    {"VDB", variableDecliningBalance, between(5, 7), numberArgRule, none, "VDB(cost, salvage, life, start_period, end_period, factor, no_switch)", "Returns the declining-balance depreciation of an asset between two periods."},
    {"AMORLINC", linearAmortization, between(6, 7), numberArgRule, none, "AMORLINC(cost, date_purchased, first_period, salvage, period, rate, basis)", "Returns the linear depreciation of an asset for an accounting period."},
    {"AMORDEGRC", degressiveAmortization, between(6, 7), numberArgRule, none, "AMORDEGRC(cost, date_purchased, first_period, salvage, period, rate, basis)", "Returns the degressive depreciation of an asset for an accounting period."},
};
// clang-format on

} // namespace

void registerDepreciationFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::financial, kDepreciationFunctions);
}

} // namespace sumora
