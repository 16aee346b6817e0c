#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>

#include "Veltrix/Data/Storage.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// A growable sequence of signed 32-bit integers with a name: index sets, class codes, counts and
/// permutations. Element access by `operator[]`, with an index of any integral type, is unchecked
/// in release builds; everything else that can be misused throws `Exception`.
class VELTRIX_DATA_API IntVector {
  public:
    using value_type = std::int32_t;

    IntVector() = default;
    /// `size` zeros.
    explicit IntVector(std::uint64_t size);
    IntVector(std::uint64_t size, int value);
    /// Copies the range [first, last).
    template <std::input_iterator Iterator>
    IntVector(Iterator first, Iterator last) : values_(first, last) {}
    IntVector(std::initializer_list<int> values);

    IntVector(const IntVector&) = default;
    IntVector(IntVector&&) noexcept = default;
    IntVector& operator=(const IntVector& other);
    IntVector& operator=(IntVector&&) noexcept = default;
    virtual ~IntVector();

    [[nodiscard]] std::uint64_t size() const noexcept { return values_.size(); }
    [[nodiscard]] bool empty() const noexcept { return values_.empty(); }
    template <std::integral Index>
    int& operator[](Index index) {
        assert(static_cast<std::uint64_t>(index) < size());
        return values_[static_cast<std::uint64_t>(index)];
    }
    template <std::integral Index>
    int operator[](Index index) const {
        assert(static_cast<std::uint64_t>(index) < size());
        return values_[static_cast<std::uint64_t>(index)];
    }
    /// Throws `Exception` when `index` is not below `size()`.
    [[nodiscard]] int at(std::uint64_t index) const;
    /// The last element; throws `Exception` on an empty vector.
    int& back();
    [[nodiscard]] int back() const;
    int* data() noexcept { return values_.data(); }
    const int* data() const noexcept { return values_.data(); }

    void push_back(int value) { values_.push_back(value); }
    void reserve(std::uint64_t capacity) { values_.reserve(capacity); }
    void clear() noexcept { values_.clear(); }
    /// New elements are 0.
    void resize(std::uint64_t size) { values_.resize(size, 0); }
    /// Adds the elements of `other` (which may be this vector) at the end.
    void append(const IntVector& other);
    /// Puts `value` before the element at `position`; `position == size()` appends.
    /// Throws `Exception` when `position` is larger.
    void insert(std::uint64_t position, int value);
    /// Removes the element at `position`; throws `Exception` when there is none.
    void remove(std::uint64_t position);
    /// Removes every element equal to `value`.
    void removeValue(int value);
    /// Replaces every element equal to `oldValue`.
    void replace(int oldValue, int newValue);
    [[nodiscard]] bool exists(int value) const;
    /// Adds `value` to every element (two's complement wrap-around is an `Exception`).
    IntVector& operator+=(int value);
    /// Reproducible random reordering (Fisher-Yates from the last position down, Knuth 1969): at
    /// position i a draw modulo i + 1 picks the partner, a draw being two 15-bit outputs of the
    /// runtime generator joined as high · 2¹⁵ + low.
    void shuffle(unsigned seed);

    virtual void setName(const WString& name);
    [[nodiscard]] virtual const WString& getName() const;
    /// "[1, 2, 3]".
    [[nodiscard]] virtual WString toString() const;
    /// JSON text: {"type": "IntVector", "version": 1, "name": ..., "values": [...]}.
    [[nodiscard]] virtual WString toJson() const;
    /// Takes back what `toJson` wrote. Throws `Exception` naming the offending key when the text is
    /// damaged or foreign, and leaves the vector as it was.
    virtual void fromJsonString(const WString& json);

    int* begin() noexcept { return data(); }
    int* end() noexcept { return data() + size(); }
    const int* begin() const noexcept { return data(); }
    const int* end() const noexcept { return data() + size(); }

    /// Same length and equal elements; names are not compared.
    friend bool operator==(const IntVector& a, const IntVector& b) {
        return a.values_ == b.values_;
    }

  private:
    Storage::Buffer<std::int32_t> values_;
    WString name_;
};

inline int* begin(IntVector& v) noexcept { return v.data(); }
inline int* end(IntVector& v) noexcept { return v.data() + v.size(); }
inline const int* begin(const IntVector& v) noexcept { return v.data(); }
inline const int* end(const IntVector& v) noexcept { return v.data() + v.size(); }

}  // namespace Veltrix
