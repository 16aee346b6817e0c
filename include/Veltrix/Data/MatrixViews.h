#pragma once

#include <cstddef>

#include "Veltrix/Data/StridedView.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// Read-only live view of one row of a matrix. Views stay valid until the matrix is resized,
/// transposed, assigned or destroyed.
class VELTRIX_DATA_API ConstMatrixRow {
  public:
    explicit ConstMatrixRow(StridedView<const double> elements) noexcept : elements_(elements) {}
    ConstMatrixRow(const ConstMatrixRow&) = default;
    ConstMatrixRow& operator=(const ConstMatrixRow&) = delete;
    virtual ~ConstMatrixRow();

    double operator()(int column) const { return elements_[static_cast<std::size_t>(column)]; }
    int getNumCols() const noexcept { return static_cast<int>(elements_.size()); }
    StridedView<const double> elements() const noexcept { return elements_; }

  private:
    StridedView<const double> elements_;
};

/// Live view of one row of a matrix; writing through it writes into the matrix. Operands must have
/// as many elements as the row, otherwise `Exception` is thrown and nothing is written.
class VELTRIX_DATA_API MatrixRow : public ConstMatrixRow {
  public:
    explicit MatrixRow(StridedView<double> elements) noexcept
        : ConstMatrixRow(elements), target_(elements) {}
    MatrixRow(const MatrixRow&) = default;
    ~MatrixRow() override;

    using ConstMatrixRow::operator();
    double& operator()(int column) { return target_[static_cast<std::size_t>(column)]; }

    /// Copies values, as every assignment to a view; source and target may overlap.
    MatrixRow& operator=(const MatrixRow& other);
    MatrixRow& operator=(const ConstMatrixRow& other);
    MatrixRow& operator=(const Vector& values);
    MatrixRow& operator+=(const ConstMatrixRow& other);
    MatrixRow& operator+=(const Vector& values);
    MatrixRow& operator-=(const ConstMatrixRow& other);
    MatrixRow& operator-=(const Vector& values);
    MatrixRow& operator-=(double value);
    MatrixRow& operator*=(double value);
    MatrixRow& operator/=(double value);
    /// Element-wise exponential, in place.
    MatrixRow& exp();

  private:
    StridedView<double> target_;
};

/// Read-only live view of one column of a matrix.
class VELTRIX_DATA_API ConstMatrixColumn {
  public:
    explicit ConstMatrixColumn(StridedView<const double> elements) noexcept : elements_(elements) {}
    ConstMatrixColumn(const ConstMatrixColumn&) = default;
    ConstMatrixColumn& operator=(const ConstMatrixColumn&) = delete;
    virtual ~ConstMatrixColumn();

    double operator()(int row) const { return elements_[static_cast<std::size_t>(row)]; }
    int getNumRows() const noexcept { return static_cast<int>(elements_.size()); }
    StridedView<const double> elements() const noexcept { return elements_; }

  private:
    StridedView<const double> elements_;
};

/// Live view of one column of a matrix; writing through it writes into the matrix. Operands must
/// have as many elements as the column, otherwise `Exception` is thrown and nothing is written.
class VELTRIX_DATA_API MatrixColumn : public ConstMatrixColumn {
  public:
    explicit MatrixColumn(StridedView<double> elements) noexcept
        : ConstMatrixColumn(elements), target_(elements) {}
    MatrixColumn(const MatrixColumn&) = default;
    ~MatrixColumn() override;

    using ConstMatrixColumn::operator();
    double& operator()(int row) { return target_[static_cast<std::size_t>(row)]; }

    /// Copies values, as every assignment to a view; source and target may overlap.
    MatrixColumn& operator=(const MatrixColumn& other);
    MatrixColumn& operator=(const ConstMatrixColumn& other);
    MatrixColumn& operator=(const Vector& values);
    MatrixColumn& operator+=(const Vector& values);
    MatrixColumn& operator-=(const Vector& values);
    /// Element-wise product.
    MatrixColumn& operator*=(const Vector& values);
    MatrixColumn& operator-=(double value);
    MatrixColumn& operator*=(double value);
    MatrixColumn& operator/=(double value);

  private:
    StridedView<double> target_;
};

}  // namespace Veltrix
