#include "Veltrix/Data/Matrix.h"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

constexpr auto kAll = Selection::all;
constexpr Tolerance kRounding{1e-12, 1e-12};

double start(int i, int j) { return 10.0 * i + j + 1.0; }

class OneOrder : public testing::TestWithParam<MatrixOrderType> {
  protected:
    MatrixOrderType order() const { return GetParam(); }
    Matrix a_ = made(3, 4, GetParam(), start);
};

class TwoOrders : public testing::TestWithParam<std::tuple<MatrixOrderType, MatrixOrderType>> {
  protected:
    MatrixOrderType left() const { return std::get<0>(GetParam()); }
    MatrixOrderType right() const { return std::get<1>(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(orders, OneOrder, testing::ValuesIn(kOrders));
INSTANTIATE_TEST_SUITE_P(orders, TwoOrders,
                         testing::Combine(testing::ValuesIn(kOrders), testing::ValuesIn(kOrders)));

TEST_P(OneOrder, valuesAreTakenAndGivenInStorageOrder) {
    const Vector values{1.0, 2.0, 3.0, 4.0, 5.0, 6.0};
    const Matrix a(2, 3, values, order());
    const bool byRows = order() == kByRows;
    EXPECT_TRUE(matches(
        a, 2, 3, [&](int i, int j) { return byRows ? 3.0 * i + j + 1.0 : 2.0 * j + i + 1.0; }));
    EXPECT_EQ(a.getAsDoubleVector(), values);
    EXPECT_EQ(a.last(), 6.0);
    EXPECT_EQ(Matrix(2, 2, Vector{0.1, 1e-07, 0.0, 0.1}).toString(), L"0.1 0\n1e-07 0.1\n");
    EXPECT_EQ(Matrix(2, 3, values).getMatrixOrder(), kByColumns);
}

TEST_P(OneOrder, copiesAreIndependentAndMovesLeaveAnEmptyMatrix) {
    a_.setName(L"name");
    Matrix copy = a_;
    copy(0, 0) = -1.0;
    EXPECT_EQ(a_(0, 0), 1.0);
    const double* storage = copy.data();
    Matrix moved = std::move(copy);
    EXPECT_EQ(moved.data(), storage);
    EXPECT_EQ(moved.getName(), L"name");
    EXPECT_EQ(copy.getNumRows(), 0);  // NOLINT(bugprone-use-after-move): promised
    EXPECT_TRUE(copy.getAsDoubleVector().empty());
    copy = a_;
    EXPECT_EQ(copy.getName(), L"name");
    Matrix& self = copy;
    copy = std::move(self);
    EXPECT_TRUE(matches(copy, a_));
}

TEST_P(TwoOrders, resizeKeepsElementsByPosition) {
    for (const auto& [rows, cols] : {std::pair{3, 4}, {5, 2}, {2, 7}, {0, 4}, {3, 0}, {40, 37}}) {
        SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(cols));
        Matrix a = made(3, 4, left(), start);
        a.resize(rows, cols, -1.0, right());
        EXPECT_EQ(a.getMatrixOrder(), right());
        EXPECT_TRUE(matches(a, rows, cols,
                            [](int i, int j) { return i < 3 && j < 4 ? start(i, j) : -1.0; }));
    }
}

TEST_P(OneOrder, rowsAndColumnsComeIn) {
    a_.appendRow({-1.0, -2.0, -3.0, -4.0});
    EXPECT_TRUE(matches(a_, 4, 4, [](int i, int j) { return i < 3 ? start(i, j) : -1.0 - j; }));
    for (int index = 0; index <= 4; ++index) {
        Matrix b = a_;
        b.insertColumn(index, {91.0, 92.0, 93.0, 94.0});
        EXPECT_TRUE(matches(b, 4, 5, [&](int i, int j) {
            return j == index ? 91.0 + i : a_(i, j < index ? j : j - 1);
        })) << index;
    }
    Matrix hollow(0, 3, order());
    hollow.appendRow({1.0, 2.0, 3.0});
    EXPECT_TRUE(matches(hollow, 1, 3, [](int, int j) { return j + 1.0; }));
}

// A matrix that grew line by line across its storage order is like any other to every operation.
TEST_P(OneOrder, growingAcrossTheStorageOrder) {
    const bool byRows = order() == kByRows;
    const auto grow = [&](Matrix& a, int count) {
        for (int k = 0; k < count; ++k) {
            if (byRows) {
                a.appendColumn({start(0, k), start(1, k), start(2, k)});
            } else {
                a.appendRow({start(k, 0), start(k, 1), start(k, 2)});
            }
        }
    };
    const int rows = byRows ? 3 : 50;
    const int cols = byRows ? 50 : 3;
    const Matrix whole = made(rows, cols, order(), start);
    const std::function<void(Matrix&)> steps[] = {
        [](Matrix& a) { a(1, 1) = -1.0; },
        [](Matrix& a) { a(1, kAll) *= 2.0; },
        [](Matrix& a) { a(kAll, 1) *= 2.0; },
        [](Matrix& a) { a.last() = -1.0; },
        [](Matrix& a) { *(a.data() + 60) = -1.0; },
        [](Matrix& a) { a += a; },
        [](Matrix& a) { a.transpose(); },
        [](Matrix& a) { a.resize(4, 4); },
        [](Matrix& a) { a.appendRow(Vector(std::uint64_t(a.getNumCols()), 3.0)); },
        [](Matrix& a) { a.insertColumn(1, Vector(std::uint64_t(a.getNumRows()), 3.0)); },
        [](Matrix& a) {
            a.set({0, 1}, {1, 2}, a({1, 2}, {0, 1}));
        },
        [](Matrix& a) { a = Matrix(a); },
        [](Matrix& a) { a = Matrix(std::move(a)); },
        [](Matrix& a) { a = std::move(a) * Util::eye(a.getNumCols(), 2); },
    };
    for (const auto& step : steps) {
        Matrix grown(order());
        grow(grown, 50);
        Matrix expected = whole;
        EXPECT_TRUE(matches(grown, whole));
        EXPECT_EQ(std::as_const(grown).last(), whole.last());
        EXPECT_EQ(grown.getAsDoubleVector(), whole.getAsDoubleVector());
        EXPECT_EQ(grown.toJson(), whole.toJson());
        step(grown);
        step(expected);
        EXPECT_EQ(grown.getAsDoubleVector(), expected.getAsDoubleVector());
        EXPECT_TRUE(matches(grown, expected));
    }
    Matrix shared(order());
    grow(shared, 50);
    const double* places[2] = {};
    std::thread other([&] { places[0] = std::as_const(shared).data(); });
    places[1] = std::as_const(shared).data();
    other.join();
    EXPECT_EQ(places[0], places[1]);
    EXPECT_TRUE(std::equal(places[0], places[0] + 150, whole.data()));
    shared(0, 0) = -1.0;
    EXPECT_EQ(std::as_const(shared).data()[0], -1.0);
    // Takes minutes when every line that comes in moves all the others.
    grow(shared, 300000);
    EXPECT_EQ(std::as_const(shared).last(), byRows ? start(2, 299999) : start(299999, 2));
}

TEST_P(OneOrder, transposeKeepsTheOrder) {
    for (const auto& [rows, cols] : {std::pair{3, 4}, {1, 5}, {5, 1}, {17, 17}, {33, 50}, {0, 3}}) {
        Matrix a = made(rows, cols, order(), start);
        EXPECT_EQ(a.transpose().getMatrixOrder(), order());
        EXPECT_TRUE(matches(a, cols, rows, [](int i, int j) { return start(j, i); }));
    }
}

TEST_P(OneOrder, selections) {
    a_.setName(L"name");
    const IntVector rows{2, 0, 2};
    const IntVector cols{3, 1};
    const IntVector none;
    const IntVector allRows{0, 1, 2};
    const IntVector allCols{0, 1, 2, 3};
    const std::tuple<Matrix, IntVector, IntVector> cases[] = {
        {a_(rows, cols), rows, cols},    {a_(rows, kAll), rows, allCols},
        {a_(kAll, cols), allRows, cols}, {a_(none, cols), none, cols},
        {a_(kAll, none), allRows, none},
    };
    for (const auto& [actual, fromRows, fromCols] : cases) {
        EXPECT_EQ(actual.getMatrixOrder(), order());
        EXPECT_EQ(actual.getName(), L"name");
        const auto taken = [&r = fromRows, &c = fromCols](int i, int j) {
            return start(r[std::size_t(i)], c[std::size_t(j)]);
        };
        EXPECT_TRUE(matches(actual, int(fromRows.size()), int(fromCols.size()), taken));
    }
    const Except outer = Util::except(IntVector{0, 2, 0});
    EXPECT_TRUE(matches(a_(outer, Util::except(3)), 1, 3, [](int, int j) { return start(1, j); }));
    EXPECT_EQ(a_.getSubColumn(rows, 1), (Vector{22.0, 2.0, 22.0}));
    EXPECT_TRUE(a_.getSubColumn(none, 1).empty());
}

TEST_P(TwoOrders, setWritesABlock) {
    Matrix a = made(3, 4, left(), start);
    const Matrix block = made(2, 2, right(), [](int i, int j) { return -(2.0 * i + j + 1.0); });
    a.set({2, 0}, {1, 3}, block);
    EXPECT_TRUE(matches(a, 3, 4, [&](int i, int j) {
        if (i == 1 || (j != 1 && j != 3)) return start(i, j);
        return block(i == 2 ? 0 : 1, j == 1 ? 0 : 1);
    }));
    Matrix square = made(3, 3, left(), start);
    square.set({2, 0, 1}, {1, 2, 0}, square);
    const int rowOf[] = {1, 2, 0};
    const int colOf[] = {2, 0, 1};
    EXPECT_TRUE(matches(square, 3, 3, [&](int i, int j) { return start(rowOf[i], colOf[j]); }));
}

TEST_P(TwoOrders, elementWiseArithmetic) {
    // Larger than a tile of the kernels, and no multiple of it.
    const Matrix a = randomMatrix(37, 45, left(), 1);
    const Matrix b = randomMatrix(37, 45, right(), 2);
    Matrix sum = a;
    Matrix difference = a;
    Matrix doubled = a;
    const std::pair<Matrix, double (*)(double, double)> cases[] = {
        {a + b, [](double x, double y) { return x + y; }},
        {a - b, [](double x, double y) { return x - y; }},
        {a % b, [](double x, double y) { return x * y; }},
        {a / b, [](double x, double y) { return x / y; }},
        {sum += b, [](double x, double y) { return x + y; }},
        {difference -= b, [](double x, double y) { return x - y; }},
        {doubled += doubled, [](double x, double) { return x + x; }},
        {a / 8.0, [](double x, double) { return x / 8.0; }},
        {3.0 * a, [](double x, double) { return 3.0 * x; }},
        {3.0 - a, [](double x, double) { return 3.0 - x; }},
        {-a, [](double x, double) { return -x; }},
    };
    int row = 0;  // of the table
    for (const auto& [actual, expected] : cases) {
        SCOPED_TRACE(row++);
        EXPECT_EQ(actual.getMatrixOrder(), left());
        EXPECT_TRUE(matches(actual, made(37, 45, kByRows, [&, f = expected](int i, int j) {
                                return f(a(i, j), b(i, j));
                            })));
    }
}

TEST_P(TwoOrders, products) {
    const int shapes[][3] = {{1, 1, 1},   {8, 8, 8}, {9, 8, 1}, {31, 17, 23},
                             {40, 30, 1}, {3, 0, 1}, {0, 3, 2}};
    for (const auto& [rows, inner, cols] : shapes) {
        SCOPED_TRACE(testing::Message() << rows << " x " << inner << " x " << cols);
        Matrix a = randomMatrix(rows, inner, left(), 3);
        a.setName(L"left");
        const Matrix b = randomMatrix(inner, cols, right(), 4);
        const Matrix product = a * b;
        EXPECT_EQ(product.getMatrixOrder(), left());
        EXPECT_EQ(product.getName(), L"left");
        EXPECT_TRUE(matches(product, plainProduct(a, b), kRounding));
        const Vector x = b.getSubColumn(Util::range(0, inner), 0);
        EXPECT_TRUE(allNear(a * x, product.getSubColumn(Util::range(0, rows), 0), kRounding));
    }
}

TEST_P(TwoOrders, equalToComparesShapeAndElements) {
    const Matrix a(2, 2, 1.0, left());
    const auto with = [&](double value) {
        Matrix b(2, 2, 1.0, right());
        b(0, 1) = value;
        return b;
    };
    EXPECT_TRUE(a.equalTo(with(1.0), 0.0));
    EXPECT_TRUE(a.equalTo(with(1.25), 0.25));
    EXPECT_FALSE(a.equalTo(with(1.25), 0.2));
    EXPECT_FALSE(a.equalTo(with(kNaN), kInfinity));
    EXPECT_FALSE(with(kNaN).equalTo(with(kNaN), 1.0));
    EXPECT_TRUE(with(kInfinity).equalTo(with(kInfinity), 0.0));
    EXPECT_FALSE(with(kInfinity).equalTo(with(-kInfinity), 1.0));
    EXPECT_FALSE(a.equalTo(Matrix(2, 3, 1.0, right()), kInfinity));
    EXPECT_FALSE(Matrix(0, 2).equalTo(Matrix(2, 0), 1.0));
}

TEST_P(OneOrder, misuseNamesTheOperationAndChangesNothing) {
    const Matrix before = a_;
    const Matrix other(4, 3, order());
    const Matrix five(5, 2, order());
    const Vector two(2);
    const IntVector first{0};
    const IntVector outside{0, 3};
    const IntVector negative{-1};
    const Matrix one(1, 1);
    Matrix empty(order());
    expectRefused({
        {"Matrix sum: 3 x 4 on the left, 4 x 3 on the right", [&] { a_ += other; }},
        {"product: 4 columns on the left, 5 rows on the right", [&] { (void)(a_ * five); }},
        {"product: 4 columns on the left, 2 elements on the right", [&] { (void)(a_ * two); }},
        {"Matrix: rows -1, at least 0 expected", [&] { Matrix(-1, 2); }},
        {"Matrix: storage order 7, 0 or 1 expected", [&] { Matrix(MatrixOrderType(7)); }},
        {"order -1, 0 or 1 expected", [&] { a_.resize(2, 2, 0.0, MatrixOrderType(-1)); }},
        {"Matrix: 6 values expected, 2 found", [&] { Matrix(2, 3, two, order()); }},
        {"Matrix::resize: columns -3, at least 0 expected", [&] { a_.resize(2, -3); }},
        {"Matrix::appendRow: 4 columns, 2 values", [&] { a_.appendRow(two); }},
        {"Matrix::insertColumn: 3 rows, 2 values", [&] { a_.appendColumn(two); }},
        {"position 5 of 5, counted from 0", [&] { a_.insertColumn(5, Vector(3)); }},
        {"row 3 of 3, counted from 0", [&] { (void)a_(outside, kAll); }},
        {"column -1 of 4, counted from 0", [&] { (void)a_(first, negative); }},
        {"Matrix::set: row 3 of 3", [&] { a_.set(outside, first, Matrix(2, 1)); }},
        {"2 rows chosen, 1 rows in the block",
         [&] {
             a_.set({0, 1}, first, one);
         }},
        {"1 columns chosen, 2 columns in the", [&] { a_.set(first, first, Matrix(1, 2)); }},
        {"getSubColumn: column 4 of 4", [&] { (void)a_.getSubColumn(first, 4); }},
        {"Matrix::last: the operand is empty", [&] { (void)empty.last(); }},
    });
    EXPECT_TRUE(refuses([&] { a_ += other; }, "", 1));              // sizes
    EXPECT_TRUE(refuses([&] { (void)a_(outside, kAll); }, "", 2));  // an index
    EXPECT_TRUE(refuses([&] { Matrix(-1, 2); }, "", 3));            // an argument
    EXPECT_TRUE(matches(a_, before));
    EXPECT_THROW(Matrix(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()),
                 std::exception);
}

}  // namespace
