#include "functions/LeastSquaresFit.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace sumora {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

double dotFrom(const std::vector<double>& a, const std::vector<double>& b, size_t from) {
    double s = 0;
    for (size_t i = from; i < a.size(); ++i)
        s += a[i] * b[i];
    return s;
}

// Applies the reflection I − 2vvᵀ/(vᵀv), v living in rows from.., to x.
void reflect(const std::vector<double>& v, double vv, size_t from, std::vector<double>& x) {
    double s = 0;
    for (size_t i = from; i < x.size(); ++i)
        s += v[i - from] * x[i];
    const double factor = 2 * s / vv;
    for (size_t i = from; i < x.size(); ++i)
        x[i] -= factor * v[i - from];
}

} // namespace

double LeastSquaresFit::predict(const std::vector<double>& x) const {
    double y = intercept;
    for (size_t j = 0; j < slopes.size() && j < x.size(); ++j)
        y += slopes[j] * x[j];
    return y;
}

std::optional<LeastSquaresFit> fitLeastSquares(const std::vector<double>& ys,
                                               std::vector<std::vector<double>> regressors,
                                               bool withIntercept) {
    const size_t n = ys.size(), k = regressors.size();
    if (n == 0) return std::nullopt;
    std::vector<double> y = ys;
    const double meanY = withIntercept ? std::accumulate(y.begin(), y.end(), 0.0) / double(n) : 0;
    std::vector<double> means(k, 0);
    // Centring makes the intercept drop out of the QR and keeps it accurate.
    if (withIntercept) {
        for (double& v : y)
            v -= meanY;
        for (size_t j = 0; j < k; ++j) {
            means[j] = std::accumulate(regressors[j].begin(), regressors[j].end(), 0.0) / double(n);
            for (double& v : regressors[j])
                v -= means[j];
        }
    }
    const double totalSumOfSquares = dotFrom(y, y, 0);

    std::vector<long> pivotRow(k, -1); // the row of R holding a kept regressor
    std::vector<size_t> kept;
    size_t row = 0;
    for (size_t j = 0; j < k && row < n; ++j) {
        std::vector<double>& column = regressors[j];
        const double fullNorm = std::sqrt(dotFrom(column, column, 0));
        const double norm = std::sqrt(dotFrom(column, column, row));
        if (!(norm > 1e-12 * fullNorm) || fullNorm == 0) continue;
        const double alpha = column[row] > 0 ? -norm : norm;
        std::vector<double> v(column.begin() + static_cast<long>(row), column.end());
        v[0] -= alpha;
        const double vv = std::inner_product(v.begin(), v.end(), v.begin(), 0.0);
        for (size_t later = j; later < k; ++later)
            reflect(v, vv, row, regressors[later]);
        reflect(v, vv, row, y);
        pivotRow[j] = static_cast<long>(row);
        kept.push_back(j);
        ++row;
    }
    const size_t rank = kept.size();

    // Back substitution for the slopes and for R⁻¹ (whose row norms give the
    // variances of the slopes).
    LeastSquaresFit fit;
    fit.slopes.assign(k, 0);
    fit.slopeErrors.assign(k, 0);
    auto r = [&](size_t a, size_t b) { return regressors[kept[b]][static_cast<size_t>(pivotRow[kept[a]])]; };
    std::vector<double> coefficient(rank, 0);
    for (size_t a = rank; a-- > 0;) {
        double s = y[static_cast<size_t>(pivotRow[kept[a]])];
        for (size_t b = a + 1; b < rank; ++b)
            s -= r(a, b) * coefficient[b];
        coefficient[a] = s / r(a, a);
    }
    std::vector<std::vector<double>> inverse(rank, std::vector<double>(rank, 0));
    for (size_t b = 0; b < rank; ++b) {
        inverse[b][b] = 1 / r(b, b);
        for (size_t a = b; a-- > 0;) {
            double s = 0;
            for (size_t m = a + 1; m <= b; ++m)
                s += r(a, m) * inverse[m][b];
            inverse[a][b] = -s / r(a, a);
        }
    }

    fit.residualSumOfSquares = dotFrom(y, y, rank);
    fit.regressionSumOfSquares = std::max(0.0, totalSumOfSquares - fit.residualSumOfSquares);
    fit.degreesOfFreedom = double(n) - double(rank) - (withIntercept ? 1 : 0);
    fit.rSquared = totalSumOfSquares > 0 ? fit.regressionSumOfSquares / totalSumOfSquares : kNaN;
    const double df = fit.degreesOfFreedom;
    const double residualVariance = df > 0 ? fit.residualSumOfSquares / df : kNaN;
    fit.standardErrorY = std::sqrt(residualVariance);
    fit.fStatistic = rank > 0 && df > 0 && fit.residualSumOfSquares > 0
                         ? (fit.regressionSumOfSquares / double(rank)) / residualVariance
                         : kNaN;
    double interceptVariance = withIntercept ? 1 / double(n) : 0;
    for (size_t a = 0; a < rank; ++a) {
        fit.slopes[kept[a]] = coefficient[a];
        double variance = 0, projected = 0;
        for (size_t b = a; b < rank; ++b)
            variance += inverse[a][b] * inverse[a][b];
        for (size_t b = 0; b <= a; ++b)
            projected += inverse[b][a] * means[kept[b]];
        fit.slopeErrors[kept[a]] = std::sqrt(variance * residualVariance);
        interceptVariance += projected * projected;
    }
    fit.intercept = meanY;
    for (size_t j = 0; j < k; ++j)
        fit.intercept -= fit.slopes[j] * means[j];
    fit.interceptError = std::sqrt(interceptVariance * residualVariance);
    return fit;
}

} // namespace sumora
