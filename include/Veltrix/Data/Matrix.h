#pragma once

#include <atomic>
#include <cassert>
#include <cstddef>
#include <cstdint>

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/MatrixViews.h"
#include "Veltrix/Data/Selection.h"
#include "Veltrix/Data/Storage.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

class QR;
class SVD;

/// A dense rectangular array of doubles with a name and a storage order. Element (i, j) is row i,
/// column j whatever the order; the order matters to `getAsDoubleVector`, to the constructors that
/// take values, and to speed. Built without an order a matrix is column-major. Row and column
/// indexes count from 0; the number of elements is limited by memory only (sizes are 64-bit).
///
/// Element access is unchecked in release builds. Every other misuse (shapes that disagree,
/// negative sizes, an index out of range in a selection) throws `Exception` that names operation,
/// argument, expected and found values. Results of selections and arithmetic have the storage
/// order and the name of the (left) operand.
class VELTRIX_DATA_API Matrix {
  public:
    /// 0 rows, 0 columns.
    Matrix() = default;
    explicit Matrix(MatrixOrderType order);
    /// Zero-filled.
    Matrix(int rows, int cols);
    Matrix(int rows, int cols, double value);
    Matrix(int rows, int cols, MatrixOrderType order);
    Matrix(int rows, int cols, double value, MatrixOrderType order);
    Matrix(int rows, int cols, MatrixOrderType order, Storage::Unfilled);
    /// Takes rows · cols values in the order of storage. Throws when the number differs.
    Matrix(int rows, int cols, const Vector& values);
    Matrix(int rows, int cols, const Vector& values, MatrixOrderType order);
    Matrix(int rows, int cols, Vector&& values, MatrixOrderType order);

    Matrix(const Matrix& other);
    Matrix& operator=(const Matrix& other);
    /// The source becomes an empty matrix.
    Matrix(Matrix&& other) noexcept;
    Matrix& operator=(Matrix&& other) noexcept;
    virtual ~Matrix();

    [[nodiscard]] int getNumRows() const noexcept { return rows_; }
    [[nodiscard]] int getNumCols() const noexcept { return cols_; }
    [[nodiscard]] bool empty() const noexcept { return rows_ == 0 || cols_ == 0; }
    [[nodiscard]] MatrixOrderType getMatrixOrder() const noexcept { return order_; }

    double& operator()(int row, int col) {
        assert(row >= 0 && row < rows_ && col >= 0 && col < cols_);
        if (loose_) pack();
        return stored_[offset(row, col)];
    }
    double operator()(int row, int col) const {
        assert(row >= 0 && row < rows_ && col >= 0 && col < cols_);
        return stored_[offset(row, col)];
    }
    /// The final element in storage order; throws on an empty matrix.
    double& last();
    [[nodiscard]] double last() const;
    /// Contiguous storage in storage order, rows · cols values. Of a constant matrix to which rows
    /// or columns were appended across the storage order it may be a copy made by the first call,
    /// which throws `std::bad_alloc` when there is no memory for it.
    double* data() noexcept {
        if (loose_) pack();
        return stored_.data();
    }
    const double* data() const { return loose_ ? packedCopy() : stored_.data(); }

    /// Keeps the elements at the positions that remain; new ones are 0 or `fill`.
    void resize(int rows, int cols);
    void resize(int rows, int cols, double fill);
    void resize(int rows, int cols, double fill, MatrixOrderType order);
    /// On an empty (0 × 0) matrix the first row or column appended fixes the width or height. The
    /// cost of appending one after the other is proportional to their length, in both orders of
    /// storage; memory may be up to half as large again as the matrix until it is written to.
    void appendRow(const Vector& row);
    void appendColumn(const Vector& column);
    /// Puts `column` before column `index`; `index == getNumCols()` appends. Costs as much as a
    /// copy of the matrix, unless it appends.
    void insertColumn(int index, const Vector& column);
    /// Transposes in place (storage order kept) and returns the matrix.
    Matrix& transpose();

