#include "Veltrix/Data/Matrix.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/containers/Stored.h"
#include "support/NumberText.h"

namespace Veltrix {
namespace {

constexpr const char* kType = "Matrix";

/// rows · cols after a check of the signs. The product of two 32-bit counts fits.
std::size_t checkedSize(const char* operation, int rows, int cols) {
    Checks::notNegative(operation, "rows", rows);
    Checks::notNegative(operation, "columns", cols);
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
}

/// Copies lines with one element more in each, at position `gap`: how a row or column that runs
/// against the storage order comes in.
void copyWithInserted(const double* source, LineShape shape, std::int64_t gap,
                      const Vector& inserted, double* target) {
    for (std::int64_t line = 0; line < shape.count; ++line) {
        const double* from = source + line * shape.length;
        target = std::copy_n(from, gap, target);
        *target++ = inserted[static_cast<std::uint64_t>(line)];
        target = std::copy(from + gap, from + shape.length, target);
    }
}

}  // namespace

Matrix::Matrix(MatrixOrderType order) { reshape(0, 0, order); }

Matrix::Matrix(int rows, int cols) : Matrix(rows, cols, 0.0) {}

Matrix::Matrix(int rows, int cols, double value)
    : Matrix(rows, cols, value, MatrixOrderType::columnMajor) {}

Matrix::Matrix(int rows, int cols, MatrixOrderType order) : Matrix(rows, cols, 0.0, order) {}

Matrix::Matrix(int rows, int cols, double value, MatrixOrderType order)
    : values_(checkedSize("Matrix", rows, cols), value) {
    reshape(rows, cols, order);
}

Matrix::Matrix(int rows, int cols, MatrixOrderType order, Storage::Unfilled)
    : values_(checkedSize("Matrix", rows, cols)) {
    reshape(rows, cols, order);
}

Matrix::Matrix(int rows, int cols, const Vector& values)
    : Matrix(rows, cols, values, MatrixOrderType::columnMajor) {}

Matrix::Matrix(int rows, int cols, const Vector& values, MatrixOrderType order)
    : Matrix(rows, cols, Vector(values), order) {}

Matrix::Matrix(int rows, int cols, Vector&& values, MatrixOrderType order) {
    Checks::counts("Matrix", checkedSize("Matrix", rows, cols), "values expected", values.size(),
                   "found");
    values_ = std::move(values.values_);
    reshape(rows, cols, order);
}

Matrix::Matrix(Matrix&& other) noexcept
    : values_(std::move(other.values_)), name_(std::move(other.name_)) {
    reshape(other.rows_, other.cols_, other.order_);
    other.reshape(0, 0, other.order_);
}

Matrix& Matrix::operator=(Matrix&& other) noexcept {
    if (this == &other) return *this;
    values_ = std::move(other.values_);
    name_ = std::move(other.name_);
    reshape(other.rows_, other.cols_, other.order_);
    other.values_.clear();
    other.reshape(0, 0, other.order_);
    return *this;
}

Matrix::~Matrix() = default;

void Matrix::reshape(int rows, int cols, MatrixOrderType order) noexcept {
    rows_ = rows;
    cols_ = cols;
    order_ = order;
    const bool columnMajor = order == MatrixOrderType::columnMajor;
    rowStride_ = columnMajor ? 1 : static_cast<std::size_t>(cols);
    colStride_ = columnMajor ? static_cast<std::size_t>(rows) : 1;
}

double& Matrix::last() {
    Checks::notEmpty("Matrix::last", values_.size());
    return values_.back();
}

double Matrix::last() const {
    Checks::notEmpty("Matrix::last", values_.size());
    return values_.back();
}

void Matrix::resize(int rows, int cols) { resize(rows, cols, 0.0, order_); }

void Matrix::resize(int rows, int cols, double fill) { resize(rows, cols, fill, order_); }

void Matrix::resize(int rows, int cols, double fill, MatrixOrderType order) {
    const std::size_t size = checkedSize("Matrix::resize", rows, cols);
    const LineShape from = lineShape(*this);
    const LineShape to = lineShape(rows, cols, order);
    if (order == order_ && (from.length == to.length || values_.empty())) {
        values_.resize(size, fill);
    } else {
        Storage::Buffer<double> resized(size, fill);
        const LineShape kept = lineShape(std::min(rows, rows_), std::min(cols, cols_), order);
        if (order != order_) {
            copyTransposed(kept, resized.data(), to.length, values_.data(), from.length);
        } else {
            for (std::int64_t line = 0; line < kept.count; ++line) {
                std::copy_n(values_.data() + line * from.length, kept.length,
                            resized.data() + line * to.length);
            }
        }
        values_.swap(resized);
    }
    reshape(rows, cols, order);
}

void Matrix::appendRow(const Vector& row) {
    const bool fresh = rows_ == 0 && cols_ == 0;
    const int cols = fresh ? Checks::dimension("Matrix::appendRow", "columns", row.size()) : cols_;
    Checks::counts("Matrix::appendRow", cols, "columns", row.size(), "values");
    const int rows = Checks::dimension("Matrix::appendRow", "rows", std::uint64_t(rows_) + 1);
    if (order_ == MatrixOrderType::rowMajor || fresh) {
        values_.insert(values_.end(), row.begin(), row.end());
    } else {
        Storage::Buffer<double> grown(values_.size() + row.size());
        copyWithInserted(values_.data(), lineShape(*this), rows_, row, grown.data());
        values_.swap(grown);
    }
    reshape(rows, cols, order_);
}

void Matrix::appendColumn(const Vector& column) { insertColumn(cols_, column); }

void Matrix::insertColumn(int index, const Vector& column) {
    const char* operation = "Matrix::insertColumn";
    Checks::index(operation, "position", index, std::int64_t{cols_} + 1);
    const bool fresh = rows_ == 0 && cols_ == 0;
    const int rows = fresh ? Checks::dimension(operation, "rows", column.size()) : rows_;
    Checks::counts(operation, rows, "rows", column.size(), "values");
    const int cols = Checks::dimension(operation, "columns", std::uint64_t(cols_) + 1);
    if (order_ == MatrixOrderType::columnMajor || fresh) {
        const auto place = values_.begin() + std::ptrdiff_t{index} * rows_;
        values_.insert(place, column.begin(), column.end());
    } else {
        Storage::Buffer<double> grown(values_.size() + column.size());
        copyWithInserted(values_.data(), lineShape(*this), index, column, grown.data());
        values_.swap(grown);
    }
    reshape(rows, cols, order_);
}

Matrix& Matrix::transpose() {
    const LineShape shape = lineShape(*this);
    if (shape.count > 1 && shape.length > 1) {
        Storage::Buffer<double> transposed(values_.size());
        copyTransposed({shape.length, shape.count}, transposed.data(), shape.count, values_.data(),
                       shape.length);
        values_.swap(transposed);
    }
    reshape(cols_, rows_, order_);
    return *this;
}

Vector Matrix::getAsDoubleVector() const {
    Vector result;
    result.values_ = values_;
    return result;
}

Matrix inOrder(const Matrix& a, MatrixOrderType order) {
    if (a.getMatrixOrder() == order) return a;
    Matrix result(a.getNumRows(), a.getNumCols(), order, Storage::kUnfilled);
    const LineShape shape = lineShape(result);
    copyTransposed(shape, result.data(), shape.length, a.data(), shape.count);
    result.setName(a.getName());
    return result;
}

void Matrix::setName(const WString& name) { name_ = name; }
const WString& Matrix::getName() const { return name_; }

WString Matrix::toString() const {
    std::string text;
    std::array<char, Support::kNumberTextSize> buffer;
    for (int i = 0; i < rows_; ++i) {
        for (int j = 0; j < cols_; ++j) {
            if (j > 0) text += ' ';
            text += Support::writeNumber((*this)(i, j), buffer);
        }
        text += '\n';
    }
    return std::wstring(text.begin(), text.end());
}

WString Matrix::toJson() const { return storedText(kType, *this); }

void Matrix::fromJsonString(const WString& json) {
    *this = readStoredText<Matrix>(kType, json.toUtf8());
}

}  // namespace Veltrix
