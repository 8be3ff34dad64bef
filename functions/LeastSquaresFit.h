#pragma once
// Multiple linear least squares for LINEST, LOGEST, TREND and GROWTH:
// y ≈ b + Σ m_j·x_j, solved by Householder QR of the (centred) regressors.
// A regressor that is a linear combination of the earlier ones is dropped:
// its coefficient and standard error are 0 and it costs no degree of freedom.
#include <optional>
#include <vector>

namespace sumora {

struct LeastSquaresFit {
    std::vector<double> slopes; // m_j, one per regressor
    double intercept = 0;       // b (0 when forced through the origin)
    std::vector<double> slopeErrors;
    double interceptError = 0;
    double rSquared = 0;
    double standardErrorY = 0; // NaN when no degree of freedom is left
    double fStatistic = 0;     // NaN when undefined (no freedom or a perfect fit)
    double degreesOfFreedom = 0;
    double regressionSumOfSquares = 0;
    double residualSumOfSquares = 0;

    double predict(const std::vector<double>& x) const;
};

// Fits ys against the regressors (each as long as ys); with `withIntercept`
// false the line passes through the origin. Nothing when there are fewer
// points than one.
std::optional<LeastSquaresFit> fitLeastSquares(const std::vector<double>& ys,
                                               std::vector<std::vector<double>> regressors,
                                               bool withIntercept);

} // namespace sumora
