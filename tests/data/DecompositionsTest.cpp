#include "Veltrix/Data/Decompositions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

constexpr Tolerance kRounding{1e-11, 1e-11};
constexpr auto kUpper = TriangularityType::upper;
constexpr auto kLower = TriangularityType::lower;
constexpr auto kLeft = SideType::left;
constexpr auto kRight = SideType::right;

class Decomposition : public testing::TestWithParam<MatrixOrderType> {
  protected:
    MatrixOrderType order() const { return GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(orders, Decomposition, testing::ValuesIn(kOrders));

std::string shapeOf(const Matrix& a) {
    return std::to_string(a.getNumRows()) + " x " + std::to_string(a.getNumCols());
}

/// The matrix with NaN in the triangle that must not be read.
Matrix poisoned(Matrix a, TriangularityType readTriangle) {
    for (int i = 0; i < a.getNumRows(); ++i) {
        for (int j = 0; j < i; ++j) {
            (readTriangle == kUpper ? a(i, j) : a(j, i)) = kNaN;
        }
    }
    return a;
}

/// Rank-deficient: the last column is the sum of the first two.
Matrix dependent(int rows, int cols, MatrixOrderType order) {
    Matrix a = randomMatrix(rows, cols, order, 11);
    for (int i = 0; i < rows; ++i) a(i, cols - 1) = a(i, 0) + a(i, 1);
    return a;
}

void checkQr(const Matrix& a, int expectedRank) {
    const QR qr = a.qr();
    const int n = a.getNumRows();
    const int p = a.getNumCols();
    const int k = std::min(n, p);
    const Matrix& r = qr.r();
    ASSERT_EQ(qr.p().size(), static_cast<std::uint64_t>(p));
    const Matrix q = qr.q(n, k);
    EXPECT_TRUE(matches(q * r, a(Selection::all, qr.p()), kRounding));
    EXPECT_TRUE(matches(plainTranspose(q) * q, identity(k), kRounding));
    const double top = k > 0 ? std::fabs(r(0, 0)) : 0.0;
    EXPECT_EQ(qr.rTolerance(), std::max(n, p) * std::numeric_limits<double>::epsilon() * top);
    int rank = 0;
    double last = top;
    for (int i = 0; i < k; ++i) {
        const double pivot = std::fabs(r(i, i));
        EXPECT_LE(pivot, last * (1.0 + 1e-12) + 1e-13);
        last = pivot;
        if (pivot > qr.rTolerance()) ++rank;
        for (int j = 0; j < i; ++j) EXPECT_EQ(r(i, j), 0.0);
    }
    EXPECT_EQ(rank, expectedRank);
}

TEST_P(Decomposition, qrReconstructs) {
    const std::pair<Matrix, int> cases[] = {
        {randomMatrix(6, 4, order(), 1), 4},
        {randomMatrix(4, 6, order(), 2), 4},
        {randomMatrix(1, 7, order(), 5), 1},
        {Matrix(4, 3, order()), 0},
        {Matrix(0, 3, order()), 0},
        {Matrix(3, 0, order()), 0},
        {dependent(9, 4, order()), 3},
        {randomMatrix(300, 40, order(), 7), 40},
        {randomMatrix(6000, 24, order(), 8), 24},  // from here on by row blocks
        {dependent(9000, 20, order()), 19},
        {randomMatrix(140000, 1, order(), 9), 1},
    };
    for (const auto& [a, rank] : cases) {
        SCOPED_TRACE(shapeOf(a));
        checkQr(a, rank);
    }
}

TEST_P(Decomposition, qMultiplyIsTheProductWithQ) {
    for (const Matrix& a : {randomMatrix(7, 4, kByColumns, 1), randomMatrix(4, 7, kByRows, 2),
                            randomMatrix(3, 0, kByRows, 2), dependent(6, 3, kByColumns)}) {
        SCOPED_TRACE(shapeOf(a));
        const int n = a.getNumRows();
        const QR qr = a.qr();
        const Matrix q = qr.q(n, n);
        EXPECT_TRUE(matches(plainProduct(q, plainTranspose(q)), identity(n), kRounding));
        EXPECT_TRUE(matches(
            qr.q(n - 1, 2), n - 1, 2, [&](int i, int j) { return q(i, j); }, kRounding));
        Matrix b = randomMatrix(n, 3, order(), 3);
        b.setName(L"b");
        EXPECT_EQ(qr.qMultiply(b, kLeft, false).getMatrixOrder(), order());
        EXPECT_EQ(qr.qMultiply(b, kLeft, false).getName(), L"b");
        const Matrix c = randomMatrix(2, n, order(), 4);
        const Vector v = randomMatrix(n, 1, kByColumns, 5).getAsDoubleVector();
        for (const bool transposed : {false, true}) {
            const Matrix op = transposed ? plainTranspose(q) : q;
            EXPECT_TRUE(
                matches(qr.qMultiply(b, kLeft, transposed), plainProduct(op, b), kRounding));
            EXPECT_TRUE(
                matches(qr.qMultiply(c, kRight, transposed), plainProduct(c, op), kRounding));
            EXPECT_TRUE(allNear(qr.qMultiply(v, kLeft, transposed), op * v, kRounding));
            EXPECT_TRUE(
                allNear(qr.qMultiply(v, kRight, transposed), plainTranspose(op) * v, kRounding));
        }
    }
}

TEST_P(Decomposition, qMultiplyByRowBlocks) {
    const Matrix a = randomMatrix(7000, 20, order(), 1);
    const QR qr = a.qr();
    const Matrix b = randomMatrix(7000, 2, order(), 2);
    const Matrix rotated = qr.qMultiply(b, kLeft, true);
    EXPECT_TRUE(matches(qr.qMultiply(rotated, kLeft, false), b, kRounding));
    const Matrix turned = qr.qMultiply(plainTranspose(b), kRight, false);
    EXPECT_TRUE(matches(turned, plainTranspose(rotated), kRounding));
    // Column k of Q is Q times a unit vector, and QᵀA P = R above zeros.
    const Matrix image = qr.qMultiply(a(Selection::all, qr.p()), kLeft, true);
    EXPECT_TRUE(matches(image, 7000, 20, [&](int i, int j) { return i < 20 ? qr.r()(i, j) : 0.0; },
                        {1e-11, 1e-10}));
}

/// The entry of largest absolute value of every column is positive.
void checkSigns(const Matrix& vectors) {
    for (int j = 0; j < vectors.getNumCols(); ++j) {
        double largest = 0.0;
        for (int i = 0; i < vectors.getNumRows(); ++i) {
            if (std::fabs(vectors(i, j)) > std::fabs(largest)) largest = vectors(i, j);
        }
        EXPECT_GE(largest, 0.0) << j;
    }
}

TEST_P(Decomposition, svdReconstructs) {
    const Matrix cases[] = {randomMatrix(6, 4, order(), 1), randomMatrix(4, 6, order(), 2),
                            Matrix(0, 3, order()),          dependent(30, 5, order()),
                            Matrix(3, 2, order()),          randomMatrix(200, 12, order(), 4)};
    for (const Matrix& a : cases) {
        const int k = std::min(a.getNumRows(), a.getNumCols());
        SCOPED_TRACE(shapeOf(a));
        const SVD svd = a.svd();
        const Matrix& u = svd.getLeftSingular();
        const Matrix& v = svd.getRightSingular();
        const Vector& s = svd.getSingularValues();
        ASSERT_EQ(s.size(), static_cast<std::uint64_t>(k));
        EXPECT_TRUE(std::is_sorted(s.begin(), s.end(), std::greater<>()));
        EXPECT_TRUE(matches(plainProduct(plainTranspose(u), u), identity(k), kRounding));
        EXPECT_TRUE(matches(plainProduct(v, plainTranspose(v)), identity(k), kRounding));
        Matrix scaled = u;
        for (int j = 0; j < k; ++j) {
            scaled(Selection::all, j) *= s[static_cast<std::uint64_t>(j)];
        }
        EXPECT_TRUE(matches(plainProduct(scaled, v), a, kRounding));
        checkSigns(u);
    }
}

/// A matrix of these singular values in a random frame.
Matrix withSingularValues(int rows, int cols, const Vector& values, MatrixOrderType order) {
    const int rank = static_cast<int>(values.size());
    Matrix left = randomMatrix(rows, rank, kByColumns, 31).qr().q(rows, rank);
    for (int j = 0; j < rank; ++j) left(Selection::all, j) *= values[static_cast<std::uint64_t>(j)];
    const Matrix right = randomMatrix(cols, rank, kByColumns, 32).qr().q(cols, rank);
    return ordered(left * Util::transpose(right), order);
}

/// The spaces of both decompositions' vectors agree: so do the projections on them.
void expectSameSpaces(const SVD& found, const SVD& wanted) {
    const Matrix& u = found.getLeftSingular();
    const Matrix& v = found.getRightSingular();
    const Matrix uu = Util::transpose(wanted.getLeftSingular()) * u;
    const Matrix vv = v * Util::transpose(wanted.getRightSingular());
    const Tolerance close{0.0, 1e-8};
    EXPECT_TRUE(matches(wanted.getLeftSingular() * uu, u, close));
    EXPECT_TRUE(matches(vv * wanted.getRightSingular(), v, close));
    checkSigns(u);
}

TEST_P(Decomposition, leadingTripletsAreThoseOfTheWhole) {
    const auto spectrum = [](int count, auto value) {
        Vector values;
        for (int i = 0; i < count; ++i) values.push_back(value(i));
        return values;
    };
    const Vector falling = spectrum(300, [](int i) { return 100.0 / (1.0 + i); });
    const Vector steep = spectrum(300, [](int i) { return std::pow(0.8, i); });
    // More equal values than a block of the iteration has vectors, and hardly any others.
    const Vector equal = spectrum(300, [](int i) { return i < 24 ? 3.0 : i < 28 ? 2.0 : 1e-3; });
    const Vector low = spectrum(12, [](int i) { return 2.0 + i % 2; });
    const struct {
        Matrix a;
        int count;
    } cases[] = {
        {withSingularValues(420, 300, falling, order()), 20},
        {withSingularValues(300, 420, falling, order()), 5},
        {withSingularValues(300, 300, steep, order()), 25},
        {withSingularValues(420, 300, equal, order()), 28},
        {withSingularValues(420, 300, equal, order()), 30},  // the cut parts equal values
        {withSingularValues(420, 300, low, order()), 12},
        {withSingularValues(420, 300, low, order()), 20},
        {1e-120 * withSingularValues(420, 300, falling, order()), 10},
        {randomMatrix(420, 300, order(), 33), 30},
        {randomMatrix(9, 4, order(), 34), 3},
        {randomMatrix(9, 4, order(), 35), 0},
        {Matrix(400, 300, order()), 2},
    };
    for (const auto& [a, count] : cases) {
        SCOPED_TRACE(shapeOf(a) + ", " + std::to_string(count));
        const SVD whole = a.svd();
        const SVD found = Util::svd(a, count);
        const IntVector first = Util::range(0, count);
        const Vector wanted = Util::select(whole.getSingularValues(), first);
        const double scale = count > 0 ? wanted[0] : 0.0;
        EXPECT_TRUE(allNear(found.getSingularValues(), wanted, {1e-9, 1e-12 * scale}));
        expectSameSpaces(found, {wanted, whole.getLeftSingular()(Selection::all, first),
                                 whole.getRightSingular()(first, Selection::all)});
    }
}

/// Symmetric with eigenvalues 2 - 2cos(kπ/(n + 1)), k = 1..n.
Matrix secondDifferences(int n, MatrixOrderType order) {
    return made(n, n, order, [](int i, int j) {
        return i == j ? 2.0 : std::abs(i - j) == 1 ? -1.0 : 0.0;
    });
}

TEST_P(Decomposition, eigenvaluesOfKnownMatrices) {
    const int n = 30;
    const Matrix whole = secondDifferences(n, order());
    Spectral spectral = Util::spectral(poisoned(whole, kUpper));  // one triangle alone is read
    const Matrix vectors = spectral.getEigenvectors();
    checkSigns(vectors);
    EXPECT_TRUE(matches(plainProduct(plainTranspose(vectors), vectors), identity(n), kRounding));
    const auto eigenvalue = [&](int k) { return 2.0 - 2.0 * std::cos((k + 1) * M_PI / (n + 1)); };
    EXPECT_TRUE(matches(
        plainProduct(whole, vectors), n, n,
        [&](int i, int j) { return eigenvalue(j) * vectors(i, j); }, kRounding));
    for (const bool ascending : {true, false}) {
        EXPECT_EQ(spectral.getOrder(),
                  ascending ? Ordering::smallestFirst : Ordering::largestFirst);
        for (int k = 0; k < n; ++k) {
            const int from = ascending ? k : n - 1 - k;
            const double value = spectral.getEigenvalues()[static_cast<std::uint64_t>(k)];
            EXPECT_TRUE(isNear(value, eigenvalue(from), kRounding));
            EXPECT_EQ(spectral.getEigenvectors()(0, k), vectors(0, from));
        }
        spectral.switchOrder();
    }
    EXPECT_TRUE(Util::spectral(Matrix(0, 0, order())).getEigenvalues().empty());
}

/// AᵀA + I: symmetric positive definite.
Matrix positiveDefinite(int n, MatrixOrderType order) {
    const Matrix a = randomMatrix(n + 3, n, kByColumns, 21);
    return ordered(plainProduct(plainTranspose(a), a) + identity(n), order);
}

TEST_P(Decomposition, positiveDefiniteSystems) {
    for (const int n : {0, 1, 2, 5, 40}) {
        SCOPED_TRACE(n);
        const Matrix a = positiveDefinite(n, order());
        const Matrix half = poisoned(a, kUpper);
        EXPECT_TRUE(matches(plainProduct(Matrix::inversePositiveDefinite(half), a), identity(n),
                            kRounding));
        const Matrix b = randomMatrix(n, 3, kByRows, 22);
        const Vector v = randomMatrix(n, 1, kByColumns, 23).getAsDoubleVector();
        const Matrix x = Matrix::solvePositiveDefiniteSystem(half, b);
        EXPECT_EQ(x.getMatrixOrder(), kByRows);
        EXPECT_TRUE(matches(plainProduct(a, x), b, kRounding));
        EXPECT_TRUE(allNear(a * Matrix::solvePositiveDefiniteSystem(half, v), v, kRounding));
        for (const TriangularityType triangle : {kUpper, kLower}) {
            Matrix factor = Util::cholesky(poisoned(a, triangle), triangle);
            const Matrix lower = triangle == kLower ? factor : plainTranspose(factor);
            EXPECT_TRUE(matches(plainProduct(lower, plainTranspose(lower)), a, kRounding));
            factor = poisoned(factor, triangle);
            const auto solve = [&](const auto& right) {
                return Matrix::solvePositiveDefiniteSystemFromCholesky(factor, right, triangle);
            };
            const Matrix inverse = Matrix::inversePositiveDefiniteFromCholesky(factor, triangle);
            EXPECT_TRUE(matches(plainProduct(a, solve(b)), b, kRounding));
            EXPECT_TRUE(allNear(a * solve(v), v, kRounding));
            EXPECT_TRUE(matches(plainProduct(inverse, a), identity(n), kRounding));
        }
    }
}

TEST_P(Decomposition, triangularSystems) {
    const int n = 12;
    for (const bool byRows : {false, true}) {
        for (const TriangularityType triangle : {kUpper, kLower}) {
            for (const bool transposed : {false, true}) {
                SCOPED_TRACE(testing::Message() << byRows << " upper " << (triangle == kUpper)
                                                << " transposed " << transposed);
                const Matrix factor = Util::cholesky(positiveDefinite(n, order()), triangle);
                const Matrix op = transposed ? plainTranspose(factor) : factor;
                const auto solve = [&](const auto& right, SideType side, double alpha) {
                    return Matrix::solveTriangularSystem(poisoned(factor, triangle), right, side,
                                                         triangle, transposed, alpha);
                };
                const MatrixOrderType rightOrder = byRows ? kByRows : kByColumns;
                const Matrix b = randomMatrix(n, 5, rightOrder, 31);
                const Matrix c = randomMatrix(5, n, rightOrder, 32);
                const Vector v = randomMatrix(n, 1, kByColumns, 33).getAsDoubleVector();
                const Matrix x = solve(b, kLeft, -2.0);
                EXPECT_EQ(x.getMatrixOrder(), rightOrder);
                EXPECT_TRUE(matches(plainProduct(op, x), -2.0 * b, kRounding));
                EXPECT_TRUE(matches(plainProduct(solve(c, kRight, 0.5), op), 0.5 * c, kRounding));
                EXPECT_TRUE(allNear(op * solve(v, kLeft, 1.0), v, kRounding));
                EXPECT_TRUE(allNear(plainTranspose(op) * solve(v, kRight, 1.0), v, kRounding));
            }
        }
    }
}

TEST_P(Decomposition, generalisedEigenproblemInStandardForm) {
    const int n = 6;
    const Matrix b = positiveDefinite(n, kByColumns);
    const Matrix a = secondDifferences(n, order());
    for (const MatrixOrderType factorOrder : kOrders) {
        for (const TriangularityType triangle : {kUpper, kLower}) {
            const Matrix factor = Util::cholesky(ordered(b, factorOrder), triangle);
            const Matrix outer = triangle == kUpper ? plainTranspose(factor) : factor;
            const auto standard = [&](int problemType) {
                return Matrix::standardizeEigenvalueProblem(
                    poisoned(a, triangle), poisoned(factor, triangle), problemType, triangle);
            };
            // UᵀCU = A and LCLᵀ = A.
            EXPECT_TRUE(
                matches(plainProduct(plainProduct(outer, standard(1)), plainTranspose(outer)), a,
                        kRounding));
            const Matrix product = plainProduct(plainTranspose(outer), plainProduct(a, outer));
            EXPECT_TRUE(matches(standard(2), product, kRounding));
            EXPECT_TRUE(matches(standard(3), product, kRounding));
        }
    }
}

TEST_P(Decomposition, misuseNamesTheOperation) {
    Matrix withNaN = randomMatrix(4, 3, order(), 41);
    withNaN(3, 2) = kNaN;
    Matrix withInfinity = positiveDefinite(3, order());
    withInfinity(0, 1) = kInfinity;
    Matrix singular = identity(3);
    singular(1, 1) = 0.0;
    const Matrix three = ordered(identity(3), order());
    const Matrix flat(2, 3, order());
    const Matrix four(3, 4);
    const Vector infinite{1.0, 2.0, kInfinity};
    const QR qr = three.qr();
    const auto invert = [](const Matrix& a) { (void)Matrix::inversePositiveDefinite(a); };
    const auto solve = [&](const Matrix& a, const Vector& b) {
        (void)Matrix::solvePositiveDefiniteSystem(a, b);
    };
    const auto triangular = [&](const Matrix& t, const Matrix& b, SideType side) {
        (void)Matrix::solveTriangularSystem(t, b, side, kUpper, false, 1.0);
    };
    const auto fromFactor = [&](const Matrix& t, const Matrix& b) {
        (void)Matrix::solvePositiveDefiniteSystemFromCholesky(t, b, kUpper);
    };
    const auto invertFactor = [&](const Matrix& t, TriangularityType triangle) {
        (void)Matrix::inversePositiveDefiniteFromCholesky(t, triangle);
    };
    const auto standard = [&](const Matrix& b, int problem) {
        (void)Matrix::standardizeEigenvalueProblem(three, b, problem, kUpper);
    };
    const auto turn = [&](const auto& a, SideType side) { (void)qr.qMultiply(a, side, true); };
    expectRefused({
        {"QR: entry (3, 2) is NaN", [&] { (void)withNaN.qr(); }},
        {"SVD: entry (3, 2) is NaN", [&] { (void)withNaN.svd(); }},
        {"SVD: entry (3, 2) is NaN", [&] { (void)Util::svd(withNaN, 2); }},
        {"SVD: 4 singular values, at most 3 expected", [&] { (void)Util::svd(three, 4); }},
        {"SVD: singular values -1, at least 0 expected", [&] { (void)Util::svd(three, -1); }},
        {"decomposition: entry (0, 1) is infinite", [&] { (void)Util::spectral(withInfinity); }},
        {"Number of elements does not match.", [&] { (void)Util::spectral(flat); }},
        {"Block of Q: 4 x 1 asked for, Q is 3 x 3", [&] { (void)qr.q(4, 1); }},
        {"Block of Q: columns -1, at least 0 expected", [&] { (void)qr.q(1, -1); }},
        {"Q: 3 columns of Q, 2 rows of the matrix", [&] { turn(flat, kLeft); }},
        {"Q: 4 columns of the matrix, 3 rows of Q", [&] { turn(four, kRight); }},
        {"Q: 4 columns of the matrix, 3 rows of Q", [&] { turn(Vector(4), kRight); }},
        {"Product with Q: entry (3, 2) is NaN", [&] { turn(withNaN, kRight); }},
        {"Product with Q: side 3, 1 or 2 expected", [&] { turn(Vector(3), SideType(3)); }},
        {"definite matrix: entry (0, 1) is infinite", [&] { invert(withInfinity); }},
        {"not positive definite, as shown by its leading minor 1", [&] { invert(-three); }},
        {"3 rows in the matrix, 2 rows on the right", [&] { solve(three, Vector(2)); }},
        {"right-hand side, entry (2, 0) is infinite", [&] { solve(three, infinite); }},
        {"Cholesky factor: the matrix is singular", [&] { fromFactor(singular, three); }},
        {"right-hand side, entry (0, 1) is infinite", [&] { fromFactor(three, withInfinity); }},
        {"Cholesky factor: the matrix is singular", [&] { invertFactor(singular, kLower); }},
        {"factor: entry (0, 1) is infinite", [&] { invertFactor(withInfinity, kUpper); }},
        {"triangle 0, 1 or 2", [&] { invertFactor(three, TriangularityType(0)); }},
        {"triangle 3, 1 or 2", [&] { (void)Util::cholesky(three, TriangularityType(3)); }},
        {"singular, diagonal entry 1 is 0", [&] { triangular(singular, three, kLeft); }},
        {"system: entry (0, 1) is infinite", [&] { triangular(withInfinity, three, kRight); }},
        {"side, entry (0, 1) is infinite", [&] { triangular(three, withInfinity, kLeft); }},
        {"side, entry (0, 1) is infinite", [&] { triangular(three, withInfinity, kRight); }},
        {"side 0, 1 or 2 expected", [&] { triangular(three, three, SideType(0)); }},
        {"3 rows in the matrix, 2 rows", [&] { triangular(three, flat, kLeft); }},
        {"3 rows in the matrix, 4 columns", [&] { triangular(three, four, kRight); }},
        {"Number of elements does not match.", [&] { standard(identity(2), 1); }},
        {"problem type 4, 1 to 3 expected", [&] { standard(three, 4); }},
        {"singular, diagonal entry 1 is 0", [&] { standard(singular, 3); }},
        {"group 0 of 0, counted from 0", [&] { (void)GroupStatistic().getGroupCovariance(0); }},
    });
}

}  // namespace
