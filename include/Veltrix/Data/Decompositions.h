#pragma once

#include <cstdint>
#include <vector>

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Storage.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

namespace Storage {

/// Q of the row blocks of a tall matrix. Not for use outside the data library.
struct BlockedFactors {
    Matrix leading;  ///< Householder vectors of the leading rows
    Vector leadingScalars;
    Buffer<double> reflectors;  ///< those of the row blocks, one after another
    Buffer<double> factors;     ///< triangular factors of the blocks
};

}  // namespace Storage

/// Column-pivoted QR factorisation A P = Q R of an n × p matrix (Householder; Businger and Golub
/// 1965), k = min(n, p). Tall matrices are first reduced in row blocks that fit the cache (a flat
/// tree; Demmel, Grigori, Hoemmen and Langou 2012, "Communication-optimal parallel and sequential
/// QR and LU factorizations") and the pivoted factorisation runs on the p × p triangle, which
/// gives the same factors up to the signs of the rows of R.
class VELTRIX_DATA_API QR {
  public:
    QR() = default;
    QR(const QR&) = default;
    QR(QR&&) noexcept = default;
    QR& operator=(const QR& other) { return *this = QR(other); }
    QR& operator=(QR&&) noexcept = default;
    ~QR() = default;

    /// R, k × p, upper triangular (trapezoidal), column-major; |diagonal| does not increase.
    [[nodiscard]] const Matrix& r() const noexcept { return r_; }
    /// The leading rows × cols block of Q (n × n), column-major, rows ≤ n, cols ≤ n. Throws
    /// `Exception` when larger.
    [[nodiscard]] Matrix q(int rows, int cols) const;
    /// Column k of R belongs to column p()[k] of A.
    [[nodiscard]] const IntVector& p() const noexcept { return permutation_; }
    /// Threshold below which |R(k, k)| counts as zero: max(n, p)·ε·|R(0, 0)|; 0 when A is empty.
    [[nodiscard]] double rTolerance() const noexcept { return tolerance_; }
    /// Q·B or Qᵀ·B (`left`), B·Q or B·Qᵀ (`right`), without forming Q. B has n rows (`left`) or n
    /// columns (`right`); throws `Exception` otherwise, and when an entry of B is NaN or infinite.
    /// The result has the storage order and the name of B.
    [[nodiscard]] Matrix qMultiply(const Matrix& b, SideType side, bool transpose) const;
    [[nodiscard]] Vector qMultiply(const Vector& b, SideType side, bool transpose) const;

  private:
    friend class Matrix;

    void applyLeft(double* b, std::int64_t columns, bool transpose) const;

    /// Row blocks were folded into a triangle first (n·p is large and n ≫ p).
    bool blocked() const noexcept { return !blocks_.reflectors.empty(); }

    int rows_ = 0;
    int cols_ = 0;
    Storage::BlockedFactors blocks_;
    Matrix innerReflectors_;  // Householder vectors of the pivoted factorisation
    Vector innerScalars_;
    Matrix r_;
    IntVector permutation_;
    double tolerance_ = 0.0;
};

/// Thin singular value decomposition A = U diag(s) V, k = min(n, p), s descending. In every left
/// vector the entry of largest absolute value (the first on ties) is positive, so results do not
/// flip between linear-algebra back ends.
class VELTRIX_DATA_API SVD {
  public:
    SVD() = default;
    SVD(const SVD&) = default;
    SVD(SVD&&) noexcept = default;
    SVD& operator=(const SVD& other) { return *this = SVD(other); }
    SVD& operator=(SVD&&) noexcept = default;
    ~SVD() = default;
    SVD(Vector singularValues, Matrix left, Matrix right);

    [[nodiscard]] const Vector& getSingularValues() const noexcept { return singularValues_; }
    /// n × k, one left singular vector per column.
    [[nodiscard]] const Matrix& getLeftSingular() const noexcept { return left_; }
    /// k × p, one right singular vector per ROW.
    [[nodiscard]] const Matrix& getRightSingular() const noexcept { return right_; }

  private:
    Vector singularValues_;
    Matrix left_;
    Matrix right_;
};

/// Eigenvalues and orthonormal eigenvectors (one per column) of a symmetric matrix, ascending when
/// computed. In every vector the entry of largest absolute value (the first on ties) is positive.
class VELTRIX_DATA_API Spectral {
  public:
    Spectral() = default;
    Spectral(const Spectral&) = default;
    Spectral(Spectral&&) noexcept = default;
    Spectral& operator=(const Spectral& other) { return *this = Spectral(other); }
    Spectral& operator=(Spectral&&) noexcept = default;
    ~Spectral() = default;
    Spectral(Vector eigenvalues, Matrix eigenvectors);

