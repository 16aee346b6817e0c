#include "Veltrix/Data/Vector.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Refusals.h"

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
    const Vector& same = v;
    v += same;
    v *= same;
    EXPECT_EQ(v, (Vector{4.0, 16.0, 64.0}));
    v /= same;
    v -= same;
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

constexpr int kLeast = std::numeric_limits<int>::min();
constexpr int kGreatest = std::numeric_limits<int>::max();

TEST(IntVector, edits) {
    IntVector v{3, 1, 2, 1};
    v.append(v);
    EXPECT_EQ(v, (IntVector{3, 1, 2, 1, 3, 1, 2, 1}));
    v.removeValue(1);
    EXPECT_EQ(v, (IntVector{3, 2, 3, 2}));
    v.insert(0, 7);
    v.insert(5, 8);
    v.insert(2, v[0]);
    EXPECT_EQ(v, (IntVector{7, 3, 7, 2, 3, 2, 8}));
    v.replace(7, -1);
    v.remove(6);
    EXPECT_EQ(v, (IntVector{-1, 3, -1, 2, 3, 2}));
    EXPECT_TRUE(v.exists(2));
    EXPECT_FALSE(v.exists(7));
    v += -10;
    EXPECT_EQ(v, (IntVector{-11, -7, -11, -8, -7, -8}));
    v.resize(7);
    EXPECT_EQ(v.back(), 0);
    EXPECT_EQ(v.toString(), L"[-11, -7, -11, -8, -7, -8, 0]");
    EXPECT_EQ(IntVector().toString(), L"[]");
}

TEST(IntVector, sumsReachTheLimitsButNotBeyond) {
    IntVector v{0, kGreatest - 5, kLeast + 5};
    v += 5;
    EXPECT_EQ(v, (IntVector{5, kGreatest, kLeast + 10}));
    const IntVector before = v;
    expectRefused({{"sum: 2147483648 does not fit 32 bits", [&] { v += 1; }},
                   {"sum: -4294967286 does not fit 32 bits", [&] { v += kLeast; }}});
    EXPECT_EQ(v, before);
    EXPECT_TRUE((IntVector() += kGreatest).empty());
}

TEST(IntVector, shuffleIsThePermutationOfItsSeed) {
    IntVector v(1000);
    for (int i = 0; i < 1000; ++i) v[static_cast<std::uint64_t>(i)] = i;
    const IntVector sorted = v;
    v.shuffle(12345);
    EXPECT_FALSE(v == sorted);
    std::sort(v.begin(), v.end());
    EXPECT_EQ(v, sorted);
    // Worked by hand with seed 1: outputs 41, 18467, 6334, 26500 join to 41 * 32768 + 18467 and
    // 6334 * 32768 + 26500; modulo 3 and 2 they pick the partners 0 and 0.
    IntVector three{10, 20, 30};
    three.shuffle(1);
    EXPECT_EQ(three, (IntVector{20, 30, 10}));
}

TEST(IntVector, jsonRoundTrip) {
    IntVector v{0, -1, kLeast, kGreatest};
    v.setName(L"größe \U0001F600 \"x\"");
    IntVector back{5};
    back.fromJsonString(v.toJson());
    EXPECT_EQ(back, v);
    EXPECT_EQ(back.getName(), v.getName());
    EXPECT_EQ(IntVector{1}.toJson(), LR"({"type":"IntVector","version":1,"name":"","values":[1]})");
}

TEST(Vectors, misuseNamesTheOperation) {
    Vector v{1.0, 2.0, 3.0};
    const Vector before = v;
    IntVector w{1, 2};
    const Vector four(4);
    const StringVector texts{L"a"};
    Vector none;
    expectRefused({
        {"Vector sum: 3 elements on the left, 4 elements on the right", [&] { v += four; }},
        {"Vector::at: element 7 of 3", [&] { (void)std::as_const(v).at(7); }},
        {"Vector::remove: element 3 of 3, counted from 0", [&] { v.remove(3); }},
        {"Vector::back: the operand is empty", [&] { (void)none.back(); }},
        {"StringVector::at: element 1 of 1", [&] { (void)texts.at(1); }},
        {"IntVector::at: element 2 of 2, counted from 0", [&] { (void)w.at(2); }},
        {"IntVector::insert: position 3 of 3, counted from 0", [&] { w.insert(3, 0); }},
        {"IntVector::remove: element 2 of 2, counted from 0", [&] { w.remove(2); }},
        {"IntVector::back: the operand is empty", [&] { (void)IntVector().back(); }},
    });
    EXPECT_EQ(v, before);
    EXPECT_EQ(w, (IntVector{1, 2}));
}

}  // namespace
