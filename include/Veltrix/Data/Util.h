#pragma once

#include <cstdint>

#include "Veltrix/Data/Decompositions.h"
#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/MatrixViews.h"
#include "Veltrix/Data/Selection.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// The numeric and index operations on the containers. Operands whose shapes disagree, indexes out
/// of range and negative counts throw `Exception` that names operation, argument, expected and
/// found. Unless said otherwise NaN propagates, an empty operand gives an empty result, and the
/// largest or smallest value, or its place, asked of an empty operand throws.
class VELTRIX_DATA_API Util {
  public:
    Util() = delete;

    using All = Selection::All;
    /// Every row or every column in a selection.
    static constexpr All all = Selection::all;

    /// @name Index sets
    /// @{
    /// from, from + 1, …, to − 1; empty when to ≤ from.
    [[nodiscard]] static IntVector range(int from, int to);
    /// from, from + step, … up to but excluding `to`; a negative step counts down. Step 0 throws.
    [[nodiscard]] static IntVector range(int from, int to, int step);
    [[nodiscard]] static Except except(int index);
    [[nodiscard]] static Except except(const IntVector& indexes);
    [[nodiscard]] static IntVector select(const IntVector& values, const Except& leftOut);
    [[nodiscard]] static Vector select(const Vector& values, const Except& leftOut);
    [[nodiscard]] static Vector select(const Vector& values, const IntVector& indexes);
    /// Elements of `a` that are not in `b`, in the order of `a` (repeats kept). `sorted` says that
    /// both are ascending, which spares the search structure.
    [[nodiscard]] static IntVector difference(const IntVector& a, const IntVector& b, bool sorted);
    /// a[b[0]], a[b[1]], …
    [[nodiscard]] static IntVector bind(const IntVector& a, const IntVector& b);
    /// The distinct values, ascending.
    [[nodiscard]] static IntVector uniqueElements(const IntVector& values);
    [[nodiscard]] static StringVector uniqueElements(const StringVector& values);
    static void replace(IntVector& values, int oldValue, int newValue);
    /// The indexes that sort the vector; equal values keep their order, NaN comes last.
    [[nodiscard]] static IntVector argSort(const Vector& values, Ordering order);
    [[nodiscard]] static Vector sort(const Vector& values, Ordering order);
    /// Indexes of the k best elements (largest or smallest), best first; equal values in original
    /// order. `includeTies` adds every further element equal (`equal`) to the k-th; `skipNaN`
    /// leaves NaN entries out (otherwise they come last). Fewer when there are fewer elements;
    /// k ≤ 0 gives none. O(n + k log k).
    [[nodiscard]] static IntVector kTopIndices(const Vector& values, int k, bool includeTies,
                                               bool skipNaN, Ordering ordering);
    /// The same as rows (index, value), one row an element.
    [[nodiscard]] static Matrix kTop(const Vector& values, int k, bool includeTies, bool skipNaN,
                                     Ordering ordering);
    /// @}

    /// @name Sweep and permutation
    /// @{
    /// Gauss-Jordan sweep (Goodnight 1979, "A tutorial on the SWEEP operator") on diagonal element
    /// k, in place: with d = a(k,k), a(i,j) − a(i,k)a(k,j)/d outside row and column k, row k
    /// divided by d, column k by −d, and the pivot 1/d. Sweeping the same k again undoes it.
    /// Needs a square matrix (`NumElementsMismatch`) and d ≠ 0 (`Exception`).
    static void sweep(Matrix& a, int k);
    /// Each pivot in turn; when one is 0 as its turn comes, the matrix is as it was.
    static void sweep(Matrix& a, const IntVector& pivots);
    [[nodiscard]] static Matrix sweep(const Matrix& a, int k);
    /// The last diagonal element of a swept bordered cross-product matrix.
    [[nodiscard]] static double residualSumOfSquares(const Matrix& swept);
    /// Reorder in place; `permutation` must hold every index once.
    static void permuteRows(Matrix& a, const IntVector& permutation, PermutationType type);
    static void permuteCols(Matrix& a, const IntVector& permutation, PermutationType type);
    /// @}

