// The block-wise triangle and row norms behind least squares, against plain sums.
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "support/kernels/RowBlocks.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

/// Element of D = diag(scale)·[1 X], or of b in the column after the last.
double element(const DesignRows& d, const Vector& b, int i, int j) {
    const double scale = d.scale == nullptr ? 1.0 : (*d.scale)[static_cast<std::uint64_t>(i)];
    if (j == d.getNumCols()) return scale * b[static_cast<std::uint64_t>(i)];
    if (d.intercept && j == 0) return scale;
    return scale * d.x(i, d.intercept ? j - 1 : j);
}

/// Largest difference between TᵀT and [D b]ᵀ[D b], relative to the lengths of the columns.
double gramError(const DesignRows& d, const Vector& b, const Matrix& t) {
    const int size = t.getNumCols();
    const Matrix rows =
        made(d.getNumRows(), size, kByColumns, [&](int i, int j) { return element(d, b, i, j); });
    const Matrix gram = Util::transpose(rows) * rows;
    const Matrix difference = Util::transpose(t) * t - gram;
    double worst = 0.0;
    for (int j = 0; j < size; ++j) {
        for (int k = 0; k <= j; ++k) {
            const double scale = std::sqrt(gram(k, k) * gram(j, j));
            worst = std::max(worst, std::abs(difference(k, j)) / scale);
        }
    }
    return worst;
}

// Row counts on both sides of every padding and block boundary, column counts of every remainder.
TEST(Triangularise, KeepsAllProducts) {
    for (const int p : {1, 2, 3, 4, 5, 8, 13, 70}) {
        for (const int n : {1, 7, 8, 9, 65, 500, 2731, 9000}) {
            if (n > 3000 && p > 8) continue;
            const auto order =
                n % 2 == 0 ? MatrixOrderType::rowMajor : MatrixOrderType::columnMajor;
            const Matrix x(n, p, normals(std::int64_t{n} * p, 1), order);
            const Vector b = normals(n, 2);
            const Vector scale = normals(n, 3);
            for (const bool intercept : {false, true}) {
                const DesignRows plain{x, intercept};
                const DesignRows scaled{x, intercept, &scale};
                const Matrix t = triangularise(scaled, b);
                ASSERT_EQ(t.getNumRows(), scaled.getNumCols() + 1);
                EXPECT_LT(gramError(scaled, b, t), 1e-13) << n << " x " << p;
                EXPECT_LT(gramError(plain, b, triangularise(plain)), 1e-13) << n << " x " << p;
                for (int j = 0; j < t.getNumCols(); ++j) {
                    for (int i = j + 1; i < t.getNumRows(); ++i) ASSERT_EQ(t(i, j), 0.0);
                }
            }
        }
    }
}

TEST(RowSquaredNorms, MatchesPlainSums) {
    for (const int k : {1, 5, 6, 13, 25}) {
        const int n = 1501;
        const Matrix x(n, k, normals(std::int64_t{n} * k, 6), MatrixOrderType::rowMajor);
        const Vector scale = normals(n, 7);
        const DesignRows design{x, true, &scale};
        IntVector columns;  // the design columns backwards, the first one left out
        for (int j = k; j > 0; --j) columns.push_back(j);
        Matrix t(k, k + 2, normals(std::int64_t{k} * (k + 2), 8), MatrixOrderType::rowMajor);
        for (int j = 0; j < k; ++j) {
            for (int i = j + 1; i < k; ++i) t(i, j) = 0.0;
        }
        const Vector norms = rowSquaredNorms(design, columns, t);
        for (int i = 0; i < n; i += 7) {
            Matrix row(1, k);
            for (int m = 0; m < k; ++m) {
                row(0, m) = element(design, {}, i, columns[static_cast<std::uint64_t>(m)]);
            }
            const double expected = Util::innerProduct((row * t).getAsDoubleVector());
            EXPECT_TRUE(isNear(norms[static_cast<std::uint64_t>(i)], expected, {1e-13, 0.0})) << i;
        }
    }
}

// The copies for different instruction sets do the same work: Q undoes Qᵀ with either.
TEST(RowBlocks, ApplyUndoesItsTranspose) {
    const std::int64_t rows = 40;
    const std::int64_t columns = 12;
    for (const Kernels::RowBlocks* kernels :
         {&Kernels::kRowBlocksBaseline, &Kernels::rowBlocks()}) {
        Vector block = normals(rows * columns, 9);
        Vector triangle(static_cast<std::uint64_t>(columns * columns));
        Vector factors(static_cast<std::uint64_t>(4 * columns));
        kernels->fold(rows, columns, block.data(), triangle.data(), factors.data());
        const Vector top = normals(columns * 5, 10);
        const Vector bottom = normals(rows * 5, 11);
        Vector changedTop = top;
        Vector changedBottom = bottom;
        for (const bool transpose : {true, false}) {
            kernels->apply(rows, columns, block.data(), factors.data(), transpose, 5,
                           changedTop.data(), columns, changedBottom.data());
        }
        EXPECT_TRUE(allNear(changedTop, top, {0.0, 1e-13}));
        EXPECT_TRUE(allNear(changedBottom, bottom, {0.0, 1e-13}));
        EXPECT_EQ(kernels->largestMagnitude(8, Vector{1, -7, 3, 0, 2, 6.5, -6, 5}.data()), 7.0);
    }
}

TEST(Triangularise, BadInput) {
    Matrix x(100, 3, normals(300, 12));
    const Vector b = normals(100, 13);
    const auto reduce = [&x](const Vector& right, const Vector& scale) {
        (void)triangularise({x, true, &scale}, right);
    };
    const Vector ones(100, 1.0);
    const IntVector two{0, 3};
    expectRefused({{"99 responses", [&] { reduce(Vector(99), ones); }},
                   {"7 row factors", [&] { reduce(b, Vector(7)); }},
                   {"", [&] { (void)rowSquaredNorms({x}, two, Matrix(2, 2)); }},
                   {"", [&] { (void)rowSquaredNorms({x}, IntVector(1), Matrix(2, 2)); }}});
    x(77, 2) = kNaN;
    EXPECT_TRUE(refuses([&] { reduce(b, ones); }, "row 77, column 2 is NaN"));
    x(77, 2) = 1e300;
    EXPECT_TRUE(refuses([&] { reduce(b, Vector(100, 1e300)); }, "exceed"));
}

}  // namespace
}  // namespace Veltrix::Testing
