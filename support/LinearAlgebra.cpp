#include "support/LinearAlgebra.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <new>
#include <numeric>

#if defined(VELTRIX_BLAS_MKL)
#include <mkl.h>
#else
#define LAPACK_COMPLEX_CPP
#include <cblas.h>
#include <lapacke.h>
#endif

namespace Veltrix::Support {

namespace {

static_assert(sizeof(lapack_int) == sizeof(std::int32_t), "pivots are passed on as they are");

constexpr std::int64_t kMaxSize = std::numeric_limits<lapack_int>::max();
/// Calls of BLAS cost more than the arithmetic up to this order.
constexpr std::int64_t kSmallOrder = 8;
/// Level-1 operations on longer arrays are cut, so that their length is not limited.
constexpr std::int64_t kChunk = std::int64_t{1} << 30;
/// No routine of the back ends uses wider blocks when it sizes its workspace.
constexpr double kWidestBlock = 128.0;

/// A routine's operation in words, and what a positive status of it means.
struct Routine {
    const char* name;
    LinearAlgebraFailure onPositive = LinearAlgebraFailure::Internal;
    const char* meaning = "the routine failed at position";

    /// A size, checked to be one that the back end can take.
    lapack_int size(std::int64_t value) const {
        if (value < 0 || value > kMaxSize) refuseSize(value);
        return static_cast<lapack_int>(value);
    }

    /// A leading dimension of a matrix with that many rows.
    lapack_int leading(std::int64_t value, std::int64_t rows) const {
        if (value < std::max<std::int64_t>(rows, 1)) {
            refuse("leading dimension", std::max<std::int64_t>(rows, 1), value);
        }
        return size(value);
    }

    lapack_int increment(std::int64_t value) const {
        if (value < 1) refuse("increment", 1, value);
        return size(value);
    }

    /// A block width or height inside [low, high].
    lapack_int within(const char* what, std::int64_t low, std::int64_t high,
                      std::int64_t value) const {
        if (value < low) refuse(what, low, value);
        if (value > high) refuse(what, high, value);
        return size(value);
    }

    /// The length of a workspace that the routine will ask for and keep in the same integers.
    void workspace(double length) const {
        if (length > static_cast<double>(kMaxSize)) {
            throw LinearAlgebraError(LinearAlgebraFailure::TooLarge, 0,
                                     std::string(name) +
                                         ": the matrix is too large, its workspace "
                                         "would pass " +
                                         std::to_string(kMaxSize) + " values");
        }
    }

    /// Turns a status into an exception. All sizes are checked beforehand, so a negative status is
    /// the check for NaN, apart from the two codes for a failed allocation.
    void check(lapack_int status) const {
        if (status != 0) fail(status);
    }

  private:
    [[noreturn]] void refuseSize(std::int64_t value) const {
        if (value < 0) refuse("size", 0, value);
        throw LinearAlgebraError(LinearAlgebraFailure::TooLarge, 0,
                                 std::string(name) + ": size " + std::to_string(value) +
                                     ", the largest possible is " + std::to_string(kMaxSize));
    }

    [[noreturn]] void refuse(const char* what, std::int64_t expected, std::int64_t found) const {
        throw LinearAlgebraError(LinearAlgebraFailure::Internal, 0,
                                 std::string(name) + ": " + what + " " + std::to_string(found) +
                                     (found < expected ? ", at least " : ", at most ") +
                                     std::to_string(expected) + " expected");
    }

