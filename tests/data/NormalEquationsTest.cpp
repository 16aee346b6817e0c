// Weighted cross-products in row blocks against plain sums.
#include <cmath>
#include <cstdint>
#include <span>

#include <gtest/gtest.h>

#include "Veltrix/Data/NormalEquations.h"
#include "Veltrix/Data/Util.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

Matrix normals(int rows, int cols, MatrixOrderType order) {
    return Util::gaussianMatrix(rows, cols, order, 0.0, 1.0, 5);
}

/// Weights and residuals that differ from record to record and follow from the products.
double weightOf(std::uint64_t i, double product) {
    return std::exp(-std::abs(product)) + static_cast<double>(i % 3);
}
double residualOf(std::uint64_t i, double product) { return product - static_cast<double>(i % 5); }

void weigh(std::uint64_t first, std::span<const double> products, std::span<double> weights,
           std::span<double> residuals) {
    for (std::size_t i = 0; i < products.size(); ++i) {
        weights[i] = weightOf(first + i, products[i]);
        residuals[i] = residualOf(first + i, products[i]);
    }
}

void expectSums(const DesignRows& design, const IntVector& columns, const Vector& coefficients,
                const NormalEquations& found) {
    const auto at = [&](int i, std::uint64_t k) {
        const int j = columns[k] - (design.intercept ? 1 : 0);
        return j < 0 ? 1.0 : design.x(i, j);
    };
    const std::uint64_t size = columns.size();
    Matrix cross(static_cast<int>(size), static_cast<int>(size));
    Vector right(size, 0.0);
    for (int i = 0; i < design.getNumRows(); ++i) {
        double product = 0.0;
        for (std::uint64_t k = 0; k < coefficients.size(); ++k)
            product += at(i, k) * coefficients[k];
        const auto record = static_cast<std::uint64_t>(i);
        for (std::uint64_t k = 0; k < size; ++k) {
            right[k] += at(i, k) * residualOf(record, product);
            for (std::uint64_t j = 0; j < size; ++j) {
                cross(static_cast<int>(j), static_cast<int>(k)) +=
                    weightOf(record, product) * at(i, j) * at(i, k);
            }
        }
    }
    const Tolerance within{1e-11, 1e-10};
    EXPECT_TRUE(allNear(found.rightSide, right, within));
    EXPECT_TRUE(allNear(found.crossProduct.getAsDoubleVector(), cross.getAsDoubleVector(), within));
}

// Row counts on both sides of registers and blocks, column counts of every remainder of the tiles,
// columns left out, and blocks of other sizes.
TEST(NormalEquations, AreTheSums) {
    for (const int p : {1, 2, 3, 4, 5, 7, 12, 31}) {
        for (const int n : {1, 3, 4, 9, 255, 256, 257, 700}) {
            const auto order =
                n % 2 == 0 ? MatrixOrderType::rowMajor : MatrixOrderType::columnMajor;
            const Matrix x = normals(n, p, order);
            for (const bool intercept : {false, true}) {
                SCOPED_TRACE(testing::Message() << n << " x " << p << " " << intercept);
                const DesignRows design{x, intercept};
                IntVector columns;
                for (int j = 0; j < design.getNumCols(); ++j) {
                    if (j != 4) columns.push_back(j);
                }
                const Vector coefficients(columns.size(), 0.25);
                expectSums(design, columns, coefficients,
                           normalEquations(design, columns, coefficients, weigh, n % 7));
                expectSums(design, columns, {}, normalEquations(design, columns, {}, weigh));
            }
        }
    }
}

}  // namespace
}  // namespace Veltrix::Testing