    /// Selections: a new matrix with the chosen rows and columns in the order given, repeats
    /// allowed; an empty set gives 0 rows or columns. `Except` leaves the listed indexes out.
    [[nodiscard]] Matrix operator()(const IntVector& rows, const IntVector& cols) const;
    [[nodiscard]] Matrix operator()(const IntVector& rows, Selection::All) const;
    [[nodiscard]] Matrix operator()(Selection::All, const IntVector& cols) const;
    [[nodiscard]] Matrix operator()(const Except& rows, const Except& cols) const;
    [[nodiscard]] Matrix operator()(const Except& rows, Selection::All) const;
    [[nodiscard]] Matrix operator()(Selection::All, const Except& cols) const;
    /// Live views; a temporary matrix gives none, as it would end before they are used.
    MatrixRow operator()(int row, Selection::All) &;
    ConstMatrixRow operator()(int row, Selection::All) const&;
    ConstMatrixRow operator()(int row, Selection::All) const&& = delete;
    MatrixColumn operator()(Selection::All, int col) &;
    ConstMatrixColumn operator()(Selection::All, int col) const&;
    ConstMatrixColumn operator()(Selection::All, int col) const&& = delete;
    /// Writes `block` at the given rows and columns (block element (i, j) to (rows[i], cols[j])).
    void set(const IntVector& rows, const IntVector& cols, const Matrix& block);
    /// The chosen rows of column `col`.
    [[nodiscard]] Vector getSubColumn(const IntVector& rows, int col) const;
    /// All values in storage order.
    [[nodiscard]] Vector getAsDoubleVector() const;

    Matrix& operator+=(const Matrix& other);
    Matrix& operator-=(const Matrix& other);
    Matrix& operator*=(double factor);
    Matrix& operator/=(double divisor);
    Matrix operator-() const;
    /// Same shape and |difference| ≤ tolerance everywhere; NaN equals nothing, equal infinities
    /// are equal.
    [[nodiscard]] bool equalTo(const Matrix& other, double tolerance) const;

    /// Column-pivoted QR factorisation; see `QR`. Throws on NaN or infinite entries.
    [[nodiscard]] QR qr() const;
    /// Thin singular value decomposition; see `SVD`. Throws on NaN or infinite entries.
    [[nodiscard]] SVD svd() const;

    /// A⁻¹ of a symmetric positive definite matrix (Cholesky). Only the upper triangle is read.
    /// Throws `NumElementsMismatch` when A is not square, `Exception` when it is not positive
    /// definite or not finite.
    [[nodiscard]] static Matrix inversePositiveDefinite(const Matrix& a);
    /// A⁻¹ from a Cholesky factor: A = UᵀU (`upper`) or A = LLᵀ (`lower`).
    [[nodiscard]] static Matrix inversePositiveDefiniteFromCholesky(const Matrix& factor,
                                                                    TriangularityType triangle);
    /// Solves A X = B for symmetric positive definite A; only the upper triangle is read. Solutions
    /// of this and the following systems have the storage order and the name of B; an entry of a
    /// matrix or a right-hand side that is NaN or infinite throws `Exception`, which names it.
    [[nodiscard]] static Matrix solvePositiveDefiniteSystem(const Matrix& a, const Matrix& b);
    [[nodiscard]] static Vector solvePositiveDefiniteSystem(const Matrix& a, const Vector& b);
    [[nodiscard]] static Matrix solvePositiveDefiniteSystemFromCholesky(const Matrix& factor,
                                                                        const Matrix& b,
                                                                        TriangularityType triangle);
    [[nodiscard]] static Vector solvePositiveDefiniteSystemFromCholesky(const Matrix& factor,
                                                                        const Vector& b,
                                                                        TriangularityType triangle);
    /// Solves T X = αB (`left`) or X T = αB (`right`), with Tᵀ in place of T when `transposeT`.
    /// Only the named triangle of T is read. Throws when a diagonal entry is exactly 0.
    [[nodiscard]] static Matrix solveTriangularSystem(const Matrix& t, const Matrix& b,
                                                      SideType side, TriangularityType triangle,
                                                      bool transposeT, double alpha);
    [[nodiscard]] static Vector solveTriangularSystem(const Matrix& t, const Vector& b,
                                                      SideType side, TriangularityType triangle,
                                                      bool transposeT, double alpha);
    /// Reduces a generalised symmetric eigenvalue problem to the standard form C z = λ z, given B's
    /// Cholesky factor in `b` (as `Util::cholesky` returns it), B = UᵀU or B = LLᵀ. `problemType`:
    /// - 1: A x = λ B x; C = U⁻ᵀ A U⁻¹, x = U⁻¹ z, or C = L⁻¹ A L⁻ᵀ, x = L⁻ᵀ z;
    /// - 2: A B x = λ x; C = U A Uᵀ, x = U⁻¹ z, or C = Lᵀ A L, x = L⁻ᵀ z;
    /// - 3: B A x = λ x; C as for 2, x = Uᵀ z or x = L z.
    ///
    /// Only the named triangle of A and of the factor is read; C is returned whole (symmetric).
    /// Throws `NumElementsMismatch` when the matrices are not square or differ in order.
    [[nodiscard]] static Matrix standardizeEigenvalueProblem(const Matrix& a, const Matrix& b,
                                                             int problemType,
                                                             TriangularityType triangle);

