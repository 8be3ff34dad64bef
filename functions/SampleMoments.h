#pragma once
// Means and sums of squares of a sample, shared by the descriptive
// statistics, the hypothesis tests and the regressions. Callers check the
// sample sizes that each divisor needs.
#include <numeric>
#include <vector>

namespace sumora {

inline double meanOf(const std::vector<double>& xs) {
    return std::accumulate(xs.begin(), xs.end(), 0.0) / static_cast<double>(xs.size());
}

// Sum of squared deviations from the mean, in two passes for accuracy.
inline double squaredDeviationsOf(const std::vector<double>& xs) {
    const double m = meanOf(xs);
    double s = 0;
    for (double x : xs)
        s += (x - m) * (x - m);
    return s;
}

// Variance with divisor n − 1; needs two numbers.
inline double sampleVariance(const std::vector<double>& xs) {
    return squaredDeviationsOf(xs) / static_cast<double>(xs.size() - 1);
}

} // namespace sumora