    [[noreturn]] void fail(lapack_int status) const {
        if (status == LAPACK_WORK_MEMORY_ERROR || status == LAPACK_TRANSPOSE_MEMORY_ERROR) {
            throw std::bad_alloc();
        }
        if (status < 0) {
            throw LinearAlgebraError(
                LinearAlgebraFailure::NotFinite, -status,
                std::string(name) + ": the input holds a value that is not a finite number");
        }
        throw LinearAlgebraError(onPositive, status,
                                 std::string(name) + ": " + meaning + " " + std::to_string(status));
    }
};

constexpr const char* kZeroDiagonal = "the matrix is singular, with an exact zero in pivot";
constexpr const char* kNoConvergence = "no convergence; off-diagonal elements left over:";

constexpr Routine kMatrixProduct{"Matrix product"};
constexpr Routine kMatrixVectorProduct{"Matrix-vector product"};
constexpr Routine kCrossProduct{"Cross product"};
constexpr Routine kTriangularSolve{"Triangular solve", LinearAlgebraFailure::Singular,
                                   kZeroDiagonal};
constexpr Routine kVectorOperation{"Vector operation"};
constexpr Routine kQr{"QR factorisation"};
constexpr Routine kQMultiply{"Product with Q"};
constexpr Routine kSvd{"Singular value decomposition", LinearAlgebraFailure::NoConvergence,
                       kNoConvergence};
constexpr Routine kEigen{"Eigenvalue decomposition", LinearAlgebraFailure::NoConvergence,
                         kNoConvergence};
constexpr Routine kLu{"LU factorisation", LinearAlgebraFailure::Singular, kZeroDiagonal};
constexpr Routine kLuSolve{"Solve from LU factors"};
constexpr Routine kCholesky{"Cholesky factorisation", LinearAlgebraFailure::NotPositiveDefinite,
                            "the matrix is not positive definite, as shown by its leading minor"};
constexpr Routine kCholeskyInverse{"Inverse from Cholesky factor", LinearAlgebraFailure::Singular,
                                   kZeroDiagonal};
constexpr Routine kCholeskySolve{"Solve from Cholesky factor"};
constexpr Routine kReduction{"Reduction to the standard eigenproblem"};

CBLAS_TRANSPOSE blasCode(Transpose trans) {
    return trans == Transpose::Yes ? CblasTrans : CblasNoTrans;
}
CBLAS_UPLO blasCode(Triangle triangle) {
    return triangle == Triangle::Upper ? CblasUpper : CblasLower;
}
CBLAS_SIDE blasCode(Side side) { return side == Side::Left ? CblasLeft : CblasRight; }

char letter(Transpose trans) { return trans == Transpose::Yes ? 'T' : 'N'; }
char letter(Triangle triangle) { return triangle == Triangle::Upper ? 'U' : 'L'; }
char letter(Side side) { return side == Side::Left ? 'L' : 'R'; }

/// op(A) by the distance between neighbours in its rows and columns.
struct Operand {
    Operand(Transpose trans, const double* values, std::int64_t ld)
        : data(values),
          rowStep(trans == Transpose::Yes ? ld : 1),
          columnStep(trans == Transpose::Yes ? 1 : ld) {}

    double operator()(std::int64_t i, std::int64_t j) const {
        return data[i * rowStep + j * columnStep];
    }

