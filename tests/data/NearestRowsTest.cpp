#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/NearestRows.h"
#include "Veltrix/Data/Util.h"
#include "support/kernels/Arrays.h"
#include "tests/data/RandomValues.h"

namespace Veltrix::Testing {
namespace {

bool sameBits(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

/// Against the distances and the selection that define the operation, bit for bit.
void expectNearest(const Matrix& points, const Matrix& rows, int k, const std::string& what) {
    for (const bool ties : {false, true}) {
        for (const bool skipNaN : {false, true}) {
            int next = 0;
            visitNearestRows(points, rows, k, ties, skipNaN, [&](int i, const Matrix& nearest) {
                ASSERT_EQ(i, next++) << what;
                const Vector point = Convert::toDoubleVector(points(i, Util::all));
                const Matrix expected = Util::kTop(Util::pairwiseDistance(point, rows, true), k,
                                                   ties, skipNaN, Ordering::smallestFirst);
                ASSERT_EQ(nearest.getNumRows(), expected.getNumRows()) << what << ", point " << i;
                ASSERT_TRUE(std::equal(expected.data(), expected.data() + expected.getNumRows() * 2,
                                       nearest.data(), sameBits))
                    << what << ", point " << i;
            });
            ASSERT_EQ(next, points.getNumRows()) << what;
        }
    }
}

TEST(NearestRows, ShapesOrdersAndCounts) {
    for (const int p : {0, 1, 3, 20, 300}) {
        for (const MatrixOrderType order : kOrders) {
            const Matrix rows = normalMatrix(p == 3 ? 3000 : 700, p, order, 1);
            const Matrix points = normalMatrix(p == 1 ? 2100 : 13, p, order, 2);
            for (const int k : {-1, 0, 1, 10, 699, 5000}) {
                if (k < 20 || p == 3) expectNearest(points, rows, k, std::to_string(p));
            }
        }
    }
    expectNearest(Matrix(0, 2), Matrix(5, 2), 1, "no points");
    expectNearest(Matrix(2, 2), Matrix(0, 2), 1, "no rows");
}

// Where single precision, or squares in double precision, see little or nothing.
TEST(NearestRows, ValuesThatDefeatTheFilter) {
    const int n = 800;
    const Matrix plain = normalMatrix(n, 4, MatrixOrderType::rowMajor, 3);
    const auto expect = [](const Matrix& rows, const char* what) {
        expectNearest(rows(Util::range(0, 40), Util::all), rows, 7, what);
    };
    Matrix shifted = plain * 1e-5;
    for (int i = 0; i < n; ++i) shifted(i, i % 4) += 1e8;
    expect(shifted, "far apart clusters of near rows");
    Matrix outliers = plain;
    for (int i = 0; i < n; i += 7) outliers(i, 1) *= std::pow(10.0, i % 300);
    expect(outliers, "outliers");
    Matrix missing = plain;
    for (int i = 0; i < n; i += 3) missing(i, 2) = i % 2 == 0 ? kNaN : kInfinity;
    expect(missing, "NaN and infinities");
    expectNearest(plain, missing(Util::range(0, 9), Util::all), 7, "too few numbers");
    for (const double scale : {0.0, 1e-310, 1e-170, 1e-145, 1e-30, 1e30, 1e153, 1e200, 1e307}) {
        expect(plain * scale, "scale");
    }
    for (const int range : {0, 1, 3}) {
        const Matrix integers(4000, 3, smallIntegers(12000, range, 4));
        expectNearest(integers(Util::range(0, 30), Util::all), integers, 20, "ties");
    }
    // Copies a few units in the last place apart: equal as ties go, though not the same.
    Matrix near = plain;
    for (int i = 1; i < n; ++i) {
        for (int j = 0; j < 4; ++j)
            near(i, j) = near(0, j) * (1.0 + 2e-16 * (i % 3)) + (j == i % 4);
    }
    expect(near, "rounding apart");
}

TEST(NearestRows, KernelsAgree) {
    using namespace Kernels;
    const std::int64_t inner = 5 * kNearInner;
    const Vector values = normals((inner + kNearOuter) * 9, 6);
    const std::vector<float> floats(values.begin(), values.end());
    const std::vector<float> bounds = {-1.0F, 0.0F, 0.5F, 2.0F, -INFINITY, NAN};
    const auto found = [&](const Arrays& kernels) {
        std::vector<std::int32_t> places(static_cast<std::size_t>(inner * kNearOuter), -1);
        std::vector<std::int64_t> counts(kNearOuter);
        kernels.nearRows({8, floats.data() + inner * 9, bounds.data(), floats.data(), inner,
                          places.data(), counts.data()});
        places.insert(places.end(), counts.begin(), counts.end());
        return places;
    };
    EXPECT_EQ(found(kArraysBaseline), found(arrays()));
}

}  // namespace
}  // namespace Veltrix::Testing