    [[nodiscard]] const Vector& getEigenvalues() const noexcept { return eigenvalues_; }
    [[nodiscard]] const Matrix& getEigenvectors() const noexcept { return eigenvectors_; }
    /// `smallestFirst` (1) or `largestFirst` (0).
    [[nodiscard]] Ordering getOrder() const noexcept { return order_; }
    /// Reverses the order of eigenvalues and eigenvectors.
    void switchOrder();

  private:
    Vector eigenvalues_;
    Matrix eigenvectors_;
    Ordering order_ = Ordering::smallestFirst;
};

/// Means and covariances of the rows of an n × p matrix by group, groups in ascending order of
/// their code. Statistics that were not asked for are empty.
class VELTRIX_DATA_API GroupStatistic {
  public:
    GroupStatistic() = default;
    GroupStatistic(const GroupStatistic&) = default;
    GroupStatistic(GroupStatistic&&) noexcept = default;
    GroupStatistic& operator=(const GroupStatistic& other) { return *this = GroupStatistic(other); }
    GroupStatistic& operator=(GroupStatistic&&) noexcept = default;
    ~GroupStatistic() = default;

    [[nodiscard]] int getNumGroups() const noexcept { return static_cast<int>(codes_.size()); }
    /// The group codes, ascending; column g of the means belongs to code g of this list.
    [[nodiscard]] const IntVector& getGroupCodes() const noexcept { return codes_; }
    /// Records of each group.
    [[nodiscard]] const IntVector& getGroupSizes() const noexcept { return sizes_; }
    /// p × G, one column per group.
    [[nodiscard]] const Matrix& getGroupMean() const noexcept { return groupMean_; }
    /// What rounding left out of the means, p × G: data far from 0 lose digits with it.
    [[nodiscard]] const Matrix& getGroupMeanRest() const noexcept { return groupMeanRest_; }
    /// p × p, divisor n_g − 1 (a group of one record gives NaN). `group` is the position in the
    /// list of codes; throws `Exception` when it is out of range or was not asked for.
    [[nodiscard]] const Matrix& getGroupCovariance(int group) const;
    /// p × p, Σ(n_g − 1)S_g / (n − G).
    [[nodiscard]] const Matrix& getPooledCovariance() const noexcept { return pooledCovariance_; }
    /// Mean of all rows, length p.
    [[nodiscard]] const Vector& getPooledMean() const noexcept { return pooledMean_; }

  private:
    friend class Util;

    IntVector codes_;
    IntVector sizes_;
    Matrix groupMean_;
    Matrix groupMeanRest_;
    std::vector<Matrix> groupCovariance_;
    Matrix pooledCovariance_;
    Vector pooledMean_;
};

/// A design matrix D = diag(scale)·[1 X] that is read in row blocks and never formed as a whole.
/// Refers to its parts, which must outlive it.
struct DesignRows {
    const Matrix& x;
    /// A leading column of ones.
    bool intercept = false;
    /// Row factors (square roots of weights), length n, or null for none.
    const Vector* scale = nullptr;

    [[nodiscard]] int getNumRows() const noexcept { return x.getNumRows(); }
    [[nodiscard]] int getNumCols() const noexcept { return x.getNumCols() + (intercept ? 1 : 0); }
};

/// Upper triangle T, (p + 1) × (p + 1), of the QR factorisation of [D b] with p the columns of D:
/// its leading p × p part is the triangle of D, its last column holds Qᵀb (first p entries) and
/// the signed length of the part of b outside the column space of D. `b` is multiplied by the scale
/// as well. Works in row blocks that fit the cache, so memory beyond the operands does not grow
/// with n. Throws `Exception` when lengths disagree, and naming row and column (counted from 0)
/// when an entry of X, b or the scale is NaN or infinite.
[[nodiscard]] VELTRIX_DATA_API Matrix triangularise(const DesignRows& design, const Vector& b);

/// The leading p × p part alone.
[[nodiscard]] VELTRIX_DATA_API Matrix triangularise(const DesignRows& design);

/// Squared lengths of the rows of D(:, columns)·T, length n, for a T with as many rows as there
/// are `columns` (leverages for T = R⁻¹). A triangular T costs half of a full one.
[[nodiscard]] VELTRIX_DATA_API Vector rowSquaredNorms(const DesignRows& design,
                                                      const IntVector& columns, const Matrix& t);

/// Dᵀ(b − Dβ) with b scaled as D is, length p: 0 at the least-squares solution. Sums run in twice
/// the working precision, so that what is left at a solution that is right to a few digits comes
/// out right as well; the basis of iterative refinement. Throws `Exception` when lengths disagree.
[[nodiscard]] VELTRIX_DATA_API Vector normalResidual(const DesignRows& design, const Vector& b,
                                                     const Vector& coefficients);

}  // namespace Veltrix
