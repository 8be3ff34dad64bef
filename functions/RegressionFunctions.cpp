// Least-squares regressions over ranges: LINEST and LOGEST with their
// statistics, TREND and GROWTH, and the exponential-smoothing forecasts,
// which this engine does not compute (they answer "#N/A").
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/ArrayFunctions.h"
#include "functions/LeastSquaresFit.h"

namespace sumora {

namespace {

// Beyond this many regressors the fit's cost (n·k²) is out of proportion;
// beyond kMaxArrayCells points times regressors the fit is "#NUM!".
constexpr size_t kMaxRegressors = 255;

// Every cell of the rows as a number: an error passes through, anything
// else that is not a number is "#VALUE!".
ArgValue<std::vector<double>> numbersOfRows(const ValueRows& rows) {
    std::vector<double> xs;
    for (const ValueRow& row : rows)
        for (const FormulaValue& v : row) {
            if (v.isError()) return {std::nullopt, v};
            if (!v.isNumber()) return {std::nullopt, err(ErrorKind::invalidValue)};
            xs.push_back(v.numberValue());
        }
    return {std::move(xs), {}};
}

// Whether argument i is given and not left empty, as in LINEST(y,,FALSE).
bool given(FunctionContext& c, size_t i) {
    return c.hasArg(i) && !c.evaluate(i).isEmpty();
}

// The known points of a regression: ys, and the regressors as columns of
// values. known_xs shaped like ys is one regressor; next to a column of ys
// each of its columns is one, next to a row of ys each of its rows.
struct KnownData {
    std::vector<double> ys;
    std::vector<std::vector<double>> regressors;
    bool byColumns = true; // regressors are the columns of known_xs
};

ArgValue<KnownData> knownData(FunctionContext& c, bool logarithmic) {
    auto yRows = rowsArg(c, 0);
    if (!yRows) return {std::nullopt, yRows.failure};
    auto ys = numbersOfRows(*yRows);
    if (!ys) return {std::nullopt, ys.failure};
    KnownData data;
    data.ys = std::move(*ys.value);
    const size_t n = data.ys.size(), height = yRows->size(), width = yRows->front().size();
    if (logarithmic)
        for (double& y : data.ys) {
            if (y <= 0) return {std::nullopt, err(ErrorKind::invalidNumber)};
            y = std::log(y);
        }
    if (!given(c, 1)) {
        std::vector<double> positions(n);
        for (size_t i = 0; i < n; ++i)
            positions[i] = double(i + 1);
        data.regressors.push_back(std::move(positions));
        return {std::move(data), {}};
    }
    auto xRows = rowsArg(c, 1);
    if (!xRows) return {std::nullopt, xRows.failure};
    auto xs = numbersOfRows(*xRows);
    if (!xs) return {std::nullopt, xs.failure};
    const size_t xHeight = xRows->size(), xWidth = xRows->front().size();
    if (xHeight == height && xWidth == width) {
        data.regressors.push_back(std::move(*xs.value));
    } else if (width == 1 && xHeight == height) {
        data.regressors.assign(xWidth, std::vector<double>(n));
        for (size_t r = 0; r < xHeight; ++r)
            for (size_t k = 0; k < xWidth; ++k)
                data.regressors[k][r] = (*xs)[r * xWidth + k];
    } else if (height == 1 && xWidth == width) {
        data.byColumns = false;
        for (size_t r = 0; r < xHeight; ++r)
            data.regressors.emplace_back(xs->begin() + long(r * xWidth),
                                         xs->begin() + long((r + 1) * xWidth));
    } else {
        return {std::nullopt, err(ErrorKind::invalidReference)};
    }
    if (data.regressors.size() > kMaxRegressors) return {std::nullopt, err(ErrorKind::invalidValue)};
    if (isTooLarge(int64_t(n), int64_t(data.regressors.size())))
        return {std::nullopt, err(ErrorKind::invalidNumber)};
    return {std::move(data), {}};
}

FormulaValue numberOrError(double x, ErrorKind kind = ErrorKind::invalidNumber) {
    return std::isfinite(x) ? num(x) : err(kind);
}

// LINEST and LOGEST: the coefficients m_k … m_1, b in a row, and with stats
// four more rows: their standard errors; r², the standard error of y; F and
// the degrees of freedom; the regression and residual sums of squares.
// Unused cells are "#N/A". LOGEST gives e^m and e^b of the fit of ln y.
FormulaValue estimate(FunctionContext& c, bool logarithmic) {
    auto data = knownData(c, logarithmic);
    if (!data) return data.failure;
    auto withIntercept = boolArgOr(c, 2, true);
    if (!withIntercept) return withIntercept.failure;
    auto stats = boolArgOr(c, 3, false);
    if (!stats) return stats.failure;
    auto fit = fitLeastSquares(data->ys, data->regressors, *withIntercept);
    if (!fit) return err(ErrorKind::invalidValue);
    auto shown = [&](double coefficient) {
        return numberOrError(logarithmic ? std::exp(coefficient) : coefficient);
    };
    const size_t k = fit->slopes.size();
    ValueRows rows(*stats ? 5 : 1, ValueRow(k + 1, err(ErrorKind::notAvailable)));
    for (size_t j = 0; j < k; ++j)
        rows[0][k - 1 - j] = shown(fit->slopes[j]);
    rows[0][k] = shown(fit->intercept);
    if (*stats) {
        for (size_t j = 0; j < k; ++j)
            rows[1][k - 1 - j] = numberOrError(fit->slopeErrors[j]);
        if (*withIntercept) rows[1][k] = numberOrError(fit->interceptError);
        rows[2][0] = numberOrError(fit->rSquared);
        rows[2][1] = numberOrError(fit->standardErrorY);
        rows[3][0] = numberOrError(fit->fStatistic);
        rows[3][1] = num(fit->degreesOfFreedom);
        rows[4][0] = num(fit->regressionSumOfSquares);
        rows[4][1] = num(fit->residualSumOfSquares);
    }
    return FormulaValue::array(std::move(rows));
}

// LINEST(known_ys, [known_xs], [const], [stats]) — least-squares line
FormulaValue linest(FunctionContext& c) {
    return estimate(c, false);
}
// LOGEST(known_ys, [known_xs], [const], [stats]) — least-squares exponential curve
FormulaValue logest(FunctionContext& c) {
    return estimate(c, true);
}

// TREND and GROWTH: the fitted values at new_xs (known_xs when missing), in
// new_xs's shape for one regressor, else one per row (or column) of new_xs.
FormulaValue project(FunctionContext& c, bool logarithmic) {
    auto data = knownData(c, logarithmic);
    if (!data) return data.failure;
    auto withIntercept = boolArgOr(c, 3, true);
    if (!withIntercept) return withIntercept.failure;
    auto fit = fitLeastSquares(data->ys, data->regressors, *withIntercept);
    if (!fit) return err(ErrorKind::invalidValue);
    auto shown = [&](double y) { return numberOrError(logarithmic ? std::exp(y) : y); };
    const size_t k = data->regressors.size();
    ValueRows newRows;
    if (given(c, 2)) {
        auto rows = rowsArg(c, 2);
        if (!rows) return rows.failure;
        newRows = std::move(*rows.value);
    } else if (given(c, 1)) {
        auto rows = rowsArg(c, 1);
        if (!rows) return rows.failure;
        newRows = std::move(*rows.value);
    } else {
        auto yRows = rowsArg(c, 0);
        if (!yRows) return yRows.failure;
        newRows = std::move(*yRows.value);
        double position = 1;
        for (ValueRow& row : newRows)
            for (FormulaValue& v : row)
                v = num(position++);
    }
    auto xs = numbersOfRows(newRows);
    if (!xs) return xs.failure;
    const size_t height = newRows.size(), width = newRows.front().size();
    ValueRows out;
    if (k == 1) {
        out.assign(height, ValueRow(width));
        for (size_t r = 0; r < height; ++r)
            for (size_t col = 0; col < width; ++col)
                out[r][col] = shown(fit->predict({(*xs)[r * width + col]}));
    } else if (data->byColumns) {
        if (width != k) return err(ErrorKind::invalidReference);
        for (size_t r = 0; r < height; ++r)
            out.push_back(
                {shown(fit->predict({xs->begin() + long(r * width), xs->begin() + long((r + 1) * width)}))});
    } else {
        if (height != k) return err(ErrorKind::invalidReference);
        out.emplace_back();
        for (size_t col = 0; col < width; ++col) {
            std::vector<double> point(k);
            for (size_t r = 0; r < height; ++r)
                point[r] = (*xs)[r * width + col];
            out.front().push_back(shown(fit->predict(point)));
        }
    }
    return FormulaValue::array(std::move(out));
}

// TREND(known_ys, [known_xs], [new_xs], [const]) — values along the least-squares line
FormulaValue trend(FunctionContext& c) {
    return project(c, false);
}
// GROWTH(known_ys, [known_xs], [new_xs], [const]) — values along the exponential curve
FormulaValue growth(FunctionContext& c) {
    return project(c, true);
}

// FORECAST.ETS, FORECAST.ETS.CONFINT, FORECAST.ETS.SEASONALITY,
// FORECAST.ETS.STAT — triple exponential smoothing is not computed here:
// an error among the arguments passes through, anything else is "#N/A".
FormulaValue exponentialSmoothing(FunctionContext& c) {
    for (size_t i = 0; i < c.argCount(); ++i)
        for (const FormulaValue& v : c.resolveValues(i))
            if (v.isError()) return v;
    return err(ErrorKind::notAvailable);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kRegressionFunctions[] = {
    {"LINEST", linest, between(1, 4), numberArgRule, producesArray, "LINEST(known_ys, known_xs, const, stats)", "Returns the parameters of a linear least-squares fit."},
    {"LOGEST", logest, between(1, 4), numberArgRule, producesArray, "LOGEST(known_ys, known_xs, const, stats)", "Returns the parameters of an exponential least-squares fit."},
    {"TREND", trend, between(1, 4), numberArgRule, producesArray, "TREND(known_ys, known_xs, new_xs, const)", "Returns values along a linear trend."},
    {"GROWTH", growth, between(1, 4), numberArgRule, producesArray, "GROWTH(known_ys, known_xs, new_xs, const)", "Returns values along an exponential trend."},
    // Not computed: "#N/A" unless an argument holds an error.
    {"FORECAST.ETS", exponentialSmoothing, between(3, 6), numberArgRule, none, "FORECAST.ETS(target_date, values, timeline, seasonality, data_completion, aggregation)", "Forecasts by exponential smoothing; not available in this version."},
    {"FORECAST.ETS.CONFINT", exponentialSmoothing, between(3, 7), numberArgRule, none, "FORECAST.ETS.CONFINT(target_date, values, timeline, confidence_level, seasonality, data_completion, aggregation)", "Returns the confidence interval of an exponential-smoothing forecast; not available in this version."},
    {"FORECAST.ETS.SEASONALITY", exponentialSmoothing, between(2, 4), numberArgRule, none, "FORECAST.ETS.SEASONALITY(values, timeline, data_completion, aggregation)", "Returns the season length of an exponential-smoothing forecast; not available in this version."},
    {"FORECAST.ETS.STAT", exponentialSmoothing, between(3, 6), numberArgRule, none, "FORECAST.ETS.STAT(values, timeline, statistic_type, seasonality, data_completion, aggregation)", "Returns a statistic of an exponential-smoothing forecast; not available in this version."},
};
// clang-format on

} // namespace

void registerRegressionFunctions(FunctionRegistry& registry) {
    registry.add(FunctionFamily::statistical, kRegressionFunctions);
}

} // namespace sumora
