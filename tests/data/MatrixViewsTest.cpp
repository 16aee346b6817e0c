#include "Veltrix/Data/MatrixViews.h"

#include <cmath>
#include <functional>
#include <iterator>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

constexpr auto kAll = Selection::all;

static_assert(std::random_access_iterator<StridedView<double>::Iterator>);
static_assert(std::ranges::borrowed_range<StridedView<const double>>);
static_assert(std::is_convertible_v<StridedView<double>, StridedView<const double>>);
static_assert(!std::is_convertible_v<StridedView<const double>, StridedView<double>>);
static_assert(!std::is_assignable_v<ConstMatrixRow&, const ConstMatrixRow&>);

double start(int i, int j) { return 10.0 * i + j + 1.0; }

class MatrixViews : public testing::TestWithParam<MatrixOrderType> {
  protected:
    Matrix a_ = made(3, 4, GetParam(), start);
    const Matrix& const_ = a_;
};

INSTANTIATE_TEST_SUITE_P(orders, MatrixViews, testing::ValuesIn(kOrders));

/// What an operation makes of the element k of the changed row or column that held x.
struct Change {
    void (*action)(Matrix& a, const Vector& v);
    double (*expected)(double x, int k);
};

TEST_P(MatrixViews, operationsWriteThrough) {
    const Vector four{4.0, 3.0, 2.0, 1.0};
    const Vector three{4.0, 3.0, 2.0};
    using V = const Vector&;
    const Change ofRow1[] = {
        {[](Matrix& a, V v) { a(1, kAll) = v; }, [](double, int k) { return 4.0 - k; }},
        {[](Matrix& a, V) { a(1, kAll) = a(2, kAll); }, [](double x, int) { return x + 10.0; }},
        {[](Matrix& a, V) { a(1, kAll) = std::as_const(a)(0, kAll); },
         [](double x, int) { return x - 10.0; }},
        {[](Matrix& a, V) { a(1, kAll) += a(1, kAll); }, [](double x, int) { return 2.0 * x; }},
        {[](Matrix& a, V) { a(1, kAll) -= a(0, kAll); }, [](double, int) { return 10.0; }},
        {[](Matrix& a, V v) { a(1, kAll) += v; }, [](double x, int k) { return x + 4.0 - k; }},
        {[](Matrix& a, V v) { a(1, kAll) -= v; }, [](double x, int k) { return x - 4.0 + k; }},
        {[](Matrix& a, V) { a(1, kAll) -= 0.5; }, [](double x, int) { return x - 0.5; }},
        {[](Matrix& a, V) { a(1, kAll) *= -2.0; }, [](double x, int) { return x * -2.0; }},
        {[](Matrix& a, V) { a(1, kAll) /= 8.0; }, [](double x, int) { return x / 8.0; }},
        {[](Matrix& a, V) { a(1, kAll).exp(); }, [](double x, int) { return std::exp(x); }},
    };
    const Change ofColumn2[] = {
        {[](Matrix& a, V v) { a(kAll, 2) = v; }, [](double, int k) { return 4.0 - k; }},
        {[](Matrix& a, V) { a(kAll, 2) = a(kAll, 3); }, [](double x, int) { return x + 1.0; }},
        {[](Matrix& a, V) { a(kAll, 2) = std::as_const(a)(kAll, 0); },
         [](double x, int) { return x - 2.0; }},
        {[](Matrix& a, V v) { a(kAll, 2) += v; }, [](double x, int k) { return x + 4.0 - k; }},
        {[](Matrix& a, V v) { a(kAll, 2) -= v; }, [](double x, int k) { return x - 4.0 + k; }},
        {[](Matrix& a, V v) { a(kAll, 2) *= v; }, [](double x, int k) { return x * (4.0 - k); }},
        {[](Matrix& a, V) { a(kAll, 2) *= -2.0; }, [](double x, int) { return x * -2.0; }},
        {[](Matrix& a, V) { a(kAll, 2) /= 8.0; }, [](double x, int) { return x / 8.0; }},
    };
    const auto check = [&](const auto& changes, bool row) {
        for (std::size_t n = 0; n < std::size(changes); ++n) {
            SCOPED_TRACE(testing::Message() << (row ? "row" : "column") << " operation " << n);
            Matrix a = a_;
            changes[n].action(a, row ? four : three);
            const auto expected = [&](int i, int j) {
                const bool changed = row ? i == 1 : j == 2;
                return changed ? changes[n].expected(start(i, j), row ? j : i) : start(i, j);
            };
            EXPECT_TRUE(matches(a, 3, 4, expected, {1e-15}));
        }
    };
    check(ofRow1, true);
    check(ofColumn2, false);
}