    /// @name Reductions
    /// @{
    /// Sums carry a compensation (Neumaier 1974), so that the result is exact to the last digits
    /// whatever the order of magnitude of the terms. `skipNaN` leaves NaN entries out.
    [[nodiscard]] static double sum(const Vector& values, bool skipNaN = false);
    [[nodiscard]] static double sum(const Matrix& values, bool skipNaN = false);
    [[nodiscard]] static double sum(const ConstMatrixRow& values, bool skipNaN = false);
    [[nodiscard]] static double sum(const ConstMatrixColumn& values, bool skipNaN = false);
    /// NaN when empty. Equal values have exactly their value as mean; a mean of finite values does
    /// not overflow.
    [[nodiscard]] static double mean(const Vector& values);
    /// Mean of every column, length = columns; NaN when there are no rows.
    [[nodiscard]] static Vector mean(const Matrix& a);
    /// Σwv/Σw; NaN when the weights sum to 0.
    [[nodiscard]] static double weightedMean(const Vector& values, const Vector& weights);
    /// Most frequent number of every column, the smallest on ties; NaN only when all are NaN.
    [[nodiscard]] static Vector mode(const Matrix& a);
    /// Total sum of squares of all columns about their means; neither overflows nor underflows
    /// before its result does.
    [[nodiscard]] static double SST(const Matrix& a);
    /// NaN entries are passed over unless all are NaN.
    [[nodiscard]] static double maxValue(const Vector& values);
    [[nodiscard]] static double maxValue(const ConstMatrixRow& values);
    [[nodiscard]] static int maxValue(const IntVector& values);
    [[nodiscard]] static double minValue(const Vector& values);
    [[nodiscard]] static double minValue(const ConstMatrixColumn& values);
    /// First place of the largest (smallest) value; 0 when all are NaN.
    [[nodiscard]] static int maxIndex(const Vector& values);
    [[nodiscard]] static int maxIndex(const ConstMatrixRow& values);
    [[nodiscard]] static int minIndex(const Vector& values);
    /// Column minima.
    [[nodiscard]] static Vector minimum(const Matrix& a);
    /// Smallest entry above the diagonal of a symmetric matrix, and where it stands: the first in
    /// row-major order of the upper triangle on ties. Needs order 2 or more.
    static double minimum(const Matrix& symmetric, int& row, int& col);
    /// For each row the first column of its least value.
    [[nodiscard]] static IntVector indexesOfRowMin(const Matrix& a);
    /// Sum of every column.
    [[nodiscard]] static Vector sumColumns(const Matrix& a);
    /// Running sums.
    [[nodiscard]] static Vector partialSum(const Vector& values);
    /// 100·value/total.
    [[nodiscard]] static Vector percentage(const Vector& values);
    /// Entries with |v| ≤ n·ε·max(1, max|v|), n the length, the largest taken over the finite
    /// ones; NaN is no such entry.
    [[nodiscard]] static int countZero(const Vector& values);
    [[nodiscard]] static int countNaNInfinity(const Vector& values);
    [[nodiscard]] static double dotProduct(const Vector& a, const Vector& b);
    [[nodiscard]] static double dotProduct(const ConstMatrixRow& a, const ConstMatrixRow& b);
    [[nodiscard]] static double dotProduct(const Matrix& a, const Matrix& b);
    [[nodiscard]] static double innerProduct(const Vector& a);
    [[nodiscard]] static double innerProduct(const ConstMatrixRow& a);
    /// `squared` asks for the square of the norm. The Euclidean norm and its square neither
    /// overflow nor underflow before the result does.
    [[nodiscard]] static double norm(const ConstMatrixRow& values, NormType type, bool squared);
    [[nodiscard]] static double norm(const ConstMatrixColumn& values, NormType type, bool squared);
    /// @}

    /// @name Element-wise
    /// @{
    [[nodiscard]] static Vector absolute(const Vector& values);
    [[nodiscard]] static Vector exp(const Vector& values);
    [[nodiscard]] static Matrix exp(const Matrix& values);
    [[nodiscard]] static Vector ln(const Vector& values);
    [[nodiscard]] static Matrix ln(const Matrix& values);
    [[nodiscard]] static Vector sqrt(const Vector& values);
    [[nodiscard]] static double sqr(double value);
    [[nodiscard]] static Vector sqr(const Vector& values);
    [[nodiscard]] static Matrix sqr(const Matrix& values);
    [[nodiscard]] static Vector power(const Vector& values, double exponent);
    /// Reciprocals.
    [[nodiscard]] static Vector inverse(const Vector& values);
    /// max(value, c); NaN stays NaN.
    [[nodiscard]] static Vector maxScalar(const Vector& values, double c);
    /// NaN to 0, ±infinity to the largest finite double of that sign.
    [[nodiscard]] static Matrix nanToNum(const Matrix& values);
    /// 1/(1 + e⁻ˣ).
    [[nodiscard]] static Matrix sigmoid(const Matrix& values);
    [[nodiscard]] static Vector sigmoid(const Vector& values);
    [[nodiscard]] static Matrix tanh(const Matrix& values);
    /// max(x, 0).
    [[nodiscard]] static Matrix relu(const Matrix& values);
    /// Softmax of each column, e^(x − max)/Σ, so that no entry overflows.
    [[nodiscard]] static Matrix softmaxCols(const Matrix& values);
    /// @}

    /// @name Construction
    /// @{
    /// Ones on the main diagonal, zeros elsewhere.
    [[nodiscard]] static Matrix eye(int rows, int cols);
    [[nodiscard]] static Matrix ones(int rows, int cols);
    /// The main diagonal, length min(rows, cols).
    [[nodiscard]] static Vector diag(const Matrix& a);
    [[nodiscard]] static Matrix transpose(const Matrix& a);
    /// Normally distributed entries: MT19937 seeded with `seed`, 53-bit uniforms, polar method
    /// (Marsaglia and Bray 1964), filled in storage order.
    [[nodiscard]] static Matrix gaussianMatrix(int rows, int cols, MatrixOrderType order,
                                               double mean, double sd, unsigned seed);
    /// @}

