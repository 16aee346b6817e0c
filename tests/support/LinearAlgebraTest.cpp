// What the containers' tests do not reach: factors alpha and beta, increments, empty operands, the
// general solver, and the kinds of failure.
#include "support/LinearAlgebra.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Tolerance.h"

using namespace Veltrix::Support;
using namespace Veltrix::Testing;

namespace {

using Values = std::vector<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// What the routine below answers.
int statusOfGeqrf = 0;

}  // namespace

/// Stands in for the back end's routine, which answers so when it gets no memory for its work.
extern "C" [[gnu::visibility("default")]] int LAPACKE_dgeqrf(int, int, int, double*, int, double*) {
    return statusOfGeqrf;
}

TEST(LinearAlgebra, FailedAllocationsOfTheBackEndAreBadAlloc) {
    double value = 1.0;
    for (const int status : {-1010, -1011}) {
        statusOfGeqrf = status;
        EXPECT_THROW(geqrf(1, 1, &value, 1, &value), std::bad_alloc);
    }
}

TEST(LinearAlgebra, ProductsScaleAndAccumulate) {
    for (const std::int64_t n : {2, 30}) {  // the plain loops, and the routine
        const Values ones(std::size_t(n * n), 1.0);
        Values sum(ones.size(), kNaN);
        for (const double beta : {0.0, 2.0}) {  // 0 overwrites the NaN
            gemm(Transpose::No, Transpose::Yes, n, n, n, 0.5, ones.data(), n, ones.data(), n, beta,
                 sum.data(), n);
        }
        EXPECT_EQ(sum, Values(ones.size(), 1.5 * double(n)));
    }
}

TEST(LinearAlgebra, VectorOperationsHonourIncrements) {
    const Values x{1, 0, 2, 0, 3, 0};
    Values y{10, 20, 30};
    EXPECT_EQ(dot(3, x.data(), 2, y.data(), 1), 140.0);
    axpy(3, 2.0, x.data(), 2, y.data(), 1);
    EXPECT_EQ(y, (Values{12, 24, 36}));
}

TEST(LinearAlgebra, EmptyOperandsAreLegal) {
    Values c{1, 2, 3, 4};
    gemm(Transpose::No, Transpose::No, 2, 2, 0, 1.0, nullptr, 2, nullptr, 1, 0.5, c.data(), 2);
    EXPECT_EQ(c, (Values{0.5, 1, 1.5, 2}));
    gemv(Transpose::No, 4, 0, 1.0, nullptr, 4, nullptr, 1, 0.0, c.data(), 1);
    EXPECT_EQ(c, Values(4, 0.0));
    std::vector<std::int32_t> permutation(3, 9);
    geqp3(0, 3, nullptr, 1, permutation.data(), nullptr);
    EXPECT_EQ(permutation, (std::vector<std::int32_t>{0, 1, 2}));
    gesddThin(0, 3, nullptr, 1, nullptr, nullptr, 1, nullptr, 1);
    syevd(Triangle::Upper, 0, nullptr, 1, nullptr);
}

TEST(LinearAlgebra, GeneralSolver) {
    const Values x{1, -2, 3};
    Values lu{0, 1, 4, 2, 3, 1, 1, 1, 2};  // the first pivot must be exchanged
    std::int32_t pivots[3];
    getrf(3, 3, lu.data(), 3, pivots);
    Values solution{10, -1, 5};
    getrs(Transpose::Yes, 3, 1, lu.data(), 3, pivots, solution.data(), 3);
    EXPECT_TRUE(allNear(solution, x, {1e-11}));
}

TEST(LinearAlgebra, FailuresCarryKindPositionAndMeaning) {
    using Kind = LinearAlgebraFailure;
    const std::int64_t huge = std::int64_t{1} << 32;
    Values singular{1, 2, 2, 4};
    Values indefinite{1, 2, 2, 1};
    Values zeroDiagonal{1, 0, 5, 0};
    Values withNaN{1, kNaN, kNaN, 1};
    Values out(16);
    std::int32_t pivots[2];
    const struct {
        Kind kind;
        std::int64_t info;
        const char* start;
        std::function<void()> action;
    } cases[] = {
        {Kind::Singular, 2, "LU", [&] { getrf(2, 2, singular.data(), 2, pivots); }},
        {Kind::NotPositiveDefinite, 2, "Cholesky factorisation: the matrix is not positive",
         [&] { potrf(Triangle::Lower, 2, indefinite.data(), 2); }},
        {Kind::Singular, 2, "Inverse", [&] { potri(Triangle::Upper, 2, zeroDiagonal.data(), 2); }},
        {Kind::NotFinite, 5, "Eigenvalue decomposition: the input holds",
         [&] { syevd(Triangle::Upper, 2, withNaN.data(), 2, out.data()); }},
        {Kind::NotFinite, 5, "Singular value decomposition",
         [&] { gesddThin(2, 2, withNaN.data(), 2, out.data(), &out[2], 2, &out[6], 2); }},
        {Kind::NotFinite, 4, "QR", [&] { geqp3(2, 2, withNaN.data(), 2, pivots, out.data()); }},
        {Kind::TooLarge, 0, "Cholesky factorisation: size 4294967296",
         [&] { potrf(Triangle::Upper, huge, out.data(), huge); }},
        {Kind::TooLarge, 0, "Eigenvalue decomposition: the matrix is too large",
         [&] { syevd(Triangle::Upper, 40000, out.data(), 40000, out.data()); }},
        {Kind::Internal, 0, "Cholesky factorisation: leading dimension 2, at least 3",
         [&] { potrf(Triangle::Upper, 3, out.data(), 2); }},
        {Kind::Internal, 0, "Vector", [&] { dot(2, out.data(), 0, out.data(), 1); }},
    };
    for (const auto& c : cases) {
        try {
            c.action();
            ADD_FAILURE() << "accepted: " << c.start;
        } catch (const LinearAlgebraError& error) {
            EXPECT_EQ(error.kind, c.kind) << error.what();
            EXPECT_EQ(error.info, c.info) << error.what();
            EXPECT_TRUE(std::string(error.what()).starts_with(c.start)) << error.what();
        }
    }
}

TEST(LinearAlgebra, FindsEveryNonFiniteValueWhereverItStands) {
    using Limits = std::numeric_limits<double>;
    for (const std::size_t n : {std::size_t{1}, std::size_t{7}, std::size_t{5001}}) {
        for (const std::size_t at : {std::size_t{0}, n / 2, n - 1}) {
            Values values(n, Limits::max());
            EXPECT_TRUE(allFinite(values.data(), std::ssize(values)));
            for (const double value : {kNaN, Limits::infinity(), -Limits::infinity()}) {
                values[at] = value;
                EXPECT_FALSE(allFinite(values.data(), std::ssize(values)));
            }
        }
    }
    EXPECT_TRUE(allFinite(nullptr, 0));
}