TEST_P(MatrixViews, readsLive) {
    ConstMatrixRow row = const_(2, kAll);
    ConstMatrixColumn column = const_(kAll, 3);
    a_(2, 3) = -5.0;
    EXPECT_EQ(row(3), -5.0);
    EXPECT_EQ(column(2), -5.0);
    EXPECT_EQ(row.getNumCols(), 4);
    EXPECT_EQ(column.getNumRows(), 3);
    a_(kAll, 2)(2) = a_(1, kAll)(0);
    a_(kAll, 2)(2) -= 3.0;
    a_(kAll, 2)(2) /= 4.0;
    EXPECT_EQ(a_(2, 2), 2.0);
    double sum = 0.0;
    for (const double value : const_(1, kAll).elements()) sum += value;
    EXPECT_EQ(sum, 11.0 + 12.0 + 13.0 + 14.0);
}

// A host may name the writable types where it only reads.
TEST_P(MatrixViews, ofConstMatricesConvertAndRefuseToWrite) {
    const Matrix before = a_;
    MatrixRow row = const_(1, kAll);
    MatrixColumn column = const_(kAll, 2);
    const auto byName = [](const MatrixRow& r, const MatrixColumn& c) { return r(0) + c(0); };
    EXPECT_EQ(byName(const_(1, kAll), const_(kAll, 2)), start(1, 0) + start(0, 2));
    EXPECT_EQ(row(0) + column(0), start(1, 0) + start(0, 2));
    expectRefused({
        {"MatrixElement: writing to a const matrix", [&] { row(0) = 1.0; }},
        {"MatrixRow: writing to a const matrix", [&] { row -= 1.0; }},
        {"MatrixRow: writing to a const matrix", [&] { row.exp(); }},
        {"MatrixRow: writing to a const matrix", [&] { row = Vector(4); }},
        {"MatrixElement: writing to a const matrix", [&] { column(0) += 1.0; }},
        {"MatrixColumn: writing to a const matrix", [&] { column *= Vector(3); }},
    });
    EXPECT_TRUE(matches(a_, before));
}

TEST(StridedRows, overlappingSourcesAreReadFirst) {
    // Two views shifted by one element, in both directions, with equal and different strides.
    struct Case {
        int target;
        std::ptrdiff_t targetStride;
        int source;
        std::ptrdiff_t sourceStride;
    };
    for (const Case& test : {Case{1, 1, 0, 1}, Case{0, 1, 1, 1}, Case{0, 2, 3, 1}, Case{4, 1, 0, 2},
                             Case{0, 1, 0, 2}}) {
        Vector memory{0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0};
        Vector expected = memory;
        for (int k = 0; k < 4; ++k) {
            expected[static_cast<std::uint64_t>(test.target + k * test.targetStride)] =
                static_cast<double>(test.source + k * test.sourceStride);
        }
        MatrixRow target({memory.data() + test.target, 4, test.targetStride});
        target = ConstMatrixRow({memory.data() + test.source, 4, test.sourceStride});
        EXPECT_EQ(memory, expected) << test.target << " <- " << test.source;
    }
}

TEST_P(MatrixViews, misuseNamesTheOperationAndWritesNothing) {
    const Vector two(2);
    const Matrix other(2, 5);
    const Matrix before = a_;
    expectRefused({
        {"Row assignment: 4 elements on the left, 2 elements", [&] { a_(0, kAll) = two; }},
        {"4 elements on the left, 5 elements", [&] { a_(0, kAll) = other(0, kAll); }},
        {"Column assignment: 3 elements on the left, 2", [&] { a_(kAll, 0) = two; }},
        {"Column product: 3 elements on the left, 2", [&] { a_(kAll, 0) *= two; }},
        {"Matrix selection: row 3 of 3, counted from 0", [&] { a_(3, kAll); }},
        {"Matrix selection: row -1 of 3, counted from 0", [&] { a_(-1, kAll); }},
        {"Matrix selection: column 4 of 4, counted from 0", [&] { const_(kAll, 4); }},
    });
    EXPECT_TRUE(matches(a_, before));
}

}  // namespace
