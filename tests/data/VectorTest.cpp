#include "Veltrix/Data/Vector.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/StringVector.h"
#include "tests/data/MatrixTesting.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

TEST(Vector, arithmeticElementByElement) {
    const Vector a{1.0, -2.0, 0.5, 8.0, -0.25};
    const Vector b{4.0, 0.5, -2.0, 2.0, 0.125};
    const std::pair<Vector, double (*)(double, double)> cases[] = {
        {a + b, [](double x, double y) { return x + y; }},
        {a - b, [](double x, double y) { return x - y; }},
        {a * b, [](double x, double y) { return x * y; }},
        {a / b, [](double x, double y) { return x / y; }},
        {a + 3.0, [](double x, double) { return x + 3.0; }},
        {a - 3.0, [](double x, double) { return x - 3.0; }},
        {a / 4.0, [](double x, double) { return x / 4.0; }},
        {3.0 - a, [](double x, double) { return 3.0 - x; }},
        {3.0 * a, [](double x, double) { return 3.0 * x; }},
        {3.0 / a, [](double x, double) { return 3.0 / x; }},
        {-a, [](double x, double) { return -x; }},
        {Vector(a).abs(), [](double x, double) { return std::fabs(x); }},
    };
    for (const auto& [actual, expected] : cases) {
        Vector byElement;
        for (std::uint64_t i = 0; i < a.size(); ++i) byElement.push_back(expected(a[i], b[i]));
        EXPECT_EQ(actual, byElement);
    }
}

TEST(Vector, operandsMayBeTheTargetItself) {
    Vector v{1.0, 2.0, 4.0};
    v += v;
    v *= v;
    EXPECT_EQ(v, (Vector{4.0, 16.0, 64.0}));
    v /= v;
    v -= v;
    EXPECT_EQ(v, Vector(3));
}

TEST(Vector, growsAndShrinks) {
    Vector v{1.0};
    v.resize(3);
    v.resize(4, 9.0);
    v.push_back(v[3]);
    EXPECT_EQ(v, (Vector{1.0, 0.0, 0.0, 9.0, 9.0}));
    v.remove(0);
    v.remove(3);
    EXPECT_EQ(v, (Vector{0.0, 0.0, 9.0}));
}

TEST(Vector, resultsHaveTheNameOfTheLeftOperand) {
    Vector a{1.0};
    Vector b{2.0};
    a.setName(L"left");
    b.setName(L"right");
    EXPECT_EQ((a + b).getName(), L"left");
    EXPECT_EQ((-b).getName(), L"right");
    EXPECT_EQ((3.0 / b).getName(), L"right");
}

TEST(Vector, storageIsAligned) {
    for (const std::uint64_t size : {1u, 7u, 1000u, 600000u, 2000000u}) {
        const Vector v(size, 1.5);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(v.data()) % 64, 0u) << size;
        EXPECT_EQ(v.back(), 1.5);
    }
    EXPECT_THROW(Vector(std::numeric_limits<std::uint64_t>::max() / 4), std::exception);
}

TEST(Vector, misuseNamesTheOperation) {
    Vector v{1.0, 2.0, 3.0};
    const Vector before = v;
    const Vector four(4);
    Vector none;
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { v += four; }, "Vector sum: 3 elements on the left, 4 elements on the right"},
        {[&] { v -= four; }, "Vector difference: 3 elements on the left, 4 elements on the right"},
        {[&] { v *= four; }, "Vector product: 3 elements on the left, 4 elements on the right"},
        {[&] { v /= four; }, "Vector quotient: 3 elements on the left, 4 elements on the right"},
        {[&] { (void)std::as_const(v).at(7); }, "Vector::at: element 7 of 3, counted from 0"},
        {[&] { v.remove(3); }, "Vector::remove: element 3 of 3, counted from 0"},
        {[&] { (void)none.back(); }, "Vector::back: the operand is empty"},
        {[&] { (void)StringVector{L"a"}.at(1); },
         "StringVector::at: element 1 of 1, counted from 0"},
    };
    for (const auto& [action, message] : cases) EXPECT_TRUE(throwsException(action, message));
    EXPECT_EQ(v, before);
}

}  // namespace
