#pragma once
// The standard normal functions that other built-ins share, and the first
// distribution built-ins of the statistical family, which registers them
// from StatisticalFunctions.cpp.
#include "engine/FunctionContext.h"

namespace sumora {

// Inverse of the standard normal distribution for 0 < p < 1 (NaN outside).
double normInv(double p);
// Standard normal cumulative distribution and density.
double normCdf(double z);
double normPdf(double z);

namespace distributions {

// FISHER(x) and FISHERINV(y)
FormulaValue fisher(FunctionContext& c);
FormulaValue fisherInv(FunctionContext& c);
// CONFIDENCE(alpha, standard_dev, size)
FormulaValue confidence(FunctionContext& c);
// NORM.DIST(x, mean, standard_dev, cumulative), NORMSDIST(z)
FormulaValue normDist(FunctionContext& c);
FormulaValue normSDist(FunctionContext& c);
// NORM.INV(probability, mean, standard_dev), NORM.S.INV(probability)
FormulaValue normInverse(FunctionContext& c);
FormulaValue normSInverse(FunctionContext& c);
// POISSON(x, mean, cumulative)
FormulaValue poisson(FunctionContext& c);
// BINOM.DIST(number_s, trials, probability_s, cumulative)
FormulaValue binomDist(FunctionContext& c);
// EXPON.DIST(x, lambda, cumulative)
FormulaValue exponDist(FunctionContext& c);
// T.DIST(x, deg_freedom, cumulative)
FormulaValue tDist(FunctionContext& c);

} // namespace distributions

} // namespace sumora
