#include <algorithm>
#include <span>

#include "data/containers/Checks.h"
#include "data/containers/Lines.h"

namespace Veltrix {
namespace {

constexpr const char* kSelection = "Matrix selection";

std::span<const int> indexesOf(const IntVector& values) { return {values.data(), values.size()}; }

void checkRows(const char* operation, const Matrix& a, const IntVector& rows) {
    Checks::indexes(operation, "row", indexesOf(rows), a.getNumRows());
}

void checkCols(const char* operation, const Matrix& a, const IntVector& cols) {
    Checks::indexes(operation, "column", indexesOf(cols), a.getNumCols());
}

/// Indexes along one axis; without a set, all of them.
struct Axis {
    explicit Axis(const IntVector& chosen) : set(&chosen), count(chosen.size()) {}
    explicit Axis(int all) : count(static_cast<std::uint64_t>(all)) {}

    std::int64_t operator[](std::uint64_t k) const {
        return set == nullptr ? static_cast<std::int64_t>(k) : (*set)[k];
    }
    bool whole() const { return set == nullptr; }

    const IntVector* set = nullptr;
    std::uint64_t count;
};

/// The chosen elements of the chosen lines, one line after the other.
void gather(const Matrix& a, const Axis& lines, const Axis& inside, double* target) {
    const std::int64_t length = lineShape(a).length;
    for (std::uint64_t k = 0; k < lines.count; ++k) {
        const double* line = a.data() + lines[k] * length;
        if (inside.whole()) {
            std::copy_n(line, inside.count, target);
        } else {
            const int* places = inside.set->data();
            for (std::uint64_t i = 0; i < inside.count; ++i) target[i] = line[places[i]];
        }
        target += inside.count;
    }
}

Matrix select(const Matrix& a, const Axis& rows, const Axis& cols) {
    const int numRows = Checks::dimension(kSelection, "rows", rows.count);
    const int numCols = Checks::dimension(kSelection, "columns", cols.count);
    Matrix result(numRows, numCols, a.getMatrixOrder(), Storage::kUnfilled);
    if (a.getMatrixOrder() == MatrixOrderType::columnMajor) {
        gather(a, cols, rows, result.data());
    } else {
        gather(a, rows, cols, result.data());
    }
    result.setName(a.getName());
    return result;
}

}  // namespace

Matrix Matrix::operator()(const IntVector& rows, const IntVector& cols) const {
    checkRows(kSelection, *this, rows);
    checkCols(kSelection, *this, cols);
    return select(*this, Axis(rows), Axis(cols));
}

Matrix Matrix::operator()(const IntVector& rows, Selection::All) const {
    checkRows(kSelection, *this, rows);
    return select(*this, Axis(rows), Axis(cols_));
}

Matrix Matrix::operator()(Selection::All, const IntVector& cols) const {
    checkCols(kSelection, *this, cols);
    return select(*this, Axis(rows_), Axis(cols));
}

Matrix Matrix::operator()(const Except& rows, const Except& cols) const {
    return (*this)(rows.complement(rows_), cols.complement(cols_));
}

Matrix Matrix::operator()(const Except& rows, Selection::All) const {
    return (*this)(rows.complement(rows_), Selection::all);
}

Matrix Matrix::operator()(Selection::All, const Except& cols) const {
    return (*this)(Selection::all, cols.complement(cols_));
}

MatrixRow Matrix::operator()(int row, Selection::All) & {
    Checks::index(kSelection, "row", row, rows_);
    pack();
    return MatrixRow({stored_.data() + static_cast<std::size_t>(row) * rowStride_,
                      static_cast<std::size_t>(cols_), static_cast<std::ptrdiff_t>(colStride_)});
}

ConstMatrixRow Matrix::operator()(int row, Selection::All) const& {
    Checks::index(kSelection, "row", row, rows_);
    return ConstMatrixRow({stored_.data() + static_cast<std::size_t>(row) * rowStride_,
                           static_cast<std::size_t>(cols_),
                           static_cast<std::ptrdiff_t>(colStride_)});
}

MatrixColumn Matrix::operator()(Selection::All, int col) & {
    Checks::index(kSelection, "column", col, cols_);
    pack();
    return MatrixColumn({stored_.data() + static_cast<std::size_t>(col) * colStride_,
                         static_cast<std::size_t>(rows_), static_cast<std::ptrdiff_t>(rowStride_)});
}

ConstMatrixColumn Matrix::operator()(Selection::All, int col) const& {
    Checks::index(kSelection, "column", col, cols_);
    return ConstMatrixColumn({stored_.data() + static_cast<std::size_t>(col) * colStride_,
                              static_cast<std::size_t>(rows_),
                              static_cast<std::ptrdiff_t>(rowStride_)});
}

void Matrix::set(const IntVector& rows, const IntVector& cols, const Matrix& block) {
    const char* operation = "Matrix::set";
    checkRows(operation, *this, rows);
    checkCols(operation, *this, cols);
    Checks::counts(operation, rows.size(), "rows chosen", block.rows_, "rows in the block");
    Checks::counts(operation, cols.size(), "columns chosen", block.cols_, "columns in the block");
    if (&block == this) return set(rows, cols, Matrix(block));
    const bool byColumns = order_ == MatrixOrderType::columnMajor;
    const int lines = byColumns ? block.cols_ : block.rows_;
    const int length = byColumns ? block.rows_ : block.cols_;
    for (int line = 0; line < lines; ++line) {
        for (int k = 0; k < length; ++k) {
            const int i = byColumns ? k : line;
            const int j = byColumns ? line : k;
            (*this)(rows[static_cast<std::uint64_t>(i)], cols[static_cast<std::uint64_t>(j)]) =
                block(i, j);
        }
    }
}

Vector Matrix::getSubColumn(const IntVector& rows, int col) const {
    const char* operation = "Matrix::getSubColumn";
    checkRows(operation, *this, rows);
    Checks::index(operation, "column", col, cols_);
    Vector result;
    result.values_.resize(rows.size());
    for (std::uint64_t i = 0; i < rows.size(); ++i) result[i] = (*this)(rows[i], col);
    return result;
}

}  // namespace Veltrix
