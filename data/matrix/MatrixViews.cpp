#include "Veltrix/Data/MatrixViews.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "data/containers/Checks.h"
#include "support/VectorMath.h"

namespace Veltrix {
namespace {

StridedView<const double> viewOf(const Vector& values) { return {values.data(), values.size(), 1}; }

/// True when an element of one view may be another element of the other one, so that writing in
/// order would read values already written.
bool overlapElsewhere(const StridedView<double>& target, const StridedView<const double>& source) {
    if (target.data() == source.data() && target.stride() == source.stride()) return false;
    const std::less<> before;
    const double* targetLast = target.data() + std::ptrdiff_t(target.size() - 1) * target.stride();
    const double* sourceLast = source.data() + std::ptrdiff_t(source.size() - 1) * source.stride();
    return !before(targetLast, source.data()) && !before(sourceLast, target.data());
}

template <class Operation>
void combine(const StridedView<double>& target, const StridedView<const double>& source,
             Operation operation) {
    const std::size_t size = target.size();
    if (target.contiguous() && source.contiguous()) {
        double* a = target.data();
        const double* b = source.data();
        for (std::size_t i = 0; i < size; ++i) a[i] = operation(a[i], b[i]);
    } else {
        for (std::size_t i = 0; i < size; ++i) target[i] = operation(target[i], source[i]);
    }
}

template <class Operation>
void apply(const char* name, const StridedView<double>& target, StridedView<const double> source,
           Operation operation) {
    Checks::sameSize(name, target.size(), source.size());
    if (target.size() == 0) return;
    if (overlapElsewhere(target, source)) {
        const Vector copy(source.begin(), source.end());
        combine(target, viewOf(copy), operation);
    } else {
        combine(target, source, operation);
    }
}

template <class Operation>
void transform(const StridedView<double>& target, Operation operation) {
    combine(target, target, [&](double a, double) { return operation(a); });
}

[[noreturn]] void failConstMatrix(const char* operation) {
    Checks::fail(ErrorCode::invalidArgument, operation, "writing to a const matrix");
}

/// The target of a view, which is empty for one of a const matrix.
const StridedView<double>& writable(const char* operation, const StridedView<double>& target,
                                    const StridedView<const double>& elements) {
    if (target.size() != elements.size()) failConstMatrix(operation);
    return target;
}

constexpr auto kReplace = [](double, double b) { return b; };

}  // namespace

ConstMatrixRow::~ConstMatrixRow() = default;
MatrixRow::~MatrixRow() = default;
ConstMatrixColumn::~ConstMatrixColumn() = default;
MatrixColumn::~MatrixColumn() = default;

void MatrixElement::failConst() { failConstMatrix("MatrixElement"); }

StridedView<double> MatrixRow::target() const { return writable("MatrixRow", target_, elements()); }

StridedView<double> MatrixColumn::target() const {
    return writable("MatrixColumn", target_, elements());
}

MatrixRow& MatrixRow::operator=(const MatrixRow& other) {
    return *this = static_cast<const ConstMatrixRow&>(other);
}

MatrixRow& MatrixRow::operator=(const ConstMatrixRow& other) {
    apply("Row assignment", target(), other.elements(), kReplace);
    return *this;
}

MatrixRow& MatrixRow::operator=(const Vector& values) {
    apply("Row assignment", target(), viewOf(values), kReplace);
    return *this;
}

MatrixRow& MatrixRow::operator+=(const ConstMatrixRow& other) {
    apply("Row sum", target(), other.elements(), std::plus<>());
    return *this;
}

MatrixRow& MatrixRow::operator+=(const Vector& values) {
    apply("Row sum", target(), viewOf(values), std::plus<>());
    return *this;
}

MatrixRow& MatrixRow::operator-=(const ConstMatrixRow& other) {
    apply("Row difference", target(), other.elements(), std::minus<>());
    return *this;
}

MatrixRow& MatrixRow::operator-=(const Vector& values) {
    apply("Row difference", target(), viewOf(values), std::minus<>());
    return *this;
}

MatrixRow& MatrixRow::operator-=(double value) {
    transform(target(), [value](double a) { return a - value; });
    return *this;
}

MatrixRow& MatrixRow::operator*=(double value) {
    transform(target(), [value](double a) { return a * value; });
    return *this;
}

MatrixRow& MatrixRow::operator/=(double value) {
    transform(target(), [value](double a) { return a / value; });
    return *this;
}

MatrixRow& MatrixRow::exp() {
    const StridedView<double> elements = target();
    const auto size = static_cast<std::int64_t>(elements.size());
    if (elements.contiguous()) {
        Support::exp(elements.data(), elements.data(), size);
    } else {
        Vector values(elements.begin(), elements.end());
        Support::exp(values.data(), values.data(), size);
        *this = values;
    }
    return *this;
}

MatrixColumn& MatrixColumn::operator=(const MatrixColumn& other) {
    return *this = static_cast<const ConstMatrixColumn&>(other);
}

MatrixColumn& MatrixColumn::operator=(const ConstMatrixColumn& other) {
    apply("Column assignment", target(), other.elements(), kReplace);
    return *this;
}

MatrixColumn& MatrixColumn::operator=(const Vector& values) {
    apply("Column assignment", target(), viewOf(values), kReplace);
    return *this;
}

MatrixColumn& MatrixColumn::operator+=(const Vector& values) {
    apply("Column sum", target(), viewOf(values), std::plus<>());
    return *this;
}

MatrixColumn& MatrixColumn::operator-=(const Vector& values) {
    apply("Column difference", target(), viewOf(values), std::minus<>());
    return *this;
}

MatrixColumn& MatrixColumn::operator*=(const Vector& values) {
    apply("Column product", target(), viewOf(values), std::multiplies<>());
    return *this;
}

MatrixColumn& MatrixColumn::operator-=(double value) {
    transform(target(), [value](double a) { return a - value; });
    return *this;
}

MatrixColumn& MatrixColumn::operator*=(double value) {
    transform(target(), [value](double a) { return a * value; });
    return *this;
}

MatrixColumn& MatrixColumn::operator/=(double value) {
    transform(target(), [value](double a) { return a / value; });
    return *this;
}

}  // namespace Veltrix