    const double* data;
    std::int64_t rowStep;
    std::int64_t columnStep;
};

/// y *= beta, where 0 overwrites whatever y holds.
void scaleOrClear(std::int64_t n, double beta, double* y, std::int64_t incY) {
    for (std::int64_t i = 0; i < n; ++i) {
        y[i * incY] = beta == 0.0 ? 0.0 : beta * y[i * incY];
    }
}

/// y = alpha A x + beta y for small m x n or n = 0.
void plainGemv(std::int64_t m, std::int64_t n, double alpha, const Operand& a, const double* x,
               std::int64_t incX, double beta, double* y, std::int64_t incY) {
    scaleOrClear(m, beta, y, incY);
    for (std::int64_t j = 0; j < n; ++j) {
        const double factor = alpha * x[j * incX];
        for (std::int64_t i = 0; i < m; ++i) y[i * incY] += factor * a(i, j);
    }
}

template <class Step>
void inChunks(std::int64_t n, Step step) {
    for (std::int64_t start = 0; start < n; start += kChunk) {
        step(start, static_cast<lapack_int>(std::min(kChunk, n - start)));
    }
}

}  // namespace

bool allFinite(const double* values, std::int64_t n) noexcept {
    // An exponent of all ones carries into the sign bit when one is added to it: no comparison, so
    // the loop becomes plain integer vector code.
    constexpr std::uint64_t kExponent = 0x7FF0000000000000u;
    constexpr std::uint64_t kOne = 0x0010000000000000u;
    constexpr std::int64_t kBlock = 4096;
    for (std::int64_t start = 0; start < n; start += kBlock) {
        const std::int64_t end = std::min(start + kBlock, n);
        std::uint64_t carry = 0;
        for (std::int64_t i = start; i < end; ++i) {
            carry |= (std::bit_cast<std::uint64_t>(values[i]) & kExponent) + kOne;
        }
        if (carry >> 63 != 0) return false;
    }
    return true;
}

void gemm(Transpose transA, Transpose transB, std::int64_t m, std::int64_t n, std::int64_t k,
          double alpha, const double* a, std::int64_t lda, const double* b, std::int64_t ldb,
          double beta, double* c, std::int64_t ldc) {
    if (m == 0 || n == 0) return;
    const Routine& routine = kMatrixProduct;
    const lapack_int rowStepA = routine.leading(lda, transA == Transpose::Yes ? k : m);
    const lapack_int rowStepB = routine.leading(ldb, transB == Transpose::Yes ? n : k);
    const lapack_int rowStepC = routine.leading(ldc, m);
    if (k == 0 || (m <= kSmallOrder && n <= kSmallOrder && k <= kSmallOrder)) {
        const Operand left(transA, a, lda);
        const std::int64_t stepB = transB == Transpose::Yes ? ldb : 1;
        for (std::int64_t j = 0; j < n; ++j) {
            const double* column = b + (transB == Transpose::Yes ? j : j * ldb);
            plainGemv(m, k, alpha, left, column, stepB, beta, c + j * ldc, 1);
        }
        return;
    }
    cblas_dgemm(CblasColMajor, blasCode(transA), blasCode(transB), routine.size(m), routine.size(n),
                routine.size(k), alpha, a, rowStepA, b, rowStepB, beta, c, rowStepC);
}

void gemv(Transpose transA, std::int64_t m, std::int64_t n, double alpha, const double* a,
          std::int64_t lda, const double* x, std::int64_t incX, double beta, double* y,
          std::int64_t incY) {
    const bool transposed = transA == Transpose::Yes;
    const std::int64_t length = transposed ? n : m;
    const std::int64_t inner = transposed ? m : n;
    if (length == 0) return;
    const Routine& routine = kMatrixVectorProduct;
    const lapack_int step = routine.leading(lda, m);
    const lapack_int stepX = routine.increment(incX);
    const lapack_int stepY = routine.increment(incY);
    if (inner == 0 || (m <= kSmallOrder && n <= kSmallOrder)) {
        plainGemv(length, inner, alpha, Operand(transA, a, lda), x, incX, beta, y, incY);
        return;
    }
    cblas_dgemv(CblasColMajor, blasCode(transA), routine.size(m), routine.size(n), alpha, a, step,
                x, stepX, beta, y, stepY);
}

void syrk(Triangle triangle, Transpose trans, std::int64_t n, std::int64_t k, double alpha,
          const double* a, std::int64_t lda, double beta, double* c, std::int64_t ldc) {
    if (n == 0) return;
    const Routine& routine = kCrossProduct;
    cblas_dsyrk(CblasColMajor, blasCode(triangle), blasCode(trans), routine.size(n),
                routine.size(k), alpha, a, routine.leading(lda, trans == Transpose::Yes ? k : n),
                beta, c, routine.leading(ldc, n));
}

void trsm(Side side, Triangle triangle, Transpose trans, std::int64_t m, std::int64_t n,
          double alpha, const double* a, std::int64_t lda, double* b, std::int64_t ldb) {
    if (m == 0 || n == 0) return;
    const Routine& routine = kTriangularSolve;
    cblas_dtrsm(CblasColMajor, blasCode(side), blasCode(triangle), blasCode(trans), CblasNonUnit,
                routine.size(m), routine.size(n), alpha, a,
                routine.leading(lda, side == Side::Left ? m : n), b, routine.leading(ldb, m));
}

double dot(std::int64_t n, const double* x, std::int64_t incX, const double* y, std::int64_t incY) {
    const lapack_int stepX = kVectorOperation.increment(incX);
    const lapack_int stepY = kVectorOperation.increment(incY);
    double sum = 0.0;
    inChunks(n, [&](std::int64_t start, lapack_int length) {
        sum += cblas_ddot(length, x + start * incX, stepX, y + start * incY, stepY);
    });
    return sum;
}

void axpy(std::int64_t n, double alpha, const double* x, std::int64_t incX, double* y,
          std::int64_t incY) {
    const lapack_int stepX = kVectorOperation.increment(incX);
    const lapack_int stepY = kVectorOperation.increment(incY);
    inChunks(n, [&](std::int64_t start, lapack_int length) {
        cblas_daxpy(length, alpha, x + start * incX, stepX, y + start * incY, stepY);
    });
}

void geqrf(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, double* tau) {
    if (m == 0 || n == 0) return;
    kQr.workspace(kWidestBlock * static_cast<double>(n));
    kQr.check(
        LAPACKE_dgeqrf(LAPACK_COL_MAJOR, kQr.size(m), kQr.size(n), a, kQr.leading(lda, m), tau));
}

void geqp3(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, std::int32_t* permutation,
           double* tau) {
    if (m == 0 || n == 0) {
        std::iota(permutation, permutation + n, 0);
        return;
    }
    kQr.workspace(kWidestBlock * static_cast<double>(n));
    std::fill_n(permutation, n, 0);  // on entry 0 marks a column that is free to move
    kQr.check(LAPACKE_dgeqp3(LAPACK_COL_MAJOR, kQr.size(m), kQr.size(n), a, kQr.leading(lda, m),
                             permutation, tau));
    for (std::int64_t j = 0; j < n; ++j) --permutation[j];
}

void ormqr(Side side, Transpose trans, std::int64_t m, std::int64_t n, std::int64_t k,
           const double* a, std::int64_t lda, const double* tau, double* c, std::int64_t ldc) {
    if (m == 0 || n == 0 || k == 0) return;
    const bool left = side == Side::Left;
    const Routine& routine = kQMultiply;
    routine.workspace(kWidestBlock * static_cast<double>((left ? n : m) + 1));
    routine.check(LAPACKE_dormqr(LAPACK_COL_MAJOR, letter(side), letter(trans), routine.size(m),
                                 routine.size(n), routine.within("reflectors", 1, left ? m : n, k),
                                 a, routine.leading(lda, left ? m : n), tau, c,
                                 routine.leading(ldc, m)));
}

void gesddThin(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, double* s, double* u,
               std::int64_t ldu, double* vt, std::int64_t ldvt) {
    if (m == 0 || n == 0) return;
    const auto rank = static_cast<double>(std::min(m, n));
    kSvd.workspace(rank * (4.0 * rank + 7.0 + kWidestBlock));
    kSvd.check(LAPACKE_dgesdd(LAPACK_COL_MAJOR, 'S', kSvd.size(m), kSvd.size(n), a,
                              kSvd.leading(lda, m), s, u, kSvd.leading(ldu, m), vt,
                              kSvd.leading(ldvt, std::min(m, n))));
}

void syevd(Triangle triangle, std::int64_t n, double* a, std::int64_t lda, double* eigenvalues) {
    if (n == 0) return;
    const auto order = static_cast<double>(n);
    kEigen.workspace(order * (2.0 * order + 6.0 + kWidestBlock));
    kEigen.check(LAPACKE_dsyevd(LAPACK_COL_MAJOR, 'V', letter(triangle), kEigen.size(n), a,
                                kEigen.leading(lda, n), eigenvalues));
}

void getrf(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, std::int32_t* pivots) {
    if (m == 0 || n == 0) return;
    kLu.check(
        LAPACKE_dgetrf(LAPACK_COL_MAJOR, kLu.size(m), kLu.size(n), a, kLu.leading(lda, m), pivots));
}

void getrs(Transpose trans, std::int64_t n, std::int64_t nrhs, const double* a, std::int64_t lda,
           const std::int32_t* pivots, double* b, std::int64_t ldb) {
    if (n == 0 || nrhs == 0) return;
    const Routine& routine = kLuSolve;
    routine.check(LAPACKE_dgetrs(LAPACK_COL_MAJOR, letter(trans), routine.size(n),
                                 routine.size(nrhs), a, routine.leading(lda, n), pivots, b,
                                 routine.leading(ldb, n)));
}

void potrf(Triangle triangle, std::int64_t n, double* a, std::int64_t lda) {
    if (n == 0) return;
    kCholesky.check(LAPACKE_dpotrf(LAPACK_COL_MAJOR, letter(triangle), kCholesky.size(n), a,
                                   kCholesky.leading(lda, n)));
}

void potri(Triangle triangle, std::int64_t n, double* a, std::int64_t lda) {
    if (n == 0) return;
    const Routine& routine = kCholeskyInverse;
    routine.check(LAPACKE_dpotri(LAPACK_COL_MAJOR, letter(triangle), routine.size(n), a,
                                 routine.leading(lda, n)));
}

void potrs(Triangle triangle, std::int64_t n, std::int64_t nrhs, const double* a, std::int64_t lda,
           double* b, std::int64_t ldb) {
    if (n == 0 || nrhs == 0) return;
    const Routine& routine = kCholeskySolve;
    routine.check(LAPACKE_dpotrs(LAPACK_COL_MAJOR, letter(triangle), routine.size(n),
                                 routine.size(nrhs), a, routine.leading(lda, n), b,
                                 routine.leading(ldb, n)));
}

void sygst(int type, Triangle triangle, std::int64_t n, double* a, std::int64_t lda,
           const double* b, std::int64_t ldb) {
    if (n == 0) return;
    const Routine& routine = kReduction;
    routine.check(LAPACKE_dsygst(LAPACK_COL_MAJOR, type, letter(triangle), routine.size(n), a,
                                 routine.leading(lda, n), b, routine.leading(ldb, n)));
}

}  // namespace Veltrix::Support
