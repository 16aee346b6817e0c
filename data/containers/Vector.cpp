#include "Veltrix/Data/Vector.h"

#include <cmath>
#include <functional>
#include <utility>

#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

template <class Operation>
void combine(const char* name, Vector& target, const Vector& other, Operation operation) {
    Checks::sameSize(name, target.size(), other.size());
    double* a = target.data();
    const double* b = other.data();
    const std::uint64_t size = target.size();
    for (std::uint64_t i = 0; i < size; ++i) a[i] = operation(a[i], b[i]);
}

template <class Operation>
Vector& transform(Vector& target, Operation operation) {
    double* a = target.data();
    const std::uint64_t size = target.size();
    for (std::uint64_t i = 0; i < size; ++i) a[i] = operation(a[i]);
    return target;
}

}  // namespace

Vector::Vector(std::uint64_t size) : values_(size, 0.0) {}
Vector::Vector(std::uint64_t size, double value) : values_(size, value) {}
Vector::Vector(std::initializer_list<double> values) : values_(values) {}
Vector::~Vector() = default;

Vector& Vector::operator=(const Vector& other) {
    WString name = other.name_;
    values_ = other.values_;  // changes nothing when it fails, as the elements are numbers
    name_ = std::move(name);
    return *this;
}

double& Vector::at(std::uint64_t index) {
    Checks::index("Vector::at", "element", index, size());
    return values_[index];
}

double Vector::at(std::uint64_t index) const {
    Checks::index("Vector::at", "element", index, size());
    return values_[index];
}

double& Vector::back() {
    Checks::notEmpty("Vector::back", size());
    return values_.back();
}

double Vector::back() const {
    Checks::notEmpty("Vector::back", size());
    return values_.back();
}

void Vector::remove(std::uint64_t index) {
    Checks::index("Vector::remove", "element", index, size());
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(index));
}

void Vector::swap(Vector& other) noexcept {
    std::swap(values_, other.values_);
    std::swap(name_, other.name_);
}

Vector& Vector::abs() {
    return transform(*this, [](double a) { return std::fabs(a); });
}

Vector Vector::operator-() const {
    Vector result(*this);
    transform(result, std::negate<>());
    return result;
}

Vector& Vector::operator+=(const Vector& other) {
    combine("Vector sum", *this, other, std::plus<>());
    return *this;
}

Vector& Vector::operator-=(const Vector& other) {
    combine("Vector difference", *this, other, std::minus<>());
    return *this;
}

Vector& Vector::operator*=(const Vector& other) {
    combine("Vector product", *this, other, std::multiplies<>());
    return *this;
}

Vector& Vector::operator/=(const Vector& other) {
    combine("Vector quotient", *this, other, std::divides<>());
    return *this;
}

Vector& Vector::operator+=(double value) {
    return transform(*this, [value](double a) { return a + value; });
}

Vector& Vector::operator-=(double value) {
    return transform(*this, [value](double a) { return a - value; });
}

Vector& Vector::operator*=(double value) {
    return transform(*this, [value](double a) { return a * value; });
}

Vector& Vector::operator/=(double value) {
    return transform(*this, [value](double a) { return a / value; });
}

void Vector::setName(const WString& name) { name_ = name; }

// Moved, as returning the reference that a compound assignment gives would copy.
Vector operator+(Vector a, const Vector& b) { return std::move(a += b); }
Vector operator-(Vector a, const Vector& b) { return std::move(a -= b); }
Vector operator*(Vector a, const Vector& b) { return std::move(a *= b); }
Vector operator/(Vector a, const Vector& b) { return std::move(a /= b); }
Vector operator+(Vector a, double b) { return std::move(a += b); }
Vector operator-(Vector a, double b) { return std::move(a -= b); }
Vector operator*(Vector a, double b) { return std::move(a *= b); }
Vector operator/(Vector a, double b) { return std::move(a /= b); }
Vector operator+(double a, Vector b) { return std::move(b += a); }
Vector operator*(double a, Vector b) { return std::move(b *= a); }

Vector operator-(double a, Vector b) {
    return std::move(transform(b, [a](double value) { return a - value; }));
}

Vector operator/(double a, Vector b) {
    return std::move(transform(b, [a](double value) { return a / value; }));
}

}  // namespace Veltrix
