#include "Veltrix/Data/Decompositions.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "support/LinearAlgebra.h"
#include "tests/data/MatrixTesting.h"

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

TEST_P(Decomposition, qrByRowBlocksPivotsLikeTheDirectOne) {
    // Columns of clearly different length, in a mixed-up sequence, fix the permutation.
    const int n = 6000;
    const int p = 24;
    Matrix a = randomMatrix(n, p, order(), 12);
    for (int j = 0; j < p; ++j) a(Selection::all, j) *= 1.0 + 0.5 * ((j * 7) % p);
    Matrix direct = ordered(a, kByColumns);
    IntVector permutation(p);
    Vector scalars(p);
    Support::geqp3(n, p, direct.data(), n, permutation.data(), scalars.data());
    EXPECT_EQ(a.qr().p(), permutation);
    EXPECT_NE(permutation[0], 0);
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

TEST_P(Decomposition, singularValuesOfTheHilbertMatrix) {
    const Matrix hilbert = made(5, 5, order(), [](int i, int j) { return 1.0 / (i + j + 1.0); });
    const Vector s = hilbert.svd().getSingularValues();
    EXPECT_TRUE(isNear(s[0], 1.5670506910982311, {1e-14}));
    EXPECT_TRUE(isNear(s[4], 3.2879287721718e-6, {1e-9}));
}

/// AᵀA + I: symmetric positive definite.
Matrix positiveDefinite(int n, MatrixOrderType order) {
    const Matrix a = randomMatrix(n + 3, n, kByColumns, 21);
    return ordered(plainProduct(plainTranspose(a), a) + identity(n), order);
}

/// Upper or lower Cholesky factor by the textbook loops.
Matrix plainCholesky(const Matrix& a, TriangularityType triangle, MatrixOrderType order) {
    const int n = a.getNumRows();
    Matrix l(n, n);
    for (int j = 0; j < n; ++j) {
        for (int i = j; i < n; ++i) {
            double sum = a(i, j);
            for (int k = 0; k < j; ++k) sum -= l(i, k) * l(j, k);
            l(i, j) = i == j ? std::sqrt(sum) : sum / l(j, j);
        }
    }
    return ordered(triangle == kLower ? l : plainTranspose(l), order);
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
            const Matrix factor = poisoned(plainCholesky(a, triangle, order()), triangle);
            const auto solve = [&](const auto& right) {
                return Matrix::solvePositiveDefiniteSystemFromCholesky(factor, right, triangle);
            };
            const Matrix inverse = Matrix::inversePositiveDefiniteFromCholesky(factor, triangle);
            EXPECT_TRUE(matches(plainProduct(a, solve(b)), b, kRounding));
            EXPECT_TRUE(matches(plainProduct(a, solve(ordered(b, kByColumns))), b, kRounding));
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
                const Matrix factor =
                    plainCholesky(positiveDefinite(n, kByColumns), triangle, order());
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
            const Matrix factor = plainCholesky(b, triangle, factorOrder);
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
    const Matrix indefinite = -identity(3);
    const Matrix three = ordered(identity(3), order());
    const Matrix flat(2, 3, order());
    const QR qr = three.qr();
    const auto solve = [&](const Matrix& t, const Matrix& b, SideType side) {
        return Matrix::solveTriangularSystem(t, b, side, kUpper, false, 1.0);
    };
    const char* const mismatch = "Number of elements does not match.";
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { (void)withNaN.qr(); }, "QR: entry (3, 2) is NaN"},
        {[&] { (void)withNaN.svd(); }, "SVD: entry (3, 2) is NaN"},
        {[&] { (void)Util::spectral(withInfinity); },
         "Eigenvalue decomposition: entry (0, 1) is infinite"},
        {[&] { (void)Util::spectral(flat); }, mismatch},
        {[&] { (void)qr.q(4, 1); }, "Block of Q: 4 x 1 asked for, Q is 3 x 3"},
        {[&] { (void)qr.q(1, -1); }, "Block of Q: columns -1, at least 0 expected"},
        {[&] { (void)qr.qMultiply(flat, kLeft, true); },
         "Product with Q: 3 columns of Q, 2 rows of the matrix"},
        {[&] { (void)qr.qMultiply(withNaN, kRight, true); }, "Product with Q: entry (3, 2) is NaN"},
        {[&] { (void)qr.qMultiply(Vector(4), kRight, true); },
         "Product with Q: 4 columns of the matrix, 3 rows of Q"},
        {[&] { (void)Matrix::inversePositiveDefinite(withInfinity); },
         "Inverse of a positive definite matrix: entry (0, 1) is infinite"},
        {[&] { (void)Matrix::inversePositiveDefinite(indefinite); },
         "Inverse of a positive definite matrix: the matrix is not positive definite, as shown by "
         "its leading minor 1"},
        {[&] { (void)Matrix::solvePositiveDefiniteSystem(three, Vector(2)); },
         "Positive definite system: 3 rows in the matrix, 2 rows on the right-hand side"},
        {[&] { (void)Matrix::solvePositiveDefiniteSystemFromCholesky(singular, three, kUpper); },
         "System from a Cholesky factor: the matrix is singular, diagonal entry 1 is 0"},
        {[&] { (void)Matrix::inversePositiveDefiniteFromCholesky(singular, kLower); },
         "Inverse from a Cholesky factor: the matrix is singular, diagonal entry 1 is 0"},
        {[&] { solve(singular, three, kLeft); },
         "Triangular system: the matrix is singular, diagonal entry 1 is 0"},
        {[&] { solve(withInfinity, three, kRight); },
         "Triangular system: entry (0, 1) is infinite"},
        {[&] {
             (void)Matrix::inversePositiveDefiniteFromCholesky(Util::transpose(withInfinity),
                                                               kLower);
         },
         "Inverse from a Cholesky factor: entry (1, 0) is infinite"},
        {[&] { solve(three, withInfinity, kLeft); },
         "Triangular system: right-hand side, entry (0, 1) is infinite"},
        {[&] { solve(three, withInfinity, kRight); },
         "Triangular system: right-hand side, entry (0, 1) is infinite"},
        {[&] {
             (void)Matrix::solvePositiveDefiniteSystem(three, Vector{1.0, 2.0, kInfinity});
         },
         "Positive definite system: right-hand side, entry (2, 0) is infinite"},
        {[&] {
             (void)Matrix::solvePositiveDefiniteSystemFromCholesky(three, Vector{1.0, kNaN, 2.0},
                                                                   kUpper);
         },
         "System from a Cholesky factor: right-hand side, entry (1, 0) is NaN"},
        {[&] { solve(three, three, SideType(0)); }, "Triangular system: side 0, 1 or 2 expected"},
        {[&] { (void)qr.qMultiply(Vector(3), SideType(3), true); },
         "Product with Q: side 3, 1 or 2 expected"},
        {[&] { (void)Util::cholesky(three, TriangularityType(3)); },
         "Cholesky factorisation: triangle 3, 1 or 2 expected"},
        {[&] { (void)Matrix::inversePositiveDefiniteFromCholesky(three, TriangularityType(0)); },
         "Inverse from a Cholesky factor: triangle 0, 1 or 2 expected"},
        {[&] { solve(three, flat, kLeft); },
         "Triangular system: 3 rows in the matrix, 2 rows on the right-hand side"},
        {[&] {
             solve(three, withNaN(Selection::all, {0, 1}), kRight);
         },
         "Triangular system: 3 rows in the matrix, 2 columns on the right-hand side"},
        {[&] { (void)Matrix::standardizeEigenvalueProblem(three, identity(2), 1, kUpper); },
         mismatch},
        {[&] { (void)Matrix::standardizeEigenvalueProblem(three, three, 4, kUpper); },
         "Standard eigenvalue problem: problem type 4, 1 to 3 expected"},
        {[&] { (void)Matrix::standardizeEigenvalueProblem(three, singular, 3, kUpper); },
         "Standard eigenvalue problem: the matrix is singular, diagonal entry 1 is 0"},
        {[&] { (void)GroupStatistic().getGroupCovariance(0); },
         "Group covariance: group 0 of 0, counted from 0"},
    };
    for (const auto& [action, message] : cases) EXPECT_TRUE(throwsException(action, message));
}

}  // namespace
