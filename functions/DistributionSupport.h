#pragma once
// What the distribution built-ins share: the Boost.Math error policy (domain
// errors, poles and overflows come back as NaN or infinity instead of
// exceptions, so a result maps to "#NUM!" through finiteOrNumError) and the
// readers of their integer and data arguments. Boost.Math's default promotion
// to long double is kept: with it huge binomials stay accurate. Included only
// by the sources that use Boost.Math, so the rest of the build never parses
// its headers.
#include <boost/math/policies/policy.hpp>

#include <cmath>
#include <vector>

#include "engine/FunctionContext.h"
#include "functions/ArgumentValues.h"

namespace sumora {

namespace math = boost::math;

using QuietPolicy = math::policies::policy<math::policies::domain_error<math::policies::ignore_error>,
                                           math::policies::pole_error<math::policies::ignore_error>,
                                           math::policies::overflow_error<math::policies::ignore_error>,
                                           math::policies::underflow_error<math::policies::ignore_error>,
                                           math::policies::evaluation_error<math::policies::ignore_error>,
                                           math::policies::rounding_error<math::policies::ignore_error>>;

// Argument i truncated toward zero, as the counts and degrees of freedom are.
inline ArgValue<double> truncatedArg(FunctionContext& c, size_t i) {
    auto x = declaredNumber(c, i);
    if (x) x.value = std::trunc(*x);
    return x;
}

// The numbers of argument i: numbers of ranges and arrays, and a scalar
// argument's number; an error anywhere in it is the failure.
inline ArgValue<std::vector<double>> numbersArg(FunctionContext& c, size_t i) {
    std::vector<double> xs;
    for (const FormulaValue& v : c.resolveValues(i)) {
        if (v.isError()) return {std::nullopt, v};
        if (v.isNumber()) xs.push_back(v.numberValue());
    }
    return {std::move(xs), {}};
}

} // namespace sumora
