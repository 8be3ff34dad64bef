#include "functions/FinancialSupport.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace sumora {

namespace {

// ((1 + rate)^n - 1) / rate, the value of n unit payments at the end; n at
// rate 0. Plain pow, not expm1, so that results match common spreadsheets to
// the last digit.
double annuityFactor(double rate, double nper) {
    if (rate == 0) return nper;
    return (std::pow(1 + rate, nper) - 1) / rate;
}

// Rates to probe for a sign change: dense near zero and near -1, sparse far out.
std::vector<double> probeRates() {
    std::vector<double> rates;
    for (double gap = 1e-6; gap < 1; gap *= 2)
        rates.push_back(-1 + gap);
    for (double r = 1e-6; r < 1e4; r *= 1.25) {
        rates.push_back(r);
        rates.push_back(-r);
    }
    rates.push_back(0);
    std::erase_if(rates, [](double r) { return r <= -1; });
    std::sort(rates.begin(), rates.end());
    return rates;
}

// Whether f changes sign across x (or vanishes there): a Newton iteration
// can also settle where f merely flattens out, or creep toward the -1 bound.
bool isRoot(const std::function<ValueAndSlope(double)>& f, double x) {
    const double delta = 1e-9 * std::max(1.0, std::fabs(x));
    if (f(x).value == 0) return true;
    if (!(x - delta > -1)) return false;
    return (f(x - delta).value < 0) != (f(x + delta).value < 0);
}

std::optional<double> newton(const std::function<ValueAndSlope(double)>& f, double guess) {
    double x = guess;
    for (int i = 0; i < 100; ++i) {
        const ValueAndSlope v = f(x);
        if (!std::isfinite(v.value) || !std::isfinite(v.slope) || v.slope == 0) return std::nullopt;
        double next = x - v.value / v.slope;
        // Rates at or below -1 have no meaning; step half way toward -1 instead.
        if (!(next > -1)) next = (x - 1) / 2;
        if (std::fabs(next - x) <= 1e-13 * std::max(1.0, std::fabs(next)))
            return isRoot(f, next) ? std::optional<double>(next) : std::nullopt;
        x = next;
    }
    return std::nullopt;
}

std::optional<double> bisect(const std::function<ValueAndSlope(double)>& f, double lo, double hi) {
    double fLo = f(lo).value;
    for (int i = 0; i < 200 && hi - lo > 1e-15 * std::max(1.0, std::fabs(lo)); ++i) {
        const double mid = lo + (hi - lo) / 2;
        const double fMid = f(mid).value;
        if (fMid == 0) return mid;
        if ((fMid < 0) == (fLo < 0)) {
            lo = mid;
            fLo = fMid;
        } else {
            hi = mid;
        }
    }
    return lo + (hi - lo) / 2;
}

} // namespace

double presentValue(double rate, double nper, double pmt, double fv, bool due) {
    if (rate == 0) return -(fv + pmt * nper);
    const double growth = std::pow(1 + rate, nper);
    return -(fv + pmt * (1 + rate * (due ? 1 : 0)) * annuityFactor(rate, nper)) / growth;
}

double futureValue(double rate, double nper, double pmt, double pv, bool due) {
    if (rate == 0) return -(pv + pmt * nper);
    const double growth = std::pow(1 + rate, nper);
    return -(pv * growth + pmt * (1 + rate * (due ? 1 : 0)) * annuityFactor(rate, nper));
}

double payment(double rate, double nper, double pv, double fv, bool due) {
    if (rate == 0) return -(pv + fv) / nper;
    const double growth = std::pow(1 + rate, nper);
    return -(pv * growth + fv) / ((1 + rate * (due ? 1 : 0)) * annuityFactor(rate, nper));
}

double interestPayment(double rate, double per, double nper, double pv, double fv, bool due) {
    const double pmt = payment(rate, nper, pv, fv, due);
    // The interest of a period is the rate times the balance it starts with;
    // a payment at the start of the first period has none to earn interest.
    double balance;
    if (per == 1)
        balance = due ? 0 : -pv;
    else if (due)
        balance = futureValue(rate, per - 2, pmt, pv, true) - pmt;
    else
        balance = futureValue(rate, per - 1, pmt, pv, false);
    return balance * rate;
}

std::optional<double> periodCount(double rate, double pmt, double pv, double fv, bool due) {
    if (rate == 0) {
        if (pmt == 0) return std::nullopt;
        return -(pv + fv) / pmt;
    }
    if (rate <= -1) return std::nullopt;
    const double level = pmt * (1 + rate * (due ? 1 : 0));
    const double ratio = (level - fv * rate) / (pv * rate + level);
    if (!(ratio > 0) || !std::isfinite(ratio)) return std::nullopt;
    return std::log(ratio) / std::log1p(rate);
}

ValueAndSlope annuityResidual(double rate, double nper, double pmt, double pv, double fv, bool due) {
    const double t = due ? 1 : 0;
    if (rate == 0) return {pv + pmt * nper + fv, pv * nper + pmt * (t * nper + nper * (nper - 1) / 2)};
    // expm1/log1p keep the residual exact near rate 0, where the root of a
    // loan without interest lies.
    const double logGrowth = nper * std::log1p(rate);
    const double growth = std::exp(logGrowth);
    const double factor = std::expm1(logGrowth) / rate;
    const double growthSlope = nper * growth / (1 + rate);
    // The slope of the factor cancels badly for tiny rates; its series there.
    const double factorSlope = std::fabs(rate) < 1e-5
                                   ? nper * (nper - 1) / 2 + nper * (nper - 1) * (nper - 2) / 3 * rate
                                   : (growthSlope * rate - (growth - 1)) / (rate * rate);
    return {pv * growth + pmt * (1 + rate * t) * factor + fv,
            pv * growthSlope + pmt * (t * factor + (1 + rate * t) * factorSlope)};
}

std::optional<double> findRate(const std::function<ValueAndSlope(double)>& f, double guess) {
    if (guess > -1) {
        if (auto root = newton(f, guess)) return root;
    }
    static const std::vector<double> rates = probeRates();
    std::optional<std::pair<double, double>> best;
    double previous = rates.front();
    double previousValue = f(previous).value;
    for (size_t i = 1; i < rates.size(); ++i) {
        const double value = f(rates[i]).value;
        if (std::isfinite(value) && std::isfinite(previousValue) && (value < 0) != (previousValue < 0)) {
            const double distance = std::min(std::fabs(previous - guess), std::fabs(rates[i] - guess));
            if (!best || distance < std::min(std::fabs(best->first - guess), std::fabs(best->second - guess)))
                best = {previous, rates[i]};
        }
        previous = rates[i];
        previousValue = value;
    }
    if (!best) return std::nullopt;
    return bisect(f, best->first, best->second);
}

} // namespace sumora
