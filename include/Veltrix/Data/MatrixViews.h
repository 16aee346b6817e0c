#pragma once

#include <cstddef>

#include "Veltrix/Data/StridedView.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// One element of a writable view: reads as a number, and assigning writes into the matrix (throws
/// `Exception` when the view came from a const matrix).
class VELTRIX_DATA_API MatrixElement {
  public:
    /// `target` is null where nothing may be written.
    MatrixElement(const double& value, double* target) noexcept : value_(&value), target_(target) {}
    MatrixElement(const MatrixElement&) = default;

    operator double() const noexcept { return *value_; }  // NOLINT(google-explicit-constructor)
    /// Copies the value, as every assignment to a view.
    MatrixElement& operator=(const MatrixElement& other) { return *this = *other.value_; }
    MatrixElement& operator=(double value) {
        if (target_ == nullptr) failConst();
        *target_ = value;
        return *this;
    }
    MatrixElement& operator+=(double value) { return *this = *value_ + value; }
    MatrixElement& operator-=(double value) { return *this = *value_ - value; }
    MatrixElement& operator*=(double value) { return *this = *value_ * value; }
    MatrixElement& operator/=(double value) { return *this = *value_ / value; }

  private:
    [[noreturn]] static void failConst();

    const double* value_;
    double* target_;
};

/// Read-only live view of one row of a matrix. Views stay valid until the matrix is resized,
/// transposed, assigned or destroyed.
class VELTRIX_DATA_API ConstMatrixRow {
  public:
    explicit ConstMatrixRow(StridedView<const double> elements) noexcept : elements_(elements) {}
    ConstMatrixRow(const ConstMatrixRow&) = default;
    ConstMatrixRow& operator=(const ConstMatrixRow&) = delete;
    virtual ~ConstMatrixRow();

    double operator()(int column) const { return elements_[static_cast<std::size_t>(column)]; }
    [[nodiscard]] int getNumCols() const noexcept { return static_cast<int>(elements_.size()); }
    [[nodiscard]] StridedView<const double> elements() const noexcept { return elements_; }

  private:
    StridedView<const double> elements_;
};

/// Live view of one row of a matrix; writing through it writes into the matrix. Operands must have
/// as many elements as the row, otherwise `Exception` is thrown and nothing is written. A row of a
/// const matrix converts to this type, for functions that name it; writing through it throws.
class VELTRIX_DATA_API MatrixRow : public ConstMatrixRow {
  public:
    explicit MatrixRow(StridedView<double> elements) noexcept
        : ConstMatrixRow(elements), target_(elements) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    MatrixRow(const ConstMatrixRow& readOnly) noexcept : ConstMatrixRow(readOnly) {}
    MatrixRow(const MatrixRow&) = default;
    ~MatrixRow() override;

    using ConstMatrixRow::operator();
    MatrixElement operator()(int column) {
        const auto index = static_cast<std::size_t>(column);
        return {elements()[index], target_.empty() ? nullptr : &target_[index]};
    }

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
    /// What may be written to; throws `Exception` when that is nothing.
    StridedView<double> target() const;

    StridedView<double> target_;  // empty for a view of a const matrix
};

/// Read-only live view of one column of a matrix.
class VELTRIX_DATA_API ConstMatrixColumn {
  public:
    explicit ConstMatrixColumn(StridedView<const double> elements) noexcept : elements_(elements) {}
    ConstMatrixColumn(const ConstMatrixColumn&) = default;
    ConstMatrixColumn& operator=(const ConstMatrixColumn&) = delete;
    virtual ~ConstMatrixColumn();

    double operator()(int row) const { return elements_[static_cast<std::size_t>(row)]; }
    [[nodiscard]] int getNumRows() const noexcept { return static_cast<int>(elements_.size()); }
    [[nodiscard]] StridedView<const double> elements() const noexcept { return elements_; }

  private:
    StridedView<const double> elements_;
};

/// Live view of one column of a matrix; writing through it writes into the matrix. Operands must
/// have as many elements as the column, otherwise `Exception` is thrown and nothing is written. A
/// column of a const matrix converts to this type, for functions that name it; writing through it
/// throws.
class VELTRIX_DATA_API MatrixColumn : public ConstMatrixColumn {
  public:
    explicit MatrixColumn(StridedView<double> elements) noexcept
        : ConstMatrixColumn(elements), target_(elements) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    MatrixColumn(const ConstMatrixColumn& readOnly) noexcept : ConstMatrixColumn(readOnly) {}
    MatrixColumn(const MatrixColumn&) = default;
    ~MatrixColumn() override;

    using ConstMatrixColumn::operator();
    MatrixElement operator()(int row) {
        const auto index = static_cast<std::size_t>(row);
        return {elements()[index], target_.empty() ? nullptr : &target_[index]};
    }

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
    /// What may be written to; throws `Exception` when that is nothing.
    StridedView<double> target() const;

    StridedView<double> target_;  // empty for a view of a const matrix
};

}  // namespace Veltrix
