#pragma once

/// @file
/// Typed, checked access to BLAS and LAPACK.
///
/// Every matrix is column-major: element (i, j) stands at a[i + j * lda]. A row-major matrix is
/// handed over as its transpose: the same memory, rows and columns exchanged, leading dimension =
/// its number of columns. Empty operands (a size of 0) are legal everywhere and need no storage.
///
/// Sizes are 64-bit. One that the back end cannot hold, a leading dimension that is too small, and
/// every failure a routine reports are thrown as `LinearAlgebraError`; nothing is ever printed.

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Veltrix::Support {

/// What went wrong in a linear algebra routine.
enum class LinearAlgebraFailure {
    NotFinite,            ///< the input holds a NaN (or an infinity where it is looked for)
    NotPositiveDefinite,  ///< a Cholesky factorisation met a pivot that is not positive
    Singular,             ///< an exact zero on the diagonal that must be divided by
    NoConvergence,        ///< an iteration for singular values or eigenvalues did not end
    TooLarge,             ///< a size does not fit the back end's integers
    Internal              ///< inconsistent arguments: a mistake of the calling code
};

/// Failure of a routine; `what()` names the operation and its meaning.
struct LinearAlgebraError : std::runtime_error {
    LinearAlgebraError(LinearAlgebraFailure failure, std::int64_t where, const std::string& text)
        : std::runtime_error(text), kind(failure), info(where) {}

    LinearAlgebraFailure kind;
    /// One-based position (pivot, minor, argument) that the routine reports, 0 if there is none.
    std::int64_t info;
};

enum class Transpose { No, Yes };
enum class Triangle { Upper, Lower };
enum class Side { Left, Right };

/// True when none of the n values is a NaN or an infinity.
bool allFinite(const double* values, std::int64_t n) noexcept;

// ---- Products. Operands of order 8 and less are multiplied by plain loops. ----

/// C = alpha op(A) op(B) + beta C; op(A) is m x k, op(B) k x n, C m x n.
/// With beta = 0 the old contents of C are not read.
void gemm(Transpose transA, Transpose transB, std::int64_t m, std::int64_t n, std::int64_t k,
          double alpha, const double* a, std::int64_t lda, const double* b, std::int64_t ldb,
          double beta, double* c, std::int64_t ldc);

/// y = alpha op(A) x + beta y; A is m x n as stored, increments are positive.
/// With beta = 0 the old contents of y are not read.
void gemv(Transpose transA, std::int64_t m, std::int64_t n, double alpha, const double* a,
          std::int64_t lda, const double* x, std::int64_t incX, double beta, double* y,
          std::int64_t incY);

/// One triangle of C = alpha A Aᵀ + beta C (Transpose::No, A n x k) or alpha AᵀA + beta C
/// (Transpose::Yes, A k x n); the other triangle of C is neither read nor written.
void syrk(Triangle triangle, Transpose trans, std::int64_t n, std::int64_t k, double alpha,
          const double* a, std::int64_t lda, double beta, double* c, std::int64_t ldc);

/// B = alpha op(A)⁻¹ B (Left, A m x m) or alpha B op(A)⁻¹ (Right, A n x n), A triangular, B m x n.
/// A zero on the diagonal gives infinities.
void trsm(Side side, Triangle triangle, Transpose trans, std::int64_t m, std::int64_t n,
          double alpha, const double* a, std::int64_t lda, double* b, std::int64_t ldb);

/// Σ x_i y_i, increments positive; any n.
double dot(std::int64_t n, const double* x, std::int64_t incX, const double* y, std::int64_t incY);

/// y += alpha x, increments positive; any n.
void axpy(std::int64_t n, double alpha, const double* x, std::int64_t incX, double* y,
          std::int64_t incY);

// ---- Orthogonal factorisations ----

/// A = Q R in place (m x n): R in the upper triangle, the reflectors of Q below it with their
/// factors in tau (min(m, n) values).
void geqrf(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, double* tau);

/// A P = Q R as `geqrf`, with column pivoting: |R(0,0)| >= |R(1,1)| >= ... Column j of A P is
/// column permutation[j] (zero-based, n values, written only) of A.
void geqp3(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, std::int32_t* permutation,
           double* tau);

/// C = op(Q) C (Left) or C op(Q) (Right), C m x n, Q from the first k reflectors of `geqrf` or
/// `geqp3` in a (m or n rows, as the side says).
void ormqr(Side side, Transpose trans, std::int64_t m, std::int64_t n, std::int64_t k,
           const double* a, std::int64_t lda, const double* tau, double* c, std::int64_t ldc);

/// Thin singular value decomposition A = U diag(s) Vᵀ with k = min(m, n): s (k values, descending),
/// u m x k, vt k x n. A is destroyed. Throws NoConvergence, NotFinite.
void gesddThin(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, double* s, double* u,
               std::int64_t ldu, double* vt, std::int64_t ldvt);

/// Eigenvalues (ascending, n values) of the symmetric matrix given by one triangle; a becomes the
/// eigenvectors, one a column. Throws NoConvergence, NotFinite.
void syevd(Triangle triangle, std::int64_t n, double* a, std::int64_t lda, double* eigenvalues);

// ---- Linear systems ----

/// A = P L U in place (m x n); pivots holds min(m, n) values for `getrs`. Throws Singular when a
/// diagonal entry of U is exactly zero.
void getrf(std::int64_t m, std::int64_t n, double* a, std::int64_t lda, std::int32_t* pivots);

/// Solves op(A) X = B in place of B (n x nrhs) from the factors of `getrf`.
void getrs(Transpose trans, std::int64_t n, std::int64_t nrhs, const double* a, std::int64_t lda,
           const std::int32_t* pivots, double* b, std::int64_t ldb);

/// Cholesky factor UᵀU or LLᵀ in place of the given triangle; the other triangle is left alone.
/// Throws NotPositiveDefinite.
void potrf(Triangle triangle, std::int64_t n, double* a, std::int64_t lda);

/// The same triangle of the inverse from the factor of `potrf`. Throws Singular.
void potri(Triangle triangle, std::int64_t n, double* a, std::int64_t lda);

/// Solves A X = B in place of B (n x nrhs) from the factor of `potrf`.
void potrs(Triangle triangle, std::int64_t n, std::int64_t nrhs, const double* a, std::int64_t lda,
           double* b, std::int64_t ldb);

/// Reduces a generalised to a standard symmetric problem, in the given triangle of a, with the
/// factor of B from `potrf` (same triangle) in b: U⁻ᵀ A U⁻¹ or L⁻¹ A L⁻ᵀ for A x = λ B x (type 1),
/// U A Uᵀ or Lᵀ A L for A B x = λ x (2) and B A x = λ x (3).
void sygst(int type, Triangle triangle, std::int64_t n, double* a, std::int64_t lda,
           const double* b, std::int64_t ldb);

}  // namespace Veltrix::Support