    virtual void setName(const WString& name);
    [[nodiscard]] virtual const WString& getName() const;
    /// One line a row, elements separated by blanks, shortest text that reads back.
    [[nodiscard]] virtual WString toString() const;
    /// JSON text with type, version, name, order, rows, cols and the values in storage order.
    [[nodiscard]] virtual WString toJson() const;
    /// Takes back what `toJson` wrote (equal in values, name and order). Throws `Exception` naming
    /// the offending key when the text is damaged or foreign, and leaves the matrix as it was.
    virtual void fromJsonString(const WString& json);

  private:
    std::size_t offset(int row, int col) const noexcept {
        return static_cast<std::size_t>(row) * rowStride_ +
               static_cast<std::size_t>(col) * colStride_;
    }
    void reshape(int rows, int cols, MatrixOrderType order) noexcept;
    void appendAcross(const Vector& elements);
    void pack() noexcept;
    void dropPackedCopy() noexcept;
    Storage::Buffer<double> packedValues() const;
    const double* packedCopy() const;

    int rows_ = 0;
    int cols_ = 0;
    MatrixOrderType order_ = MatrixOrderType::columnMajor;
    /// Whether lines (columns or rows, along the storage order) have room for more elements than
    /// there are. Every access that may write takes the room away first.
    bool loose_ = false;
    std::size_t rowStride_ = 1;
    std::size_t colStride_ = 0;
    Storage::Buffer<double> stored_;
    /// The values without the room; made when a constant loose matrix is asked for them.
    mutable std::atomic<Storage::Buffer<double>*> packedCopy_ = nullptr;
    WString name_;
};

VELTRIX_DATA_API Matrix operator+(Matrix a, const Matrix& b);
VELTRIX_DATA_API Matrix operator-(Matrix a, const Matrix& b);
/// Matrix product.
VELTRIX_DATA_API Matrix operator*(const Matrix& a, const Matrix& b);
VELTRIX_DATA_API Vector operator*(const Matrix& a, const Vector& x);
/// Element-wise product.
VELTRIX_DATA_API Matrix operator%(Matrix a, const Matrix& b);
/// Element-wise quotient.
VELTRIX_DATA_API Matrix operator/(Matrix a, const Matrix& b);
VELTRIX_DATA_API Matrix operator/(Matrix a, double divisor);
VELTRIX_DATA_API Matrix operator*(Matrix a, double factor);
VELTRIX_DATA_API Matrix operator*(double factor, Matrix a);
/// value − every element.
VELTRIX_DATA_API Matrix operator-(double value, Matrix a);

}  // namespace Veltrix
