// The discounted-security part of the financial family: securities bought
// at a discount or paying interest only at maturity (DISC, INTRATE,
// RECEIVED, PRICEDISC, YIELDDISC, PRICEMAT, YIELDMAT) and Treasury bills
// (TBILLEQ, TBILLPRICE, TBILLYIELD). The year fractions are YEARFRAC's.
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/DateSupport.h"
#include "functions/SecuritySupport.h"

namespace sumora {

namespace {

// (settlement, maturity, x, y, [basis]): the dates, two numbers and the
// year fraction from settlement to maturity.
struct DiscountArgs {
    double x = 0, y = 0;
    double years = 0;
};

ArgValue<DiscountArgs> discountArgs(FunctionContext& c) {
    auto dates = securityDatesArg(c, 0);
    if (!dates) return {std::nullopt, dates.failure};
    auto x = declaredNumber(c, 2);
    if (!x) return {std::nullopt, x.failure};
    auto y = declaredNumber(c, 3);
    if (!y) return {std::nullopt, y.failure};
    auto basis = basisArg(c, 4);
    if (!basis) return {std::nullopt, basis.failure};
    if (*x <= 0 || *y <= 0) return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {DiscountArgs{*x, *y, yearFraction(dates->settlement, dates->maturity, *basis)}, {}};
}

using DiscountFormula = double (*)(const DiscountArgs&);

template <DiscountFormula formula> FormulaValue discountFunction(FunctionContext& c) {
    auto a = discountArgs(c);
    if (!a) return a.failure;
    return finiteOrNumError(formula(*a));
}

// DISC(settlement, maturity, pr, redemption, [basis]) — discount rate of a security
double discountRate(const DiscountArgs& a) {
    return (a.y - a.x) / a.y / a.years;
}
// INTRATE(settlement, maturity, investment, redemption, [basis]) — interest rate of a fully invested security
double interestRate(const DiscountArgs& a) {
    return (a.y - a.x) / a.x / a.years;
}
// RECEIVED(settlement, maturity, investment, discount, [basis]) — amount received at maturity
double received(const DiscountArgs& a) {
    return a.x / (1 - a.y * a.years);
}
// PRICEDISC(settlement, maturity, discount, redemption, [basis]) — price per 100 face value of a discounted
// security
double discountedPrice(const DiscountArgs& a) {
    return a.y - a.x * a.y * a.years;
}
// YIELDDISC(settlement, maturity, pr, redemption, [basis]) — annual yield of a discounted security
double discountYield(const DiscountArgs& a) {
    return (a.y - a.x) / a.x / a.years;
}

// The year fractions of a security paying interest at maturity: from issue
// to maturity, from issue to settlement and from settlement to maturity.
struct MaturityArgs {
    double rate = 0, z = 0;
    double issueToMaturity = 0, issueToSettlement = 0, settlementToMaturity = 0;
};

// (settlement, maturity, issue, rate, z, [basis]); rate and z must not be negative.
ArgValue<MaturityArgs> maturityArgs(FunctionContext& c) {
    auto dates = securityDatesArg(c, 0);
    if (!dates) return {std::nullopt, dates.failure};
    auto issue = dayArg(c, 2);
    if (!issue) return {std::nullopt, issue.failure};
    auto rate = declaredNumber(c, 3);
    if (!rate) return {std::nullopt, rate.failure};
    auto z = declaredNumber(c, 4);
    if (!z) return {std::nullopt, z.failure};
    auto basis = basisArg(c, 5);
    if (!basis) return {std::nullopt, basis.failure};
    if (*rate < 0 || *z < 0 || *issue > dates->settlement)
        return {std::nullopt, err(ErrorKind::invalidNumber)};
    MaturityArgs a{*rate, *z};
    a.issueToMaturity = yearFraction(*issue, dates->maturity, *basis);
    a.issueToSettlement = yearFraction(*issue, dates->settlement, *basis);
    a.settlementToMaturity = yearFraction(dates->settlement, dates->maturity, *basis);
    return {a, {}};
}

// PRICEMAT(settlement, maturity, issue, rate, yld, [basis]) — price per 100 face value of a security paying
// interest at maturity
FormulaValue priceAtMaturity(FunctionContext& c) {
    auto a = maturityArgs(c);
    if (!a) return a.failure;
    return finiteOrNumError((100 + a->issueToMaturity * a->rate * 100) /
                                (1 + a->settlementToMaturity * a->z) -
                            a->issueToSettlement * a->rate * 100);
}

// YIELDMAT(settlement, maturity, issue, rate, pr, [basis]) — annual yield of a security paying interest at
// maturity
FormulaValue yieldAtMaturity(FunctionContext& c) {
    auto a = maturityArgs(c);
    if (!a) return a.failure;
    if (a->z <= 0) return err(ErrorKind::invalidNumber);
    const double paid = a->z / 100 + a->issueToSettlement * a->rate;
    return finiteOrNumError((1 + a->issueToMaturity * a->rate - paid) / paid / a->settlementToMaturity);
}

// (settlement, maturity, x) of a Treasury bill: at most a year to maturity,
// x positive; gives the days to maturity.
ArgValue<double> billArgs(FunctionContext& c, double& x) {
    auto dates = securityDatesArg(c, 0);
    if (!dates) return {std::nullopt, dates.failure};
    auto value = declaredNumber(c, 2);
    if (!value) return value;
    if (*value <= 0 || shiftMonths(dates->settlement, 12) < dates->maturity)
        return {std::nullopt, err(ErrorKind::invalidNumber)};
    x = *value;
    return {static_cast<double>(dates->maturity - dates->settlement), {}};
}

// TBILLEQ(settlement, maturity, discount) — bond-equivalent yield of a Treasury bill
FormulaValue billEquivalentYield(FunctionContext& c) {
    double discount = 0;
    auto days = billArgs(c, discount);
    if (!days) return days.failure;
    const double rest = 360 - discount * *days;
    if (rest <= 0) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(365 * discount / rest);
}

// TBILLPRICE(settlement, maturity, discount) — price per 100 face value of a Treasury bill
FormulaValue billPrice(FunctionContext& c) {
    double discount = 0;
    auto days = billArgs(c, discount);
    if (!days) return days.failure;
    const double price = 100 * (1 - discount * *days / 360);
    if (price <= 0) return err(ErrorKind::invalidNumber);
    return finiteOrNumError(price);
}

// TBILLYIELD(settlement, maturity, pr) — yield of a Treasury bill
FormulaValue billYield(FunctionContext& c) {
    double price = 0;
    auto days = billArgs(c, price);
    if (!days) return days.failure;
    return finiteOrNumError((100 - price) / price * 360 / *days);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDiscountSecurityFunctions[] = {
    {"DISC", discountFunction<discountRate>, between(4, 5), numberArgRule, none, "DISC(settlement, maturity, pr, redemption, basis)", "Returns the discount rate of a security."},
    {"INTRATE", discountFunction<interestRate>, between(4, 5), numberArgRule, none, "INTRATE(settlement, maturity, investment, redemption, basis)", "Returns the interest rate of a fully invested security."},
    {"RECEIVED", discountFunction<received>, between(4, 5), numberArgRule, none, "RECEIVED(settlement, maturity, investment, discount, basis)", "Returns the amount received at maturity for a fully invested security."},
    {"PRICEDISC", discountFunction<discountedPrice>, between(4, 5), numberArgRule, none, "PRICEDISC(settlement, maturity, discount, redemption, basis)", "Returns the price per 100 face value of a discounted security."},
    {"YIELDDISC", discountFunction<discountYield>, between(4, 5), numberArgRule, none, "YIELDDISC(settlement, maturity, pr, redemption, basis)", "Returns the annual yield of a discounted security."},
    {"PRICEMAT", priceAtMaturity, between(5, 6), numberArgRule, none, "PRICEMAT(settlement, maturity, issue, rate, yld, basis)", "Returns the price per 100 face value of a security that pays interest at maturity."},
    {"YIELDMAT", yieldAtMaturity, between(5, 6), numberArgRule, none, "YIELDMAT(settlement, maturity, issue, rate, pr, basis)", "Returns the annual yield of a security that pays interest at maturity."},
    {"TBILLEQ", billEquivalentYield, exactly(3), numberArgRule, none, "TBILLEQ(settlement, maturity, discount)", "Returns the bond-equivalent yield of a Treasury bill."},
    {"TBILLPRICE", billPrice, exactly(3), numberArgRule, none, "TBILLPRICE(settlement, maturity, discount)", "Returns the price per 100 face value of a Treasury bill."},
    {"TBILLYIELD", billYield, exactly(3), numberArgRule, none, "TBILLYIELD(settlement, maturity, pr)", "Returns the yield of a Treasury bill."},
};
// clang-format on

} // namespace

void registerDiscountSecurityFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::financial, kDiscountSecurityFunctions);
}

} // namespace sumora
