#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>

#include "Veltrix/Data/Storage.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// A growable sequence of doubles with a name. Storage is contiguous and 64-byte aligned.
/// Element access by `operator[]`, with an index of any integral type, is unchecked in release
/// builds; everything else that can be misused throws `Exception`. Element-wise arithmetic of two
/// vectors needs equal lengths and throws otherwise; the result has the name of the left operand.
class VELTRIX_DATA_API Vector {
  public:
    using value_type = double;
    using iterator = double*;
    using const_iterator = const double*;

    Vector() = default;
    /// `size` zeros.
    explicit Vector(std::uint64_t size);
    Vector(std::uint64_t size, double value);
    Vector(std::uint64_t size, Storage::Unfilled) : values_(size) {}
    /// Copies the range [first, last).
    template <std::input_iterator Iterator>
    Vector(Iterator first, Iterator last) : values_(first, last) {}
    explicit Vector(std::span<const double> values) : values_(values.begin(), values.end()) {}
    Vector(std::initializer_list<double> values);

    Vector(const Vector&) = default;
    Vector(Vector&&) noexcept = default;
    Vector& operator=(const Vector& other);
    Vector& operator=(Vector&&) noexcept = default;
    virtual ~Vector();

    [[nodiscard]] std::uint64_t size() const noexcept { return values_.size(); }
    [[nodiscard]] bool empty() const noexcept { return values_.empty(); }
    template <std::integral Index>
    double& operator[](Index index) {
        assert(static_cast<std::uint64_t>(index) < size());
        return values_[static_cast<std::uint64_t>(index)];
    }
    template <std::integral Index>
    double operator[](Index index) const {
        assert(static_cast<std::uint64_t>(index) < size());
        return values_[static_cast<std::uint64_t>(index)];
    }
    /// Throws `Exception` when `index` is not below `size()`.
    double& at(std::uint64_t index);
    [[nodiscard]] double at(std::uint64_t index) const;
    /// The last element; throws `Exception` on an empty vector.
    double& back();
    [[nodiscard]] double back() const;
    double* data() noexcept { return values_.data(); }
    const double* data() const noexcept { return values_.data(); }

    void push_back(double value) { values_.push_back(value); }
    void reserve(std::uint64_t capacity) { values_.reserve(capacity); }
    /// New elements are 0.
    void resize(std::uint64_t size) { values_.resize(size, 0.0); }
    void resize(std::uint64_t size, double value) { values_.resize(size, value); }
    void assign(std::uint64_t size, double value) { values_.assign(size, value); }
    void clear() noexcept { values_.clear(); }
    /// Removes the element at `index`; throws `Exception` when there is none.
    void remove(std::uint64_t index);
    void swap(Vector& other) noexcept;

    /// Absolute values, in place.
    Vector& abs();
    Vector operator-() const;
    Vector& operator+=(const Vector& other);
    Vector& operator-=(const Vector& other);
    Vector& operator*=(const Vector& other);
    Vector& operator/=(const Vector& other);
    Vector& operator+=(double value);
    Vector& operator-=(double value);
    Vector& operator*=(double value);
    Vector& operator/=(double value);

    virtual void setName(const WString& name);
    [[nodiscard]] const WString& getName() const noexcept { return name_; }

    iterator begin() noexcept { return data(); }
    iterator end() noexcept { return data() + size(); }
    const_iterator begin() const noexcept { return data(); }
    const_iterator end() const noexcept { return data() + size(); }

    /// Same length and equal elements; names are not compared.
    friend bool operator==(const Vector& a, const Vector& b) { return a.values_ == b.values_; }

  private:
    friend class Matrix;

    Storage::Buffer<double> values_;
    WString name_;
};

VELTRIX_DATA_API Vector operator+(Vector a, const Vector& b);
VELTRIX_DATA_API Vector operator-(Vector a, const Vector& b);
VELTRIX_DATA_API Vector operator*(Vector a, const Vector& b);
VELTRIX_DATA_API Vector operator/(Vector a, const Vector& b);
VELTRIX_DATA_API Vector operator+(Vector a, double b);
VELTRIX_DATA_API Vector operator-(Vector a, double b);
VELTRIX_DATA_API Vector operator*(Vector a, double b);
VELTRIX_DATA_API Vector operator/(Vector a, double b);
VELTRIX_DATA_API Vector operator+(double a, Vector b);
VELTRIX_DATA_API Vector operator-(double a, Vector b);
VELTRIX_DATA_API Vector operator*(double a, Vector b);
VELTRIX_DATA_API Vector operator/(double a, Vector b);

inline double* begin(Vector& v) noexcept { return v.data(); }
inline double* end(Vector& v) noexcept { return v.data() + v.size(); }
inline const double* begin(const Vector& v) noexcept { return v.data(); }
inline const double* end(const Vector& v) noexcept { return v.data() + v.size(); }

}  // namespace Veltrix
