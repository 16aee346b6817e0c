#include "Veltrix/Data/Matrix.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>

#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "data/containers/Stored.h"
#include "support/NumberText.h"

namespace Veltrix {
namespace {

constexpr const char* kType = "Matrix";

/// rows · cols after a check of order and signs. The product of two 32-bit counts fits.
std::size_t checkedSize(const char* operation, int rows, int cols, MatrixOrderType order) {
    Checks::enumerator(operation, "storage order", order, 0, 1);
    Checks::notNegative(operation, "rows", rows);
    Checks::notNegative(operation, "columns", cols);
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
}

/// Copies lines that start `fromStep` apart to places that are `toStep` apart.
void copyLines(LineShape shape, const double* from, std::int64_t fromStep, double* to,
               std::int64_t toStep) {
    for (std::int64_t line = 0; line < shape.count; ++line) {
        std::copy_n(from + line * fromStep, shape.length, to + line * toStep);
    }
}

/// Copies lines with one element more in each, at position `gap`: how a column that runs against
/// the storage order comes in.
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

Matrix::Matrix(MatrixOrderType order) : Matrix(0, 0, order) {}

Matrix::Matrix(int rows, int cols) : Matrix(rows, cols, 0.0) {}

Matrix::Matrix(int rows, int cols, double value)
    : Matrix(rows, cols, value, MatrixOrderType::columnMajor) {}

Matrix::Matrix(int rows, int cols, MatrixOrderType order) : Matrix(rows, cols, 0.0, order) {}

Matrix::Matrix(int rows, int cols, double value, MatrixOrderType order)
    : stored_(checkedSize("Matrix", rows, cols, order), value) {
    reshape(rows, cols, order);
}

Matrix::Matrix(int rows, int cols, MatrixOrderType order, Storage::Unfilled)
    : stored_(checkedSize("Matrix", rows, cols, order)) {
    reshape(rows, cols, order);
}

Matrix::Matrix(int rows, int cols, const Vector& values)
    : Matrix(rows, cols, values, MatrixOrderType::columnMajor) {}

Matrix::Matrix(int rows, int cols, const Vector& values, MatrixOrderType order)
    : Matrix(rows, cols, Vector(values), order) {}

Matrix::Matrix(int rows, int cols, Vector&& values, MatrixOrderType order) {
    Checks::counts("Matrix", checkedSize("Matrix", rows, cols, order), "values expected",
                   values.size(), "found");
    stored_ = std::move(values.values_);
    reshape(rows, cols, order);
}

Matrix::Matrix(const Matrix& other) : stored_(other.packedValues()), name_(other.name_) {
    reshape(other.rows_, other.cols_, other.order_);
}

Matrix& Matrix::operator=(const Matrix& other) {
    WString name = other.name_;
    // Either changes nothing when it fails, as the elements are numbers.
    if (other.loose_) {
        stored_ = other.packedValues();
    } else {
        stored_ = other.stored_;
    }
    name_ = std::move(name);
    reshape(other.rows_, other.cols_, other.order_);
    return *this;
}

Matrix::Matrix(Matrix&& other) noexcept { *this = std::move(other); }

Matrix& Matrix::operator=(Matrix&& other) noexcept {
    if (this == &other) return *this;
    other.pack();
    stored_ = std::move(other.stored_);
    name_ = std::move(other.name_);
    reshape(other.rows_, other.cols_, other.order_);
    other.stored_.clear();
    other.reshape(0, 0, other.order_);
    return *this;
}

Matrix::~Matrix() { dropPackedCopy(); }

void Matrix::reshape(int rows, int cols, MatrixOrderType order) noexcept {
    rows_ = rows;
    cols_ = cols;
    order_ = order;
    const bool columnMajor = order == MatrixOrderType::columnMajor;
    rowStride_ = columnMajor ? 1 : static_cast<std::size_t>(cols);
    colStride_ = columnMajor ? static_cast<std::size_t>(rows) : 1;
    loose_ = false;
    dropPackedCopy();
}

void Matrix::dropPackedCopy() noexcept { delete packedCopy_.exchange(nullptr); }

/// Takes away the room behind the lines.
void Matrix::pack() noexcept {
    if (!loose_) return;
    const LineShape shape = lineShape(*this);
    const auto room = static_cast<std::int64_t>(std::max(rowStride_, colStride_));
    for (std::int64_t line = 1; line < shape.count; ++line) {
        const double* from = stored_.data() + line * room;
        std::copy(from, from + shape.length, stored_.data() + line * shape.length);
    }
    stored_.resize(static_cast<std::size_t>(shape.count * shape.length));
    reshape(rows_, cols_, order_);
}

Storage::Buffer<double> Matrix::packedValues() const {
    if (!loose_) return stored_;
    const LineShape shape = lineShape(*this);
    const auto room = static_cast<std::int64_t>(std::max(rowStride_, colStride_));
    Storage::Buffer<double> packed(static_cast<std::size_t>(shape.count * shape.length));
    copyLines(shape, stored_.data(), room, packed.data(), shape.length);
    return packed;
}

const double* Matrix::packedCopy() const {
    Storage::Buffer<double>* known = packedCopy_.load(std::memory_order_acquire);
    if (known == nullptr) {
        auto made = std::make_unique<Storage::Buffer<double>>(packedValues());
        // Of threads that ask at the same time one sets the copy for all.
        if (packedCopy_.compare_exchange_strong(known, made.get(), std::memory_order_acq_rel)) {
            known = made.release();
        }
    }
    return known->data();
}

double& Matrix::last() {
    Checks::notEmpty("Matrix::last", stored_.size());
    return (*this)(rows_ - 1, cols_ - 1);
}

double Matrix::last() const {
    Checks::notEmpty("Matrix::last", stored_.size());
    return (*this)(rows_ - 1, cols_ - 1);
}

void Matrix::resize(int rows, int cols) { resize(rows, cols, 0.0, order_); }

void Matrix::resize(int rows, int cols, double fill) { resize(rows, cols, fill, order_); }

void Matrix::resize(int rows, int cols, double fill, MatrixOrderType order) {
    const std::size_t size = checkedSize("Matrix::resize", rows, cols, order);
    pack();
    const LineShape from = lineShape(*this);
    const LineShape to = lineShape(rows, cols, order);
    if (order == order_ && (from.length == to.length || stored_.empty())) {
        stored_.resize(size, fill);
    } else {
        Storage::Buffer<double> resized(size, fill);
        const LineShape kept = lineShape(std::min(rows, rows_), std::min(cols, cols_), order);
        if (order != order_) {
            copyTransposed(kept, resized.data(), to.length, stored_.data(), from.length);
        } else {
            copyLines(kept, stored_.data(), from.length, resized.data(), to.length);
        }
        stored_.swap(resized);
    }
    reshape(rows, cols, order);
}

void Matrix::appendRow(const Vector& row) {
    const bool fresh = rows_ == 0 && cols_ == 0;
    const int cols = fresh ? Checks::dimension("Matrix::appendRow", "columns", row.size()) : cols_;
    Checks::counts("Matrix::appendRow", cols, "columns", row.size(), "values");
    const int rows = Checks::dimension("Matrix::appendRow", "rows", std::uint64_t(rows_) + 1);
    if (order_ == MatrixOrderType::columnMajor && !fresh) return appendAcross(row);
    pack();
    stored_.insert(stored_.end(), row.begin(), row.end());
    reshape(rows, cols, order_);
}

/// Adds an element to every line; where there is no room, half as much again is made.
void Matrix::appendAcross(const Vector& elements) {
    const LineShape shape = lineShape(*this);
    const bool byColumns = order_ == MatrixOrderType::columnMajor;
    std::size_t& stride = byColumns ? colStride_ : rowStride_;
    const auto room = static_cast<std::int64_t>(stride);
    if (shape.length == room) {
        const std::int64_t wider = room + room / 2 + 1;
        Storage::Buffer<double> grown(static_cast<std::size_t>(shape.count * wider));
        copyLines(shape, stored_.data(), room, grown.data(), wider);
        stored_.swap(grown);
        stride = static_cast<std::size_t>(wider);
    }
    double* place = stored_.data() + shape.length;
    for (const double element : elements) {
        *place = element;
        place += stride;
    }
    ++(byColumns ? rows_ : cols_);
    loose_ = static_cast<std::size_t>(shape.length) + 1 < stride;
    dropPackedCopy();
}

void Matrix::appendColumn(const Vector& column) { insertColumn(cols_, column); }

void Matrix::insertColumn(int index, const Vector& column) {
    const char* operation = "Matrix::insertColumn";
    Checks::index(operation, "position", index, std::int64_t{cols_} + 1);
    const bool fresh = rows_ == 0 && cols_ == 0;
    const int rows = fresh ? Checks::dimension(operation, "rows", column.size()) : rows_;
    Checks::counts(operation, rows, "rows", column.size(), "values");
    const int cols = Checks::dimension(operation, "columns", std::uint64_t(cols_) + 1);
    if (order_ == MatrixOrderType::rowMajor && !fresh && index == cols_) {
        return appendAcross(column);
    }
    pack();
    if (order_ == MatrixOrderType::columnMajor || fresh) {
        const auto place = stored_.begin() + std::ptrdiff_t{index} * rows_;
        stored_.insert(place, column.begin(), column.end());
    } else {
        Storage::Buffer<double> grown(stored_.size() + column.size());
        copyWithInserted(stored_.data(), lineShape(*this), index, column, grown.data());
        stored_.swap(grown);
    }
    reshape(rows, cols, order_);
}

Matrix& Matrix::transpose() {
    pack();
    const LineShape shape = lineShape(*this);
    if (shape.count > 1 && shape.length > 1) {
        Storage::Buffer<double> transposed(stored_.size());
        copyTransposed({shape.length, shape.count}, transposed.data(), shape.count, stored_.data(),
                       shape.length);
        stored_.swap(transposed);
    }
    reshape(cols_, rows_, order_);
    return *this;
}

Vector Matrix::getAsDoubleVector() const {
    Vector result;
    result.values_ = packedValues();
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
