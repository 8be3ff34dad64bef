// Matrix functions (MMULT, MINVERSE, MDETERM, MUNIT) and RANDARRAY. Matrices
// are read whole: every cell must hold a number, otherwise the result is
// "#VALUE!" (an error cell passes its error on). Mismatched shapes are
// "#VALUE!", a singular matrix "#NUM!". Results beyond kMaxArrayCells cells,
// and products or inversions costing more than kMaxMatrixWork
// multiply-adds, are "#NUM!", so no formula can ask for unbounded work.
#include <cmath>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/ArrayFunctions.h"

namespace sumora {

namespace {

constexpr double kMaxMatrixWork = 268435456.0; // 2^28

// A dense row-major matrix of doubles.
struct Matrix {
    size_t rows = 0, cols = 0;
    std::vector<double> cells;
    double& at(size_t r, size_t c) { return cells[r * cols + c]; }
    double at(size_t r, size_t c) const { return cells[r * cols + c]; }
};

// Argument i as a matrix of numbers.
ArgValue<Matrix> matrixArg(FunctionContext& c, size_t i) {
    auto data = rowsArg(c, i);
    if (!data) return {std::nullopt, data.failure};
    Matrix m{data->size(), data->front().size(), {}};
    m.cells.reserve(m.rows * m.cols);
    for (const ValueRow& row : *data) {
        for (const FormulaValue& v : row) {
            if (v.isError()) return {std::nullopt, v};
            if (!v.isNumber()) return {std::nullopt, err(ErrorKind::invalidValue)};
            m.cells.push_back(*v.asNumber());
        }
    }
    return {std::move(m), {}};
}

FormulaValue arrayOf(const Matrix& m) {
    ValueRows out(m.rows);
    for (size_t r = 0; r < m.rows; ++r) {
        out[r].reserve(m.cols);
        for (size_t c = 0; c < m.cols; ++c) {
            const double x = m.at(r, c) + 0.0;
            out[r].push_back(std::isfinite(x) ? num(x) : err(ErrorKind::invalidNumber));
        }
    }
    return FormulaValue::array(std::move(out));
}

// MMULT(array1, array2) — the matrix product; array1's width must equal
// array2's height
FormulaValue matrixProduct(FunctionContext& c) {
    auto a = matrixArg(c, 0);
    if (!a) return a.failure;
    auto b = matrixArg(c, 1);
    if (!b) return b.failure;
    if (a->cols != b->rows) return err(ErrorKind::invalidValue);
    if (isTooLarge(static_cast<int64_t>(a->rows), static_cast<int64_t>(b->cols)) ||
        static_cast<double>(a->rows) * a->cols * b->cols > kMaxMatrixWork)
        return err(ErrorKind::invalidNumber);
    Matrix out{a->rows, b->cols, std::vector<double>(a->rows * b->cols, 0.0)};
    for (size_t r = 0; r < a->rows; ++r)
        for (size_t k = 0; k < a->cols; ++k)
            for (size_t col = 0; col < b->cols; ++col)
                out.at(r, col) += a->at(r, k) * b->at(k, col);
    return arrayOf(out);
}

// Argument 0 as a square matrix small enough to decompose.
ArgValue<Matrix> squareArg(FunctionContext& c) {
    auto m = matrixArg(c, 0);
    if (!m) return m;
    if (m->rows != m->cols) return {std::nullopt, err(ErrorKind::invalidValue)};
    if (std::pow(static_cast<double>(m->rows), 3) > kMaxMatrixWork)
        return {std::nullopt, err(ErrorKind::invalidNumber)};
    return m;
}

// Gauss-Jordan elimination with partial pivoting on m, applying every row
// operation to `companion` as well (the identity, for an inverse). Returns
// the determinant; 0 when a pivot column is all zeros.
double eliminate(Matrix& m, Matrix* companion) {
    const size_t n = m.rows;
    double determinant = 1;
    for (size_t col = 0; col < n; ++col) {
        size_t pivot = col;
        for (size_t r = col + 1; r < n; ++r)
            if (std::fabs(m.at(r, col)) > std::fabs(m.at(pivot, col))) pivot = r;
        if (m.at(pivot, col) == 0) return 0;
        if (pivot != col) {
            determinant = -determinant;
            for (size_t k = 0; k < n; ++k) {
                std::swap(m.at(pivot, k), m.at(col, k));
                if (companion) std::swap(companion->at(pivot, k), companion->at(col, k));
            }
        }
        const double p = m.at(col, col);
        determinant *= p;
        for (size_t r = 0; r < n; ++r) {
            if (r == col || (!companion && r < col)) continue;
            const double factor = m.at(r, col) / p;
            if (factor == 0) continue;
            for (size_t k = 0; k < n; ++k) {
                m.at(r, k) -= factor * m.at(col, k);
                if (companion) companion->at(r, k) -= factor * companion->at(col, k);
            }
        }
    }
    if (companion) {
        for (size_t r = 0; r < n; ++r)
            for (size_t k = 0; k < n; ++k)
                companion->at(r, k) /= m.at(r, r);
    }
    return determinant;
}

// MDETERM(array) — the determinant of a square matrix
FormulaValue matrixDeterminant(FunctionContext& c) {
    auto m = squareArg(c);
    if (!m) return m.failure;
    Matrix work = *m;
    return finiteOrNumError(eliminate(work, nullptr) + 0.0);
}

Matrix identity(size_t n) {
    Matrix m{n, n, std::vector<double>(n * n, 0.0)};
    for (size_t i = 0; i < n; ++i)
        m.at(i, i) = 1;
    return m;
}

// MINVERSE(array) — the inverse of a square matrix; singular is "#NUM!"
FormulaValue matrixInverse(FunctionContext& c) {
    auto m = squareArg(c);
    if (!m) return m.failure;
    Matrix work = *m;
    Matrix inverse = identity(m->rows);
    if (eliminate(work, &inverse) == 0) return err(ErrorKind::invalidNumber);
    return arrayOf(inverse);
}

// MUNIT(dimension) — the identity matrix of that size
FormulaValue matrixUnit(FunctionContext& c) {
    auto n = declaredNumber(c, 0);
    if (!n) return n.failure;
    const double size = std::trunc(*n);
    if (size < 1) return err(ErrorKind::invalidValue);
    if (size * size > static_cast<double>(kMaxArrayCells)) return err(ErrorKind::invalidNumber);
    return arrayOf(identity(static_cast<size_t>(size)));
}

double randomUnit() {
    thread_local std::mt19937_64 engine{std::random_device{}()};
    return static_cast<double>(engine() >> 11) * 0x1p-53;
}

// RANDARRAY([rows], [columns], [min], [max], [whole_number]) — random numbers
// from min to max (0 and 1 by default), whole numbers inclusive of both ends
FormulaValue randomArray(FunctionContext& c) {
    auto rows = declaredNumberOr(c, 0, 1);
    if (!rows) return rows.failure;
    auto cols = declaredNumberOr(c, 1, 1);
    if (!cols) return cols.failure;
    auto low = declaredNumberOr(c, 2, 0);
    if (!low) return low.failure;
    auto high = declaredNumberOr(c, 3, 1);
    if (!high) return high.failure;
    auto whole = boolArgOr(c, 4, false);
    if (!whole) return whole.failure;
    const double height = std::trunc(*rows), width = std::trunc(*cols);
    if (height < 1 || width < 1 || *low > *high) return err(ErrorKind::invalidValue);
    if (*whole && (*low != std::floor(*low) || *high != std::floor(*high)))
        return err(ErrorKind::invalidValue);
    if (height * width > static_cast<double>(kMaxArrayCells)) return err(ErrorKind::invalidNumber);
    ValueRows out(static_cast<size_t>(height));
    for (ValueRow& row : out) {
        row.reserve(static_cast<size_t>(width));
        for (double k = 0; k < width; ++k) {
            const double x = *whole ? std::min(*high, *low + std::floor(randomUnit() * (*high - *low + 1)))
                                    : *low + randomUnit() * (*high - *low);
            row.push_back(num(x));
        }
    }
    return FormulaValue::array(std::move(out));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kMatrixFunctions[] = {
    {"MMULT", matrixProduct, exactly(2), numberArgRule, producesArray, "MMULT(array1, array2)", "Returns the matrix product of two arrays."},
    {"MINVERSE", matrixInverse, exactly(1), numberArgRule, producesArray, "MINVERSE(array)", "Returns the inverse matrix of a square array."},
    {"MDETERM", matrixDeterminant, exactly(1), numberArgRule, none, "MDETERM(array)", "Returns the determinant of a square array."},
    {"MUNIT", matrixUnit, exactly(1), numberArgRule, producesArray, "MUNIT(dimension)", "Returns the identity matrix of a given size."},
    {"RANDARRAY", randomArray, between(0, 5), numberArgRule, producesArray | volatileResult, "RANDARRAY([rows], [columns], [min], [max], [whole_number])", "Returns an array of random numbers."},
};
// clang-format on

} // namespace

void registerMatrixFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::math, kMatrixFunctions);
}

} // namespace sumora
