#pragma once

#include <cassert>
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// A growable sequence of `WString`: column names, class labels, category levels. Element access by
/// `operator[]`, with an index of any integral type, is unchecked in release builds.
class VELTRIX_DATA_API StringVector {
  public:
    using value_type = WString;

    StringVector() = default;
    explicit StringVector(std::uint64_t size) : values_(size) {}
    StringVector(std::uint64_t size, const WString& value) : values_(size, value) {}
    StringVector(std::initializer_list<WString> values) : values_(values) {}

    StringVector(const StringVector&) = default;
    StringVector(StringVector&&) noexcept = default;
    StringVector& operator=(const StringVector& other) { return *this = StringVector(other); }
    StringVector& operator=(StringVector&&) noexcept = default;
    ~StringVector() = default;

    [[nodiscard]] std::uint64_t size() const noexcept { return values_.size(); }
    [[nodiscard]] bool empty() const noexcept { return values_.empty(); }
    template <std::integral Index>
    WString& operator[](Index index) {
        assert(static_cast<std::uint64_t>(index) < size());
        return values_[static_cast<std::uint64_t>(index)];
    }
    template <std::integral Index>
    const WString& operator[](Index index) const {
        assert(static_cast<std::uint64_t>(index) < size());
        return values_[static_cast<std::uint64_t>(index)];
    }
    /// Throws `Exception` when `index` is not below `size()`.
    WString& at(std::uint64_t index);
    [[nodiscard]] const WString& at(std::uint64_t index) const;
    void push_back(WString value) { values_.push_back(std::move(value)); }
    void reserve(std::uint64_t capacity) { values_.reserve(capacity); }
    void resize(std::uint64_t size) { values_.resize(size); }
    void clear() noexcept { values_.clear(); }

    WString* begin() noexcept { return values_.data(); }
    WString* end() noexcept { return values_.data() + values_.size(); }
    const WString* begin() const noexcept { return values_.data(); }
    const WString* end() const noexcept { return values_.data() + values_.size(); }

    friend bool operator==(const StringVector& a, const StringVector& b) {
        return a.values_ == b.values_;
    }

  private:
    std::vector<WString> values_;
};

inline WString* begin(StringVector& v) noexcept { return v.begin(); }
inline WString* end(StringVector& v) noexcept { return v.end(); }
inline const WString* begin(const StringVector& v) noexcept { return v.begin(); }
inline const WString* end(const StringVector& v) noexcept { return v.end(); }

}  // namespace Veltrix