    /// @name Statistics and decompositions
    /// @{
    /// p × p, divisor n − 1, columns centred first; a constant column has variance exactly 0. An
    /// entry neither overflows nor underflows before its value does; those of `correlation` do not
    /// depend on the columns' orders of magnitude. Throws `TooFewNumRows` for n < 2.
    [[nodiscard]] static Matrix covariance(const Matrix& a);
    /// p × p; a constant column gives NaN off the diagonal, which is 1 (NaN for a column with NaN).
    /// `absoluteValues` asks for |r|. Throws `TooFewNumRows` for n < 2.
    [[nodiscard]] static Matrix correlation(const Matrix& a, bool absoluteValues);
    /// Cholesky factor U (A = UᵀU) or L (A = LLᵀ), zeros in the other triangle. Only the named
    /// triangle of A is read. Throws when A is not positive definite or not finite.
    [[nodiscard]] static Matrix cholesky(const Matrix& a, TriangularityType triangle);
    [[nodiscard]] static SVD svd(const Matrix& a);
    /// The `count` largest singular values with their vectors: U n × count, V count × p. When
    /// min(n, p) is at least 256 and ten times `count`, block Lanczos steps on the smaller of AᵀA
    /// and AAᵀ (Golub and Underwood 1977; fully reorthogonalised, from a fixed seed) find them in a
    /// fraction of the time of the whole decomposition. They are kept if they are proven to be the
    /// largest ones: the residual over the distance to the next singular value (Wedin 1972) at most
    /// 1e-9, and no other value beyond them by the inertia of a shifted matrix. Else, as when
    /// values tie at the cut or the matrix has no structure, the whole decomposition is made and
    /// cut, so that values and spaces equal those of `svd(a)` to 1e-8 in any case. Throws
    /// `Exception` for a count below 0 or above min(n, p), and for NaN or infinite entries.
    [[nodiscard]] static SVD svd(const Matrix& a, int count);
    /// Eigen-decomposition of a symmetric matrix (the upper triangle is read), ascending.
    [[nodiscard]] static Spectral spectral(const Matrix& a);
    /// Statistics of the rows of `a` by group code; see `GroupStatistic`. `groupCovariances` asks
    /// for the covariance of every group, `pooledCovariance` for the pooled covariance and mean.
    [[nodiscard]] static GroupStatistic groupStatistic(const Matrix& a, const IntVector& groups,
                                                       bool groupCovariances,
                                                       bool pooledCovariance);
    /// @}

    /// @name Distances
    /// @{
    /// Euclidean distance from every row of `a` to every row of `b` (rows(a) × rows(b)); `squared`
    /// leaves out the square root. The coordinates are subtracted before they are squared, so that
    /// identical rows have distance exactly 0 and every distance has a relative error under 1e-13
    /// (as long as the squares neither overflow, from differences of 1e154 on, nor underflow, below
    /// 1e-146). Rows with NaN give NaN, infinities what the formula gives. The result has the
    /// storage order of `a`, or the one asked for; neither that nor the orders of `a` and `b`
    /// change a value. Memory beyond the result stays below 1 MiB.
    [[nodiscard]] static Matrix pairwiseDistance(const Matrix& a, const Matrix& b, bool squared);
    [[nodiscard]] static Matrix pairwiseDistance(const Matrix& a, const Matrix& b,
                                                 MatrixOrderType order, bool squared);
    /// From one point to every row.
    [[nodiscard]] static Vector pairwiseDistance(const Vector& point, const Matrix& b,
                                                 bool squared);
    /// All pairs of rows of one matrix; exactly symmetric, with zero diagonal but for rows whose
    /// distance to themselves is not defined (NaN or infinite entries; for the angular types also
    /// rows of length 0, or constant ones). `squared` affects the Euclidean distance only. The
    /// angular types are ½‖u − v‖² of the rows u, v scaled to unit length (and centred, for the
    /// correlation), which keeps its digits for nearly parallel rows.
    [[nodiscard]] static Matrix pairwiseDistance(const Matrix& a, bool squared,
                                                 DissimilarityType type);
    /// @}

    /// @name Comparisons
    /// @{
    /// a == b, or |a − b| ≤ 1e-12·max(|a|, |b|): only an exact 0 equals 0.
    [[nodiscard]] static bool equal(double a, double b);
    /// |a| ≤ 2.220446049250313e-16.
    [[nodiscard]] static bool isZero(double a);
    /// @}
};

/// What a user-supplied distance matrix is fit for, as flags: 1 = square, symmetric, zero
/// diagonal, no negative entry; 2 = square, symmetric, no negative entry (similarities). Symmetry
/// is `Util::equal` of the two entries, zero `Util::isZero`. NaN entries do not clear a flag; an
/// empty matrix has neither.
[[nodiscard]] VELTRIX_DATA_API int validateDistanceMatrix(const Matrix& distances);

}  // namespace Veltrix
