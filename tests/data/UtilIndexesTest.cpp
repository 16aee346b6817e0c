#include <algorithm>
#include <climits>
#include <functional>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "tests/data/RandomValues.h"
#include "tests/support/Refusals.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

TEST(UtilIndexes, Ranges) {
    EXPECT_EQ(Util::range(2, 5), (IntVector{2, 3, 4}));
    EXPECT_EQ(Util::range(5, 2), IntVector());
    EXPECT_EQ(Util::range(0, 7, 3), (IntVector{0, 3, 6}));
    EXPECT_EQ(Util::range(5, 0, -2), (IntVector{5, 3, 1}));
    EXPECT_EQ(Util::range(0, 5, -1), IntVector());
    EXPECT_EQ(Util::range(INT_MAX - 5, INT_MAX, 4), (IntVector{INT_MAX - 5, INT_MAX - 1}));
    EXPECT_EQ(Util::range(INT_MIN, INT_MAX, INT_MAX), (IntVector{INT_MIN, -1, INT_MAX - 1}));
}

TEST(UtilIndexes, SelectionsAndSets) {
    const IntVector a{7, 3, 9, 3, 5};
    const Vector v{0.5, 1.5, 2.5};
    EXPECT_EQ(Util::select(a, Util::except(1)), (IntVector{7, 9, 3, 5}));
    EXPECT_EQ(Util::select(v, Util::except(IntVector{2, 0, 2})), Vector{1.5});
    EXPECT_EQ(Util::difference(a, IntVector{5, 3}, false), (IntVector{7, 9}));
    EXPECT_EQ(Util::difference(IntVector{1, 1, 4, 6, 6, 8}, IntVector{0, 1, 6, 7}, true),
              (IntVector{4, 8}));
    EXPECT_EQ(Util::bind(a, IntVector{4, 0}), (IntVector{5, 7}));
    EXPECT_EQ(Util::uniqueElements(StringVector{L"b", L"a", L"b", L""}),
              (StringVector{L"", L"a", L"b"}));
}

TEST(UtilIndexes, BadArguments) {
    const Vector v{1, 2};
    const auto order = static_cast<Ordering>(7);
    expectRefused({{"step", [] { (void)Util::range(0, 3, 0); }},
                   {"index 2 of 2", [&] { (void)Util::select(v, IntVector(1, 2)); }},
                   {"-1", [&] { (void)Util::select(v, Util::except(-1)); }},
                   {"position 1 of 1", [] { (void)Util::bind(IntVector(1), IntVector(1, 1)); }},
                   {"order 7", [&] { (void)Util::argSort(v, order); }}});
}

std::vector<int> stableOrder(const Vector& values, Ordering order) {
    std::vector<int> indexes(values.size());
    std::iota(indexes.begin(), indexes.end(), 0);
    const double sign = order == Ordering::smallestFirst ? 1.0 : -1.0;
    std::stable_sort(indexes.begin(), indexes.end(), [&](int i, int j) {
        const double a = sign * values[static_cast<std::uint64_t>(i)];
        const double b = sign * values[static_cast<std::uint64_t>(j)];
        return a < b || (!std::isnan(a) && std::isnan(b));
    });
    return indexes;
}

/// The first k of a stable sort, NaN left out or last, then what equals the k-th.
std::vector<int> expectedTop(const Vector& values, std::size_t k, bool ties, bool skipNaN,
                             Ordering order) {
    std::vector<int> sorted = stableOrder(values, order);
    const auto at = [&](int i) { return values[static_cast<std::uint64_t>(i)]; };
    if (skipNaN) std::erase_if(sorted, [&](int i) { return std::isnan(at(i)); });
    std::size_t end = std::min(k, sorted.size());
    while (ties && end > 0 && end < sorted.size() &&
           Util::equal(at(sorted[end]), at(sorted[k - 1])))
        ++end;
    sorted.resize(end);
    return sorted;
}

void expectTop(const Vector& values, int k) {
    for (const bool ties : {false, true}) {
        for (const bool skipNaN : {false, true}) {
            for (const Ordering order : {Ordering::largestFirst, Ordering::smallestFirst}) {
                const std::vector<int> expected =
                    expectedTop(values, static_cast<std::size_t>(k), ties, skipNaN, order);
                const IntVector top = Util::kTopIndices(values, k, ties, skipNaN, order);
                ASSERT_EQ(top, IntVector(expected.begin(), expected.end()))
                    << values.size() << " values, k " << k << ", ties " << ties << ", skip "
                    << skipNaN << ", order " << static_cast<int>(order);
                const Matrix rows = Util::kTop(values, k, ties, skipNaN, order);
                EXPECT_TRUE(allNear(rows(Util::all, 0).elements(), top, {}));
                EXPECT_TRUE(allNear(rows(Util::all, 1).elements(), Util::select(values, top),
                                    {0.0, 0.0, NaNRule::EqualsNaN}));
            }
        }
    }
}

// Sizes on both sides of the point where candidates are thinned out; ascending and descending runs
// make every element, or only the first ones, a candidate.
TEST(UtilSorting, TopAgreesWithStableSort) {
    for (const int n : {0, 1, 7, 300, 1500}) {
        for (const int range : {1, 4, 400}) {
            Vector values = smallIntegers(n, range, 5);
            for (std::uint64_t i = 3; i < values.size(); i += 11) values[i] = kNaN;
            for (const int k : {1, 2, 6, 130, 1400, 2000}) expectTop(values, k);
            expectTop(Util::sort(values, Ordering::largestFirst), 5);
        }
    }
    expectTop(Vector{kInfinity, 5, -kInfinity, kInfinity, 1, -kInfinity}, 1);
    expectTop(Vector{kNaN, kNaN, kNaN}, 2);
    EXPECT_TRUE(Util::kTopIndices(Vector{1, 2}, -3, true, true, Ordering::largestFirst).empty());
    // Ties within the tolerance, the better one among them first.
    const Vector close{1.0, 3.0, 1.0 + 4e-13, 1.0 - 3e-13, 2.0};
    EXPECT_EQ(Util::kTopIndices(close, 3, true, false, Ordering::largestFirst),
              (IntVector{1, 4, 2, 0, 3}));
}

TEST(UtilSorting, SortsStablyWithNaNLast) {
    // Few are compared, many are sorted by their digits.
    for (const int size : {500, 1500}) {
        Vector values = smallIntegers(size, 9, 6);
        values -= 4.0;
        values /= 3.0;
        for (std::uint64_t i = 7; i < values.size(); i += 50) values[i] = -0.0;
        values[0] = values[17] = values[499] = kNaN;
        values[5] = kInfinity;
        values[6] = -kInfinity;
        for (const Ordering order : {Ordering::largestFirst, Ordering::smallestFirst}) {
            const std::vector<int> expected = stableOrder(values, order);
            const IntVector indexes = Util::argSort(values, order);
            EXPECT_EQ(indexes, IntVector(expected.begin(), expected.end()));
            EXPECT_TRUE(allNear(Util::sort(values, order), Util::select(values, indexes),
                                {0.0, 0.0, NaNRule::EqualsNaN}));
        }
    }
}

}  // namespace
}  // namespace Veltrix::Testing
